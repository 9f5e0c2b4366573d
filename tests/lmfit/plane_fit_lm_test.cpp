// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/lmfit/plane_fit_lm.h"

#include <cmath>
#include <sstream>

#include <gmock/gmock.h>

#include "lmfit/shapes.h"

namespace zelmo::test {
namespace {

using testing::ElementsAre;
using zelmolm::XPlaneFitLM;

// Points of the plane z = 4, normals up.
Scan flatScan(const std::vector<std::array<float, 2>>& at) {
  Scan scan;
  for (const auto& [x, y] : at) scan.add({{x, y, 4}, {0, 0, 1}});
  return scan;
}

XPlaneFitLM fitted(const Scan& scan) {
  XPlaneFitLM fit;
  EXPECT_EQ(fitScan(fit, scan, FilterParam(20, 1.8F, 0.25F), 0).code, 0);
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
  EXPECT_LT(static_cast<double>((Vec(fit.center) - Vec(1, 2, 4)).norm()), 1e-5);
  EXPECT_NEAR(std::fabs(fit.majorDir[0] * std::cos(turn) + fit.majorDir[1] * std::sin(turn)), 1,
              1e-6);
  // The corners form a box of the same sides, parallel to the direction of the first point: not
  // turned back along the longer side.
  const Vec first = (Vec(at[0][0], at[0][1], 4) - Vec(1, 2, 4)).unit();
  const Vec side = (Vec(fit.corners) - Vec(fit.corners + 3));
  EXPECT_NEAR(static_cast<double>(std::fabs(side.unit().dot(first))), 1, 1e-6);
  const Real across = (Vec(fit.corners + 3) - Vec(fit.corners + 6)).norm();
  EXPECT_NEAR(static_cast<double>(side.norm() * across), 12, 1e-4);

  // The record's d belongs to the center, not to the fit.
  XPlaneFitLM lifted = fit;
  lifted.d = 99;
  xgeofeature::XFPlane plane;
  lifted.getPlane(plane);
  EXPECT_THAT(plane.normal, ElementsAre(0, 0, 1));
  EXPECT_THAT((std::array{plane.a, plane.b, plane.c, plane.d, plane.length, plane.width}),
              ElementsAre(0, 0, 1, -fit.center[2], fit.length, fit.width));
}

// Equal sides: the half size is not strictly larger, so the angle grows by a quarter turn. A patch
// within 0.01 of its mean takes its axis from the world.
TEST(XPlaneFitLM, DescribesASquareAndATinyPatch) {
  const XPlaneFitLM square = fitted(flatScan({{5, 0}, {0, 5}, {-5, 0}, {0, -5}}));
  EXPECT_NEAR(square.length, std::sqrt(50.0), 1e-5);
  EXPECT_NEAR(square.width, square.length, 1e-5);
  EXPECT_NEAR(std::hypot(square.majorDir[0], square.majorDir[1]), 1, 1e-6);
  const XPlaneFitLM patch = fitted(
      flatScan({{0.004F, 0.002F}, {-0.004F, 0.002F}, {-0.004F, -0.002F}, {0.004F, -0.002F}}));
  EXPECT_NEAR(patch.length, 0.008, 1e-7);
  EXPECT_NEAR(patch.width, 0.004, 1e-7);
  EXPECT_NEAR(std::fabs(patch.majorDir[0]), 1, 1e-6);
}

TEST(XPlaneFitLM, LiesOnTheSideOfMostNormals) {
  for (const float up : {1.0F, -1.0F}) {
    Scan three = flatScan({{0, 0}, {10, 0}, {0, 10}});
    three.normals = {0, 0, up, 0, 0, up, 0, 0, -up};
    const XPlaneFitLM fit = fitted(three);
    EXPECT_LT(static_cast<double>((Vec(fit.normal) - Vec(0, 0, up)).norm()), 1e-7);
    EXPECT_FLOAT_EQ(fit.d, -4 * up);
  }
  // A tie keeps the sign that the points give. Normals without length count against it, first in the
  // solver's vote and then in the rectangle's.
  Scan tied = flatScan({{0, 0}, {10, 0}, {0, 10}, {10, 10}}), none = tied;
  for (std::size_t i = 0; i < 12; ++i) tied.normals[i] *= i < 6 ? 1 : -1;
  std::fill(none.normals.begin(), none.normals.end(), 0.0F);
  EXPECT_EQ(fitted(tied).normal[2], fitted(none).normal[2]);
  EXPECT_EQ(std::fabs(fitted(tied).normal[2]), 1);
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
    return fitScan(fit, scan, FilterParam(20, 2, share), method).printed;
  };
  EXPECT_EQ(printed(0, 0.1F), "");
  EXPECT_EQ(printed(2, 0.1F), "90 100\n");
  EXPECT_EQ(printed(3, 0.1F), "90 100\n");
  EXPECT_THAT(printed(5, 0.112F), testing::MatchesRegex("min_n_maxvalue=0\\.[89].*\n80 100\n"));

  const std::string band = printed(1, 0.1F);
  EXPECT_EQ(printed(4, 0.1F), band + "80 100\n");
  const Params all = scan.solved({0, 0, 1, 0}, scan.all(), planeResidual);
  Real squares = 0;
  for (int i = 0; i < 100; ++i) squares += std::pow(planeResidual(all, scan.point(i)), 2);
  std::istringstream line(band);
  double mean = 1, deviation = 0, upper = 0, lower = 0;
  line >> mean >> deviation >> upper >> lower;
  EXPECT_EQ(line.get(), '\n');
  EXPECT_NEAR(mean, 0, 1e-6);
  EXPECT_NEAR(deviation, static_cast<double>(std::sqrt(squares / 100)), 1e-6);
  EXPECT_NEAR(upper, 2 * deviation, 2e-6);
  EXPECT_NEAR(lower, -2 * deviation, 2e-6);
}

// In the zone all but the farthest are measured from the lowest, and that one counts 10 n times. A
// normal of no length is not divided by.
TEST(XPlaneFitLM, HasResidualsOfDistanceAndOfTheZone) {
  float points[] = {0, 0, -1, 1, 0, 0, 0, 1, 3, 1, 1, 3};
  double plane[] = {0, 0, 2, 4}, hx[4];
  XPlaneFitLM::Fit_Chebyshev_Function(plane, hx, 4, 4, points);
  EXPECT_THAT(hx, ElementsAre(0, 1, 4 * 40, 4));
  double tiny[] = {0, 0, 0.00009, 5}, small[] = {0, 0, 0.0001, 5};
  XPlaneFitLM::Fit_Function(tiny, hx, 4, 3, points);
  EXPECT_DOUBLE_EQ(hx[2], 0.00027 + 5);
  XPlaneFitLM::Fit_Function(small, hx, 4, 3, points);
  EXPECT_NEAR(hx[2], 3 + 50000, 1e-6);
}

}  // namespace
}  // namespace zelmo::test
