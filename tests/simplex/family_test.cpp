// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// What all five fits promise alike, one row a class.
#include <cstdio>
#include <limits>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simplex/fits.h"
#include "support/best_score.h"

namespace zelmo::test {
namespace {

using x3dfit::FitMethod;

constexpr FitMethod kUnknown = static_cast<FitMethod>(9);
constexpr double kSize = 12;
const Vec kOrigin = {210, -340, 150};

/// \tparam kSolid what it fits
/// \tparam kValues how many numbers it writes
/// \tparam kFewest below so many points Fit returns false
/// \tparam kChebyshev whether it has that method
template <typename F, Kind kSolid, std::size_t kValues, int kFewest, bool kChebyshev>
struct Row {
  using Fit = F;
  static constexpr Kind kind = kSolid;
  static constexpr std::size_t values = kValues;
  static constexpr int fewest = kFewest;
  static constexpr bool has_chebyshev = kChebyshev;
};
using Rows = testing::Types<Row<x3dfit::XPlaneFit, Kind::Plane, 4, 0, true>,
                            Row<x3dfit::XLine3DFit, Kind::Line, 6, 3, false>,
                            Row<x3dfit::XSphereFit, Kind::Sphere, 4, 0, true>,
                            Row<x3dfit::XCylinderFit, Kind::Cylinder, 8, 0, true>,
                            Row<x3dfit::XConeFit, Kind::Cone, 7, 0, false>>;

template <typename Row>
class SimplexFamily : public testing::Test {
 protected:
  using Fit = typename Row::Fit;

