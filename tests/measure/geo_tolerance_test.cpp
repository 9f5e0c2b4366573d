// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/measure/geo_tolerance.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/long_double_geometry.h"
#include "zelmo/internal/deviation_statistics.h"

using testing::Each;
using zelmo::test::RandomGeometry;
using zelmo::test::Real;
using zelmo::test::Vec;

namespace {

using T = xgeomeasure::XGeoTolrance;
using Points = std::vector<cv::Point3f>;
using Array = std::array<double, 7>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kNoTolerance = -1.0;
constexpr double kEmptyBand = -2e10;

Real fromPlane(const Vec& p, const Vec& o, const Vec& n, Real) { return n.dot(p) - n.dot(o); }
Real fromAxis(const Vec& p, const Vec& o, const Vec& d, Real r) {
  const Vec v = p - o;
  const bool near = std::max({std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)}) < 0.01L;
  return (near ? 0 : v.cross(d).norm()) - r;
}
Real fromLine(const Vec& p, const Vec& o, const Vec& d, Real) {
  return (p - o).dot(d) < 0 ? -fromAxis(p, o, d, 0) : fromAxis(p, o, d, 0);
}
Real fromSphere(const Vec& p, const Vec& o, const Vec&, Real r) { return (p - o).norm() - r; }

enum Direction { OfFeature, OfDatum, SquareToDatum };

// One measured feature f, one datum d; a form tolerance reads only the first.
struct Tolerance {
  const char* name;
  double (*by_vector)(const Points& p, double* f, double* d, bool band, double s);
  double (*by_array)(const float* p, const int& n, double* f, double* d, bool band, double s);
  Real (*deviation)(const Vec& p, const Vec& o, const Vec& d, Real radius);
  Direction direction;

  bool isConcentricity() const { return name == std::string("calcConcentricity"); }
  Real of(const Vec& p, const Array& f, const Array& d) const {
    const Vec m(&f[3]), r(&d[3]);
    const Vec square = direction == SquareToDatum ? (m - r * (m.dot(r) / r.dot(r))).unit() : r;
    const Vec position(isConcentricity() ? d.data() : f.data());
    const Real radius = deviation == fromSphere ? f[3] : f[6];
    return deviation(p, position, direction == OfFeature ? m : square, radius);
  }
};

// NOLINTBEGIN(cppcoreguidelines-macro-usage, bugprone-macro-parentheses): arrays, one row each
#define ZELMO_BOTH(Member, ...) \
#Member,                                                                                        \
      [](const Points& p, double* f, [[maybe_unused]] double* d, bool b, double s) {              \
        return T::Member(p, __VA_ARGS__, b, s);                                                   \
      },                                                                                          \
      [](const float* p, const int& n, double* f, [[maybe_unused]] double* d, bool b, double s) { \
        return T::Member(p, n, __VA_ARGS__, b, s);                                                \
      }
// NOLINTEND(cppcoreguidelines-macro-usage, bugprone-macro-parentheses)

// The last two are no bands of deviations.
const Tolerance kTolerances[] = {
    {ZELMO_BOTH(calcFlatness, f), fromPlane, OfFeature},
    {ZELMO_BOTH(calcStraightness, f), fromLine, OfFeature},
    {ZELMO_BOTH(calcCylindricity, f), fromAxis, OfFeature},
    {ZELMO_BOTH(calcSphericity, f), fromSphere, OfFeature},
    {ZELMO_BOTH(calcParallelism_Line_Line, f, d), fromLine, OfDatum},
    {ZELMO_BOTH(calcParallelism_Line_Plane, f, d), fromPlane, OfDatum},
    {ZELMO_BOTH(calcParallelism_Plane_Plane, f, d), fromPlane, OfDatum},
    {ZELMO_BOTH(calcPerpendicularity_Line_Line, f, d), fromLine, SquareToDatum},
    {ZELMO_BOTH(calcPerpendicularity_Line_Plane, f, d), fromLine, OfDatum},
    {ZELMO_BOTH(calcConcentricity, f, d), fromLine, OfDatum},
    {ZELMO_BOTH(calcCircularity, f), nullptr, OfFeature},
    {ZELMO_BOTH(calcPerpendicularity_Plane_Plane, f, d), nullptr, OfDatum},
};

// Of the band or, without a factor, of all deviations.
double bruteForce(const Tolerance& tolerance, const std::vector<Real>& deviations,
                  const double* factor) {
  const Real count = static_cast<Real>(deviations.size());
  Real mean = 0, squares = 0, largest = -1e10L, smallest = 1e10L;
  for (const Real d : deviations) mean += d / count;
  for (const Real d : deviations) squares += (d - mean) * (d - mean);
  const Real reach = factor == nullptr ? 1e30L : std::sqrt(squares / count) * *factor;
  for (const Real d : deviations) {
    if (d < mean - reach || d > mean + reach) continue;
    largest = std::max(largest, d);
    smallest = std::min(smallest, d);
  }
  const Real reaches = std::fabs(std::fabs(largest) - std::fabs(smallest));
  return static_cast<double>(tolerance.isConcentricity() ? reaches : largest - smallest);
}

