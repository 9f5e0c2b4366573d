// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Outlines in space: the circle beside the same road over plain loops (the plane of least absolute
// distances by descent, into the plane, the algebraic circle, the descent from it), the others beside
// the square roots that their descents can't do without.
#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>
#include <zelmo/curvefit/circle_fit.h>
#include <zelmo/curvefit/oval_groove_fit.h>
#include <zelmo/curvefit/rectangle_fit.h>
#include <zelmo/curvefit/round_groove_fit.h>
#include <zelmo/simplex/plane_fit.h>

#include "contest.h"
#include "descent.h"
#include "floors.h"
#include "shape_models.h"

namespace {

using namespace zelmo::bench;  // NOLINT(google-build-using-namespace): a program of its own

using Points = std::vector<cv::Point3f>;

/// Points about an outline in a tilted plane.
/// \param[in] at cv::Vec2d(double turn), turn in radians
template <typename Outline>
Points outlineOf(int count, Outline at) {
  std::mt19937 engine(7);
  std::uniform_real_distribution<double> turn(0, 2 * CV_PI);
  std::normal_distribution<double> noise(0, 0.01);
  const cv::Vec3d x(0.8, 0.0, -0.6);
  const cv::Vec3d y(0.36, 0.8, 0.48);
  Points points;
  for (int i = 0; i < count; ++i) {
    const cv::Vec2d q = at(turn(engine));
    const cv::Vec3d p = cv::Vec3d(40, 20, -10) + x * (q[0] + noise(engine)) +
                        y * (q[1] + noise(engine)) + x.cross(y) * noise(engine);
    points.emplace_back(static_cast<float>(p[0]), static_cast<float>(p[1]),
                        static_cast<float>(p[2]));
  }
  return points;
}

cv::Vec2d onCircle(double t) { return {25 * std::cos(t), 25 * std::sin(t)}; }
cv::Vec2d onSlot(double t) {
  return {8 * std::cos(t) + (std::cos(t) > 0 ? 12 : -12), 8 * std::sin(t)};
}
cv::Vec2d onRectangle(double t) {
  const double part = t / (2 * CV_PI) * 4;
  const double along = 2 * (part - std::floor(part)) - 1;
  switch (static_cast<int>(part)) {
    case 0:
      return {30 * along, 12};
    case 1:
      return {30 * along, -12};
    case 2:
      return {30, 12 * along};
    default:
      return {-30, 12 * along};
  }
}
cv::Vec2d onRounded(double t) {
  const cv::Vec2d q = onRectangle(t);
  const cv::Vec2d corner(std::copysign(26.0, q[0]), std::copysign(8.0, q[1]));
  const cv::Vec2d off = q - corner;
  const bool beyond = std::fabs(q[0]) > 26 && std::fabs(q[1]) > 8;
  return beyond ? cv::Vec2d(corner + off * (4 / cv::norm(off))) : q;
}

struct ScaledPlane {
  const double* p;
  explicit ScaledPlane(const double* q) : p(q) {}
  double operator()(const float* x) const { return p[0] * x[0] + p[1] * x[1] + p[2] * x[2] + p[3]; }
};

std::vector<double> algebraicCircle(const std::vector<float>& xy) {
  cv::Matx33d a = cv::Matx33d::zeros();
  cv::Vec3d b;
  for (std::size_t i = 0; i < xy.size(); i += 2) {
    const cv::Vec3d row(xy[i], xy[i + 1], 1);
    a += row * row.t();
    b -= row * (row[0] * row[0] + row[1] * row[1]);
  }
  const cv::Matx31d g = a.solve(cv::Matx31d(b.val));
  return {-g(0) / 2, -g(1) / 2, std::sqrt(g(0) * g(0) + g(1) * g(1) - 4 * g(2)) / 2};
}

std::vector<float> flattened(const Points& points, std::vector<double>& plane) {
  std::vector<cv::Point2f> flat;
  x3dfit::XPlaneFit().projection2Plane_tranformed(points, plane.data(), flat);
  return {&flat[0].x, &flat[0].x + 2 * flat.size()};
}

std::vector<double> regressionPlane(const Points& points) {
  std::vector<double> plane(4);
  x3dfit::XPlaneFit().Fit(points, plane.data(), x3dfit::LeastSquare);
  return plane;
}

void plainCircle(const Points& points, const std::vector<float>& xyz) {
  auto plane = regressionPlane(points);
  const auto tilt = [&xyz](const double* v) {
    return plainSum<ScaledPlane, 3>(xyz, v, absolute) /
           std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
  };
  plainSimplex(tilt, plane, std::max({plane[0], plane[1], plane[2]}) / 100);
  const double length = cv::norm(cv::Vec3d(plane.data()));
  for (double& value : plane) value /= length;
  const auto xy = flattened(points, plane);
  auto p = algebraicCircle(xy);
  const auto score = [&xy](const double* v) {
    return plainSum<CircleModel<double>, 2>(xy, v, absolute);
  };
  plainSimplex(score, p, p[2] / 50);
  benchmark::DoNotOptimize(p);
}

/// The library's fit and the least of its evaluations.
template <typename Fit>
Contest outline(const std::shared_ptr<Points>& points) {
  auto plane = regressionPlane(*points);
  const auto xy = std::make_shared<std::vector<float>>(flattened(*points, plane));
  Contest contest;
  contest.library = [points] {
    float out[12] = {};
    benchmark::DoNotOptimize(Fit().Fit(*points, out, xcurve3dfit::LeastAbsDev));
  };
  contest.attainable = {
      "one square root a point in each evaluation", [xy] {
        benchmark::DoNotOptimize(planarSquareRoots(xy->data(), static_cast<int>(xy->size() / 2)));
      }};
  contest.evaluations = takeEvaluations;
  return contest;
}

Contest circle(int count) {
  const auto points = std::make_shared<Points>(outlineOf(count, onCircle));
  Contest contest = outline<xcurve3dfit::XCircle3DFit>(points);
  const auto xyz =
      std::make_shared<std::vector<float>>(&(*points)[0].x, &(*points)[0].x + 3 * points->size());
  contest.peers.push_back(
      {"the same road over plain loops", [points, xyz] { plainCircle(*points, *xyz); }});
  return contest;
}

template <typename Fit, typename Outline>
void outlineRow(const char* operation, int count, Outline at) {
  row(operation, sizeText(count, "points"),
      [count, at] { return outline<Fit>(std::make_shared<Points>(outlineOf(count, at))); });
}

[[maybe_unused]] const bool kRows = [] {
  for (const int count : {1000, 10000, 100000}) {
    row("XCircle3DFit.Fit LeastAbsDev", sizeText(count, "points"),
        [count] { return circle(count); });
  }
  constexpr int kCount = 10000;
  outlineRow<xcurve3dfit::XOvalGroove3DFit>("XOvalGroove3DFit.Fit LeastAbsDev", kCount, onSlot);
  outlineRow<xcurve3dfit::XRectangle3DFit>("XRectangle3DFit.Fit LeastAbsDev", kCount, onRectangle);
  outlineRow<xcurve3dfit::XRoundGroove3DFit>("XRoundGroove3DFit.Fit LeastAbsDev", kCount,
                                             onRounded);
  return true;
}();

}  // namespace
