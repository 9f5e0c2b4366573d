// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/regression.h"

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "zelmo/internal/axis_extent.h"

namespace zelmo::internal {
namespace {

// A box of corners around a far point: the axes of spread are its sides, and the sums of squares are
// 8 times the squared half sides.
TEST(PrincipalAxes, AreTheSidesOfABoxFarAway) {
  std::vector<cv::Point3f> box;
  for (int i = 0; i < 8; ++i) {
    box.emplace_back(1000.0F + ((i & 1) != 0 ? 2.0F : -2.0F),
                     -500.0F + ((i & 2) != 0 ? 8.0F : -8.0F), ((i & 4) != 0 ? 4.0F : -4.0F));
  }
  for (const auto rounding : {OffsetRounding::None, OffsetRounding::ToFloat}) {
    const PrincipalAxes axes = principalAxes(PointView(box), rounding);
    EXPECT_EQ(axes.centroid, cv::Vec3f(1000, -500, 0));
    const double squares[] = {64, 16, 4};
    const int along[] = {1, 2, 0};
    for (int i = 0; i < 3; ++i) {
      EXPECT_NEAR(axes.value(i), 8 * squares[i], 1e-9);
      EXPECT_NEAR(std::fabs(axes.axis(i)[along[i]]), 1.0, 1e-12);
    }
  }
}

// 0.1f less 30000.25f has no place in a float: the two roundings differ.
TEST(PrincipalAxes, FormTheOffsetsInTheAskedPrecision) {
  const float data[] = {0.1F, 0, 0, 0.2F, 0, 0};
  const PointView points(data, 2);
  const cv::Vec3d origin(30000.25, 0, 0);
  double in_double = 0, in_float = 0;
  for (const float x : {0.1F, 0.2F}) {
    in_double += (x - 30000.25) * (x - 30000.25);
    const float rounded = x - 30000.25F;
    in_float += static_cast<double>(rounded) * rounded;
  }
  ASSERT_NE(in_double, in_float);
  EXPECT_DOUBLE_EQ(scatterAbout(points, origin)(0, 0), in_double);
  EXPECT_DOUBLE_EQ(scatterAbout(points, origin, OffsetRounding::ToFloat)(0, 0), in_float);
}

TEST(AlgebraicSphere, RecoversAPatchFarAwayAndHasNoneBelowFourPoints) {
  std::vector<cv::Point3f> patch;
  for (int i = 0; i < 5; ++i) {
    for (int k = 0; k < 9; ++k) {
      const double polar = 0.2 + 0.15 * i;
      const double turn = 0.7 * k;
      patch.emplace_back(static_cast<float>(800 + 25 * std::sin(polar) * std::cos(turn)),
                         static_cast<float>(-300 + 25 * std::sin(polar) * std::sin(turn)),
                         static_cast<float>(90 + 25 * std::cos(polar)));
    }
  }
  const auto sphere = algebraicSphere(PointView(patch));
  ASSERT_TRUE(sphere);
  // A float near 800 is known to 3e-5, and a cap magnifies that by less than ten.
  EXPECT_NEAR(sphere->center[0], 800, 3e-4);
  EXPECT_NEAR(sphere->center[1], -300, 3e-4);
  EXPECT_NEAR(sphere->center[2], 90, 3e-4);
  EXPECT_NEAR(sphere->radius, 25, 3e-4);
  EXPECT_FALSE(algebraicSphere(PointView(&patch[0].x, 3)));
  EXPECT_FALSE(regressionPlane(PointView(&patch[0].x, 2)));
  const auto flat = algebraicSphere(PointView({{0, 0, 0}, {2, 0, 0}, {0, 2, 0}, {2, 2, 0}}));
  ASSERT_TRUE(flat);
  EXPECT_EQ(flat->center, cv::Vec3d(1, 1, 0));
  EXPECT_EQ(flat->radius, 0);
}

std::vector<cv::Point2f> arc(int count) {
  std::vector<cv::Point2f> points;
  for (int i = 0; i < count; ++i) {
    points.emplace_back(static_cast<float>(3 + 5 * std::cos(0.6 * i)),
                        static_cast<float>(-2 + 5 * std::sin(0.6 * i)));
  }
  return points;
}

TEST(AlgebraicCircle, RecoversACircleAndHasNoneWithoutPointsOrWithANan) {
  const auto points = arc(11);
  const auto circle = algebraicCircle(PlanarView(points));
  ASSERT_TRUE(circle);
  EXPECT_NEAR(circle->cx, 3, 1e-6);
  EXPECT_NEAR(circle->cy, -2, 1e-6);
  EXPECT_NEAR(circle->radius, 5, 1e-6);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_FALSE(algebraicCircle(PlanarView(nullptr, 0)));
  EXPECT_FALSE(algebraicCircle(PlanarView({{nan, 0}, {1, 0}, {0, 1}, {1, 1}})));
}

TEST(AlgebraicCircle, OfTheFirstHalfReadsNoPointBehindIt) {
  for (const int count : {10, 11}) {
    auto points = arc(count);
    const auto radius = [&] {
      return algebraicCircle(PlanarView(points), SummedPoints::FirstHalf)->radius;
    };
    const double half = radius();
    const auto behind = static_cast<std::size_t>(count - count / 2);
    points[behind] = {77, 99};
    EXPECT_EQ(radius(), half);
    points[behind - 1] = {77, 99};
    EXPECT_NE(radius(), half);
  }
}

TEST(AxisExtent, SpansTheParametersAndCountsNearPointsAsZero) {
  const float data[] = {4, 9, 0, 7, -3, 0, 5.0000005F, 0, 2};
  const AxisExtent extent = axisExtent(PointView(data, 3), {5, 0, 2}, {2, 0, 0});
  EXPECT_DOUBLE_EQ(extent.low, -2);
  EXPECT_DOUBLE_EQ(extent.high, 4);
  const auto highOf = [](const std::vector<float>& p, const cv::Vec3f& origin, const cv::Vec3d& u,
                         OffsetRounding rounding) {
    return axisExtent(PointView(p.data(), 1), origin, u, rounding).high;
  };
  const auto in_float = OffsetRounding::ToFloat;
  // Alone, a point within 1e-6 stands at 0, and one just beyond does not.
  EXPECT_EQ(highOf({5, 1e-7F, 2}, {5, 0, 2}, {0, 1, 0}, in_float), 0.0);
  EXPECT_EQ(highOf({5, 2e-6F, 2}, {5, 0, 2}, {0, 1, 0}, in_float), 2e-6F);
  // A float offset loses what a double one keeps.
  const cv::Vec3f far(-4096, 0, 0);
  EXPECT_EQ(highOf({1e-3F, 0, 0}, far, {1, 0, 0}, in_float), 1e-3F + 4096.0F);
  EXPECT_EQ(highOf({1e-3F, 0, 0}, far, {1, 0, 0}, OffsetRounding::None), 1e-3F + 4096.0);
  EXPECT_EQ(axisExtent({}, {0, 0, 0}, {1, 0, 0}).low, 1e10);
  EXPECT_EQ(axisExtent({}, {0, 0, 0}, {1, 0, 0}).high, -1e10);
}

}  // namespace
}  // namespace zelmo::internal
