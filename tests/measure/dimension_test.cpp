// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>

#include <gtest/gtest.h>

#include "measure/random_features.h"
#include "zelmo/measure/feature_dimension.h"
#include "zelmo/measure/geo_dimension.h"

using namespace zelmo::test;  // NOLINT

namespace {

using Arrays = xgeomeasure::XGeoDimension;
using Records = xgeofeature::XGeoDimension;
using xgeofeature::XDistanceAttributes;
using xgeofeature::XFLine3D2;
using xgeofeature::XFPlane;
using xgeofeature::XFPoint;

const Real kPi = std::acos(-1.0L);

TEST(Dimension, OfBothFormsEqualsItsDefinitionInLongDouble) {
  RandomGeometry random(31);
  for (int i = 0; i < 3000; ++i) {
    const Floats p(random.point(100)), o(random.point(100));
    const Floats u(random.direction()), n(random.direction());
    const Vec v = Vec(p.v) - Vec(o.v), d(u.v);
    const Real along = v.dot(d);

    // Of arrays: a direction is not made unit; every second pair is nearly parallel.
    const Six a = sixOf(Vec(o.v), d * random.number(0.1, 0.99));
    const Vec scaled(&a[3]), other = i % 2 == 0 ? scaled + random.point(1e-4) : Vec(n.v);
    const Six b = sixOf(d, other);
    const Real point = v.norm(), line = v.cross(scaled).norm(), plane = std::fabs(v.dot(scaled));
    EXPECT_LE(gap(Arrays::calcDistance_Point2Point(p, a.data()), point), 1e-11);
    EXPECT_LE(gap(Arrays::calcDistance_Point2Line(p, a.data()), line), 1e-11);
    EXPECT_LE(gap(Arrays::calcDistance_Point2Plane(p, a.data()), plane), 1e-11);
    const Real degrees = std::acos(scaled.dot(Vec(&b[3]))) * 180 / kPi;
    for (auto* angle : {Arrays::calcAngle_Line_Line, Arrays::calcAngle_Line_Plane,
                        Arrays::calcAngle_Plane_Plane}) {
      EXPECT_LE(gap(angle(a.data(), b.data()), degrees), 1e-6);
    }

    // Of records: the way to the foot, which may be the point itself.
    XFPoint foot(o);
    XDistanceAttributes distance;
    const auto expectTo = [&](int status, const Vec& to, Real length) {
      EXPECT_EQ(status, 0);
      EXPECT_LE((at(foot) - to).norm(), 5e-5L);
      EXPECT_LE(gap(distance.distance, length), 5e-5L);
      const Vec way = Vec(p.v) - to;
      const Vec apart(std::fabs(way.x), std::fabs(way.y), std::fabs(way.z));
      EXPECT_LE((Vec(distance.dx, distance.dy, distance.dz) - apart).norm(), 9e-5L);
    };
    const XFLine3D2 axis(o, u, 20), second(p, n, 20);
    const XFPlane level(o, u), slope(o, n);
    const Vec on_axis = Vec(o.v) + d * along, on_level = Vec(p.v) - d * along;
    expectTo(Records::Distance(XFPoint(p), foot, distance), Vec(o.v), v.norm());
    foot = XFPoint(p);
    expectTo(Records::Distance(foot, axis, foot, distance), on_axis, v.cross(d).norm());
    expectTo(Records::Distance(XFPoint(p), level, foot, distance), on_level, std::fabs(along));
    const double angle = static_cast<double>(std::acos(d.dot(Vec(n.v))));
    EXPECT_NEAR(Records::Angle(axis, second), angle, 1e-6);
    EXPECT_NEAR(Records::Angle(level, slope), angle, 1e-6);
    // The shadow's direction comes from ends rounded to float, and the arc cosine is steep at 1.
    EXPECT_NEAR(Records::Angle(axis, slope), std::fabs(static_cast<double>(kPi) / 2 - angle), 1e-3);
    EXPECT_EQ(Records::Angle(slope, axis), Records::Angle(axis, slope));
  }
}

TEST(ArrayDimension, LinePointItselfEndsAtOneThousandth) {
  const auto distance = [](const Vec& p) {
    return Arrays::calcDistance_Point2Line(Floats(p), sixOf({0, 0, 0}, {1, 0, 0}).data());
  };
  EXPECT_EQ(distance({0.0009L, -0.0009L, 0.0009L}), 0.0);
  // The float of 0.001 lies above it.
  EXPECT_GT(distance({0.001L, -0.0009L, 0.0009L}), 0.0012);
  EXPECT_GT(distance({0.0009L, -0.0009L, 0.001L}), 0.0012);
}

TEST(Dimension, TakesAnglesOutsideTheArcCosine) {
  for (const auto& [second, degrees] :
       {std::pair(1.0000001F, 0.0), {-1.0000001F, 180}, {0, 90}, {NAN, 180}}) {
    const float line[6] = {0, 0, 0, 0, 0, 1}, other[6] = {7, 7, 7, 0, 0, second};
    EXPECT_DOUBLE_EQ(Arrays::calcAngle_Line_Line(line, other), degrees) << second;
    if (!(std::fabs(second) > 1)) continue;
    const XFLine3D2 along(line, line + 3, 1), too_long(other, other + 3, 1);
    const double radians = degrees * static_cast<double>(kPi) / 180;
    EXPECT_DOUBLE_EQ(Records::Angle(too_long, along), radians) << second;
    EXPECT_DOUBLE_EQ(Records::Angle(too_long, XFPlane(line, line + 3)),
                     static_cast<double>(kPi / 2));
  }
}

// Squares and their sum in float: in double the last digit would differ.
TEST(RecordDimension, SumsItsSquaresInFloat) {
  XDistanceAttributes distance;
  Records::Distance(XFPoint(-4813, 1.5F, 0), XFPoint(0, 0, -0.875F), distance);
  EXPECT_EQ(distance.distance, 4813.0F);
}

}  // namespace
