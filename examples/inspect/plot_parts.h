// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "measure.h"
#include "report_model.h"
#include "svg.h"

namespace inspect {

// What the plots of a report share. A plot's class on its page is "plot".

constexpr double kPlotWidth = 460.0, kPlotHeight = 330.0;

/// A point with its deviation in mm.
struct Dot {
  cv::Point2d place;
  double deviation;
  bool used;  ///< false for a point outside the sigma band
};

/// The points in use and those outside the band; of many every so manyth, and always the two that
/// reach farthest.
std::vector<PickedPoint> toPlot(const std::vector<PickedPoint>& points);

/// mm: what the ends of the colour scale stand for.
double limitOf(const Spread& spread);

/// Draws points in the colours of their deviations, and those outside the band as crosses.
void drawDots(Svg& svg, const std::vector<Dot>& dots, double limit);

/// Draws the colour scale down the right side of a plot.
void drawLegend(Svg& svg, double limit);

/// The rules for plots on a light and on a dark page.
std::string plotRules();
std::string darkPlotRules();

/// Two directions square to each other and to a normal, as seen by who looks against the normal: the
/// second is up, as far as it can be, or y where the normal is z.
struct Plane2 {
  explicit Plane2(const cv::Vec3d& normal);
  cv::Vec3d right, up;

  cv::Point2d at(const cv::Vec3d& point) const { return {point.dot(right), point.dot(up)}; }
};

/// "x", "-x" and so on where the direction is that of an axis, or \p otherwise.
std::string axisName(const cv::Vec3d& direction, const std::string& otherwise);

struct Range {
  double low, high;
  double size() const { return high - low; }
  /// Takes the value in.
  void take(double value);
  static Range none() { return {1e300, -1e300}; }
};

/// A frame with ticks; what it holds is drawn by at().
class Axes {
 public:
  /// \param alike whether both axes have one scale; the ranges are widened then
  Axes(Svg& svg, const cv::Rect2d& box, Range x, Range y, bool alike);

  /// Names the axes and gives them ticks. A minus sign before the name of the first says that it runs
  /// against that axis, whose values are shown.
  /// \param x_step distance of the first's ticks; 0 for what fits
  void label(const std::string& x, const std::string& y, double x_step = 0.0);
  cv::Point2d at(const cv::Point2d& point) const;
  const cv::Rect2d& box() const { return m_box; }
  Range x() const { return m_x; }

 private:
  Svg& m_svg;
  cv::Rect2d m_box;
  Range m_x, m_y;
};

}  // namespace inspect
