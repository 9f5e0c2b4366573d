// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "support/long_double_geometry.h"
#include "zelmo/measure/geo_dimension.h"

using zelmo::test::gap;
using zelmo::test::RandomGeometry;
using zelmo::test::Real;
using zelmo::test::Vec;

namespace {

using ArrayDimension = xgeomeasure::XGeoDimension;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr Real kPi = 3.14159265358979323846L;

TEST(ArrayDimension, EqualsItsDefinitionInLongDouble) {
  RandomGeometry random(31);
  for (int i = 0; i < 3000; ++i) {
    float p[3];
    float line[6];
    float other[6];
    random.point(100).copyTo(p);
    for (float* array : {line, other}) {
      random.point(100).copyTo(array);
      (random.direction() * random.number(0.1, 1)).copyTo(array + 3);
    }
    // Every second pair is nearly parallel.
    if (i % 2 == 0) (Vec(line + 3) + random.point(1e-4)).copyTo(other + 3);
    const Vec v = Vec(p) - Vec(line);
    const Vec d(line + 3);
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

}  // namespace
