// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>

#include <opencv2/core.hpp>

namespace zelmo::internal {

/// The angle in radians, 0 to pi, between two unit directions. A dot product that rounding pushed out
/// of range gives 0 or pi without a call of the arc cosine; so does NaN, with pi.
inline double angleBetween(const float* u, const float* v) {
  const double cosine = static_cast<double>(u[0]) * v[0] + static_cast<double>(u[1]) * v[1] +
                        static_cast<double>(u[2]) * v[2];
  if (std::fabs(cosine) < 1.0) return std::acos(cosine);
  return cosine >= 1.0 ? 0.0 : CV_PI;
}

}  // namespace zelmo::internal
