// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/feature/rectangle.h"

#include "zelmo/feature/internal/record_math.h"

namespace xgeofeature {

using zelmo::internal::copyTriple;

XFRectangle3D::XFRectangle3D(const float* point, const float* direction,
                             const float* major_direction, const float& half_length,
                             const float& half_width)
    : halfLength(half_length), halfWidth(half_width) {
  copyTriple(point, center);
  copyTriple(direction, normal);
  copyTriple(major_direction, majorDir);
}

XFRectangle3D::XFRectangle3D(const std::vector<float>& values) {
  zelmo::internal::FieldReader(values, 11)
      .triple(center)
      .triple(normal)
      .triple(majorDir)
      .scalar(halfLength)
      .scalar(halfWidth);
}

GeoFeatureType XFRectangle3D::getFeatureType() const { return GeoRectangle; }

void XFRectangle3D::getCenterPoint(XFPoint& point) const { point = XFPoint(center); }

// CONTRACT: the normal line carries a length across the shape.
void XFRectangle3D::getLine(XFLine3D2& line) const {
  line = XFLine3D2(center, normal, 2 * halfLength);
}

void XFRectangle3D::getLineMajorDir(XFLine3D2& line) const {
  line = XFLine3D2(center, majorDir, 2 * halfLength);
}

void XFRectangle3D::getPlane(XFPlane& plane) const {
  plane = XFPlane(center, normal, majorDir, 2 * halfLength, 2 * halfWidth);
}

void XFRectangle3D::inv() { zelmo::internal::negateTriple(normal); }

XFRectangle3D XFRectangle3D::invert() const {
  XFRectangle3D reversed = *this;
  reversed.inv();
  return reversed;
}

bool XFRectangle3D::operator==(const XFRectangle3D& other) {
  return zelmo::internal::isSamePlace(center, other.center) &&
         zelmo::internal::isSameSize(halfLength, other.halfLength) &&
         zelmo::internal::isSameSize(halfWidth, other.halfWidth) &&
         zelmo::internal::isSameAxis(normal, other.normal) &&
         zelmo::internal::isSameAxis(majorDir, other.majorDir);
}

}  // namespace xgeofeature
