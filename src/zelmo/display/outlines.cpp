// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/display/outlines.h"

#include <algorithm>

#include "zelmo/display/internal/outline_frame.h"

namespace xgeometry {

using namespace zelmo::internal;  // NOLINT(google-build-using-namespace): the kernels of this shell

namespace {

void copyTriples(const float* point, const float* direction, const float* major_direction,
                 float* center, float* normal, float* major) {
  std::copy_n(point, 3, center);
  std::copy_n(direction, 3, normal);
  std::copy_n(major_direction, 3, major);
}

/// How many of \p count points each quarter turn gets.
int quarter(int count) { return std::max(0, count / 4); }

}  // namespace

XCicle3D::XCicle3D(const float* const point, const float* const direction,
                   const float* const major_direction, const float& r)
    : radius(r) {
  copyTriples(point, direction, major_direction, center, normal, majorDir);
}

int XCicle3D::getDisplayData(const int& count, float* const out) {
  return getDisplayData(center, normal, majorDir, radius, count, out);
}

int XCicle3D::getDisplayData(const float* const point, const float* const direction,
                             const float* const major_direction, const float& r, const int& count,
                             float* const out) {
  auto points = outlineWriter(point, direction, major_direction, out);
  if (points) points->addArc(0, 0, r, 0, count, count);
  return 0;
}

int XCicle3D::getDisplayData2(const float* const point, const float* const direction,
                              const float& r, const int& count, float* const out) {
  const cv::Vec3d n(direction[0], direction[1], direction[2]);
  auto points = outlineWriter({point[0], point[1], point[2]}, n, perpendicularTo(n), out);
  if (points) points->addArc(0, 0, r, 0, count, count);
  return 0;
}

XOvalGroove3D::XOvalGroove3D(const float* const point, const float* const direction,
                             const float* const major_direction, const float& half_straight,
                             const float& r)
    : halfStraight(half_straight), radius(r) {
  copyTriples(point, direction, major_direction, center, normal, majorDir);
}

int XOvalGroove3D::getDisplayData(const int& count, float* const out) {
  return getDisplayData(center, normal, majorDir, halfStraight, radius, count, out);
}

int XOvalGroove3D::getDisplayData(const float* const point, const float* const direction,
                                  const float* const major_direction, const float& half_straight,
                                  const float& r, const int& count, float* const out) {
  auto points = outlineWriter(point, direction, major_direction, out);
  if (!points) return 0;
  const double half = half_straight;
  const double across = r;
  const int q = quarter(count);
  points->addArc(half, 0, across, -q, q, count);
  points->add(half, across);
  points->add(-half, across);
  points->addArc(-half, 0, across, q, 3 * q, count);
  points->add(-half, -across);
  points->add(half, -across);
  return 0;
}

XRectangle3D::XRectangle3D(const float* const point, const float* const direction,
                           const float* const major_direction, const float& half_length,
                           const float& half_width)
    : halfLength(half_length), halfWidth(half_width) {
  copyTriples(point, direction, major_direction, center, normal, majorDir);
}

int XRectangle3D::getDisplayData(float* const out) {
  return getDisplayData(center, normal, majorDir, halfLength, halfWidth, out);
}

int XRectangle3D::getDisplayData(const float* const point, const float* const direction,
                                 const float* const major_direction, const float& half_length,
                                 const float& half_width, float* const out) {
  auto points = outlineWriter(point, direction, major_direction, out);
  if (!points) return 0;
  const double a = half_length;
  const double b = half_width;
  points->add(a, b);
  points->add(-a, b);
  points->add(-a, -b);
  points->add(a, -b);
  return 0;
}

XRoundGroove3D::XRoundGroove3D(const float* const point, const float* const direction,
                               const float* const major_direction, const float& half_length,
                               const float& half_width, const float& corner_radius)
    : halfLength(half_length), halfWidth(half_width), cornerRadius(corner_radius) {
  copyTriples(point, direction, major_direction, center, normal, majorDir);
}

int XRoundGroove3D::getDisplayData(const int& count, float* const out) {
  return getDisplayData(center, normal, majorDir, halfLength, halfWidth, cornerRadius, count, out);
}

int XRoundGroove3D::getDisplayData(const float* const point, const float* const direction,
                                   const float* const major_direction, const float& half_length,
                                   const float& half_width, const float& corner_radius,
                                   const int& count, float* const out) {
  auto points = outlineWriter(point, direction, major_direction, out);
  if (!points) return 0;
  const double a = half_length;
  const double b = half_width;
  const double r = corner_radius;
  const double inner_a = a - r;
  const double inner_b = b - r;
  const int q = quarter(count);
  points->addArc(inner_a, inner_b, r, 0, q, count);
  points->add(inner_a, b);
  points->add(-inner_a, b);
  points->addArc(-inner_a, inner_b, r, q, 2 * q, count);
  points->add(-a, inner_b);
  points->add(-a, -inner_b);
  points->addArc(-inner_a, -inner_b, r, 2 * q, 3 * q, count);
  points->add(-inner_a, -b);
  points->add(inner_a, -b);
  points->addArc(inner_a, -inner_b, r, 3 * q, 4 * q, count);
  points->add(a, -inner_b);
  points->add(a, inner_b);
  return 0;
}

}  // namespace xgeometry
