// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "outlines.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include <zelmo/model/model_curve.h>

namespace inspect {
namespace {

namespace fs = std::filesystem;
using xgeofeature::XFCircle3D;
using xgeofeature::XFCylinder;

constexpr float kGap = 0.5F;    // mm: an edge is rarely sharp
constexpr float kDepth = 5.0F;  // mm of the wall
constexpr double kSame = 0.01;  // mm: as the model's records are compared

/// The search for a bore's wall writes a trace file into the current directory. Makes that a folder
/// where it does no harm, and takes the file away.
class TraceAside {
 public:
  explicit TraceAside(const std::string& folder) : m_before(fs::current_path(m_error)) {
    fs::current_path(folder, m_error);
    m_trace = fs::path(folder) / "_20190125.txt";
  }
  ~TraceAside() {
    fs::remove(m_trace, m_error);
    fs::current_path(m_before, m_error);
  }
  TraceAside(const TraceAside&) = delete;
  TraceAside& operator=(const TraceAside&) = delete;

 private:
  std::error_code m_error;
  fs::path m_before, m_trace;
};

/// Turns the circle to look away from the middle of the cylinder that it ends.
/// \return false where it isn't an end of the cylinder
bool endsCylinder(const XFCylinder& cylinder, XFCircle3D& circle) {
  const cv::Vec3d axis = unit(vec(cylinder.axis)), off = vec(circle.center) - vec(cylinder.center);
  const double along = off.dot(axis);
  const bool on_axis = cv::norm(off - along * axis) < kSame;
  const bool at_end = std::abs(std::abs(along) - 0.5 * cylinder.height) < kSame;
  const bool alike = std::abs(circle.radius - cylinder.radius) < kSame &&
                     std::abs(std::abs(vec(circle.normal).dot(axis)) - 1.0) < 1e-4;
  if (!on_axis || !at_end || !alike) return false;
  if (vec(circle.normal).dot(off) < 0.0) circle.inv();
  return true;
}

void addCircles(const xmodelfeature::XModelCurve& curves, const ModelContent& content,
                std::vector<NominalOutline>& outlines) {
  int number = 0;
  for (const auto& found : curves.circles) {
    XFCircle3D circle;
    found.getCircle(circle);
    for (const Nominal& feature : content.features) {
      const auto* cylinder = std::get_if<XFCylinder>(&feature.ideal);
      if (cylinder == nullptr || feature.sector.reach < CV_PI || !feature.trouble.empty() ||
          !endsCylinder(*cylinder, circle)) {
        continue;
      }
      const double depth = std::min(kDepth, 0.9F * cylinder->height - kGap);
      outlines.push_back({"circle " + std::to_string(++number), circle, depth, true});
      break;
    }
  }
}

std::vector<PickedPoint> picked(const std::vector<int>& indices) {
  std::vector<PickedPoint> points;
  points.reserve(indices.size());
  for (const int index : indices) points.push_back({index, 0.0, PointState::Used});
  return points;
}

void compare(OutlineMeasurement& result) {
  const GrownBox nominal = boxOf(result.nominal.ideal);
  GrownBox measured = boxOf(result.measured);
  std::visit(
      [&](auto& record) {
        if (nominal.normal.dot(measured.normal) < 0.0) record.inv();
        if (nominal.along.dot(measured.along) > 0.0) return;
        for (float& value : record.majorDir) value = -value;
      },
      result.measured);
  measured = boxOf(result.measured);
  result.distance = cv::norm(nominal.center - measured.center);
  result.angle = angleBetween(nominal.normal, measured.normal);
  const bool round = std::holds_alternative<XFCircle3D>(result.measured);
  result.turn = round ? 0.0 : angleBetween(nominal.along, measured.along);
}

}  // namespace

bool NominalOutline::atWall(const cv::Vec3d& point) const {
  const double height = boxOf(ideal).height(point);
  const double below = one_sided ? -height : std::abs(height);
  return below >= kGap && below <= kGap + depth;
}

int OutlineMeasurement::used() const {
  return static_cast<int>(std::count_if(wall.begin(), wall.end(), [](const PickedPoint& point) {
    return point.state == PointState::Used;
  }));
}

std::vector<NominalOutline> outlinesOf(const TopoDS_Shape& model, const ModelContent& content) {
  xmodelfeature::XModelCurve curves;
  curves.setData(model);
  curves.getCurveData(model);
  std::vector<NominalOutline> outlines;
  addCircles(curves, content, outlines);
  const auto add = [&outlines](const char* name, std::size_t number, const Outline& outline) {
    outlines.push_back({name + (" " + std::to_string(number)), outline, kDepth, false});
  };
  for (std::size_t i = 0; i < curves.ovalGrooves.size(); ++i) {
    xgeofeature::XFOvalGroove3D slot;
    curves.ovalGrooves[i].getOvalGroove(slot);
    add("slot", i + 1, slot);
  }
  for (std::size_t i = 0; i < curves.rectangles.size(); ++i) {
    xgeofeature::XFRectangle3D rectangle;
    curves.rectangles[i].getRectangle(rectangle);
    add("rectangle", i + 1, rectangle);
  }
  for (std::size_t i = 0; i < curves.roundGrooves.size(); ++i) {
    xgeofeature::XFRoundGroove3D groove;
    curves.roundGrooves[i].getRoundGroove(groove);
    add("round groove", i + 1, groove);
  }
  return outlines;
}

OutlineInspector::OutlineInspector(const Scan& scan, const Options& options,
                                   const xgeofeature::XGeoFeatureExtract& cloud, std::string folder)
    : m_scan(scan), m_options(options), m_extract(cloud), m_folder(std::move(folder)) {}

void OutlineInspector::pickSurface(OutlineMeasurement& result) {
  const GrownBox box = boxOf(result.nominal.ideal);
  const double cosine = std::cos(m_options.angle * CV_PI / 180.0);
  searchSurface(m_extract, result.nominal.ideal);
  std::vector<int> found = m_extract.indexResult;
  // The searches want points whose normals look as the outline's own does, which may look either way.
  Outline turned = result.nominal.ideal;
  std::visit([](auto& record) { record.inv(); }, turned);
  searchSurface(m_extract, turned);
  if (m_extract.indexResult.size() > found.size()) found = m_extract.indexResult;
  result.surface = picked(found);
  for (PickedPoint& point : result.surface) {
    const double lean = std::abs(vec(m_scan.normal(point.index)).dot(box.normal));
    if (lean < cosine) point.state = PointState::Tilted;
  }
}

void OutlineInspector::pickWall(OutlineMeasurement& result) {
  const GrownBox box = boxOf(result.nominal.ideal);
  const double cosine = std::cos(m_options.angle * CV_PI / 180.0);
  if (const auto* circle = std::get_if<XFCircle3D>(&result.nominal.ideal)) {
    const TraceAside aside(m_folder);
    // This search takes half its band.
    m_extract.setMaxDis(static_cast<float>(2.0 * m_options.band));
    m_extract.searchCircle(*circle, kGap, static_cast<float>(result.nominal.depth), 0.0F, 0.0F,
                           false);
    m_extract.setMaxDis(static_cast<float>(m_options.band));
  } else {
    // The searches for the other outlines know the surface only; their walls are told by the outline.
    const xgeofeature::XFPoint center(static_cast<float>(box.center[0]),
                                      static_cast<float>(box.center[1]),
                                      static_cast<float>(box.center[2]));
    const double reach = std::hypot(0.5 * box.length(), 0.5 * box.width(), kGap + kDepth);
    m_extract.searchPoint(center, static_cast<float>(reach + m_options.band));
    std::vector<int>& found = m_extract.indexResult;
    const auto off_wall = [&](int index) {
      const cv::Vec3d point = vec(m_scan.point(index));
      return !result.nominal.atWall(point) || !(std::abs(box.distance(point)) <= m_options.band);
    };
    found.erase(std::remove_if(found.begin(), found.end(), off_wall), found.end());
  }
  result.wall = picked(m_extract.indexResult);
  for (PickedPoint& point : result.wall) {
    const cv::Vec3d outward = box.outward(vec(m_scan.point(point.index)));
    if (std::abs(vec(m_scan.normal(point.index)).dot(outward)) < cosine) {
      point.state = PointState::Tilted;
    }
  }
}

OutlineMeasurement OutlineInspector::measure(const NominalOutline& nominal) {
  OutlineMeasurement result;
  result.nominal = nominal;
  result.measured = nominal.ideal;
  pickSurface(result);
  pickWall(result);
  // Without a surface around the edge the outline is taken in its nominal plane.
  const GrownBox box = boxOf(nominal.ideal);
  cv::Vec3d point = box.center, normal = box.normal;
  xgeofeature::XFPlane plane;
  const std::string none = fitUntilSettled(
      m_scan, result.surface, m_options.sigma,
      [&](const Gathered& gathered) { return fit(gathered, m_options.sigma, plane); },
      [&](const cv::Vec3d& own) { return deviation(plane, own); });
  if (none.empty()) {
    point = vec(plane.center);
    normal = unit(vec(plane.normal));
  }
  GrownBox measured = box;
  result.trouble = fitUntilSettled(
      m_scan, result.wall, m_options.sigma,
      [&](const Gathered& gathered) {
        if (!fitOutline(gathered, point, normal, result.measured)) return false;
        measured = boxOf(result.measured);
        return std::isfinite(measured.length() + measured.center.dot(measured.normal));
      },
      [&](const cv::Vec3d& own) { return measured.distance(own); });
  if (!result.done()) return result;
  compare(result);
  double low = 1e30, high = -1e30;
  for (const PickedPoint& one : result.wall) {
    if (one.state != PointState::Used) continue;
    low = std::min(low, one.deviation);
    high = std::max(high, one.deviation);
  }
  result.form = high - low;
  return result;
}

}  // namespace inspect
