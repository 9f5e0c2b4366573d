// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/registration/internal/motion_parameters.h"

#include <algorithm>
#include <cmath>

#include "zelmo/internal/lanes.h"

namespace zelmo::internal {
namespace {

/// Distance of a moved point from its partner; r row by row, then t.
struct PairDistance {
  double r[9], t[3];

  ZELMO_ALWAYS_INLINE double operator()(const float* x, const float* y) const {
    const double x0 = x[0];
    const double x1 = x[1];
    const double x2 = x[2];
    const double e0 = r[0] * x0 + r[1] * x1 + r[2] * x2 + t[0] - y[0];
    const double e1 = r[3] * x0 + r[4] * x1 + r[5] * x2 + t[1] - y[1];
    const double e2 = r[6] * x0 + r[7] * x1 + r[8] * x2 + t[2] - y[2];
    return std::sqrt(e0 * e0 + e1 * e1 + e2 * e2);
  }
};

ZELMO_MULTIVERSION double distanceSum(const float* x, const float* y, int count,
                                      const PairDistance& given_distance) {
  const PairDistance distance = given_distance;
  double lane[kLanes] = {};
  int i = 0;
  for (; i + kLanes <= count; i += kLanes, x += 3 * kLanes, y += 3 * kLanes) {
    ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) lane[k] += distance(x + 3 * k, y + 3 * k);
  }
  for (int k = 0; i < count; ++i, ++k, x += 3, y += 3) lane[k] += distance(x, y);
  return addLanes(lane);
}

}  // namespace

cv::Matx33d rotationOf(const double* p) {
  const double c0 = std::cos(p[0]), s0 = std::sin(p[0]);
  const double c1 = std::cos(p[1]), s1 = std::sin(p[1]);
  const double c2 = std::cos(p[2]), s2 = std::sin(p[2]);
  const cv::Matx33d about_x(1, 0, 0, 0, c0, s0, 0, -s0, c0);
  const cv::Matx33d about_y(c1, 0, -s1, 0, 1, 0, s1, 0, c1);
  const cv::Matx33d about_z(c2, s2, 0, -s2, c2, 0, 0, 0, 1);
  return about_z * about_y * about_x;
}

MotionParameters parametersOf(const RigidMotion& motion) {
  const cv::Matx33d& r = motion.rotation;
  return {-std::atan2(r(2, 1), r(2, 2)),
          -std::atan2(-r(2, 0), std::sqrt(r(2, 1) * r(2, 1) + r(2, 2) * r(2, 2))),
          -std::atan2(r(1, 0), r(0, 0)),
          motion.translation[0],
          motion.translation[1],
          motion.translation[2]};
}

MotionParameters firstSteps(const double* p) {
  constexpr double kLengthStep = 0.01;
  const double largest = std::max(std::max(std::fabs(p[0]), std::fabs(p[1])), std::fabs(p[2]));
  const double angle_step = largest / 100.0;
  return {angle_step, angle_step, angle_step, kLengthStep, kLengthStep, kLengthStep};
}

double pairedDistanceSum(const PointView& first, const PointView& second, const double* p) {
  PairDistance distance;
  const cv::Matx33d r = rotationOf(p);
  std::copy_n(r.val, 9, distance.r);
  std::copy_n(p + 3, 3, distance.t);
  return distanceSum(first.data(), second.data(), std::min(first.count(), second.count()),
                     distance);
}

}  // namespace zelmo::internal
