// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <thread>

#include <gmock/gmock.h>

#include "lmfit/shapes.h"
#include "zelmo/lmfit/cone_fit_lm.h"

/// \file
/// What cylinder and cone add to the stages: starts, extents, ends.

namespace zelmo::test {
namespace {

using zelmolm::XConeFitLM;
using zelmolm::XCylinderFitLM;

const FilterParam kParam(70, 2, 0.1F);

/// A start near the scans' cylinder, its axis of a length.
std::vector<float> seedOf(float length = 1) {
  return {25.4F, -37, 50.2F, 0.46F * length, -0.61F * length, 0.65F * length, 14};
}

// The smallest and largest parameter along the axis, by brute force.
std::pair<Real, Real> extentOf(const Scan& scan, const Vec& from, const Vec& axis) {
  std::pair<Real, Real> extent(1e9L, -1e9L);
  for (const auto& p : scan.points) {
    const Real t = (Vec(p) - from).dot(axis);
    extent = {std::min(extent.first, t), std::max(extent.second, t)};
  }
  return extent;
}

TEST(XCylinderFitLM, SolvesFromAGivenStartOfAnyAxisLength) {
  const Scan scan = soundScan(Kind::Cylinder, 300, 0.01L);
  const Params truth = solved(Kind::Cylinder, truthOf(Kind::Cylinder), scan.points);
  for (const float length : {0.01F, 1.0F, -7.3F}) {
    SCOPED_TRACE(length);
    XCylinderFitLM fit;
    EXPECT_EQ(standardOutputOf(
                  [&] { EXPECT_EQ(fit.Fit(scan.at(), nullptr, 300, seedOf(length).data()), 0); }),
              "");
    const Apart off =
        apart(Kind::Cylinder, CylinderShape::fieldsOf(fit), truth, middleOf(scan.points));
    EXPECT_LT(off.length, 1.5 * kFloatLength);
    EXPECT_LT(off.angle, 3 * kFloatDirection);
    EXPECT_GT(fit.axis[2] * length, 0);

    const auto [low, high] = extentOf(scan, Vec(fit.center), Vec(fit.axis));
    EXPECT_LT(gap(low, -high), 2 * kFloatLength);
    EXPECT_LT(gap(fit.height, high - low), kFloatLength);
    const Vec half = Vec(fit.axis) * (fit.height / 2);
    EXPECT_LT((Vec(fit.center) + half - Vec(fit.top)).norm(), kFloatLength);
    EXPECT_LT((Vec(fit.center) - half - Vec(fit.base)).norm(), kFloatLength);
  }
}

TEST(XCylinderFitLM, NamesTheFailureOfASolveByItsCode) {
  const Scan scan = soundScan(Kind::Cylinder, 7);
  const int expected[] = {-1, -1, -2, 0};
  for (int count = 4; count <= 7; ++count) {
    XCylinderFitLM fit;
    EXPECT_EQ(fit.Fit(scan.at(), nullptr, count, seedOf().data()), expected[count - 4]) << count;
    EXPECT_TRUE(count != 6 || fit.radius == 14.0F) << "the start is stored";
  }
  auto bad = seedOf();
  bad[0] = NAN;
  EXPECT_EQ(XCylinderFitLM().Fit(scan.at(), nullptr, 7, bad.data()), -2);
  EXPECT_EQ(XCylinderFitLM().Fit(scan.at(), nullptr, 7, kParam, {}), -1);
  // No start comes out of one point many times over, nor without normals.
  const Scan one{Points(20, {1, 2, 3}), Points(20, {0, 0, 1})};
  XCylinderFitLM cylinder;
  XConeFitLM cone;
  testing::internal::CaptureStderr();
  EXPECT_EQ(fitScan(cylinder, one, kParam, 0).code, -1);
  EXPECT_EQ(cone.Fit(one.at(), one.normalsAt(), 20), -1);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(cone.Fit(scan.at(), nullptr, 7), -1);
  EXPECT_EQ(cone.Fit(scan.at(), scan.normalsAt(), 5), -1);
  EXPECT_EQ(cone.height, 0);
}

// Far beyond the end of the cylinder, and off it: after the filter it no longer lengthens it.
TEST(XCylinderFitLM, ADroppedPointDoesNotLengthenIt) {
  Scan scan = soundScan(Kind::Cylinder, 300, 0.01L);
  const auto [low, high] = extentOf(scan, kOrigin, kZ);
  scan.add(kOrigin + kZ * 150, kZ);
  XCylinderFitLM fit;
  EXPECT_EQ(fitScan(fit, scan, kParam, xfeaturefitfilter::FilterAngle).code, 0);
  EXPECT_LT(gap(fit.height, high - low), 1e-2);
  fitScan(fit, scan, kParam, xfeaturefitfilter::FilterNone);
  EXPECT_GT(fit.height, 145);
}

// What is rounded to float inside the residuals, by numbers that no float holds.
TEST(AxisResiduals, RoundRadiusAndSlopeToFloat) {
  float point[3] = {3, 0, 7};
  double hx = 0;
  double cylinder[7] = {0, 0, 0, 0, 0, 2, 0.1}, cone[7] = {0, 0, 0, 0, 0, -2, 0.3};
  XCylinderFitLM::Fit_Function(cylinder, &hx, 7, 1, point);
  EXPECT_EQ(hx, 3.0 - static_cast<double>(0.1F));
  XConeFitLM::Fit_Function(cone, &hx, 7, 1, point);
  const double slope = std::tan(0.3F);
  EXPECT_EQ(hx, 3.0 - static_cast<double>(static_cast<float>(7.0 * slope)));
  EXPECT_NE(hx, 3.0 - 7.0 * slope);
}

// Two objects at once, each the same bits as alone.
TEST(DampedFits, RunAtOnceInTwoThreads) {
  const Scan scan = soundScan(Kind::Cylinder, 2000, 0.01L);
  const auto fit = [&scan] {
    XCylinderFitLM cylinder;
    cylinder.Fit(scan.at(), nullptr, scan.count(), seedOf().data());
    return CylinderShape::fieldsOf(cylinder);
  };
  const Params alone = fit();
  Params there;
  std::thread other([&] { there = fit(); });
  EXPECT_EQ(fit(), alone);
  other.join();
  EXPECT_EQ(there, alone);
}

// The axis ends up pointing from the base towards the apex, whichever side the points lie on. The
// sign of the axis that sample consensus finds follows most of the points.
TEST(XConeFitLM, FindsItsApexAndItsEnds) {
  const struct {
    std::vector<std::pair<double, double>> spans;
    double far_end, near_end;
  } cases[] = {{{{20, 60}}, 60, 20},
               {{{-60, -20}}, -60, -20},
               {{{5, 60}, {5, 60}, {-30, -5}}, 60, 0},
               {{{5, 60}, {-30, -5}, {-30, -5}}, 60, 0}};
  for (unsigned k = 0; k < 16; ++k) {
    const auto& c = cases[k % 4];
    SCOPED_TRACE(k);
    RandomGeometry random(8 + k);
    const Params truth = paramsOf(kOrigin, kZ, 0.3L);
    Scan scan;
    for (std::size_t i = 0; i < 900; ++i) {
      const auto& [low, high] = c.spans[i % c.spans.size()];
      const Real t = random.number(low, high);
      const Vec out = random.directionSquareTo(kZ);
      const Vec point = kOrigin + kZ * t + out * (std::fabs(t) * std::tan(0.3L));
      scan.add(point, normalAt(Kind::Cone, truth, point));
    }
    XConeFitLM fit;
    EXPECT_EQ(standardOutputOf([&] { EXPECT_GE(fit.Fit(scan.at(), scan.normalsAt(), 900), 0); }),
              "");
    xgeofeature::XFCone record;
    fit.getCone(record);
    // Random points come within 1 of the ends of their span.
    EXPECT_LT((Vec(record.apex) - kOrigin).norm(), 1e-3);
    EXPECT_LT((Vec(record.axis) - kZ * (c.far_end > 0 ? -1 : 1)).norm(), 1e-5);
    EXPECT_LT((Vec(record.base) - kOrigin - kZ * c.far_end).norm(), 1);
    EXPECT_LT((Vec(record.top) - kOrigin - kZ * c.near_end).norm(), 1);
    EXPECT_NEAR(record.height, std::fabs(c.far_end - c.near_end), 1);
    EXPECT_NEAR(record.halfAngle, 0.3, 1e-5);
    EXPECT_NEAR(record.baseRadius, std::fabs(c.far_end) * std::tan(0.3), 0.4);
    EXPECT_NEAR(record.topRadius, std::fabs(c.near_end) * std::tan(0.3), 0.4);
  }
}

}  // namespace
}  // namespace zelmo::test
