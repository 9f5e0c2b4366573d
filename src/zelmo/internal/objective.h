// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// \file
/// What a descent minimises: folds over the residuals of all points. They are templates; an
/// objective calls them from a ZELMO_MULTIVERSION function of its own (see lanes.h).

#include <array>

#include <gsl/gsl_vector.h>

#include "zelmo/internal/lanes.h"

namespace zelmo::internal {

/// The parameters that a minimiser asks about.
template <std::size_t Count>
std::array<double, Count> valuesOf(const gsl_vector* v) {
  std::array<double, Count> values;
  for (std::size_t i = 0; i < Count; ++i) values[i] = gsl_vector_get(v, i);
  return values;
}

/// Sum of absolute residuals.
template <typename View, typename Residual>
ZELMO_ALWAYS_INLINE double foldAbsSum(const View& points, const Residual& residual) {
  return laneSum(points, Absolute<Residual>{residual});
}

/// Sum of squared residuals.
template <typename View, typename Residual>
ZELMO_ALWAYS_INLINE double foldSquareSum(const View& points, const Residual& residual) {
  return laneSum(points, Squared<Residual>{residual});
}

/// Largest absolute residual, from 0; NaN residuals are passed over.
template <typename View, typename Residual>
ZELMO_ALWAYS_INLINE double foldMaxAbs(const View& points, const Residual& residual) {
  return laneMax(points, Absolute<Residual>{residual}, 0.0);
}

}  // namespace zelmo::internal
