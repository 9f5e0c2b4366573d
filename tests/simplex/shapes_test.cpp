// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// What each of line, sphere, cylinder and cone has beyond the family.
#include <array>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simplex/fits.h"
#include "zelmo/internal/residuals.h"
#include "zelmo/simplex/internal/cone_sums.h"
#include "zelmo/simplex/principal_axes.h"

namespace zelmo::test {
namespace {

using internal::PointView;
using testing::DoubleNear;
using testing::Each;
using testing::ElementsAre;
using testing::Pointwise;

// Strictly below 0.01 in all three coordinates; in any single one not below it, the point counts as
// it lies.
TEST(AxisDistances, CountPointsOnTheAxisPointByTheirOwnRule) {
  const internal::AxisLine axis = internal::AxisLine::through(
      std::array<double, 3>{1, 0, 0}.data(), std::array<double, 3>{0, 0, 2}.data());
  const internal::CylinderDistance cylinder{axis, -5};
  const struct {
    double x, y, z, distance, from_cylinder;
  } rows[] = {{1.009, -0.009, 0.0099, 0, -5},
              {1.01, 0, 0, 0.01, 5.01},
              {1, 0.01, 0, 0.01, 5.01},
              {1.004, 0.003, 0.01, 0.005, 5.005}};
  for (const auto& p : rows) {
    EXPECT_NEAR(internal::AxisDistance{axis}(p.x, p.y, p.z), p.distance, 1e-15);
    EXPECT_NEAR(internal::AxisDistanceSquared{axis}(p.x, p.y, p.z), p.distance * p.distance, 1e-17);
    EXPECT_NEAR(cylinder(p.x, p.y, p.z), p.from_cylinder, 1e-15);
  }
}

// The second walk is made exactly when it can matter, and both give the same bits when it can't.
TEST(AxisDistances, SumTheSameWithAndWithoutAsking) {
  const internal::CylinderDistance cylinder{{0, 0, 0, 0, 0, 1}, 5};
  std::vector<float> points;
  for (int i = 0; i < 27; ++i) points.push_back(0.37F * static_cast<float>(i * i % 31) + 0.5F);
  const PointView view(points.data(), 9);
  for (const float x : {0.5F, 0.0099F, 0.0101F, 0.019F, 0.021F}) {
    EXPECT_EQ(internal::laneSumOffAxisPoint(view, cylinder), internal::laneSum(view, cylinder));
    points[24] = x;
    points[25] = 0;
    points[26] = 0.0099F;
  }
}

TEST(XLine3DFit, EndsAreTheFeetOfTheExtremePoints) {
  double params[] = {1, 2, 3, 0, 1, 0};
  const float points[] = {5, 7, 0, 1, 2, 3, -4, -9, 3};
  float start[] = {4, 4, 4};
  float end[] = {4, 4, 4};
  for (const int count : {2, 0, -1}) {
    x3dfit::XLine3DFit().getStart_End_Point(points, count, params, start, end);
    EXPECT_THAT(start, Each(4));
    EXPECT_THAT(end, Each(4));
  }
  x3dfit::XLine3DFit().getStart_End_Point(points, 3, params, start, end);
  EXPECT_THAT(start, ElementsAre(1, -9, 3));
  EXPECT_THAT(end, ElementsAre(1, 7, 3));
}

// Least squares leave the caller's values alone, a descent starts from them: so few points have
// features without any distance.
template <typename Fit>
void expectTheGivenStart(Kind kind, const Points& few, const Raw& given) {
  Raw p = given;
  for (int count = -1; count <= static_cast<int>(few.size()); ++count) {
    EXPECT_TRUE(Fit().Fit(&few[0].x, count, p.data(), x3dfit::LeastSquare));
    EXPECT_EQ(p, given) << count;
  }
  EXPECT_TRUE(Fit().Fit(few, p.data(), x3dfit::LeastAbsDev));
  for (const auto& q : few) EXPECT_LT(gap(residualOf(kind, unified(kind, p), Vec(q)), 0), 1e-9);
}
TEST(BelowTheirFewestPoints, PlaneAndSphereStartFromWhatIsGiven) {
  expectTheGivenStart<x3dfit::XPlaneFit>(Kind::Plane, {{0, 0, 0}, {1, 2, 3}}, {0.6, 0.8, 0.1, 0});
  expectTheGivenStart<x3dfit::XSphereFit>(Kind::Sphere, {{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}},
                                          {0.01, 0.02, 0, 0.98});
}

/// Rings of points about the z axis through (x, y), a few per ring.
Points rings(double x, double y, const std::vector<std::array<double, 2>>& z_and_radius,
             int per_ring) {
  Points points;
  for (const auto& [z, r] : z_and_radius) {
    for (int i = 0; i < per_ring; ++i) {
      const double turn = 2 * CV_PI * (i + 0.5) / per_ring;
      points.push_back(Vec(x + r * std::cos(turn), y + r * std::sin(turn), z).rounded());
    }
  }
  return points;
}

TEST(XCylinderFit, Fit2FindsTheAxisOfAShortCylinder) {
  const auto points = rings(30, -20, {{4, 25}, {6, 25}, {9, 25}, {12, 25}}, 24);
  Raw p(8);
  EXPECT_TRUE(x3dfit::XCylinderFit().Fit2(&points[0].x, 96, p.data()));
  p[5] = std::fabs(p[5]);
  EXPECT_THAT(p, Pointwise(DoubleNear(1e-3), {30.0, -20.0, 8.0, 0.0, 0.0, 1.0, 25.0, 8.0}));
  // From the axis of largest spread the same points end elsewhere.
  x3dfit::XCylinderFit().Fit(points, p.data(), x3dfit::LeastSquare);
  EXPECT_LT(std::fabs(p[5]), 0.5);
}

// The limit of 1000 steps shows where a descent needs more of them.
TEST(XCylinderFit, Fit2LeavesItsIterationLimitBehind) {
  auto points = rings(0, 0, {{0, 5}, {20, 5}, {40, 5}, {60, 5}}, 7);
  for (std::size_t i = 0; i < 28; ++i) {
    points[i].x += 0.2F * std::sin(34.0F * static_cast<float>(i));
    points[i].y += 0.2F * std::cos(11.3F * static_cast<float>(i));
  }
  x3dfit::XCylinderFit used;
  Raw before(8), after(8), p(8);
  used.Fit(points, before.data(), x3dfit::Chebyshev);
  used.Fit2(&points[0].x, 28, p.data());
  used.Fit(points, after.data(), x3dfit::Chebyshev);
  x3dfit::XCylinderFit().Fit(points, p.data(), x3dfit::Chebyshev);
  EXPECT_EQ(p, before);
  EXPECT_NE(p, after);
}

// Near 1e6 floats are 0.0625 apart. Points in mirror image about y = 1000000.03125 have their axis
// there, between two floats, and the center comes out on one of them.
TEST(XCylinderFit, ComputesTheCenterFromAnAxisPointInFloat) {
  Points points;
  for (const float x : {-60.0F, -20.0F, 20.0F, 60.0F}) {
    for (int i = 0; i < 8; ++i) {
      const double turn = 2 * CV_PI * (i + 0.5) / 8;
      const double y = std::round(20 * std::cos(turn) / 0.0625 - 0.5) * 0.0625 + 0.0625;
      points.push_back(Vec(x, 1000000.0 + y, 20 * std::sin(turn)).rounded());
    }
  }
  Raw p(8);
  x3dfit::XCylinderFit().Fit(points, p.data(), x3dfit::LeastSquare);
  EXPECT_NEAR(std::fabs(p[1] - 1000000.03125), 0.03125, 2e-3);
}

// The first point by the tangent, 0.5; after (3, 0, 4), whose radius there is 2, each by 2.
TEST(ConeSums, CountPointsOnTheApexByThePointBefore) {
  const internal::ConeDistance cone = {{0, 0, 0, 0, 0, 1}, 0.5};
  const float points[] = {0.001F, 0, 0, 3, 0, 4, 0, 0.002F, 0, 0, 0, 0, 6, 0, 10};
  EXPECT_DOUBLE_EQ(internal::coneAbsSum(PointView(points, 5), cone), 0.5 + 1 + 2 + 2 + 1);
  EXPECT_DOUBLE_EQ(internal::coneSquareSum(PointView(points, 5), cone), 0.25 + 1 + 4 + 4 + 1);
  // Without such points, and on both sides of the apex.
  const float others[] = {3, 0, 4, 0, -3, -4};
  EXPECT_DOUBLE_EQ(internal::coneAbsSum(PointView(others, 2), cone), 2);
}

Points coneRings() { return rings(10, 5, {{10, 1}, {30, 3}, {50, 5}, {70, 7}, {90, 9}}, 12); }

TEST(XConeFit, PrintsItsStepsFromFitOnly) {
  const auto points = coneRings();
  Raw p(8);
  const auto text =
      standardOutputOf([&] { x3dfit::XConeFit().Fit(points, p.data(), x3dfit::LeastSquare); });
  const int steps = std::stoi(text.substr(5));
  EXPECT_EQ(text, "iter:" + std::to_string(steps) + "\n");
  EXPECT_GT(steps, 50);
  EXPECT_LE(steps, 5000);
  // Of nothing no step is better than another, and no size is small.
  EXPECT_EQ(standardOutputOf([&] { x3dfit::XConeFit().Fit({}, p.data(), x3dfit::LeastSquare); }),
            "iter:5000\n");
}

TEST(XConeFit, Fit2IgnoresTheMethodAndRecoversTheCone) {
  const auto points = coneRings();
  Raw square(8, 77), absolute(8, 77);
  const auto fit = [&](Raw& p, x3dfit::FitMethod method) {
    EXPECT_TRUE(x3dfit::XConeFit().Fit2(&points[0].x, 60, p.data(), method));
  };
  EXPECT_EQ(standardOutputOf([&] { fit(square, x3dfit::LeastSquare); }), "");
  fit(absolute, x3dfit::LeastAbsDev);
  EXPECT_EQ(square, absolute);
  square[5] = std::fabs(square[5]);
  EXPECT_THAT(square,
              Pointwise(DoubleNear(1e-3), {10.0, 5.0, 0.0, 0.0, 0.0, 1.0, std::atan(0.1), 77.0}));
}

// The value stays with the class, for all its objects, and other methods leave it alone.
template <typename Fit>
void expectLastValue(Kind kind, const Points& points, double& published) {
  Raw p(8);
  published = -1;
  standardOutputOf([&] { Fit().Fit(points, p.data(), x3dfit::LeastAbsDev); });
  EXPECT_EQ(published, -1);
  standardOutputOf([&] { Fit().Fit(points, p.data(), x3dfit::LeastSquare); });
  Real sum = 0;
  for (const auto& q : points) sum += std::pow(residualOf(kind, unified(kind, p), Vec(q)), 2);
  EXPECT_NEAR(published, static_cast<double>(sum), static_cast<double>(1e-5L * sum));
}
TEST(SharedValue, IsTheOneOfTheLastEvaluation) {
  auto tube = rings(0, 0, {{0, 5}, {20, 5}, {40, 5}}, 9);
  tube[0].x += 0.3F;
  expectLastValue<x3dfit::XCylinderFit>(Kind::Cylinder, tube,
                                        x3dfit::XCylinderFit::m_optimal_value);
  expectLastValue<x3dfit::XConeFit>(Kind::Cone, coneRings(),
                                    x3dfit::XConeFit::m_optimal_value_cone);
}

TEST(XConeFit, BaseAndTopFollowTheApexAndTurnTheAxisOnce) {
  const auto points = coneRings();
  double p[] = {10, 5, 0, 0, 0, 1, std::atan(0.1)};
  for (int call = 0; call < 2; ++call) {
    double base[3] = {}, top[3] = {}, height = 0;
    x3dfit::XConeFit().calcConeBasePoint_Center(&points[0].x, 60, p, base, top, height);
    EXPECT_THAT(base, ElementsAre(10, 5, 90));
    EXPECT_THAT(top, ElementsAre(10, 5, 10));
    EXPECT_EQ(height, 80);
    EXPECT_THAT(p, ElementsAre(10, 5, 0, 0, 0, -1, std::atan(0.1)));
  }
}

TEST(ComputePrincipalAxes, GivesValuesAxesAndAFloatCenter) {
  cv::Mat values, vectors;
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
