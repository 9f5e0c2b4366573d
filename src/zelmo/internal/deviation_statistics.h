// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>

#include "zelmo/internal/array_view.h"
#include "zelmo/internal/lanes.h"

/// \file
/// Signed deviations of points from a feature, their statistics and the sigma band.
///
/// Extremes follow strict comparisons, so a deviation that is NaN never becomes one; it does enter
/// the mean and the variance. Sums run in lanes.

namespace zelmo::internal {

/// n . p + d of a plane. A normal that is not unit scales the deviation.
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

/// What a line or cylinder does with a point that lies within 0.01 of its given point in each
/// coordinate.
enum class NearPoint {
  OnTheAxis,  ///< its distance counts as 0: XGeoTolrance
  Measured,   ///< like any other: damped cylinder fit
};

constexpr double kNearAxisPoint = 0.01;

/// A point and a direction that is expected to be unit; a longer one scales the distance.
struct AxisOffset {
  double ox, oy, oz, dx, dy, dz;

  static AxisOffset of(const double* line) {
    return {line[0], line[1], line[2], line[3], line[4], line[5]};
  }
  /// |(p - o) x d|.
  ZELMO_ALWAYS_INLINE double distance(double x, double y, double z) const {
    return std::sqrt(squaredDistance(x, y, z));
  }
  ZELMO_ALWAYS_INLINE double squaredDistance(double x, double y, double z) const {
    const double cx = (y - oy) * dz - (z - oz) * dy;
    const double cy = (z - oz) * dx - (x - ox) * dz;
    const double cz = (x - ox) * dy - (y - oy) * dx;
    return cx * cx + cy * cy + cz * cz;
  }
  ZELMO_ALWAYS_INLINE double along(double x, double y, double z) const {
    return (x - ox) * dx + (y - oy) * dy + (z - oz) * dz;
  }
  /// \p value, or 0 for a point within 0.01 of o in each coordinate.
  ZELMO_ALWAYS_INLINE double unlessNear(double x, double y, double z, double value) const {
    // Three selections instead of one condition: a branch would keep the loop scalar.
    const double by_z = std::fabs(z - oz) < kNearAxisPoint ? 0.0 : value;
    const double by_y = std::fabs(y - oy) < kNearAxisPoint ? by_z : value;
    return std::fabs(x - ox) < kNearAxisPoint ? by_y : value;
  }
};

/// The distance from a line, negative for a point behind the line's given point along its direction;
/// 0 for a point near the given point.
// CONTRACT: the sign tells ahead or behind along the line, not a side of it.
struct LineDeviation {
  AxisOffset axis;

  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const {
    const double distance = axis.distance(x, y, z);
    const double deviation = axis.along(x, y, z) < 0 ? -distance : distance;
    return axis.unlessNear(x, y, z, deviation);
  }
};

/// The distance from the axis less the radius.
// CONTRACT: near the axis' given point the deviation is minus the radius, however small that is.
template <NearPoint Rule>
struct CylinderDeviation {
  AxisOffset axis;
  double radius;

  static CylinderDeviation of(const double* cylinder) {
    return {AxisOffset::of(cylinder), cylinder[6]};
  }
  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const {
    const double distance = axis.distance(x, y, z);
    if constexpr (Rule == NearPoint::Measured) {
      return distance - radius;
    } else {
      return axis.unlessNear(x, y, z, distance) - radius;
    }
  }
};

/// The distance from the center less the radius.
struct SphereDeviation {
  double x0, y0, z0, radius;

  static SphereDeviation of(const double* sphere) {
    return {sphere[0], sphere[1], sphere[2], sphere[3]};
  }
  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const {
    const double u = x - x0;
    const double v = y - y0;
    const double w = z - z0;
    return std::sqrt(u * u + v * v + w * w) - radius;
  }
};

/// The distance of a point of the plane from the center less the radius.
struct CircleDeviation {
  double x0, y0, radius;

