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
  float mean = 0, variance = 0;
  std::vector<int> kept;
  bool was_solved = false;

  int Fit1(const float*, const float*, const int&) { return 0; }
  void calcStatistics(const float*, const int&, float* stats, std::vector<float>& out) const {
    stats[2] = mean;
    stats[3] = variance;
    out = residuals;
  }
  int Fit_LM(const float* points, const int& count, double*, double*, const int&) {
    for (int i = 0; i < count; ++i) kept.push_back(static_cast<int>(points[3 * i]));
    was_solved = true;
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

// Runs one stage on the residuals; all normals agree with the shape unless told.
template <typename Fit, typename Stage>
Fit filtered(const std::vector<float>& residuals, Stage stage, float normal_z) {
  Fit fit;
  fit.residuals = residuals;
  std::vector<float> points, normals;
  for (std::size_t i = 0; i < residuals.size(); ++i) {
    points.insert(points.end(), {static_cast<float>(i), 0, 0});
    normals.insert(normals.end(), {0, 0, normal_z});
  }
  FitStages<Fit> stages(fit, points.data(), normals.data(), static_cast<int>(residuals.size()));
  test::standardOutputOf([&] { EXPECT_EQ(stage(stages), 0); });
  return fit;
}

template <typename Fit>
std::vector<int> keptByShare(const std::vector<float>& residuals, float share) {
  return filtered<Fit>(
             residuals, [=](auto& s) { return s.proportion(share); }, 1)
      .kept;
}

template <typename Fit>
std::vector<int> keptByShareAndAngle(const std::vector<float>& residuals, float share) {
  const float agreeing = std::is_same_v<Fit, NearTies> ? 1 : 0;
  return filtered<Fit>(
             residuals, [=](auto& s) { return s.proportionAngle(share, 45); }, agreeing)
      .kept;
}

TEST(ProportionFilter, OfTiedPointsTheEarliestStay) {
  const std::vector<float> equal = {3, -3, 3, 3, -3};
  EXPECT_THAT(keptByShare<NearTies>(equal, 0.4F), ElementsAre(0, 1, 2));
  EXPECT_THAT(keptByShare<ExactTies>(equal, 0.4F), ElementsAre(0, 1, 2));
  EXPECT_THAT(keptByShareAndAngle<NearTies>(equal, 0.4F), ElementsAre(0, 1, 2));
  EXPECT_THAT(keptByShareAndAngle<ExactTies>(equal, 0.4F), ElementsAre(0, 1, 2));
}

// The second largest is 2.000005: within 1e-5 of the 2s, but not equal to them.
TEST(ProportionFilter, TiesAreNearOrExactByShape) {
  const std::vector<float> close = {1, 2, 2.000005F, -2, 5};
  EXPECT_THAT(keptByShare<NearTies>(close, 0.4F), ElementsAre(0, 1, 2));
  EXPECT_THAT(keptByShare<ExactTies>(close, 0.4F), ElementsAre(0, 1, 3));
  EXPECT_THAT(keptByShareAndAngle<NearTies>(close, 0.4F), ElementsAre(0, 1, 2));
  // From 1e-5 below the threshold on, points are dropped in order until there are enough; the largest
  // comes too late, and the tied one is not appended.
  EXPECT_THAT(keptByShareAndAngle<ExactTies>(close, 0.4F), ElementsAre(0, 4));
}

TEST(ProportionFilter, ANearTieEndsBelowTheMargin) {
  const float threshold = 2.0F;
  for (const float apart : {0.9e-5F, 1.1e-5F}) {
    SCOPED_TRACE(apart);
    // The threshold's own point comes last: with a tie before it, that one stays and it goes.
    const std::vector<float> residuals = {1, threshold - apart, threshold};
    EXPECT_THAT(keptByShare<NearTies>(residuals, 0.34F), ElementsAre(0, 1));
    const std::vector<float> turned = {1, threshold, threshold - apart};
    const auto kept = keptByShare<NearTies>(turned, 0.34F);
    EXPECT_THAT(kept, ElementsAre(0, apart < 1e-5F ? 1 : 2));
  }
}

TEST(ProportionFilter, TakesNaNForTheLargestResidual) {
  const std::vector<float> with_nan = {kNaN, 1, 2, kNaN, 3};
  EXPECT_THAT(keptByShare<NearTies>(with_nan, 0.4F), ElementsAre(1, 2, 4));
  EXPECT_THAT(keptByShare<ExactTies>(with_nan, 0.4F), ElementsAre(1, 2, 4));
  EXPECT_THAT(keptByShare<NearTies>(with_nan, 0.6F), ElementsAre(1, 2));
}

TEST(SigmaFilter, KeepsTheBoundsOfItsBand) {
  const auto kept_by = [](float factor) {
    NearTies fit;
    fit.mean = 1;
    fit.variance = 4;
    fit.residuals = {0, 2, std::nextafter(0.0F, -1.0F), std::nextafter(2.0F, 3.0F), 1, kNaN};
    const std::vector<float> points = {0, 0, 0, 1, 0, 0, 2, 0, 0, 3, 0, 0, 4, 0, 0, 5, 0, 0};
    FitStages<NearTies> stages(fit, points.data(), points.data(), 6);
    test::standardOutputOf([&] { stages.sigma(factor); });
    return fit.kept;
  };
  EXPECT_THAT(kept_by(0.5F), ElementsAre(0, 1, 4, 5));
  EXPECT_THAT(kept_by(0.0F), ElementsAre(4, 5));
}

// The axis is what an angle of the cylinder is measured from: 90 degrees keep only normals square to
// it, and a reversed normal counts like a true one.
TEST(AngleFilter, MeasuresFromTheNormalOrFromTheAxis) {
  const float degree = static_cast<float>(CV_PI / 180);
  const std::vector<float> off_axis = {0, 29, 31, 90, 149, 151, 180, 90};
  std::vector<float> points, normals;
  for (std::size_t i = 0; i < off_axis.size(); ++i) {
    points.insert(points.end(), {static_cast<float>(i), 0, 0});
    normals.insert(normals.end(),
                   {std::sin(off_axis[i] * degree), 0, std::cos(off_axis[i] * degree)});
  }
  NearTies by_normal;
  FitStages<NearTies>(by_normal, points.data(), normals.data(), 8).angle(30);
  EXPECT_THAT(by_normal.kept, ElementsAre(0, 1, 5, 6));
  ExactTies by_axis;
  FitStages<ExactTies>(by_axis, points.data(), normals.data(), 8).angle(30);
  EXPECT_THAT(by_axis.kept, ElementsAre(2, 3, 4, 7));
}

// One point in the line of the sample variance: from eleven points on it is divided by n - 1.
TEST(FillStatistics, TheCylinderChangesItsDivisorAboveTenPoints) {
  for (const int count : {10, 11}) {
    std::vector<float> points;
    for (int i = 0; i < count; ++i) points.insert(points.end(), {i == 0 ? 3.0F : 1.0F, 0, 0});
    const CylinderDeviation<NearPoint::Measured> unit{{0, 0, 0, 0, 0, 1}, 1};
    float stats[4] = {};
    std::vector<float> residuals;
    fillStatistics<zelmolm::XCylinderFitLM>(points.data(), count, unit, stats, residuals);
    const double squares = 4.0 - 4.0 / count;
    EXPECT_FLOAT_EQ(stats[3], static_cast<float>(squares / 10));
    EXPECT_THAT((std::array{stats[0], stats[1]}), ElementsAre(2, 0));
    fillStatistics<zelmolm::XSphereFitLM>(points.data(), count, SphereDeviation{0, 0, 0, 1}, stats,
                                          residuals);
    EXPECT_FLOAT_EQ(stats[3], static_cast<float>(squares / count));
  }
}

}  // namespace
}  // namespace zelmo::internal
