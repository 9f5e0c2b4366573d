// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Constructions of arrays against their defining equations, and against those of records.
#include <array>
#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/long_double_geometry.h"
#include "zelmo/measure/feature_constructor.h"
#include "zelmo/measure/geo_constructor.h"
#include "zelmo/measure/geo_tolerance.h"

using namespace xgeofeature;  // NOLINT: the test reads as a host's code does
using testing::Each;
using zelmo::test::gap;
using zelmo::test::RandomGeometry;
using zelmo::test::Real;
using zelmo::test::Vec;

namespace {

using A = xgeomeasure::XGeoConstructor;
using F = XGeoFConstructor;
using Six = std::array<float, 6>;

Six sixOf(const Vec& point, const Vec& direction) {
  Six six{};
  point.copyTo(six.data());
  direction.copyTo(six.data() + 3);
  return six;
}

Six randomSix(RandomGeometry& random) { return sixOf(random.point(50), random.direction()); }

XFLine3D2 recordOf(const Six& six) { return {six.data(), six.data() + 3, 1}; }
Vec pointOf(const Six& six) { return Vec(six.data()); }
Vec directionOf(const Six& six) { return Vec(six.data() + 3); }

// A call's status; an output that says so must stay untouched.
struct Output {
  std::array<float, 10> v{};

  template <typename Operation, typename... Inputs>
  int of(Operation operation, const Inputs&... inputs) {
    v.fill(7);
    const int status = operation(inputs.data()..., v.data());
    if (status < 0) {
      EXPECT_THAT(v, Each(7));
    }
    return status;
  }
};

Real fromLine(const Vec& p, const Six& line) {
  return (p - pointOf(line)).cross(directionOf(line).unit()).norm();
}
Real fromPlane(const Vec& p, const Six& plane) {
  return (p - pointOf(plane)).dot(directionOf(plane).unit());
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
      const float up[3] = {0, 0, k == 0 ? 1.0F : -1.0F};
      records[k] = XFPointN(p + 3 * k, up);
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
    EXPECT_THAT((std::array<float, 3>{plane[0] - p[0], plane[1] - p[1], plane[2] - p[2]}), Each(0));
    // Edges up to 100 long, rounded by up to 4e-6.
    EXPECT_LE((Vec(plane + 3) - cross.unit()).norm(), 4e-4L / cross.norm() + 1e-6L);

    // The records' circle is the same but for the side of its normal.
    XFCircle3D record;
    ASSERT_EQ(F::getCircle(records, record), 0);
    EXPECT_GE(record.normal[2], 0.0F);
    EXPECT_LE((Vec(record.normal) - normal * (normal.z < 0 ? -1 : 1)).norm(), 1e-6L);
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
      EXPECT_LE(std::fabs(offset.dot(Vec(rectangle.normal))), 1e-4L);
    }
    EXPECT_LE(rectangle.length * rectangle.width, cross.norm() * 1.0001L + 0.01L);
  }
}