TEST(XGeoTolrance, EqualsItsDefinitionInLongDouble) {
  RandomGeometry random(21);
  for (int round = 0; round < 3000; ++round) {
    Array feature{}, datum{};
    for (Array* array : {&feature, &datum}) {
      random.point(50).copyTo(array->data());
      random.direction().copyTo(array->data() + 3);
      (*array)[6] = static_cast<double>(random.number(0.1, 30));
    }
    // Now and then more than one block of points; some close to the given point, where the rule of
    // the near point bites.
    Points points(static_cast<std::size_t>(random.integer(3, round % 8 == 0 ? 200 : 70)));
    for (auto& p : points) {
      const double reach = random.integer(0, 9) == 0 ? 0.02 : 40;
      p = (Vec(feature.data()) + random.point(reach)).rounded();
    }
    const double factors[] = {kNaN, 0.3, 1.0, 1.7};
    const double* factor = &factors[round % 4];
    const bool band = round % 4 != 0;
    for (const Tolerance& tolerance : kTolerances) {
      if (tolerance.deviation == nullptr) continue;
      SCOPED_TRACE(testing::Message() << tolerance.name << " round " << round);
      std::vector<Real> deviations;
      for (const auto& p : points) deviations.push_back(tolerance.of(Vec(p), feature, datum));
      const double expected = bruteForce(tolerance, deviations, band ? factor : nullptr);
      const double value = tolerance.by_vector(points, feature.data(), datum.data(), band, *factor);
      // Concentricity is a difference of two reaches: its error is relative to these.
      ASSERT_NEAR(value, expected, 1e-9 * std::max(1.0, expected));
      // A factor without a band is not read.
      const int count = static_cast<int>(points.size());
      ASSERT_EQ(value, tolerance.by_array(&points[0].x, count, feature.data(), datum.data(), band,
                                          band ? *factor : 1.0));
    }
  }
}

TEST(XGeoTolrance, NeedsThreePoints) {
  float two[] = {0, 0, 0, 1, 2, 3};
  Array feature = {0, 0, 0, 0, 0, 1, 1}, datum = {0, 0, 0, 1, 0, 0, 1};
  for (const Tolerance& tolerance : kTolerances) {
    for (const bool band : {false, true}) {
      SCOPED_TRACE(tolerance.name);
      for (const int count : {std::numeric_limits<int>::min(), 0, 2}) {
        EXPECT_EQ(tolerance.by_array(two, count, feature.data(), datum.data(), band, 1), -1.0);
      }
      EXPECT_EQ(tolerance.by_array(nullptr, 5, feature.data(), datum.data(), band, 1), -1.0);
      EXPECT_EQ(tolerance.by_vector({}, feature.data(), datum.data(), band, 1), -1.0);
    }
  }
}

// The flatness of points whose heights over the plane z = 0 are the deviations.
double flatness(const std::vector<float>& z, bool band = false, double factor = 0) {
  double plane[6] = {9, 9, 0, 0, 0, 1};
  Points points;
  for (const float value : z) points.emplace_back(static_cast<float>(points.size()), 0.5F, value);
  return T::calcFlatness(points, plane, band, factor);
}

TEST(SigmaBand, KeepsItsLimitsAndNothingBeyond) {
  const std::tuple<const char*, std::vector<float>, double, double> cases[] = {
      {"sample variance 12 would keep 6", {0, 0, 6}, 1.3, 0},
      {"both limits are kept", {-1, 1, -1, 1}, 1.0, 2},
      {"just inside the limits none is left", {-1, 1, -1, 1}, 0.999, kEmptyBand},
      {"one pass of rejection only", {0, 0, 0, 0, 0, 0, 0, 0, 1, 100}, 2.0, 1},
      {"a NaN deviation widens the band to all", {-1, NAN, 4, 2}, 0.1, 5},
      {"a NaN factor too", {-1, 3, 4, 2}, kNaN, 5},
  };
  for (const auto& [what, deviations, factor, expected] : cases) {
    EXPECT_EQ(flatness(deviations, true, factor), expected) << what;
  }
}

