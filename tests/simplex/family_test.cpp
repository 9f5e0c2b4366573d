// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// What all five fits promise alike, one row a class.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simplex/families.h"
#include "support/captured_output.h"
#include "support/parameter_names.h"

namespace zelmo::test {
namespace {

constexpr FitMethod kUnknown = static_cast<FitMethod>(9);
constexpr double kSize = 12;
const Vec kOrigin = {210, -340, 150};

Points scan(const Family& family, int count, const std::function<double(int)>& deviation) {
  RandomGeometry random(5);
  Points points;
  for (int i = 0; i < count; ++i) {
    const Real u = random.number(0, 1);
    const Vec local = family.at(u, random.number(0, 1), deviation(i) / kSize);
    points.push_back(inSpace(local, kSize, kOrigin).rounded());
  }
  return points;
}

class SimplexFamily : public testing::TestWithParam<Family> {
 protected:
  Raw fit(const Points& points, FitMethod method) {
    Raw raw(GetParam().params);
    standardOutputOf([&] { EXPECT_TRUE(GetParam().make().by_vector(points, raw.data(), method)); });
    return raw;
  }
  Real score(const Points& points, const Params& p, Score score) {
    std::vector<Real> distances;
    for (const auto& point : points) {
      distances.push_back(residualOf(GetParam().residual, p, Vec(point), 0));
    }
    return scoreOf(distances, score).value;
  }
};

TEST_P(SimplexFamily, RecoversAnExactFeatureFarFromTheOrigin) {
  const Points points = scan(GetParam(), 200, [](int) { return 0.0; });
  for (const FitMethod method : {x3dfit::LeastSquare, x3dfit::LeastAbsDev, x3dfit::Chebyshev}) {
    SCOPED_TRACE(method);
    // Floats near 340 are known to 1.5e-5.
    const Params p = GetParam().unified(fit(points, method).data());
    EXPECT_LT(score(points, p, Score::LargestAbs), 1e-4);
  }
}

// How far above the best score the descents end, in percent. Least squares have a table of their own.
TEST_P(SimplexFamily, AccuracyOfTheScores) {
  const Family& family = GetParam();
  const Real by_angle = family.size == kHalfAngle ? 0.01L : 0.05L;
  for (const Score kind : {Score::AbsSum, Score::LargestAbs}) {
    if (kind == Score::LargestAbs && !family.has_chebyshev) continue;
    const int count = kind == Score::AbsSum ? 24 : 40;
    const Points points = scan(family, count, [](int i) { return 0.02 * std::sin(3.7 * i); });
    const Params best = bestScore(
        nominalOf(family, kSize, kOrigin), points.size(),
        [&](const Params& p, int i) { return residualOf(family.residual, p, Vec(points[i]), 0); },
        kind, {0.05L, 0.05L, 0.05L, 0.01L, 0.01L, 0.01L, by_angle});
    const auto method = kind == Score::AbsSum ? x3dfit::LeastAbsDev : x3dfit::Chebyshev;
    const Params found = family.unified(fit(points, method).data());
    const Real gap = 100 * (score(points, found, kind) / score(points, best, kind) - 1);
    std::printf("%-10s %-11s %8.3Lg %% above the best %s\n", family.name,
                kind == Score::AbsSum ? "LeastAbsDev" : "Chebyshev", gap, family.cause);
    EXPECT_GT(gap, -0.01);
    EXPECT_LT(gap, family.gap);
    EXPECT_EQ(fit(points, kUnknown), fit(points, x3dfit::LeastAbsDev));
  }
}

class WithoutChebyshev : public SimplexFamily {};

TEST_P(WithoutChebyshev, KeepsTheObjectiveOfTheLastFit) {
  const Points points = scan(GetParam(), 60, [](int i) { return i % 20 == 3 ? 0.4 : 0.0; });
  EXPECT_EQ(fit(points, x3dfit::Chebyshev), fit(points, x3dfit::LeastAbsDev));
  EXPECT_NE(fit(points, x3dfit::LeastSquare), fit(points, x3dfit::LeastAbsDev));
  const Fitter used = GetParam().make();
  Raw raw(GetParam().params);
  standardOutputOf([&] {
    used.by_vector(points, raw.data(), x3dfit::LeastSquare);
    used.by_vector(points, raw.data(), x3dfit::Chebyshev);
  });
  EXPECT_EQ(raw, fit(points, x3dfit::LeastSquare));
}

TEST_P(SimplexFamily, ArraysVectorsAndCopiesAgree) {
  const Points points = scan(GetParam(), 50, [](int i) { return 0.02 * std::sin(5.1 * i); });
  const Points other = scan(GetParam(), 20, [](int i) { return 0.3 * std::cos(2.1 * i); });
  const Raw expected = fit(points, x3dfit::LeastAbsDev);
  Raw raw(GetParam().params);
  Fitter first = GetParam().make();
  const Fitter second = first.copy();
  standardOutputOf([&] { first.by_vector(other, raw.data(), x3dfit::LeastSquare); });
  first = {};  // the original goes, its minimiser stays with the copies
  const Fitter third = second.copy();
  for (const Fitter* fit : {&second, &third, &second}) {
    standardOutputOf(
        [&] { EXPECT_TRUE(fit->by_array(&points[0].x, 50, raw.data(), x3dfit::LeastAbsDev)); });
    EXPECT_EQ(raw, expected);
  }
}

TEST_P(SimplexFamily, EndsOnBadInputWithTheDocumentedReturn) {
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  constexpr float kInf = std::numeric_limits<float>::infinity();
  const Points odd[] = {
      Points(9, {1, 2, 3}),
      {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {3, 3, 3}, {4, 4, 4}, {5, 5, 5}},
      {{0, 0, 0}, {1, 0, 0}, {2, 5, 0}, {0, 3, 0}, {7, 1, 0}, {4, 4, 0}},
      {{0, 0, 0}, {1e30F, 0, 0}, {0, 1e30F, 0}, {1, 1, 1e30F}, {2, 2, 1}, {3, 1, 2}},
      {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {kInf, 1, 1}, {1, -kInf, 2}, {2, 2, 2}},
      {{kNan, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1}, {2, 2, 5}, {3, 4, 5}},
  };
  const Fitter fit = GetParam().make();
  std::vector<std::string> wrong;  // printed after the capture
  standardOutputOf([&] {
    for (const int method : {0, 1, 2, 3, -1}) {
      for (std::size_t row = 0; row < std::size(odd); ++row) {
        Raw raw(GetParam().params, 1.0);
        if (!fit.by_vector(odd[row], raw.data(), static_cast<FitMethod>(method))) {
          wrong.push_back("row " + std::to_string(row) + " method " + std::to_string(method));
        }
      }
      for (const int count : {-7, 0, 1, 2, 3}) {
        Raw raw(GetParam().params, 1.0);
        const bool enough = std::max(count, 0) >= GetParam().fewest_points;
        const bool result =
            fit.by_array(&odd[2][0].x, count, raw.data(), static_cast<FitMethod>(method));
        if (result != enough || (!enough && raw != Raw(GetParam().params, 1.0))) {
          wrong.push_back("count " + std::to_string(count) + " method " + std::to_string(method));
        }
      }
    }
  });
  EXPECT_THAT(wrong, testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Class, WithoutChebyshev, testing::Values(kLine, kCone), caseName<Family>);
INSTANTIATE_TEST_SUITE_P(Class, SimplexFamily,
                         testing::Values(kPlane, kLine, kSphere, kCylinder, kCone),
                         caseName<Family>);

}  // namespace
}  // namespace zelmo::test
