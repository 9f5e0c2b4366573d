// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/feature/plane.h"

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/feature/internal/record_math.h"

namespace xgeofeature {

using zelmo::internal::copyTriple;

XFPlane::XFPlane(const float* point, const float* direction, const float* major_direction,
                 const float& side, const float& across)
    : length(side),
      width(across),
      a(direction[0]),
      b(direction[1]),
      c(direction[2]),
      d(zelmo::internal::planeOffset(point, direction)) {
  copyTriple(point, center);
  copyTriple(direction, normal);
  copyTriple(major_direction, majorDir);
}

XFPlane::XFPlane(const float* point, const float* direction)
    : XFPlane(point, direction, zelmo::internal::perpendicularTo(direction).data(), 1.0F, 1.0F) {}

XFPlane::XFPlane(const float* equation)
    : length(1.0F), width(1.0F), a(equation[0]), b(equation[1]), c(equation[2]), d(equation[3]) {
  copyTriple(equation, normal);
  const int largest = zelmo::internal::largestComponent(normal);
  center[largest] = -d / normal[largest];
  copyTriple(zelmo::internal::perpendicularTo(normal).data(), majorDir);
}

GeoFeatureType XFPlane::getFeatureType() const { return GeoPlane; }

void XFPlane::getCenterPoint(XFPoint& point) const { point = XFPoint(center); }

void XFPlane::getCornerPoint(XFPoint* const points) const {
  const cv::Vec3d along(majorDir[0], majorDir[1], majorDir[2]);
  const cv::Vec3d across =
      zelmo::internal::unitOrZero(cv::Vec3d(normal[0], normal[1], normal[2]).cross(along));
  const float half_length = static_cast<float>(length * 0.5);
  const float half_width = static_cast<float>(width * 0.5);
  const auto corner = [&](double along_sign, double across_sign) {
    float p[3];
    for (int i = 0; i < 3; ++i) {
      const float on_side = static_cast<float>(center[i] + along_sign * along[i] * half_length);
      p[i] = static_cast<float>(on_side + across_sign * across[i] * half_width);
    }
    return XFPoint(p);
  };
  points[0] = corner(1, 1);
  points[1] = corner(-1, 1);
  points[2] = corner(-1, -1);
  points[3] = corner(1, -1);
}

void XFPlane::inv() {
  zelmo::internal::negateTriple(normal);
  a = -a;
  b = -b;
  c = -c;
  d = -d;
}

XFPlane XFPlane::invert() const {
  XFPlane reversed = *this;
  reversed.inv();
  return reversed;
}

}  // namespace xgeofeature
