// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// What all four outlines promise alike, one row a class, and the distances they minimise.
#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/parameter_names.h"
#include "zelmo/curvefit/circle_fit.h"
#include "zelmo/curvefit/oval_groove_fit.h"
#include "zelmo/curvefit/rectangle_fit.h"
#include "zelmo/curvefit/round_groove_fit.h"
#include "zelmo/internal/planar_residuals.h"

namespace zelmo::test {
namespace {

using testing::Each;
using xcurve3dfit::FitMethod;
using Points = std::vector<cv::Point3f>;
using Floats = std::vector<float>;

constexpr double kPi = 3.14159265358979323846;
const cv::Vec3d kCenter(120, -80, 45);
const cv::Vec3d kX(0.8, 0.0, -0.6);
const cv::Vec3d kY(0.36, 0.8, 0.48);
const cv::Vec3d kNormal = kX.cross(kY);

/// A fit object behind a class-free face.
struct Fitter {
  std::function<bool(const Points&, float*, FitMethod)> by_vector;
  std::function<bool(const float*, int, float*, FitMethod)> by_array;
  std::function<bool(const float*, const float*, int, float*, FitMethod)> with_normals;
  std::function<Floats()> record;  // fields, then the same as the reader gives them
};

template <typename Record>
Floats fieldsOf(const Record& r, std::initializer_list<float> sizes) {
  Floats all(r.center, r.center + 3);
  all.insert(all.end(), r.normal, r.normal + 3);
  all.insert(all.end(), r.majorDir, r.majorDir + 3);
  all.insert(all.end(), sizes);
  return all;
}

template <typename Fit, typename Read>
Fitter wrap(Read read) {
  const auto fit = std::make_shared<Fit>();
  return {[fit](const Points& p, float* out, FitMethod m) { return fit->Fit(p, out, m); },
          [fit](const float* p, int n, float* out, FitMethod m) { return fit->Fit(p, n, out, m); },
          [fit](const float* p, const float* normals, int n, float* out, FitMethod m) {
            return fit->Fit(p, normals, n, out, m);
          },
          [fit, read] { return read(*fit); }};
}

struct Outline {
  const char* name;
  std::size_t floats;
  int fewest;
  std::function<Fitter()> make;
  /// A point of the outline (in its own axes) from a number in [0, 1).
  std::function<cv::Vec2d(double)> at;
  Floats sizes;
  /// The distance that is minimised, in the outline's own axes.
  std::function<double(double, double, const float*)> distance;

