// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Certified data sets, and every filter on scans with outliers of several kinds. The library sees
// points in float, so what it has to meet is the certified solution moved by that rounding: the long
// double fit of the rounded points, of those that the filter should have kept. Figures:
//     ZELMO_PRINT_FIGURES=1 zelmo_lmfit_test --gtest_filter='ReferenceFits*:Filtered*'
#include "support/reference_fits.h"

#include <numeric>

#include <gtest/gtest.h>

#include "lmfit/shapes.h"
#include "zelmo/lmfit/circle_fit_3d_lm.h"
#include "zelmo/lmfit/cone_fit_lm.h"

namespace zelmo::test {
namespace {

using namespace xfeaturefitfilter;  // NOLINT(google-build-using-namespace): the names of the methods

template <typename Shape>
Params filterless(const ReferenceSet& set) {
  typename Shape::Fit fit;
  EXPECT_EQ(fitScan(fit, {set.points, set.points}, FilterParam(0, 0, 0), FilterNone).code, 0);
  return Shape::fieldsOf(fit);
}
Params cylinderFromItsStart(const ReferenceSet& set) {
  float seed[7];
  std::copy(set.solution.begin(), set.solution.end(), seed);
  zelmolm::XCylinderFitLM fit;
  const auto count = static_cast<int>(set.points.size());
  // One set has six points: one less than the solver has parameters.
  EXPECT_EQ(fit.Fit(&set.points[0].x, nullptr, count, seed), count == 6 ? -2 : 0);
  return CylinderShape::fieldsOf(fit);
}
Params circleInItsPlane(const ReferenceSet& set) {
  float plane[6];
  std::copy_n(set.solution.begin(), 6, plane);
  zelmolm::XCircleFit3DLM fit;
  EXPECT_EQ(fit.Fit2(&set.points[0].x, nullptr, static_cast<int>(set.points.size()), plane, false),
            0);
  return paramsOf(Vec(fit.center), Vec(fit.normal), fit.radius);
}

Params solvedCircle(const Params& start, const Points& points) {
  return solvedInPlane(start, points, [](Real from, Real radius) { return from - radius; });
}

TEST(ReferenceFits, AreMet) {
  ZELMO_REQUIRE_REFERENCE_DATA("fits");
  const struct {
    Kind kind;
    std::string prefix;
    int sets;
    Params (*fit)(const ReferenceSet&);
  } rows[] = {{Kind::Plane, "Plane/pla", 10, filterless<PlaneShape>},
              {Kind::Sphere, "Sphere/sph", 10, filterless<SphereShape>},
              {Kind::Cylinder, "Cylinder/cyl", 10, cylinderFromItsStart},
              {Kind::Circle, "Circle2d/cir2d", 10, circleInItsPlane},
              {Kind::Circle, "Circle3d/cir", 2, circleInItsPlane}};
  for (const auto& row : rows) {
    int sets = 0;
    for (int i = 1; i <= 10; ++i) {
      const ReferenceSet set = referenceSet(row.kind, row.prefix + std::to_string(i));
      if (set.points.empty()) continue;
      ++sets;
      SCOPED_TRACE(set.name);
      const Params fitted = row.fit(set);
      const Params truth = row.kind == Kind::Circle ? solvedCircle(set.solution, set.points)
                                                    : solved(row.kind, set.solution, set.points);
      const Vec middle = middleOf(set.points);
      const Apart off = apart(row.kind, fitted, truth, middle);
      // A length stored in a float is off by up to half a unit in its last place; the rounding of a
      // plane's normal is carried out to the points.
      const Real reach = std::max(Vec(truth.data()).norm(), truth[6]);
      EXPECT_LT(off.length, 1e-4L + (row.kind == Kind::Plane ? 4 : 2) * 6e-8L * reach);
      EXPECT_LT(off.angle, 1e-7 + 2 * kFloatDirection);
      printFigure(set.name + " from the fit of its floats", off);
      // The certificate is of the points before they became floats.
      printFigure(set.name + " from the certificate",
                  apart(row.kind, fitted, set.solution, middle));
    }
    EXPECT_EQ(sets, row.sets);
  }
}

// Half of the cone's residual is rounded to float, which makes steps in the sum of squares. The first
// damped passes along a narrow valley gain less than such a step; they are refused, the damping grows,
// and the solver stops, up to 4.3 percent above the least sum.
TEST(ReferenceFits, OfConesStopNearTheirLeastSum) {
  ZELMO_REQUIRE_REFERENCE_DATA("fits/Cone");
  for (int i = 1; i <= 10; ++i) {
    const ReferenceSet set = referenceSet(Kind::Cone, "Cone/con" + std::to_string(i));
    if (i == 7) continue;  // there is none
    SCOPED_TRACE(set.name);
    const Params truth = solved(Kind::Cone, set.solution, set.points);
    Scan scan;
    for (const auto& p : set.points) scan.add(Vec(p), normalAt(Kind::Cone, truth, Vec(p)));
    zelmolm::XConeFitLM fit;
    ASSERT_GE(fit.Fit(scan.at(), scan.normalsAt(), scan.count()), 0);
    const Params fitted = paramsOf(Vec(fit.apex), Vec(fit.axis), fit.halfAngle);
    const auto squareSum = [&set](const Params& p) {
      Real sum = 0;
      for (const auto& q : set.points) sum += std::pow(residualOf(Kind::Cone, p, Vec(q)), 2);
      return sum;
    };
    const Real times = squareSum(fitted) / squareSum(truth);
    EXPECT_LT(times, 1.05L);
    printFigure(set.name + ", sum " + std::to_string(times) + " times the least",
                apart(Kind::Cone, fitted, truth, middleOf(set.points)));
  }
}

const char* const kKinds[] = {"far points", "neighbouring face", "burr on one side", "dust"};
const char* const kMethods[] = {"none",  "sigma",           "proportion",
                                "angle", "sigma and angle", "proportion and angle"};
std::string labelOf(int outliers, double share) {
  return kKinds[outliers] + (", " + std::to_string(std::lround(100 * share))) + " %";
}

// A scan with noise of 0.01 and a share of outliers, spread over it; every third normal is reversed.
Scan spoiltScan(Kind kind, int outliers, double share) {
  constexpr int kPoints = 240;
  Scan scan = soundScan(kind, kPoints, 0.01L);
  RandomGeometry random(17);
  for (int i = 0; i < kPoints; ++i) {
    cv::Point3f& point = scan.points[static_cast<std::size_t>(i)];
    cv::Point3f& normal = scan.normals[static_cast<std::size_t>(i)];
    const Vec n(normal);
    const Vec moves[] = {random.direction() * random.number(5, 30), n * random.number(0, 4),
                         n * random.number(0.05, 0.5), random.point(0.1)};
    const Vec normals[] = {random.direction(), tilted(kind, n), n, random.direction()};
    if (i * 7919 % kPoints < share * kPoints) {
      point = (Vec(point) + moves[outliers]).rounded();
      normal = normals[outliers].rounded();
    }
    if (i % 3 == 0) normal = -normal;
  }
  return scan;
}

// What a filter keeps, in one plain loop each, seen from the first fit's fields.
std::vector<std::size_t> keptBy(int method, Kind kind, const Scan& scan, const Params& first,
                                const FilterParam& limit) {
  const std::size_t n = scan.points.size();
  const bool is_cylinder = kind == Kind::Cylinder;
  const Real cosine = std::cos(limit.angle / 180 * std::acos(Real(-1)));
  std::vector<float> r;
  for (const auto& p : scan.points) {
    r.push_back(static_cast<float>(residualOf(kind, first, Vec(p))));
  }
  const Real mean = std::accumulate(r.begin(), r.end(), Real(0)) / static_cast<Real>(n);
  Real squares = 0;
  for (const float v : r) squares += (v - mean) * (v - mean);
  const Real reach = limit.sigmaFactor * std::sqrt(squares / static_cast<Real>(n - is_cylinder));
  std::vector<std::size_t> kept;
  for (std::size_t i = 0; i < n; ++i) {
    const Vec u = is_cylinder ? directionOf(first) : normalAt(kind, first, Vec(scan.points[i]));
    const Real dot = std::fabs(Vec(scan.normals[i]).dot(u));
    const bool passes = is_cylinder ? dot <= cosine : dot >= cosine;
    const bool in_band = gap(r[i], mean) <= reach;
    const bool keeps = method == FilterSigma        ? in_band
                       : method == FilterAngle      ? passes || i - kept.size() >= n / 2
                       : method == FilterSigmaAngle ? in_band && passes
                                                    : method != FilterProportionAngle || passes;
    if (keeps) kept.push_back(i);
  }
  if (method != FilterProportion && method != FilterProportionAngle) return kept;
  const auto sizeOf = [&](std::size_t i) { return std::fabs(r[i]); };
  const auto share = static_cast<std::size_t>(static_cast<float>(kept.size()) * limit.proportion);
  std::vector<float> sizes;
  for (const std::size_t i : kept) sizes.push_back(sizeOf(i));
  std::sort(sizes.begin(), sizes.end(), std::greater<>());
  const float threshold = sizes[share - 1];
  std::vector<std::size_t> left, tied;
  std::size_t dropped = 0;
  for (const std::size_t i : kept) {
    if (is_cylinder) {
      // After the angle the cylinder drops from a little below the threshold on, in order.
      const double from = method == FilterProportion ? threshold : threshold - 1e-5;
      const bool drops = sizeOf(i) > static_cast<float>(from) && dropped < share;
      dropped += static_cast<std::size_t>(drops && sizeOf(i) != threshold);
      if (!drops && sizeOf(i) != threshold) left.push_back(i);
    } else if (sizeOf(i) <= threshold) {
      (threshold - sizeOf(i) < 1e-5 ? tied : left).push_back(i);
    }
  }
  // Of near ties the last goes.
  if (!is_cylinder) left.insert(left.end(), tied.begin(), tied.end() - 1);
  return left;
}

Points pick(const Points& points, const std::vector<std::size_t>& kept) {
  Points some;
  for (const std::size_t i : kept) some.push_back(points[i]);
  return some;
}

template <typename Shape>
class FilteredFits : public testing::Test {};
TYPED_TEST_SUITE(FilteredFits, Shapes);

TYPED_TEST(FilteredFits, AreFitsOfWhatTheFilterShouldKeep) {
  constexpr Kind kKind = TypeParam::kind;
  for (int outliers = 0; outliers < 4; ++outliers) {
    // More than half of the last row fail the angle: its filter stops dropping there.
    for (const double share : {0.02, 0.05, 0.1, 0.2, 0.6}) {
      if (share > 0.5 && outliers != 1) continue;
      const Scan scan = spoiltScan(kKind, outliers, share);
      typename TypeParam::Fit first;
      fitScan(first, scan, FilterParam(0, 0, 0), FilterNone);
      for (int method = FilterNone; method <= FilterProportionAngle; ++method) {
        if (share > 0.5 && method != FilterAngle) continue;
        const FilterParam limit(TypeParam::angle_limit, 1.8F, static_cast<float>(share) + 0.0017F);
        typename TypeParam::Fit fit;
        ASSERT_EQ(fitScan(fit, scan, limit, method).code, 0);
        const Points kept =
            pick(scan.points, keptBy(method, kKind, scan, TypeParam::fieldsOf(first), limit));
        const Params truth = solved(kKind, truthOf(kKind), kept);
        const Apart off = apart(kKind, TypeParam::fieldsOf(fit), truth, middleOf(scan.points));
        const std::string label = labelOf(outliers, share) + ", " + kMethods[method] + " keeps " +
                                  std::to_string(kept.size());
        // Where far outliers stay in, the solver's forward differences lean by their curvature.
        Real squares = 0;
        for (const auto& p : kept) squares += std::pow(residualOf(kKind, truth, Vec(p)), 2);
        const bool is_clean = squares < 0.02L * 0.02L * static_cast<Real>(kept.size());
        EXPECT_LT(off.length, is_clean ? 1e-4 + kFloatLength : 1e-3) << label;
        EXPECT_LT(off.angle, is_clean ? 1e-7 + 2 * kFloatDirection : 1e-4) << label;
        printFigure(label, off);
      }
    }
  }
}

// The circle's plane is filtered by share and angle, and the circle in it takes all points.
TEST(FilteredCircle, LiesInThePlaneOfWhatTheFilterShouldKeep) {
  for (int outliers = 0; outliers < 4; ++outliers) {
    Scan scan = spoiltScan(Kind::Plane, outliers, 0.1);
    for (std::size_t i = 0; i < scan.points.size(); ++i) {  // onto a ring, at their heights
      const Real height = residualOf(Kind::Plane, truthOf(Kind::Plane), Vec(scan.points[i]));
      const Vec local(std::cos(Real(i)), std::sin(Real(i)), height / kSize);
      scan.points[i] = inSpace(local, kSize, kOrigin).rounded();
    }
    const FilterParam limit(45, 2.5F, 0.05F);
    zelmolm::XPlaneFitLM first;
    fitScan(first, scan, limit, FilterNone);
    const auto kept =
        keptBy(FilterProportionAngle, Kind::Plane, scan, PlaneShape::fieldsOf(first), limit);
    const Params plane = solved(Kind::Plane, truthOf(Kind::Plane), pick(scan.points, kept));
    const Vec foot = kOrigin - directionOf(plane) * residualOf(Kind::Plane, plane, kOrigin);
    const Params truth = solvedCircle(paramsOf(foot, directionOf(plane), kSize), scan.points);
    zelmolm::XCircleFit3DLM fit;
    standardOutputOf(
        [&] { EXPECT_EQ(fit.Fit2(scan.at(), scan.normalsAt(), scan.count(), nullptr, true), 0); });
    const Params fitted = paramsOf(Vec(fit.center), Vec(fit.normal), fit.radius);
    const Apart off = apart(Kind::Circle, fitted, truth, kOrigin);
    EXPECT_LT(off.length, 2e-5) << kKinds[outliers];
    EXPECT_LT(off.angle, 2e-7) << kKinds[outliers];
    EXPECT_LT(gap(fit.radius, truth[6]), 1e-5);
    printFigure("circle, " + labelOf(outliers, 0.1), off);
  }
}

}  // namespace
}  // namespace zelmo::test
