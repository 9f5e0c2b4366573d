// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/feature/line.h"

#include <cmath>
#include <utility>

#include "zelmo/feature/internal/record_math.h"

namespace xgeofeature {
namespace {

using zelmo::internal::copyTriple;
using zelmo::internal::FieldReader;
using zelmo::internal::storeMiddle;
using zelmo::internal::storePointAlong;

/// Whether ends of two segments coincide.
constexpr double kSameEnd = 0.01;

bool isSameEnd(const float* a, const float* b) {
  for (int i = 0; i < 3; ++i) {
    const float difference = std::fabs(a[i] - b[i]);
    if (!(static_cast<double>(difference) < kSameEnd)) return false;
  }
  return true;
}

}  // namespace

XFLine3D::XFLine3D(const float* from, const float* to) {
  copyTriple(from, start);
  copyTriple(to, end);
}

XFLine3D::XFLine3D(const std::vector<float>& values) {
  FieldReader(values, 6).triple(start).triple(end);
}

XFLine3D::XFLine3D(const XFLine3D2& line) {
  const double half = line.length * 0.5;
  storePointAlong(line.center, line.dir, -half, start);
  storePointAlong(line.center, line.dir, half, end);
}

GeoFeatureType XFLine3D::getFeatureType() const { return GeoLine; }

void XFLine3D::getStartPoint(XFPoint& point) const { point = XFPoint(start); }

void XFLine3D::getEndPoint(XFPoint& point) const { point = XFPoint(end); }

void XFLine3D::getCenterPoint(XFPoint& point) const {
  float middle[3];
  storeMiddle(start, end, middle);
  point = XFPoint(middle);
}

void XFLine3D::getLine(XFLine3D2& line) const { line = *this; }

void XFLine3D::inv() { std::swap(start, end); }

XFLine3D XFLine3D::invert() const { return {end, start}; }

bool XFLine3D::operator==(const XFLine3D& other) {
  return (isSameEnd(start, other.start) && isSameEnd(end, other.end)) ||
         (isSameEnd(start, other.end) && isSameEnd(end, other.start));
}

XFLine3D2::XFLine3D2(const float* middle, const float* direction, const float& whole_length)
    : length(whole_length) {
  copyTriple(middle, center);
  copyTriple(direction, dir);
}

XFLine3D2::XFLine3D2(const float* start, const float* direction, const float& whole_length,
                     const int& /*from_start*/)
    : length(whole_length) {
  copyTriple(direction, dir);
  storePointAlong(start, dir, length * 0.5, center);
}

XFLine3D2::XFLine3D2(const std::vector<float>& values) {
  FieldReader(values, 7).triple(center).triple(dir).scalar(length);
}

XFLine3D2::XFLine3D2(const XFLine3D& line) {
  storeMiddle(line.start, line.end, center);
  for (int i = 0; i < 3; ++i) dir[i] = line.end[i] - line.start[i];
  const float square = dir[0] * dir[0] + dir[1] * dir[1] + dir[2] * dir[2];
  length = std::sqrt(square);
  if (static_cast<double>(length) > zelmo::internal::kShortestAxis) {
    for (float& component : dir) component /= length;
  }
}

GeoFeatureType XFLine3D2::getFeatureType() const { return GeoLine; }

void XFLine3D2::getCenterPoint(XFPoint& point) const { point = XFPoint(center); }

void XFLine3D2::getStartPoint(XFPoint& point) const { point = XFPoint(XFLine3D(*this).start); }

void XFLine3D2::getEndPoint(XFPoint& point) const { point = XFPoint(XFLine3D(*this).end); }

void XFLine3D2::getLine(XFLine3D& line) const { line = *this; }

void XFLine3D2::inv() { zelmo::internal::negateTriple(dir); }

XFLine3D2 XFLine3D2::invert() const {
  XFLine3D2 reversed = *this;
  reversed.inv();
  return reversed;
}

}  // namespace xgeofeature
