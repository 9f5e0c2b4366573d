// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// What each of line, sphere, cylinder and cone has beyond the family.
#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/captured_output.h"
#include "zelmo/internal/residuals.h"
#include "zelmo/simplex/cone_fit.h"
#include "zelmo/simplex/cylinder_fit.h"
#include "zelmo/simplex/internal/cone_sums.h"
#include "zelmo/simplex/line_fit.h"
#include "zelmo/simplex/principal_axes.h"
#include "zelmo/simplex/sphere_fit.h"

namespace zelmo::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::FloatNear;
using testing::Pointwise;

constexpr double kPi = 3.14159265358979323846;

TEST(AxisDistances, CountPointsOnTheAxisPointByTheirOwnRule) {
  const internal::AxisLine axis = internal::AxisLine::through(
      std::array<double, 3>{1, 0, 0}.data(), std::array<double, 3>{0, 0, 2}.data());
  const internal::AxisDistance line{axis};
  const internal::AxisDistanceSquared squared{axis};
  const internal::CylinderDistance cylinder{axis, -5};
  // Strictly below 0.01 in all three; in any single one not below it, the point counts as it lies.
  EXPECT_EQ(line(1.009, -0.009, 0.0099), 0.0);
  EXPECT_EQ(squared(1.009, -0.009, 0.0099), 0.0);
  EXPECT_EQ(cylinder(1.009, -0.009, 0.0099), -5.0);
  EXPECT_DOUBLE_EQ(line(1, 0.01, 0), 0.01);
  EXPECT_NEAR(squared(1.004, 0.003, 0.01), 2.5e-5, 1e-18);
  EXPECT_NEAR(line(1.004, 0.003, -7), 0.005, 1e-15);
  EXPECT_DOUBLE_EQ(cylinder(1.011, 0, 0), 5.011);
}

// The second walk is made exactly when it can matter, and both give the same bits when it can't.
TEST(AxisDistances, SumTheSameWithAndWithoutAsking) {
  const internal::AxisLine axis{0, 0, 0, 0, 0, 1};
  const internal::CylinderDistance cylinder{axis, 5};
  std::vector<float> points;
  for (int i = 0; i < 27; ++i) points.push_back(0.37F * static_cast<float>(i * i % 31) + 0.5F);
  const internal::PointView view(points.data(), 9);
  EXPECT_EQ(internal::laneSumOffAxisPoint(view, cylinder), internal::laneSum(view, cylinder));
  const double without = internal::laneSum(internal::PointView(points.data(), 8), cylinder);
  for (const float far : {0.0099F, 0.0101F, 0.019F, 0.021F}) {
    std::fill(points.end() - 3, points.end(), 0.0F);
    points.back() = far;
    const double share = internal::laneSumOffAxisPoint(view, cylinder) - without;
    EXPECT_NEAR(share, 5, 1e-9);  // on the axis: r away either way
    points[24] = far;
    points.back() = 0.0099F;
    EXPECT_NEAR(internal::laneSumOffAxisPoint(view, cylinder) - without,
                far < 0.01F ? 5.0 : 5.0 - far, 1e-9);
  }
}

TEST(XLine3DFit, EndsAreTheFeetOfTheExtremePoints) {
  double params[] = {1, 2, 3, 0, 1, 0};
  const float points[] = {5, 7, 0, 1, 2, 3, -4, -9, 3};
  std::array<float, 3> start{};
  std::array<float, 3> end{};
  x3dfit::XLine3DFit().getStart_End_Point(points, 3, params, start.data(), end.data());
  EXPECT_THAT(start, ElementsAre(1, -9, 3));
  EXPECT_THAT(end, ElementsAre(1, 7, 3));
  for (const int count : {2, 0, -1}) {
    start.fill(4);
    end.fill(4);
    x3dfit::XLine3DFit().getStart_End_Point(points, count, params, start.data(), end.data());
    EXPECT_THAT(start, Each(4));
    EXPECT_THAT(end, Each(4));
  }
}

TEST(XSphereFit, LeavesTheParametersAloneBelowFourPoints) {
  const float points[] = {1, 0, 0, -1, 0, 0, 0, 1, 0};
  std::array<double, 4> sphere = {0.01, 0.02, 0, 0.98};
  const auto given = sphere;
  EXPECT_TRUE(x3dfit::XSphereFit().Fit(points, 3, sphere.data(), x3dfit::LeastSquare));
  EXPECT_EQ(sphere, given);
  // A descent starts from them: three points have spheres without any distance.
  EXPECT_TRUE(x3dfit::XSphereFit().Fit(points, 3, sphere.data(), x3dfit::LeastAbsDev));
  for (int i = 0; i < 3; ++i) {
    const float* p = points + 3 * i;
    EXPECT_NEAR(std::hypot(p[0] - sphere[0], p[1] - sphere[1], p[2] - sphere[2]), sphere[3], 1e-9);
  }
}

