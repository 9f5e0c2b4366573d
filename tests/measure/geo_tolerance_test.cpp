// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/measure/geo_tolerance.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "support/long_double_geometry.h"

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
  const bool near = std::fabs(v.x) < 0.01L && std::fabs(v.y) < 0.01L && std::fabs(v.z) < 0.01L;
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
#Member,                                                                                         \
      [](const Points& p, double* f, [[maybe_unused]] double* d, bool b, double s) {               \
        return T::Member(p, __VA_ARGS__, b, s);                                         \
      },                                                                                           \
      [](const float* p, const int& n, double* f, [[maybe_unused]] double* d, bool b, double s) { \
        return T::Member(p, n, __VA_ARGS__, b, s);                                      \
      }
// NOLINTEND(cppcoreguidelines-macro-usage, bugprone-macro-parentheses)

// Every tolerance that is made of one deviation per point.
const Tolerance kBands[] = {
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
};
const Tolerance kFlat[] = {
    {ZELMO_BOTH(calcCircularity, f), nullptr, OfFeature},
    {ZELMO_BOTH(calcPerpendicularity_Plane_Plane, f, d), nullptr, OfDatum},
};

// Of the band or, without a factor, of all deviations.
double bruteForce(const Tolerance& tolerance, const std::vector<Real>& deviations,
                  const double* factor) {
  Real low = -1e30L;
  Real high = 1e30L;
  if (factor != nullptr) {
    Real mean = 0;
    Real squares = 0;
    for (const Real d : deviations) mean += d / static_cast<Real>(deviations.size());
    for (const Real d : deviations) squares += (d - mean) * (d - mean);
    const Real s = std::sqrt(squares / static_cast<Real>(deviations.size()));
    low = mean - s * *factor;
    high = mean + s * *factor;
  }
  Real largest = -1e10L;
  Real smallest = 1e10L;
  for (const Real d : deviations) {
    if (d < low || d > high) continue;
    largest = std::max(largest, d);
    smallest = std::min(smallest, d);
  }
  const Real reaches = std::fabs(std::fabs(largest) - std::fabs(smallest));
  return static_cast<double>(tolerance.isConcentricity() ? reaches : largest - smallest);
}

// Any two features, and points about them: some close to the given point, where the line's rule of
// the near point bites.
struct Configuration {
  Array feature{}, datum{};
  Points points;

  Configuration(RandomGeometry& random, int count) {
    for (Array* array : {&feature, &datum}) {
      random.point(50).copyTo(array->data());
      random.direction().copyTo(array->data() + 3);
      (*array)[6] = static_cast<double>(random.number(0.1, 30));
    }
    for (int i = 0; i < count; ++i) {
      const bool is_near = random.integer(0, 9) == 0;
      const Vec p = Vec(feature.data()) + random.point(is_near ? 0.02 : 40);
      points.push_back(p.rounded());
    }
  }
};

TEST(XGeoTolrance, EqualsItsDefinitionInLongDouble) {
  RandomGeometry random(21);
  for (int round = 0; round < 3000; ++round) {
    // Now and then more than one block of points.
    Configuration c(random, random.integer(3, round % 8 == 0 ? 200 : 70));
    const double factors[] = {0.3, 1.0, 1.7};
    const double* factor = round % 4 == 0 ? nullptr : &factors[round % 4 - 1];
    for (const Tolerance& tolerance : kBands) {
      SCOPED_TRACE(testing::Message() << tolerance.name << " round " << round);
      std::vector<Real> deviations;
      for (const auto& p : c.points) {
        deviations.push_back(tolerance.of(Vec(p), c.feature, c.datum));
      }
      const double expected = bruteForce(tolerance, deviations, factor);
      const double value =
          tolerance.by_vector(c.points, c.feature.data(), c.datum.data(), factor != nullptr,
                              factor != nullptr ? *factor : kNaN);
      // Concentricity is a difference of two reaches: its error is relative to these.
      ASSERT_NEAR(value, expected, 1e-9 * std::max(1.0, expected));
      ASSERT_EQ(value, tolerance.by_array(&c.points[0].x, static_cast<int>(c.points.size()),
                                          c.feature.data(), c.datum.data(), factor != nullptr,
                                          factor != nullptr ? *factor : 0.0));
    }
  }
}