  friend void PrintTo(const Outline& o, std::ostream* out) { *out << o.name; }
};

const internal::TurnedFrame kOwnAxes = {1, 0, 0, 0};

/// A walk around a rectangle of half sides a and b with corners of radius r, at even steps.
cv::Vec2d around(double s, double a, double b, double r) {
  const double quarter = kPi / 2 * r;
  const double straight[2] = {2 * (a - r), 2 * (b - r)};
  double left = s * 2 * (straight[0] + straight[1] + 2 * quarter);
  cv::Vec2d corner[4] = {
      {a - r, -(b - r)}, {a - r, b - r}, {-(a - r), b - r}, {-(a - r), -(b - r)}};
  for (int k = 0; k < 4; ++k) {  // right, top, left, bottom side, each with the corner after it
    const cv::Vec2d out(std::cos(kPi / 2 * k), std::sin(kPi / 2 * k));
    const cv::Vec2d along(-out[1], out[0]);
    const double length = straight[(k + 1) % 2];
    if (left < length) return corner[k] + out * r + along * left;
    left -= length;
    const double turn = left / std::max(r, 1e-300);
    if (left < quarter) {
      return corner[(k + 1) % 4] + out * (r * std::cos(turn)) + along * (r * std::sin(turn));
    }
    left -= quarter;
  }
  return corner[0] + cv::Vec2d(r, 0);
}

const Outline kOutlines[] = {
    {"Circle",
     10,
     4,
     [] {
       return wrap<xcurve3dfit::XCircle3DFit>([](const auto& fit) {
         xgeofeature::XFCircle3D record;
         fit.getCircle(record);
         return fieldsOf(record, {record.radius});
       });
     },
     [](double s) { return cv::Vec2d(9 * std::cos(2 * kPi * s), 9 * std::sin(2 * kPi * s)); },
     {9},
     [](double x, double y, const float* size) {
       return internal::CircleDeviation{0, 0, size[0]}(x, y);
     }},
    {"OvalGroove",
     11,
     8,
     [] {
       return wrap<xcurve3dfit::XOvalGroove3DFit>([](const auto& fit) {
         xgeofeature::XFOvalGroove3D record;
         fit.getOvalGroove(record);
         return fieldsOf(record, {record.halfStraight, record.radius});
       });
     },
     [](double s) { return around(s, 15, 5, 5); },
     {10, 5},
     [](double x, double y, const float* size) {
       return internal::StadiumResidual{kOwnAxes, size[0], size[1]}(x, y);
     }},
    {"Rectangle",
     11,
     4,
     [] {
       return wrap<xcurve3dfit::XRectangle3DFit>([](const auto& fit) {
         xgeofeature::XFRectangle3D record;
         fit.getRectangle(record);
         return fieldsOf(record, {record.halfLength, record.halfWidth});
       });
     },
     [](double s) { return around(s, 12, 7, 0); },
     {12, 7},
     [](double x, double y, const float* size) {
       return internal::RectangleDistance{kOwnAxes, size[0], size[1]}(x, y);
     }},
    {"RoundGroove",
     12,
     12,
     [] {
       return wrap<xcurve3dfit::XRoundGroove3DFit>([](const auto& fit) {
         xgeofeature::XFRoundGroove3D record;
         fit.getRoundGroove(record);
         return fieldsOf(record, {record.halfLength, record.halfWidth, record.cornerRadius});
       });
     },
     [](double s) { return around(s, 14, 8, 3); },
     {14, 8, 3},
     [](double x, double y, const float* size) {
       return internal::RoundedRectangleResidual{kOwnAxes, size[0], size[1], size[2]}(x, y);
     }},
};

cv::Point3f inSpace(const cv::Vec2d& p) {
  const cv::Vec3d q = kCenter + kX * p[0] + kY * p[1];
  return {static_cast<float>(q[0]), static_cast<float>(q[1]), static_cast<float>(q[2])};
}

/// Points of an outline, moved outwards from its center by a deviation.
Points scan(const Outline& outline, int count, const std::function<double(int)>& deviation) {
  Points points;
  for (int i = 0; i < count; ++i) {
    const cv::Vec2d p = outline.at((i + 0.37) / count);
    points.push_back(inSpace(p * (1 + deviation(i) / cv::norm(p))));
  }
  return points;
}
double none(int) { return 0.0; }

/// Distances of all points to a fitted outline, in the outline's own axes.
std::vector<double> distances(const Outline& outline, const Points& points, const Floats& out) {
  const cv::Vec3d center(out[0], out[1], out[2]);
  const cv::Vec3d x(out[6], out[7], out[8]);
  const cv::Vec3d y = cv::Vec3d(out[3], out[4], out[5]).cross(x);
  std::vector<double> all;
  for (const auto& p : points) {
    const cv::Vec3d q = cv::Vec3d(p.x, p.y, p.z) - center;
    all.push_back(outline.distance(q.dot(x), q.dot(y), &out[9]));
  }
  return all;
}

double scoreOf(const std::vector<double>& all, int method) {
  double score = 0;
  for (const double e : all) {
    const double inscribed = e < 0 ? (1 - e) * 10000 : e;
    const double circumscribed = e > 0 ? (e + 1) * 10000 : -e;
    const double share[] = {e * e, std::fabs(e), inscribed, std::fabs(e), inscribed, circumscribed};
    score = method < 3 ? score + share[method] : std::max(score, share[method]);
  }
  return score;
}

class FlatOutline : public testing::TestWithParam<Outline> {
 protected:
  Floats fit(const Points& points, int method) {
    Floats out(GetParam().floats);
    EXPECT_TRUE(GetParam().make().by_vector(points, out.data(), static_cast<FitMethod>(method)));
    return out;
  }
};

TEST_P(FlatOutline, RecoversAnExactOutlineInSpace) {
  const Points points = scan(GetParam(), 80, none);
  for (const int method : {0, 1}) {
    SCOPED_TRACE(method);
    const Floats out = fit(points, method);
    for (int k = 0; k < 3; ++k) EXPECT_NEAR(out[k], kCenter[k], 5e-3);
    for (std::size_t k = 0; k < GetParam().sizes.size(); ++k) {
      EXPECT_NEAR(out[9 + k], GetParam().sizes[k], 1e-2);
    }
    EXPECT_NEAR(std::fabs(cv::Vec3d(out[3], out[4], out[5]).dot(kNormal)), 1.0, 1e-6);
    const double along = std::fabs(cv::Vec3d(out[6], out[7], out[8]).dot(kX));
    if (GetParam().sizes.size() > 1) {
      EXPECT_NEAR(along, 1.0, 1e-5);
    }
  }
}

TEST_P(FlatOutline, EachMethodIsTheBestAtItsOwnScore) {
  const Points points = scan(GetParam(), 80, [](int i) {
    return 0.02 * std::sin(2.9 * i) + (i % 16 == 5 ? 0.15 : i % 16 == 11 ? -0.1 : 0.0);
  });
  const int first = GetParam().sizes.size() > 1 ? 0 : 1;  // the circle's method 0 has another score
  std::vector<Floats> results;
  for (int method = first; method < 6; ++method) results.push_back(fit(points, method));
  for (int own = first; own < 6; ++own) {
    const double best = scoreOf(distances(GetParam(), points, results[own - first]), own);
    for (int other = first; other < 6; ++other) {
      SCOPED_TRACE(testing::Message() << own << " against " << other);
      // Descents over the largest distance stall above their optimum, those over a sum do not.
      const double stall = own < 2 ? 1.0 : 1.08;
      EXPECT_LE(best, stall * scoreOf(distances(GetParam(), points, results[other - first]), own));
    }
  }
}

TEST_P(FlatOutline, UnknownMethodsTakeTheAbsoluteSumButForTheCircle) {
  const Points points = scan(GetParam(), 30, [](int i) { return i % 7 == 0 ? 0.2 : 0.0; });
  for (const int method : {6, 99, -3}) {
    if (GetParam().sizes.size() > 1) {
      EXPECT_EQ(fit(points, method), fit(points, 1));
    } else {
      EXPECT_NE(fit(points, method), fit(points, 1));
    }
  }
}

TEST_P(FlatOutline, FormsAgreeAndTheObjectHoldsTheResult) {
  const Points points = scan(GetParam(), 40, [](int i) { return 0.02 * std::sin(1.7 * i); });
  const Floats expected = fit(points, 1);
  const Fitter fit = GetParam().make();
  Floats out(GetParam().floats);
  EXPECT_TRUE(fit.by_array(&points[0].x, 40, out.data(), xcurve3dfit::LeastAbsDev));
  EXPECT_EQ(out, expected);
  EXPECT_EQ(fit.record(), expected);
}

// Of 40 normals so many lie along the fitted one, the others against it or across it.
TEST_P(FlatOutline, NormalIsTurnedByTheMajorityOnly) {
  const Points points = scan(GetParam(), 40, none);
  const Floats plain = fit(points, 1);
  for (const int along : {40, 21, 20, 19, 0}) {
    SCOPED_TRACE(along);
    Points normals;
    const cv::Point3f n(plain[3], plain[4], plain[5]);
    for (int i = 0; i < 40; ++i) {
      normals.push_back(i < along ? n : i % 2 == 0 ? -n : cv::Point3f(0, 0, 0));
    }
    const Fitter fit = GetParam().make();
    Floats out(GetParam().floats);
    EXPECT_TRUE(
        fit.with_normals(&points[0].x, &normals[0].x, 40, out.data(), xcurve3dfit::LeastAbsDev));
    Floats expected = plain;
    if (along < 20) {
      for (int k = 3; k < 6; ++k) expected[k] = -expected[k];
    }
    EXPECT_EQ(out, expected);
    EXPECT_EQ(fit.record(), expected);
  }
}

TEST_P(FlatOutline, FailsBelowItsFewestPointsAndOnPointsThatAreNoNumbers) {
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  constexpr float kInf = std::numeric_limits<float>::infinity();
  Points points = scan(GetParam(), 40, none);
  const Fitter fit = GetParam().make();
  Floats out(GetParam().floats, 7);
  for (const int count : {-4, 0, 1, GetParam().fewest - 1}) {
    EXPECT_FALSE(fit.by_array(&points[0].x, count, out.data(), xcurve3dfit::LeastAbsDev));
    EXPECT_FALSE(
        fit.with_normals(&points[0].x, &points[0].x, count, out.data(), xcurve3dfit::LeastAbsDev));
  }
  for (const float odd : {kNan, kInf, -kInf}) {
    Points with_odd = points;
    with_odd[11].y = odd;
    EXPECT_FALSE(fit.by_vector(with_odd, out.data(), xcurve3dfit::LeastSquare));
  }
  EXPECT_THAT(out, Each(7));
  EXPECT_THAT(fit.record(), Each(0));
  EXPECT_TRUE(fit.by_array(&points[0].x, 40, out.data(), xcurve3dfit::LeastAbsDev));
}

TEST_P(FlatOutline, EndsOnDegenerateAndHugePoints) {
  Points line;
  Points grid;
  Points huge;
  for (int i = 0; i < 16; ++i) {
    const auto t = static_cast<float>(i);
    line.emplace_back(t, 2 * t, 3 * t);
    grid.emplace_back(static_cast<float>(i % 4), static_cast<float>(i / 4), 0.0F);
    huge.emplace_back(i % 3 == 0 ? 1e30F : t, i % 3 == 1 ? -1e30F : t, i % 3 == 2 ? 1e30F : 1.0F);
  }
  const Fitter fit = GetParam().make();
  for (const Points& points : {Points(16, {1, 2, 3}), line, grid, huge}) {
    for (const int method : {0, 1, 2, 3, 4, 5, 6, -1}) {
      Floats out(GetParam().floats);
      fit.by_vector(points, out.data(), static_cast<FitMethod>(method));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Class, FlatOutline, testing::ValuesIn(kOutlines), caseName<Outline>);

// The outline's own axes: what counts below the center line, beyond corners and on the arcs.
TEST(OutlineDistances, AreThoseOfTheStadium) {
  const internal::StadiumResidual e{kOwnAxes, 10, 5};
  EXPECT_EQ(e(0, 6), 1);
  EXPECT_EQ(e(0, 4), -1);
  EXPECT_EQ(e(0, -6), -1);  // outside, yet negative
  EXPECT_EQ(e(0, -4), 1);
  EXPECT_EQ(e(3, 0), 5);  // on the center line the lower side counts
  EXPECT_EQ(e(16, 0), 1);
  EXPECT_EQ(e(-13, -4), 0);
  EXPECT_EQ(e(-10.5, 0), -4.5);
}

TEST(OutlineDistances, AreThoseToTheSideLinesOfTheRectangle) {
  const internal::RectangleDistance e{kOwnAxes, 10, 5};
  EXPECT_EQ(e(9, 0), 1);
  EXPECT_EQ(e(0, -7), 2);
  EXPECT_EQ(e(110, 8), 3);  // far beyond the corner, near the long side's line
  EXPECT_EQ(e(-10.5, 40), 0.5);
}

TEST(OutlineDistances, AreThoseOfTheRoundedRectangle) {
  const internal::RoundedRectangleResidual e{kOwnAxes, 10, 6, 2};
  EXPECT_EQ(e(0, 7), 1);
  EXPECT_EQ(e(0, -7), -1);  // outside, yet negative
  EXPECT_EQ(e(11, 3), 1);
  EXPECT_EQ(e(-11, 3), -1);
  EXPECT_EQ(e(11, 8), 3);  // 3, 4 from the corner's center
  EXPECT_EQ(e(-11, -8), 3);
  EXPECT_EQ(e(8, 4), -2);  // still between the corners' centers: the straight side
  EXPECT_EQ(e(9, 4), -1);  // beside them: the end
}

TEST(OutlineDistances, RoundTheTurnedPointToFloat) {
  // 0.1f * cos 0.3 has no place in a float.
  const internal::TurnedFrame frame = internal::TurnedFrame::at(0, 0, 0.3);
  const double exact = 0.1F * std::cos(0.3);
  ASSERT_NE(exact, static_cast<double>(static_cast<float>(exact)));
  EXPECT_EQ(frame.along(0.1F, 0), static_cast<double>(static_cast<float>(exact)));
  EXPECT_EQ(frame.across(0, 0.1F), static_cast<double>(static_cast<float>(exact)));
}

TEST(GrooveSizes, DecideTheReturnAfterTheResultIsWritten) {
  // On a circle half the straight length comes out at 0, on either side of it, and the corners fill
  // the rectangle: whichever, the return and the object must follow what is written.
  Points ring;
  for (int i = 0; i < 24; ++i) {
    ring.push_back(inSpace({8 * std::cos(kPi * i / 12), 8 * std::sin(kPi * i / 12)}));
  }
  for (int method = 0; method < 6; ++method) {
    xcurve3dfit::XOvalGroove3DFit oval;
    Floats out(11, 7);
    const bool fits = oval.Fit(ring, out.data(), static_cast<FitMethod>(method));
    EXPECT_NE(out[0], 7);
    EXPECT_EQ(fits, out[9] > 0 && out[10] > 0);
    EXPECT_EQ(oval.radius, fits ? out[10] : 0);
    xcurve3dfit::XRoundGroove3DFit round;
    Floats rounded(12, 7);
    const bool is_round = round.Fit(ring, rounded.data(), static_cast<FitMethod>(method));
    EXPECT_EQ(is_round, rounded[9] >= rounded[10] && rounded[10] > rounded[11] && rounded[11] > 0);
    EXPECT_EQ(round.halfLength, is_round ? rounded[9] : 0);
  }
}

}  // namespace
}  // namespace zelmo::test
