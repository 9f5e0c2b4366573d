// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/through_points.h"

#include <algorithm>
#include <limits>

#include <gtest/gtest.h>

#include "support/long_double_geometry.h"

namespace zelmo::internal {
namespace {

using test::gap;
using test::RandomGeometry;
using test::Real;
using test::Vec;

TEST(SphereThrough, PassesThroughItsPoints) {
  RandomGeometry random(41);
  for (int i = 0; i < 2000; ++i) {
    const Vec center = random.point(20);
    const Real radius = random.number(1, 20);
    float p[12];
    Vec q[4];
    for (int k = 0; k < 4; ++k) {
      (center + random.direction() * radius).copyTo(p + 3 * k);
      q[k] = Vec(p + 3 * k);
    }
    const Real det = (q[0] - q[1]).dot((q[1] - q[2]).cross(q[2] - q[3]));
    // How far a rounding of the squares, at most 5e-4 here, is carried.
    const Real reach = std::max({(q[0] - q[1]).norm(), (q[1] - q[2]).norm(), (q[2] - q[3]).norm()});
    const Real bound = 5e-4L * 3 * reach * reach / std::fabs(det) + 1e-5L;
    for (const SquareSums squares : {SquareSums::InFloat, SquareSums::InDouble}) {
      const auto sphere = sphereThrough(p, squares);
      ASSERT_TRUE(sphere);
      const bool in_float = squares == SquareSums::InFloat;
      // In double only the center's own rounding is left, carried as far as the points lie.
      const Real error = in_float ? bound : 1e-5L + 1e-6L * Vec(sphere->center.data()).norm();
      for (const Vec& point : q) {
        ASSERT_LE(gap((point - Vec(sphere->center.data())).norm(), sphere->radius), error) << i;
      }
    }
  }
}

TEST(SphereThrough, FailsBelowADeterminantOfOneMillionth) {
  // The differences are powers of two or their like, so the determinant is exactly their product.
  const auto through = [](float edge) {
    const float p[12] = {1, 1, edge, 0, 1, edge, 0, 0, edge, 0, 0, 0};
    return sphereThrough(p, SquareSums::InDouble).has_value();
  };
  EXPECT_TRUE(through(1.00001e-6F));
  EXPECT_FALSE(through(0.99999e-6F));
  EXPECT_FALSE(through(0));
  const float nan[12] = {1, 1, 1, 0, 1, 1, 0, 0, 1, 0, 0, std::numeric_limits<float>::quiet_NaN()};
  const float huge[12] = {1e30F, 1, 1, 0, 1e30F, 1, 0, 0, 1e30F, 0, 0, 0};
  EXPECT_FALSE(sphereThrough(nan, SquareSums::InFloat));
  EXPECT_FALSE(sphereThrough(huge, SquareSums::InFloat));
}

TEST(SphereThrough, KnowsItsTwoPrecisions) {
  // 4097 squared has no float: 16785409 becomes 16785408.
  const float p[12] = {4097, 0, 0, 4096, 0, 0, 4096, 1, 0, 4096, 0, 2};
  const auto in_float = sphereThrough(p, SquareSums::InFloat);
  const auto in_double = sphereThrough(p, SquareSums::InDouble);
  ASSERT_TRUE(in_float && in_double);
  EXPECT_EQ(in_double->center[0], 4096.5F);
  EXPECT_EQ(in_float->center[0], 4096.0F);
  // The radius belongs to the center as it is stored.
  EXPECT_FLOAT_EQ(in_double->radius, std::sqrt(1.5F));
  EXPECT_FLOAT_EQ(in_float->radius, std::sqrt(2.0F));
}

}  // namespace
}  // namespace zelmo::internal
