// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <limits>

#include <gmock/gmock.h>

#include "lmfit/shapes.h"
#include "zelmo/lmfit/internal/kth_largest.h"

namespace zelmo::test {
namespace {

using namespace xfeaturefitfilter;  // NOLINT(google-build-using-namespace): the names of the methods

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

template <typename Shape>
class FitStages : public testing::Test {};
TYPED_TEST_SUITE(FitStages, Shapes);

TYPED_TEST(FitStages, ReportsFailuresByTheShapesCodes) {
  constexpr int kCount = 60;
  // The plane keeps its first fit where a filter leaves nothing, the others can't be solved.
  constexpr int kNothingLeft = TypeParam::solver_failure == -1 ? 0 : TypeParam::solver_failure;
  struct Case {
    const char* name;
    int count, method;
    float angle, sigma, share;
    int expected;
  };
  const Case cases[] = {
      {"unknown method", kCount, 6, 0, 0, 0, -1},
      {"negative method", kCount, -1, 0, 0, 0, -1},
      {"one point short", TypeParam::minimum - 1, FilterNone, 0, 0, 0, -1},
      {"no points", 0, FilterSigma, 0, 1, 0, -1},
      {"negative count", -5, FilterNone, 0, 0, 0, -1},
      {"share above 1", kCount, FilterProportion, 0, 0, 1.01F, -1},
      {"share below 0", kCount, FilterProportion, 0, 0, -0.001F, -1},
      {"share NaN", kCount, FilterProportion, 0, 0, kNaN, -1},
      {"share that comes to no point", kCount, FilterProportion, 0, 0, 0.016F, 0},
      {"share NaN after the angle", kCount, FilterProportionAngle, 45, 0, kNaN, -1},
      {"no share, nothing flagged", kCount, FilterProportionAngle, TypeParam::angle_limit, 0, 0, 0},
      {"no share but flagged points", kCount, FilterProportionAngle, kNaN, 0, 0, -1},
      {"all dropped by share", kCount, FilterProportion, 0, 0, 1, kNothingLeft},
      {"all but three dropped", kCount, FilterProportion, 0, 0, 0.96F, kNothingLeft},
      {"empty band", kCount, FilterSigma, 0, -1, 0, kNothingLeft},
      {"band and angle of none", kCount, FilterSigmaAngle, kNaN, 9, 0, kNothingLeft},
  };
  const Scan scan = soundScan(TypeParam::kind, kCount, 0.01L);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    typename TypeParam::Fit fit;
    const FilterParam param(c.angle, c.sigma, c.share);
    EXPECT_EQ(fitScan(fit, scan, param, c.method, c.count).code, c.expected);
  }
  // Without normals no point passes an angle.
  typename TypeParam::Fit fit;
  const FilterParam limit(TypeParam::angle_limit, 2, 0);
  standardOutputOf(
      [&] { EXPECT_EQ(fit.Fit(scan.at(), nullptr, kCount, limit, FilterProportionAngle), -1); });
}

TYPED_TEST(FitStages, SurvivesWhatIsNoNumber) {
  const FilterParam param(TypeParam::angle_limit, 2, 0.1F);
  testing::internal::CaptureStderr();  // sample consensus tells every trial that has no model
  for (const float bad : {kNaN, HUGE_VALF, -HUGE_VALF, 1e30F, 0.0F}) {
    for (int method = 0; method <= 5; ++method) {
      Scan points = soundScan(TypeParam::kind, 40), normals = points, all = points;
      points.points[3].y = bad;
      std::fill_n(normals.normals.begin(), 3, cv::Point3f(bad, bad, bad));
      std::fill(all.points.begin(), all.points.end(), cv::Point3f(bad, bad, bad));
      typename TypeParam::Fit fit;
      const int result = fitScan(fit, points, param, method).code;
      EXPECT_TRUE(result < 0 || std::isfinite(bad)) << bad << " method " << method;
      // Alone, the first fit reports its solver.
      EXPECT_TRUE(result == TypeParam::solver_failure || method != 0 || std::isfinite(bad));
      fitScan(fit, normals, param, method);
      fitScan(fit, all, param, method);
    }
  }
  testing::internal::GetCapturedStderr();
}

TEST(KthLargest, CountsTiesAndTakesNaNForTheLargest) {
  using internal::kthLargest;
  const std::vector<float> values = {2, 5, 5, kNaN, -7, 5};
  EXPECT_TRUE(std::isnan(kthLargest(values, 1)));
  EXPECT_THAT((std::array{kthLargest(values, 2), kthLargest(values, 4), kthLargest(values, 5),
                          kthLargest(values, 6)}),
              testing::ElementsAre(5, 5, 2, -7));
  for (const int k : {0, -1, 7}) EXPECT_EQ(kthLargest(values, k), -1.0F);
}

}  // namespace
}  // namespace zelmo::test
