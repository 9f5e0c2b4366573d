// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// What all four outlines promise alike, one row a class, and the distances they minimise.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <memory>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/best_score.h"
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
using Params = std::vector<Real>;  // of an outline in its plane: center, sizes, angle

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

const internal::TurnedFrame kOwnAxes = {1, 0, 0, 0};

/// By how many percent a descent may end above the best score, and why.
struct Gap {
  double at_most;
  const char* cause;
};
constexpr Gap kSmall = {5, ""};
constexpr Gap kEdge = {900, "the simplex goes flat on an edge of the largest distance"};
constexpr Gap kCliff = {50, "the simplex goes flat along the cliff of the penalty"};
constexpr Gap kJumps = {-1, "the signed distance jumps where a side meets its arc: no bound"};

struct Outline {
  const char* name;
  std::size_t floats;
  int fewest;
  std::function<Fitter()> make;
  /// A point of the outline (in its own axes) from a number in [0, 1).
  std::function<cv::Vec2d(double)> at;
  Floats sizes;
  /// Distance from a point in the outline's own axes, by the drawing and not by the library.
  Real (*distance)(const Real* size, Real u, Real w);
  /// The same by the library.
  double (*kernel)(const Floats& size, double x, double y);
  Score scores[6];  // of the methods
  Gap gaps[6];

  bool isCircle() const { return sizes.size() == 1; }
  friend void PrintTo(const Outline& o, std::ostream* out) { *out << o.name; }
};

Real distanceOf(const Outline& outline, const Params& p, Real x, Real y) {
  const Real c = outline.isCircle() ? 1 : std::cos(p.back());
  const Real s = outline.isCircle() ? 0 : std::sin(p.back());
  return outline.distance(&p[2], (x - p[0]) * c + (y - p[1]) * s, (y - p[1]) * c - (x - p[0]) * s);
}

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
     [](const Real* size, Real u, Real w) { return std::hypot(u, w) - size[0]; },
     [](const Floats& size, double x, double y) {
       return internal::CircleDeviation{0, 0, size[0]}(x, y);
     },
     {Score::SquareSum, Score::AbsSum, Score::InscribedSum, Score::LargestAbs, Score::Inscribed,
      Score::Circumscribed},
     {kSmall, kSmall, kCliff, kSmall, kSmall, kSmall}},
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
     // Below the center line negative outside.
     [](const Real* size, Real u, Real w) {
       if (std::fabs(u) > size[0]) return std::hypot(std::fabs(u) - size[0], w) - size[1];
       return w > 0 ? w - size[1] : w + size[1];
     },
     [](const Floats& size, double x, double y) {
       return internal::StadiumResidual{kOwnAxes, size[0], size[1]}(x, y);
     },
     {Score::SquareSum, Score::AbsSum, Score::InscribedSum, Score::LargestAbs, Score::Inscribed,
      Score::Circumscribed},
     {kSmall, kSmall, kJumps, kSmall, kJumps, kJumps}},
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
     // To the nearest side line, without a sign: the one-sided scores are the two-sided ones.
     [](const Real* size, Real u, Real w) {
       return std::min(std::fabs(std::fabs(u) - size[0]), std::fabs(std::fabs(w) - size[1]));
     },
     [](const Floats& size, double x, double y) {
       return internal::RectangleDistance{kOwnAxes, size[0], size[1]}(x, y);
     },
     {Score::SquareSum, Score::AbsSum, Score::AbsSum, Score::LargestAbs, Score::LargestAbs,
      Score::LargestAbs},
     {kSmall, kSmall, kSmall, kSmall, kSmall, kSmall}},
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
     // Negative outside on the left and the lower side.
     [](const Real* size, Real u, Real w) {
       const Real du = std::fabs(u) - (size[0] - size[2]);
       const Real dw = std::fabs(w) - (size[1] - size[2]);
       if (du <= 0) return w < 0 ? w + size[1] : w - size[1];
       if (dw > 0) return std::hypot(du, dw) - size[2];
       return u > 0 ? u - size[0] : u + size[0];
     },
     [](const Floats& size, double x, double y) {
       return internal::RoundedRectangleResidual{kOwnAxes, size[0], size[1], size[2]}(x, y);
     },
     {Score::SquareSum, Score::AbsSum, Score::InscribedSum, Score::LargestAbs, Score::Inscribed,
      Score::Circumscribed},
     {kSmall, kSmall, kJumps, kEdge, kJumps, kJumps}},
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

/// Distances of all points to a fitted outline.
std::vector<Real> distances(const Outline& outline, const Points& points, const Floats& out) {
  const Vec x(&out[6]);
  const Vec y = Vec(&out[3]).cross(x);
  const Params size(out.begin() + 9, out.end());
  std::vector<Real> all;
  for (const auto& p : points) {
    const Vec q = Vec(p) - Vec(out.data());
    all.push_back(outline.distance(size.data(), q.dot(x), q.dot(y)));
  }
  return all;
}

/// What a descent compares: a breach costs far more than a distance.
Real penalised(const std::vector<Real>& distances, Score score) {
  const Scored s = scoreOf(distances, score);
  return s.value + 10000 * s.breach;
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
  constexpr double kWithin = 1e-3;
  const Points points = scan(GetParam(), 80, none);
  for (const int method : {0, 1, 3}) {
    SCOPED_TRACE(method);
    // From half the width as corner radius the largest distance leads to another outline, 1 off.
    if (method == 3 && GetParam().sizes.size() == 3) continue;
    const Floats out = fit(points, method);
    for (int k = 0; k < 3; ++k) EXPECT_NEAR(out[k], kCenter[k], kWithin);
    for (std::size_t k = 0; k < GetParam().sizes.size(); ++k) {
      EXPECT_NEAR(out[9 + k], GetParam().sizes[k], kWithin);
    }
    EXPECT_NEAR(std::fabs(cv::Vec3d(out[3], out[4], out[5]).dot(kNormal)), 1.0, 1e-6);
    const double along = std::fabs(cv::Vec3d(out[6], out[7], out[8]).dot(kX));
    if (!GetParam().isCircle()) {
      EXPECT_NEAR(along, 1.0, 1e-5);
    }
  }
}

