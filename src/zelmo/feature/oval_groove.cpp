// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/feature/oval_groove.h"

#include "zelmo/feature/internal/record_math.h"

namespace xgeofeature {

using zelmo::internal::copyTriple;

XFOvalGroove3D::XFOvalGroove3D(const float* point, const float* direction,
                               const float* major_direction, const float& half_straight,
                               const float& r)
    : halfStraight(half_straight), radius(r) {
  copyTriple(point, center);
  copyTriple(direction, normal);
  copyTriple(major_direction, majorDir);
}

XFOvalGroove3D::XFOvalGroove3D(const std::vector<float>& values) {
  zelmo::internal::FieldReader(values, 11)
      .triple(center)
      .triple(normal)
      .triple(majorDir)
      .scalar(halfStraight)
      .scalar(radius);
}

GeoFeatureType XFOvalGroove3D::getFeatureType() const { return GeoOvalGroove; }

void XFOvalGroove3D::getCenterPoint(XFPoint& point) const { point = XFPoint(center); }

// CONTRACT: the normal line carries a length across the shape.
void XFOvalGroove3D::getLine(XFLine3D2& line) const {
  line = XFLine3D2(center, normal, 2 * (halfStraight + radius));
}

void XFOvalGroove3D::getLineMajorDir(XFLine3D2& line) const {
  line = XFLine3D2(center, majorDir, 2 * (halfStraight + radius));
}

void XFOvalGroove3D::getPlane(XFPlane& plane) const {
  plane = XFPlane(center, normal, majorDir, 2 * halfStraight + 2 * radius, 2 * radius);
}

void XFOvalGroove3D::inv() { zelmo::internal::negateTriple(normal); }

XFOvalGroove3D XFOvalGroove3D::invert() const {
  XFOvalGroove3D reversed = *this;
  reversed.inv();
  return reversed;
}

bool XFOvalGroove3D::operator==(const XFOvalGroove3D& other) {
  return zelmo::internal::isSamePlace(center, other.center) &&
         zelmo::internal::isSameSize(halfStraight, other.halfStraight) &&
         zelmo::internal::isSameSize(radius, other.radius) &&
         zelmo::internal::isSameAxis(normal, other.normal) &&
         zelmo::internal::isSameAxis(majorDir, other.majorDir);
}

}  // namespace xgeofeature
