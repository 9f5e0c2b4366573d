// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/simplex/x3d_fit.h"

#include <array>
#include <vector>

#include <gtest/gtest.h>

namespace zelmo::test {
namespace {

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
  const cv::Vec3d flat[] = {{1, 0, 0}, {1, 0, 0}, {0, 0, 1}};
  const cv::Vec3d source[] = {{0, 1, 0}, {0, 0, 1}, {1, 0, 0}};
  const cv::Point3d origin[] = {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}};
  const cv::Point3d points[] = {{4, 5, 6}, {4, 5, 6}, {4, 5, 6}};
  std::array<double, 16> rt{};
  Exposed().alignBy3Plane(axes, origin, source, points, rt.data());
  const double expected[] = {0, 1, 0, -5, 0, 0, 1, -6, 1, 0, 0, -4, 0, 0, 0, 1};
  for (std::size_t i = 0; i < 16; ++i) EXPECT_NEAR(rt[i], expected[i], 1e-12) << i;
  std::array<double, 16> back{};
  EXPECT_EQ(Exposed().convertMatrixRT(rt.data(), back.data()), 1);
  EXPECT_NEAR(back[3], 4, 1e-12);
  EXPECT_NEAR(back[9], 1, 1e-12);
  const auto before = rt;
  Exposed().alignBy3Plane(axes, origin, flat, points, rt.data());
  EXPECT_EQ(rt, before);
  cv::Mat out;
  EXPECT_EQ(Exposed().Intersection3Planes(flat, origin, out), 0);
  EXPECT_TRUE(out.empty());
  const cv::Point3d apart[] = {{1, 9, 9}, {9, 2, 9}, {9, 9, 3}};
  EXPECT_EQ(Exposed().Intersection3Planes(axes, apart, out), 1);
  EXPECT_EQ(cv::Vec3d(out), cv::Vec3d(1, 2, 3));
  Exposed().getMatRByVector({0, 0, 2}, {0, 3, 0}, out);
  EXPECT_NEAR(out.at<double>(1, 2), 1.0, 1e-12);
}

TEST(X3DFit, MapsPointsIntoTheFrameOfAPlane) {
  double plane[] = {0, 0, 1, -2};
  const std::vector<cv::Point3f> points = {{1, 0, 5}, {-1, 4, 2}, {-1, -4, 0}, {1, 0, 2}};
  std::vector<cv::Point3f> feet;
  Exposed().projection2Plane(points, plane, feet);
  EXPECT_EQ(feet[0], cv::Point3f(1, 0, 2));
  // The mean is the origin and the first point gives X.
  std::vector<cv::Point2f> local;
  Exposed().projection2Plane_tranformed(points, plane, local);
  ASSERT_EQ(local.size(), 4U);
  EXPECT_NEAR(local[1].x, -1, 1e-6);
  EXPECT_NEAR(local[1].y, 4, 1e-6);
  // Points all on their mean have no frame here, and the output stays.
  Exposed().projection2Plane_tranformed({{1, 1, 1}, {1, 1, 2}}, plane, local);
  EXPECT_EQ(local.size(), 4U);
}

}  // namespace
}  // namespace zelmo::test
