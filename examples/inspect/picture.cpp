// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "picture.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>

#include "feature_lines.h"
#include "numbers.h"
#include "outward.h"

namespace inspect {

void paintFaces(Svg& svg, const View& view, const SurfaceMesh& mesh,
                const std::vector<Colour>& colours, double contrast) {
  const cv::Vec3d light = unit(0.55 * view.eye() + 0.75 * view.up() - 0.35 * view.right());
  svg.open("faces");
  for (const int triangle : view.paintOrder()) {
    const cv::Vec3d a = mesh.corner(triangle, 0), b = mesh.corner(triangle, 1),
                    c = mesh.corner(triangle, 2);
    const cv::Vec3d normal = unit((b - a).cross(c - a));
    const double shade = 1.03 - contrast * (1.0 - std::abs(normal.dot(light)));
    const auto face = static_cast<std::size_t>(mesh.faces[static_cast<std::size_t>(triangle)]);
    Path2 corners{view.at(a), view.at(b), view.at(c)};
    // One sense for all: in a joined patch, opposite ones would make a hole where they overlap.
    if (normal.dot(view.eye()) < 0.0) std::swap(corners[1], corners[2]);
    svg.patch(corners, hexOf(colours[face] * shade));
  }
  svg.close();
}

namespace {

constexpr double kWidth = 1180.0, kTop = 78.0, kBottom = 26.0;  // pixels of the sheet
constexpr double kMargin = 205.0;                               // for the callouts on either side
constexpr double kRow = 21.0;                                   // height of a callout
const cv::Vec3d kTowardsEye(0.52, -0.72, 0.56);

// The kinds of features and their colours.
struct Kind {
  const char *name, *title;
  Colour colour;
};
const std::array<Kind, 5> kKinds = {{{"plane", "planes", {143, 178, 214}},
                                     {"cylinder", "cylinders", {240, 168, 96}},
                                     {"cone", "cones", {126, 186, 140}},
                                     {"sphere", "spheres", {196, 146, 212}},
                                     {"", "not recognised", {178, 184, 192}}}};

const Kind& kindOf(const Measurement* one) {
  const std::string name = one != nullptr ? tell(one->nominal.ideal).kind : "";
  const auto found = std::find_if(kKinds.begin(), kKinds.end(),
                                  [&name](const Kind& kind) { return name == kind.name; });
  return found != kKinds.end() ? *found : kKinds.back();
}

/// Whether a face's middle lies on the feature, with the material on the same side.
template <typename Record>
bool isOn(const Nominal& nominal, const Record& record, const OutwardNormal& middle, double sign) {
  constexpr double kNear = 0.01;  // mm
  const cv::Vec3d point(middle.point.X(), middle.point.Y(), middle.point.Z());
  const cv::Vec3d normal = unit({middle.normal.X(), middle.normal.Y(), middle.normal.Z()});
  const cv::Vec3d outward = directionAt(record, point) * (nominal.hollow ? -sign : sign);
  return std::abs(deviation(record, point)) < kNear && outward.dot(normal) > 0.999;
}

bool isOnFeature(const Nominal& nominal, const OutwardNormal& middle, double sign) {
  if (const auto* plane = std::get_if<xgeofeature::XFPlane>(&nominal.ideal)) {
    return isOn(nominal, *plane, middle, sign);
  }
  if (const auto* sphere = std::get_if<xgeofeature::XFSphere>(&nominal.ideal)) {
    return isOn(nominal, *sphere, middle, sign);
  }
  if (const auto* cylinder = std::get_if<xgeofeature::XFCylinder>(&nominal.ideal)) {
    return isOn(nominal, *cylinder, middle, sign);
  }
  const auto* cone = std::get_if<xgeofeature::XFCone>(&nominal.ideal);
  return cone != nullptr && isOn(nominal, *cone, middle, sign);
}

/// Per face of the model the measurement of its feature, or null.
std::vector<const Measurement*> featuresOfFaces(const TopoDS_Shape& model,
                                                const std::vector<Measurement>& measurements) {
  const double sign = signOfSolid(model);
  std::vector<const Measurement*> features;
  for (TopExp_Explorer walk(model, TopAbs_FACE); walk.More(); walk.Next()) {
    const OutwardNormal middle = outwardOf(TopoDS::Face(walk.Current()));
    const auto found = std::find_if(
        measurements.begin(), measurements.end(),
        [&](const Measurement& one) { return isOnFeature(one.nominal, middle, sign); });
    features.push_back(found != measurements.end() ? &*found : nullptr);
  }
  return features;
}

/// How far the used points of a feature stand out of its nominal surface on average; positive where
/// there is too much material.
double standOut(const Measurement& one, const Scan& scan) {
  double sum = 0.0;
  int count = 0;
  for (const PickedPoint& picked : one.points) {
    if (picked.state != PointState::Used) continue;
    const cv::Vec3d point = vec(scan.point(picked.index));
    sum += std::visit([&point](const auto& record) { return deviation(record, point); },
                      one.nominal.ideal);
    ++count;
  }
  const double side = one.nominal.hollow ? -1.0 : 1.0;
  return count > 0 ? side * sum / count : 0.0;
}

/// What is told of a feature beside the picture, and the place that it is told of.
struct Callout {
  std::string name, value;
  cv::Point2d place;
  std::size_t pixels;  ///< that are seen of it
};

void drawLines(Svg& svg, const PartPictures::Scene& scene, const std::vector<Line3>& lines,
               bool seen, const char* name) {
  svg.open(name);
  for (const Line3& line : lines) {
    for (const Path2& stretch : scene.view.stretches(line, seen)) svg.path(stretch, false);
  }
  svg.close();
}

/// The middle of what is seen of each feature; features of which hardly anything is seen have none.
std::vector<Callout> calloutsOf(const PartPictures::Scene& scene,
                                const std::vector<std::string>& values) {
  constexpr std::size_t kLeast = 120;  // pixels
  struct Seen {
    cv::Point2d sum;
    std::vector<cv::Point2d> pixels;
  };
  std::vector<Seen> seen(scene.measurements.size());
  for (int row = 0; row < scene.view.rows(); ++row) {
    for (int column = 0; column < scene.view.columns(); ++column) {
      const int triangle = scene.view.triangleAt(column, row);
      if (triangle < 0) continue;
      const Measurement* one = scene.of_face[static_cast<std::size_t>(
          scene.mesh.faces[static_cast<std::size_t>(triangle)])];
      if (one == nullptr) continue;
      Seen& feature = seen[static_cast<std::size_t>(one - scene.measurements.data())];
      feature.pixels.push_back(scene.view.middleOf(column, row));
      feature.sum += feature.pixels.back();
    }
  }
  std::vector<Callout> callouts;
  for (std::size_t i = 0; i < seen.size(); ++i) {
    if (seen[i].pixels.size() < kLeast) continue;
    // The middle itself may lie on something else, as that of a ring does.
    const cv::Point2d middle = seen[i].sum * (1.0 / static_cast<double>(seen[i].pixels.size()));
    const auto nearest = std::min_element(seen[i].pixels.begin(), seen[i].pixels.end(),
                                          [&middle](const cv::Point2d& a, const cv::Point2d& b) {
                                            return cv::norm(a - middle) < cv::norm(b - middle);
                                          });
    callouts.push_back(
        {scene.measurements[i].nominal.name, values[i], *nearest, seen[i].pixels.size()});
  }
  return callouts;
}

/// Gives a column of callouts their heights: in order, near their places, none over another.
std::vector<double> heightsFor(const std::vector<Callout>& column, double top, double bottom) {
  std::vector<double> heights;
  double free = top;
  for (const Callout& callout : column) {
    heights.push_back(std::max(callout.place.y, free));
    free = heights.back() + kRow;
  }
  free = bottom;
  for (std::size_t i = heights.size(); i-- > 0;) {
    heights[i] = std::min(heights[i], free);
    free = heights[i] - kRow;
  }
  return heights;
}

void drawCallouts(Svg& svg, std::vector<Callout> callouts, double height) {
  // Where there is no room for all, those of which most is seen are told.
  const auto room = static_cast<std::size_t>(2.0 * (height - kTop - kBottom) / kRow);
  std::sort(callouts.begin(), callouts.end(),
            [](const Callout& a, const Callout& b) { return a.pixels > b.pixels; });
  if (callouts.size() > room) callouts.resize(room);
  std::sort(callouts.begin(), callouts.end(),
            [](const Callout& a, const Callout& b) { return a.place.x < b.place.x; });
  const auto half = static_cast<std::ptrdiff_t>((callouts.size() + 1) / 2);
  for (const bool left : {true, false}) {
    std::vector<Callout> column(left ? callouts.begin() : callouts.begin() + half,
                                left ? callouts.begin() + half : callouts.end());
    std::sort(column.begin(), column.end(),
              [](const Callout& a, const Callout& b) { return a.place.y < b.place.y; });
    const std::vector<double> heights = heightsFor(column, kTop + 14.0, height - kBottom);
    const double edge = left ? kMargin - 12.0 : kWidth - kMargin + 12.0;
    svg.open("callouts");
    for (std::size_t i = 0; i < column.size(); ++i) {
      const cv::Point2d start(edge, heights[i]);
      svg.path({start, start + cv::Point2d(left ? 14.0 : -14.0, 0.0), column[i].place}, false);
    }
    for (std::size_t i = 0; i < column.size(); ++i) {
      const double from = left ? 16.0 : edge + 8.0, to = left ? edge - 8.0 : kWidth - 16.0;
      svg.circle(column[i].place, 2.4, "");
      svg.text({from, heights[i] + 4.0}, column[i].name, "start", "name");
      svg.text({to, heights[i] + 4.0}, column[i].value, "end", "value");
    }
    svg.close();
  }
}

Svg sheetWith(double height, const std::string& title, const std::string& note) {
  Svg svg(kWidth, height, title);
  svg.style(
      ".edges path{fill:none;stroke:#1d2733;stroke-width:1.1;stroke-linecap:round}"
      ".features path{fill:none;stroke:#8a1c4a;stroke-width:1.7;stroke-linecap:round}"
      ".hidden path{fill:none;stroke:#8a1c4a;stroke-width:.8;stroke-opacity:.28;"
      "stroke-dasharray:3 3}"
      ".callouts path{fill:none;stroke:#7b8794;stroke-width:.8}"
      ".callouts circle{fill:#1f2933;stroke:#ffffff;stroke-width:.8}"
      ".name{font-size:12.5px}.value{font-size:12.5px;fill:#52606d}"
      ".swatch{stroke:#52606d;stroke-width:.6}",
      ".callouts path{stroke:#8a96a3}.value{fill:#9aa5b1}");
  svg.text({16.0, 32.0}, title, "start", "title");
  svg.text({16.0, 54.0}, note, "start", "note");
  return svg;
}

/// Patches of colour with what they mean, up to the right margin.
void drawKeys(Svg& svg, const std::vector<std::pair<std::string, Colour>>& keys) {
  double x = kWidth - 16.0;
  for (auto key = keys.rbegin(); key != keys.rend(); ++key) {
    x -= 6.6 * static_cast<double>(key->first.size()) + 20.0;
    svg.text({x + 20.0, 32.0}, key->first, "start", "name");
    svg.patch({{x, 21.0}, {x + 14.0, 21.0}, {x + 14.0, 35.0}, {x, 35.0}}, hexOf(key->second));
    x -= 22.0;
  }
}

/// The kinds that the part has, with their colours.
void drawKinds(Svg& svg, const PartPictures::Scene& scene) {
  std::vector<std::pair<std::string, Colour>> keys;
  for (const Kind& kind : kKinds) {
    const bool some = std::any_of(scene.of_face.begin(), scene.of_face.end(),
                                  [&](const Measurement* one) { return &kindOf(one) == &kind; });
    if (some) keys.emplace_back(kind.title, kind.colour);
  }
  drawKeys(svg, keys);
}

/// The scale of the deviations, in micrometres.
void drawScale(Svg& svg, double limit) {
  constexpr int kCells = 30;
  constexpr double kLeft = kWidth - 350.0, kCell = 10.0;
  for (int i = 0; i < kCells; ++i) {
    const double share = 2.0 * (i + 0.5) / kCells - 1.0, x = kLeft + i * kCell;
    svg.patch({{x, 20.0}, {x + kCell, 20.0}, {x + kCell, 34.0}, {x, 34.0}},
              hexOf(kFaceScale.at(share)));
  }
  const std::string end = plain(1000.0 * limit, 3);
  svg.text({kLeft, 50.0}, "-" + end, "middle", "note");
  svg.text({kLeft + 0.5 * kCells * kCell, 50.0}, "0", "middle", "note");
  svg.text({kLeft + kCells * kCell, 50.0}, "+" + end + " \xc2\xb5m", "middle", "note");
}

std::size_t indexOf(const Measurement* one, const std::vector<Measurement>& measurements) {
  return static_cast<std::size_t>(one - measurements.data());
}

/// What the picture by kinds says of a measured feature.
std::string sizeText(const Measurement& one) {
  const Telling telling = tell(one.measured);
  if (std::holds_alternative<xgeofeature::XFPlane>(one.measured)) {
    return "flat " + fixed(one.form, 3, 0);
  }
  if (std::holds_alternative<xgeofeature::XFCone>(one.measured)) {
    return fixed(telling.size, 3, 0) + "\xc2\xb0";
  }
  return "R " + fixed(telling.size, 3, 0);
}

std::string standOutText(double distance) {
  return (distance > 0.0 ? "+" : "") + fixed(1000.0 * distance, 1, 0) + " \xc2\xb5m";
}

/// The lines of the measured round features and of the inner outlines.
std::vector<Line3> roundLines(const TopoDS_Shape& model,
                              const std::vector<Measurement>& measurements, const cv::Vec3d& eye) {
  std::vector<Line3> lines = outlineLinesOf(model);
  for (const Measurement& one : measurements) {
    const bool flat = std::holds_alternative<xgeofeature::XFPlane>(one.nominal.ideal);
    if (!one.done() || flat) continue;  // a plane's rectangle says nothing that its face does not
    for (Line3& line : linesOf(one.measured, one.nominal.sector, eye)) {
      lines.push_back(std::move(line));
    }
  }
  return lines;
}

constexpr double kSag = 4e-4, kAngle = 0.2;  // of the diagonal; rad

cv::Rect2d sheetFor(const SurfaceMesh& mesh) {
  const double width = kWidth - 2.0 * kMargin - 40.0;
  const double height = std::clamp(View::heightFor(mesh, kTowardsEye, width), 420.0, 760.0);
  return {kMargin + 20.0, kTop, width, height};
}

/// In and out of tolerance, and neither.
const Colour kIn(112, 182, 160), kOut(226, 110, 60), kNeither(186, 191, 198);

Colour colourOf(Judgement judgement) {
  if (judgement == Judgement::In) return kIn;
  return judgement == Judgement::Out ? kOut : kNeither;
}

}  // namespace

PartPictures::PartPictures(const TopoDS_Shape& model, const std::vector<Measurement>& measurements,
                           const Scan& scan)
    : m_mesh(meshOf(model, kSag * diagonalOf(model), kAngle)),
      m_sheet(sheetFor(m_mesh)),
      m_view(m_mesh, kTowardsEye, m_sheet),
      m_scene{measurements, m_mesh, m_view, featuresOfFaces(model, measurements)},
      m_edges(edgeLinesOf(model)),
      m_round(roundLines(model, measurements, m_view.eye())) {
  for (const Measurement& one : measurements) {
    m_out.push_back(one.done() ? standOut(one, scan) : 0.0);
  }
}

Svg PartPictures::draw(const std::string& title, const std::string& note,
                       const std::function<Colour(const Measurement*)>& colour,
                       const std::function<std::string(const Measurement&)>& value, double contrast,
                       const std::function<void(Svg&)>& key) const {
  const double height = std::ceil(kTop + m_sheet.height + kBottom);
  std::vector<Colour> colours;
  for (const Measurement* one : m_scene.of_face) colours.push_back(colour(one));
  std::vector<std::string> values;
  for (const Measurement& one : m_scene.measurements) {
    values.push_back(one.done() ? value(one) : one.trouble);
  }
  Svg svg = sheetWith(height, title, note);
  key(svg);
  paintFaces(svg, m_view, m_mesh, colours, contrast);
  drawLines(svg, m_scene, m_round, false, "hidden");
  drawLines(svg, m_scene, m_edges, true, "edges");
  drawLines(svg, m_scene, m_round, true, "features");
  drawCallouts(svg, calloutsOf(m_scene, values), height);
  return svg;
}

Svg PartPictures::byKind() const {
  return draw(
      "Features by kind", "measured radii and flatness in mm, half angles of cones in degrees",
      [](const Measurement* one) { return kindOf(one).colour; }, sizeText, 0.34,
      [this](Svg& svg) { drawKinds(svg, m_scene); });
}

Svg PartPictures::byDeviation() const {
  double largest = 1e-6;
  for (const double value : m_out) largest = std::max(largest, std::abs(value));
  const double limit = roundStep(largest);
  const auto out = [this](const Measurement& one) {
    return m_out[indexOf(&one, m_scene.measurements)];
  };
  return draw(
      "Deviation from the model",
      "mean distance of each feature's points from its nominal surface, positive out of the "
      "material",
      [&](const Measurement* one) {
        const bool done = one != nullptr && one->done();
        return done ? kFaceScale.at(out(*one) / limit) : kKinds.back().colour;
      },
      [&](const Measurement& one) { return standOutText(out(one)); }, 0.2,
      [limit](Svg& svg) { drawScale(svg, limit); });
}

Svg PartPictures::byVerdict(const std::vector<Judgement>& verdicts) const {
  const auto of = [&](const Measurement& one) {
    return verdicts[indexOf(&one, m_scene.measurements)];
  };
  return draw(
      "Features by verdict", "a feature is out of tolerance where one of its requirements is",
      [&](const Measurement* one) { return one != nullptr ? colourOf(of(*one)) : kNeither; },
      [&](const Measurement& one) { return wordsOf(of(one)); }, 0.34,
      [](Svg& svg) {
        drawKeys(svg,
                 {{"in tolerance", kIn}, {"out of tolerance", kOut}, {"no verdict", kNeither}});
      });
}

void PartPictures::writeTo(const OutputFolder& folder) const {
  folder.write("features.svg", byKind().done());
  folder.write("deviations.svg", byDeviation().done());
}

}  // namespace inspect
