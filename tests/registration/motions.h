// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

#include <opencv2/core.hpp>

#include "zelmo/registration/rps_align.h"

namespace zelmo::test {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

struct Motion {
  cv::Matx33d r;
  cv::Vec3d t;

  cv::Vec3d operator()(const cv::Vec3d& p) const { return r * p + t; }
  Motion inverse() const { return {r.t(), -(r.t() * t)}; }
  Motion after(const Motion& first) const { return {r * first.r, (*this)(first.t)}; }
};

/// Plain rotation by \p angle about x, y or z.
inline cv::Matx33d turn(int axis, double angle) {
  const double c = std::cos(angle), s = std::sin(angle);
  if (axis == 0) return {1, 0, 0, 0, c, -s, 0, s, c};
  if (axis == 1) return {c, 0, s, 0, 1, 0, -s, 0, c};
  return {c, -s, 0, s, c, 0, 0, 0, 1};
}

/// What the six numbers of the alignments stand for.
inline Motion motionOf(const double* p) {
  return {turn(2, -p[2]) * turn(1, -p[1]) * turn(0, -p[0]), {p[3], p[4], p[5]}};
}

/// From a row-major 4 by 4.
inline Motion motionOfRigid(const double* rt) {
  return {{rt[0], rt[1], rt[2], rt[4], rt[5], rt[6], rt[8], rt[9], rt[10]}, {rt[3], rt[7], rt[11]}};
}

inline double offFromRotation(const cv::Matx33d& r) {
  return std::max(cv::norm(r * r.t() - cv::Matx33d::eye()), std::fabs(cv::determinant(r) - 1));
}

/// How far two motions lie apart.
inline double gap(const Motion& a, const Motion& b) {
  return std::max(cv::norm(a.r - b.r), cv::norm(a.t - b.t));
}

inline xrpsalign::XRPSPoint rps(const cv::Vec3d& p, int flags) {
  constexpr float kNormal[3] = {0, 0, 1};
  return {cv::Vec3f(p).val, kNormal, static_cast<unsigned char>(flags), 1, 2};
}

}  // namespace zelmo::test
