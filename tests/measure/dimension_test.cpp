// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "support/long_double_geometry.h"
#include "zelmo/measure/feature_dimension.h"
#include "zelmo/measure/geo_dimension.h"

using zelmo::test::gap;
using zelmo::test::RandomGeometry;
using zelmo::test::Real;
using zelmo::test::Vec;

namespace {

using ArrayDimension = xgeomeasure::XGeoDimension;
using RecordDimension = xgeofeature::XGeoDimension;
using xgeofeature::XDistanceAttributes;
using xgeofeature::XFLine3D2;
using xgeofeature::XFPlane;
using xgeofeature::XFPoint;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr Real kPi = 3.14159265358979323846L;

TEST(ArrayDimension, EqualsItsDefinitionInLongDouble) {
  RandomGeometry random(31);
  for (int i = 0; i < 3000; ++i) {
    float p[3], line[6], other[6];
    random.point(100).copyTo(p);
    for (float* array : {line, other}) {
      random.point(100).copyTo(array);
      (random.direction() * random.number(0.1, 1)).copyTo(array + 3);
    }
    // Every second pair is nearly parallel.
    if (i % 2 == 0) (Vec(line + 3) + random.point(1e-4)).copyTo(other + 3);
    const Vec v = Vec(p) - Vec(line), d(line + 3);
    EXPECT_LE(gap(ArrayDimension::calcDistance_Point2Point(p, line), v.norm()), 1e-11);
    EXPECT_LE(gap(ArrayDimension::calcDistance_Point2Line(p, line), v.cross(d).norm()), 1e-11);
    EXPECT_LE(gap(ArrayDimension::calcDistance_Point2Plane(p, line), std::fabs(v.dot(d))), 1e-11);
    const Real cosine = d.dot(Vec(other + 3));
    const double angle = static_cast<double>(std::acos(cosine) * 180 / kPi);
    for (const double degrees : {ArrayDimension::calcAngle_Line_Line(line, other),
                                 ArrayDimension::calcAngle_Line_Plane(line, other),
                                 ArrayDimension::calcAngle_Plane_Plane(line, other)}) {
      EXPECT_LE(gap(degrees, angle), 1e-6);
    }
  }
}

TEST(ArrayDimension, LinePointItselfEndsAtOneThousandth) {
  const float line[6] = {0, 0, 0, 1, 0, 0};
  const float near[3] = {0.0009F, -0.0009F, 0.0009F};
  EXPECT_EQ(ArrayDimension::calcDistance_Point2Line(near, line), 0.0);
  for (int axis = 0; axis < 3; ++axis) {
    float off[3] = {0.0009F, -0.0009F, 0.0009F};
    // The float of 0.001 lies above it.
    off[axis] = axis == 1 ? -0.001F : 0.001F;
    EXPECT_GT(ArrayDimension::calcDistance_Point2Line(off, line), 0.0012) << axis;
  }
}

TEST(ArrayDimension, AnglesOutsideTheArcCosine) {
  struct Case {
    float second;
    double degrees;
  };
  for (const Case& c : {Case{1, 0}, Case{1.0000001F, 0}, Case{-1, 180}, Case{-1.0000001F, 180},
                        Case{0, 90}, Case{kNaN, 180}}) {
    const float line[6] = {0, 0, 0, 0, 0, 1};
    const float other[6] = {7, 7, 7, 0, 0, c.second};
    EXPECT_DOUBLE_EQ(ArrayDimension::calcAngle_Line_Line(line, other), c.degrees) << c.second;
  }
}

TEST(RecordDimension, MeasuresToTheFoot) {
  RandomGeometry random(32);
  for (int i = 0; i < 1000; ++i) {
    float p[3], o[3], d[3];
    random.point(100).copyTo(p);
    random.point(100).copyTo(o);
    random.direction().copyTo(d);
    const Vec v = Vec(p) - Vec(o);
    XFPoint foot;
    XDistanceAttributes distance;
    const auto expectTo = [&](const Vec& to, Real length) {
      EXPECT_LE((Vec(&foot.x) - to).norm(), 5e-5L);
      EXPECT_LE(gap(distance.distance, length), 5e-5L);
      const Vec apart(std::fabs(p[0] - to.x), std::fabs(p[1] - to.y), std::fabs(p[2] - to.z));
      EXPECT_LE((Vec(distance.dx, distance.dy, distance.dz) - apart).norm(), 9e-5L);
    };
    EXPECT_EQ(RecordDimension::Distance(XFPoint(p), XFPoint(o), distance), 0);
    foot = XFPoint(o);
    expectTo(Vec(o), v.norm());
    EXPECT_EQ(RecordDimension::Distance(XFPoint(p), XFLine3D2(o, d, 1), foot, distance), 0);
    expectTo(Vec(o) + Vec(d) * v.dot(Vec(d)), v.cross(Vec(d)).norm());
    EXPECT_EQ(RecordDimension::Distance(XFPoint(p), XFPlane(o, d), foot, distance), 0);
    expectTo(Vec(p) - Vec(d) * v.dot(Vec(d)), std::fabs(v.dot(Vec(d))));
  }
}

// Squares and their sum in float: in double the last digit would differ.
TEST(RecordDimension, SumsItsSquaresInFloat) {
  XDistanceAttributes distance;
  RecordDimension::Distance(XFPoint(-4813, 1.5F, 0), XFPoint(0, 0, -0.875F), distance);
  EXPECT_EQ(distance.distance, 4813.0F);
  RecordDimension::Distance(XFPoint(1e30F, 0, 0), XFPoint(), distance);
  EXPECT_EQ(distance.distance, std::numeric_limits<float>::infinity());
}

TEST(RecordDimension, AnglesAreOfStoredDirections) {
  RandomGeometry random(33);
  for (int i = 0; i < 1000; ++i) {
    float u[3], n[3];
    random.direction().copyTo(u);
    random.direction().copyTo(n);
    const XFLine3D2 line(n, u, 20), other(u, n, 20);
    const XFPlane plane(n, n);
    const double between = static_cast<double>(std::acos(Vec(u).dot(Vec(n))));
    EXPECT_NEAR(RecordDimension::Angle(line, other), between, 1e-6);
    EXPECT_NEAR(RecordDimension::Angle(XFPlane(u, u), plane), between, 1e-6);
    const double slope = std::fabs(static_cast<double>(kPi) / 2 - between);
    // The shadow's direction comes from ends rounded to float, and the arc cosine is steep at 1.
    EXPECT_NEAR(RecordDimension::Angle(line, plane), slope, 1e-3);
    EXPECT_EQ(RecordDimension::Angle(plane, line), RecordDimension::Angle(line, plane));
  }
  struct Case {
    const char* what;
    float x, z;
    double line_line, line_plane;  // to the z axis, and to the plane square to it
  };
  const double half_pi = static_cast<double>(kPi / 2);
  for (const Case& c :
       {Case{"along the normal", 0, 1, 0, half_pi}, Case{"against it", 0, -1, 2 * half_pi, half_pi},
        Case{"too long by a rounding", 0, 1.0000001F, 0, half_pi},
        Case{"too long against it", 0, -1.0000001F, 2 * half_pi, half_pi},
        Case{"in the plane", 1, 0, half_pi, 0},
        Case{"in the plane the other way", -1, 0, half_pi, 0},
        Case{"1e-6 off the normal", 1e-6F, 1, 0, half_pi}}) {
    const float o[3] = {1, 2, 3}, z[3] = {0, 0, 1}, d[3] = {c.x, 0, c.z};
    EXPECT_DOUBLE_EQ(RecordDimension::Angle(XFLine3D2(o, d, 1), XFLine3D2(o, z, 1)), c.line_line)
        << c.what;
    EXPECT_DOUBLE_EQ(RecordDimension::Angle(XFLine3D2(o, d, 1), XFPlane(o, z)), c.line_plane)
        << c.what;
  }
}

}  // namespace
