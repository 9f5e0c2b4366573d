// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/lmfit/plane_fit_lm.h"

#include <gmock/gmock.h>

#include "lmfit/shapes.h"

namespace zelmo::test {
namespace {

using testing::ElementsAre;
using zelmolm::XPlaneFitLM;

// Points of the plane z = 4, normals up.
Scan flatScan(const std::vector<cv::Point2f>& at) {
  Scan scan;
  for (const auto& p : at) scan.add({p.x, p.y, 4}, {0, 0, 1});
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
  const Vec u(std::cos(CV_PI / 6), 0.5, 0), v(-0.5, std::cos(CV_PI / 6), 0), middle(1, 2, 4);
  Scan scan;
  for (const auto& [a, b] : {std::pair{3, 1}, {-3, 1}, {-3, -1}, {3, -1}}) {
    scan.add(middle + u * a + v * b, {0, 0, 1});
  }
  const XPlaneFitLM fit = fitted(scan);
  EXPECT_NEAR(fit.length, 6, 1e-5);
  EXPECT_NEAR(fit.width, 2, 1e-5);
  EXPECT_LT((Vec(fit.center) - middle).norm(), 1e-5);
  EXPECT_LT(Vec(fit.majorDir).cross(u).norm(), 1e-3);
  // The corners form a box of the same sides, parallel to the direction of the first point: not
  // turned back along the longer side.
  const Vec side = Vec(fit.corners) - Vec(fit.corners + 3);
  EXPECT_LT(side.unit().cross((Vec(scan.points[0]) - middle).unit()).norm(), 1e-3);
  EXPECT_LT(gap(side.norm() * (Vec(fit.corners + 3) - Vec(fit.corners + 6)).norm(), 12), 1e-4);

  // The record's d belongs to the center, not to the fit.
  XPlaneFitLM lifted = fit;
  lifted.d = 99;
  xgeofeature::XFPlane plane;
  lifted.getPlane(plane);
  EXPECT_THAT(plane.normal, ElementsAre(0, 0, 1));
  EXPECT_THAT((std::array{plane.a, plane.b, plane.c, plane.d, plane.length, plane.width}),
              ElementsAre(0, 0, 1, -fit.center[2], fit.length, fit.width));
}

TEST(XPlaneFitLM, LiesOnTheSideOfMostNormals) {
  for (const float up : {1.0F, -1.0F}) {
    Scan three = flatScan({{0, 0}, {10, 0}, {0, 10}});
    three.normals = {{0, 0, up}, {0, 0, up}, {0, 0, -up}};
    const XPlaneFitLM fit = fitted(three);
    EXPECT_LT((Vec(fit.normal) - Vec(0, 0, up)).norm(), 1e-7);
    EXPECT_FLOAT_EQ(fit.d, -4 * up);
  }
}

// In the zone all but the farthest are measured from the lowest, and that one counts 10 n times.
TEST(XPlaneFitLM, HasResidualsOfDistanceAndOfTheZone) {
  float points[] = {0, 0, -1, 1, 0, 0, 0, 1, 3, 1, 1, 3};
  double plane[] = {0, 0, 2, 4}, hx[4];
  XPlaneFitLM::Fit_Chebyshev_Function(plane, hx, 4, 4, points);
  EXPECT_THAT(hx, ElementsAre(0, 1, 4 * 40, 4));
}

}  // namespace
}  // namespace zelmo::test
