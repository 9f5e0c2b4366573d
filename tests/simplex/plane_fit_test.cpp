// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// What the plane and the base class have beyond the family.
#include "zelmo/simplex/plane_fit.h"

#include <array>
#include <atomic>
#include <limits>
#include <thread>

#include <gmock/gmock.h>
#include <gsl/gsl_errno.h>
#include <gtest/gtest.h>

namespace zelmo::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using x3dfit::LeastAbsDev;
using x3dfit::XPlaneFit;

using Points = std::vector<cv::Point3f>;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

// With two points the start is the caller's plane. Where its largest component is 0 with its sign,
// the step is 0 and the start the result; turned around, the same plane descends.
TEST(XPlaneFit, TakesTheStepFromTheSignedComponents) {
  const Points two = {{1, 0, 1}, {5, 0, 3}};
  double stuck[] = {0, 0, -1, 0};
  double moving[] = {0, 0, 1, 0};
  XPlaneFit().Fit(two, stuck, LeastAbsDev);
  XPlaneFit().Fit(two, moving, LeastAbsDev);
  EXPECT_THAT(stuck, ElementsAre(0, 0, -1, 0));
  for (const auto& p : two) EXPECT_NEAR(moving[0] * p.x + moving[2] * p.z + moving[3], 0, 1e-3);
  // Without finite distances the start stays as well, and is made unit.
  double kept[] = {0, 0, 2, 1};
  XPlaneFit().Fit({{kNan, 0, 0}, {1, 1, 1}}, kept, LeastAbsDev);
  EXPECT_THAT(kept, ElementsAre(0, 0, 1, 0.5));
}

std::atomic<int> g_handled{0};
void countErrors(const char*, const char*, int, int) { ++g_handled; }

// Without the guard the first fit calls the host's handler (or GSL's, which ends the process); with
// one that is not counted, a thread that ends early hands it back under the others.
TEST(XPlaneFit, KeepsErrorsFromTheHostsHandlerOnAllThreads) {
  gsl_error_handler_t* const before = gsl_set_error_handler(countErrors);
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      Points points = {{0, 0, 1}, {9, 0, 1}, {0, 9, 2}, {9, 9, 3}, {4, 4, 2}};
      points[t].x = kNan;
      double plane[4] = {};
      for (int i = 0; i < 200; ++i) XPlaneFit().Fit(points, plane, LeastAbsDev);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(g_handled, 0);
  EXPECT_EQ(gsl_set_error_handler(before), &countErrors);
}

// The smallest rectangle around the rhombus lies along one of its sides; only its center and its size
// enter, as 60 times the side's share along it and across it. The first point off the mean (0, 0)
// gives X: world -X, with Y as world -Y, so that (+, +) lies at world (-, -).
TEST(XPlaneFit, CornersBoundThePointsAlongTheLocalAxes) {
  double plane[] = {0, 0, 1, -5};
  const Points cross = {{-30, 0, 7}, {30, 0, 5}, {0, 10, 4}, {0, -10, 5}, {0, 0, 5}};
  float corners[12] = {};
  XPlaneFit().getFourCorner(cross, plane, corners);
  const double side = std::hypot(30.0, 10.0);
  const float a = std::fabs(corners[0]);
  const float b = std::fabs(corners[1]);
  EXPECT_NEAR(std::max(a, b), 60.0 * 30.0 / side / 2, 1e-4);
  EXPECT_NEAR(std::min(a, b), 60.0 * 10.0 / side / 2, 1e-4);
  EXPECT_THAT(corners, testing::Pointwise(testing::FloatNear(1e-4F),
                                          {-a, -b, 5.F, a, -b, 5.F, a, b, 5.F, -a, b, 5.F}));
  float by_array[12] = {};
  XPlaneFit().getFourCorner(&cross[0].x, 5, plane, by_array);
  EXPECT_THAT(by_array, ElementsAreArray(corners));
}