/// Rings of points about the z axis through (x, y), a few per ring.
std::vector<float> rings(double x, double y, const std::vector<std::array<double, 2>>& z_and_radius,
                         int per_ring) {
  std::vector<float> points;
  for (const auto& [z, r] : z_and_radius) {
    for (int i = 0; i < per_ring; ++i) {
      const double turn = 2 * kPi * (i + 0.5) / per_ring;
      points.push_back(static_cast<float>(x + r * std::cos(turn)));
      points.push_back(static_cast<float>(y + r * std::sin(turn)));
      points.push_back(static_cast<float>(z));
    }
  }
  return points;
}

TEST(XCylinderFit, Fit2FindsTheAxisOfAShortCylinder) {
  const auto points = rings(30, -20, {{4, 25}, {6, 25}, {9, 25}, {12, 25}}, 24);
  std::array<double, 8> p{};
  EXPECT_TRUE(x3dfit::XCylinderFit().Fit2(points.data(), 96, p.data()));
  EXPECT_NEAR(std::fabs(p[5]), 1.0, 1e-6);
  EXPECT_NEAR(p[6], 25, 1e-4);
  EXPECT_NEAR(p[7], 8, 1e-3);
  EXPECT_THAT((std::array<double, 3>{p[0], p[1], p[2]}),
              Pointwise(testing::DoubleNear(1e-3), {30.0, -20.0, 8.0}));
  // From the axis of largest spread the same points end elsewhere.
  std::array<double, 8> trusting{};
  x3dfit::XCylinderFit().Fit(points.data(), 96, trusting.data(), x3dfit::LeastSquare);
  EXPECT_LT(std::fabs(trusting[5]), 0.5);
}

// The limit of 1000 steps shows where a descent needs more of them: the same object ends earlier
// than a fresh one after Fit2, and a fresh one is not concerned.
TEST(XCylinderFit, Fit2LeavesItsIterationLimitBehind) {
  auto points = rings(0, 0, {{0, 5}, {20, 5}, {40, 5}, {60, 5}}, 7);
  for (std::size_t i = 0; i < points.size(); ++i) {
    points[i] += static_cast<float>(0.2 * std::sin(11.3 * static_cast<double>(i)));
  }
  const auto fit = [&points](x3dfit::XCylinderFit& object) {
    std::array<double, 8> p{};
    object.Fit(points.data(), 28, p.data(), x3dfit::Chebyshev);
    return p;
  };
  x3dfit::XCylinderFit fresh;
  x3dfit::XCylinderFit used;
  EXPECT_EQ(fit(fresh), fit(used));
  std::array<double, 8> p{};
  used.Fit2(points.data(), 28, p.data());
  EXPECT_NE(fit(fresh), fit(used));
}

// Near 1e6 floats are 0.0625 apart. Points in mirror image about y = 1000000.03125 have their axis
// there, between two floats, and the center comes out on one of them.
TEST(XCylinderFit, ComputesTheCenterFromAnAxisPointInFloat) {
  std::vector<float> points;
  for (const float x : {-60.0F, -20.0F, 20.0F, 60.0F}) {
    for (int i = 0; i < 8; ++i) {
      const double turn = 2 * kPi * (i + 0.5) / 8;
      points.push_back(x);
      const double y = std::round(20 * std::cos(turn) / 0.0625 - 0.5) * 0.0625 + 0.0625;
      points.push_back(static_cast<float>(1000000.0 + y));
      points.push_back(static_cast<float>(20 * std::sin(turn)));
    }
  }
  std::array<double, 8> p{};
  x3dfit::XCylinderFit().Fit(points.data(), 32, p.data(), x3dfit::LeastSquare);
  EXPECT_NEAR(std::fabs(p[1] - 1000000.03125), 0.03125, 2e-3);
}

const internal::ConeDistance kCone = {{0, 0, 0, 0, 0, 1}, 0.5};

TEST(ConeSums, CountPointsOnTheApexByThePointBefore) {
  // The first by the tangent, 0.5; after (3, 0, 4), whose radius there is 2, each by 2.
  const std::vector<float> points = {0.001F, 0, 0, 3, 0, 4, 0, 0.002F, 0, 0, 0, 0, 6, 0, 10};
  const internal::PointView view(points.data(), 5);
  EXPECT_DOUBLE_EQ(internal::coneAbsSum(view, kCone), 0.5 + 1 + 2 + 2 + 1);
  EXPECT_DOUBLE_EQ(internal::coneSquareSum(view, kCone), 0.25 + 1 + 4 + 4 + 1);
  // Without such points, and on both sides of the apex.
  const std::vector<float> others = {3, 0, 4, 0, -3, -4};
  EXPECT_DOUBLE_EQ(internal::coneAbsSum(internal::PointView(others.data(), 2), kCone), 2);
}

std::vector<float> coneRings() {
  return rings(10, 5, {{10, 1}, {30, 3}, {50, 5}, {70, 7}, {90, 9}}, 12);
}

