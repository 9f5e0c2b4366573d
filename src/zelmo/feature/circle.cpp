// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/feature/circle.h"

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/feature/internal/record_math.h"

namespace xgeofeature {

using zelmo::internal::copyTriple;

XFCircle3D::XFCircle3D(const float* point, const float* direction, const float* major_direction,
                       const float& r)
    : radius(r) {
  copyTriple(point, center);
  copyTriple(direction, normal);
  copyTriple(major_direction, majorDir);
}

XFCircle3D::XFCircle3D(const float* point, const float* direction, const float& r)
    : XFCircle3D(point, direction, zelmo::internal::perpendicularTo(direction).data(), r) {}

XFCircle3D::XFCircle3D(const std::vector<float>& values) {
  zelmo::internal::FieldReader(values, 10)
      .triple(center)
      .triple(normal)
      .triple(majorDir)
      .scalar(radius);
}

GeoFeatureType XFCircle3D::getFeatureType() const { return GeoCircle; }

void XFCircle3D::getCenterPoint(XFPoint& point) const { point = XFPoint(center); }

// CONTRACT: the normal line carries a length across the shape.
void XFCircle3D::getLine(XFLine3D2& line) const { line = XFLine3D2(center, normal, 2 * radius); }

void XFCircle3D::getPlane(XFPlane& plane) const {
  // CONTRACT: the plane's majorDir is made from the normal, whatever the circle's own is.
  plane = XFPlane(center, normal, zelmo::internal::perpendicularTo(normal).data(), 2 * radius,
                  2 * radius);
}

void XFCircle3D::inv() { zelmo::internal::negateTriple(normal); }

XFCircle3D XFCircle3D::invert() const {
  XFCircle3D reversed = *this;
  reversed.inv();
  return reversed;
}

bool XFCircle3D::operator==(const XFCircle3D& other) {
  return zelmo::internal::isSameSize(radius, other.radius) &&
         zelmo::internal::isSamePlace(center, other.center) &&
         zelmo::internal::isSameAxis(normal, other.normal);
}

}  // namespace xgeofeature
