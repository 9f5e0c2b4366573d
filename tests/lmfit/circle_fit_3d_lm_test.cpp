// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/lmfit/circle_fit_3d_lm.h"

#include <array>
#include <cmath>
#include <limits>
#include <optional>

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include "lmfit/shapes.h"
#include "zelmo/internal/damped_solver.h"
#include "zelmo/internal/regression.h"
#include "zelmo/lmfit/internal/flat_circle.h"

namespace zelmo::test {
namespace {

using internal::FlatCircle;
using internal::PlanarView;
using zelmolm::XCircleFit3DLM;

const Params kPlane = truthOf(Kind::Circle);

int fitIn(const Params& given, const Scan& scan, XCircleFit3DLM& circle, bool inscribed) {
  float plane[6];
  std::copy_n(given.begin(), 6, plane);
  return (circle.*(inscribed ? &XCircleFit3DLM::Fit : &XCircleFit3DLM::Fit2))(
      scan.at(), nullptr, scan.count(), plane, false);
}

// The search may stop at a smaller circle than the largest, but at one that a point touches and none
// lies in. Its X axis points to the first point.
TEST(XCircleFit3DLM, TheInscribedCircleTouchesAPointAndHoldsNone) {
  constexpr int kCount = 1000;
  RandomGeometry random(6);
  Scan bore;
  for (int i = 0; i < kCount; ++i) {
    const Vec out(std::cos(2 * CV_PI * i / kCount), std::sin(2 * CV_PI * i / kCount), 0);
    bore.add(inSpace(out, 10 + random.number(-0.02, 0.02), kOrigin), kZ);
  }
  XCircleFit3DLM circle;
  EXPECT_EQ(fitIn(kPlane, bore, circle, true), 0);
  Real nearest = 1e9L;
  for (const auto& p : bore.points) {
    nearest = std::min(nearest, (Vec(p) - Vec(circle.center)).cross(kZ).norm());
  }
  EXPECT_LT(gap(circle.radius, nearest), 1.1e-3);
  EXPECT_GT(circle.radius, 9.9);
  const Vec first = (Vec(bore.points[0]) - middleOf(bore.points)).unit();
  EXPECT_LT((Vec(circle.majorDir) - first).norm(), 1e-5);
}

// The same search, told plainly: all points sorted in every pass.
std::optional<FlatCircle> plainExchange(const PlanarView& points, FlatCircle circle) {
  const auto at = [&](int i) { return cv::Vec2d(points.at(i)[0], points.at(i)[1]); };
  const auto square = [&](int i, int j) { return (at(i) - at(j)).dot(at(i) - at(j)); };
  FlatCircle old = circle;
  int old_a = -1, old_b = -1, skips = 0;
  bool passed_over = false;
  for (int pass = 0;; ++pass) {
    std::vector<std::pair<float, int>> near;
    for (int i = 0; i < points.count(); ++i) {
      const float dx = points.at(i)[0] - circle.cx, dy = points.at(i)[1] - circle.cy;
      near.emplace_back(std::sqrt(dx * dx + dy * dy), i);
    }
    std::sort(near.begin(), near.end());
    if (passed_over) std::rotate(near.begin(), near.begin() + 1, near.end());
    if (std::fabs(near[0].first - circle.r) < 0.001 || pass > 1000) return circle;
    if (static_cast<float>(skips) / static_cast<float>(points.count()) > 0.4F) return {};
    int a = near[0].second, b = near[1].second, c = near[2].second;
    if (square(a, b) < square(a, c) || square(a, b) < square(b, c)) {
      std::swap(b, c);
      if (square(a, b) < square(b, c)) std::swap(a, c);
    }
    if (std::minmax(a, b) == std::minmax(old_a, old_b) && std::fabs(circle.cx - old.cx) < 0.0001 &&
        std::fabs(circle.cy - old.cy) < 0.0001 && std::fabs(circle.r - old.r) < 0.0001) {
      return circle;
    }
    for (std::size_t k = 3; k < near.size(); ++k) {
      const double ab = square(a, b), ac = square(a, c), bc = square(b, c);
      if (ab <= ac + bc && ac <= ab + bc && bc <= ab + ac) break;
      c = near[k].second;
    }
    old = circle;
    old_a = a;
    old_b = b;
    const cv::Vec2d ab = at(a) - at(b), bc = at(b) - at(c);
    const cv::Vec2d right((at(a).dot(at(a)) - at(b).dot(at(b))) / 2,
                          (at(b).dot(at(b)) - at(c).dot(at(c))) / 2);
    const cv::Vec2d o = cv::Matx22d(ab[0], ab[1], bc[0], bc[1]).inv() * right;
    const cv::Vec2d spoke = at(a) - o;
    const FlatCircle next{static_cast<float>(o[0]), static_cast<float>(o[1]),
                          static_cast<float>(std::sqrt(spoke.dot(spoke)))};
    passed_over = 0.75 * circle.r > next.r || next.r > circle.r;
    skips += static_cast<int>(passed_over);
    if (!passed_over) circle = next;
  }
}

// The start of the search: a fit that rewards size and punishes points inside.
void plainInscribed(double* p, double* hx, int /*m*/, int n, void* adata) {
  const auto* q = static_cast<const float*>(adata);
  const double r = p[2] > 1000 ? 100 : p[2] < 0.1 ? 0.1 : p[2], w = 1 / r;
  const double g = w <= 1 ? 0.8 : w <= 10 ? 100 : w <= 100 ? 1000 : 1;
  for (int i = 0; i < n; ++i) {
    const double dx = q[2 * i] - p[0], dy = q[2 * i + 1] - p[1], e = std::sqrt(dx * dx + dy * dy);
    hx[i] = e >= r ? w : (r - e) * g + w;
  }
}

std::optional<FlatCircle> plainSearch(const PlanarView& points) {
  const auto seed = internal::algebraicCircle(points, internal::SummedPoints::FirstHalf);
  if (points.count() < 10 || !seed) return {};
  const double options[5] = {1e-3, 1e-15, 1e-15, 1e-20, 1e-6};
  double p[3] = {seed->cx, seed->cy, seed->radius};
  for (int i = 0, passes = 0; i < 4 && passes < 5; ++i) {
    passes = internal::dlevmar_dif(plainInscribed, p, nullptr, 3, points.count(), 10000, options,
                                   nullptr, nullptr, nullptr, const_cast<float*>(points.data()));
  }
  const bool keeps = p[2] <= 2 * seed->radius;
  return plainExchange(points, {static_cast<float>(keeps ? p[0] : seed->cx),
                                static_cast<float>(keeps ? p[1] : seed->cy),
                                static_cast<float>(keeps ? p[2] : seed->radius)});
}

void expectSame(const std::optional<FlatCircle>& a, const std::optional<FlatCircle>& b) {
  ASSERT_EQ(a.has_value(), b.has_value());
  if (!a) return;
  EXPECT_EQ((std::array{a->cx, a->cy, a->r}), (std::array{b->cx, b->cy, b->r}));
}

// On bores of all sizes, smooth and ragged, whole and in part, and on scattered points, where some
// searches pass over too many circles and give up.
TEST(InscribedCircle, GoesTheWayThatItsStepsTell) {
  constexpr Real kRadii[] = {0.05L, 0.4L, 3, 40, 1500}, kRough[] = {0, 0.001L, 0.3L, 2};
  RandomGeometry random(1);
  int given_up = 0;
  for (int run = 0; run < 600; ++run) {
    SCOPED_TRACE(run);
    const Real radius = kRadii[run % 5], rough = kRough[run / 5 % 4];
    const Real arc = run / 20 % 2 == 0 ? 6.28L : 2.0L;
    std::vector<cv::Point2f> points, scattered;
    for (int i = 0; i < 9 + run % 30; ++i) {
      const Real r = radius * (1 + rough * random.number(-0.5, 0.5)), t = random.number(0, 1) * arc;
      points.emplace_back(r * std::cos(t), r * std::sin(t));
    }
    expectSame(internal::inscribedCircle(PlanarView(points)), plainSearch(PlanarView(points)));
    for (int i = 0; i < 10 + run % 3; ++i) {
      scattered.emplace_back(random.number(-10, 10), random.number(-10, 10));
    }
    const FlatCircle start{0, 0, static_cast<float>(random.number(1, 20))};
    const auto exchanged = internal::exchangeBearingPoints(PlanarView(scattered), start);
    expectSame(exchanged, plainExchange(PlanarView(scattered), start));
    given_up += static_cast<int>(!exchanged);
  }
  EXPECT_GT(given_up, 0);
  EXPECT_LT(given_up, 100);
}

TEST(XCircleFit3DLM, ReportsWhatHasNoCircle) {
  Scan nine = soundScan(Kind::Circle, 9);
  XCircleFit3DLM circle;
  EXPECT_EQ(fitIn(kPlane, nine, circle, true), -1);
  EXPECT_EQ(circle.radius, 0);
  EXPECT_EQ(fitIn(kPlane, nine, circle, false), 0);
  EXPECT_NEAR(circle.radius, 15, 1e-5);
  const Params flat = paramsOf({}, {0, 0, 1});
  Scan line, point, far;
  for (int i = 0; i < 20; ++i) {
    line.add({Real(i - 10), 0, 0}, kZ);
    point.add({}, kZ);
    far.add(Vec(std::cos(i), std::sin(i), 0) * 1e30L, kZ);
  }
  for (const bool inscribed : {false, true}) {
    EXPECT_EQ(fitIn(flat, line, circle, inscribed), -1);
    EXPECT_EQ(fitIn(flat, point, circle, inscribed), -1);
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
