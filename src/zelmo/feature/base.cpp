// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/feature/base.h"

#include <algorithm>

#include "zelmo/feature/frame_toolkit.h"

namespace xgeofeature {
namespace {

cv::Point3d pointAt(const float* v) { return {v[0], v[1], v[2]}; }
cv::Vec3d vectorAt(const float* v) { return {v[0], v[1], v[2]}; }

}  // namespace

int XFBase::getRotationMatrix(const float* const axis, const float& angle, double* const r,
                              bool degrees) {
  const cv::Matx33d rotation = zelmo::internal::rotationAbout(
      vectorAt(axis), zelmo::internal::inRadians(static_cast<double>(angle), degrees));
  std::copy_n(rotation.val, 9, r);
  return 0;
}

void XFBase::getMatRT_LineSymmetry(const float* const line, double* const rt) {
  const auto map = zelmo::internal::lineSymmetry(pointAt(line), vectorAt(line + 3));
  if (map) std::copy(map->begin(), map->end(), rt);
}

void XFBase::getMatRT_PlaneSymmetry(const float* const plane, double* const rt) {
  const auto map = zelmo::internal::planeSymmetry(pointAt(plane), vectorAt(plane + 3));
  if (map) std::copy(map->begin(), map->end(), rt);
}

void XFBase::getMatRT_PointSymmetry(const float* const point, double* const rt) {
  const zelmo::internal::Rigid map = zelmo::internal::pointSymmetry(pointAt(point));
  std::copy(map.begin(), map.end(), rt);
}

}  // namespace xgeofeature
