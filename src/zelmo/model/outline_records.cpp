// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/model/outline_records.h"

#include "zelmo/feature/internal/record_math.h"

namespace xmodelfeature {

using zelmo::internal::copyTriple;
using zelmo::internal::FieldReader;
using zelmo::internal::isSameAxis;
using zelmo::internal::isSamePlace;
using zelmo::internal::isSameSize;

namespace {

template <typename Outline>
bool haveSameFrame(const Outline& a, const Outline& b) {
  return isSamePlace(a.center, b.center) && isSameAxis(a.normal, b.normal) &&
         isSameAxis(a.majorDir, b.majorDir);
}

}  // namespace

XFLine3D::XFLine3D(const float* start_point, const float* end_point) {
  copyTriple(start_point, start);
  copyTriple(end_point, end);
}

XFLine3D::XFLine3D(const std::vector<float>& values) {
  FieldReader(values, 6).triple(start).triple(end);
}

void XFLine3D::getLine(xgeofeature::XFLine3D2& line) const {
  xgeofeature::XFLine3D(start, end).getLine(line);
}

bool XFLine3D::operator==(const XFLine3D& other) {
  return xgeofeature::XFLine3D(start, end) == xgeofeature::XFLine3D(other.start, other.end);
}

XFCircle3D::XFCircle3D(const std::vector<float>& values) {
  FieldReader(values, 10).triple(center).triple(normal).triple(majorDir).scalar(radius);
}

void XFCircle3D::getCircle(xgeofeature::XFCircle3D& circle) const {
  circle = xgeofeature::XFCircle3D(center, normal, majorDir, radius);
}

bool XFCircle3D::operator==(const XFCircle3D& other) {
  return isSameSize(radius, other.radius) && isSamePlace(center, other.center) &&
         isSameAxis(normal, other.normal);
}

XFOvalGroove3D::XFOvalGroove3D(const std::vector<float>& values) {
  FieldReader(values, 11)
      .triple(center)
      .triple(normal)
      .triple(majorDir)
      .scalar(halfStraight)
      .scalar(radius);
}

void XFOvalGroove3D::getOvalGroove(xgeofeature::XFOvalGroove3D& groove) const {
  groove = xgeofeature::XFOvalGroove3D(center, normal, majorDir, halfStraight, radius);
}

bool XFOvalGroove3D::operator==(const XFOvalGroove3D& other) {
  return isSameSize(halfStraight, other.halfStraight) && isSameSize(radius, other.radius) &&
         haveSameFrame(*this, other);
}

XFRectangle3D::XFRectangle3D(const std::vector<float>& values) {
  FieldReader(values, 11)
      .triple(center)
      .triple(normal)
      .triple(majorDir)
      .scalar(halfLength)
      .scalar(halfWidth);
}

void XFRectangle3D::getRectangle(xgeofeature::XFRectangle3D& rectangle) const {
  rectangle = xgeofeature::XFRectangle3D(center, normal, majorDir, halfLength, halfWidth);
}

bool XFRectangle3D::operator==(const XFRectangle3D& other) {
  return isSameSize(halfLength, other.halfLength) && isSameSize(halfWidth, other.halfWidth) &&
         haveSameFrame(*this, other);
}

XFRoundGroove3D::XFRoundGroove3D(const std::vector<float>& values) {
  FieldReader(values, 12)
      .triple(center)
      .triple(normal)
      .triple(majorDir)
      .scalar(halfLength)
      .scalar(halfWidth)
      .scalar(cornerRadius);
}

void XFRoundGroove3D::getRoundGroove(xgeofeature::XFRoundGroove3D& groove) const {
  groove =
      xgeofeature::XFRoundGroove3D(center, normal, majorDir, halfLength, halfWidth, cornerRadius);
}

bool XFRoundGroove3D::operator==(const XFRoundGroove3D& other) {
  return isSameSize(halfLength, other.halfLength) && isSameSize(halfWidth, other.halfWidth) &&
         isSameSize(cornerRadius, other.cornerRadius) && haveSameFrame(*this, other);
}

}  // namespace xmodelfeature
