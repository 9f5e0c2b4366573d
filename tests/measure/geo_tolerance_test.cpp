// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/measure/geo_tolerance.h"

#include <algorithm>
#include <array>
#include <functional>
#include <limits>

#include <gtest/gtest.h>

#include "support/long_double_geometry.h"

using xgeomeasure::XGeoTolrance;
using zelmo::test::RandomGeometry;
using zelmo::test::Real;
using zelmo::test::Vec;

namespace {

using Points = std::vector<cv::Point3f>;
using Array = std::array<double, 7>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kNoTolerance = -1.0;
constexpr double kEmptyBand = -2e10;

// One measured feature, one datum; a form tolerance reads only the first.
using VectorForm = std::function<double(const Points&, double*, double*, bool, double)>;
using ArrayForm = std::function<double(const float*, const int&, double*, double*, bool, double)>;
using Deviation = std::function<Real(const Vec& p, const double* feature, const double* datum)>;
using Reduction = std::function<Real(Real largest, Real smallest)>;

Real fromPlane(const Vec& p, const Vec& o, const Vec& n) { return n.dot(p) - n.dot(o); }

Real fromAxis(const Vec& p, const Vec& o, const Vec& d) {
  const Vec v = p - o;
  const bool near = std::fabs(v.x) < 0.01L && std::fabs(v.y) < 0.01L && std::fabs(v.z) < 0.01L;
  return near ? 0 : v.cross(d).norm();
}

Real fromLine(const Vec& p, const Vec& o, const Vec& d) {
  return (p - o).dot(d) < 0 ? -fromAxis(p, o, d) : fromAxis(p, o, d);
}

Real width(Real largest, Real smallest) { return largest - smallest; }

struct Tolerance {
  const char* name;
  VectorForm by_vector;
  ArrayForm by_array;
  Deviation deviation;
  Reduction reduce = width;
};

#define FORM(Member) \
#Member,                                                                                     \
      [](const Points& p, double* f, double*, bool band, double s) {                           \
        return XGeoTolrance::Member(p, f, band, s);                                            \
      },                                                                                       \
      [](const float* p, const int& n, double* f, double*, bool band, double s) {              \
        return XGeoTolrance::Member(p, n, f, band, s);                                         \
      }
#define RELATION(Member) \
#Member,                                                                                     \
      [](const Points& p, double* f, double* d, bool band, double s) {                         \
        return XGeoTolrance::Member(p, f, d, band, s);                                         \
      },                                                                                       \
      [](const float* p, const int& n, double* f, double* d, bool band, double s) {            \
        return XGeoTolrance::Member(p, n, f, d, band, s);                                      \
      }

// Every tolerance that is made of one deviation per point.
const Tolerance kBands[] = {
    {FORM(calcFlatness),
     [](const Vec& p, const double* f, const double*) { return fromPlane(p, Vec(f), Vec(f + 3)); }},
    {FORM(calcStraightness),
     [](const Vec& p, const double* f, const double*) { return fromLine(p, Vec(f), Vec(f + 3)); }},
    {FORM(calcCylindricity), [](const Vec& p, const double* f,
                                const double*) { return fromAxis(p, Vec(f), Vec(f + 3)) - f[6]; }},
    {FORM(calcSphericity),
     [](const Vec& p, const double* f, const double*) { return (p - Vec(f)).norm() - f[3]; }},
    {RELATION(calcParallelism_Line_Line),
     [](const Vec& p, const double* f, const double* d) {
       return fromLine(p, Vec(f), Vec(d + 3));
     }},
    {RELATION(calcParallelism_Line_Plane),
     [](const Vec& p, const double* f, const double* d) {
       return fromPlane(p, Vec(f), Vec(d + 3));
     }},
    {RELATION(calcParallelism_Plane_Plane),
     [](const Vec& p, const double* f, const double* d) {
       return fromPlane(p, Vec(f), Vec(d + 3));
     }},
    {RELATION(calcPerpendicularity_Line_Line),
     [](const Vec& p, const double* f, const double* d) {
       // The part of the measured direction that is square to the datum.
       const Vec m(f + 3);
       const Vec r(d + 3);
       return fromLine(p, Vec(f), (m - r * (m.dot(r) / r.dot(r))).unit());
     }},
    {RELATION(calcPerpendicularity_Line_Plane),
     [](const Vec& p, const double* f, const double* d) {
       return fromLine(p, Vec(f), Vec(d + 3));
     }},
    {RELATION(calcConcentricity),
     [](const Vec& p, const double*, const double* d) { return fromLine(p, Vec(d), Vec(d + 3)); },
     [](Real largest, Real smallest) {
       return std::fabs(std::fabs(largest) - std::fabs(smallest));
     }},
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
  return static_cast<double>(tolerance.reduce(largest, smallest));
}

// Any two features, and points about them: some close to the given point, where the line's rule of
// the near point bites.
struct Configuration {
  Array feature{}, datum{};
  Points points;