  ZELMO_ALWAYS_INLINE double operator()(double x, double y) const {
    const double u = x - x0;
    const double v = y - y0;
    return std::sqrt(u * u + v * v) - radius;
  }
};

/// A point of space projected on the circle's plane, rounded to float, mapped by the first two rows
/// of a rigid transform, rounded to float, and measured against the circle there.
struct SpaceCircleDeviation {
  PlaneDeviation plane;
  double map[8];
  CircleDeviation circle;

  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const {
    const double e = plane(x, y, z);
    const double px = static_cast<float>(x - e * plane.a);
    const double py = static_cast<float>(y - e * plane.b);
    const double pz = static_cast<float>(z - e * plane.c);
    const double u = static_cast<float>(map[0] * px + map[1] * py + map[2] * pz + map[3]);
    const double v = static_cast<float>(map[4] * px + map[5] * py + map[6] * pz + map[7]);
    return circle(u, v);
  }
};

struct Extremes {
  double largest = -1e10;
  double smallest = 1e10;
};

/// What one pass over the points gathers.
struct DeviationPass {
  Extremes extremes;
  double sum = 0.0;  ///< of the deviations as stored
};

// One pass that stores the deviation of each point in point order, and sums them as stored.
// CONTRACT: extremes follow the deviations before they are rounded to the stored type.
DeviationPass storeDeviations(const PointView& points, const PlaneDeviation& from, double* out);
DeviationPass storeDeviations(const PointView& points, const LineDeviation& from, double* out);
DeviationPass storeDeviations(const PointView& points,
                              const CylinderDeviation<NearPoint::OnTheAxis>& from, double* out);
DeviationPass storeDeviations(const PointView& points, const SphereDeviation& from, double* out);
DeviationPass storeDeviations(const PointView& points, const SpaceCircleDeviation& from,
                              double* out);
DeviationPass storeDeviations(const PlanarView& points, const CircleDeviation& from, double* out);
DeviationPass storeDeviations(const PointView& points, const PlaneDeviation& from, float* out);
DeviationPass storeDeviations(const PointView& points, const SphereDeviation& from, float* out);
DeviationPass storeDeviations(const PointView& points,
                              const CylinderDeviation<NearPoint::Measured>& from, float* out);

// The extremes alone, for a caller that reads no deviation.
Extremes extremeDeviations(const PointView& points, const PlaneDeviation& from);
Extremes extremeDeviations(const PointView& points, const LineDeviation& from);
Extremes extremeDeviations(const PointView& points,
                           const CylinderDeviation<NearPoint::OnTheAxis>& from);
Extremes extremeDeviations(const PointView& points, const SphereDeviation& from);
Extremes extremeDeviations(const PointView& points, const SpaceCircleDeviation& from);
Extremes extremeDeviations(const PlanarView& points, const CircleDeviation& from);

/// Sum of the squares of (deviation - mean).
double squaresAbout(double mean, const double* deviations, int count);
double squaresAbout(double mean, const float* deviations, int count);

/// By what the sum of squares is divided to give a variance.
enum class VarianceDivisor {
  Count,         ///< population variance: XGeoTolrance, damped plane and sphere fits
  CountLessOne,  ///< sample variance: damped cylinder fit on more than 10 points
};

struct DeviationStatistics {
  Extremes extremes;
  double mean = 0.0;
  double variance = 0.0;
};

/// Deviations and their statistics.
/// \param[out] out one deviation per point, double or float
/// \pre at least one point, and two with VarianceDivisor::CountLessOne
template <typename Points, typename Deviation, typename Stored>
DeviationStatistics deviationStatistics(const Points& points, const Deviation& from, Stored* out,
                                        VarianceDivisor divisor = VarianceDivisor::Count) {
  const int count = points.count();
  const DeviationPass pass = storeDeviations(points, from, out);
  DeviationStatistics statistics{pass.extremes, pass.sum / count, 0.0};
  statistics.variance = squaresAbout(statistics.mean, out, count) /
                        (divisor == VarianceDivisor::Count ? count : count - 1);
  return statistics;
}

/// The deviations that count: those from \c low to \c high, limits included. A limit or a deviation
/// that is NaN excludes nothing.
struct SigmaBand {
  double low, high;

  static SigmaBand about(const DeviationStatistics& statistics, double sigma_factor) {
    const double sigma = std::sqrt(statistics.variance);
    return {statistics.mean - sigma * sigma_factor, statistics.mean + sigma * sigma_factor};
  }
  ZELMO_ALWAYS_INLINE bool keeps(double deviation) const {
    return !(static_cast<int>(low > deviation) | static_cast<int>(deviation > high));
  }
};

/// Largest and smallest of the deviations that count. An empty band leaves the start values.
// CONTRACT: one rejection pass; mean and deviation are not recomputed on the survivors.
Extremes extremesInBand(const double* deviations, int count, const SigmaBand& band);

}  // namespace zelmo::internal
