// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>

#include "zelmo/feature/frame_toolkit.h"

/// \file
/// The frame routines in the forms that the bases of the display classes offer.

namespace zelmo::internal {

inline PlaneTriple planeTriple(const cv::Vec3d* normals, const cv::Point3d* points) {
  return {{normals[0], normals[1], normals[2]}, {points[0], points[1], points[2]}};
}

/// Whether \p v is neither zero nor without a value.
inline bool isDirection(const cv::Vec3d& v) { return cv::norm(v) > 0; }

/// Copies \p rigid to \p rt, when there is one.
inline void storeRigid(const std::optional<Rigid>& rigid, double* rt) {
  if (rigid) std::copy(rigid->begin(), rigid->end(), rt);
}

/// \return 1 when \p out was written, else 0
inline int storeIntersection(const cv::Vec3d* normals, const cv::Point3d* points, cv::Mat& out) {
  const auto point = intersectionOfPlanes(normals, points);
  if (!point) return 0;
  out = *point;
  return 1;
}

}  // namespace zelmo::internal
