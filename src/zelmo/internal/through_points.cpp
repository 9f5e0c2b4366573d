// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/through_points.h"

#include <cmath>

#include <opencv2/core.hpp>

namespace zelmo::internal {
namespace {

constexpr double kCoplanarDeterminant = 1e-6;

template <typename Scalar>
double halfDifferenceOfSquares(const float* p, const float* q) {
  const Scalar x0 = p[0], y0 = p[1], z0 = p[2];
  const Scalar x1 = q[0], y1 = q[1], z1 = q[2];
  const Scalar first = x0 * x0 + y0 * y0 + z0 * z0;
  const Scalar second = x1 * x1 + y1 * y1 + z1 * z1;
  return static_cast<Scalar>(first - second) * 0.5;
}

}  // namespace

std::optional<SphereThrough> sphereThrough(const float* points, SquareSums squares) {
  cv::Mat differences(3, 3, CV_64F);
  cv::Mat right(3, 1, CV_64F);
  for (int row = 0; row < 3; ++row) {
    const float* p = points + static_cast<std::ptrdiff_t>(3) * row;
    const float* q = p + 3;
    for (int k = 0; k < 3; ++k) differences.at<double>(row, k) = static_cast<float>(p[k] - q[k]);
    right.at<double>(row) = squares == SquareSums::InFloat ? halfDifferenceOfSquares<float>(p, q)
                                                           : halfDifferenceOfSquares<double>(p, q);
  }
  if (std::fabs(cv::determinant(differences)) < kCoplanarDeterminant) return std::nullopt;
  const cv::Mat solved = differences.inv() * right;
  SphereThrough sphere{};
  double squared_radius = 0;
  for (std::size_t k = 0; k < 3; ++k) {
    sphere.center[k] = static_cast<float>(solved.at<double>(static_cast<int>(k)));
    if (!std::isfinite(sphere.center[k])) return std::nullopt;
    const double offset = static_cast<double>(sphere.center[k]) - points[k];
    squared_radius += offset * offset;
  }
  sphere.radius = static_cast<float>(std::sqrt(squared_radius));
  return sphere;
}

}  // namespace zelmo::internal
