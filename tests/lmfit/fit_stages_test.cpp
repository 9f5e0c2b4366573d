// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <limits>
#include <sstream>

#include <gmock/gmock.h>

#include "lmfit/shapes.h"

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
      {"one point short", TypeParam::minimum - 1, FilterNone, 0, 0, 0, -1},
      {"negative count", -5, FilterNone, 0, 0, 0, -1},
      {"share above 1", kCount, FilterProportion, 0, 0, 1.01F, -1},
      {"share NaN", kCount, FilterProportion, 0, 0, kNaN, -1},
      {"share that comes to no point", kCount, FilterProportion, 0, 0, 0.016F, 0},
      {"no share, nothing flagged", kCount, FilterProportionAngle, TypeParam::angle_limit, 0, 0, 0},
      {"no share but flagged points", kCount, FilterProportionAngle, kNaN, 0, 0, -1},
      {"all dropped by share", kCount, FilterProportion, 0, 0, 1, kNothingLeft},
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

// Of 100 points ten lie off by 1, and ten others have a normal that no angle lets pass.
TYPED_TEST(FitStages, PrintsWhatEachFilterDid) {
  constexpr Kind kKind = TypeParam::kind;
  Scan scan = soundScan(kKind, 100, 0.01L);
  for (std::size_t i = 0; i < 100; ++i) {
    const Vec n(scan.normals[i]);
    if (i * 37 % 100 < 10) scan.points[i] = (Vec(scan.points[i]) + n).rounded();
    if (i * 37 % 100 >= 90) scan.normals[i] = tilted(kKind, n).rounded();
  }
  const std::string start = "param:([-+.e0-9]+ ){6}[-+.e0-9]+\n";
  const std::string band = "([-+.e0-9]+ ){3}[-+.e0-9]+\n";
  const std::string least = "min_n_maxvalue=0\\.[6-9].*\n";
  const std::vector<std::string> expected =
      kKind == Kind::Plane    ? std::vector<std::string>{"",
                                                         band,
                                                         "89 100\n",
                                                         "90 100\n",
                                                         band + "80 100\n",
                                                         least + "80 100\n"}
      : kKind == Kind::Sphere ? std::vector<std::string>{"", band, "", "", "", least}
                              : std::vector{start, start, start, start, start, start + "80 100\n"};
  for (std::size_t method = 0; method < 6; ++method) {
    typename TypeParam::Fit fit;
    const FilterParam param(TypeParam::angle_limit, 2, 0.112F);
    const std::string printed = fitScan(fit, scan, param, static_cast<int>(method)).printed;
    EXPECT_THAT(printed, testing::MatchesRegex(expected[method])) << method;
    if (expected[method] != band) continue;
    const Params all = solved(kKind, truthOf(kKind), scan.points);
    Real squares = 0;
    for (const auto& p : scan.points) squares += std::pow(residualOf(kKind, all, Vec(p)), 2);
    double mean = 1, deviation = 0, upper = 0, lower = 0;
    std::istringstream(printed) >> mean >> deviation >> upper >> lower;
    EXPECT_NEAR(mean, 0, kFloatLength);
    EXPECT_LT(gap(deviation, std::sqrt(squares / 100)), kFloatLength);
    EXPECT_NEAR(upper, 2 * deviation, kFloatLength);
    EXPECT_NEAR(lower, -2 * deviation, kFloatLength);
  }
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

}  // namespace
}  // namespace zelmo::test
