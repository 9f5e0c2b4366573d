// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/feature/round_groove.h"

#include "zelmo/feature/internal/record_math.h"

namespace xgeofeature {

using zelmo::internal::copyTriple;

XFRoundGroove3D::XFRoundGroove3D(const float* point, const float* direction,
                                 const float* major_direction, const float& half_length,
                                 const float& half_width, const float& corner_radius)
    : halfLength(half_length), halfWidth(half_width), cornerRadius(corner_radius) {
  copyTriple(point, center);
  copyTriple(direction, normal);
  copyTriple(major_direction, majorDir);
}

XFRoundGroove3D::XFRoundGroove3D(const std::vector<float>& values) {
  zelmo::internal::FieldReader(values, 12)
      .triple(center)
      .triple(normal)
      .triple(majorDir)
      .scalar(halfLength)
      .scalar(halfWidth)
      .scalar(cornerRadius);
}

GeoFeatureType XFRoundGroove3D::getFeatureType() const { return GeoRoundGroove; }

void XFRoundGroove3D::getCenterPoint(XFPoint& point) const { point = XFPoint(center); }

// CONTRACT: the normal line carries a length across the shape.
void XFRoundGroove3D::getLine(XFLine3D2& line) const {
  line = XFLine3D2(center, normal, 2 * halfLength);
}

void XFRoundGroove3D::getLineMajorDir(XFLine3D2& line) const {
  line = XFLine3D2(center, majorDir, 2 * halfLength);
}

void XFRoundGroove3D::getPlane(XFPlane& plane) const {
  plane = XFPlane(center, normal, majorDir, 2 * halfLength, 2 * halfWidth);
}

void XFRoundGroove3D::inv() { zelmo::internal::negateTriple(normal); }

XFRoundGroove3D XFRoundGroove3D::invert() const {
  XFRoundGroove3D reversed = *this;
  reversed.inv();
  return reversed;
}

bool XFRoundGroove3D::operator==(const XFRoundGroove3D& other) {
  return zelmo::internal::isSamePlace(center, other.center) &&
         zelmo::internal::isSameSize(halfLength, other.halfLength) &&
         zelmo::internal::isSameSize(halfWidth, other.halfWidth) &&
         zelmo::internal::isSameSize(cornerRadius, other.cornerRadius) &&
         zelmo::internal::isSameAxis(normal, other.normal) &&
         zelmo::internal::isSameAxis(majorDir, other.majorDir);
}

}  // namespace xgeofeature
