// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/measure/feature_constructor.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include "support/long_double_geometry.h"

using namespace xgeofeature;  // NOLINT: the test reads as a host's code does
using zelmo::test::gap;
using zelmo::test::RandomGeometry;
using zelmo::test::Real;
using zelmo::test::Vec;

namespace {

using F = XGeoFConstructor;

struct Floats {
  float v[3];
  explicit Floats(const Vec& from) { from.copyTo(v); }
  operator const float*() const { return v; }  // NOLINT: stands in for an array
};

XFPoint recordOf(const Vec& v) { return XFPoint(Floats(v)); }
Vec at(const XFPoint& p) { return {p.x, p.y, p.z}; }

XFPlane randomPlane(RandomGeometry& random) {
  const Vec n = random.direction();
  return {Floats(random.point(50)), Floats(n), Floats(random.directionSquareTo(n)),
          static_cast<float>(random.number(1, 60)), static_cast<float>(random.number(1, 60))};
}
XFLine3D2 randomLine(RandomGeometry& random) {
  return {Floats(random.point(50)), Floats(random.direction()),
          static_cast<float>(random.number(1, 60))};
}

Real fromPlane(const Vec& p, const XFPlane& plane) {
  return (p - Vec(plane.center)).dot(Vec(plane.normal));
}
Real fromAxis(const Vec& p, const float* center, const float* axis) {
  return (p - Vec(center)).cross(Vec(axis)).norm();
}

TEST(ProjectionPoint, LiesOnTheFeatureSquareToIt) {
  RandomGeometry random(61);
  for (int i = 0; i < 2000; ++i) {
    const Vec p = Vec(Floats(random.point(60)).v);
    const XFLine3D2 line = randomLine(random);
    const XFPlane plane = randomPlane(random);
    const Vec o(line.center), d(line.dir);
    const float radius = static_cast<float>(random.number(1, 30));
    const auto foot = [&p](const auto& on) {
      XFPoint found;
      EXPECT_EQ(F::getProjectionPoint(recordOf(p), on, found), 0);
      return at(found);
    };
    const Vec on_line = foot(line), on_plane = foot(plane),
              on_sphere = foot(XFSphere(line.center, radius));
    EXPECT_LE(std::fabs((p - on_line).dot(d)) + fromAxis(on_line, line.center, line.dir), 5e-5L);
    EXPECT_LE(std::fabs(fromPlane(on_plane, plane)), 5e-5L);
    EXPECT_LE((p - on_plane).cross(Vec(plane.normal)).norm(), 3e-5L);
    EXPECT_LE((on_sphere - o - (p - o).unit() * radius).norm(), 8e-5L);

    const Real axis_distance = fromAxis(p, line.center, line.dir);
    if (axis_distance < 1) continue;
    const Vec on_cylinder = foot(XFCylinder(line.center, line.dir, radius, 10));
    EXPECT_LE(gap(fromAxis(on_cylinder, line.center, line.dir), radius), 5e-5L);
    EXPECT_LE(gap((p - on_cylinder).norm(), gap(axis_distance, radius)), 1e-4L);

    // A cone: the foot lies on its surface, and the way there is square to the generator.
    const XFCone cone(line.center, line.dir, radius, radius * 0.5F, 20);
    const Vec on_cone = foot(cone), generator = on_cone - Vec(cone.apex);
    const Real under = std::fabs(generator.dot(Vec(cone.axis)));
    // The generator is laid through a place beside the point's foot on the axis: near the apex its
    // direction is uncertain.
    const Real uncertain = 2e-5L / std::fabs((p - Vec(cone.apex)).dot(Vec(cone.axis)));
    EXPECT_LE(gap(fromAxis(on_cone, cone.apex, cone.axis), under * std::tan(Real(cone.halfAngle))),
              1e-4L + uncertain * generator.norm());
    EXPECT_LE(std::fabs((p - on_cone).dot(generator)), 2e-4L * (1 + generator.norm()));
  }
  // The equation is summed in float, from the left: 1 vanishes beside 2^24.
  XFPlane plane(Floats({0, 0, 0}), Floats({1, 0, 0}));
  plane.b = plane.c = 1;
  XFPoint foot;
  EXPECT_EQ(F::getProjectionPoint(XFPoint(16777216, 1, 1), plane, foot), 0);
  EXPECT_EQ(foot.x, 0);
}

TEST(Symmetry, HalvesTheWayAndReturns) {
  RandomGeometry random(62);
  for (int i = 0; i < 1000; ++i) {
    const XFPoint p = recordOf(random.point(60)), q = recordOf(random.point(60));
    const XFLine3D2 line = randomLine(random);
    const XFPlane plane = randomPlane(random), other = randomPlane(random);
    const Vec n(plane.normal), d(line.dir), m(other.normal);
    const auto mirrored = [&n](const Vec& v) { return v - n * (2 * v.dot(n)); };
    const auto middle = [&p](const auto& about) {
      XFPoint image;
      EXPECT_EQ(F::getPointSymmetry(p, about, image), 0);
      return (at(p) + at(image)) * 0.5L;
    };
    XFPoint foot;
    F::getProjectionPoint(p, line, foot);
    EXPECT_LE((middle(q) - at(q)).norm(), 5e-5L);
    EXPECT_LE((middle(line) - at(foot)).norm(), 5e-5L);
    EXPECT_LE(std::fabs(fromPlane(middle(plane), plane)), 5e-5L);
    EXPECT_LE((at(p) - middle(plane)).cross(n).norm(), 5e-5L);

    XFLine3D2 image;
    EXPECT_EQ(F::getLineSymmetry(line, plane, image), 0);
    EXPECT_LE(gap(image.length, line.length), 2e-4L);
    EXPECT_LE((Vec(image.dir) - mirrored(d)).norm(), 2e-4L / line.length);

    XFPlane image_plane;
    EXPECT_EQ(F::getPlaneSymmetry(other, plane, image_plane), 0);
    const Vec center(image_plane.center), normal(image_plane.normal);
    EXPECT_LE(gap(fromPlane(center, plane), -fromPlane(Vec(other.center), plane)), 2e-4L);
    EXPECT_LE((normal - mirrored(m)).norm(), 1e-4L);
    EXPECT_LE(std::fabs(center.dot(normal) + image_plane.d), 3e-5L);
    EXPECT_EQ(image_plane.majorDir[0], other.majorDir[0]);
    EXPECT_EQ(image_plane.width, other.width);
    EXPECT_EQ(image_plane.length, other.length);
  }
  XFPoint image;
  F::getPointSymmetry(XFPoint(1, 2, 3 + 4e-7F), XFPoint(1, 2, 3), image);
  EXPECT_EQ(image.z, 3);
}

TEST(OffsetsAndAverages, FollowTheirRules) {
  const XFLine3D2 line(Floats({9, 9, 9}), Floats({0, 0.6F, 0.8F}), 3);
  XFPoint moved;
  for (const float offset : {10.0F, 0.0F}) {
    EXPECT_EQ(F::getPointOffset(XFPoint(1, 2, 3), offset, line, moved), 0);
    EXPECT_FLOAT_EQ(moved.y, 2 + 0.6F * offset);
    EXPECT_FLOAT_EQ(moved.z, 3 + 0.8F * offset);
  }
  EXPECT_EQ(F::getPointAverage({}, moved), -1);
  EXPECT_EQ(moved.z, 3);
  EXPECT_EQ(F::getPointAverage({XFPoint(5, 6, 7)}, moved), 0);
  EXPECT_EQ(moved.x, 5);
  // In float 2^24 + 1 is 2^24, so only the order of a float sum gives this mean.
  EXPECT_EQ(
      F::getPointAverage({XFPoint(16777216, 0, 0), XFPoint(1, 3, 0), XFPoint(1, 3, 3)}, moved), 0);
  EXPECT_EQ(moved.x, 16777216.0F / 3.0F);
  EXPECT_EQ(moved.y, 2);
  EXPECT_EQ(moved.z, 1);

  const XFPlane plane(Floats({1, 2, 3}), Floats({0, 0, -1}), Floats({1, 0, 0}), 4, 5);
  XFPlane out;
  EXPECT_EQ(F::getPlaneOffset(plane, 2.5F, out), 0);
  EXPECT_EQ(out.center[2], 0.5F);
  EXPECT_EQ(out.d, 0.5F);
  EXPECT_EQ(out.length, 4);
  EXPECT_EQ(out.majorDir[0], 1);

  EXPECT_EQ(F::getPlaneAverage({}, out), -1);
  EXPECT_EQ(F::getPlaneAverage({plane}, out), 0);
  EXPECT_EQ(out.width, 5);
  const XFPlane opposite(Floats({5, 2, 7}), Floats({0, 0, 1}), Floats({1, 0, 0}), 1, 9);
  EXPECT_EQ(F::getPlaneAverage({plane, opposite}, out), 0);
  EXPECT_EQ(out.normal[2], -1);
  EXPECT_EQ(out.center[2], 5);
  EXPECT_EQ(out.length, 9);
  EXPECT_EQ(out.width, 9);
  // Of three the opposite ones cancel.
  const XFPlane upright(plane.center, Floats({1, 0, 0}));
  EXPECT_EQ(F::getPlaneAverage({plane, opposite, upright}, out), 0);
  EXPECT_EQ(out.normal[0], 1);
  const Floats slanted({std::sqrt(0.75L), 0, 0.5L}), back({-std::sqrt(0.75L), 0, 0.5L});
  EXPECT_EQ(F::getPlaneAverage({plane, {plane.center, slanted}, {plane.center, back}}, out), -1);
  EXPECT_EQ(out.length, 9);
  EXPECT_EQ(F::getPlaneAverage(
                {{plane.center, Floats({1, 0, 0})}, {plane.center, Floats({0, 1, 0})}}, out),
            0);
  EXPECT_FLOAT_EQ(out.normal[1], std::sqrt(0.5F));
  EXPECT_EQ(out.length, 1);
}

TEST(IntersectionLine, LiesOnBothPlanesAndSpansTheirCorners) {
  RandomGeometry random(63);
  for (int i = 0; i < 2000; ++i) {
    const XFPlane a = randomPlane(random);
    const XFPlane b = randomPlane(random);
    const Vec cross = Vec(a.normal).cross(Vec(b.normal));
    const Real sine = cross.norm();
    if (sine < 0.05L) continue;
    XFLine3D2 line;
    ASSERT_EQ(F::getIntersectionLine(a, b, line), 0);
    for (const Real end : {-0.5L, 0.5L}) {
      const Vec p = Vec(line.center) + Vec(line.dir) * (end * line.length);
      EXPECT_LE(std::fabs(fromPlane(p, a)), 3e-4L / sine);
      EXPECT_LE(std::fabs(fromPlane(p, b)), 3e-4L / sine);
    }
    EXPECT_LE((Vec(line.dir) - cross.unit()).norm(), 3e-7L);
    XFPoint corners[8];
    a.getCornerPoint(corners);
    b.getCornerPoint(corners + 4);
    Real low = 1e30L;
    Real high = -1e30L;
    for (const XFPoint& corner : corners) {
      low = std::min(low, cross.unit().dot(at(corner) - Vec(line.center)));
      high = std::max(high, cross.unit().dot(at(corner) - Vec(line.center)));
    }
    EXPECT_LE(gap(low, -0.5L * line.length), 5e-4L / sine);
    EXPECT_LE(gap(high, 0.5L * line.length), 5e-4L / sine);

    XFPoint met;
    const XFPlane c = randomPlane(random);
    const Real det = cross.dot(Vec(c.normal));
    if (std::fabs(det) < 0.05L) continue;
    ASSERT_EQ(F::getIntersectionPoint(a, b, c, met), 0);
    for (const XFPlane* plane : {&a, &b, &c}) {
      EXPECT_LE(std::fabs(fromPlane(at(met), *plane)), 3e-5L / std::fabs(det));
    }
  }
  const XFPlane flat(Floats({0, 0, 1}), Floats({0, 0, 1}));
  XFLine3D2 line;
  line.length = 77;
  XFPoint met(7, 7, 7);
  EXPECT_EQ(F::getIntersectionLine(flat, flat, line), -1);
  EXPECT_EQ(line.length, 77);
  EXPECT_EQ(F::getIntersectionPoint(flat, flat, flat, met), -1);
  EXPECT_EQ(F::getIntersectionPoint(flat, {Floats({0, 0, 0}), Floats({1, 0, 0}), 1}, met), -1);
  EXPECT_EQ(met.x, 7);
  // Planes without extent: no ends to take a direction from.
  const XFPlane dot1(Floats({1, 1, 1}), Floats({0, 0, 1}), Floats({1, 0, 0}), 0, 0);
  const XFPlane dot2(Floats({1, 1, 1}), Floats({0, 1, 0}), Floats({1, 0, 0}), 0, 0);
  EXPECT_EQ(F::getIntersectionLine(dot1, dot2, line), 0);
  EXPECT_EQ(line.length, 0);
  EXPECT_EQ(line.dir[0], -1);
}

TEST(IntersectionPoint, OfALineAndASphere) {
  const XFLine3D2 line(Floats({-50, 3, 0}), Floats({1, 0, 0}), 1);
  struct Case {
    float radius;
    int count;
    float first, second;
  };
  for (const Case& c :
       {Case{5, 2, -4, 4}, Case{3, 1, 0, 7}, Case{2.9999F, 0, 7, 7}, Case{NAN, 0, 7, 7}}) {
    XFPoint points[2] = {XFPoint(7, 7, 7), XFPoint(7, 7, 7)};
    EXPECT_EQ(F::getIntersectionPoint(line, XFSphere(0, 0, 0, c.radius), points), c.count);
    EXPECT_EQ(points[0].x, c.first) << c.radius;
    EXPECT_EQ(points[1].x, c.second) << c.radius;
  }
}

TEST(IntersectionCircle, OfPlanes) {
  const XFPlane plane(Floats({0, 0, 3}), Floats({0, 0, 1}), Floats({0, 1, 0}), 1, 1);
  XFCircle3D circle;
  EXPECT_EQ(F::getIntersectionCircle(plane, XFSphere(1, 2, 0, 5), circle), 0);
  EXPECT_EQ(circle.radius, 4);
  EXPECT_EQ(circle.center[2], 3);
  circle.radius = 77;
  EXPECT_EQ(F::getIntersectionCircle(plane, XFSphere(1, 2, 0, 3), circle), -1);
  EXPECT_EQ(F::getIntersectionCircle(plane, XFSphere(1, 2, 7, 3), circle), -1);
  EXPECT_EQ(circle.radius, 77);
  EXPECT_EQ(F::getIntersectionCircle(plane, XFSphere(1, 2, 3, 3), circle), 0);
  EXPECT_EQ(circle.radius, 3);
  // From 1e-6 on the center moves; at this place floats are fine enough to tell.
  const XFPlane zero(Floats({0, 0, 0}), Floats({0, 0, 1}));
  EXPECT_EQ(F::getIntersectionCircle(zero, XFSphere(0, 0, 0.9e-6F, 1), circle), 0);
  EXPECT_EQ(circle.center[2], 0.9e-6F);
  EXPECT_EQ(F::getIntersectionCircle(zero, XFSphere(0, 0, 1.1e-6F, 1), circle), 0);
  EXPECT_EQ(circle.center[2], 0);
  // A slanted axis: the radius stays the cylinder's, the major direction is the plane's.
  const XFCylinder cylinder(Floats({0, 0, 0}), Floats({0.6F, 0, 0.8F}), 2, 10);
  EXPECT_EQ(F::getIntersectionCircle(plane, cylinder, circle), 0);
  EXPECT_FLOAT_EQ(circle.center[0], 2.25F);
  EXPECT_EQ(circle.radius, 2);
  EXPECT_EQ(circle.majorDir[1], 1);
  // A cone of 10 to 6 over a height of 8: apex at z = 20, half as wide as deep.
  const XFCone cone(Floats({1, 1, 0}), Floats({0, 0, 1}), 10, 6, 8);
  EXPECT_EQ(F::getIntersectionCircle(plane, cone, circle), 0);
  EXPECT_FLOAT_EQ(circle.radius, 8.5F);
  EXPECT_FLOAT_EQ(circle.center[2], 3);
  const XFPlane along(Floats({0, 0, 3}), Floats({1, 0, 0}));
  EXPECT_EQ(F::getIntersectionCircle(along, cone, circle), -1);
  EXPECT_EQ(F::getIntersectionCircle(along, XFCylinder(cone.base, cone.axis, 1, 1), circle), -1);
}

// A cone by its apex: axis, half angle, and a base far below.
XFCone coneAt(const Vec& apex, const Vec& axis, Real tangent) {
  const Vec base = apex - axis * 100;
  return {Floats(base), Floats(axis), static_cast<float>(100 * tangent),
          static_cast<float>(50 * tangent), 50};
}

TEST(IntersectionCircle, OfCoaxialConesLiesOnBoth) {
  RandomGeometry random(64);
  for (int i = 0; i < 1000; ++i) {
    const Vec axis = random.direction();
    const Vec apex = random.point(20);
    const Real wide = random.number(0.5, 1.5);
    const Real narrow = wide - random.number(0.1, 0.4);
    const Real distance = random.number(1, 20);
    const bool same_way = i % 2 == 0;
    // The narrower cone's apex lies further along; facing cones have theirs below one another.
    const XFCone a = coneAt(apex, axis, wide);
    const XFCone b = same_way ? coneAt(apex + axis * distance, axis, narrow)
                              : coneAt(apex - axis * distance, axis * -1, narrow);
    XFCircle3D circles[2];
    ASSERT_EQ(F::getIntersectionCircle(a, b, circles[0]), 0);
    ASSERT_EQ(F::getIntersectionCircle(b, a, circles[1]), 0);
    for (const XFCircle3D& circle : circles) {
      for (const XFCone* cone : {&a, &b}) {
        const Real under = (Vec(cone->apex) - Vec(circle.center)).dot(Vec(cone->axis));
        EXPECT_GT(under, 0);
        EXPECT_LE(gap(circle.radius, under * std::tan(Real(cone->halfAngle))), 3e-3L);
        EXPECT_LE(fromAxis(Vec(circle.center), cone->apex, cone->axis), 1e-3L);
      }
    }
    EXPECT_EQ(circles[0].normal[0], a.axis[0]);
    // Turned round along the axis there is no circle.
    const XFCone beyond = same_way ? coneAt(apex - axis * distance, axis, narrow)
                                   : coneAt(apex + axis * distance, axis * -1, narrow);
    EXPECT_EQ(F::getIntersectionCircle(a, beyond, circles[0]), -1);
  }
  const XFCone a = coneAt({0, 0, 0}, {0, 0, 1}, 0.5L);
  XFCircle3D circle;
  EXPECT_EQ(F::getIntersectionCircle(a, a, circle), -1);
  XFCone needles[2] = {a, coneAt({0, 0, -5}, {0, 0, -1}, 0.5L)};
  needles[0].halfAngle = needles[1].halfAngle = 0;
  EXPECT_EQ(F::getIntersectionCircle(needles[0], needles[1], circle), -1);
  EXPECT_EQ(F::getIntersectionCircle(a, coneAt({0, 0, 5}, {0.02L, 0, 0.9998L}, 0.4L), circle), -1);
  EXPECT_EQ(F::getIntersectionCircle(a, coneAt({0, 0, 5}, {0.01L, 0, 0.99995L}, 0.4L), circle), 0);
  EXPECT_EQ(F::getIntersectionCircle(a, coneAt({0, 0, 5}, {0, 0, 1}, 0.49991L), circle), -2);
  EXPECT_EQ(F::getIntersectionCircle(a, coneAt({0, 0, 5}, {0, 0, 1}, 0.49989L), circle), 0);
  // On equal angles the second counts as the wider one.
  EXPECT_EQ(F::getIntersectionCircle(a, coneAt({0, 0, 5}, {0, 0, 1}, 0.5L), circle), -1);
  EXPECT_EQ(F::getIntersectionCircle(a, coneAt({0, 0, -5}, {0, 0, 1}, 0.5L), circle), -2);
}

TEST(Lines, BisectAndProject) {
  RandomGeometry random(65);
  for (int i = 0; i < 1000; ++i) {
    // Lines that meet exactly: directions and offsets of few bits.
    const Floats u(Vec(1, random.integer(-2, 2), random.integer(-2, 2)).unit());
    const Floats w(random.directionSquareTo(Vec(u.v)));
    const XFLine3D2 a(Floats({0, 0, 0}), u, 4);
    const XFLine3D2 b(Floats({0, 0, 0}), w, 9);
    XFLine3D2 bisector;
    ASSERT_EQ(F::getAngleBisector(a, b, bisector), 0);
    EXPECT_EQ(bisector.length, 9);
    EXPECT_LE(gap(Vec(bisector.dir).dot(Vec(u.v)), Vec(bisector.dir).dot(Vec(w.v))), 1e-6L);
    EXPECT_GT(Vec(bisector.dir).dot(Vec(u.v)), 0.1L);
    XFLine3D2 other;
    F::getAngleBisector(a.invert(), b, other);
    EXPECT_LE(std::fabs(Vec(bisector.dir).dot(Vec(other.dir))), 1e-6L);

    const XFLine3D2 line = randomLine(random);
    const XFPlane plane = randomPlane(random);
    XFLine3D2 shadow;
    ASSERT_EQ(F::getProjectionLine(line, plane, shadow), 0);
    EXPECT_GE(Vec(shadow.dir).dot(Vec(line.dir)), 0);
    EXPECT_LE(std::fabs(Vec(shadow.dir).dot(Vec(plane.normal))), 2e-4L / shadow.length);
    EXPECT_LE(gap(shadow.length, line.length * Vec(line.dir).cross(Vec(plane.normal)).norm()),
              1e-4L);
  }
  const XFLine3D2 x(Floats({1, 0, 0}), Floats({1, 0, 0}), 4);
  const XFLine3D2 back(Floats({3, 6, 0}), Floats({-1, 0, 0}), 5);
  const XFLine3D2 skew(Floats({0, 0, 1}), Floats({0, 1, 0}), 5);
  XFLine3D2 bisector;
  EXPECT_EQ(F::getAngleBisector(x, back, bisector), 1);
  EXPECT_EQ(bisector.center[1], 3);
  EXPECT_EQ(bisector.dir[0], 1);
  EXPECT_EQ(bisector.length, 5);
  const XFLine3D2 almost(back.center, Floats({1, 9e-7L, 0}), 5);
  EXPECT_EQ(F::getAngleBisector(x, almost, bisector), 1);
  EXPECT_EQ(F::getAngleBisector(x, skew, bisector), -1);
  EXPECT_EQ(bisector.center[1], 3);

  // The half length, and what stands in for a short one.
  const XFPlane flat(Floats({0, 0, 5}), Floats({0, 0, 1}));
  for (const auto& [length, expected] :
       {std::pair{0.001F, 2.0F}, std::pair{0.0199F, 2.0F}, std::pair{0.0201F, 0.0201F}}) {
    EXPECT_EQ(F::getProjectionLine({x.center, x.dir, length}, flat, bisector), 0);
    EXPECT_NEAR(bisector.length, expected, 1e-6);
  }
  const XFLine3D2 upright(Floats({1, 2, 3}), Floats({1e-6F, 0, 1}), 4);
  EXPECT_EQ(F::getProjectionLine(upright, flat, bisector), -1);
  // Steep enough to be no normal, and too short to leave a shadow.
  const XFLine3D2 steep(Floats({0, 0, 3}), Floats({1.5e-6F, 0, 1}), 0.5F);
  EXPECT_EQ(F::getProjectionLine(steep, flat, bisector), -1);
}

TEST(LineOffset, TouchesBothCirclesOnOneSide) {
  RandomGeometry random(66);
  for (int i = 0; i < 2000; ++i) {
    const XFPlane plane = randomPlane(random);
    const Vec major(plane.majorDir);
    const Vec minor = Vec(plane.normal).cross(major);
    const auto inPlane = [&] {
      return Vec(plane.center) + major * random.number(-40, 40) + minor * random.number(-40, 40);
    };
    const XFPoint centers[2] = {recordOf(inPlane()), recordOf(inPlane())};
    const Real distance = centers[0].Distance(centers[1]);
    const float large = static_cast<float>(random.number(0, 30));
    const float small = static_cast<float>(
        i % 3 == 0 ? large : std::max<Real>(0, large - distance * random.number(0.01, 0.95)));
    const float radii[2] = {i % 2 == 0 ? large : small, i % 2 == 0 ? small : large};
    XFLine3D2 lines[2];
    ASSERT_EQ(F::getLineOffset(centers, radii, plane, lines), 2);
    for (int side = 0; side < 2; ++side) {
      const XFLine3D ends = lines[side];
      const Vec d(lines[side].dir);
      // Towards the line, square to it, within the plane.
      const Vec square = d.cross(Vec(plane.normal)) * (side == 0 ? -1 : 1);
      for (int k = 0; k < 2; ++k) {
        const Real off = (Vec(ends.start) - at(centers[k])).dot(square);
        EXPECT_LE(gap(off, radii[k]), 3e-4L * 100 / distance) << i;
      }
      // From the touching point on the larger circle to that on the smaller.
      const int larger = radii[0] >= radii[1] ? 0 : 1;
      EXPECT_LE(gap((Vec(ends.start) - at(centers[larger])).norm(), radii[larger]), 1e-4L);
      EXPECT_LE(gap((Vec(ends.end) - at(centers[1 - larger])).norm(), radii[1 - larger]), 1e-4L);
    }
  }
}

TEST(LineOffset, CountsItsLines) {
  const XFPlane plane(Floats({0, 0, 0}), Floats({0, 0, 1}));
  struct Case {
    const char* what;
    Vec second;
    float r0, r1;
    int result;
  };
  for (const Case& c :
       {Case{"touching inside", {3, 0, 9}, 5, 2, -1},
        Case{"touching inside, in the plane", {3, 0, 0}, 5, 2, 1},
        Case{"nested", {3, 0, 0}, 5, 1.999F, -1}, Case{"just crossing", {3, 0, 0}, 5, 2.001F, 2},
        Case{"equal", {3, 0, 0}, 5, 5, 2}, Case{"points", {3, 0, 0}, 0, 0, 2},
        Case{"coinciding and equal", {0, 0, 0}, 5, 5, -1},
        Case{"along the normal", {0, 0, 4}, 5, 4, -1}, Case{"negative", {3, 0, 0}, -1, 2, -2},
        Case{"negative second", {3, 0, 0}, 1, -2, -2}, Case{"NaN radius", {3, 0, 0}, 1, NAN, -1},
        Case{"NaN point", {NAN, 0, 0}, 1, 1, -1}}) {
    const XFPoint centers[2] = {XFPoint(0, 0, 0), recordOf(c.second)};
    const float radii[2] = {c.r0, c.r1};
    XFLine3D2 lines[2];
    lines[0].length = lines[1].length = 77;
    const int result = F::getLineOffset(centers, radii, plane, lines);
    // Off the plane the distance in space counts: 3, 0, 9 is further than 3.
    EXPECT_EQ(result, c.what == std::string("touching inside") ? 2 : c.result) << c.what;
    if (result < 0) {
      EXPECT_EQ(lines[0].length, 77) << c.what;
    }
    if (result == 1) {
      EXPECT_EQ(lines[0].center[0], 5);
      EXPECT_EQ(lines[0].dir[1], 1);
      EXPECT_EQ(lines[0].length, 1);
      EXPECT_EQ(lines[1].length, 77);
    }
  }
}

TEST(PlaneOffset, OfThreeSpheresTouchesThemOnOneSide) {
  RandomGeometry random(67);
  int found = 0;
  for (int i = 0; i < 2000; ++i) {
    XFPoint centers[3];
    float radii[3];
    for (int k = 0; k < 3; ++k) {
      centers[k] = recordOf(random.point(40));
      radii[k] = i % 7 == k ? 0.0F : static_cast<float>(random.number(0, 12));
    }
    const Vec cross = (at(centers[1]) - at(centers[0])).cross(at(centers[2]) - at(centers[0]));
    if (cross.norm() < 200) continue;
    XFPlane planes[2];
    const int result = F::getPlaneOffset(centers, radii, planes);
    ASSERT_TRUE(result == 0 || result == -1);
    if (result != 0) continue;
    ++found;
    for (const XFPlane& plane : planes) {
      EXPECT_GE(plane.normal[2], 0);
      const Real side =
          fromPlane(at(centers[0]), plane) + fromPlane(at(centers[1]), plane) > 0 ? 1 : -1;
      for (int k = 0; k < 3; ++k) {
        EXPECT_LE(gap(side * fromPlane(at(centers[k]), plane), radii[k]), 3e-3L) << i;
      }
    }
    // The first lies on the side of the centers' plane to which its normal, turned up, points.
    const Vec up = cross * (cross.z < 0 ? -1 : 1);
    EXPECT_GE((Vec(planes[0].center) - Vec(planes[1].center)).dot(up), 0);
  }
  EXPECT_GT(found, 500);
}

TEST(PlaneOffset, TellsItsFailuresApart) {
  struct Case {
    const char* what;
    Vec third;
    float r[3];
    int result;
  };
  for (const Case& c :
       {Case{"negative", {0, 9, 0}, {1, 1, -1}, -2},
        Case{"two in one place", {5e-7L, 0, 0}, {1, 1, 1}, -3},
        Case{"on a line", {20, 0, 0}, {1, 1, 1}, -4},
        Case{"one inside another", {0, 9, 0}, {1, 1, 11}, -1},
        Case{"pairs touch, the three do not", {0, 10, 0}, {9, 0, 0}, -1},
        Case{"NaN", {NAN, 0, 0}, {1, 1, 1}, -4}, Case{"usual", {0, 9, 0}, {3, 2, 1}, 0}}) {
    const XFPoint centers[3] = {XFPoint(0, 0, 0), XFPoint(10, 0, 0), recordOf(c.third)};
    XFPlane planes[2];
    planes[0].length = 77;
    EXPECT_EQ(F::getPlaneOffset(centers, c.r, planes), c.result) << c.what;
    EXPECT_EQ(planes[0].length == 77, c.result < 0) << c.what;
  }
}

TEST(Projection, FailsWhereThereIsNoDirection) {
  XFPoint foot(7, 7, 7);
  const float at_limit = std::nextafter(1e-6F, 1.0F);
  EXPECT_EQ(F::getProjectionPoint(XFPoint(1e-6F, 1e-6F, 0), XFSphere(0, 0, 0, 3), foot), -1);
  const XFCylinder cylinder(Floats({0, 0, 0}), Floats({0, 0, 1}), 3, 10);
  const XFCone cone(Floats({0, 0, 0}), Floats({0, 0, 1}), 3, 1, 10);
  EXPECT_EQ(F::getProjectionPoint(XFPoint(1e-6F, 0, 4), cylinder, foot), -1);
  EXPECT_EQ(F::getProjectionPoint(XFPoint(1e-6F, 1e-6F, 4), cone, foot), -1);
  EXPECT_EQ(foot.x, 7);
  // In space 1e-6 is reached sooner than in each coordinate.
  EXPECT_EQ(F::getProjectionPoint(XFPoint(0.9e-6F, 0.9e-6F, 4), cylinder, foot), 0);
  EXPECT_EQ(F::getProjectionPoint(XFPoint(at_limit, 0, 0), XFSphere(0, 0, 0, 3), foot), 0);
  EXPECT_EQ(foot.x, 3);
  EXPECT_EQ(F::getProjectionPoint(XFPoint(at_limit, 0, 4), cone, foot), 0);
}

}  // namespace
