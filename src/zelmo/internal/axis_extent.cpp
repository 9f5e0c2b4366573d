// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/axis_extent.h"

#include "zelmo/internal/lanes.h"

namespace zelmo::internal {
namespace {

constexpr double kAtOrigin = 1e-6;

/// Sign times the parameter. \tparam Offset the type in which offsets are taken
template <typename Offset>
struct AxisParameter {
  Offset px, py, pz;
  double ux, uy, uz;
  double sign;
  ZELMO_ALWAYS_INLINE double operator()(Offset x, Offset y, Offset z) const {
    const Offset from_x = px - x;
    const Offset from_y = py - y;
    const Offset from_z = pz - z;
    const double dx = from_x;
    const double dy = from_y;
    const double dz = from_z;
    const double t = -(dx * ux + dy * uy + dz * uz) * sign;
    const double by_x = std::fabs(dx) < kAtOrigin ? 0.0 : t;
    const double by_y = std::fabs(dy) < kAtOrigin ? by_x : t;
    return std::fabs(dz) < kAtOrigin ? by_y : t;
  }
};

ZELMO_MULTIVERSION double largest(const PointView& points, const AxisParameter<float>& term) {
  return laneMax(points, term, -1e10);
}

ZELMO_MULTIVERSION double largest(const PointView& points, const AxisParameter<double>& term) {
  return laneMax(points, term, -1e10);
}

template <typename Offset>
AxisExtent extentOf(const PointView& points, const cv::Vec3f& origin, const cv::Vec3d& direction) {
  AxisParameter<Offset> term{origin[0],    origin[1],    origin[2], direction[0],
                             direction[1], direction[2], -1.0};
  AxisExtent extent;
  extent.low = -largest(points, term);
  term.sign = 1.0;
  extent.high = largest(points, term);
  return extent;
}

}  // namespace

AxisExtent axisExtent(const PointView& points, const cv::Vec3f& origin, const cv::Vec3d& direction,
                      OffsetRounding rounding) {
  return rounding == OffsetRounding::ToFloat ? extentOf<float>(points, origin, direction)
                                             : extentOf<double>(points, origin, direction);
}

}  // namespace zelmo::internal
