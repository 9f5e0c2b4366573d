// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "support/long_double_geometry.h"
#include "zelmo/internal/axis_extent.h"
#include "zelmo/internal/lanes.h"
#include "zelmo/internal/objective.h"
#include "zelmo/internal/regression.h"
#include "zelmo/internal/residuals.h"

namespace zelmo::internal {
namespace {

ZELMO_MULTIVERSION double widened(const PointView& points, const SphereDeviation& sphere) {
  return foldSquareSum(points, sphere);
}
// The same fold, left to what every processor has.
double plain(const PointView& points, const SphereDeviation& sphere) {
  return foldSquareSum(points, sphere);
}

TEST(Lanes, GiveTheSameBitsInEveryWidthAndTheRightSum) {
  std::mt19937 engine(11);
  std::uniform_real_distribution<float> coordinate(-100, 100);
  std::vector<float> data(3 * 1003);
  for (float& value : data) value = coordinate(engine);
  const SphereDeviation sphere{1.5, -2.5, 0.25, 40};
  for (const int count : {0, 7, 1003}) {
    const PointView points(data.data(), count);
    long double expected = 0;
    for (int i = 0; i < count; ++i) {
      const auto p = test::Vec(points.at(i)) - test::Vec(1.5L, -2.5L, 0.25L);
      expected += (p.norm() - 40) * (p.norm() - 40);
    }
    EXPECT_EQ(widened(points, sphere), plain(points, sphere));
    EXPECT_LE(test::gap(widened(points, sphere), expected), 1e-12L * expected) << count;
  }
}

// Point 8 goes to the lane of point 0.
TEST(Lanes, PassANanOverInTheLargest) {
  float data[27] = {-5};
  data[24] = std::nanf("");
  EXPECT_EQ(foldMaxAbs(PointView(data, 9), PlaneDeviation{1, 0, 0, 0}), 5.0);
}

// 0.1f less 30000.25f has no place in a float: the two roundings differ.
TEST(PrincipalAxes, FormTheOffsetsInTheAskedPrecision) {
  const float data[] = {0.1F, 0, 0};
  const cv::Vec3d origin(30000.25, 0, 0);
  const double in_double = 0.1F - 30000.25, in_float = static_cast<float>(in_double);
  ASSERT_NE(in_double, in_float);
  const PointView point(data, 1);
  EXPECT_DOUBLE_EQ(scatterAbout(point, origin)(0, 0), in_double * in_double);
  EXPECT_DOUBLE_EQ(scatterAbout(point, origin, OffsetRounding::ToFloat)(0, 0), in_float * in_float);
}

// Points that float holds exactly, on a sphere of radius 25 far away.
TEST(AlgebraicSphere, RecoversASphereAndHasNoneBelowFourPoints) {
  const std::vector<cv::Point3f> points = {
      {825, -300, 90}, {800, -275, 90}, {800, -300, 115}, {815, -280, 90}, {793, -300, 114}};
  const auto sphere = algebraicSphere(PointView(points));
  ASSERT_TRUE(sphere);
  EXPECT_LT(cv::norm(sphere->center - cv::Vec3d(800, -300, 90)), 1e-9);
  EXPECT_NEAR(sphere->radius, 25, 1e-9);
  EXPECT_FALSE(algebraicSphere(PointView(&points[0].x, 3)));
  EXPECT_FALSE(regressionPlane(PointView(&points[0].x, 2)));
  const auto flat = algebraicSphere(PointView({{0, 0, 0}, {2, 0, 0}, {0, 2, 0}, {2, 2, 0}}));
  ASSERT_TRUE(flat);
  EXPECT_EQ(flat->center, cv::Vec3d(1, 1, 0));
  EXPECT_EQ(flat->radius, 0);
}

// More points than lanes.
TEST(AlgebraicCircle, RecoversACircleAndHasNoneWithoutPointsOrWithANan) {
  const auto circle = algebraicCircle(
      PlanarView({{8, -2}, {-2, -2}, {3, 3}, {3, -7}, {6, 2}, {6, -6}, {0, 2}, {0, -6}, {7, 1}}));
  ASSERT_TRUE(circle);
  EXPECT_LT(std::hypot(circle->cx - 3, circle->cy + 2), 1e-12);
  EXPECT_NEAR(circle->radius, 5, 1e-12);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_FALSE(algebraicCircle(PlanarView(nullptr, 0)));
  EXPECT_FALSE(algebraicCircle(PlanarView({{nan, 0}, {1, 0}, {0, 1}, {1, 1}})));
}

TEST(AlgebraicCircle, OfTheFirstHalfReadsNoPointBehindIt) {
  for (const std::size_t count : {10U, 11U}) {
    std::vector<cv::Point2f> points;
    for (std::size_t i = 0; i < count; ++i) {
      const float x = static_cast<float>(i);
      points.emplace_back(x, x * x);
    }
    const auto radius = [&] {
      return algebraicCircle(PlanarView(points), SummedPoints::FirstHalf)->radius;
    };
    const double half = radius();
    points[(count + 1) / 2] = {77, 99};
    EXPECT_EQ(radius(), half);
    points[(count + 1) / 2 - 1] = {77, 99};
    EXPECT_NE(radius(), half);
  }
}

TEST(AxisExtent, SpansTheParametersAndCountsNearPointsAsZero) {
  const float data[] = {4, 9, 0, 7, -3, 0, 5.0000005F, 0, 2};
  const AxisExtent extent = axisExtent(PointView(data, 3), {5, 0, 2}, {2, 0, 0});
  EXPECT_DOUBLE_EQ(extent.low, -2);
  EXPECT_DOUBLE_EQ(extent.high, 4);
  const auto high_of = [](const cv::Point3f& p, const cv::Vec3f& origin, const cv::Vec3d& u,
                          OffsetRounding rounding = OffsetRounding::ToFloat) {
    return axisExtent(PointView(&p.x, 1), origin, u, rounding).high;
  };
  // Alone, a point within 1e-6 stands at 0, and one just beyond in any coordinate does not.
  EXPECT_EQ(high_of({1e-7F, 1e-7F, 1e-7F}, {0, 0, 0}, {0, 1, 0}), 0.0);
  EXPECT_EQ(high_of({2e-6F, 1e-7F, 1e-7F}, {0, 0, 0}, {1, 0, 0}), 2e-6F);
  EXPECT_EQ(high_of({1e-7F, 2e-6F, 1e-7F}, {0, 0, 0}, {0, 1, 0}), 2e-6F);
  EXPECT_EQ(high_of({1e-7F, 1e-7F, 2e-6F}, {0, 0, 0}, {0, 0, 1}), 2e-6F);
  // A float offset loses what a double one keeps.
  const cv::Vec3f far(-4096, 0, 0);
  EXPECT_EQ(high_of({1e-3F, 0, 0}, far, {1, 0, 0}), 1e-3F + 4096.0F);
  EXPECT_EQ(high_of({1e-3F, 0, 0}, far, {1, 0, 0}, OffsetRounding::None), 1e-3F + 4096.0);
  EXPECT_EQ(axisExtent({}, {0, 0, 0}, {1, 0, 0}).low, 1e10);
  EXPECT_EQ(axisExtent({}, {0, 0, 0}, {1, 0, 0}).high, -1e10);
}

}  // namespace
}  // namespace zelmo::internal