// How far above the best score the descents end. The oracle starts from the drawing.
TEST_P(FlatOutline, AccuracyOfTheScores) {
  const Outline& outline = GetParam();
  const Points points = scan(outline, 40, [](int i) { return 0.02 * std::sin(2.9 * i); });
  Params nominal = {0, 0};
  nominal.insert(nominal.end(), outline.sizes.begin(), outline.sizes.end());
  if (!outline.isCircle()) nominal.push_back(0);
  const auto residual = [&](const Params& p, int i) {
    const Vec q = Vec(points[i]) - Vec(kCenter.val);
    return distanceOf(outline, p, q.dot(Vec(kX.val)), q.dot(Vec(kY.val)));
  };
  const int first = outline.isCircle() ? 1 : 0;  // the circle's method 0 has another score
  const auto plain = distances(outline, points, fit(points, first));
  for (int method = first; method < 6; ++method) {
    const Score score = outline.scores[method];
    const Gap& bound = outline.gaps[method];
    const Params best =
        bestScore(nominal, points.size(), residual, score, Params(nominal.size(), 0.02L));
    std::vector<Real> least;
    for (int i = 0; i < 40; ++i) least.push_back(residual(best, i));
    const auto own = distances(outline, points, fit(points, method));
    const Real gap = 100 * (scoreOf(own, score).value / scoreOf(least, score).value - 1);
    std::printf("%-11s method %d: %7.2Lf %% above the best %s\n", outline.name, method, gap,
                bound.cause);
    if (bound.at_most < 0) {
      EXPECT_LT(penalised(own, score), 3 * penalised(plain, score)) << method;
      continue;
    }
    EXPECT_GT(gap, -0.1) << method;
    EXPECT_LT(gap, bound.at_most) << method;
    EXPECT_LT(scoreOf(own, score).breach, 1e-5) << method;
  }
}

TEST_P(FlatOutline, UnknownMethodsTakeTheAbsoluteSumButForTheCircle) {
  const Points points = scan(GetParam(), 30, [](int i) { return i % 7 == 0 ? 0.2 : 0.0; });
  for (const int method : {6, 99, -3}) {
    if (!GetParam().isCircle()) {
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

TEST_P(FlatOutline, KernelFollowsTheDrawing) {
  const Params size(GetParam().sizes.begin(), GetParam().sizes.end());
  for (double x = -20; x <= 20;
       x += 0.5) {  // sides, their lines, arcs' centers and what lies beyond
    for (double y = -12; y <= 12; y += 0.5) {
      EXPECT_NEAR(GetParam().kernel(GetParam().sizes, x, y),
                  static_cast<double>(GetParam().distance(size.data(), x, y)), 1e-12)
          << x << ' ' << y;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Class, FlatOutline, testing::ValuesIn(kOutlines), caseName<Outline>);

TEST(OutlineDistances, RoundTheTurnedPointToFloat) {
  // 0.1f * cos 0.3 has no place in a float.
  const internal::TurnedFrame frame = internal::TurnedFrame::at(0, 0, 0.3);
  const double exact = 0.1F * std::cos(0.3);
  ASSERT_NE(exact, static_cast<double>(static_cast<float>(exact)));
  EXPECT_EQ(frame.along(0.1F, 0), static_cast<double>(static_cast<float>(exact)));
  EXPECT_EQ(frame.across(0, 0.1F), static_cast<double>(static_cast<float>(exact)));
}

TEST(GrooveSizes, DecideTheReturnAfterTheResultIsWritten) {
  // On a ring of three lobes half the straight length can come out below 0, on a round one the
  // corners fill the rectangle: whichever, return and object must follow what is written.
  for (int row = 0; row < 12; ++row) {
    const int method = row % 6;
    Points ring;
    for (int i = 0; i < 24; ++i) {
      const double turn = kPi * i / 12;
      const double r = 8 + (row < 6 ? 0 : 0.2) * std::cos(3 * turn + 0.3);
      const cv::Point3f flat(static_cast<float>(r * std::cos(turn)),
                             static_cast<float>(r * std::sin(turn)), 0.0F);
      ring.push_back(row < 6 ? inSpace({r * std::cos(turn), r * std::sin(turn)}) : flat);
    }
    xcurve3dfit::XOvalGroove3DFit oval;
    Floats out(11, 7);
    const bool fits = oval.Fit(ring, out.data(), static_cast<FitMethod>(method));
    EXPECT_NE(out[0], 7);
    EXPECT_EQ(fits, out[9] > 0 && out[10] > 0);
    EXPECT_EQ(oval.radius, fits ? out[10] : 0);
    if (row >= 6) continue;
    xcurve3dfit::XRoundGroove3DFit round;
    Floats rounded(12, 7);
    const bool is_round = round.Fit(ring, rounded.data(), static_cast<FitMethod>(method));
    EXPECT_EQ(is_round, rounded[9] >= rounded[10] && rounded[10] > rounded[11] && rounded[11] > 0);
    EXPECT_EQ(round.halfLength, is_round ? rounded[9] : 0);
  }
}

}  // namespace
}  // namespace zelmo::test