TEST(XGeoTolrance, IsTheSameInAnyPoseAndOrder) {
  RandomGeometry random(22);
  for (int round = 0; round < 500; ++round) {
    Configuration c(random, 40);
    // A turn by the reflections at two planes, and a shift.
    const Vec m = random.direction(), n = random.direction(), shift = random.point(30);
    const auto turned = [&](const Vec& v) {
      const Vec once = v - m * (2 * v.dot(m));
      return once - n * (2 * once.dot(n));
    };
    const auto moved = [&](const Array& array) {
      Array out = array;
      (turned(Vec(array.data())) + shift).copyTo(out.data());
      turned(Vec(&array[3])).copyTo(&out[3]);
      return out;
    };
    // The rule of the near point holds along the axes of the world, and a point square to the line
    // may change its sign by a rounding.
    Points points, elsewhere;
    for (const auto& p : c.points) {
      const auto beside = [&p](const Array& a, const Array& d) {
        return std::fabs((Vec(p) - Vec(a.data())).dot(Vec(&d[3]))) < 0.1L;
      };
      if (beside(c.feature, c.feature) || beside(c.feature, c.datum) || beside(c.datum, c.datum)) {
        continue;
      }
      points.push_back(p);
      elsewhere.push_back((turned(Vec(p)) + shift).rounded());
    }
    Array feature = moved(c.feature), datum = moved(c.datum);
    const Points reversed(points.rbegin(), points.rend());
    for (const Tolerance& tolerance : kBands) {
      // The direction square to the datum is a point's sign on its own.
      if (tolerance.direction == SquareToDatum) continue;
      SCOPED_TRACE(testing::Message() << tolerance.name << " round " << round);
      const auto value = [&](const Points& of, bool band) {
        return tolerance.by_vector(of, c.feature.data(), c.datum.data(), band, 1);
      };
      EXPECT_NEAR(tolerance.by_vector(elsewhere, feature.data(), datum.data(), false, 0),
                  value(points, false), 5e-5);
      EXPECT_EQ(value(reversed, false), value(points, false));
      EXPECT_NEAR(value(reversed, true), value(points, true), 1e-9);
    }
  }
}

TEST(XGeoTolrance, NeedsThreePoints) {
  float two[] = {0, 0, 0, 1, 2, 3};
  Array feature = {0, 0, 0, 0, 0, 1, 1};
  Array datum = {0, 0, 0, 1, 0, 0, 1};
  std::vector<Tolerance> all(std::begin(kBands), std::end(kBands));
  all.insert(all.end(), std::begin(kFlat), std::end(kFlat));
  for (const Tolerance& tolerance : all) {
    for (const bool band : {false, true}) {
      SCOPED_TRACE(tolerance.name);
      for (const int count : {std::numeric_limits<int>::min(), -1, 0, 2}) {
        EXPECT_EQ(tolerance.by_array(two, count, feature.data(), datum.data(), band, 1), -1.0);
      }
      EXPECT_EQ(tolerance.by_array(nullptr, 5, feature.data(), datum.data(), band, 1), -1.0);
      EXPECT_EQ(tolerance.by_vector({}, feature.data(), datum.data(), band, 1), -1.0);
    }
  }
}

// Heights over the plane z = 0 are the deviations.
Points heights(const std::vector<float>& z) {
  Points points;
  for (const float value : z) points.emplace_back(static_cast<float>(points.size()), 0.5F, value);
  return points;
}

struct BandCase {
  const char* what;
  std::vector<float> deviations;
  double factor;
  double expected;
};

