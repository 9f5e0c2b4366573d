// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/lmfit/plane_fit_lm.h"

#include <cmath>
#include <sstream>

#include <gmock/gmock.h>

#include "lmfit/shapes.h"
#include "support/captured_output.h"

namespace zelmo::test {
namespace {

using testing::ElementsAre;
using xfeaturefitfilter::FilterParam;
using zelmolm::XPlaneFitLM;

const FilterParam kParam(20.0F, 1.8F, 0.25F);

// Points of the plane z = 4, normals up.
Scan flatScan(const std::vector<std::array<float, 2>>& at) {
  Scan scan;
  for (const auto& [x, y] : at) scan.add({{x, y, 4}, {0, 0, 1}});
  return scan;
}

XPlaneFitLM fitted(const Scan& scan,
                   xfeaturefitfilter::FilterMethod method = xfeaturefitfilter::FilterNone) {
  XPlaneFitLM fit;
  standardOutputOf([&] {
    EXPECT_EQ(fit.Fit(scan.points.data(), scan.normals.data(), scan.count(), kParam, method), 0);
  });
  return fit;
}

// A 6 by 2 rectangle turned by 30 degrees about its center (1, 2). The mean of the points is the
// center, so the local X axis points to the first corner.
TEST(XPlaneFitLM, DescribesTheExtentByARectangle) {
  const double turn = CV_PI / 6;
  std::vector<std::array<float, 2>> at;
  for (const auto& [u, v] : {std::pair{3, 1}, {-3, 1}, {-3, -1}, {3, -1}}) {
    at.push_back({static_cast<float>(1 + u * std::cos(turn) - v * std::sin(turn)),
                  static_cast<float>(2 + u * std::sin(turn) + v * std::cos(turn))});
  }
  const XPlaneFitLM fit = fitted(flatScan(at));
  EXPECT_NEAR(fit.length, 6, 1e-5);
  EXPECT_NEAR(fit.width, 2, 1e-5);
  EXPECT_NEAR(fit.center[0], 1, 1e-5);
  EXPECT_NEAR(fit.center[1], 2, 1e-5);
  EXPECT_NEAR(fit.center[2], 4, 1e-5);
  EXPECT_NEAR(std::fabs(fit.majorDir[0] * std::cos(turn) + fit.majorDir[1] * std::sin(turn)), 1,
              1e-6);
  // The corners form a box of the same sides, parallel to the direction of the first point: not
  // turned back along the longer side.
  const Vec first = (Vec(at[0][0], at[0][1], 4) - Vec(1, 2, 4)).unit();
  const Vec side = (Vec(fit.corners) - Vec(fit.corners + 3));
  EXPECT_NEAR(static_cast<double>(std::fabs(side.unit().dot(first))), 1, 1e-6);
  const Real across = (Vec(fit.corners + 3) - Vec(fit.corners + 6)).norm();
  EXPECT_NEAR(static_cast<double>(side.norm() * across), 12, 1e-4);

  xgeofeature::XFPlane plane;
  XPlaneFitLM(fit).getPlane(plane);
  EXPECT_THAT(plane.normal, ElementsAre(0, 0, 1));
  EXPECT_THAT((std::array{plane.a, plane.b, plane.c, plane.length, plane.width}),
              ElementsAre(0, 0, 1, fit.length, fit.width));
  EXPECT_EQ(plane.d, -fit.center[2]);
}

// Equal sides: the larger half size is not strictly larger, so the angle grows by a quarter turn.
TEST(XPlaneFitLM, ASquareTakesItsSecondSideForTheLonger) {
  const XPlaneFitLM fit = fitted(flatScan({{5, 0}, {0, 5}, {-5, 0}, {0, -5}}));
  const XPlaneFitLM wide = fitted(flatScan({{5.01F, 0}, {0, 4.99F}, {-5.01F, 0}, {0, -4.99F}}));
  EXPECT_NEAR(fit.length, fit.width, 1e-5);
  EXPECT_NEAR(fit.length, std::sqrt(50.0), 1e-5);
  EXPECT_NEAR(std::hypot(fit.majorDir[0], fit.majorDir[1]), 1, 1e-6);
  EXPECT_GT(wide.length, 0);
}

TEST(XPlaneFitLM, ThreePointsGiveTheirPlaneOnTheSideOfTheNormals) {
  for (const float up : {1.0F, -1.0F}) {
    Scan scan = flatScan({{0, 0}, {10, 0}, {0, 10}});
    scan.normals = {0, 0, up, 0, 0, up, 0, 0, -up};
    const XPlaneFitLM fit = fitted(scan);
    EXPECT_THAT(fit.normal, ElementsAre(testing::FloatNear(0, 1e-7F), testing::FloatNear(0, 1e-7F),
                                        testing::FloatEq(up)));
    EXPECT_FLOAT_EQ(fit.d, -4 * up);
  }
}

// Zero normals count against the plane's sign, a tie for it: the sign that the first points give
// stays, whichever it is.
TEST(XPlaneFitLM, ATieOfNormalsKeepsTheSign) {
  Scan scan = flatScan({{0, 0}, {10, 0}, {0, 10}, {10, 10}});
  Scan none = scan;
  for (std::size_t i = 0; i < 12; ++i) scan.normals[i] *= i < 6 ? 1 : -1;
  std::fill(none.normals.begin(), none.normals.end(), 0.0F);
  const XPlaneFitLM tied = fitted(scan);
  const XPlaneFitLM turned_twice = fitted(none);
  EXPECT_EQ(tied.normal[2], turned_twice.normal[2]);
  EXPECT_EQ(std::fabs(tied.normal[2]), 1);
}

// All points lie within 0.01 of their mean.
TEST(XPlaneFitLM, ATinyPatchTakesItsAxisFromTheWorld) {
  const XPlaneFitLM fit = fitted(
      flatScan({{0.004F, 0.002F}, {-0.004F, 0.002F}, {-0.004F, -0.002F}, {0.004F, -0.002F}}));
  EXPECT_NEAR(fit.length, 0.008, 1e-7);
  EXPECT_NEAR(fit.width, 0.004, 1e-7);
  EXPECT_NEAR(std::fabs(fit.majorDir[0]), 1, 1e-6);
}

// Every residual is the same: of the tied points the earliest stay. The last quarter lies on a plane
// of its own.
TEST(XPlaneFitLM, TheProportionKeepsTheEarliestOfTiedPoints) {
  Scan scan;
  for (int i = 0; i < 400; ++i) {
    const double x = i % 20;
    const double y = i / 20;
    const int sign = (i / 20 + i) % 2 ? 1 : -1;
    scan.add({{x, y, 0.25 * sign}, {0, 0, 1}});
  }
  const auto expected = leastSquares({0, 0, 1, 0}, 300, [&](const std::vector<Real>& p, int i) {
    return planeResidual(p, &scan.points[3 * static_cast<std::size_t>(i)]);
  });
  PlaneShape::expectNear(fitted(scan, xfeaturefitfilter::FilterProportion), expected);
}

TEST(XPlaneFitLM, PrintsWhatEachFilterDid) {
  Scan scan;
  for (int i = 0; i < 100; ++i) {
    const bool off = i * 37 % 100 < 10;
    const bool tilted = i * 37 % 100 >= 90;
    scan.add({{i % 10 * 1.0L, i / 10 * 1.0L, off ? 1.0L : 0.0L}, {tilted ? 1.0L : 0.0L, 0, 1}});
    if (tilted) scan.normals.back() = 0;
  }
  const auto printed = [&](int method, float share) {
    XPlaneFitLM fit;
    return standardOutputOf([&] {
      fit.Fit(scan.points.data(), scan.normals.data(), scan.count(), FilterParam(20, 2, share),
              static_cast<xfeaturefitfilter::FilterMethod>(method));
    });
  };
  EXPECT_EQ(printed(0, 0.1F), "");
  EXPECT_EQ(printed(2, 0.1F), "90 100\n");
  EXPECT_EQ(printed(3, 0.1F), "90 100\n");
  EXPECT_THAT(printed(5, 0.112F), testing::MatchesRegex("min_n_maxvalue=0\\.[89].*\n80 100\n"));

  const std::string band = printed(1, 0.1F);
  EXPECT_EQ(printed(4, 0.1F), band + "80 100\n");
  const auto all = leastSquares({0, 0, 1, 0}, 100, [&](const std::vector<Real>& p, int i) {
    return planeResidual(p, &scan.points[3 * static_cast<std::size_t>(i)]);
  });
  Real squares = 0;
  for (std::size_t i = 0; i < 100; ++i) {
    const Real r = planeResidual(all, &scan.points[3 * i]);
    squares += r * r;
  }
  std::istringstream line(band);
  double mean = 1, deviation = 0, upper = 0, lower = 0;
  line >> mean >> deviation >> upper >> lower;
  EXPECT_EQ(line.get(), '\n');
  EXPECT_NEAR(mean, 0, 1e-6);
  EXPECT_NEAR(deviation, static_cast<double>(std::sqrt(squares / 100)), 1e-6);
  EXPECT_NEAR(upper, 2 * deviation, 2e-6);
  EXPECT_NEAR(lower, -2 * deviation, 2e-6);
}

// The zone of four points one of which is lifted: all but the farthest are measured from the lowest.
TEST(XPlaneFitLM, TheZoneResidualWeighsTheFarthestPoint) {
  float points[] = {0, 0, -1, 1, 0, 0, 0, 1, 3, 1, 1, 3};
  double plane[] = {0, 0, 2, 4};
  double hx[4];
  XPlaneFitLM::Fit_Chebyshev_Function(plane, hx, 4, 4, points);
  EXPECT_THAT(hx, ElementsAre(0, 1, 4 * 40, 4));
}

// No length to divide by: the parameters are used as they are.
TEST(XPlaneFitLM, ResidualsPassThroughANormalOfNoLength) {
  float points[] = {1, 2, 3};
  double hx = 0;
  double tiny[] = {0, 0, 0.00009, 5};
  XPlaneFitLM::Fit_Function(tiny, &hx, 4, 1, points);
  EXPECT_DOUBLE_EQ(hx, 0.00027 + 5);
  double small[] = {0, 0, 0.0001, 5};
  XPlaneFitLM::Fit_Function(small, &hx, 4, 1, points);
  EXPECT_NEAR(hx, 3 + 50000, 1e-6);
}

}  // namespace
}  // namespace zelmo::test