TEST(XConeFit, PrintsItsStepsFromFitOnly) {
  const auto points = coneRings();
  std::array<double, 8> p{};
  x3dfit::XConeFit fit;
  const auto text =
      standardOutputOf([&] { fit.Fit(points.data(), 60, p.data(), x3dfit::LeastSquare); });
  const int steps = std::stoi(text.substr(5));
  EXPECT_EQ(text, "iter:" + std::to_string(steps) + "\n");
  EXPECT_GT(steps, 50);
  EXPECT_LE(steps, 5000);
  EXPECT_EQ(standardOutputOf([&] { fit.Fit(points.data(), 0, p.data(), x3dfit::LeastSquare); }),
            "iter:5000\n");  // of nothing no step is better than another, and no size is small
  EXPECT_EQ(standardOutputOf([&] { fit.Fit2(points.data(), 60, p.data(), x3dfit::LeastSquare); }),
            "");
}

TEST(XConeFit, Fit2IgnoresTheMethodAndRecoversTheCone) {
  const auto points = coneRings();
  std::array<double, 8> square{};
  std::array<double, 8> absolute{};
  square[7] = absolute[7] = 77;
  EXPECT_TRUE(x3dfit::XConeFit().Fit2(points.data(), 60, square.data(), x3dfit::LeastSquare));
  EXPECT_TRUE(x3dfit::XConeFit().Fit2(points.data(), 60, absolute.data(), x3dfit::LeastAbsDev));
  EXPECT_EQ(square, absolute);
  EXPECT_EQ(square[7], 77);
  EXPECT_NEAR(std::tan(square[6]), 0.1, 1e-5);
  EXPECT_THAT((std::array<double, 3>{square[0], square[1], square[2]}),
              Pointwise(testing::DoubleNear(1e-3), {10.0, 5.0, 0.0}));
}

// The value stays with the class, for all its objects, and other methods leave it alone.
template <typename Fit>
void expectLastValue(const std::vector<float>& points, double& published, bool cone) {
  std::array<double, 8> p{};
  const auto fit = [&](x3dfit::FitMethod method) {
    const auto count = static_cast<int>(points.size() / 3);
    standardOutputOf([&] { Fit().Fit(points.data(), count, p.data(), method); });
    return published;
  };
  published = -1;
  EXPECT_EQ(fit(x3dfit::LeastAbsDev), -1);
  fit(x3dfit::LeastSquare);
  double sum = 0;
  for (std::size_t i = 0; i < points.size(); i += 3) {
    const cv::Vec3d q(points[i] - p[0], points[i + 1] - p[1], points[i + 2] - p[2]);
    const cv::Vec3d u(p[3], p[4], p[5]);
    const double size = cone ? std::fabs(q.dot(u)) * std::tan(p[6]) : p[6];
    sum += std::pow(cv::norm(q.cross(u)) - size, 2);
  }
  EXPECT_NEAR(published, sum, 1e-5 * sum);
}
TEST(SharedValue, IsTheOneOfTheLastEvaluation) {
  auto tube = rings(0, 0, {{0, 5}, {20, 5}, {40, 5}}, 9);
  tube[0] += 0.3F;
  expectLastValue<x3dfit::XCylinderFit>(tube, x3dfit::XCylinderFit::m_optimal_value, false);
  expectLastValue<x3dfit::XConeFit>(coneRings(), x3dfit::XConeFit::m_optimal_value_cone, true);
}

TEST(XConeFit, BaseAndTopFollowTheApexAndTurnTheAxisOnce) {
  const auto points = coneRings();
  std::array<double, 7> p = {10, 5, 0, 0, 0, 1, std::atan(0.1)};
  std::array<double, 3> base{};
  std::array<double, 3> top{};
  double height = 0;
  for (int call = 0; call < 2; ++call) {
    x3dfit::XConeFit().calcConeBasePoint_Center(points.data(), 60, p.data(), base.data(),
                                                top.data(), height);
    EXPECT_THAT(base, ElementsAre(10, 5, 90));
    EXPECT_THAT(top, ElementsAre(10, 5, 10));
    EXPECT_EQ(height, 80);
    EXPECT_THAT(p, ElementsAre(10, 5, 0, 0, 0, -1, std::atan(0.1)));
  }
}

TEST(ComputePrincipalAxes, GivesValuesAxesAndAFloatCenter) {
  cv::Mat values;
  cv::Mat vectors;
  cv::Point3f center;
  x3dfit::computePrincipalAxes({{1, 2, 3}, {1, 6, 3}, {1, 2, 4}, {1, 6, 4}}, values, vectors,
                               center);
  EXPECT_EQ(center, cv::Point3f(1, 4, 3.5F));
  EXPECT_DOUBLE_EQ(values.at<double>(0), 16);
  EXPECT_DOUBLE_EQ(std::fabs(vectors.at<double>(0, 1)), 1);
  EXPECT_DOUBLE_EQ(std::fabs(vectors.at<double>(2, 0)), 1);
}

}  // namespace
}  // namespace zelmo::test
