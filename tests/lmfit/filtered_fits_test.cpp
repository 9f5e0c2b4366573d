// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Every filter on scans with outliers of several kinds: the result is the long double fit of exactly
// the points that the filter should have kept. Figures:
//     ZELMO_PRINT_FIGURES=1 zelmo_lmfit_test --gtest_filter='FilteredFits*'
#include <cmath>
#include <cstdio>
#include <functional>
#include <numeric>

#include <gtest/gtest.h>

#include "lmfit/shapes.h"
#include "zelmo/lmfit/circle_fit_3d_lm.h"

namespace zelmo::test {
namespace {

using namespace xfeaturefitfilter;  // NOLINT(google-build-using-namespace): the names of the methods

constexpr int kPoints = 240;

const char* const kKinds[] = {"far points", "neighbouring face", "burr on one side", "dust"};
const char* const kMethods[] = {"none",  "sigma",           "proportion",
                                "angle", "sigma and angle", "proportion and angle"};

SurfacePoint spoilt(const SurfacePoint& s, const Vec& tilt, int kind, RandomGeometry& random) {
  switch (kind) {
    case 0:
      return {s.point + random.direction() * random.number(5, 30), random.direction()};
    case 1:
      return {s.point + s.normal * random.number(0, 4), tilt};
    case 2:
      return {s.point + s.normal * random.number(0.05, 0.5), s.normal};
    default:
      return {s.point + random.point(0.1), random.direction()};
  }
}

// A scan with noise of 0.01 and a share of outliers, spread over it; every third normal is reversed.
template <typename Shape>
Scan spoiltScan(int kind, double share) {
  RandomGeometry random(17);
  Scan scan;
  for (int i = 0; i < kPoints; ++i) {
    SurfacePoint s = Shape::at(random);
    s.point = s.point + s.normal * random.number(-0.01, 0.01);
    if (i * 7919 % kPoints < share * kPoints) s = spoilt(s, Shape::tiltOf(s), kind, random);
    if (i % 3 == 0) s.normal = s.normal * -1;
    scan.add(s);
  }
  return scan;
}

// What a filter keeps, in one plain loop each, seen from the first fit's fields.
template <typename Shape>
std::vector<int> keptBy(int method, const Scan& scan, const Params& first,
                        const FilterParam& limit) {
  const int n = scan.count();
  const Real cosine = std::cos(limit.angle / 180 * std::acos(Real(-1)));
  std::vector<float> r;
  for (int i = 0; i < n; ++i) {
    r.push_back(static_cast<float>(Shape::residual(first, scan.point(i))));
  }
  const Real mean = std::accumulate(r.begin(), r.end(), Real(0)) / n;
  Real squares = 0;
  for (const float v : r) squares += (v - mean) * (v - mean);
  const bool sample = std::is_same_v<Shape, CylinderShape>;
  const Real reach = limit.sigmaFactor * std::sqrt(squares / (sample ? n - 1 : n));
  const auto passes_angle = [&](int i) { return Shape::passesAngle(first, scan, i, cosine); };
  std::vector<int> kept;
  int dropped = 0;
  for (int i = 0; i < n; ++i) {
    const bool in_band = gap(r[static_cast<std::size_t>(i)], mean) <= reach;
    const bool passes = passes_angle(i);
    const bool keeps = method == FilterSigma        ? in_band
                       : method == FilterAngle      ? passes || dropped >= n / 2
                       : method == FilterSigmaAngle ? in_band && passes
                                                    : method != FilterProportionAngle || passes;
    if (keeps) {
      kept.push_back(i);
    } else {
      ++dropped;
    }
  }
  if (method != FilterProportion && method != FilterProportionAngle) return kept;
  const auto sizeOf = [&](int i) { return std::fabs(r[static_cast<std::size_t>(i)]); };
  const auto share = static_cast<float>(kept.size()) * limit.proportion;
  std::vector<float> sizes;
  for (const int i : kept) sizes.push_back(sizeOf(i));
  std::sort(sizes.begin(), sizes.end(), std::greater<>());
  const float threshold = sizes[static_cast<std::size_t>(share) - 1];
  std::vector<int> left, tied;
  dropped = 0;
  for (const int i : kept) {
    if (sample) {
      // After the angle the cylinder drops from a little below the threshold on, in order.
      const double from = method == FilterProportion ? threshold : threshold - 1e-5;
      const bool drops = sizeOf(i) > static_cast<float>(from) && dropped < static_cast<int>(share);
      dropped += static_cast<int>(drops && sizeOf(i) != threshold);
      if (!drops && sizeOf(i) != threshold) left.push_back(i);
    } else if (sizeOf(i) <= threshold) {
      (threshold - sizeOf(i) < 1e-5 ? tied : left).push_back(i);
    }
  }
  // Of near ties the last goes.
  if (!sample) left.insert(left.end(), tied.begin(), tied.end() - 1);
  return left;
}

template <typename Shape>
class FilteredFits : public testing::Test {};
using Shapes = testing::Types<PlaneShape, SphereShape, CylinderShape>;
TYPED_TEST_SUITE(FilteredFits, Shapes);

TYPED_TEST(FilteredFits, AreFitsOfWhatTheFilterShouldKeep) {
  using Shape = TypeParam;
  // More than half of the last row fail the angle: its filter stops dropping there.
  const double shares[] = {0.02, 0.05, 0.1, 0.2, 0.6};
  for (int kind = 0; kind < 4; ++kind) {
    for (const double share : shares) {
      if (share > 0.5 && kind != 1) continue;
      const Scan scan = spoiltScan<Shape>(kind, share);
      typename Shape::Fit first;
      fitScan(first, scan, FilterParam(0, 0, 0), FilterNone);
      const Params fields = Shape::fieldsOf(first);
      for (int method = FilterNone; method <= FilterProportionAngle; ++method) {
        if (share > 0.5 && method != FilterAngle) continue;
        SCOPED_TRACE(testing::Message() << kKinds[kind] << ' ' << share << ' ' << kMethods[method]);
        const FilterParam limit(Shape::kAngleLimit, 1.8F, static_cast<float>(share) + 0.0017F);
        typename Shape::Fit fit;
        ASSERT_EQ(fitScan(fit, scan, limit, method).code, 0);
        const auto kept = keptBy<Shape>(method, scan, fields, limit);
        const Params truth = scan.solved(Shape::truth(), kept, Shape::residual);
        const Apart apart = Shape::apart(fit, truth, scan.middle());
        // Where far outliers stay in, the solver's forward differences lean by their curvature.
        Real squares = 0;
        for (const int i : kept) squares += std::pow(Shape::residual(truth, scan.point(i)), 2);
        const bool is_clean = squares < 0.02L * 0.02L * kept.size();
        EXPECT_LT(apart.length, is_clean ? 1e-4 + kFloatLength : 1e-3);
        EXPECT_LT(apart.angle, is_clean ? 1e-7 + 2 * kFloatDirection : 1e-4);
        if (printsFigures()) {
          std::fprintf(stderr, "%-18s %3.0f %% %-21s keeps %3zu: %.4f um %.4f urad off\n",
                       kKinds[kind], 100 * share, kMethods[method], kept.size(),
                       static_cast<double>(apart.length * 1000),
                       static_cast<double>(apart.angle * 1e6));
        }
      }
    }
  }
}

// The plane of the circle is filtered by share and angle, the circle in it takes all points.
TEST(FilteredCircle, LiesInThePlaneOfWhatTheFilterShouldKeep) {
  for (int kind = 0; kind < 4; ++kind) {
    for (const double share : {0.02, 0.05, 0.1, 0.2}) {
      SCOPED_TRACE(testing::Message() << kKinds[kind] << ' ' << share);
      Scan scan = spoiltScan<PlaneShape>(kind, share);
      // Onto a ring, at the heights that they have.
      const Vec n(PlaneShape::truth().data()), x = n.cross(Vec(1, 0, 0)).unit(), y = n.cross(x);
      for (int i = 0; i < scan.count(); ++i) {
        const Vec p = n * n.dot(Vec(scan.point(i))) + x * (15 * std::cos(Real(i))) +
                      y * (15 * std::sin(Real(i)));
        p.copyTo(&scan.points[3 * static_cast<std::size_t>(i)]);
      }
      const FilterParam limit(45, 2.5F, 0.05F);
      zelmolm::XPlaneFitLM first;
      fitScan(first, scan, limit, FilterNone);
      const auto kept =
          keptBy<PlaneShape>(FilterProportionAngle, scan, PlaneShape::fieldsOf(first), limit);
      const Params plane = scan.solved(PlaneShape::truth(), kept, planeResidual);
      const Vec u = Vec(plane.data()).unit();
      const auto flat = [&](const float* q) {
        const Vec p(q);
        return p - u * planeResidual(plane, q);
      };
      const Vec ex = u.cross(Vec(1, 0, 0)).unit(), ey = u.cross(ex);
      const Params circle =
          scan.solved({0, 0, 15}, scan.all(), [&](const Params& p, const float* q) {
            return std::hypot(flat(q).dot(ex) - p[0], flat(q).dot(ey) - p[1]) - p[2];
          });
      zelmolm::XCircleFit3DLM fit;
      standardOutputOf([&] {
        ASSERT_EQ(fit.Fit2(scan.points.data(), scan.normals.data(), scan.count(), nullptr, true),
                  0);
      });
      const Vec center(fit.center);
      const Real off = std::hypot(center.dot(ex) - circle[0], center.dot(ey) - circle[1]);
      EXPECT_LT(off, 2e-5);
      EXPECT_NEAR(static_cast<double>(planeResidual(plane, fit.center)), 0, 2e-5);
      EXPECT_LT(gap(fit.radius, circle[2]), 1e-5);
      EXPECT_LT(angleBetweenAxes(Vec(fit.normal), u), 2e-7);
      if (printsFigures()) {
        std::fprintf(stderr, "circle, %-18s %2.0f %%: plane keeps %3zu, %.4f um %.4f urad off\n",
                     kKinds[kind], 100 * share, kept.size(), static_cast<double>(off * 1000),
                     static_cast<double>(1e6 * angleBetweenAxes(Vec(fit.normal), u)));
      }
    }
  }
}

}  // namespace
}  // namespace zelmo::test
