// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// \file
/// Signed distances of a point to a feature, as functors for the folds over lanes.

#include <cmath>

#include "zelmo/internal/lanes.h"

namespace zelmo::internal {

/// a x + b y + c z + d: the signed distance to a plane, times the length of (a, b, c).
struct PlaneDeviation {
  double a, b, c, d;

  static PlaneDeviation through(const double* point, const double* normal) {
    return {normal[0], normal[1], normal[2],
            -(normal[0] * point[0] + normal[1] * point[1] + normal[2] * point[2])};
  }
  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const {
    return a * x + b * y + c * z + d;
  }
};

/// Distance to the center less the radius.
struct SphereDeviation {
  double cx, cy, cz, r;

  static SphereDeviation of(const double* sphere) {
    return {sphere[0], sphere[1], sphere[2], sphere[3]};
  }
  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const {
    const double dx = x - cx;
    const double dy = y - cy;
    const double dz = z - cz;
    return std::sqrt(dx * dx + dy * dy + dz * dz) - r;
  }
};

/// A point on an axis and the axis' direction, expected to be unit: a longer one scales what is
/// measured.
struct AxisLine {
  double px, py, pz, ux, uy, uz;

  /// The direction as it stands.
  static AxisLine of(const double* line) {
    return {line[0], line[1], line[2], line[3], line[4], line[5]};
  }
  /// A direction of any length is made unit; a zero one gives NaN.
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

inline bool isOnAxisPoint(double qx, double qy, double qz, double limit = kOnAxisPoint) {
  return std::fabs(qx) < limit && std::fabs(qy) < limit && std::fabs(qz) < limit;
}

/// \p on_axis_point where isOnAxisPoint holds, else \p value. Chained choices of
/// doubles, because the compiler leaves a joint condition scalar.
ZELMO_ALWAYS_INLINE double orOnAxisPoint(double qx, double qy, double qz, double on_axis_point,
                                         double value, double limit = kOnAxisPoint) {
  const double by_x = std::fabs(qx) < limit ? on_axis_point : value;
  const double by_y = std::fabs(qy) < limit ? by_x : value;
  return std::fabs(qz) < limit ? by_y : value;
}

/// The distance from a line, negative for a point behind the line's given point along its direction;
/// 0 for a point on the given point.
// CONTRACT: the sign tells ahead or behind along the line, not a side of it.
struct LineDeviation {
  AxisLine axis;

  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const {
    const double qx = x - axis.px;
    const double qy = y - axis.py;
    const double qz = z - axis.pz;
    const double distance = std::sqrt(axis.distanceSquared(qx, qy, qz));
    const double deviation = axis.along(qx, qy, qz) < 0 ? -distance : distance;
    return orOnAxisPoint(qx, qy, qz, 0.0, deviation);
  }
};

/// What a cylinder does with a point on its axis point.
enum class NearPoint {
  OnTheAxis,  ///< its distance from the axis counts as 0: XGeoTolrance
  Measured,   ///< like any other: damped cylinder fit
};

/// The distance from the axis less the radius.
// CONTRACT: near the axis' given point the deviation is minus the radius, however small that is.
template <NearPoint Rule>
struct CylinderDeviation {
  AxisLine axis;
  double r;

  static CylinderDeviation of(const double* cylinder) {
    return {AxisLine::of(cylinder), cylinder[6]};
  }
  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const {
    const double qx = x - axis.px;
    const double qy = y - axis.py;
    const double qz = z - axis.pz;
    const double distance = std::sqrt(axis.distanceSquared(qx, qy, qz));
    if constexpr (Rule == NearPoint::Measured) {
      return distance - r;
    } else {
      return orOnAxisPoint(qx, qy, qz, 0.0, distance) - r;
    }
  }
};

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