TEST(SigmaBand, KeepsItsLimitsAndNothingBeyond) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const BandCase cases[] = {
      {"population variance 8 about 2: 6 is out", {0, 0, 6}, 1.0, 0},
      {"sample variance 12 would keep 6", {0, 0, 6}, 1.3, 0},
      {"both limits are kept", {-1, 1, -1, 1}, 1.0, 2},
      {"just inside the limits none is left", {-1, 1, -1, 1}, 0.999, kEmptyBand},
      {"factor 0 keeps what equals the mean", {-1, 0, 1}, 0.0, 0},
      {"factor 0 without such a point", {-1, 1, 3, -3}, 0.0, kEmptyBand},
      {"a negative factor turns the limits round", {-1, 0, 1}, -1.0, kEmptyBand},
      {"one pass of rejection only", {0, 0, 0, 0, 0, 0, 0, 0, 1, 100}, 2.0, 1},
      {"a NaN deviation widens the band to all", {-1, nan, 4, 2}, 0.1, 5},
      {"a NaN factor too", {-1, 3, 4, 2}, kNaN, 5},
  };
  double plane[6] = {9, 9, 0, 0, 0, 1};
  for (const BandCase& c : cases) {
    // Once, and in whole blocks.
    for (const int times : {1, 64}) {
      std::vector<float> z;
      for (int i = 0; i < times; ++i) z.insert(z.end(), c.deviations.begin(), c.deviations.end());
      EXPECT_EQ(T::calcFlatness(heights(z), plane, true, c.factor), c.expected) << c.what;
    }
  }
}

// A NaN or an infinite point at every place of a block and of what is left after it.
TEST(Extremes, PassOverNaNAndFollowInfinity) {
  double plane[6] = {0, 0, 0, 0, 0, 1};
  const double inf = std::numeric_limits<double>::infinity();
  for (std::size_t at = 0; at < 75; ++at) {
    std::vector<float> z(75);
    for (std::size_t i = 0; i < z.size(); ++i) z[i] = static_cast<float>(i % 5);
    for (const auto& [value, expected] :
         {std::pair{kNaN, 4.0}, std::pair{inf, inf}, std::pair{-9.0, 13.0}}) {
      z[at] = static_cast<float>(value);
      EXPECT_EQ(T::calcFlatness(heights(z), plane, false, 0), expected) << at;
    }
    // What came before a NaN in the same lane still counts after it.
    if (at + 16 >= z.size()) continue;
    z[at + 8] = static_cast<float>(kNaN);
    z[at + 16] = 1;
    EXPECT_EQ(T::calcFlatness(heights(z), plane, false, 0), 13.0) << at;
    EXPECT_EQ(T::calcFlatness(heights(z), plane, true, 5), 13.0) << at;
  }
  EXPECT_EQ(T::calcFlatness(heights({2e10F, 3e10F, 4e10F}), plane, false, 0),
            static_cast<double>(4e10F) - 1e10);
}

TEST(NearPoint, EndsAtOneHundredthInEachCoordinate) {
  // The line along x; the other points lie on it, so the first one's deviation is the result.
  const auto straightness = [](double oy, double oz, const cv::Point3f& p) {
    double line[6] = {0, oy, oz, 1, 0, 0};
    const cv::Point3f on(5, static_cast<float>(oy), static_cast<float>(oz));
    return T::calcStraightness({p, on, on}, line, false, 0);
  };
  EXPECT_EQ(straightness(0, 0, {0.0099F, -0.0099F, 0.0099F}), 0.0);
  for (const cv::Point3f& p : {cv::Point3f(0.0099F, 0.0099F, 0.0101F),
                               {0.0099F, -0.0101F, 0.0099F},
                               {0.0101F, 0.0099F, 0.0099F}}) {
    EXPECT_GT(straightness(0, 0, p), 0.0139);
  }
  // Exactly 0.01 is not near.
  const Points exactly = {{0, 0, 0}, {5, 0, 0}, {6, 0, 0}};
  double line[6] = {0, 0.01, 0, 1, 0, 0};
  double cylinder[7] = {0, 0.01, 0, 1, 0, 0, 0.005};
  EXPECT_EQ(T::calcStraightness(exactly, line, false, 0), 0.0);
  EXPECT_EQ(T::calcCylindricity(exactly, cylinder, false, 0), 0.0);
  line[1] = cylinder[1] = std::nextafter(0.01, 0.0);
  EXPECT_GT(T::calcStraightness(exactly, line, false, 0), 0.0099);
  // On the surface of a cylinder of radius 0.005, and yet 0.005 inside.
  EXPECT_NEAR(T::calcCylindricity(exactly, cylinder, false, 0), 0.01, 1e-12);
}

