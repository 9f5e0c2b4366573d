// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/internal/deviation_statistics.h"

/// \file
/// From points and a feature to a tolerance.

namespace zelmo::internal {

/// What a tolerance is when there are too few points or no frame.
constexpr double kNoTolerance = -1.0;
constexpr int kFewestPoints = 3;

/// Half width of the band in standard deviations; nothing when all deviations count.
using SigmaFactor = std::optional<double>;

inline SigmaFactor sigmaFactorIf(bool use_band, double factor) {
  return use_band ? SigmaFactor(factor) : std::nullopt;
}

/// The extreme deviations that count; nothing with fewer than 3 points. Without a band no deviation
/// is stored.
template <typename Points, typename Deviation>
std::optional<Extremes> countingExtremes(const Points& points, const Deviation& from,
                                         const SigmaFactor& factor) {
  const int count = points.count();
  if (count < kFewestPoints) return std::nullopt;
  if (!factor) return extremeDeviations(points, from);
  // Not a vector: that would write every deviation twice.
  const std::unique_ptr<double[]> deviations(new double[static_cast<std::size_t>(count)]);
  const DeviationStatistics statistics = deviationStatistics(points, from, deviations.get());
  return extremesInBand(deviations.get(), count, SigmaBand::about(statistics, *factor));
}

/// Largest less smallest.
// CONTRACT: an empty band has no case of its own; its start values give -2e10.
inline double bandWidth(const std::optional<Extremes>& extremes) {
  return extremes ? extremes->largest - extremes->smallest : kNoTolerance;
}

/// The deviation from a circle in space, measured in the frame of the points' projections on its
/// plane. \param[in] circle double[7]: center, normal, radius
/// \return nothing when there is no frame
std::optional<SpaceCircleDeviation> spaceCircle(const PointView& points, const double* circle);

/// The points whose deviation from \p plane lies in the band.
/// \pre at least 3 points
std::vector<cv::Point3f> pointsInBand(const PointView& points, const PlaneDeviation& plane,
                                      double factor);

/// The shorter side of the smallest rectangle around the points' projections on \p plane.
/// \param[in] plane double[4]: a, b, c, d
/// \return kNoTolerance when there is no frame
double shorterSideOnPlane(const PointView& points, const double* plane);

}  // namespace zelmo::internal