  static Points scan(int count, const std::function<Real(int)>& off) {
    RandomGeometry random(5);
    return scanOf(random, Row::kind, count, kSize, kOrigin, off);
  }
  static Raw by(Fit& object, const Points& points, FitMethod method) {
    Raw raw(Row::values);
    standardOutputOf([&] { EXPECT_TRUE(object.Fit(points, raw.data(), method)); });
    return raw;
  }
  static Raw fit(const Points& points, FitMethod method) {
    Fit object;
    return by(object, points, method);
  }
  static Real scoreAt(const Params& p, const Points& points, Score score) {
    std::vector<Real> distances;
    for (const auto& q : points) distances.push_back(residualOf(Row::kind, p, Vec(q)));
    return scoreOf(distances, score).value;
  }
};

TYPED_TEST_SUITE(SimplexFamily, Rows);

TYPED_TEST(SimplexFamily, RecoversAnExactFeatureFarFromTheOrigin) {
  const Points points = this->scan(200, [](int) { return 0; });
  for (const FitMethod method : {x3dfit::LeastSquare, x3dfit::LeastAbsDev, x3dfit::Chebyshev}) {
    // Floats near 340 are known to 1.5e-5.
    const Params p = unified(TypeParam::kind, this->fit(points, method));
    EXPECT_LT(this->scoreAt(p, points, Score::LargestAbs), 1e-4) << method;
  }
}

// How far above the best score the descents end, in percent. Least squares have a table of their own.
TYPED_TEST(SimplexFamily, AccuracyOfTheScores) {
  constexpr bool kIsCone = TypeParam::kind == Kind::Cone;
  constexpr const char* kNames[] = {"Plane", "Line", "Sphere", "Cylinder", "Cone"};
  for (const FitMethod method : {x3dfit::LeastAbsDev, x3dfit::Chebyshev}) {
    if (method == x3dfit::Chebyshev && !TypeParam::has_chebyshev) continue;
    const Score score = method == x3dfit::LeastAbsDev ? Score::AbsSum : Score::LargestAbs;
    const Points points = this->scan(score == Score::AbsSum ? 24 : 40,
                                     [](int i) { return 0.02L * std::sin(3.7L * i); });
    const Params best = bestScore(
        nominalOf(TypeParam::kind, kSize, kOrigin), points.size(),
        [&](const Params& p, int i) { return residualOf(TypeParam::kind, p, Vec(points[i])); },
        score, {0.05L, 0.05L, 0.05L, 0.01L, 0.01L, 0.01L, kIsCone ? 0.01L : 0.05L});
    const Params found = unified(TypeParam::kind, this->fit(points, method));
    const Real gap =
        100 * (this->scoreAt(found, points, score) / this->scoreAt(best, points, score) - 1);
    std::printf("%-10s %-11s %8.3Lg %% above the best %s\n",
                kNames[static_cast<int>(TypeParam::kind)],
                score == Score::AbsSum ? "LeastAbsDev" : "Chebyshev", gap,
                kIsCone ? "(starts with the apex among the points: another minimum)" : "");
    EXPECT_GT(gap, -0.01);
    EXPECT_LT(gap, kIsCone ? 1e9 : 1);
    EXPECT_EQ(this->fit(points, kUnknown), this->fit(points, x3dfit::LeastAbsDev));
  }
}

TYPED_TEST(SimplexFamily, WithoutChebyshevKeepsTheObjectiveOfTheLastFit) {
  const Points points = this->scan(60, [](int i) { return i % 20 == 3 ? 0.4L : 0; });
  const Raw by_squares = this->fit(points, x3dfit::LeastSquare);
  const Raw by_sum = this->fit(points, x3dfit::LeastAbsDev);
  EXPECT_NE(by_squares, by_sum);
  typename TypeParam::Fit used;
  this->by(used, points, x3dfit::LeastSquare);
  const Raw after_squares = this->by(used, points, x3dfit::Chebyshev);
  EXPECT_EQ(after_squares == by_squares, !TypeParam::has_chebyshev);
  EXPECT_EQ(this->fit(points, x3dfit::Chebyshev) == by_sum, !TypeParam::has_chebyshev);
}

TYPED_TEST(SimplexFamily, ArraysVectorsAndCopiesAgree) {
  const Points points = this->scan(50, [](int i) { return 0.02L * std::sin(5.1L * i); });
  const Points other = this->scan(20, [](int i) { return 0.3L * std::cos(2.1L * i); });
  const Raw expected = this->fit(points, x3dfit::LeastAbsDev);
  auto first = std::make_unique<typename TypeParam::Fit>();
  auto second = *first;
  this->by(*first, other, x3dfit::LeastSquare);
  first.reset();  // the original goes, its minimiser stays with the copies
  auto third = second;
  for (auto* fit : {&second, &third, &second}) {
    Raw raw(TypeParam::values);
    standardOutputOf([&] { fit->Fit(&points[0].x, 50, raw.data(), x3dfit::LeastAbsDev); });
    EXPECT_EQ(raw, expected);
  }
}

TYPED_TEST(SimplexFamily, EndsOnBadInputWithTheDocumentedReturn) {
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  constexpr float kInf = std::numeric_limits<float>::infinity();
  const Points odd[] = {
      Points(9, {1, 2, 3}),
      {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {3, 3, 3}, {4, 4, 4}, {5, 5, 5}},
      {{0, 0, 0}, {1e30F, 0, 0}, {0, 1e30F, 0}, {1, 1, 1e30F}, {2, 2, 1}, {3, 1, 2}},
      {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {kInf, 1, 1}, {1, -kInf, 2}, {2, 2, 2}},
      {{kNan, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1}, {2, 2, 5}, {3, 4, 5}},
  };
  typename TypeParam::Fit fit;
  std::vector<int> wrong;  // method and row or count; printed after the capture
  standardOutputOf([&] {
    for (const int method : {0, 1, 2, 3, -1}) {
      Raw raw(TypeParam::values);
      for (const Points& points : odd) {
        if (!fit.Fit(points, raw.data(), static_cast<FitMethod>(method))) wrong.push_back(method);
      }
      for (const int count : {-7, 0, 1, 2, 3}) {
        const Raw given(TypeParam::values, 1.0);
        raw = given;
        const bool enough = std::max(count, 0) >= TypeParam::fewest;
        const bool fits = fit.Fit(&odd[1][0].x, count, raw.data(), static_cast<FitMethod>(method));
        if (fits != enough || (!enough && raw != given)) wrong.push_back(100 * count + method);
      }
    }
  });
  EXPECT_THAT(wrong, testing::IsEmpty());
}

}  // namespace
}  // namespace zelmo::test
