// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
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

Scan cylinderScan(int count, Real noise = 0) {
  RandomGeometry random(3);
  Scan scan;
  for (int i = 0; i < count; ++i) {
    SurfacePoint s = CylinderShape::at(random);
    s.point = s.point + s.normal * (noise * random.number(-1, 1));
    scan.add(s);
  }
  return scan;
}

// The smallest and largest parameter along the axis, by brute force.
std::pair<Real, Real> extentOf(const Scan& scan, const Vec& from, const Vec& axis) {
  std::pair<Real, Real> extent(1e9L, -1e9L);
  for (int i = 0; i < scan.count(); ++i) {
    const Real t = (Vec(scan.point(i)) - from).dot(axis);
    extent = {std::min(extent.first, t), std::max(extent.second, t)};
  }
  return extent;
}

TEST(XCylinderFitLM, SolvesFromAGivenStartOfAnyAxisLength) {
  const Scan scan = cylinderScan(300, 0.01L);
  const Params truth = scan.solved(CylinderShape::truth(), scan.all(), cylinderResidual);
  for (const float length : {0.01F, 1.0F, -7.3F}) {
    SCOPED_TRACE(length);
    const float seed[7] = {11, -19, 31, 0.3F * length, 0.5F * length, 0.8F * length, 14};
    XCylinderFitLM fit;
    EXPECT_EQ(standardOutputOf(
                  [&] { EXPECT_EQ(fit.Fit(scan.points.data(), nullptr, scan.count(), seed), 0); }),
              "");
    const Apart apart = CylinderShape::apart(fit, truth, scan.middle());
    EXPECT_LT(apart.length, 1.5 * kFloatLength);
    EXPECT_LT(apart.angle, 3 * kFloatDirection);
    EXPECT_GT(fit.axis[2] * length, 0);

    const auto [low, high] = extentOf(scan, Vec(fit.center), Vec(fit.axis));
    EXPECT_NEAR(static_cast<double>(low + high), 0, 2 * kFloatLength);
    EXPECT_NEAR(fit.height, static_cast<double>(high - low), kFloatLength);
    const Vec half = Vec(fit.axis) * (fit.height / 2);
    EXPECT_LT((Vec(fit.center) + half - Vec(fit.top)).norm(), kFloatLength);
    EXPECT_LT((Vec(fit.center) - half - Vec(fit.base)).norm(), kFloatLength);
  }
}

TEST(XCylinderFitLM, NamesTheFailureOfASolveByItsCode) {
  const Scan scan = cylinderScan(7);
  const float seed[7] = {10, -20, 30, 0.36F, 0.48F, 0.8F, 14};
  const int expected[] = {-1, -1, -2, 0};
  for (int count = 4; count <= 7; ++count) {
    XCylinderFitLM fit;
    EXPECT_EQ(fit.Fit(scan.points.data(), nullptr, count, seed), expected[count - 4]) << count;
    EXPECT_TRUE(count != 6 || fit.radius == 14.0F) << "the start is stored";
  }
  const float bad[7] = {NAN, -20, 30, 0.36F, 0.48F, 0.8F, 14};
  EXPECT_EQ(XCylinderFitLM().Fit(scan.points.data(), nullptr, 7, bad), -2);
  EXPECT_EQ(XCylinderFitLM().Fit(scan.points.data(), nullptr, 7, kParam, {}), -1);
  // No start comes out of one point many times over.
  Scan one;
  for (int i = 0; i < 20; ++i) one.add({{1, 2, 3}, {0, 0, 1}});
  XCylinderFitLM cylinder;
  XConeFitLM cone;
  testing::internal::CaptureStderr();
  EXPECT_EQ(fitScan(cylinder, one, kParam, 0).code, -1);
  EXPECT_EQ(cone.Fit(one.points.data(), one.normals.data(), 20), -1);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(cone.Fit(scan.points.data(), nullptr, 7), -1);
  EXPECT_EQ(cone.Fit(scan.points.data(), scan.normals.data(), 5), -1);
  EXPECT_EQ(cone.height, 0);
}

TEST(XCylinderFitLM, PrintsItsStartAndTheKeptPoints) {
  const Scan scan = cylinderScan(100, 0.01L);
  const auto printed = [&](int method) {
    XCylinderFitLM fit;
    return fitScan(fit, scan, kParam, method).printed;
  };
  const std::string start = printed(0);
  EXPECT_THAT(start, testing::MatchesRegex("param:([-+.e0-9]+ ){6}[-+.e0-9]+\n"));
  EXPECT_EQ(printed(1), start);
  EXPECT_EQ(printed(4), start);
  EXPECT_EQ(printed(5), start + "90 100\n");
}

