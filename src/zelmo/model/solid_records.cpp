// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/model/solid_records.h"

#include <cmath>

#include "zelmo/feature/internal/record_math.h"

namespace xmodelfeature {

using zelmo::internal::copyTriple;
using zelmo::internal::FieldReader;

namespace {

// CONTRACT: the tolerances of sameness differ from record to record.
constexpr double kSamePlaneCoefficient = 1e-6;
constexpr double kSameSphere = 1e-6;
constexpr double kSameCylinder = 0.001;
constexpr double kSameCone = 0.0001;

/// Differences in float, compared in double; a NaN differs from everything.
bool isWithin(float a, float b, double tolerance) {
  const float difference = a - b;
  return std::fabs(static_cast<double>(difference)) <= tolerance;
}

bool isPlaceWithin(const float* a, const float* b, double tolerance) {
  return isWithin(a[0], b[0], tolerance) && isWithin(a[1], b[1], tolerance) &&
         isWithin(a[2], b[2], tolerance);
}

double dotOf(const float* a, const float* b) {
  return static_cast<double>(a[0]) * b[0] + static_cast<double>(a[1]) * b[1] +
         static_cast<double>(a[2]) * b[2];
}

}  // namespace

XFPlane::XFPlane(const std::vector<float>& values) {
  FieldReader(values, 27)
      .scalar(a)
      .scalar(b)
      .scalar(c)
      .scalar(d)
      .triple(center)
      .triple(normal)
      .triple(majorDir)
      .scalar(length)
      .scalar(width)
      .triple(corners)
      .triple(corners + 3)
      .triple(corners + 6)
      .triple(corners + 9);
}

void XFPlane::getPlane(xgeofeature::XFPlane& plane) const {
  plane = xgeofeature::XFPlane(center, normal, majorDir, length, width);
}

void XFPlane::getCornerPoint(XFPoint* points) const {
  xgeofeature::XFPlane plane;
  getPlane(plane);
  xgeofeature::XFPoint ring[4];
  plane.getCornerPoint(ring);
  for (int i = 0; i < 4; ++i) points[i] = XFPoint(ring[i].x, ring[i].y, ring[i].z);
}

bool XFPlane::operator==(const XFPlane& other) {
  const float cosine = a * other.a + b * other.b + c * other.c;
  const float sign = cosine >= 0.0F ? 1.0F : -1.0F;
  return isWithin(d, sign * other.d, kSamePlaneCoefficient) &&
         isWithin(a, sign * other.a, kSamePlaneCoefficient) &&
         isWithin(b, sign * other.b, kSamePlaneCoefficient) &&
         isWithin(c, sign * other.c, kSamePlaneCoefficient);
}

XFSphere::XFSphere(const std::vector<float>& values) {
  FieldReader(values, 4).triple(center).scalar(radius);
}

void XFSphere::getSphere(xgeofeature::XFSphere& sphere) const {
  sphere = xgeofeature::XFSphere(center, radius);
}

bool XFSphere::operator==(const XFSphere& other) {
  return isPlaceWithin(center, other.center, kSameSphere) &&
         isWithin(radius, other.radius, kSameSphere);
}

XFCylinder::XFCylinder(const std::vector<float>& values) {
  FieldReader(values, 14)
      .triple(center)
      .triple(axis)
      .scalar(radius)
      .scalar(height)
      .triple(base)
      .triple(top);
}

void XFCylinder::getCylinder(xgeofeature::XFCylinder& cylinder) const {
  copyTriple(center, cylinder.center);
  copyTriple(axis, cylinder.axis);
  cylinder.radius = radius;
  cylinder.height = height;
  copyTriple(base, cylinder.base);
  copyTriple(top, cylinder.top);
}

bool XFCylinder::operator==(const XFCylinder& other) {
  if (!isWithin(radius, other.radius, kSameCylinder)) return false;
  const double cosine = dotOf(axis, other.axis);
  const bool opposite = cosine < 0.0;
  if (!(std::fabs(opposite ? cosine + 1.0 : cosine - 1.0) <= kSameCylinder)) return false;
  return isPlaceWithin(base, opposite ? other.top : other.base, kSameCylinder) &&
         isPlaceWithin(top, opposite ? other.base : other.top, kSameCylinder);
}

XFCone::XFCone(const std::vector<float>& values) {
  FieldReader(values, 16)
      .triple(apex)
      .triple(axis)
      .scalar(halfAngle)
      .triple(base)
      .triple(top)
      .scalar(height)
      .scalar(baseRadius)
      .scalar(topRadius);
}

void XFCone::getCone(xgeofeature::XFCone& cone) const {
  copyTriple(apex, cone.apex);
  copyTriple(axis, cone.axis);
  cone.halfAngle = halfAngle;
  copyTriple(base, cone.base);
  copyTriple(top, cone.top);
  cone.height = height;
  cone.baseRadius = baseRadius;
  cone.topRadius = topRadius;
}

// CONTRACT: a cone never equals one of opposite direction, while cylinders of opposite axes may.
bool XFCone::operator==(const XFCone& other) {
  return isPlaceWithin(apex, other.apex, kSameCone) &&
         isWithin(halfAngle, other.halfAngle, kSameCone) &&
         isWithin(topRadius, other.topRadius, kSameCone) &&
         isWithin(baseRadius, other.baseRadius, kSameCone) &&
         std::fabs(dotOf(axis, other.axis) - 1.0) <= kSameCone;
}

}  // namespace xmodelfeature