// Seen from the mean of a speck no point is far enough to give X: the frame lies along the world's
// axes, and the corners are the speck's.
TEST(XPlaneFit, CornersOfASpeckUseAnAxisOfTheWorldAndStayWithoutAFrame) {
  Points speck = {
      {0.994F, 0.998F, 5}, {1.006F, 0.998F, 5}, {0.994F, 1.002F, 5}, {1.006F, 1.002F, 5}};
  double plane[] = {0, 0, 1, -5};
  float corners[12] = {};
  XPlaneFit().getFourCorner(speck, plane, corners);
  EXPECT_NEAR(std::max(std::fabs(corners[0] - 1), std::fabs(corners[1] - 1)), 0.006, 1e-6);
  EXPECT_NEAR(std::min(std::fabs(corners[0] - 1), std::fabs(corners[1] - 1)), 0.002, 1e-6);
  XPlaneFit().getFourCorner({}, plane, corners);
  EXPECT_THAT(corners, Each(0.0F));
  std::fill_n(corners, 12, 9.0F);
  double nowhere[4] = {};
  XPlaneFit().getFourCorner(speck, nowhere, corners);
  speck[1].y = kNan;
  XPlaneFit().getFourCorner(speck, plane, corners);
  EXPECT_THAT(corners, Each(9.0F));
}

struct Exposed : x3dfit::X3DFit {
  using X3DFit::alignBy3Plane;
  using X3DFit::convertMatrixRT;
  using X3DFit::getMatRByVector;
  using X3DFit::Intersection3Planes;
  using X3DFit::projection2Plane;
};

// The routines themselves are tested with the toolkit; here, that each member reaches its own.
TEST(X3DFit, OffersTheFrameRoutines) {
  const cv::Vec3d axes[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  const cv::Vec3d source[] = {{0, 1, 0}, {0, 0, 1}, {1, 0, 0}};
  const cv::Point3d origin[3] = {};
  const cv::Point3d points[] = {{4, 5, 6}, {4, 5, 6}, {4, 5, 6}};
  double rt[16] = {};
  double back[16] = {};
  Exposed().alignBy3Plane(axes, origin, source, points, rt);
  EXPECT_THAT(rt, testing::Pointwise(testing::DoubleNear(1e-12),
                                     {0, 1, 0, -5, 0, 0, 1, -6, 1, 0, 0, -4, 0, 0, 0, 1}));
  EXPECT_EQ(Exposed().convertMatrixRT(rt, back), 1);
  EXPECT_NEAR(back[3], 4, 1e-12);
  cv::Mat out;
  EXPECT_EQ(Exposed().Intersection3Planes(axes, points, out), 1);
  EXPECT_EQ(cv::Vec3d(out), cv::Vec3d(4, 5, 6));
  Exposed().getMatRByVector({0, 0, 2}, {0, 3, 0}, out);
  EXPECT_NEAR(out.at<double>(1, 2), 1.0, 1e-12);
}

TEST(X3DFit, MapsPointsIntoTheFrameOfAPlane) {
  double plane[] = {0, 0, 1, -2};
  const Points points = {{1, 0, 5}, {-1, 4, 2}, {-1, -4, 0}, {1, 0, 2}};
  Points feet;
  Exposed().projection2Plane(points, plane, feet);
  EXPECT_EQ(feet[0], cv::Point3f(1, 0, 2));
  // The mean is the origin and the first point gives X.
  std::vector<cv::Point2f> local;
  Exposed().projection2Plane_tranformed(points, plane, local);
  ASSERT_EQ(local.size(), 4U);
  EXPECT_LT(cv::norm(local[1] - cv::Point2f(-1, 4)), 1e-6);
  // Points all on their mean have no frame here, and the output stays.
  Exposed().projection2Plane_tranformed({{1, 1, 1}, {1, 1, 2}}, plane, local);
  EXPECT_EQ(local.size(), 4U);
}

}  // namespace
}  // namespace zelmo::test
