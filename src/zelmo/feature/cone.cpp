// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/feature/cone.h"

#include <cmath>

#include "zelmo/feature/internal/record_math.h"

namespace xgeofeature {

using zelmo::internal::copyTriple;
using zelmo::internal::storePointAlong;

/// Half angle and apex; equal radii divide by zero.
void XFCone::completeFromAxis() {
  const float taper = baseRadius - topRadius;
  halfAngle = std::atan(taper / height);
  const float to_apex = height * topRadius / taper + height;
  storePointAlong(base, axis, to_apex, apex);
}

XFCone::XFCone(const float* from, const float* direction, const float& base_radius,
               const float& top_radius, const float& h)
    : height(h), baseRadius(base_radius), topRadius(top_radius) {
  copyTriple(from, base);
  copyTriple(direction, axis);
  completeFromAxis();
  storePointAlong(base, axis, height, top);
}

XFCone::XFCone(const float* from, const float* to, const float& base_radius,
               const float& top_radius)
    : baseRadius(base_radius), topRadius(top_radius) {
  copyTriple(from, base);
  copyTriple(to, top);
  height = zelmo::internal::storeAxis(base, top, axis);
  if (static_cast<double>(height) > zelmo::internal::kShortestAxis) completeFromAxis();
}

XFCone::XFCone(const std::vector<float>& values) {
  zelmo::internal::FieldReader(values, 16)
      .triple(apex)
      .triple(axis)
      .scalar(halfAngle)
      .triple(base)
      .triple(top)
      .scalar(height)
      .scalar(baseRadius)
      .scalar(topRadius);
}

GeoFeatureType XFCone::getFeatureType() const { return GeoCone; }

void XFCone::getApexPoint(XFPoint& point) const { point = XFPoint(apex); }

void XFCone::getBasePoint(XFPoint& point) const { point = XFPoint(base); }

void XFCone::getTopPoint(XFPoint& point) const { point = XFPoint(top); }

void XFCone::getCenterPoint(XFPoint& point) const {
  float middle[3];
  zelmo::internal::storeMiddle(base, top, middle);
  point = XFPoint(middle);
}

void XFCone::getLine(XFLine3D2& line) const {
  float middle[3];
  zelmo::internal::storeMiddle(base, top, middle);
  line = XFLine3D2(middle, axis, height);
}

}  // namespace xgeofeature
