// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/simplex/plane_fit.h"

#include <array>
#include <atomic>
#include <cmath>
#include <limits>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gsl/gsl_errno.h>
#include <gtest/gtest.h>

namespace zelmo::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using x3dfit::LeastAbsDev;
using x3dfit::LeastSquare;
using x3dfit::XPlaneFit;

using Plane = std::array<double, 4>;
using Points = std::vector<cv::Point3f>;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

TEST(XPlaneFit, LeavesTheParametersAloneBelowThreePoints) {
  const float two_points[] = {0, 0, 0, 1, 2, 3};
  for (const int count : {-1, 0, 1, 2}) {
    SCOPED_TRACE(count);
    Plane plane = {9, 8, 7, 6};
    EXPECT_TRUE(XPlaneFit().Fit(two_points, count, plane.data(), LeastSquare));
    EXPECT_THAT(plane, ElementsAre(9, 8, 7, 6));
  }
  // The descent starts from what the caller left: through the two points and along the third axis
  // there is a plane without any distance.
  Plane plane = {0.6, 0.8, 0.1, 0.0};
  EXPECT_TRUE(XPlaneFit().Fit(two_points, 2, plane.data(), LeastAbsDev));
  EXPECT_NEAR(plane[3], 0.0, 1e-9);
  EXPECT_NEAR(plane[0] + 2 * plane[1] + 3 * plane[2], 0.0, 1e-9);
}

// With two points the start is the caller's plane, here one that no point lies on. Its largest
// component is 0 with its sign, so the step is 0 and the start the result; turned around, the same
// plane descends.
TEST(XPlaneFit, TakesTheStepFromTheSignedComponents) {
  const float two_points[] = {1, 0, 1, 5, 0, 3};
  Plane stuck = {0, 0, -1, 0};
  Plane moving = {0, 0, 1, 0};
  XPlaneFit().Fit(two_points, 2, stuck.data(), LeastAbsDev);
  XPlaneFit().Fit(two_points, 2, moving.data(), LeastAbsDev);
  EXPECT_THAT(stuck, ElementsAre(0, 0, -1, 0));
  EXPECT_NEAR(moving[0] * 1 + moving[2] * 1 + moving[3], 0, 1e-3);
  EXPECT_NEAR(moving[0] * 5 + moving[2] * 3 + moving[3], 0, 1e-3);
}

TEST(XPlaneFit, KeepsTheStartWhereDistancesAreNotFinite) {
  // With two points nothing but the caller's values is the start.
  Plane kept = {0, 0, 2, 1};
  XPlaneFit().Fit({{kNan, 0, 0}, {1, 1, 1}}, kept.data(), LeastAbsDev);
  EXPECT_THAT(kept, ElementsAre(0, 0, 1, 0.5));
}

std::atomic<int> g_handled{0};
void countErrors(const char*, const char*, int, int) { ++g_handled; }

// Without the guard the first fit calls the host's handler (or GSL's, which ends the process); with
// one that is not counted, a thread that ends early hands it back under the others.
TEST(XPlaneFit, KeepsErrorsFromTheHostsHandlerOnAllThreads) {
  gsl_error_handler_t* const before = gsl_set_error_handler(countErrors);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      Points points = {{0, 0, 1}, {9, 0, 1}, {0, 9, 2}, {9, 9, 3}, {4, 4, 2}};
      points[static_cast<std::size_t>(t)].x = kNan;
      Plane plane{};
      for (int i = 0; i < 200; ++i) XPlaneFit().Fit(points, plane.data(), LeastAbsDev);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(g_handled, 0);
  EXPECT_EQ(gsl_set_error_handler(before), &countErrors);
}

// The smallest rectangle around the rhombus lies along one of its sides; only its center and its size
// enter, as 60 times the side's share along it and across it.
TEST(XPlaneFit, CornersBoundThePointsAlongTheLocalAxes) {
  // The first point off the mean gives X: (-30, 0) from the mean (0, 0), so local X is world -X, local
  // Y is world -Y, and (+, +) lies at world (-, -).
  Plane plane = {0, 0, 1, -5};
  const Points cross = {{-30, 0, 7}, {30, 0, 5}, {0, 10, 4}, {0, -10, 5}, {0, 0, 5}};
  std::array<float, 12> corners{};
  XPlaneFit().getFourCorner(cross, plane.data(), corners.data());
  const double side = std::hypot(30.0, 10.0);
  const float a = std::fabs(corners[0]);
  const float b = std::fabs(corners[1]);
  EXPECT_NEAR(std::max(a, b), 60.0 * 30.0 / side / 2, 1e-4);
  EXPECT_NEAR(std::min(a, b), 60.0 * 10.0 / side / 2, 1e-4);
  EXPECT_THAT(corners, testing::Pointwise(testing::FloatNear(1e-4F),
                                          {-a, -b, 5.F, a, -b, 5.F, a, b, 5.F, -a, b, 5.F}));
  std::array<float, 12> by_array{};
  XPlaneFit().getFourCorner(&cross[0].x, 5, plane.data(), by_array.data());
  EXPECT_EQ(by_array, corners);
}

// A speck of 0.012 by 0.004 along the world's axes: seen from its mean no point is far enough to give
// X, so the frame lies along the world's axes (X = y for the normal x) and the corners are the speck's.
TEST(XPlaneFit, CornersOfPointsWithoutExtentUseAnAxisOfTheWorld) {
  struct Case {
    Plane plane;
    std::array<int, 3> order;  // world axes of local X, local Y and the normal
  };
  for (const auto& [given, order] : {Case{{0, 0, 1, -5}, {0, 1, 2}}, {{1, 0, 0, -5}, {1, 2, 0}}}) {
    Points speck(4);
    for (std::size_t i = 0; i < 4; ++i) {
      float* p = &speck[i].x;
      p[order[0]] = i % 2 == 0 ? 0.994F : 1.006F;
      p[order[1]] = i < 2 ? 0.998F : 1.002F;
      p[order[2]] = 5;
    }
    Plane plane = given;
    std::array<float, 12> corners{};
    XPlaneFit().getFourCorner(speck, plane.data(), corners.data());
    const double a = corners[order[0]] - 1.0;
    const double b = corners[order[1]] - 1.0;
    EXPECT_NEAR(std::max(a, b), 0.006, 1e-6);
    EXPECT_NEAR(std::min(a, b), 0.002, 1e-6);
  }
}

TEST(XPlaneFit, CornersStayWithoutAFrame) {
  Plane plane = {0, 0, 1, -5};
  std::array<float, 12> corners{};
  corners.fill(9);
  Plane nowhere{};
  XPlaneFit().getFourCorner({{1, 1, 5}, {2, 1, 5}, {1, 2, 5}}, nowhere.data(), corners.data());
  XPlaneFit().getFourCorner({{1, 1, kNan}, {2, 1, 5}, {1, 2, 5}}, plane.data(), corners.data());
  EXPECT_THAT(corners, Each(9.0F));
  XPlaneFit().getFourCorner({}, plane.data(), corners.data());
  EXPECT_THAT(corners, Each(0.0F));
}

}  // namespace
}  // namespace zelmo::test
