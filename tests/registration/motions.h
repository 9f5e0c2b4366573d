// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <random>

#include <opencv2/core/matx.hpp>
#include <opencv2/core/types.hpp>

namespace zelmo::test {

struct Motion {
  cv::Matx33d r;
  cv::Vec3d t;

  cv::Vec3d operator()(const cv::Vec3d& p) const { return r * p + t; }
  cv::Point3f rounded(const cv::Point3f& p) const {
    const cv::Vec3f q((*this)(cv::Vec3d(p.x, p.y, p.z)));
    return {q[0], q[1], q[2]};
  }
  Motion inverse() const { return {r.t(), -(r.t() * t)}; }
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

}  // namespace zelmo::test
