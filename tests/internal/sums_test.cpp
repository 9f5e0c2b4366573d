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

TEST(AxisExtent, SpansTheParametersAndCountsNearPointsAsZero) {
  const float data[] = {4, 9, 0, 7, -3, 0, 5.0000005F, 0, 2};
  const AxisExtent extent = axisExtent(PointView(data, 3), {5, 0, 2}, {2, 0, 0});
  EXPECT_DOUBLE_EQ(extent.low, -2);
  EXPECT_DOUBLE_EQ(extent.high, 4);
  // Alone, a point within 1e-6 stands at 0, and one just beyond does not.
  for (const auto& [x, high] : {std::pair{1e-7F, 0.0F}, {2e-6F, 2e-6F}}) {
    const float near[] = {x, 1e-7F, 1e-7F};
    EXPECT_EQ(axisExtent(PointView(near, 1), {0, 0, 0}, {1, 0, 0}).high, high);
  }
  EXPECT_EQ(axisExtent({}, {0, 0, 0}, {1, 0, 0}).low, 1e10);
  EXPECT_EQ(axisExtent({}, {0, 0, 0}, {1, 0, 0}).high, -1e10);
}

}  // namespace
}  // namespace zelmo::internal