// A NaN or an infinite point at every place of a block and of what is left after it.
TEST(Extremes, PassOverNaNAndFollowInfinity) {
  const float inf = std::numeric_limits<float>::infinity();
  for (std::size_t at = 0; at < 75; ++at) {
    std::vector<float> z(75);
    for (std::size_t i = 0; i < z.size(); ++i) z[i] = static_cast<float>(i % 5);
    z[at] = -9;
    z[(at + 8) % 75] = NAN;  // what came before it in the same lane still counts
    EXPECT_EQ(flatness(z), 13.0) << at;
    EXPECT_EQ(flatness(z, true, 5), 13.0) << at;
    z[at] = inf;
    EXPECT_EQ(flatness(z), inf) << at;
  }
  EXPECT_EQ(flatness({2e10F, 3e10F, 4e10F}), static_cast<double>(4e10F) - 1e10);
}

TEST(Straightness, CountsWhatIsNeitherAheadNorBehindAsAhead) {
  double x[6] = {0, 0, 0, 1, 0, 0};
  const Points points = {{1, 3, 0}, {0, 0, -3}, {4, -3, 0}};
  EXPECT_EQ(T::calcStraightness(points, x, false, 0), 0.0);
  // CONTRACT: concentricity is the difference of the reaches, and the first array is not read.
  EXPECT_EQ(T::calcConcentricity({{1, 3, 0}, {-2, 0, -3}, {4, -3, 0}}, nullptr, x, false, 0), 0.0);
}

TEST(Perpendicularity, OfLinesFailsOnlyForAZeroCross) {
  const auto value = [](const Points& points, Array line, Array datum) {
    return T::calcPerpendicularity_Line_Line(points, line.data(), datum.data(), false, 0);
  };
  const Points points = {{1, 3, 0}, {2, 0, -3}, {-4, -3, 1}};
  const Array line = {0, 0, 0, 0.6, 0, 0.8};
  EXPECT_EQ(value(points, line, {0, 0, 0, 1.2, 0, 1.6}), kNoTolerance);
  EXPECT_GT(value(points, line, {0, 0, 0, std::nextafter(1.2, 2.0), 0, 1.6}), 0.0);
  // The reference runs along the measured direction, not against it: with that one point neither
  // ahead nor behind, 3 and 1 would lie on different sides.
  EXPECT_EQ(value({{0, 3, 0}, {2, 1, 0}, {4, 1, 0}}, {0, 0, 0, 1, 0, 0}, {0, 0, 0, 0, 1, 0}), 2.0);
}

TEST(Perpendicularity, OfPlanesIsTheShortSideOnTheDatum) {
  // A wall 30 wide, 20 high and 0.25 thick, standing askew on the datum.
  RandomGeometry random(5);
  for (int round = 0; round < 200; ++round) {
    const Vec up = random.direction(), along = random.directionSquareTo(up);
    // Seen from either side, so that the rectangle's width and height change places.
    const Vec out = up.cross(along) * (round % 2 == 0 ? 1 : -1), corner = random.point(100);
    Points points;
    for (const Real a : {0, 10, 30}) {
      for (const Real b : {0.0L, 0.25L}) {
        points.push_back((corner + along * a + out * b).rounded());
        points.push_back((corner + along * a + out * b + up * 20).rounded());
      }
    }
    double wall[6], datum[6];
    (corner + out * 0.125L).copyTo(wall);
    out.copyTo(wall + 3);
    random.point(100).copyTo(datum);
    up.copyTo(datum + 3);
    const auto width_of = [&](bool band, double factor) {
      return T::calcPerpendicularity_Plane_Plane(points, wall, datum, band, factor);
    };
    EXPECT_NEAR(width_of(false, 0), 0.25, 1e-4);
    // A point 9 off the wall is left out by a band and only by a band.
    points.push_back((corner + along * 15 + out * 9).rounded());
    EXPECT_NEAR(width_of(true, 2), 0.25, 1e-4);
    EXPECT_GT(width_of(false, 2), 8);
    EXPECT_EQ(width_of(true, 0), kNoTolerance);
  }
}

// A circle, and points at its radius and 0.1 to either side, every other one lifted off its plane.
struct Ring {
  Array circle{};
  Points points;

  Ring(const Vec& center, const Vec& normal, const Vec& x, Real radius, Real lift) {
    center.copyTo(circle.data());
    normal.copyTo(&circle[3]);
    circle[6] = static_cast<double>(radius);
    for (int i = 0; i < 36; ++i) {
      const Real angle = i * std::acos(-1.0L) / 18, r = radius + (i % 3 - 1) * 0.1L;
      const Vec flat = x * (r * std::cos(angle)) + normal.cross(x) * (r * std::sin(angle));
      points.push_back((center + flat + normal * (lift * (i % 2))).rounded());
    }
  }
  double circularity(bool band, double factor) {
    return T::calcCircularity(points, circle.data(), band, factor);
  }
};

