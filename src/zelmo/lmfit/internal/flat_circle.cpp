// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/lmfit/internal/flat_circle.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <utility>
#include <vector>

#include <opencv2/core.hpp>

#include "zelmo/internal/regression.h"
#include "zelmo/lmfit/internal/residual_kernels.h"
#include "zelmo/lmfit/zelmo_lm.h"

namespace zelmo::internal {
namespace {

constexpr int kParameterCount = 3;
constexpr int kInscribedMinimum = 10;
constexpr int kFewPasses = 5;  // a solve that ends sooner is run again
constexpr int kMostRepeats = 3;
constexpr double kTouches = 0.001;  // nearest point this close to the circle: done
constexpr int kMostExchanges = 1000;
constexpr float kMostSkips = 0.4F;  // per point
constexpr double kStands = 0.0001;  // a circle that moved less than this
constexpr float kOutOfTheWay = 12345678.0F;

void storeCircleResiduals(double* p, double* hx, int /*m*/, int n, void* adata) {
  storeResiduals(PlanarView(static_cast<const float*>(adata), n), CircleDeviation{p[0], p[1], p[2]},
                 hx);
}

double insideWeight(double reward) {
  if (reward <= 1.0) return 0.8;
  if (reward <= 10.0) return 100.0;
  if (reward <= 100.0) return 1000.0;
  return 1.0;
}

void storeInscribedResiduals(double* p, double* hx, int /*m*/, int n, void* adata) {
  double radius = p[2];
  if (radius > 1000.0) {
    radius = 100.0;
  } else if (radius < 0.1) {
    radius = 0.1;
  }
  const double reward = 1.0 / radius;
  storeResiduals(PlanarView(static_cast<const float*>(adata), n),
                 InscribedDeviation{p[0], p[1], radius, reward, insideWeight(reward)}, hx);
}

using CircleParams = std::array<double, kParameterCount>;

FlatCircle rounded(const CircleParams& p) {
  return {static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2])};
}

class FlatCircleFit : public zelmolm::ZelmoLM {
 public:
  FlatCircleFit(const PlanarView& points, ResidualFunction residual) : m_points(points) {
    residualFunction = residual;
  }
  int solve(CircleParams& params) {
    return Fit_LM(m_points.data(), m_points.count(), params.data(), nullptr, kParameterCount);
  }

 private:
  PlanarView m_points;
};

std::optional<CircleParams> seedOf(const PlanarView& points) {
  if (points.count() < 3) return std::nullopt;
  // CONTRACT: the sums of the start cover the first half of the points, its count all of them.
  const auto circle = algebraicCircle(points, SummedPoints::FirstHalf);
  if (!circle) return std::nullopt;
  return CircleParams{circle->cx, circle->cy, circle->radius};
}

/// Points by growing distance from a center, the lower index first on a tie; sorted only as far as
/// somebody looks.
class NearestFirst {
 public:
  NearestFirst(const PlanarView& points, const FlatCircle& circle) {
    m_rest.reserve(static_cast<std::size_t>(points.count()));
    for (int i = 0; i < points.count(); ++i) {
      const float* p = points.at(i);
      const float dx = p[0] - circle.cx;
      const float dy = p[1] - circle.cy;
      m_rest.emplace_back(std::sqrt(dx * dx + dy * dy), i);
    }
    std::make_heap(m_rest.begin(), m_rest.end(), std::greater<>());
  }

  /// Moves the nearest point out of the way. Only before anybody looked.
  void pushNearestBack() {
    std::pop_heap(m_rest.begin(), m_rest.end(), std::greater<>());
    m_rest.back().first += kOutOfTheWay;
    std::push_heap(m_rest.begin(), m_rest.end(), std::greater<>());
  }

  std::size_t size() const { return m_sorted.size() + m_rest.size(); }
  float distance(std::size_t k) { return at(k).first; }
  int index(std::size_t k) { return at(k).second; }

 private:
  const std::pair<float, int>& at(std::size_t k) {
    while (m_sorted.size() <= k) {
      std::pop_heap(m_rest.begin(), m_rest.end(), std::greater<>());
      m_sorted.push_back(m_rest.back());
      m_rest.pop_back();
    }
    return m_sorted[k];
  }

  std::vector<std::pair<float, int>> m_sorted;
  std::vector<std::pair<float, int>> m_rest;
};

double sideSquare(const PlanarView& points, int i, int j) {
  const float* a = points.at(i);
  const float* b = points.at(j);
  const double dx = static_cast<double>(a[0]) - b[0];
  const double dy = static_cast<double>(a[1]) - b[1];
  return dx * dx + dy * dy;
}

bool isObtuse(double ab, double ac, double bc) {
  return ab > ac + bc || ac > ab + bc || bc > ab + ac;
}

