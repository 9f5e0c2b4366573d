// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/feature/base.h"

#include <algorithm>

#include "zelmo/feature/internal/frame_members.h"

namespace xgeofeature {

int XFBase::getRotationMatrix(const float* const axis, const float& angle, double* const r,
                              bool degrees) {
  const cv::Matx33d rotation = zelmo::internal::rotationAbout(
      zelmo::internal::pointAt(axis),
      zelmo::internal::inRadians(static_cast<double>(angle), degrees));
  std::copy_n(rotation.val, 9, r);
  return 0;
}

void XFBase::getMatRT_LineSymmetry(const float* const line, double* const rt) {
  zelmo::internal::storeLineSymmetry(line, rt);
}

void XFBase::getMatRT_PlaneSymmetry(const float* const plane, double* const rt) {
  zelmo::internal::storePlaneSymmetry(plane, rt);
}

void XFBase::getMatRT_PointSymmetry(const float* const point, double* const rt) {
  zelmo::internal::storePointSymmetry(point, rt);
}

}  // namespace xgeofeature
