// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cmath>
#include <limits>
#include <sstream>

#include <gmock/gmock.h>

#include "lmfit/shapes.h"
#include "support/captured_output.h"
#include "zelmo/lmfit/internal/kth_largest.h"

namespace zelmo::test {
namespace {

using namespace xfeaturefitfilter;  // NOLINT(google-build-using-namespace): the names of the methods

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// What is wrong with a point.
enum Flaw { Sound, Off, Tilted, OffAndTilted };

// A scan with flaws at known places; every third normal is reversed.
template <typename Shape>
struct FlawedScan {
  FlawedScan(int count, int off, int tilted, int both) {
    RandomGeometry random(17);
    for (int i = 0; i < count; ++i) {
      // Flaws are spread over the scan.
      const int place = (i * 7919) % count;
      const Flaw flaw = place < off                   ? Off
                        : place < off + tilted        ? Tilted
                        : place < off + tilted + both ? OffAndTilted
                                                      : Sound;
      SurfacePoint s = Shape::at(random);
      const bool is_off = flaw == Off || flaw == OffAndTilted;
      s.point = s.point + s.normal * (is_off ? (i % 2 ? 1 : -1) * random.number(1, 2)
                                             : random.number(-0.01, 0.01));
      if (flaw == Tilted || flaw == OffAndTilted) {
        s.normal = (s.normal + Shape::tiltOf(s)).unit();
      }
      if (i % 3 == 0) s.normal = s.normal * -1;
      scan.add(s);
      flaws.push_back(flaw);
    }
  }

  // The long double fit of the points with one of these flaws.
  std::vector<Real> fitOf(const std::vector<Flaw>& kept) const {
    std::vector<const float*> points;
    for (std::size_t i = 0; i < flaws.size(); ++i) {
      if (std::find(kept.begin(), kept.end(), flaws[i]) != kept.end()) {
        points.push_back(&scan.points[3 * i]);
      }
    }
    return leastSquares(Shape::truth(), static_cast<int>(points.size()),
                        [&](const std::vector<Real>& p, int i) {
                          return Shape::residual(p, points[static_cast<std::size_t>(i)]);
                        });
  }

  int fit(typename Shape::Fit& fit, const FilterParam& param, FilterMethod method) const {
    return fit.Fit(scan.points.data(), scan.normals.data(), scan.count(), param, method);
  }

