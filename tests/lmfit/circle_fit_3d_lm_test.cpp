// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/lmfit/circle_fit_3d_lm.h"

#include <array>
#include <cmath>
#include <limits>

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include "lmfit/shapes.h"
#include "zelmo/lmfit/internal/flat_circle.h"

namespace zelmo::test {
namespace {

using internal::PlanarView;
using zelmolm::XCircleFit3DLM;

const Params kPlane = truthOf(Kind::Circle);

int fitIn(const Params& given, const Scan& scan, XCircleFit3DLM& circle, bool inscribed) {
  float plane[6];
  std::copy_n(given.begin(), 6, plane);
  return (circle.*(inscribed ? &XCircleFit3DLM::Fit : &XCircleFit3DLM::Fit2))(
      scan.at(), nullptr, scan.count(), plane, false);
}

// Small bores, smooth and rough; in large ones the search stops well before the largest circle. It
// ends within 0.001 of a point, or where its circle hardly moves any more.
TEST(InscribedCircle, TouchesAPointHoldsNoneAndHasNoLargerOneBeside) {
  RandomGeometry random(6);
  const auto number = [&](double to) { return static_cast<double>(random.number(-to, to)); };
  for (int run = 0; run < 40; ++run) {
    SCOPED_TRACE(run);
    const double radius = std::array{0.4, 1.5, 3.0}.at(run % 3), rough = run % 2 == 0 ? 2e-3 : 0.01;
    std::vector<cv::Point2f> points;
    for (int i = 0; i < 100 + run; ++i) {
      const double r = radius + number(radius * rough / 2), t = 2 * CV_PI * i / (100 + run);
      points.emplace_back(r * std::cos(t), r * std::sin(t));
    }
    const auto empty_about = [&points](double x, double y) {
      double nearest = 1e9;
      for (const auto& p : points) nearest = std::min(nearest, std::hypot(p.x - x, p.y - y));
      return nearest;
    };
    const auto circle = internal::inscribedCircle(PlanarView(points));
    ASSERT_TRUE(circle);
    EXPECT_NEAR(empty_about(circle->cx, circle->cy), circle->r, 2.5e-3);
    for (int i = 0; i < 2000; ++i) {
      const double x = circle->cx + number(radius * rough), y = circle->cy + number(radius * rough);
      EXPECT_LT(empty_about(x, y), 1.002 * circle->r);
    }
  }
}

// A step never lets the circle grow, and with too many that would the search gives up.
TEST(InscribedCircle, NeverGrows) {
  const std::vector<cv::Point2f> ring = {{9, 0}, {0, 9}, {-9, 0}, {0, -9}};
  const auto kept = internal::exchangeBearingPoints(PlanarView(ring), {0.5F, 0, 1});
  ASSERT_TRUE(kept);
  EXPECT_EQ((std::array{kept->cx, kept->cy, kept->r}), (std::array{0.5F, 0.0F, 1.0F}));
  RandomGeometry random(1);
  int given_up = 0;
  for (int run = 0; run < 600; ++run) {
    std::vector<cv::Point2f> points;
    for (int i = 0; i < 11; ++i) {
      points.emplace_back(random.number(-10, 10), random.number(-10, 10));
    }
    const float start = static_cast<float>(random.number(1, 20));
    const auto circle = internal::exchangeBearingPoints(PlanarView(points), {0, 0, start});
    EXPECT_TRUE(!circle || circle->r <= start);
    given_up += static_cast<int>(!circle);
  }
  EXPECT_GT(given_up, 0);
  EXPECT_LT(given_up, 100);
}

// The start sums over the first half of the points, here a line that gives no circle: of ten the
// first five, of eleven one more.
TEST(FlatCircles, StartFromTheFirstHalfOfThePoints) {
  std::vector<cv::Point2f> points;
  for (int i = 0; i < 5; ++i) points.emplace_back(i - 2, 0);
  for (int i = 5; i < 11; ++i) points.emplace_back(10 * std::cos(i), 10 * std::sin(i));
  EXPECT_FALSE(internal::leastSquaresCircle(PlanarView(&points[0].x, 10)));
  EXPECT_TRUE(internal::leastSquaresCircle(PlanarView(&points[0].x, 11)));
}

TEST(XCircleFit3DLM, LooksAtItsFirstPointAndReportsWhatHasNoCircle) {
  const Scan sound = soundScan(Kind::Circle, 50);
  Scan nine = soundScan(Kind::Circle, 9);
  XCircleFit3DLM circle;
  EXPECT_EQ(fitIn(kPlane, sound, circle, true), 0);
  const Vec first = (Vec(sound.points[0]) - middleOf(sound.points)).unit();
  EXPECT_LT((Vec(circle.majorDir) - first).norm(), 1e-5);
  circle = {};
  EXPECT_EQ(fitIn(kPlane, nine, circle, true), -1);
  EXPECT_EQ(circle.radius, 0);
  EXPECT_EQ(fitIn(kPlane, nine, circle, false), 0);
  EXPECT_NEAR(circle.radius, 15, 1e-5);
  const Params flat = paramsOf({}, {0, 0, 1});
  Scan line, far;
  for (int i = 0; i < 20; ++i) {
    line.add({Real(i - 10), 0, 0}, kZ);
    far.add(Vec(std::cos(i), std::sin(i), 0) * 1e30L, kZ);
  }
  for (const bool inscribed : {false, true}) {
    EXPECT_EQ(fitIn(flat, line, circle, inscribed), -1);
    fitIn(flat, far, circle, inscribed);
  }
  float plane[] = {100, -50, 20, 0.36F, 0.48F, 0.8F};
  float no_normal[6] = {};
  const auto fit = [&](int count, float* given, bool fits_plane) {
    return circle.Fit2(nine.at(), nine.normalsAt(), count, given, fits_plane);
  };
  EXPECT_EQ(fit(2, plane, false), -1);
  EXPECT_EQ(fit(-1, plane, false), -1);
  EXPECT_EQ(fit(9, nullptr, false), -1);
  EXPECT_EQ(fit(9, no_normal, false), -1);
  nine.points[1].y = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(fit(9, plane, false), -1);
  EXPECT_EQ(fit(9, plane, true), -1);
}

}  // namespace
}  // namespace zelmo::test
