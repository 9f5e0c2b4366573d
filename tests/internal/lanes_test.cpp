// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/lanes.h"

#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "zelmo/internal/objective.h"
#include "zelmo/internal/residuals.h"

namespace zelmo::internal {
namespace {

ZELMO_MULTIVERSION double widened(const PointView& points, const SphereDeviation& sphere) {
  return foldSquareSum(points, sphere);
}
// The same fold, left to what every processor has.
double plain(const PointView& points, const SphereDeviation& sphere) {
  return foldSquareSum(points, sphere);
}
ZELMO_MULTIVERSION void widenedSums(const PlanarView& points, double* sums) {
  struct Both {
    ZELMO_ALWAYS_INLINE void operator()(double x, double y, double* values) const {
      values[0] = x * y;
      values[1] = x - y;
    }
  };
  laneSums<2>(points, Both{}, sums);
}

TEST(Lanes, GiveTheSameBitsInEveryWidthAndTheRightSum) {
  std::mt19937 engine(11);
  std::uniform_real_distribution<float> coordinate(-100, 100);
  std::vector<float> data(3 * 1003);
  for (float& value : data) value = coordinate(engine);
  const SphereDeviation sphere{1.5, -2.5, 0.25, 40};
  for (const int count : {0, 1, 7, 8, 9, 1003}) {
    SCOPED_TRACE(count);
    const PointView points(data.data(), count);
    long double expected = 0;
    for (int i = 0; i < count; ++i) {
      const cv::Point3d p = points.point(i);
      const long double e = std::sqrt((p.x - 1.5L) * (p.x - 1.5L) + (p.y + 2.5L) * (p.y + 2.5L) +
                                      (p.z - 0.25L) * (p.z - 0.25L)) -
                            40;
      expected += e * e;
    }
    EXPECT_EQ(widened(points, sphere), plain(points, sphere));
    EXPECT_NEAR(widened(points, sphere), static_cast<double>(expected),
                1e-12 * static_cast<double>(expected));
  }
}

TEST(Lanes, WalkPlanarPointsWithSeveralSumsAtOnce) {
  std::vector<float> data;
  for (int i = 1; i <= 11; ++i) {
    data.push_back(static_cast<float>(i));
    data.push_back(2.0F);
  }
  double sums[2] = {};
  widenedSums(PlanarView(data.data(), 11), sums);
  EXPECT_EQ(sums[0], 132.0);
  EXPECT_EQ(sums[1], 44.0);
}

TEST(Lanes, PassANanOverInTheLargest) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float data[] = {3, 0, 0, nan, 0, 0, -5, 0, 0};
  EXPECT_EQ(foldMaxAbs(PointView(data, 3), PlaneDeviation{1, 0, 0, 0}), 5.0);
}

}  // namespace
}  // namespace zelmo::internal