  Scan scan;
  std::vector<Flaw> flaws;
};

template <typename Shape>
class FitStages : public testing::Test {};
using Shapes = testing::Types<PlaneShape, SphereShape, CylinderShape>;
TYPED_TEST_SUITE(FitStages, Shapes);

// Each method's result is the fit of exactly the points that it should have kept.
TYPED_TEST(FitStages, RefitsWhatTheFilterShouldKeep) {
  struct Case {
    const char* name;
    FilterMethod method;
    int off, tilted, both;
    float sigma, share;
    std::vector<Flaw> kept;
  };
  const Case cases[] = {
      {"none", FilterNone, 20, 0, 0, 0, 0, {Sound, Off}},
      {"sigma", FilterSigma, 50, 30, 0, 1.8F, 0, {Sound, Tilted}},
      {"sigma that keeps all", FilterSigma, 50, 0, 0, 1000.0F, 0, {Sound, Off}},
      {"proportion", FilterProportion, 200, 30, 0, 0, 0.2005F, {Sound, Tilted}},
      {"angle", FilterAngle, 10, 200, 30, 0, 0, {Sound, Off}},
      {"sigma and angle", FilterSigmaAngle, 30, 200, 20, 1.8F, 0, {Sound}},
      {"proportion and angle", FilterProportionAngle, 40, 180, 20, 0, 0.0505F, {Sound}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const FlawedScan<TypeParam> data(1000, c.off, c.tilted, c.both);
    typename TypeParam::Fit fit;
    standardOutputOf([&] {
      EXPECT_EQ(data.fit(fit, FilterParam(TypeParam::kAngleLimit, c.sigma, c.share), c.method), 0);
    });
    TypeParam::expectNear(fit, data.fitOf(c.kept));
  }
}

// More than half fail the angle: what comes after the cap is kept.
TYPED_TEST(FitStages, TheAngleAloneDropsAtMostHalf) {
  FlawedScan<TypeParam> data(100, 0, 60, 0);
  int dropped = 0;
  for (Flaw& flaw : data.flaws) {
    if (flaw == Tilted && dropped < 50) {
      flaw = Off;
      ++dropped;
    }
  }
  typename TypeParam::Fit fit;
  standardOutputOf([&] { data.fit(fit, FilterParam(TypeParam::kAngleLimit, 0, 0), FilterAngle); });
  TypeParam::expectNear(fit, data.fitOf({Sound, Tilted}));
}

TYPED_TEST(FitStages, ReportsFailuresByTheShapesCodes) {
  constexpr int kCount = 60;
  constexpr int kSolver = TypeParam::kSolverFailure;
  struct Case {
    const char* name;
    int count, method;
    float angle, sigma, share;
    int expected;
  };
  const Case cases[] = {
      {"unknown method", kCount, 6, 0, 0, 0, -1},
      {"negative method", kCount, -1, 0, 0, 0, -1},
      {"one point short", TypeParam::kMinimum - 1, FilterNone, 0, 0, 0, -1},
      {"no points", 0, FilterSigma, 0, 1, 0, -1},
      {"negative count", -5, FilterNone, 0, 0, 0, -1},
      {"share above 1", kCount, FilterProportion, 0, 0, 1.01F, -1},
      {"share below 0", kCount, FilterProportion, 0, 0, -0.001F, -1},
      {"share NaN", kCount, FilterProportion, 0, 0, kNaN, -1},
      {"share that comes to no point", kCount, FilterProportion, 0, 0, 0.016F, 0},
      {"share NaN after the angle", kCount, FilterProportionAngle, 45, 0, kNaN, -1},
      {"no share, nothing flagged", kCount, FilterProportionAngle, TypeParam::kAngleLimit, 0, 0, 0},
      {"no share but flagged points", kCount, FilterProportionAngle, kNaN, 0, 0, -1},
      // The filters below leave nothing: the plane keeps its first fit, the others can't be solved.
      {"all dropped by share", kCount, FilterProportion, 0, 0, 1, kSolver == -1 ? 0 : kSolver},
      {"empty band", kCount, FilterSigma, 0, -1, 0, kSolver == -1 ? 0 : kSolver},
      {"band and angle of none", kCount, FilterSigmaAngle, kNaN, 9, 0, kSolver == -1 ? 0 : kSolver},
  };
  const FlawedScan<TypeParam> data(kCount, 0, 0, 0);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    typename TypeParam::Fit fit;
    int result = 99;
    standardOutputOf([&] {
      result = fit.Fit(data.scan.points.data(), data.scan.normals.data(), c.count,
                       FilterParam(c.angle, c.sigma, c.share), static_cast<FilterMethod>(c.method));
    });
    EXPECT_EQ(result, c.expected);
  }
}

TYPED_TEST(FitStages, SurvivesWhatIsNoNumber) {
  for (const float bad : {kNaN, HUGE_VALF, -HUGE_VALF, 1e30F, 0.0F}) {
    for (int method = 0; method <= 5; ++method) {
      FlawedScan<TypeParam> points(40, 0, 0, 0);
      points.scan.points[10] = bad;
      FlawedScan<TypeParam> normals(40, 0, 0, 0);
      std::fill_n(normals.scan.normals.begin(), 9, bad);
      FlawedScan<TypeParam> all(40, 0, 0, 0);
      std::fill(all.scan.points.begin(), all.scan.points.end(), bad);
      const FilterParam param(TypeParam::kAngleLimit, 2, 0.1F);
      testing::internal::CaptureStderr();  // sample consensus tells every trial that has no model
      standardOutputOf([&] {
        typename TypeParam::Fit fit;
        const int result = points.fit(fit, param, static_cast<FilterMethod>(method));
        const bool has_to_fail = !std::isfinite(bad);
        EXPECT_TRUE(result < 0 || !has_to_fail) << bad << " method " << method;
        // Alone, the first fit reports its solver.
        EXPECT_TRUE(result == TypeParam::kSolverFailure || method != FilterNone || !has_to_fail);
        normals.fit(fit, param, static_cast<FilterMethod>(method));
        all.fit(fit, param, static_cast<FilterMethod>(method));
      });
      testing::internal::GetCapturedStderr();
    }
  }
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
