// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>

#include "zelmo/internal/array_view.h"

namespace zelmo::internal {

/// What the objective of a candidate axis reads, and the value that it gave last: a candidate is
/// judged by the last evaluation of its descent, not by the smallest.
struct Evaluations {
  PointView points;
  mutable double last = 0.0;
};

constexpr std::size_t kCandidateValues = 8;

/// Fits from each of the three principal axes and keeps the parameters of the smallest value; the
/// first wins a tie, and a NaN never beats another.
/// \param[in,out] params double[8]
/// \param[in] fit_from double(int axis, double* params): fits from one axis, gives its value
template <typename FitFrom>
void keepBestAxis(double* params, FitFrom fit_from) {
  std::array<double, kCandidateValues> given;
  std::copy_n(params, kCandidateValues, given.begin());
  double best = 0.0;
  for (int axis = 0; axis < 3; ++axis) {
    auto candidate = given;
    const double value = fit_from(axis, candidate.data());
    if (axis > 0 && !(value < best)) continue;
    best = value;
    std::copy(candidate.begin(), candidate.end(), params);
  }
}

}  // namespace zelmo::internal