TEST(ThreePoints, FailOnALineAndInOnePlaceAndLeaveTheOutput) {
  const float above = std::nextafter(1e-6F, 1.0F);  // the float 1e-6 lies below the number
  struct Case {
    const char* what;
    std::array<float, 9> points;
    int plane, circle;
  };
  const Case cases[] = {
      {"on a line", {0, 0, 0, 1, 1, 1, 3, 3, 3}, -1, -1},
      {"second in the first", {0, 0, 0, 1e-6F, 1e-6F, -1e-6F, 0, 5, 0}, -1, -1},
      {"third in the first", {0, 0, 0, 0, 5, 0, 1e-6F, 1e-6F, -1e-6F}, -1, -1},
      {"second just off the first", {0, 0, 0, above, 0, 0, 0, 5, 0}, 0, 0},
      {"off along z", {0, 0, 0, 0, 0, above, 0, 5, 0}, 0, 0},
      // The difference rounds to the float 1e-6 and lies above the number before that.
      {"off by less than a rounding", {-5.6e-14F, 0, 0, 1e-6F, 0, 0, 0, 5, 0}, -1, 0},
      {"cross product of the float 1e-6", {0, 0, 0, 1, 0, 0, 0, 1e-6F, 0}, -1, -1},
      {"no frame", {0, 0, 0, 0.009F, 0, 0, 0, 0.009F, 0}, 0, -1},
      {"a small one with a frame", {0, 0, 0, 0.02F, 0, 0, 0, 0.02F, 0}, 0, 0},
      {"NaN", {0, 0, 0, NAN, 0, 0, 0, 1, 0}, -1, -1},
      {"infinite", {0, 0, 0, INFINITY, 0, 0, 0, 1, 0}, -1, -1},
      {"huge", {0, 0, 0, 1e30F, 0, 0, 0, 1e30F, 0}, 0, -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Output out;
    EXPECT_EQ(out.of(A::Plane_3Point, c.points), c.plane);
    EXPECT_EQ(out.of(A::Circle3D_3Point, c.points), c.circle);
    XFPointN records[3];
    for (int k = 0; k < 3; ++k) records[k] = XFPointN(&c.points[3 * k], &c.points[3 * k]);
    XFCircle3D circle;
    EXPECT_EQ(F::getCircle(records, circle), c.circle);
  }
}

// The circle follows its flat coordinates and their squares as floats hold them.
TEST(ThreePoints, SquareTheirLocalCoordinatesInFloat) {
  const std::array<float, 9> p = {0, 0, 0, 0.00390625F, 0.00390625F, 0, 4667, 0, 0};
  Output circle;
  ASSERT_EQ(circle.of(A::Circle3D_3Point, p), 0);
  std::vector<cv::Point2f> q;
  double plane[4] = {0, 0, 1, 0};
  xgeomeasure::XGeoTolrance::projection2Plane_tranformed(
      {{0, 0, 0}, {0.00390625F, 0.00390625F, 0}, {4667, 0, 0}}, plane, q, nullptr);
  const auto radius = [&q](auto square) {
    const auto half = [&](int i, int k) {
      return (square(q[i].x) - square(q[k].x) + square(q[i].y) - square(q[k].y)) / 2;
    };
    const Real a = Real(q[0].x) - q[1].x, b = Real(q[0].y) - q[1].y;
    const Real c = Real(q[1].x) - q[2].x, d = Real(q[1].y) - q[2].y;
    const Real r0 = half(0, 1), r1 = half(1, 2), det = a * d - b * c;
    return std::hypot((r0 * d - b * r1) / det - q[0].x, (a * r1 - c * r0) / det - q[0].y);
  };
  const Real in_float = radius([](float v) { return v * v; });
  EXPECT_LE(gap(circle.v[9], in_float), 1e-6L * in_float);
  EXPECT_GT(gap(circle.v[9], radius([](Real v) { return v * v; })), 1e-3L * in_float);
}

// CONTRACT: of two equal sides the second is the major one; from the first corner it runs along y.
TEST(ThreePoints, TakeTheSecondOfEqualSides) {
  XFPointN square[3] = {{0, 0, 0, 0, 0, 1}, {2, 0, 0, 0, 0, 1}, {2, 2, 0, 0, 0, 1}};
  XFPlane plane;
  ASSERT_EQ(F::getPlane(square, plane), 0);
  EXPECT_EQ(plane.length, plane.width);
  EXPECT_NEAR(std::fabs(plane.majorDir[1]), 1, 1e-6);
}

TEST(FourPoints, GiveTheSameSphereInBothForms) {
  RandomGeometry random(52);
  for (int i = 0; i < 300; ++i) {
    float p[12];
    XFPoint records[4];
    const Vec center = random.point(5);
    for (int k = 0; k < 4; ++k) {
      (center + random.direction() * 5).copyTo(p + 3 * k);
      records[k] = XFPoint(p + 3 * k);
    }
    float sphere[4];
    XFSphere record;
    ASSERT_EQ(A::Sphere_4Point(p, sphere), 0);
    ASSERT_EQ(F::getSphere(records, record), 0);
    EXPECT_EQ(record.radius, sphere[3]);
    EXPECT_EQ(record.center[2], sphere[2]);
    EXPECT_LE(gap((Vec(p) - Vec(sphere)).norm(), sphere[3]), 1e-6L * sphere[3]);
  }
  for (const float z : {0.0F, 0.9e-6F, 1.1e-6F}) {
    const std::array<float, 12> flat = {0, 0, 0, -1, 0, 0, -1, -1, 0, -1, -1, -z};
    EXPECT_EQ(Output().of(A::Sphere_4Point, flat), z < 1e-6F ? -1 : 0);
  }
  // Squares and sums in float: of 4097 squared the last digit is lost, and with it half a unit.
  const std::array<float, 12> far = {4097, 0, 0, 4096, 0, 0, 4096, 2, 0, 4096, 2, 2};
  Output sphere;
  EXPECT_EQ(sphere.of(A::Sphere_4Point, far), 0);
  EXPECT_EQ(sphere.v[0], 4096);
}

// On whole numbers lines meet exactly, also when they are nearly parallel.
TEST(TwoLines, MeetWhereTheyWereMadeToMeet) {
  RandomGeometry random(53);
  const auto whole = [&random](int reach) {
    return Vec(random.integer(-reach, reach), random.integer(-reach, reach),
               random.integer(-reach, reach));
  };
  for (int i = 0; i < 3000; ++i) {
    const Vec meeting = whole(100);
    const Vec u = whole(i % 2 == 0 ? 9 : 2000);
    const Vec w = i % 2 == 0 ? whole(9) : u + whole(1);
    const Six a = sixOf(meeting - u * static_cast<Real>(random.integer(-3, 3)), u);
    const Six b = sixOf(meeting - w * static_cast<Real>(random.integer(-3, 3)), w);
    const bool parallel = u.cross(w).norm() == 0;
    Output point;
    ASSERT_EQ(point.of(A::Intersection_Line_Line, a, b), parallel ? 0 : 2);
    EXPECT_LE((Vec(point.v.data()) - (parallel ? Vec(7, 7, 7) : meeting)).norm(), 1e-4L);
  }
}

TEST(TwoLines, HaveTheirFeetOnTheCommonPerpendicular) {
  RandomGeometry random(54);
  for (int i = 0; i < 3000; ++i) {
    const Six a = randomSix(random);
    Six b = randomSix(random);
    // Every third pair is nearly parallel.
    if (i % 3 == 0) (directionOf(a) + random.point(0.01)).unit().copyTo(b.data() + 3);
    const Real sine = directionOf(a).cross(directionOf(b)).norm();
    float on_a[3], on_b[3];
    ASSERT_EQ(A::Intersection_Line_Line2(a.data(), b.data(), on_a, on_b), 0);
    const Vec between = Vec(on_b) - Vec(on_a);
    // Feet lie as far as 200 / sine away, where floats are 1e-7 of that apart.
    const Real error = 3e-5L / sine;
    EXPECT_LE(fromLine(Vec(on_a), a), error);
    EXPECT_LE(fromLine(Vec(on_b), b), error);
    EXPECT_LE(std::fabs(between.dot(directionOf(a))), error);
    EXPECT_LE(std::fabs(between.dot(directionOf(b))), error);
    float point[3] = {7, 7, 7};
    EXPECT_EQ(A::Intersection_Line_Line(a.data(), b.data(), point), 1);
    EXPECT_THAT(point, Each(7));
    const XFLine3D2 line_a = recordOf(a);
    const XFLine3D2 line_b = recordOf(b);
    XFPoint middle;
    EXPECT_EQ(F::getIntersectionPoint(line_a, line_b, middle), 1);
    EXPECT_LE((Vec(&middle.x) - (Vec(on_a) + Vec(on_b)) * 0.5L).norm(), 1e-5L / sine);
    XFLine3D2 vertical;
    EXPECT_EQ(F::getVerticalLine(line_a, line_b, vertical), 0);
    EXPECT_LE(gap(vertical.length, between.norm()), 1e-5L / sine);
    EXPECT_LE((Vec(vertical.dir) * vertical.length + between).norm(), 1e-4L / sine);
  }
}

struct LinePair {
  const char* what;
  Six a, b;
  int arrays, records, vertical;
};

TEST(TwoLines, AreToldApartAtTheThresholds) {
  const LinePair cases[] = {
      {"identical", {1, 2, 3, 0, 0, 1}, {1, 2, 3, 0, 0, 1}, 0, -1, -1},
      {"parallel", {0, 0, 0, 0, 0, 1}, {5, 0, 0, 0, 0, -1}, 0, -1, -1},
      {"cross of 1e-12 is not parallel", {0, 0, 0, 0, 0, 1}, {5, 0, 0, 1e-12F, 0, 1}, 2, 0, -2},
      {"volume just below 1e-5", {0, 0, 0, 1, 0, 0}, {0, 0, 0.999e-5F, 0, 1, 0}, 2, 0, -2},
      {"volume just above 1e-5", {0, 0, 0, 1, 0, 0}, {0, 0, 1.001e-5F, 0, 1, 0}, 1, 1, 0},
      {"skew without feet", {0, 0, 0, 0, 0, 1}, {0, 1e9F, 0, 1e-7F, 0, 1}, 1, -1, -1},
  };
  for (const LinePair& c : cases) {
    SCOPED_TRACE(c.what);
    float point[3];
    EXPECT_EQ(A::Intersection_Line_Line(c.a.data(), c.b.data(), point), c.arrays);
    const XFLine3D2 a = recordOf(c.a);
    const XFLine3D2 b = recordOf(c.b);
    XFPoint record(7, 7, 7);
    EXPECT_EQ(F::getIntersectionPoint(a, b, record), c.records);
    EXPECT_EQ(record.z == 7, c.records < 0);
    XFLine3D2 vertical;
    EXPECT_EQ(F::getVerticalLine(a, b, vertical), c.vertical);
    EXPECT_EQ(F::getVerticalLine(b, a, vertical), c.vertical);
  }
  // The sign of the step along the first line.
  const Six backwards = {5, 0, 0, 1, 0, 0};
  const Six across = {-2, 3, 0, 0, 1, 0};
  float point[3];
  EXPECT_EQ(A::Intersection_Line_Line(backwards.data(), across.data(), point), 2);
  EXPECT_EQ(point[0], -2);
  float first[3] = {7, 7, 7}, second[3] = {7, 7, 7};
  EXPECT_EQ(A::Intersection_Line_Line2(backwards.data(), backwards.data(), first, second), 0);
  EXPECT_THAT(first, Each(7));
  EXPECT_THAT(second, Each(7));
  // Only the second line meets a plane with a unit normal; short directions tell the two apart.
  const Six short_x = {0, 0, 0, 5e-4F, 0, 0};
  const Six short_y = {1, 2, 3, 0, 1e-3F, 0};
  EXPECT_EQ(A::Intersection_Line_Line2(short_x.data(), short_y.data(), first, second), 0);
  EXPECT_THAT(first, Each(7));
  EXPECT_LE((Vec(second) - Vec(1, 0, 3)).norm(), 1e-6L);
}

TEST(LineAndPlane, MeetAndProject) {
  RandomGeometry random(55);
  for (int i = 0; i < 3000; ++i) {
    Six line = randomSix(random);
    Six plane = randomSix(random);
    // Lengths other than 1 for the operations that take them.
    const Real slope = directionOf(line).dot(directionOf(plane));
    if (std::fabs(slope) < 0.01L) continue;
    float point[3];
    const Six long_line = sixOf(pointOf(line), directionOf(line) * 3);
    ASSERT_EQ(A::Intersection_Line_Plane(long_line.data(), plane.data(), point), 0);
    EXPECT_LE(std::fabs(fromPlane(Vec(point), plane)), 2e-5L / std::fabs(slope));
    EXPECT_LE(fromLine(Vec(point), line), 2e-5L / std::fabs(slope));

    const Vec p = random.point(50);
    float given[3];
    p.copyTo(given);
    float foot[3];
    EXPECT_EQ(A::Projection_Point_Line(given, line.data(), foot), 0);
    EXPECT_LE(fromLine(Vec(foot), line), 2e-5L);
    EXPECT_LE(std::fabs((Vec(foot) - Vec(given)).dot(directionOf(line))), 2e-5L);
    EXPECT_EQ(A::Projection_Point_Plane(given, plane.data(), foot), 0);
    EXPECT_LE(std::fabs(fromPlane(Vec(foot), plane)), 2e-5L);
    EXPECT_LE((Vec(foot) - Vec(given)).cross(directionOf(plane)).norm(), 2e-5L);

    float projected[6];
    ASSERT_EQ(A::Projection_Line_Plane(line.data(), plane.data(), projected), 0);
    const Vec n = directionOf(plane);
    const Vec shadow = directionOf(line) - n * directionOf(line).dot(n);
    EXPECT_LE(std::fabs(fromPlane(Vec(projected), plane)), 2e-5L);
    // Against the line.
    EXPECT_LE((Vec(projected + 3) + shadow.unit()).norm(), 5e-5L / shadow.norm());
  }
}

TEST(LineAndPlane, FailWithinOneMillionthOfParallel) {
  const float above = std::nextafter(1e-6F, 1.0F);
  const Six plane = {0, 0, 4, 0, 0, 1};
  for (const float slope : {0.0F, 1e-6F, -1e-6F, above, -above}) {
    const Six line = {1, 2, 3, 1, 0, slope};
    const int expected = std::fabs(slope) < 1e-6 ? -1 : 0;
    Output out;
    EXPECT_EQ(out.of(A::Intersection_Line_Plane, line, plane), expected);
    // The other way round: a line along the normal has no projection, planes no common line.
    const Six along = {1, 2, 3, slope, 0, 1};
    EXPECT_EQ(out.of(A::Projection_Line_Plane, along, plane), expected);
    EXPECT_EQ(out.of(A::Intersection_Plane_Plane, along, plane), expected);
  }
  const Six no_normal = {0, 0, 4, 0, 0, 0};
  float foot[3] = {7, 7, 7};
  const float point[3] = {1, 1, 1};
  EXPECT_EQ(A::Projection_Point_Plane(point, no_normal.data(), foot), 0);
  EXPECT_THAT(foot, Each(7));
  // Within 1e-6 of the line's point the foot is that point, else a step along the direction.
  const Six line = {0, 0, 0, 1, 0, 0};
  const float close[3] = {1e-6F, 1e-6F, -1e-6F};
  const float off[3] = {1e-6F, above, 0};
  EXPECT_EQ(A::Projection_Point_Line(close, line.data(), foot), 0);
  EXPECT_EQ(foot[0], 0);
  EXPECT_EQ(A::Projection_Point_Line(off, line.data(), foot), 0);
  EXPECT_EQ(foot[0], 1e-6F);
}

// The equations hold the planes' points where their normals belong, on the left side only.
TEST(TwoPlanes, SolveWithTheirPointsAsCoefficients) {
  RandomGeometry random(56);
  int pinned[3] = {};
  for (int i = 0; i < 1000; ++i) {
    const Six a = randomSix(random);
    const Six b = randomSix(random);
    float line[6];
    ASSERT_EQ(A::Intersection_Plane_Plane(a.data(), b.data(), line), 0);
    const Vec d = directionOf(a).cross(directionOf(b)).unit();
    EXPECT_LE((Vec(line + 3) - d).norm(), 1e-6L);
    const Real size[3] = {std::fabs(d.x), std::fabs(d.y), std::fabs(d.z)};
    const long k = std::max_element(size, size + 3) - size;
    ++pinned[k];
    EXPECT_EQ(line[k], 0.0F);
    EXPECT_EQ(std::signbit(line[k]), k < 2);
    for (const Six* plane : {&a, &b}) {
      const Real right = pointOf(*plane).dot(directionOf(*plane));
      const Real scale = pointOf(*plane).norm() * (Vec(line).norm() + 1);
      EXPECT_LE(gap(pointOf(*plane).dot(Vec(line)), right), 1e-6L * scale);
    }
  }
  EXPECT_THAT(pinned, Each(testing::Gt(100)));
}

}  // namespace
