// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Constructions of arrays and of records against their defining equations.
#include <algorithm>
#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "measure/random_features.h"
#include "zelmo/measure/feature_constructor.h"
#include "zelmo/measure/geo_constructor.h"

using namespace xgeofeature;  // NOLINT: the test reads as a host's code does
using namespace zelmo::test;  // NOLINT
using testing::Each;

namespace {

using A = xgeomeasure::XGeoConstructor;
using F = XGeoFConstructor;

/// What a construction of two records gives.
template <typename Out, typename First, typename Second>
Out made(int (*construct)(const First&, const Second&, Out&), const First& a, const Second& b) {
  Out out;
  EXPECT_EQ(construct(a, b, out), 0);
  return out;
}
/// And one of two arrays.
Six madeOf(int (*construct)(const float*, const float*, float*), const float* a, const Six& b) {
  Six out{};
  EXPECT_EQ(construct(a, b.data(), out.data()), 0);
  return out;
}

TEST(Feet, LieOnTheFeatureSquareToIt) {
  RandomGeometry random(61);
  for (int i = 0; i < 2000; ++i) {
    const Floats given(random.point(60));
    const Vec p(given.v);
    const XFLine3D2 line = randomLine(random);
    const XFPlane plane = randomPlane(random);
    const Vec o(line.center), d(line.dir);
    const float radius = static_cast<float>(random.number(1, 30));
    const auto foot = [&given](const auto& on) {
      return at(made<XFPoint>(F::getProjectionPoint, XFPoint(given), on));
    };
    const Vec on_line = foot(line), on_sphere = foot(XFSphere(line.center, radius));
    EXPECT_LE(std::fabs((p - on_line).dot(d)) + fromLine(on_line, line), 3e-5L);
    EXPECT_EQ(madeOf(A::Projection_Point_Line, given, sixOf(line))[2], on_line.z);
    EXPECT_LE((on_sphere - o - (p - o).unit() * radius).norm(), 8e-5L);
    const Six on_array = madeOf(A::Projection_Point_Plane, given, sixOf(plane));
    // The record's equation is summed in float.
    for (const auto& [on, error] : {std::pair(foot(plane), 5e-5L), {Vec(on_array.data()), 2e-5L}}) {
      EXPECT_LE(std::fabs(fromPlane(on, plane)), error);
      EXPECT_LE((p - on).cross(Vec(plane.normal)).norm(), 3e-5L);
    }

    const Real axis_distance = fromLine(p, line);
    if (axis_distance < 1) continue;
    const Vec on_cylinder = foot(XFCylinder(line.center, line.dir, radius, 10));
    EXPECT_LE(gap(fromLine(on_cylinder, line), radius), 5e-5L);
    EXPECT_LE(gap((p - on_cylinder).norm(), gap(axis_distance, radius)), 1e-4L);
    // On a cone the way is square to the generator.
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
}

TEST(LineAndPlane, MeetAndCastAShadow) {
  RandomGeometry random(55);
  for (int i = 0; i < 3000; ++i) {
    const XFLine3D2 line = randomLine(random);
    const XFPlane plane = randomPlane(random);
    const Vec d(line.dir), n(plane.normal), flat = d - n * d.dot(n);
    const Real slope = std::fabs(d.dot(n));
    if (slope < 0.01L) continue;
    // The array's direction may be of any length.
    const Six longer = sixOf(Vec(line.center), d * 3);
    const Six met = madeOf(A::Intersection_Line_Plane, longer.data(), sixOf(plane));
    for (const Vec& p :
         {Vec(met.data()), at(made<XFPoint>(F::getIntersectionPoint, plane, line))}) {
      EXPECT_LE(std::fabs(fromPlane(p, plane)), 2e-5L / slope);
      EXPECT_LE(fromLine(p, line), 2e-5L / slope);
    }
    const Six shadow = madeOf(A::Projection_Line_Plane, sixOf(line).data(), sixOf(plane));
    EXPECT_LE(std::fabs(fromPlane(Vec(shadow.data()), plane)), 2e-5L);
    // Of arrays it runs against the line, of records along it.
    EXPECT_LE((Vec(&shadow[3]) + flat.unit()).norm(), 5e-5L / flat.norm());
    const auto record = made<XFLine3D2>(F::getProjectionLine, line, plane);
    EXPECT_LE(gap(record.length, line.length * flat.norm()), 1e-4L);
    EXPECT_LE((Vec(record.dir) - flat.unit()).norm(), 2e-4L / record.length);
  }
}

TEST(Symmetry, HalvesTheWayAndReturns) {
  RandomGeometry random(62);
  for (int i = 0; i < 1000; ++i) {
    const XFPoint p = recordOf(random.point(60)), q = recordOf(random.point(60));
    const XFLine3D2 line = randomLine(random);
    const XFPlane plane = randomPlane(random), other = randomPlane(random);
    const Vec n(plane.normal);
    const auto mirrored = [&n](const Vec& v) { return v - n * (2 * v.dot(n)); };
    const auto middle = [&p](const auto& about) {
      return (at(p) + at(made<XFPoint>(F::getPointSymmetry, p, about))) * 0.5L;
    };
    const Vec foot = at(made<XFPoint>(F::getProjectionPoint, p, line)), half_way = middle(plane);
    EXPECT_LE((middle(q) - at(q)).norm(), 5e-5L);
    EXPECT_LE((middle(line) - foot).norm(), 5e-5L);
    EXPECT_LE(std::fabs(fromPlane(half_way, plane)), 5e-5L);
    EXPECT_LE((at(p) - half_way).cross(n).norm(), 5e-5L);

    const auto turned = made<XFLine3D2>(F::getLineSymmetry, line, plane);
    EXPECT_LE(gap(turned.length, line.length), 2e-4L);
    EXPECT_LE((Vec(turned.dir) - mirrored(Vec(line.dir))).norm(), 2e-4L / line.length);

    const auto image = made<XFPlane>(F::getPlaneSymmetry, other, plane);
    const Vec center(image.center), normal(image.normal);
    EXPECT_LE(gap(fromPlane(center, plane), -fromPlane(Vec(other.center), plane)), 2e-4L);
    EXPECT_LE((normal - mirrored(Vec(other.normal))).norm(), 1e-4L);
    EXPECT_LE(std::fabs(center.dot(normal) + image.d), 3e-5L);
    EXPECT_EQ(image.majorDir[0], other.majorDir[0]);
    EXPECT_EQ(image.width, other.width);
    EXPECT_EQ(image.length, other.length);
  }
}

TEST(Planes, MeetInALineAcrossTheirCornersAndInAPoint) {
  RandomGeometry random(63);
  for (int i = 0; i < 2000; ++i) {
    const XFPlane a = randomPlane(random), b = randomPlane(random), c = randomPlane(random);
    const Vec cross = Vec(a.normal).cross(Vec(b.normal)), d = cross.unit();
    const Real sine = cross.norm(), det = cross.dot(Vec(c.normal));
    if (sine < 0.05L) continue;
    const auto line = made<XFLine3D2>(F::getIntersectionLine, a, b);
    for (const Real end : {-0.5L, 0.5L}) {
      const Vec p = Vec(line.center) + Vec(line.dir) * (end * line.length);
      EXPECT_LE(std::fabs(fromPlane(p, a)), 3e-4L / sine);
      EXPECT_LE(std::fabs(fromPlane(p, b)), 3e-4L / sine);
    }
    EXPECT_LE((Vec(line.dir) - d).norm(), 3e-7L);
    XFPoint corners[8];
    a.getCornerPoint(corners);
    b.getCornerPoint(corners + 4);
    std::vector<Real> along;
    for (const XFPoint& corner : corners) along.push_back(d.dot(at(corner) - Vec(line.center)));
    std::sort(along.begin(), along.end());
    EXPECT_LE(gap(along.front(), -0.5L * line.length), 5e-4L / sine);
    EXPECT_LE(gap(along.back(), 0.5L * line.length), 5e-4L / sine);

    // The arrays' equations hold the planes' points where their normals belong, on the left only.
    const Six solved = madeOf(A::Intersection_Plane_Plane, sixOf(a).data(), sixOf(b));
    EXPECT_LE((Vec(&solved[3]) - d).norm(), 3e-7L);
    const Real size[3] = {std::fabs(d.x), std::fabs(d.y), std::fabs(d.z)};
    const long k = std::max_element(size, size + 3) - size;
    EXPECT_EQ(solved[k], 0.0F);
    EXPECT_EQ(std::signbit(solved[k]), k < 2);
    for (const XFPlane* plane : {&a, &b}) {
      const Vec o(plane->center);
      const Real scale = o.norm() * (Vec(solved.data()).norm() + 1);
      EXPECT_LE(gap(o.dot(Vec(solved.data())), o.dot(Vec(plane->normal))), 1e-6L * scale);
    }
    XFPoint met;
    if (std::fabs(det) < 0.05L) continue;
    ASSERT_EQ(F::getIntersectionPoint(a, b, c, met), 0);
    for (const XFPlane* plane : {&a, &b, &c}) {
      EXPECT_LE(std::fabs(fromPlane(at(met), *plane)), 3e-5L / std::fabs(det));
    }
  }
}

// On whole numbers lines meet exactly, also when they are nearly parallel.
TEST(TwoLines, MeetWhereTheyWereMadeToMeet) {
  RandomGeometry random(53);
  const auto whole = [&random](int reach) {
    return Vec(random.integer(-reach, reach), random.integer(-reach, reach),
               random.integer(-reach, reach));
  };
  for (int i = 0; i < 3000; ++i) {
    const Vec meeting = whole(100), u = whole(i % 2 == 0 ? 9 : 2000);
    const Vec w = i % 2 == 0 ? whole(9) : u + whole(1);
    const Six a = sixOf(meeting - u * static_cast<Real>(random.integer(-3, 3)), u);
    const Six b = sixOf(meeting - w * static_cast<Real>(random.integer(-3, 3)), w);
    const bool parallel = u.cross(w).norm() == 0;
    float point[3] = {7, 7, 7};
    ASSERT_EQ(A::Intersection_Line_Line(a.data(), b.data(), point), parallel ? 0 : 2);
    EXPECT_LE((Vec(point) - (parallel ? Vec(7, 7, 7) : meeting)).norm(), 1e-4L);
  }
}

TEST(TwoLines, HaveTheirFeetOnTheCommonPerpendicular) {
  RandomGeometry random(54);
  for (int i = 0; i < 3000; ++i) {
    const XFLine3D2 a = randomLine(random);
    XFLine3D2 b = randomLine(random);
    // Every third pair is nearly parallel.
    if (i % 3 == 0) (Vec(a.dir) + random.point(0.01)).unit().copyTo(b.dir);
    const Six first = sixOf(a), second = sixOf(b);
    float on_a[3], on_b[3], point[3] = {7, 7, 7};
    ASSERT_EQ(A::Intersection_Line_Line2(first.data(), second.data(), on_a, on_b), 0);
    EXPECT_EQ(A::Intersection_Line_Line(first.data(), second.data(), point), 1);
    EXPECT_THAT(point, Each(7));
    const Vec between = Vec(on_b) - Vec(on_a);
    // Feet lie as far as 200 / sine away, where floats are 1e-7 of that apart.
    const Real rounded = 1e-5L / Vec(a.dir).cross(Vec(b.dir)).norm(), error = 3 * rounded;
    EXPECT_LE(fromLine(Vec(on_a), a), error);
    EXPECT_LE(fromLine(Vec(on_b), b), error);
    EXPECT_LE(std::fabs(between.dot(Vec(a.dir))), error);
    EXPECT_LE(std::fabs(between.dot(Vec(b.dir))), error);
    XFPoint middle;
    EXPECT_EQ(F::getIntersectionPoint(a, b, middle), 1);
    EXPECT_LE((at(middle) - (Vec(on_a) + Vec(on_b)) * 0.5L).norm(), rounded);
    const auto vertical = made<XFLine3D2>(F::getVerticalLine, a, b);
    EXPECT_LE(gap(vertical.length, between.norm()), 2 * rounded);
    EXPECT_LE((Vec(vertical.dir) * vertical.length + between).norm(), 10 * rounded);
  }
}

TEST(ThreePoints, GiveACirclePassingThroughThem) {
  RandomGeometry random(51);
  for (int i = 0; i < 3000; ++i) {
    float p[9];
    XFPointN records[3];
    Vec q[3];
    for (int k = 0; k < 3; ++k) {
      random.point(30).copyTo(p + 3 * k);
      // Every third triangle is flat.
      if (i % 3 == 0 && k == 2) (Vec(p) * 0.3L + Vec(p + 3) * 0.7L + random.point(1)).copyTo(p + 6);
      q[k] = Vec(p + 3 * k);
      // Only the first normal is read.
      records[k] = XFPointN(p + 3 * k, Floats({0, 0, k == 0 ? 1.0L : -1.0L}));
    }
    float circle[10], plane[6];
    ASSERT_EQ(A::Circle3D_3Point(p, circle), 0);
    const Vec center(circle), normal(circle + 3), cross = (q[1] - q[0]).cross(q[2] - q[0]);
    // The local coordinates are rounded to float, by up to 2e-6, and so are their squares, by up to
    // 3e-4; flat triangles carry the error far.
    const Real rounded = 1e-5L + 1e-6L * circle[9], carried = 1e-3L * 60 / cross.norm();
    for (const Vec& point : q) {
      ASSERT_LE(gap((point - center).norm(), circle[9]), rounded + carried) << i;
    }
    EXPECT_LE(std::fabs((center - q[0]).dot(normal)), rounded);
    EXPECT_LE((normal - cross.unit()).norm(), 1e-6L);
    EXPECT_LE((Vec(circle + 6) - (q[1] - q[0]).unit()).norm(), 1e-6L);
    ASSERT_EQ(A::Plane_3Point(p, plane), 0);
    EXPECT_EQ((Vec(plane) - q[0]).norm(), 0);
    // Edges up to 100 long, rounded by up to 4e-6.
    EXPECT_LE((Vec(plane + 3) - cross.unit()).norm(), 4e-4L / cross.norm() + 1e-6L);

    // The records' circle is the same but for the side of its normal.
    XFCircle3D record;
    ASSERT_EQ(F::getCircle(records, record), 0);
    EXPECT_LE((Vec(record.normal) - normal * (normal.z < 0 ? -1 : 1)).norm(), 1e-6L);
    EXPECT_LE((Vec(record.majorDir) - Vec(circle + 6)).norm(), 1e-6L);
    EXPECT_LE((Vec(record.center) - center).norm(), rounded + 2 * carried);
    // Their plane holds the rectangle around them.
    XFPlane rectangle;
    ASSERT_EQ(F::getPlane(records, rectangle), 0);
    EXPECT_GE(rectangle.length, rectangle.width);
    const Vec major(rectangle.majorDir), minor = Vec(rectangle.normal).cross(major);
    for (const Vec& point : q) {
      const Vec offset = point - Vec(rectangle.center);
      EXPECT_LE(std::fabs(offset.dot(major)), rectangle.length / 2 + 1e-4L);
      EXPECT_LE(std::fabs(offset.dot(minor)), rectangle.width / 2 + 1e-4L);
      EXPECT_LE(std::fabs(fromPlane(point, rectangle)), 1e-4L);
    }
    EXPECT_LE(rectangle.length * rectangle.width, cross.norm() * 1.0001L + 0.01L);
  }
}

TEST(CoaxialCones, MeetInACircleOnBoth) {
  RandomGeometry random(64);
  for (int i = 0; i < 1000; ++i) {
    const Vec axis = random.direction(), apex = random.point(20);
    const Real wide = random.number(0.5, 1.5), narrow = wide - random.number(0.1, 0.4);
    const Real way = i % 2 == 0 ? 1 : -1;
    const Vec shift = axis * (way * random.number(1, 20));
    // The narrower cone's apex lies further along; facing cones have theirs below one another.
    const XFCone a(coneRow(apex, axis, wide)), b(coneRow(apex + shift, axis * way, narrow));
    for (const auto& circle : {made<XFCircle3D>(F::getIntersectionCircle, a, b),
                               made<XFCircle3D>(F::getIntersectionCircle, b, a)}) {
      for (const XFCone* cone : {&a, &b}) {
        const Real under = (Vec(cone->apex) - Vec(circle.center)).dot(Vec(cone->axis));
        EXPECT_GT(under, 0);
        EXPECT_LE(gap(circle.radius, under * std::tan(Real(cone->halfAngle))), 3e-3L);
        EXPECT_LE(fromAxis(Vec(circle.center), cone->apex, cone->axis), 1e-3L);
      }
    }
    EXPECT_EQ(made<XFCircle3D>(F::getIntersectionCircle, a, b).normal[0], a.axis[0]);
  }
}

TEST(LineOffset, TouchesBothCirclesOnOneSide) {
  RandomGeometry random(66);
  for (int i = 0; i < 2000; ++i) {
    const XFPlane plane = randomPlane(random);
    const Vec n(plane.normal), major(plane.majorDir), minor = n.cross(major);
    XFPoint centers[2];
    for (XFPoint& center : centers) {
      center = recordOf(Vec(plane.center) + major * random.number(-40, 40) +
                        minor * random.number(-40, 40));
    }
    const Real distance = centers[0].Distance(centers[1]), large = random.number(0, 30);
    const Real less = i % 3 == 0 ? 0 : distance * random.number(0.01, 0.95);
    const int larger = i % 3 == 0 ? 0 : i % 2;
    float radii[2];
    radii[larger] = static_cast<float>(large);
    radii[1 - larger] = static_cast<float>(std::max<Real>(0, large - less));
    XFLine3D2 lines[2];
    ASSERT_EQ(F::getLineOffset(centers, radii, plane, lines), 2);
    for (int side = 0; side < 2; ++side) {
      const XFLine3D ends = lines[side];
      // Towards the line, square to it, within the plane.
      const Vec square = Vec(lines[side].dir).cross(n) * (side == 0 ? -1 : 1);
      for (int k = 0; k < 2; ++k) {
        const Vec off = Vec(ends.start) - at(centers[k]);
        EXPECT_LE(gap(off.dot(square), radii[k]), 0.03L / distance) << i;
        // From the touching point on the larger circle to that on the smaller.
        const Vec touch = Vec(k == larger ? ends.start : ends.end) - at(centers[k]);
        EXPECT_LE(gap(touch.norm(), radii[k]), 1e-4L);
      }
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
      const Real sum = fromPlane(at(centers[0]), plane) + fromPlane(at(centers[1]), plane);
      for (int k = 0; k < 3; ++k) {
        const Real off = fromPlane(at(centers[k]), plane) * (sum > 0 ? 1 : -1);
        EXPECT_LE(gap(off, radii[k]), 3e-3L) << i;
      }
    }
    // The first lies on the side of the centers' plane to which its normal, turned up, points.
    const Vec up = cross * (cross.z < 0 ? -1 : 1);
    EXPECT_GE((Vec(planes[0].center) - Vec(planes[1].center)).dot(up), 0);
  }
  EXPECT_GT(found, 500);
}

}  // namespace
