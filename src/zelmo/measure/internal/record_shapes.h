// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "zelmo/feature/line.h"
#include "zelmo/feature/plane.h"
#include "zelmo/feature/point.h"
#include "zelmo/measure/internal/line_plane.h"

/// \file
/// The records as the kernels see them, and back.

namespace zelmo::internal {

inline cv::Vec3d widened(const xgeofeature::XFPoint& p) { return {p.x, p.y, p.z}; }

inline xgeofeature::XFPoint pointOf(const cv::Vec3d& v) {
  return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
}

inline Line lineOf(const xgeofeature::XFLine3D2& line) { return Line::of(line.center, line.dir); }

/// The segment between two points, each rounded to float.
inline xgeofeature::XFLine3D segment(const cv::Vec3d& from, const cv::Vec3d& to) {
  float start[3];
  float end[3];
  store(from, start);
  store(to, end);
  return {start, end};
}

/// The line through the middle of two ends.
inline Line axisThroughMiddle(const float* base, const float* top, const float* axis) {
  return {throughFloat((widened(base) + widened(top)) * 0.5), widened(axis)};
}

/// The foot on a line, rounded to float.
inline cv::Vec3d storedFootOnLine(const cv::Vec3d& p, const Line& line) {
  return throughFloat(footOnLine(p, line));
}

/// The foot on a plane by its equation, which is summed in float.
inline xgeofeature::XFPoint footOnPlane(const xgeofeature::XFPoint& p,
                                        const xgeofeature::XFPlane& plane) {
  const float s = plane.a * p.x + plane.b * p.y + plane.c * p.z + plane.d;
  return pointOf(widened(p) - widened(plane.normal) * static_cast<double>(s));
}

}  // namespace zelmo::internal
