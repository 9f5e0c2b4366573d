// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include <gmock/gmock.h>

#include "support/captured_output.h"
#include "zelmo/lmfit/internal/fit_stages.h"

/// \file
/// The filters on residuals that are given, seen by what reaches the refit.

namespace zelmo::internal {
namespace {

using testing::ElementsAre;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// A shape without geometry: point i is (i, 0, 0), its residual is given, the solver notes its points.
struct GivenResiduals {
  std::vector<float> residuals;
  float mean = 1, variance = 4;
  std::vector<int> kept;

  int Fit1(const float*, const float*, const int&) { return 0; }
  void calcStatistics(const float*, const int&, float* stats, std::vector<float>& out) const {
    stats[2] = mean;
    stats[3] = variance;
    out = residuals;
  }
  int Fit_LM(const float* points, const int& count, double*, double*, const int&) {
    for (int i = 0; i < count; ++i) kept.push_back(static_cast<int>(points[3 * i]));
    return 0;
  }
  void surfaceDirection(const float*, double* direction) const {
    direction[0] = direction[1] = 0;
    direction[2] = 1;
  }
  void paramsOf(double*) const {}
  void storeParams(const double*) {}
  void getValue(const float*, const float*, const int&) {}
};

// The two rules for ties.
struct NearTies : GivenResiduals {};
struct ExactTies : GivenResiduals {};

}  // namespace

template <>
inline constexpr StageTraits kStagesOf<NearTies> = kStagesOf<zelmolm::XSphereFitLM>;
template <>
inline constexpr StageTraits kStagesOf<ExactTies> = kStagesOf<zelmolm::XCylinderFitLM>;

namespace {

// What one stage keeps of points whose normals pass every angle.
template <typename Fit, typename Stage>
std::vector<int> keptBy(const std::vector<float>& residuals, Stage stage) {
  Fit fit;
  fit.residuals = residuals;
  const bool is_along = kStagesOf<Fit>.angle_test == AngleTest::Along;
  std::vector<float> points, normals;
  for (std::size_t i = 0; i < residuals.size(); ++i) {
    points.insert(points.end(), {static_cast<float>(i), 0, 0});
    normals.insert(normals.end(), {is_along ? 0.0F : 1.0F, 0, is_along ? 1.0F : 0.0F});
  }
  FitStages<Fit> stages(fit, points.data(), normals.data(), static_cast<int>(residuals.size()));
  test::standardOutputOf([&] { EXPECT_EQ(stage(stages), 0); });
  return fit.kept;
}

TEST(ProportionFilter, OfTiedPointsTheEarliestStay) {
  const struct {
    const char* name;
    std::vector<float> residuals;
    float share;
    std::vector<int> near, exact, exact_by_angle;
  } cases[] = {
      {"all tied", {3, -3, 3, 3, -3}, 0.4F, {0, 1, 2}, {0, 1, 2}, {0, 1, 2}},
      // The second largest lies within 1e-5 of the 2s, but is not equal to them. By angle and share
      // the exact rule drops from 1e-5 below the threshold on, in order, until there are enough: the
      // largest comes too late, and the tied one is not appended.
      {"near", {1, 2, 2.000005F, -2, 5}, 0.4F, {0, 1, 2}, {0, 1, 3}, {0, 4}},
      {"NaN", {kNaN, 1, 2, kNaN, 3}, 0.4F, {1, 2, 4}, {1, 2, 4}, {1, 2, 4}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const auto by_share = [&](auto& s) { return s.proportion(c.share); };
    const auto by_both = [&](auto& s) { return s.proportionAngle(c.share, 45); };
    EXPECT_EQ(keptBy<NearTies>(c.residuals, by_share), c.near);
    EXPECT_EQ(keptBy<ExactTies>(c.residuals, by_share), c.exact);
    EXPECT_EQ(keptBy<NearTies>(c.residuals, by_both), c.near);
    EXPECT_EQ(keptBy<ExactTies>(c.residuals, by_both), c.exact_by_angle);
  }
}

// From eleven points on the cylinder's sum of squares is divided by n - 1.
TEST(FillStatistics, TheCylinderChangesItsDivisorAboveTenPoints) {
  for (const int count : {10, 11}) {
    std::vector<float> points, residuals;
    for (int i = 0; i < count; ++i) points.insert(points.end(), {i == 0 ? 3.0F : 1.0F, 0, 0});
    const double squares = 4.0 - 4.0 / count;
    float stats[4] = {};
    fillStatistics<zelmolm::XCylinderFitLM>(
        points.data(), count, CylinderDeviation<NearPoint::Measured>{{0, 0, 0, 0, 0, 1}, 1}, stats,
        residuals);
    EXPECT_FLOAT_EQ(stats[3], static_cast<float>(squares / 10));
    EXPECT_THAT((std::array{stats[0], stats[1]}), ElementsAre(2, 0));
    fillStatistics<zelmolm::XSphereFitLM>(points.data(), count, SphereDeviation{0, 0, 0, 1}, stats,
                                          residuals);
    EXPECT_FLOAT_EQ(stats[3], static_cast<float>(squares / count));
  }
}

}  // namespace
}  // namespace zelmo::internal