TEST(Straightness, IsSignedAheadAndBehind) {
  double line[6] = {0, 0, 0, 1, 0, 0};
  const Points ahead = {{1, 3, 0}, {2, 0, -3}, {4, -3, 0}};
  EXPECT_EQ(T::calcStraightness(ahead, line, false, 0), 0.0);
  const Points across = {{1, 3, 0}, {-2, 0, -3}, {4, -3, 0}};
  EXPECT_EQ(T::calcStraightness(across, line, false, 0), 6.0);
  // Neither ahead nor behind counts as ahead.
  const Points beside = {{1, 3, 0}, {0, 0, -3}, {4, -3, 0}};
  EXPECT_EQ(T::calcStraightness(beside, line, false, 0), 0.0);
  double datum[6] = {0, 0, 0, 1, 0, 0};
  EXPECT_EQ(T::calcConcentricity(across, nullptr, datum, false, 0), 0.0);
}

TEST(Perpendicularity, OfLinesFailsOnlyForAZeroCross) {
  const Points points = {{1, 3, 0}, {2, 0, -3}, {-4, -3, 1}};
  double line[6] = {0, 0, 0, 0.6, 0, 0.8};
  double datum[6] = {0, 0, 0, 1.2, 0, 1.6};
  EXPECT_EQ(T::calcPerpendicularity_Line_Line(points, line, datum, false, 0), kNoTolerance);
  datum[3] = std::nextafter(1.2, 2.0);
  EXPECT_GT(T::calcPerpendicularity_Line_Line(points, line, datum, false, 0), 0.0);
  // The reference runs along the measured direction, not against it: with that one point neither
  // ahead nor behind, 3 and 1 would lie on different sides.
  double x_axis[6] = {0, 0, 0, 1, 0, 0};
  double y_axis[6] = {0, 0, 0, 0, 1, 0};
  const Points ahead = {{0, 3, 0}, {2, 1, 0}, {4, 1, 0}};
  EXPECT_EQ(T::calcPerpendicularity_Line_Line(ahead, x_axis, y_axis, false, 0), 2.0);
}

