// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "zelmo/internal/objective.h"

namespace zelmo::internal {

/// What a fit of an outline minimises over the signed distances e.
enum class OutlineScore {
  SquareSum,
  AbsSum,
  InscribedSum,          ///< sum of e, a negative one penalised
  LargestAbs,            ///< from 0
  LargestInscribed,      ///< largest e, a negative one penalised, from 0
  LargestCircumscribed,  ///< largest -e, a positive e penalised, from 0
  EmptiestInside,        ///< circle only: largest with no point inside
};

constexpr double kWrongSide = 10000.0;

/// e; a point on the inner side counts by far more.
template <typename Residual>
struct Inscribed {
  Residual residual;
  ZELMO_ALWAYS_INLINE double operator()(double x, double y) const {
    const double e = residual(x, y);
    return e < 0 ? (1 - e) * kWrongSide : e;
  }
};

/// -e; a point on the outer side counts by far more.
template <typename Residual>
struct Circumscribed {
  Residual residual;
  ZELMO_ALWAYS_INLINE double operator()(double x, double y) const {
    const double e = residual(x, y);
    return e > 0 ? (e + 1) * kWrongSide : -e;
  }
};

/// The folds of all scores but EmptiestInside, for one outline's ZELMO_MULTIVERSION function.
template <typename Residual>
ZELMO_ALWAYS_INLINE double outlineScore(const PlanarView& points, const Residual& residual,
                                        OutlineScore score) {
  switch (score) {
    case OutlineScore::SquareSum:
      return foldSquareSum(points, residual);
    case OutlineScore::InscribedSum:
      return laneSum(points, Inscribed<Residual>{residual});
    case OutlineScore::LargestAbs:
      return foldMaxAbs(points, residual);
    case OutlineScore::LargestInscribed:
      return laneMax(points, Inscribed<Residual>{residual}, 0.0);
    case OutlineScore::LargestCircumscribed:
      return laneMax(points, Circumscribed<Residual>{residual}, 0.0);
    default:
      return foldAbsSum(points, residual);
  }
}

/// What an objective of an outline reads.
struct OutlineData {
  PlanarView points;
  OutlineScore score;
};

}  // namespace zelmo::internal
