// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "report_plots.h"

#include <algorithm>
#include <cmath>

#include <BRep_Builder.hxx>
#include <TopoDS_Compound.hxx>

#include "feature_lines.h"
#include "numbers.h"
#include "plot_parts.h"

namespace inspect {
namespace {

using xgeofeature::XFCone;
using xgeofeature::XFCylinder;
using xgeofeature::XFPlane;
using xgeofeature::XFSphere;

constexpr double kDegrees = 180.0 / CV_PI;
const cv::Rect2d kMapBox(58.0, 28.0, kPlotWidth - 58.0 - 84.0, kPlotHeight - 28.0 - 42.0);

/// What a plot is drawn from.
struct Source {
  const ReportFeature& told;
  const Scan& scan;
  std::vector<PickedPoint> points;

  double limit() const { return limitOf(told.spread); }
  cv::Vec3d place(const PickedPoint& point) const { return vec(scan.point(point.index)); }
};

Svg plotFor(const Source& source, const std::string& what) {
  return {kPlotWidth, kPlotHeight, what + " of " + source.told.name};
}

/// What a plot shows, for who can't see it.
std::string wordsFor(const Source& source) {
  const Spread& spread = source.told.spread;
  return std::to_string(spread.used) + " points used, deviations from " +
         fixed(spread.least, 4, 0) + " to " + fixed(spread.most, 4, 0) +
         " mm, standard deviation " + fixed(spread.sigma, 4, 0) + " mm.";
}

Plot finished(const Svg& svg, const Source& source, const std::string& caption) {
  return {svg.inlined("plot", wordsFor(source)), caption};
}

/// A map with a dot per point; \p flat gives the place of a point on it.
template <typename Flat>
std::vector<Dot> dotsOf(const Source& source, const Flat& flat) {
  std::vector<Dot> dots;
  for (const PickedPoint& point : source.points) {
    dots.push_back({flat(source.place(point)), point.deviation, point.state == PointState::Used});
  }
  return dots;
}

void drawOn(const Axes& axes, Svg& svg, std::vector<Dot> dots, double limit) {
  for (Dot& dot : dots) dot.place = axes.at(dot.place);
  drawDots(svg, dots, limit);
  drawLegend(svg, limit);
}

Range padded(Range range) {
  const double pad = 0.04 * std::max(range.size(), 1e-6);
  return {range.low - pad, range.high + pad};
}

std::vector<Plot> mapsOf(const Measurement& one, const XFPlane& plane, const Source& source) {
  const Plane2 sheet(vec(plane.normal));
  TopoDS_Compound faces;
  BRep_Builder builder;
  builder.MakeCompound(faces);
  for (const TopoDS_Face& face : one.nominal.patches) builder.Add(faces, face);
  const std::vector<Line3> edges = edgeLinesOf(faces);
  const std::vector<Dot> dots =
      dotsOf(source, [&](const cv::Vec3d& point) { return sheet.at(point); });
  Range x = Range::none(), y = Range::none();
  const auto take = [&x, &y](const cv::Point2d& place) {
    x.take(place.x);
    y.take(place.y);
  };
  for (const Line3& edge : edges) {
    for (const cv::Vec3d& point : edge) take(sheet.at(point));
  }
  for (const Dot& dot : dots) take(dot.place);
  Svg svg = plotFor(source, "Map of the deviations");
  Axes axes(svg, kMapBox, padded(x), padded(y), true);
  axes.label(axisName(sheet.right, "u") + ", mm", axisName(sheet.up, "v") + ", mm");
  svg.open("edge");
  for (const Line3& edge : edges) {
    Path2 line;
    for (const cv::Vec3d& point : edge) line.push_back(axes.at(sheet.at(point)));
    svg.path(line, false);
  }
  svg.close();
  drawOn(axes, svg, dots, source.limit());
  return {finished(svg, source,
                   "Deviation from the fitted plane, seen from outside; positive out of the "
                   "material")};
}

std::vector<Plot> mapsOf(const Measurement& /*one*/, const XFSphere& sphere, const Source& source) {
  // Equal areas about the middle of what was scanned.
  cv::Vec3d middle;
  for (const PickedPoint& point : source.points) {
    middle += unit(source.place(point) - vec(sphere.center));
  }
  if (cv::norm(middle) < 1e-3 * static_cast<double>(source.points.size())) middle = {0, 0, 1};
  middle = unit(middle);
  for (int i = 0; i < 3; ++i) {  // nearly along an axis of the model is along it
    if (std::abs(middle[i]) < 0.998) continue;
    const double way = middle[i];
    middle = cv::Vec3d();
    middle[i] = way < 0.0 ? -1.0 : 1.0;
  }
  const Plane2 sheet(middle);
  const auto radius = [](double angle) { return 2.0 * std::sin(0.5 * angle); };
  const auto flat = [&](const cv::Vec3d& point) {
    const cv::Vec3d away = unit(point - vec(sphere.center));
    const cv::Point2d place = sheet.at(away);
    const double length = std::hypot(place.x, place.y);
    const double angle = std::atan2(length, away.dot(middle));
    return length > 0.0 ? place * (radius(angle) / length) : place;
  };
  const std::vector<Dot> dots = dotsOf(source, flat);
  double reach = radius(30.0 / kDegrees);
  for (const Dot& dot : dots) reach = std::max(reach, cv::norm(dot.place));
  reach *= 1.06;
  Svg svg = plotFor(source, "Map of the deviations");
  const Axes axes(svg, kMapBox, {-reach, reach}, {-reach, reach}, true);
  const cv::Point2d origin = axes.at({0.0, 0.0});
  svg.open("grid");
  for (const int angle : {30, 60, 90, 120, 150}) {
    const double ring = radius(angle / kDegrees);
    if (ring <= reach) svg.circle(origin, axes.at({ring, 0.0}).x - origin.x, "ring");
  }
  svg.line(axes.at({-reach, 0.0}), axes.at({reach, 0.0}), "");
  svg.line(axes.at({0.0, -reach}), axes.at({0.0, reach}), "");
  svg.close();
  drawOn(axes, svg, dots, source.limit());
  for (const int angle : {30, 60, 90, 120, 150}) {
    const double ring = radius(angle / kDegrees);
    if (ring > reach) continue;
    svg.text(axes.at({ring, 0.0}) + cv::Point2d(3.0, -4.0), std::to_string(angle) + "\xc2\xb0",
             "start", "over");
  }
  svg.text({kMapBox.x + kMapBox.width, kMapBox.y + kMapBox.height + 16.0},
           axisName(sheet.right, "u") + " to the right, " + axisName(sheet.up, "v") + " up", "end",
           "unit");
  return {finished(svg, source,
                   "Deviation from the fitted sphere, in equal areas about the middle of what was "
                   "scanned; positive away from the centre")};
}

/// The circle that stands for a cylinder or cone, seen along its axis.
GrownBox ringAbout(const cv::Vec3d& center, const cv::Vec3d& axis, double radius) {
  return {"circle", center, unit(axis), Plane2(axis).right, 0.0, 0.0, radius};
}

/// A line around the outline, so far outside it, as places on the sheet about its centre.
Path2 around(const GrownBox& box, double out) {
  constexpr int kQuarter = 24;
  const double radius = box.radius + out;
  const double inward = std::min(radius, 0.0);
  Path2 line;
  for (int quarter = 0; quarter < 4; ++quarter) {
    const double x = (quarter == 0 || quarter == 3 ? 1.0 : -1.0) * (box.half_length + inward);
    const double y = (quarter < 2 ? 1.0 : -1.0) * (box.half_width + inward);
    for (int i = 0; i <= kQuarter; ++i) {
      const double angle = 0.5 * CV_PI * (quarter + static_cast<double>(i) / kQuarter);
      const double r = std::max(radius, 0.0);
      line.emplace_back(x + r * std::cos(angle), y + r * std::sin(angle));
      if (r == 0.0) break;
    }
  }
  return line;
}

/// The deviations around an outline, drawn much larger than the outline itself.
Plot ringPlot(const GrownBox& box, const Source& source, const std::string& caption) {
  constexpr double kReach = 34.0;   // pixels of the largest deviation
  constexpr double kRadius = 88.0;  // of a circle
  const bool circle = box.half_length == 0.0;
  const double limit = source.limit(), stretch = kReach / limit;
  const cv::Point2d middle(0.5 * (kPlotWidth - 84.0), 0.5 * kPlotHeight);
  const double scale = circle ? 96.0 / box.radius
                              : std::min((kPlotWidth - 84.0 - 3.2 * kReach) / box.length(),
                                         (kPlotHeight - 3.4 * kReach) / box.width());
  const auto on_sheet = [&](const cv::Point2d& place) {
    return middle + cv::Point2d(place.x, -place.y) * scale;
  };
  const auto ring = [&](double deviation, const char* name, Svg& svg) {
    Path2 line = around(box, deviation * stretch / scale);
    for (cv::Point2d& place : line) place = on_sheet(place);
    svg.path(line, true, name);
  };
  Svg svg = plotFor(source, circle ? "Polar plot" : "Deviations around the outline");
  svg.rectangle({1.0, 1.0, kPlotWidth - 84.0 - 2.0, kPlotHeight - 2.0}, "panel");
  const double outer = kRadius + 1.35 * kReach;
  if (circle) {
    svg.open("grid");
    for (int angle = 0; angle < 360; angle += 30) {
      const cv::Point2d way(std::cos(angle / kDegrees), -std::sin(angle / kDegrees));
      svg.line(middle, middle + way * outer, "");
    }
    svg.close();
  }
  for (const double value : {-limit, limit}) ring(value, "scale", svg);
  ring(source.told.spread.low, "limit", svg);
  ring(source.told.spread.high, "limit", svg);
  std::vector<Dot> dots;
  for (const PickedPoint& point : source.points) {
    const cv::Vec3d place = source.place(point), out = box.outward(place);
    const cv::Vec3d flat = place - box.height(place) * box.normal;
    const double shown = std::clamp(point.deviation, -1.25 * limit, 1.25 * limit);
    const cv::Vec3d base = circle ? box.center + box.radius * out : flat - box.distance(flat) * out;
    const cv::Vec3d off = base + (shown * stretch / scale) * out - box.center;
    dots.push_back({on_sheet({off.dot(box.along), off.dot(box.across())}), point.deviation,
                    point.state == PointState::Used});
  }
  drawDots(svg, dots, limit);
  ring(0.0, "fitted", svg);
  drawLegend(svg, limit);
  if (circle) {
    for (int angle = 0; angle < 360; angle += 90) {
      const cv::Point2d way(std::cos(angle / kDegrees), -std::sin(angle / kDegrees));
      const cv::Vec3d direction =
          std::cos(angle / kDegrees) * box.along + std::sin(angle / kDegrees) * box.across();
      const std::string name = axisName(direction, "");
      svg.text(middle + way * (outer + 16.0) + cv::Point2d(0.0, 4.0),
               std::to_string(angle) + "\xc2\xb0" + (name.empty() ? "" : " " + name), "middle",
               "over");
    }
  }
  svg.text({10.0, kPlotHeight - 10.0}, plain(stretch / scale, 0) + " \xc3\x97 enlarged", "start",
           "unit");
  return finished(svg, source, caption);
}

/// A map over the angle about the axis and the place along it.
template <typename Record>
Plot unrolled(const Record& record, const cv::Vec3d& origin, const cv::Vec3d& axis,
              const Source& source) {
  const Plane2 sheet(axis);
  const cv::Vec3d along = unit(axis);
  const auto flat = [&](const cv::Vec3d& point) {
    const cv::Vec3d radial = radialAt(record, point);
    double angle = std::atan2(radial.dot(sheet.up), radial.dot(sheet.right));
    if (angle < 0.0) angle += 2.0 * CV_PI;
    return cv::Point2d(angle * kDegrees, (point - origin).dot(along));
  };
  const std::vector<Dot> dots = dotsOf(source, flat);
  Range x = Range::none(), y = Range::none();
  for (const Dot& dot : dots) {
    x.take(dot.place.x);
    y.take(dot.place.y);
  }
  Svg svg = plotFor(source, "Unrolled map of the deviations");
  // An arc is shown alone, unless it lies across the start.
  const bool arc = x.size() < 180.0;
  Axes axes(svg, kMapBox, arc ? padded(x) : Range{0.0, 360.0}, padded(y), false);
  axes.label("angle, \xc2\xb0", "along the axis, mm", arc ? 0.0 : 90.0);
  drawOn(axes, svg, dots, source.limit());
  return finished(svg, source, "Deviation over the unrolled surface");
}

std::vector<Plot> mapsOf(const Measurement& /*one*/, const XFCylinder& cylinder,
                         const Source& source) {
  const cv::Vec3d center = vec(cylinder.center), axis = vec(cylinder.axis);
  return {ringPlot(ringAbout(center, axis, cylinder.radius), source,
                   "Deviation from the fitted cylinder about its axis, which points to the "
                   "viewer; positive away from it. Dashed: the sigma band"),
          unrolled(cylinder, center, axis, source)};
}

std::vector<Plot> mapsOf(const Measurement& /*one*/, const XFCone& cone, const Source& source) {
  const cv::Vec3d base = vec(cone.base), axis = vec(cone.axis);
  return {ringPlot(ringAbout(base, axis, 1.0), source,
                   "Deviation from the fitted cone about its axis, whose apex points to the "
                   "viewer; positive away from it. Dashed: the sigma band"),
          unrolled(cone, base, axis, source)};
}

Plot histogramOf(const Source& source) {
  const Spread& spread = source.told.spread;
  const std::size_t classes = spread.used_counts.size();
  const Range x{spread.start, spread.start + spread.width * static_cast<double>(classes)};
  int highest = 1;
  for (std::size_t i = 0; i < classes; ++i) {
    highest = std::max(highest, spread.used_counts[i] + spread.outside_counts[i]);
  }
  const double peak = spread.used * spread.width / (spread.sigma * std::sqrt(2.0 * CV_PI));
  const cv::Rect2d box(kMapBox.x, kMapBox.y, kPlotWidth - kMapBox.x - 16.0, kMapBox.height);
  Svg svg = plotFor(source, "Histogram of the deviations");
  Axes axes(svg, box, x,
            {0.0, 1.1 * std::max(static_cast<double>(highest), std::isfinite(peak) ? peak : 0.0)},
            false);
  const auto bar = [&](double from, double to, double low, double high, const char* name) {
    const cv::Point2d a = axes.at({from, high}), b = axes.at({to, low});
    svg.rectangle({a.x, a.y, b.x - a.x, b.y - a.y}, name);
  };
  const cv::Point2d band_low = axes.at({spread.low, 0.0}), band_high = axes.at({spread.high, 0.0});
  svg.rectangle({band_low.x, box.y, band_high.x - band_low.x, box.height}, "band");
  axes.label("deviation, mm", "points");
  for (std::size_t i = 0; i < classes; ++i) {
    const double from = spread.start + spread.width * static_cast<double>(i);
    const int used = spread.used_counts[i], all = used + spread.outside_counts[i];
    if (used > 0) bar(from, from + 0.92 * spread.width, 0.0, used, "bar");
    if (all > used) bar(from, from + 0.92 * spread.width, used, all, "bar-outside");
  }
  if (std::isfinite(peak)) {
    Path2 curve;
    for (int i = 0; i <= 80; ++i) {
      const double value = x.low + x.size() * i / 80.0;
      const double z = (value - spread.mean) / spread.sigma;
      curve.push_back(axes.at({value, peak * std::exp(-0.5 * z * z)}));
    }
    svg.path(curve, false, "normal");
  }
  const double mean = axes.at({spread.mean, 0.0}).x;
  svg.line({mean, box.y}, {mean, box.y + box.height}, "mean");
  svg.text({band_low.x + 4.0, box.y + 13.0}, "sigma band", "start", "");
  std::string caption =
      "Points per class; shaded: the sigma band; the line: the normal distribution";
  if (spread.outside > 0) {
    caption += ". " + std::to_string(spread.outside) + " points lie outside the band";
    if (spread.beyond > 0) caption += ", " + std::to_string(spread.beyond) + " beyond the axis";
  }
  return finished(svg, source, caption);
}

}  // namespace

std::vector<Plot> plotsOf(const Measurement& one, const ReportFeature& told, const Scan& scan) {
  if (!one.done() || told.spread.used == 0) return {};
  const Source source{told, scan, toPlot(one.points)};
  std::vector<Plot> plots =
      std::visit([&](const auto& record) { return mapsOf(one, record, source); }, one.measured);
  plots.push_back(histogramOf(source));
  return plots;
}

std::vector<Plot> plotsOf(const OutlineMeasurement& one, const ReportFeature& told,
                          const Scan& scan) {
  if (!one.done() || told.spread.used == 0) return {};
  const Source source{told, scan, toPlot(one.wall)};
  return {ringPlot(boxOf(one.measured), source,
                   "Deviation of the wall from the fitted outline, in its plane; positive "
                   "outwards. Dashed: the sigma band"),
          histogramOf(source)};
}

}  // namespace inspect