  explicit Configuration(RandomGeometry& random) {
    for (Array* array : {&feature, &datum}) {
      random.point(50).copyTo(array->data());
      random.direction().copyTo(array->data() + 3);
      (*array)[6] = static_cast<double>(random.number(0.1, 30));
    }
    const int count = random.integer(3, 70);
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
    Configuration c(random);
    const double factors[] = {0.3, 1.0, 1.7};
    const double* factor = round % 4 == 0 ? nullptr : &factors[round % 4 - 1];
    for (const Tolerance& tolerance : kBands) {
      SCOPED_TRACE(testing::Message() << tolerance.name << " round " << round);
      std::vector<Real> deviations;
      for (const auto& p : c.points) {
        deviations.push_back(tolerance.deviation(Vec(p), c.feature.data(), c.datum.data()));
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

// A turn about any axis, by the reflections at two planes.
struct Motion {
  Vec m, n, shift;

  explicit Motion(RandomGeometry& random)
      : m(random.direction()), n(random.direction()), shift(random.point(30)) {}
  Vec turned(const Vec& v) const {
    const Vec once = v - m * (2 * v.dot(m));
    return once - n * (2 * once.dot(n));
  }
  Array moved(const Array& array) const {
    Array out = array;
    (turned(Vec(array.data())) + shift).copyTo(out.data());
    turned(Vec(array.data() + 3)).copyTo(out.data() + 3);
    return out;
  }
};

TEST(XGeoTolrance, IsTheSameInAnyPoseAndOrder) {
  RandomGeometry random(22);
  for (int round = 0; round < 500; ++round) {
    Configuration c(random);
    const Motion motion(random);
    // The rule of the near point holds along the axes of the world, and a point square to the line
    // may change its sign by a rounding.
    const auto undecided = [&](const cv::Point3f& p) {
      const auto beside = [&p](const Array& a, const Array& d) {
        return std::fabs((Vec(p) - Vec(a.data())).dot(Vec(d.data() + 3))) < 0.1L;
      };
      return (Vec(p) - Vec(c.feature.data())).norm() < 0.1L || beside(c.feature, c.feature) ||
             beside(c.feature, c.datum) || beside(c.datum, c.datum);
    };
    c.points.erase(std::remove_if(c.points.begin(), c.points.end(), undecided), c.points.end());
    if (c.points.size() < 3) continue;
    Points moved;
    for (const auto& p : c.points) {
      moved.push_back((motion.turned(Vec(p)) + motion.shift).rounded());
    }
    Array feature = motion.moved(c.feature);
    Array datum = motion.moved(c.datum);
    Points reversed(c.points.rbegin(), c.points.rend());
    for (const Tolerance& tolerance : kBands) {
      // The direction square to the datum is a point's sign on its own.
      if (tolerance.name == std::string("calcPerpendicularity_Line_Line")) continue;
      SCOPED_TRACE(testing::Message() << tolerance.name << " round " << round);
      const double value =
          tolerance.by_vector(c.points, c.feature.data(), c.datum.data(), false, 0);
      EXPECT_NEAR(tolerance.by_vector(moved, feature.data(), datum.data(), false, 0), value, 5e-5);
      EXPECT_EQ(tolerance.by_vector(reversed, c.feature.data(), c.datum.data(), false, 0), value);
      EXPECT_NEAR(tolerance.by_vector(reversed, c.feature.data(), c.datum.data(), true, 1),
                  tolerance.by_vector(c.points, c.feature.data(), c.datum.data(), true, 1), 1e-9);
    }
  }
}

TEST(XGeoTolrance, NeedsThreePoints) {
  float two[] = {0, 0, 0, 1, 2, 3};
  Array feature = {0, 0, 0, 0, 0, 1, 1};
  Array datum = {0, 0, 0, 1, 0, 0, 1};
  Tolerance all[std::size(kBands) + 2] = {{FORM(calcCircularity), {}},
                                          {RELATION(calcPerpendicularity_Plane_Plane), {}}};
  std::copy(std::begin(kBands), std::end(kBands), all + 2);
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
    EXPECT_EQ(XGeoTolrance::calcFlatness(heights(c.deviations), plane, true, c.factor), c.expected)
        << c.what;
  }
}

TEST(SigmaBand, IsNotReadUnlessAsked) {
  double plane[6] = {0, 0, 0, 0, 0, 1};
  for (const double factor : {kNaN, 0.0, -5.0, 1e300}) {
    EXPECT_EQ(XGeoTolrance::calcFlatness(heights({-2, 0, 7}), plane, false, factor), 9.0);
  }
}

// A NaN or an infinite point at every position of a lane.
TEST(Extremes, PassOverNaNAndFollowInfinity) {
  double plane[6] = {0, 0, 0, 0, 0, 1};
  const double inf = std::numeric_limits<double>::infinity();
  for (std::size_t at = 0; at < 19; ++at) {
    std::vector<float> z(19);
    for (std::size_t i = 0; i < z.size(); ++i) z[i] = static_cast<float>(i % 5);
    z[at] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(XGeoTolrance::calcFlatness(heights(z), plane, false, 0), 4.0) << at;
    z[at] = std::numeric_limits<float>::infinity();
    EXPECT_EQ(XGeoTolrance::calcFlatness(heights(z), plane, false, 0), inf) << at;
    z[at] = -9;
    EXPECT_EQ(XGeoTolrance::calcFlatness(heights(z), plane, false, 0), 13.0) << at;
  }
  // What came before a NaN in the same lane still counts after it.
  for (std::size_t at = 0; at < 8; ++at) {
    std::vector<float> z(27);
    z[at] = 9;
    z[at + 8] = std::numeric_limits<float>::quiet_NaN();
    z[at + 16] = 1;
    EXPECT_EQ(XGeoTolrance::calcFlatness(heights(z), plane, false, 0), 9.0) << at;
    z[at] = -9;
    EXPECT_EQ(XGeoTolrance::calcFlatness(heights(z), plane, false, 0), 10.0) << at;
    EXPECT_EQ(XGeoTolrance::calcFlatness(heights(z), plane, true, 5), 10.0) << at;
  }
  EXPECT_EQ(XGeoTolrance::calcFlatness(heights({2e10F, 3e10F, 4e10F}), plane, false, 0),
            static_cast<double>(4e10F) - 1e10);
}

TEST(NearPoint, EndsAtOneHundredthInEachCoordinate) {
  // The line along x; the other points lie on it, so the first one's deviation is the result.
  const auto straightness = [](double oy, double oz, const cv::Point3f& p) {
    double line[6] = {0, oy, oz, 1, 0, 0};
    const cv::Point3f on(5, static_cast<float>(oy), static_cast<float>(oz));
    return XGeoTolrance::calcStraightness({p, on, on}, line, false, 0);
  };
  EXPECT_EQ(straightness(0, 0, {0.0099F, -0.0099F, 0.0099F}), 0.0);
  EXPECT_GT(straightness(0, 0, {0.0099F, 0.0099F, 0.0101F}), 0.014);
  EXPECT_GT(straightness(0, 0, {0.0099F, -0.0101F, 0.0099F}), 0.014);
  EXPECT_GT(straightness(0, 0, {0.0101F, 0.0099F, 0.0099F}), 0.0139);
  // Exactly 0.01 is not near.
  const Points exactly = {{0, 0, 0}, {5, 0, 0}, {6, 0, 0}};
  double line[6] = {0, 0.01, 0, 1, 0, 0};
  double cylinder[7] = {0, 0.01, 0, 1, 0, 0, 0.005};
  EXPECT_EQ(XGeoTolrance::calcStraightness(exactly, line, false, 0), 0.0);
  EXPECT_EQ(XGeoTolrance::calcCylindricity(exactly, cylinder, false, 0), 0.0);
  line[1] = cylinder[1] = std::nextafter(0.01, 0.0);
  EXPECT_GT(XGeoTolrance::calcStraightness(exactly, line, false, 0), 0.0099);
  // On the surface of a cylinder of radius 0.005, and yet 0.005 inside.
  EXPECT_NEAR(XGeoTolrance::calcCylindricity(exactly, cylinder, false, 0), 0.01, 1e-12);
}

TEST(Straightness, IsSignedAheadAndBehind) {
  double line[6] = {0, 0, 0, 1, 0, 0};
  const Points ahead = {{1, 3, 0}, {2, 0, -3}, {4, -3, 0}};
  EXPECT_EQ(XGeoTolrance::calcStraightness(ahead, line, false, 0), 0.0);
  const Points across = {{1, 3, 0}, {-2, 0, -3}, {4, -3, 0}};
  EXPECT_EQ(XGeoTolrance::calcStraightness(across, line, false, 0), 6.0);
  // Neither ahead nor behind counts as ahead.
  const Points beside = {{1, 3, 0}, {0, 0, -3}, {4, -3, 0}};
  EXPECT_EQ(XGeoTolrance::calcStraightness(beside, line, false, 0), 0.0);
  double datum[6] = {0, 0, 0, 1, 0, 0};
  EXPECT_EQ(XGeoTolrance::calcConcentricity(across, nullptr, datum, false, 0), 0.0);
}

TEST(Perpendicularity, OfLinesFailsOnlyForAZeroCross) {
  const Points points = {{1, 3, 0}, {2, 0, -3}, {-4, -3, 1}};
  double line[6] = {0, 0, 0, 0.6, 0, 0.8};
  double datum[6] = {0, 0, 0, 1.2, 0, 1.6};
  EXPECT_EQ(XGeoTolrance::calcPerpendicularity_Line_Line(points, line, datum, false, 0),
            kNoTolerance);
  datum[3] = std::nextafter(1.2, 2.0);
  EXPECT_GT(XGeoTolrance::calcPerpendicularity_Line_Line(points, line, datum, false, 0), 0.0);
  // The reference runs along the measured direction, not against it: with that one point neither
  // ahead nor behind, 3 and 1 would lie on different sides.
  double x_axis[6] = {0, 0, 0, 1, 0, 0};
  double y_axis[6] = {0, 0, 0, 0, 1, 0};
  const Points ahead = {{0, 3, 0}, {2, 1, 0}, {4, 1, 0}};
  EXPECT_EQ(XGeoTolrance::calcPerpendicularity_Line_Line(ahead, x_axis, y_axis, false, 0), 2.0);
}

TEST(Perpendicularity, OfPlanesIsTheShortSideOnTheDatum) {
  // A wall 30 wide, 20 high and 0.25 thick, standing askew on the datum.
  RandomGeometry random(5);
  for (int round = 0; round < 200; ++round) {
    const Vec up = random.direction();
    const Vec along = random.directionSquareTo(up);
    const Vec out = up.cross(along);
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
      return XGeoTolrance::calcPerpendicularity_Plane_Plane(points, wall, datum, band, factor);
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
    EXPECT_NEAR(XGeoTolrance::calcCircularity(points, circle, false, 0), 0.2, 3e-5);
    EXPECT_NEAR(XGeoTolrance::calcCircularity(points, circle, true, 1), 0, 3e-5);
    EXPECT_EQ(XGeoTolrance::calcCircularity(points, circle, true, 1.5),
              XGeoTolrance::calcCircularity(&points[0].x, 36, circle, true, 1.5));
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
  XGeoTolrance::projection2Plane_tranformed(points, plane, flat, rt);
  ASSERT_EQ(flat.size(), points.size());
  const double x = rt[0] * circle[0] + rt[1] * circle[1] + rt[2] * circle[2] + rt[3];
  const double y = rt[4] * circle[0] + rt[5] * circle[1] + rt[6] * circle[2] + rt[7];
  double largest = 0;
  double smallest = 1e10;
  for (const auto& p : flat) {
    largest = std::max(largest, std::hypot(p.x - x, p.y - y));
    smallest = std::min(smallest, std::hypot(p.x - x, p.y - y));
  }
  EXPECT_NEAR(XGeoTolrance::calcCircularity(points, circle, false, 0), largest - smallest, 1e-9);
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
    EXPECT_EQ(XGeoTolrance::calcCircularity(points, feature, false, 0), kNoTolerance);
    EXPECT_EQ(XGeoTolrance::calcPerpendicularity_Plane_Plane(points, feature, feature, false, 0),
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
  EXPECT_GE(XGeoTolrance::calcCircularity(wider, circle, false, 0), 0.0);
}

}  // namespace
