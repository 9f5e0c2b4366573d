// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>

#include "zelmo/feature/frame_toolkit.h"

/// \file
/// The frame routines in the forms that X3DFit, XCurve3DFit, XGeometry3D, XCurve3D and XGeoTolrance
/// offer as members of their own, and the symmetries of XFBase and XGeoConstructor: into an output
/// that stays as it is where there is no result.

namespace zelmo::internal {

/// \return 1 when \p out was written, else 0
inline int storeIntersection(const cv::Vec3d* normals, const cv::Point3d* points, cv::Mat& out) {
  const auto point = intersectionOfPlanes(normals, points);
  if (point) out = *point;
  return point ? 1 : 0;
}

inline void storeRotation(const cv::Vec3d& from, const cv::Vec3d& to, cv::Mat& r) {
  r = cv::Mat(rotationBetween(from, to));
}

/// Copies \p rigid to \p rt, when there is one.
inline void storeRigid(const std::optional<Rigid>& rigid, double* rt) {
  if (rigid) std::copy(rigid->begin(), rigid->end(), rt);
}

inline void storeAlignment(const PlaneTriple& target, const PlaneTriple& source, OppositeCross rule,
                           double* rt, AlignTrace* trace = nullptr) {
  storeRigid(alignByPlanes(target, source, rule, trace), rt);
}

inline cv::Point3d pointAt(const float* v) { return {v[0], v[1], v[2]}; }

/// \param[in] line float[6]: a point and a direction
inline void storeLineSymmetry(const float* line, double* rt) {
  storeRigid(lineSymmetry(pointAt(line), pointAt(line + 3)), rt);
}

/// \param[in] plane float[6]: a point and a normal
inline void storePlaneSymmetry(const float* plane, double* rt) {
  storeRigid(planeSymmetry(pointAt(plane), pointAt(plane + 3)), rt);
}

inline void storePointSymmetry(const float* point, double* rt) {
  storeRigid(pointSymmetry(pointAt(point)), rt);
}

/// \return 1
inline int storeInverse(const double* in, double* out) {
  storeRigid(rigidInverse(in), out);
  return 1;
}

}  // namespace zelmo::internal
