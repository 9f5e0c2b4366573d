// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>

namespace zelmo::internal {

/// What a fitted direction of three doubles is divided by: its length, or 1 below 1e-6.
inline double lengthOrOne(const double* d) {
  constexpr double kZeroDirection = 1e-6;
  const double length = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
  return length < kZeroDirection ? 1.0 : length;
}

inline void normaliseDirection(double* d) {
  const double length = lengthOrOne(d);
  for (int i = 0; i < 3; ++i) d[i] /= length;
}

/// The largest magnitude of three components.
inline double largestMagnitude(const double* d) {
  return std::max(std::max(std::fabs(d[0]), std::fabs(d[1])), std::fabs(d[2]));
}

}  // namespace zelmo::internal
