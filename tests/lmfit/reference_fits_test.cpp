// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/reference_fits.h"

#include <cmath>

#include <gtest/gtest.h>

#include "lmfit/shapes.h"
#include "support/captured_output.h"
#include "support/least_squares.h"

/// \file
/// Certified data sets. The library sees points in float, so what it has to meet is the certified
/// solution moved by that rounding: the long double fit of the rounded points, which starts from the
/// certificate.

namespace zelmo::test {
namespace {

constexpr double kTenthMicrometre = 1e-4;
constexpr double kTenthMicroradian = 1e-7;

const xfeaturefitfilter::FilterParam kNoLimits(0, 0, 0);

std::vector<Real> certificate(const std::string& name) {
  std::ifstream in(referenceData("fits/" + name + ".fit"));
  std::vector<Real> values;
  for (Real value; in >> value;) values.push_back(value);
  return values;
}

// A length stored in a float is off by up to half a unit in its last place.
double storage(Real value) { return static_cast<double>(std::fabs(value)) * 6e-8; }

struct Set {
  explicit Set(const std::string& name) : points(referencePoints(name)), fit(certificate(name)) {}
  int count() const { return static_cast<int>(points.size() / 3); }
  template <typename Residual>
  std::vector<Real> solved(const std::vector<Real>& start, Residual residual) const {
    return leastSquares(start, count(), [&](const std::vector<Real>& p, int i) {
      return residual(p, &points[3 * static_cast<std::size_t>(i)]);
    });
  }
  std::vector<float> points;
  std::vector<Real> fit;
};

class PlaneReference : public testing::TestWithParam<int> {};

TEST_P(PlaneReference, IsMet) {
  ZELMO_REQUIRE_REFERENCE_DATA("fits/Plane");
  const Set set("Plane/pla" + std::to_string(GetParam()));
  const Vec point(set.fit.data());
  const Vec n(&set.fit[3]);
  const auto truth = set.solved({n.x, n.y, n.z, -n.dot(point)}, planeResidual);
  zelmolm::XPlaneFitLM fit;
  ASSERT_EQ(fit.Fit(set.points.data(), set.points.data(), set.count(), kNoLimits,
                    xfeaturefitfilter::FilterNone),
            0);
  const Vec fitted(fit.normal);
  EXPECT_LT(static_cast<double>(angleBetweenAxes(fitted, Vec(truth.data()))),
            kTenthMicroradian + kFloatDirection);
  // At the center of the points; the rounding of the normal is carried out there.
  const Real height = fitted.dot(point) + static_cast<Real>(fit.d);
  const Real expected = (Vec(truth.data()).dot(point) + truth[3]) / Vec(truth.data()).norm();
  const Real side = fitted.dot(Vec(truth.data())) > 0 ? 1 : -1;
  EXPECT_NEAR(static_cast<double>(height), static_cast<double>(side * expected),
              kTenthMicrometre + 2 * storage(point.norm()) + storage(fit.d));
}

INSTANTIATE_TEST_SUITE_P(Certified, PlaneReference, testing::Range(1, 11));

class SphereReference : public testing::TestWithParam<int> {};

TEST_P(SphereReference, IsMet) {
  ZELMO_REQUIRE_REFERENCE_DATA("fits/Sphere");
  const Set set("Sphere/sph" + std::to_string(GetParam()));
  const auto truth =
      set.solved({set.fit[0], set.fit[1], set.fit[2], set.fit[3] / 2}, sphereResidual);
  zelmolm::XSphereFitLM fit;
  ASSERT_EQ(
      fit.Fit(set.points.data(), nullptr, set.count(), kNoLimits, xfeaturefitfilter::FilterNone),
      0);
  const Vec center(truth.data());
  EXPECT_LT(static_cast<double>((Vec(fit.center) - center).norm()),
            kTenthMicrometre + storage(center.norm()));
  EXPECT_NEAR(fit.radius, static_cast<double>(truth[3]), kTenthMicrometre + storage(truth[3]));
}

INSTANTIATE_TEST_SUITE_P(Certified, SphereReference, testing::Range(1, 11));

}  // namespace
}  // namespace zelmo::test
