// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/feature/cylinder.h"

#include <utility>

#include "zelmo/feature/internal/record_math.h"

namespace xgeofeature {

using zelmo::internal::copyTriple;
using zelmo::internal::storePointAlong;

XFCylinder::XFCylinder(const float* from, const float* direction, const float& r, const float& h)
    : radius(r), height(h) {
  copyTriple(from, base);
  copyTriple(direction, axis);
  storePointAlong(base, axis, height * 0.5, center);
  storePointAlong(base, axis, height, top);
}

XFCylinder::XFCylinder(const float* from, const float* to, const float& r) : radius(r) {
  copyTriple(from, base);
  copyTriple(to, top);
  height = zelmo::internal::storeAxis(base, top, axis);
  if (static_cast<double>(height) > zelmo::internal::kShortestAxis) {
    storePointAlong(base, axis, height * 0.5, center);
  }
}

XFCylinder::XFCylinder(const std::vector<float>& values) {
  zelmo::internal::FieldReader(values, 14)
      .triple(center)
      .triple(axis)
      .scalar(radius)
      .scalar(height)
      .triple(base)
      .triple(top);
}

GeoFeatureType XFCylinder::getFeatureType() const { return GeoCylinder; }

void XFCylinder::getCenterPoint(XFPoint& point) const { point = XFPoint(center); }

void XFCylinder::getBasePoint(XFPoint& point) const { point = XFPoint(base); }

void XFCylinder::getTopPoint(XFPoint& point) const { point = XFPoint(top); }

void XFCylinder::getLine(XFLine3D2& line) const { line = XFLine3D2(center, axis, height); }

void XFCylinder::inv() {
  zelmo::internal::negateTriple(axis);
  std::swap(base, top);
}

XFCylinder XFCylinder::invert() const {
  XFCylinder reversed = *this;
  reversed.inv();
  return reversed;
}

}  // namespace xgeofeature
