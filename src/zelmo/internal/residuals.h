// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// \file
/// Signed distances of a point to a feature, as functors for the folds over lanes.

#include <cmath>

#include "zelmo/internal/lanes.h"

namespace zelmo::internal {

/// Signed distance to a x + b y + c z + d = 0, times the length of (a, b, c).
struct PlaneResidual {
  double a, b, c, d;
  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const {
    return a * x + b * y + c * z + d;
  }
};

/// Distance to the center less the radius.
struct SphereResidual {
  double cx, cy, cz, r;
  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const {
    const double dx = x - cx;
    const double dy = y - cy;
    const double dz = z - cz;
    return std::sqrt(dx * dx + dy * dy + dz * dz) - r;
  }
};

/// A point on an axis and the axis' unit direction.
struct AxisLine {
  double px, py, pz, ux, uy, uz;

  /// From a point and a direction of any length; a zero direction gives NaN.
  static AxisLine through(const double* point, const double* direction) {
    const double length = std::sqrt(direction[0] * direction[0] + direction[1] * direction[1] +
                                    direction[2] * direction[2]);
    return {point[0],
            point[1],
            point[2],
            direction[0] / length,
            direction[1] / length,
            direction[2] / length};
  }
  /// Squared distance of point + (qx, qy, qz) to the axis.
  ZELMO_ALWAYS_INLINE double distanceSquared(double qx, double qy, double qz) const {
    const double cx = qy * uz - qz * uy;
    const double cy = qz * ux - qx * uz;
    const double cz = qx * uy - qy * ux;
    return cx * cx + cy * cy + cz * cz;
  }
  ZELMO_ALWAYS_INLINE double along(double qx, double qy, double qz) const {
    return ux * qx + uy * qy + uz * qz;
  }
};

/// An offset whose three coordinates are all strictly below this in magnitude counts as none: the
/// point then lies on the axis point.
constexpr double kOnAxisPoint = 0.01;

inline bool isOnAxisPoint(double qx, double qy, double qz) {
  return std::fabs(qx) < kOnAxisPoint && std::fabs(qy) < kOnAxisPoint &&
         std::fabs(qz) < kOnAxisPoint;
}

/// \p on_axis_point where isOnAxisPoint holds, else \p value. Chained choices of
/// doubles, because the compiler leaves a joint condition scalar.
ZELMO_ALWAYS_INLINE double orOnAxisPoint(double qx, double qy, double qz, double on_axis_point,
                                         double value) {
  const double by_x = std::fabs(qx) < kOnAxisPoint ? on_axis_point : value;
  const double by_y = std::fabs(qy) < kOnAxisPoint ? by_x : value;
  return std::fabs(qz) < kOnAxisPoint ? by_y : value;
}

/// Squared distance to an axis; a point on the axis point counts 0.
struct AxisDistanceSquared {
  AxisLine axis;
  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z,
                                        double* from_axis_point) const {
    const double qx = x - axis.px;
    const double qy = y - axis.py;
    const double qz = z - axis.pz;
    *from_axis_point = qx * qx + qy * qy + qz * qz;
    return axis.distanceSquared(qx, qy, qz);
  }
  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const {
    double ignored;
    const double value = (*this)(x, y, z, &ignored);
    return orOnAxisPoint(x - axis.px, y - axis.py, z - axis.pz, 0.0, value);
  }
};

/// The distance itself.
struct AxisDistance {
  AxisLine axis;
  template <typename... Rest>
  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z, Rest... rest) const {
    return std::sqrt(AxisDistanceSquared{axis}(x, y, z, rest...));
  }
};

/// Distance to a cylinder, without sign; a point on the axis point counts as r, with r's sign.
struct CylinderDistance {
  AxisLine axis;
  double r;
  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z,
                                        double* from_axis_point) const {
    return std::fabs(AxisDistance{axis}(x, y, z, from_axis_point) - r);
  }
  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const {
    double ignored;
    const double value = (*this)(x, y, z, &ignored);
    return orOnAxisPoint(x - axis.px, y - axis.py, z - axis.pz, r, value);
  }
};

/// Distance across the axis to a cone with its apex on the axis point, without sign. The share of a
/// point on the apex depends on the points before it and is not known here.
struct ConeDistance {
  AxisLine axis;
  double tangent;
  /// Radius of the cone at the height of an offset from the apex.
  ZELMO_ALWAYS_INLINE double radiusAt(double qx, double qy, double qz) const {
    return std::fabs(axis.along(qx, qy, qz)) * tangent;
  }
  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z,
                                        double* from_axis_point) const {
    const double radius = radiusAt(x - axis.px, y - axis.py, z - axis.pz);
    return std::fabs(AxisDistance{axis}(x, y, z, from_axis_point) - radius);
  }
};

/// An offset longer than this, squared, has a coordinate that reaches 0.01: the largest that has not
/// is below 3e-4.
constexpr double kOffAxisPointSquared = 4e-4;

/// laneSum of a distance that tells how far a point lies from the axis point. A point on it is rare,
/// and asking for it costs as much as a third of a distance: the smallest offset tells afterwards
/// whether a second walk must ask. \return as laneSum, to the bit
template <typename Distance>
ZELMO_ALWAYS_INLINE double laneSumOffAxisPoint(const PointView& points, const Distance& distance) {
  double nearest;
  const double sum = laneSumAndSmallest(points, distance, &nearest);
  return nearest > kOffAxisPointSquared ? sum : laneSum(points, distance);
}

}  // namespace zelmo::internal
