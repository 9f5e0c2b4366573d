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

#include "support/parameter_names.h"
#include "support/reference_fits.h"

namespace zelmo::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using x3dfit::Chebyshev;
using x3dfit::FitMethod;
using x3dfit::LeastAbsDev;
using x3dfit::LeastSquare;
using x3dfit::XPlaneFit;

using Plane = std::array<double, 4>;
using Points = std::vector<cv::Point3f>;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

cv::Point3f onto(const Plane& plane, double x, double y, double height = 0.0) {
  const cv::Vec3d n(plane[0], plane[1], plane[2]);
  const cv::Vec3d u = cv::normalize(n.cross(std::fabs(n[0]) < 0.9 ? cv::Vec3d(1, 0, 0)  //
                                                                  : cv::Vec3d(0, 1, 0)));
  const cv::Vec3d p = n * (height - plane[3]) + u * x + n.cross(u) * y;
  return {static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2])};
}

// A plate of 9 points, the middle one raised. Of all planes the flat one has the least sum of
// absolute distances (h), the one at h / 9 the least squares, the one at h / 2 the least largest.
constexpr double kRaise = 0.02;
constexpr Plane kTilted = {0.6, -0.64, 0.48, -12.5};

Points raisedPlate(const Plane& plane) {
  Points points;
  for (const double x : {-10.0, 0.0, 10.0}) {
    for (const double y : {-10.0, 0.0, 10.0}) {
      points.push_back(onto(plane, x, y, x == 0 && y == 0 ? kRaise : 0.0));
    }
  }
  return points;
}

struct MethodCase {
  const char* name;
  FitMethod method;
  double height;     // of the best plane over the plate, in units of the raise
  double tolerance;  // how far the simplex stalls from it

  friend void PrintTo(const MethodCase& c, std::ostream* out) { *out << c.name; }
};

class XPlaneFitMethod : public testing::TestWithParam<MethodCase> {};

TEST_P(XPlaneFitMethod, ReachesItsOwnOptimum) {
  const Points points = raisedPlate(kTilted);
  Plane plane{};
  EXPECT_TRUE(XPlaneFit().Fit(points, plane.data(), GetParam().method));
  EXPECT_NEAR(std::hypot(plane[0], plane[1], plane[2]), 1.0, 1e-12);
  const cv::Vec3d fitted(plane[0], plane[1], plane[2]);
  const double along = fitted.dot({kTilted[0], kTilted[1], kTilted[2]});
  EXPECT_NEAR(std::fabs(along), 1.0, 1e-6);
  const cv::Point3f below = onto(kTilted, 0, 0);
  const double height = -(fitted.dot({below.x, below.y, below.z}) + plane[3]) / along;
  EXPECT_NEAR(height / kRaise, GetParam().height, GetParam().tolerance);
}

INSTANTIATE_TEST_SUITE_P(Method, XPlaneFitMethod,
                         testing::Values(MethodCase{"LeastSquare", LeastSquare, 1.0 / 9, 1e-3},
                                         MethodCase{"LeastAbsDev", LeastAbsDev, 0.0, 1e-2},
                                         MethodCase{"Chebyshev", Chebyshev, 0.5, 1e-2},
                                         MethodCase{"UnknownRunsLeastAbsDev",
                                                    static_cast<FitMethod>(7), 0.0, 1e-2}),
                         caseName<MethodCase>);

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
      Points points = raisedPlate(kTilted);
      points[static_cast<std::size_t>(t)].x = kNan;
      Plane plane{};
      for (int i = 0; i < 200; ++i) XPlaneFit().Fit(points, plane.data(), LeastAbsDev);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(g_handled, 0);
  EXPECT_EQ(gsl_set_error_handler(before), &countErrors);
}

TEST(XPlaneFit, CornersBoundThePointsAlongTheLocalAxes) {
  // The first point off the mean gives X: (-30, 0) from the mean (0, 0).
  const Plane plane = {0, 0, 1, -5};
  const Points cross = {{-30, 0, 7}, {30, 0, 5}, {0, 10, 4}, {0, -10, 5}, {0, 0, 5}};
  std::array<float, 12> corners{};
  Plane p = plane;
  XPlaneFit().getFourCorner(cross, p.data(), corners.data());
  // The smallest rectangle around the rhombus lies along one of its sides; only its center and its
  // size enter: the long side by the product with the side's direction, the short one across it.
  const double side = std::hypot(30.0, 10.0);
  const float longer = static_cast<float>((60.0 * 30.0 + 0.0) / side / 2);
  const float shorter = static_cast<float>((60.0 * 10.0) / side / 2);
  const float half[2] = {std::fabs(corners[0]), std::fabs(corners[1])};
  EXPECT_NEAR(std::max(half[0], half[1]), longer, 1e-4);
  EXPECT_NEAR(std::min(half[0], half[1]), shorter, 1e-4);
  // Local X is world -X and local Y world -Y: (+, +) lies at world (-, -).
  const float a = half[0];
  const float b = half[1];
  EXPECT_THAT(corners, testing::Pointwise(testing::FloatNear(1e-4F),
                                          {-a, -b, 5.F, a, -b, 5.F, a, b, 5.F, -a, b, 5.F}));
  std::array<float, 12> by_array{};
  XPlaneFit().getFourCorner(&cross[0].x, 5, p.data(), by_array.data());
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

TEST(XPlaneFit, MeetsTheReferencePlanes) {
  ZELMO_REQUIRE_REFERENCE_DATA("fits/Plane/pla1.ds");
  for (int set = 1; set <= 10; ++set) {
    SCOPED_TRACE(set);
    const auto points = referencePoints("Plane/pla" + std::to_string(set));
    const LongPlane truth = longPlane(points);
    Plane plane{};
    XPlaneFit().Fit(points.data(), static_cast<int>(points.size() / 3), plane.data(), LeastSquare);
    const LongVector n = {plane[0], plane[1], plane[2]};
    const long double across = std::sqrt(std::fabs(dot(n, n) - dot(n, truth.normal) *  //
                                                                   dot(n, truth.normal)));
    EXPECT_LT(static_cast<double>(across), 1e-7) << "rad";
    EXPECT_LT(std::fabs(static_cast<double>(dot(n, truth.mean) + plane[3])), 1e-7) << "m * 1e-3";
  }
}

}  // namespace
}  // namespace zelmo::test
