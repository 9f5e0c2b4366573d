// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/lmfit/circle_fit_3d_lm.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include <gmock/gmock.h>

#include "lmfit/shapes.h"
#include "support/captured_output.h"
#include "zelmo/lmfit/internal/flat_circle.h"

namespace zelmo::test {
namespace {

using zelmolm::XCircleFit3DLM;

// Points in a tilted plane, given by polar coordinates there; normals are the plane's.
struct Bore {
  Vec center{100, -50, 20};
  Vec normal{0.36L, 0.48L, 0.8L};
  Vec u = normal.cross(Vec(1, 0, 0)).unit();
  Vec v = normal.cross(u);
  Scan scan;

  void add(Real angle, Real radius) {
    scan.add({center + u * (radius * std::cos(angle)) + v * (radius * std::sin(angle)), normal});
  }
  std::array<float, 6> plane() const {
    std::array<float, 6> p{};
    center.copyTo(p.data());
    normal.copyTo(p.data() + 3);
    return p;
  }
  // Where a point of space lies from the center, in the plane.
  std::pair<Real, Real> at(const float* p) const {
    const Vec from = Vec(p) - center;
    return {from.dot(u), from.dot(v)};
  }
  int fit(XCircleFit3DLM& circle,
          int (XCircleFit3DLM::*entry)(const float*, const float*, const int&, float* const, bool),
          bool fit_plane = false) const {
    auto p = plane();
    int result = 99;
    standardOutputOf([&] {
      result = (circle.*entry)(scan.points.data(), scan.normals.data(), scan.count(), p.data(),
                               fit_plane);
    });
    return result;
  }
};

// The largest circle around no point, by a fine search of the center that starts all over.
Real largestInscribedRadius(const Bore& bore) {
  std::vector<std::pair<Real, Real>> points;
  for (int i = 0; i < bore.scan.count(); ++i) points.push_back(bore.at(&bore.scan.points[3 * i]));
  const auto clearance = [&](Real x, Real y) {
    Real least = 1e30L;
    for (const auto& [px, py] : points) least = std::min(least, std::hypot(px - x, py - y));
    return least;
  };
  Real x = 0, y = 0, step = 0.5L, best = clearance(0, 0);
  while (step > 1e-9L) {
    bool better = false;
    for (int k = 0; k < 16; ++k) {
      const Real nx = x + step * std::cos(k * 0.3926990817L);
      const Real ny = y + step * std::sin(k * 0.3926990817L);
      const Real there = clearance(nx, ny);
      if (there > best) {
        best = there;
        x = nx;
        y = ny;
        better = true;
        break;
      }
    }
    if (!better) step /= 2;
  }
  return best;
}

TEST(XCircleFit3DLM, LeastSquaresReachItsOptimum) {
  RandomGeometry random(4);
  Bore bore;
  for (int i = 0; i < 200; ++i) bore.add(random.number(0, 4), 10 + random.number(-0.05, 0.05));
  const auto truth = leastSquares({0, 0, 10}, 200, [&](const std::vector<Real>& p, int i) {
    const auto [x, y] = bore.at(&bore.scan.points[3 * static_cast<std::size_t>(i)]);
    return std::hypot(x - p[0], y - p[1]) - p[2];
  });
  for (const bool fit_plane : {false, true}) {
    XCircleFit3DLM circle;
    EXPECT_EQ(bore.fit(circle, &XCircleFit3DLM::Fit2, fit_plane), 0);
    const auto [x, y] = bore.at(circle.center);
    EXPECT_NEAR(static_cast<double>(x), static_cast<double>(truth[0]), 2 * kFloatLength);
    EXPECT_NEAR(static_cast<double>(y), static_cast<double>(truth[1]), 2 * kFloatLength);
    EXPECT_NEAR(circle.radius, static_cast<double>(truth[2]), kFloatLength);
    EXPECT_NEAR(static_cast<double>((Vec(circle.center) - bore.center).dot(bore.normal)), 0, 2e-5);
    EXPECT_LT(static_cast<double>(angleBetweenAxes(Vec(circle.normal), bore.normal)), 1e-6);
    EXPECT_NEAR(static_cast<double>(Vec(circle.majorDir).dot(bore.normal)), 0, 1e-6);
    EXPECT_NEAR(static_cast<double>(Vec(circle.majorDir).norm()), 1, 1e-6);
  }
}

// The search may stop at a smaller circle than the largest, but at one that a point touches.
TEST(XCircleFit3DLM, TheInscribedCircleTouchesAPointAndHoldsNone) {
  RandomGeometry random(6);
  for (const int count : {72, 1000}) {
    Bore bore;
    for (int i = 0; i < count; ++i) {
      bore.add(i * 2 * CV_PI / count, 10 + random.number(-0.02, 0.02));
    }
    XCircleFit3DLM circle;
    EXPECT_EQ(bore.fit(circle, &XCircleFit3DLM::Fit), 0);
    Real nearest = 1e9L;
    for (int i = 0; i < count; ++i) {
      const Vec p(&bore.scan.points[3 * static_cast<std::size_t>(i)]);
      nearest = std::min(nearest, (p - Vec(circle.center)).cross(bore.normal).norm());
    }
    EXPECT_NEAR(circle.radius, static_cast<double>(nearest), 1.1e-3);
    const double largest = static_cast<double>(largestInscribedRadius(bore));
    EXPECT_LT(circle.radius, largest + 1.1e-3);
    EXPECT_GT(circle.radius, (count == 72 ? 0.7 : 0.99) * largest);
  }
}

// Three teeth bear the gauge; the rest of the bore lies farther out. From a start around the teeth the
// exchange comes to rest on them.
TEST(ExchangeBearingPoints, ComesToRestOnTheInnermostPoints) {
  for (const std::array<int, 3>& teeth : {std::array{0, 24, 48}, {5, 20, 50}, {10, 40, 60}}) {
    std::vector<cv::Point2f> points;
    for (int i = 0; i < 72; ++i) {
      const bool is_tooth = std::find(teeth.begin(), teeth.end(), i) != teeth.end();
      const double radius = is_tooth ? 9.9 : 10.0 + 0.003 * (i % 7);
      points.emplace_back(static_cast<float>(radius * std::cos(i * CV_PI / 36)),
                          static_cast<float>(radius * std::sin(i * CV_PI / 36)));
    }
    const auto circle =
        internal::exchangeBearingPoints(internal::PlanarView(points), {0.01F, -0.02F, 9.99F});
    ASSERT_TRUE(circle);
    EXPECT_NEAR(circle->r, 9.9, 1e-3);
    EXPECT_NEAR(circle->cx, 0, 1e-3);
    EXPECT_NEAR(circle->cy, 0, 1e-3);
  }
}

// On a circle every triple gives one that is larger than the start: passed over until the same points
// come up again, and then the start stands.
TEST(ExchangeBearingPoints, NeverLetsTheCircleGrow) {
  std::vector<cv::Point2f> points;
  for (int i = 0; i < 20; ++i) {
    points.emplace_back(static_cast<float>(10 * std::cos(i * CV_PI / 10)),
                        static_cast<float>(10 * std::sin(i * CV_PI / 10)));
  }
  const auto stands = internal::exchangeBearingPoints(internal::PlanarView(points), {0.1F, 0, 9});
  ASSERT_TRUE(stands);
  EXPECT_EQ(stands->r, 9);

  // Scattered points: some searches pass over too many circles and give up.
  RandomGeometry random(1);
  int given_up = 0;
  for (int run = 0; run < 1000; ++run) {
    for (auto& p : points)
      p = {Vec(random.point(10)).rounded().x, Vec(random.point(10)).rounded().x};
    const internal::FlatCircle start{0, 0, static_cast<float>(random.number(1, 20))};
    const auto circle = internal::exchangeBearingPoints(
        internal::PlanarView(&points.front().x, 10 + run % 3), start);
    given_up += static_cast<int>(!circle);
    EXPECT_LE(circle ? circle->r : 0.0F, start.r);
  }
  EXPECT_GT(given_up, 0);
  EXPECT_LT(given_up, 100);
}

TEST(XCircleFit3DLM, ReportsWhatHasNoCircle) {
  Bore nine, line, point, far;
  line.normal = {0, 0, 1};
  line.u = {1, 0, 0};
  line.v = {0, 1, 0};
  line.center = {0, 0, 0};
  for (int i = 0; i < 9; ++i) nine.add(i * 0.7, 10);
  for (int i = 0; i < 20; ++i) line.add(0, i - 10);
  for (int i = 0; i < 20; ++i) point.add(0, 0);
  for (int i = 0; i < 20; ++i) far.add(i * 0.3, 1e30L);
  XCircleFit3DLM circle;
  EXPECT_EQ(nine.fit(circle, &XCircleFit3DLM::Fit), -1);
  EXPECT_EQ(circle.radius, 0);
  EXPECT_EQ(nine.fit(circle, &XCircleFit3DLM::Fit2), 0);
  EXPECT_NEAR(circle.radius, 10, 1e-5);

  for (const Bore* bore : {&line, &point}) {
    EXPECT_EQ(bore->fit(circle, &XCircleFit3DLM::Fit), -1);
    EXPECT_EQ(bore->fit(circle, &XCircleFit3DLM::Fit2), -1);
  }
  far.fit(circle, &XCircleFit3DLM::Fit);
  far.fit(circle, &XCircleFit3DLM::Fit2);

  auto plane = nine.plane();
  const auto fit2 = [&](int count, float* given, bool fit_plane) {
    return circle.Fit2(nine.scan.points.data(), nine.scan.normals.data(), count, given, fit_plane);
  };
  EXPECT_EQ(fit2(2, plane.data(), false), -1);
  EXPECT_EQ(fit2(-1, plane.data(), false), -1);
  EXPECT_EQ(fit2(9, nullptr, false), -1);
  nine.scan.points[4] = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(fit2(9, plane.data(), false), -1);
  EXPECT_EQ(fit2(9, plane.data(), true), -1);
  std::fill(plane.begin(), plane.end(), 0.0F);
  nine.scan.points[4] = 0;
  EXPECT_EQ(fit2(9, plane.data(), false), -1);
}

}  // namespace
}  // namespace zelmo::test
