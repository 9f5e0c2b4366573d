// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>

#include "zelmo/internal/array_view.h"
#include "zelmo/internal/lanes.h"
#include "zelmo/internal/planar_residuals.h"
#include "zelmo/internal/residuals.h"

/// \file
/// Signed deviations of points from a feature, their statistics and the sigma band.
///
/// Extremes follow strict comparisons, so a deviation that is NaN never becomes one; it does enter
/// the mean and the variance. Sums run in lanes.

namespace zelmo::internal {

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
