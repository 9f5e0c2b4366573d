// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/extract/internal/nominal_shapes.h"

#include <algorithm>
#include <cmath>

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/feature/internal/record_math.h"

namespace zelmo::internal {
namespace {

using xgeofeature::XFCone;
using xgeofeature::XFCylinder;
using xgeofeature::XFPlane;
using xgeofeature::XFSphere;

constexpr double kMargin = 1.1;  // of a neighbourhood's radius, and of a flat outline's sides
constexpr double kFlatOutlineBand = 0.2;  // off the plane of a flat outline, whatever maxDis is
constexpr double kSphereBand = 0.2;       // of a sphere's radius

double hypotenuse(double a, double b) { return std::sqrt(a * a + b * b); }

/// The line through \p center across a major direction.
LineDistance lineAcross(const float* center, const float* normal, const float* major_dir) {
  const cv::Vec3d across =
      unitOrZero(cv::Vec3d(normal[0], normal[1], normal[2])
                     .cross(cv::Vec3d(major_dir[0], major_dir[1], major_dir[2])));
  float direction[3];
  for (int i = 0; i < 3; ++i) direction[i] = static_cast<float>(across[i]);
  return LineDistance::through(center, direction);
}

}  // namespace

FlatOutline FlatOutline::of(const xgeofeature::XFOvalGroove3D& g) {
  return {g.center, g.normal, g.majorDir, static_cast<double>(g.halfStraight) + g.radius, g.radius};
}

FlatOutline FlatOutline::of(const xgeofeature::XFRectangle3D& r) {
  return {r.center, r.normal, r.majorDir, r.halfLength, r.halfWidth};
}

FlatOutline FlatOutline::of(const xgeofeature::XFRoundGroove3D& g) {
  return {g.center, g.normal, g.majorDir, g.halfLength, g.halfWidth};
}

Ball ballAround(const float* center, double radius) {
  return {{center[0], center[1], center[2]}, radius};
}

Ball ballAround(const XFPlane& plane) {
  return ballAround(plane.center, hypotenuse(plane.length / 2.0, plane.width / 2.0));
}

Ball ballAround(const XFCylinder& cylinder) {
  return ballAround(cylinder.center, kMargin * hypotenuse(cylinder.height / 2.0, cylinder.radius));
}

Ball ballAround(const XFCone& cone) {
  xgeofeature::XFPoint middle;
  cone.getCenterPoint(middle);
  const float center[3] = {middle.x, middle.y, middle.z};
  return ballAround(center, kMargin * hypotenuse(cone.height / 2.0, cone.baseRadius));
}

Ball ballAround(const XFSphere& sphere) {
  return ballAround(sphere.center, kMargin * sphere.radius);
}

Ball ballAround(const FlatOutline& outline) {
  return ballAround(outline.center, kMargin * hypotenuse(outline.half_length, outline.half_width));
}

RectangleShape<PlaneInFloat> shapeOf(const XFPlane& plane, float max_distance) {
  return {{plane.a, plane.b, plane.c, plane.d, max_distance},
          LineDistance::through(plane.center, plane.majorDir),
          lineAcross(plane.center, plane.normal, plane.majorDir),
          squaresUpTo(plane.width / 2.0),
          squaresUpTo(plane.length / 2.0),
          {plane.a, plane.b, plane.c}};
}

CylinderShape shapeOf(const XFCylinder& cylinder, double max_distance) {
  const float* axis = cylinder.axis;
  return {LineDistance::through(cylinder.center, axis),
          squaresNear(cylinder.radius, max_distance),
          {axis[0], axis[1], axis[2]}};
}

ConeShape shapeOf(const XFCone& cone, float max_distance) {
  const double to_apex = static_cast<double>(cone.height) * cone.topRadius /
                         (static_cast<double>(cone.baseRadius) - cone.topRadius);
  float apex[3], direction[3];
  storePointAlong(cone.top, cone.axis, to_apex, apex);
  // CONTRACT: the axis divided by the height scales the distance from it, and the expected radius
  // grows with the slant distance from the apex.
  for (int i = 0; i < 3; ++i) direction[i] = cone.axis[i] / cone.height;
  return {LineDistance::through(apex, direction), PointDistance::from(apex),
          cone.topRadius / to_apex, max_distance};
}

SphereShape shapeOf(const XFSphere& sphere, float max_distance) {
  const double band = std::min<double>(max_distance, kSphereBand * sphere.radius);
  return {PointDistance::from(sphere.center), squaresNear(sphere.radius, band)};
}

RectangleShape<PlaneInDouble> shapeOf(const FlatOutline& outline) {
  // CONTRACT: the fixed band counts, not maxDis, and corners are not rounded.
  const auto& [center, normal, major_dir, half_length, half_width] = outline;
  return {PlaneInDouble::through(center, normal, kFlatOutlineBand),
          LineDistance::through(center, major_dir),
          lineAcross(center, normal, major_dir),
          squaresUpTo(kMargin * half_width),
          squaresUpTo(kMargin * half_length),
          {normal[0], normal[1], normal[2]}};
}

RingShape ringOf(const xgeofeature::XFCircle3D& circle, float inner, float outer,
                 float max_distance) {
  XFPlane plane;
  circle.getPlane(plane);
  return {{plane.a, plane.b, plane.c, plane.d, max_distance},
          PointDistance::from(circle.center),
          {static_cast<double>(inner) * inner, static_cast<double>(outer) * outer}};
}

BoreWall BoreWall::below(const xgeofeature::XFCircle3D& circle, float gap, float depth,
                         float max_distance) {
  float top[3], base[3];
  storePointAlong(circle.center, circle.normal, -static_cast<double>(gap), top);
  storePointAlong(top, circle.normal, -static_cast<double>(depth), base);
  const XFCylinder cylinder(base, top, circle.radius);
  // Half of maxDis is the band of a wall.
  return {cylinder, {shapeOf(cylinder, max_distance / 2.0), depth / 2.0}};
}

RodShape rodAlong(const xgeofeature::XFPointN& nominal, float radius, float thickness,
                  double cosine) {
  const float* n = nominal.normal;
  return {PlaneInDouble::through(nominal.point, n, thickness),
          LineDistance::through(nominal.point, n),
          squaresUpTo(radius),
          {n[0], n[1], n[2]},
          cosine};
}

}  // namespace zelmo::internal
