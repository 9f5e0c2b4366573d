// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <thread>

#include <gmock/gmock.h>

#include "lmfit/shapes.h"
#include "support/captured_output.h"
#include "zelmo/lmfit/cone_fit_lm.h"

/// \file
/// What cylinder and cone add to the stages: starts, extents, ends.

namespace zelmo::test {
namespace {

using xfeaturefitfilter::FilterParam;
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
    const Real t = (Vec(&scan.points[3 * static_cast<std::size_t>(i)]) - from).dot(axis);
    extent = {std::min(extent.first, t), std::max(extent.second, t)};
  }
  return extent;
}

TEST(XCylinderFitLM, SolvesFromAGivenStartOfAnyAxisLength) {
  const Scan scan = cylinderScan(300, 0.01L);
  const auto truth = leastSquares(CylinderShape::truth(), 300, [&](const auto& p, int i) {
    return cylinderResidual(p, &scan.points[3 * static_cast<std::size_t>(i)]);
  });
  for (const float length : {0.01F, 1.0F, -7.3F}) {
    SCOPED_TRACE(length);
    const float seed[7] = {11, -19, 31, 0.3F * length, 0.5F * length, 0.8F * length, 14};
    XCylinderFitLM fit;
    EXPECT_EQ(standardOutputOf(
                  [&] { EXPECT_EQ(fit.Fit(scan.points.data(), nullptr, scan.count(), seed), 0); }),
              "");
    CylinderShape::expectNear(fit, truth);
    EXPECT_GT(fit.axis[2] * length, 0);

    const auto [low, high] = extentOf(scan, Vec(fit.center), Vec(fit.axis));
    EXPECT_NEAR(static_cast<double>(low + high), 0, 2 * kFloatLength);
    EXPECT_NEAR(fit.height, static_cast<double>(high - low), kFloatLength);
    const Vec half = Vec(fit.axis) * (fit.height / 2);
    EXPECT_LT(static_cast<double>((Vec(fit.center) + half - Vec(fit.top)).norm()), kFloatLength);
    EXPECT_LT(static_cast<double>((Vec(fit.center) - half - Vec(fit.base)).norm()), kFloatLength);
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
  // No axis: nothing to be at a distance from but the radius itself.
  const float no_axis[7] = {10, -20, 30, 0, 0, 0, 14};
  EXPECT_LE(XCylinderFitLM().Fit(scan.points.data(), nullptr, 7, no_axis), 0);
  EXPECT_EQ(
      XCylinderFitLM().Fit(scan.points.data(), nullptr, 7, kParam, xfeaturefitfilter::FilterNone),
      -1);
}

TEST(XCylinderFitLM, PrintsItsStartAndTheKeptPoints) {
  const Scan scan = cylinderScan(100, 0.01L);
  const auto printed = [&](xfeaturefitfilter::FilterMethod method) {
    XCylinderFitLM fit;
    return standardOutputOf(
        [&] { fit.Fit(scan.points.data(), scan.normals.data(), 100, kParam, method); });
  };
  const std::string start = printed(xfeaturefitfilter::FilterNone);
  EXPECT_THAT(start, testing::MatchesRegex("param:([-+.e0-9]+ ){6}[-+.e0-9]+\n"));
  EXPECT_EQ(printed(xfeaturefitfilter::FilterSigma), start);
  EXPECT_EQ(printed(xfeaturefitfilter::FilterSigmaAngle), start);
  EXPECT_EQ(printed(xfeaturefitfilter::FilterProportionAngle), start + "90 100\n");
}

// Far beyond the end of the cylinder, and off it: after the filter it no longer lengthens it.
TEST(XCylinderFitLM, ADroppedPointDoesNotLengthenIt) {
  Scan scan = cylinderScan(300, 0.01L);
  const auto [low, high] = extentOf(scan, Vec(10, -20, 30), CylinderShape::axis());
  scan.add({Vec(10, -20, 30) + CylinderShape::axis() * 90, CylinderShape::axis()});
  XCylinderFitLM fit;
  standardOutputOf([&] {
    EXPECT_EQ(fit.Fit(scan.points.data(), scan.normals.data(), scan.count(), kParam,
                      xfeaturefitfilter::FilterAngle),
              0);
  });
  EXPECT_NEAR(fit.height, static_cast<double>(high - low), 1e-2);
  standardOutputOf([&] {
    fit.Fit(scan.points.data(), scan.normals.data(), scan.count(), kParam,
            xfeaturefitfilter::FilterNone);
  });
  EXPECT_GT(fit.height, 85);
}

// What is rounded to float inside the residuals, by numbers that no float holds.
TEST(AxisResiduals, RoundRadiusAndSlopeToFloat) {
  float point[3] = {3, 0, 7};
  double hx = 0;
  double cylinder[7] = {0, 0, 0, 0, 0, 2, 0.1};
  XCylinderFitLM::Fit_Function(cylinder, &hx, 7, 1, point);
  EXPECT_EQ(hx, 3.0 - static_cast<double>(0.1F));
  double cone[7] = {0, 0, 0, 0, 0, -2, 0.3};
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
  const auto fit = [&](XCylinderFitLM& cylinder, zelmolm::XSphereFitLM& sphere) {
    for (int run = 0; run < 3; ++run) {
      cylinder.Fit(scan.points.data(), nullptr, scan.count(), seed);
      sphere.Fit(scan.points.data(), nullptr, scan.count(), kParam, xfeaturefitfilter::FilterNone);
    }
  };
  XCylinderFitLM alone, here, there;
  zelmolm::XSphereFitLM alone2, here2, there2;
  fit(alone, alone2);
  std::thread other([&] { fit(there, there2); });
  fit(here, here2);
  other.join();
  for (const XCylinderFitLM& c : {here, there}) {
    EXPECT_TRUE(std::equal(c.top, c.top + 3, alone.top));
    EXPECT_EQ(c.radius, alone.radius);
  }
  for (const zelmolm::XSphereFitLM& c : {here2, there2}) {
    EXPECT_TRUE(std::equal(c.center, c.center + 3, alone2.center));
  }
}

// Points of a cone with half angle 0.3 about a generic axis, between the given parameters.
struct ConeScan {
  ConeScan(const std::vector<std::pair<double, double>>& spans, int count, Real noise) {
    RandomGeometry random(8);
    for (int i = 0; i < count; ++i) {
      const auto& [low, high] = spans[static_cast<std::size_t>(i) % spans.size()];
      const Real t = random.number(low, high);
      const Vec out = random.directionSquareTo(axis);
      const Real side = t < 0 ? -1 : 1;
      const Vec normal = out * std::cos(0.3L) - axis * (side * std::sin(0.3L));
      const Real radius = std::fabs(t) * std::tan(0.3L) + noise * random.number(-1, 1);
      scan.add({apex + axis * t + out * radius, normal});
    }
  }
  Vec apex{5, -8, 12};
  Vec axis{0.36L, 0.48L, 0.8L};
  Scan scan;
};

TEST(XConeFitLM, ReachesTheOptimumOfItsResidual) {
  const ConeScan cone({{20, 60}}, 2000, 0.01L);
  const auto truth =
      leastSquares({5, -8, 12, 0.36L, 0.48L, 0.8L, 0.3L}, cone.scan.count(),
                   [&](const std::vector<Real>& p, int i) {
                     return coneResidual(p, &cone.scan.points[3 * static_cast<std::size_t>(i)]);
                   });
  XConeFitLM fit;
  EXPECT_EQ(standardOutputOf([&] {
              EXPECT_GE(fit.Fit(cone.scan.points.data(), cone.scan.normals.data(), 2000), 0);
            }),
            "");
  // Parts of the residual are rounded to float, which moves the optimum a little.
  EXPECT_NEAR(fit.halfAngle, static_cast<double>(truth[6]), 1e-6);
  EXPECT_LT(static_cast<double>(angleBetweenAxes(Vec(fit.axis), Vec(&truth[3]))), 1e-6);
  EXPECT_LT(static_cast<double>((Vec(fit.apex) - Vec(truth.data())).norm()), 1e-4);
}

// The axis ends up pointing from the base towards the apex, whichever side the points lie on.
TEST(XConeFitLM, DescribesItsEnds) {
  struct Case {
    const char* name;
    std::vector<std::pair<double, double>> spans;
    double far_end, near_end;
  };
  const Case cases[] = {
      {"along the axis", {{20, 60}}, 60, 20},
      {"against the axis", {{-60, -20}}, -60, -20},
      {"both, mostly along", {{5, 60}, {5, 60}, {-30, -5}}, 60, 0},
      {"both, mostly against", {{5, 30}, {-60, -5}, {-60, -5}}, -60, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const ConeScan cone(c.spans, 3000, 0);
    XConeFitLM fit;
    EXPECT_GE(fit.Fit(cone.scan.points.data(), cone.scan.normals.data(), 3000), 0);
    xgeofeature::XFCone record;
    fit.getCone(record);
    const Real toward_apex = c.far_end > 0 ? -1 : 1;
    // Random points come within 0.1 of the ends of their span.
    EXPECT_LT(static_cast<double>((Vec(record.apex) - cone.apex).norm()), 1e-3);
    EXPECT_LT(static_cast<double>((Vec(record.axis) - cone.axis * toward_apex).norm()), 1e-5);
    EXPECT_LT(static_cast<double>((Vec(record.base) - cone.apex - cone.axis * c.far_end).norm()),
              0.1);
    EXPECT_LT(static_cast<double>((Vec(record.top) - cone.apex - cone.axis * c.near_end).norm()),
              0.1);
    EXPECT_NEAR(record.height, std::fabs(c.far_end - c.near_end), 0.1);
    EXPECT_NEAR(record.halfAngle, 0.3, 1e-5);
    EXPECT_NEAR(record.baseRadius, std::fabs(c.far_end) * std::tan(0.3), 0.05);
    EXPECT_NEAR(record.topRadius, std::fabs(c.near_end) * std::tan(0.3), 0.05);
  }
}

TEST(XConeFitLM, NeedsSixPointsAStartAndSevenToSolve) {
  const ConeScan cone({{20, 60}}, 7, 0);
  XConeFitLM fit;
  testing::internal::CaptureStderr();
  for (const int count : {-1, 0, 5}) {
    EXPECT_EQ(fit.Fit(cone.scan.points.data(), cone.scan.normals.data(), count), -1);
  }
  EXPECT_EQ(fit.Fit(cone.scan.points.data(), nullptr, 7), -1);
  EXPECT_EQ(fit.height, 0);
  EXPECT_EQ(fit.Fit(cone.scan.points.data(), cone.scan.normals.data(), 6), -1);
  testing::internal::GetCapturedStderr();
}

}  // namespace
}  // namespace zelmo::test