TEST(Perpendicularity, OfPlanesIsTheShortSideOnTheDatum) {
  // A wall 30 wide, 20 high and 0.25 thick, standing askew on the datum.
  RandomGeometry random(5);
  for (int round = 0; round < 200; ++round) {
    const Vec up = random.direction();
    const Vec along = random.directionSquareTo(up);
    // Seen from either side, so that the rectangle's width and height change places.
    const Vec out = up.cross(along) * (round % 2 == 0 ? 1 : -1);
    const Vec corner = random.point(100);
    Points points;
    for (const Real a : {0, 10, 30}) {
      for (const Real b : {0.0L, 0.25L}) {
        points.push_back((corner + along * a + out * b).rounded());
        points.push_back((corner + along * a + out * b + up * 20).rounded());
      }
    }
    double wall[6];
    double datum[6];
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

Points ring(const Vec& center, const Vec& normal, const Vec& x, Real radius, Real lift) {
  Points points;
  const Vec y = normal.cross(x);
  for (int i = 0; i < 36; ++i) {
    const Real angle = i * 3.14159265358979323846L / 18;
    const Real r = radius + (i % 3 - 1) * 0.1L;
    const Vec p = center + x * (r * std::cos(angle)) + y * (r * std::sin(angle));
    points.push_back((p + normal * (lift * (i % 2))).rounded());
  }
  return points;
}

TEST(Circularity, IsMeasuredInTheCirclesPlane) {
  RandomGeometry random(9);
  for (int round = 0; round < 500; ++round) {
    const Vec normal = random.direction();
    const Vec x = random.directionSquareTo(normal);
    const Vec center = random.point(50);
    double circle[7];
    center.copyTo(circle);
    normal.copyTo(circle + 3);
    circle[6] = 8;
    const Points points = ring(center, normal, x, 8, 3);
    EXPECT_NEAR(T::calcCircularity(points, circle, false, 0), 0.2, 3e-5);
    EXPECT_NEAR(T::calcCircularity(points, circle, true, 1), 0, 3e-5);
    EXPECT_EQ(T::calcCircularity(points, circle, true, 1.5),
              T::calcCircularity(&points[0].x, 36, circle, true, 1.5));
  }
}

// The result follows the projections and flat coordinates as they are stored in float: at this
// distance from the origin their last bits are worth a thousandth.
TEST(Circularity, FollowsTheStoredFloats) {
  const Vec normal(0.6L, 0, 0.8L);
  const Vec center(8192, 16384, -8192);
  Points points = ring(center, normal, {0, 1, 0}, 300, 37);
  double circle[7];
  center.copyTo(circle);
  normal.copyTo(circle + 3);
  circle[6] = 300;
  double plane[4] = {0.6, 0, 0.8, -(0.6 * 8192 - 0.8 * 8192)};
  std::vector<cv::Point2f> flat;
  double rt[16];
  T::projection2Plane_tranformed(points, plane, flat, rt);
  ASSERT_EQ(flat.size(), points.size());
  const double x = rt[0] * circle[0] + rt[1] * circle[1] + rt[2] * circle[2] + rt[3];
  const double y = rt[4] * circle[0] + rt[5] * circle[1] + rt[6] * circle[2] + rt[7];
  double largest = 0;
  double smallest = 1e10;
  for (const auto& p : flat) {
    largest = std::max(largest, std::hypot(p.x - x, p.y - y));
    smallest = std::min(smallest, std::hypot(p.x - x, p.y - y));
  }
  EXPECT_NEAR(T::calcCircularity(points, circle, false, 0), largest - smallest, 1e-9);
}

TEST(PlaneFrame, DegenerateOnesGiveNoTolerance) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const Points square = {{0, 0, 0}, {4, 0, 0}, {4, 4, 0}, {0, 4, 0}};
  const Points cluster = {{1, 1, 0}, {1.009F, 1, 5}, {1, 1.009F, -5}};
  const Points column = {{1, 1, 0}, {1, 1, 5}, {1, 1, 9}};
  const Points broken = {{0, 0, 0}, {4, 0, 0}, {nan, 4, 0}, {0, 4, 0}};
  double circle[7] = {1, 1, 0, 0, 0, 1, 2};
  double no_normal[7] = {1, 1, 0, 0, 0, 0, 2};
  double nan_normal[7] = {1, 1, 0, 0, kNaN, 1, 2};
  const auto expectNone = [](const Points& points, double* feature) {
    EXPECT_EQ(T::calcCircularity(points, feature, false, 0), kNoTolerance);
    EXPECT_EQ(T::calcPerpendicularity_Plane_Plane(points, feature, feature, false, 0),
              kNoTolerance);
  };
  expectNone(cluster, circle);
  expectNone(column, circle);
  expectNone(broken, circle);
  expectNone(square, no_normal);
  expectNone(square, nan_normal);
  // One point a little further out spans a frame.
  Points wider = cluster;
  wider[1].x = 1.02F;
  EXPECT_GE(T::calcCircularity(wider, circle, false, 0), 0.0);
}

}  // namespace