TEST(Circularity, IsMeasuredInTheCirclesPlane) {
  RandomGeometry random(9);
  for (int round = 0; round < 500; ++round) {
    const Vec normal = random.direction();
    Ring ring(random.point(50), normal, random.directionSquareTo(normal), 8, 3);
    EXPECT_NEAR(ring.circularity(false, 0), 0.2, 3e-5);
    EXPECT_NEAR(ring.circularity(true, 1), 0, 3e-5);
    EXPECT_EQ(ring.circularity(true, 1.5),
              T::calcCircularity(&ring.points[0].x, 36, ring.circle.data(), true, 1.5));
  }
}

// The result follows the projections and flat coordinates as they are stored in float: at this
// distance from the origin their last bits are worth a thousandth.
TEST(Circularity, FollowsTheStoredFloats) {
  Ring ring({8192, 16384, -8192}, {0.6L, 0, 0.8L}, {0, 1, 0}, 300, 37);
  double plane[4] = {0.6, 0, 0.8, -(0.6 * 8192 - 0.8 * 8192)};
  std::vector<cv::Point2f> flat;
  double rt[16];
  T::projection2Plane_tranformed(ring.points, plane, flat, rt);
  ASSERT_EQ(flat.size(), ring.points.size());
  const cv::Vec4d local = cv::Matx44d(rt) * cv::Vec4d(8192, 16384, -8192, 1);
  std::vector<double> radii;
  for (const auto& p : flat) radii.push_back(std::hypot(p.x - local[0], p.y - local[1]));
  const auto [smallest, largest] = std::minmax_element(radii.begin(), radii.end());
  EXPECT_NEAR(ring.circularity(false, 0), *largest - *smallest, 1e-9);
}

TEST(PlaneFrame, DegenerateOnesGiveNoTolerance) {
  Array f = {1, 1, 0, 0, 0, 1, 2};
  const Points cluster = {{1, 1, 0}, {1.009F, 1, 5}, {1, 1.009F, -5}};
  const Points broken = {{0, 0, 0}, {4, 0, 0}, {NAN, 4, 0}, {0, 4, 0}};
  for (const Points& points : {cluster, broken}) {
    EXPECT_EQ(T::calcCircularity(points, f.data(), false, 0), kNoTolerance);
    EXPECT_EQ(T::calcPerpendicularity_Plane_Plane(points, f.data(), f.data(), false, 0),
              kNoTolerance);
  }
  // One point a little further out spans a frame.
  const Points wider = {{1, 1, 0}, {1.02F, 1, 5}, {1, 1.009F, -5}};
  EXPECT_GE(T::calcCircularity(wider, f.data(), false, 0), 0.0);
}

// Ten deviations about 1 that no float holds: stored they are all 1, as are mean and extremes' gap.
TEST(DeviationStatistics, InFloatAreTakenFromTheRoundedDeviations) {
  float flat[30] = {}, stored[10];
  for (int i = 1; i < 10; i += 2) flat[3 * i + 2] = 1;
  const zelmo::internal::PointView points(flat, 10);
  const zelmo::internal::PlaneDeviation plane{0, 0, 1e-9, 1.0};
  const auto in_float = zelmo::internal::deviationStatistics(points, plane, stored);
  EXPECT_THAT(stored, Each(1.0F));
  EXPECT_EQ(in_float.mean, 1.0);
  EXPECT_EQ(in_float.variance, 0.0);
  EXPECT_EQ(in_float.extremes.largest, 1.0 + 1e-9);
}

TEST(Frames, FollowTheGuardedAlignment) {
  // Crosses that point opposite ways: the turn is about the first normal, which stays.
  const cv::Vec3d target[3] = {{0.6, -0.64, 0.48}, {0.8, 0.48, -0.36}, {0, 0.6, 0.8}};
  const cv::Vec3d source[3] = {target[0], -target[1], target[2]};
  const cv::Point3d at[3] = {{1, 2, 3}, {1, 2, 3}, {1, 2, 3}}, to[3] = {};
  const cv::Vec4d first(0.6, -0.64, 0.48, 0);
  cv::Matx44d map, inverse;
  T::alignBy3Plane(target, to, source, at, map.val);
  EXPECT_LT(cv::norm(map * first - first), 1e-9);
  EXPECT_LT(cv::norm(map * cv::Vec4d(1, 2, 3, 1) - cv::Vec4d(0, 0, 0, 1)), 1e-9);
  EXPECT_EQ(T::convertMatrixRT(map.val, inverse.val), 1);
  EXPECT_LT(cv::norm(inverse * map - cv::Matx44d::eye()), 1e-9);
  cv::Mat met, turn;
  EXPECT_EQ(T::Intersection3Planes(target, at, met), 1);
  EXPECT_LT(cv::norm(met - cv::Mat(cv::Vec3d(1, 2, 3))), 1e-9);
  T::getMatRByVector(target[0], target[1], turn);
  EXPECT_LT(cv::norm(turn * cv::Mat(target[0]) - cv::Mat(target[1])), 1e-9);
}

}  // namespace