// Far beyond the end of the cylinder, and off it: after the filter it no longer lengthens it.
TEST(XCylinderFitLM, ADroppedPointDoesNotLengthenIt) {
  Scan scan = cylinderScan(300, 0.01L);
  const auto [low, high] = extentOf(scan, Vec(10, -20, 30), CylinderShape::axis());
  scan.add({Vec(10, -20, 30) + CylinderShape::axis() * 90, CylinderShape::axis()});
  XCylinderFitLM fit;
  EXPECT_EQ(fitScan(fit, scan, kParam, xfeaturefitfilter::FilterAngle).code, 0);
  EXPECT_NEAR(fit.height, static_cast<double>(high - low), 1e-2);
  fitScan(fit, scan, kParam, xfeaturefitfilter::FilterNone);
  EXPECT_GT(fit.height, 85);
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
  // Without an axis there is no distance from it.
  cylinder[5] = 0;
  XCylinderFitLM::Fit_Function(cylinder, &hx, 7, 1, point);
  EXPECT_EQ(hx, -static_cast<double>(0.1F));
}

// Two objects at once, each the same bits as alone.
TEST(DampedFits, RunAtOnceInTwoThreads) {
  const Scan scan = cylinderScan(2000, 0.01L);
  const float seed[7] = {11, -19, 31, 0.3F, 0.5F, 0.8F, 14};
  struct Run {
    XCylinderFitLM cylinder;
    zelmolm::XSphereFitLM sphere;
  } alone, here, there;
  const auto fit = [&](Run& run) {
    for (int i = 0; i < 3; ++i) {
      run.cylinder.Fit(scan.points.data(), nullptr, scan.count(), seed);
      run.sphere.Fit(scan.points.data(), nullptr, scan.count(), kParam, {});
    }
  };
  fit(alone);
  std::thread other([&] { fit(there); });
  fit(here);
  other.join();
  for (const Run& run : {here, there}) {
    EXPECT_EQ(CylinderShape::fieldsOf(run.cylinder), CylinderShape::fieldsOf(alone.cylinder));
    EXPECT_EQ(SphereShape::fieldsOf(run.sphere), SphereShape::fieldsOf(alone.sphere));
  }
}

// The axis ends up pointing from the base towards the apex, whichever side the points lie on.
TEST(XConeFitLM, FindsItsApexAndItsEnds) {
  const Vec apex{5, -8, 12}, axis = CylinderShape::axis();
  const struct {
    const char* name;
    std::vector<std::pair<double, double>> spans;
    double far_end, near_end;
  } cases[] = {
      {"along the axis", {{20, 60}}, 60, 20},
      {"against the axis", {{-60, -20}}, -60, -20},
      {"both, mostly along", {{5, 60}, {5, 60}, {-30, -5}}, 60, 0},
      {"both, more points on the short side", {{5, 60}, {-30, -5}, {-30, -5}}, 60, 0},
  };
  // The sign of the axis that sample consensus finds follows most of the points.
  for (unsigned k = 0; k < 16; ++k) {
    const auto& c = cases[k % 4];
    SCOPED_TRACE(testing::Message() << c.name << ' ' << k);
    RandomGeometry random(8 + k);
    Scan scan;
    for (std::size_t i = 0; i < 900; ++i) {
      const auto& [low, high] = c.spans[i % c.spans.size()];
      const Real t = random.number(low, high);
      const Vec out = random.directionSquareTo(axis);
      scan.add({apex + axis * t + out * (std::fabs(t) * std::tan(0.3L)),
                out * std::cos(0.3L) - axis * ((t < 0 ? -1 : 1) * std::sin(0.3L))});
    }
    XConeFitLM fit;
    EXPECT_EQ(standardOutputOf(
                  [&] { EXPECT_GE(fit.Fit(scan.points.data(), scan.normals.data(), 900), 0); }),
              "");
    xgeofeature::XFCone record;
    fit.getCone(record);
    // Random points come within 1 of the ends of their span.
    EXPECT_LT((Vec(record.apex) - apex).norm(), 1e-3);
    EXPECT_LT((Vec(record.axis) - axis * (c.far_end > 0 ? -1 : 1)).norm(), 1e-5);
    EXPECT_LT((Vec(record.base) - apex - axis * c.far_end).norm(), 1);
    EXPECT_LT((Vec(record.top) - apex - axis * c.near_end).norm(), 1);
    EXPECT_NEAR(record.height, std::fabs(c.far_end - c.near_end), 1);
    EXPECT_NEAR(record.halfAngle, 0.3, 1e-5);
    EXPECT_NEAR(record.baseRadius, std::fabs(c.far_end) * std::tan(0.3), 0.4);
    EXPECT_NEAR(record.topRadius, std::fabs(c.near_end) * std::tan(0.3), 0.4);
    XConeFitLM few;
    EXPECT_EQ(few.Fit(scan.points.data(), scan.normals.data(), 5), -1);
    EXPECT_EQ(few.height, 0);
    EXPECT_EQ(few.Fit(scan.points.data(), scan.normals.data(), 6), -1);
  }
}

}  // namespace
}  // namespace zelmo::test
