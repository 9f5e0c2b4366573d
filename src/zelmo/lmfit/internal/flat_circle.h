// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "zelmo/internal/array_view.h"

namespace zelmo::internal {

/// A circle in the plane, in floats.
struct FlatCircle {
  float cx = 0, cy = 0, r = 0;
};

/// The least-squares circle, from the algebraic one of the first half of the points.
/// \return nothing with fewer than 3 points, without a start, and when the solver fails
std::optional<FlatCircle> leastSquaresCircle(const PlanarView& points);

/// Shrinks \p start, step by step, to a circle through bearing points that the nearest point touches
/// within 0.001.
// CONTRACT: a step never lets the circle grow, so a start that fits inside the points stays.
/// \return nothing when more than 0.4 circles per point had to be passed over
/// \pre at least 3 points, all finite
std::optional<FlatCircle> exchangeBearingPoints(const PlanarView& points, const FlatCircle& start);

/// The circle that an exchange of bearing points reaches from a penalised fit; meant for the largest
/// one without points inside.
/// \return nothing with fewer than 10 points, without a start, and when the exchange passes over more
///     than 0.4 circles per point
std::optional<FlatCircle> inscribedCircle(const PlanarView& points);

}  // namespace zelmo::internal