FlatCircle circleThrough(const PlanarView& points, int i, int j, int k) {
  const cv::Vec2d a(points.at(i)[0], points.at(i)[1]);
  const cv::Vec2d b(points.at(j)[0], points.at(j)[1]);
  const cv::Vec2d c(points.at(k)[0], points.at(k)[1]);
  const cv::Mat rows =
      (cv::Mat_<double>(2, 2) << a[0] - b[0], a[1] - b[1], b[0] - c[0], b[1] - c[1]);
  const cv::Mat right =
      (cv::Mat_<double>(2, 1) << (a.dot(a) - b.dot(b)) / 2, (b.dot(b) - c.dot(c)) / 2);
  const cv::Mat center = rows.inv() * right;
  const double cx = center.at<double>(0);
  const double cy = center.at<double>(1);
  return rounded({cx, cy, std::sqrt((a[0] - cx) * (a[0] - cx) + (a[1] - cy) * (a[1] - cy))});
}

/// The exchange of the points that bear the circle.
class Exchange {
 public:
  Exchange(const PlanarView& points, const FlatCircle& start)
      : m_points(points), m_circle(start), m_previous(start) {}

  std::optional<FlatCircle> run() {
    for (int pass = 0;; ++pass) {
      NearestFirst nearest(m_points, m_circle);
      for (bool* flag : {&m_shrank, &m_grew}) {
        if (*flag) nearest.pushNearestBack();
        *flag = false;
      }
      if (std::fabs(nearest.distance(0) - m_circle.r) < kTouches) return m_circle;
      if (pass > kMostExchanges) return m_circle;
      if (static_cast<float>(m_skips) / static_cast<float>(m_points.count()) > kMostSkips) {
        return std::nullopt;
      }
      const Bearing bearing = bearingOf(nearest);
      if (stands(bearing)) return m_circle;
      const int third = thirdPoint(nearest, bearing);
      m_previous = m_circle;
      m_previous_bearing = bearing;
      take(circleThrough(m_points, bearing.a, bearing.b, third));
    }
  }

 private:
  // The two points of the nearest three that are farthest apart, and the third of them.
  struct Bearing {
    int a = -1, b = -1, c = -1;
  };

  Bearing bearingOf(NearestFirst& nearest) const {
    const int p0 = nearest.index(0);
    const int p1 = nearest.index(1);
    const int p2 = nearest.index(2);
    const double d01 = sideSquare(m_points, p0, p1);
    const double d02 = sideSquare(m_points, p0, p2);
    const double d12 = sideSquare(m_points, p1, p2);
    if (d01 >= d02 && d01 >= d12) return {p0, p1, p2};
    if (d02 >= d12) return {p0, p2, p1};
    return {p1, p2, p0};
  }

  bool stands(const Bearing& bearing) const {
    const bool same_pair =
        (bearing.a == m_previous_bearing.a && bearing.b == m_previous_bearing.b) ||
        (bearing.a == m_previous_bearing.b && bearing.b == m_previous_bearing.a);
    return same_pair && std::fabs(m_circle.cx - m_previous.cx) < kStands &&
           std::fabs(m_circle.cy - m_previous.cy) < kStands &&
           std::fabs(m_circle.r - m_previous.r) < kStands;
  }

  // The first point that makes no obtuse triangle with the two; without one, the farthest point.
  int thirdPoint(NearestFirst& nearest, const Bearing& bearing) const {
    const double ab = sideSquare(m_points, bearing.a, bearing.b);
    int candidate = bearing.c;
    for (std::size_t k = 3;; ++k) {
      const double ac = sideSquare(m_points, bearing.a, candidate);
      const double bc = sideSquare(m_points, bearing.b, candidate);
      if (!isObtuse(ab, ac, bc) || k >= nearest.size()) return candidate;
      candidate = nearest.index(k);
    }
  }

  // A circle that shrank by a quarter or grew is passed over: the nearest point then stands aside for
  // one pass.
  void take(const FlatCircle& next) {
    if (0.75 * m_circle.r > next.r) {
      m_shrank = true;
      ++m_skips;
    } else if (next.r > m_circle.r) {
      m_grew = true;
      ++m_skips;
    } else {
      m_circle = next;
    }
  }

  PlanarView m_points;
  FlatCircle m_circle;
  FlatCircle m_previous;
  Bearing m_previous_bearing;
  bool m_shrank = false;
  bool m_grew = false;
  int m_skips = 0;
};

}  // namespace

std::optional<FlatCircle> leastSquaresCircle(const PlanarView& points) {
  auto params = seedOf(points);
  if (!params) return std::nullopt;
  if (FlatCircleFit(points, storeCircleResiduals).solve(*params) < 0) return std::nullopt;
  return rounded(*params);
}

std::optional<FlatCircle> exchangeBearingPoints(const PlanarView& points, const FlatCircle& start) {
  return Exchange(points, start).run();
}

std::optional<FlatCircle> inscribedCircle(const PlanarView& points) {
  if (points.count() < kInscribedMinimum) return std::nullopt;
  const auto seed = seedOf(points);
  if (!seed) return std::nullopt;
  CircleParams params = *seed;
  FlatCircleFit fit(points, storeInscribedResiduals);
  int passes = fit.solve(params);
  for (int i = 0; i < kMostRepeats && passes < kFewPasses; ++i) passes = fit.solve(params);
  if (params[2] > 2 * (*seed)[2]) params = *seed;
  const FlatCircle start = rounded(params);
  if (!std::isfinite(start.cx) || !std::isfinite(start.cy)) return std::nullopt;
  return exchangeBearingPoints(points, start);
}

}  // namespace zelmo::internal
