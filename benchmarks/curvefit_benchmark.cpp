// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Fits of circles in space beside the same road over plain loops: the plane of least absolute
// distances by descent, into the plane, the algebraic circle, the descent from it.
#include <cmath>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>
#include <zelmo/curvefit/circle_fit.h>
#include <zelmo/simplex/plane_fit.h>

#include "fit_comparison.h"
#include "plain_simplex.h"

namespace {

using zelmo::bench::plainSimplex;
using zelmo::bench::plainSum;

using Points = std::vector<cv::Point3f>;

Points ringOf(int count) {
  std::mt19937 engine(7);
  std::uniform_real_distribution<double> turn(0, 2 * CV_PI);
  std::normal_distribution<double> noise(0, 0.01);
  const cv::Vec3d x(0.8, 0.0, -0.6);
  const cv::Vec3d y(0.36, 0.8, 0.48);
  Points points;
  for (int i = 0; i < count; ++i) {
    const double t = turn(engine);
    const double r = 25 + noise(engine);
    const cv::Vec3d p = cv::Vec3d(40, 20, -10) + x * (r * std::cos(t)) + y * (r * std::sin(t)) +
                        x.cross(y) * noise(engine);
    points.emplace_back(static_cast<float>(p[0]), static_cast<float>(p[1]),
                        static_cast<float>(p[2]));
  }
  return points;
}

template <typename T>
struct CircleModel {
  const T* p;
  explicit CircleModel(const T* q) : p(q) {}
  T operator()(const float* x) const {
    const T a = static_cast<double>(x[0]) - p[0];
    const T b = static_cast<double>(x[1]) - p[1];
    return sqrt(a * a + b * b) - p[2];
  }
};
struct PlaneModel {
  const double* p;
  explicit PlaneModel(const double* q) : p(q) {}
  double operator()(const float* x) const { return p[0] * x[0] + p[1] * x[1] + p[2] * x[2] + p[3]; }
};
double absolute(double e) { return std::fabs(e); }

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

void BM_XCircle3DFit_LeastAbsDev(benchmark::State& state) {
  const Points points = ringOf(static_cast<int>(state.range(0)));
  const std::vector<float> xyz(&points[0].x, &points[0].x + 3 * points.size());
  std::vector<float> xy;
  const auto plain = [&] {
    std::vector<double> plane(4);
    x3dfit::XPlaneFit fit;
    fit.Fit(points, plane.data(), x3dfit::LeastSquare);
    const auto tilt = [&xyz](const double* v) {
      return plainSum<PlaneModel, 3>(xyz, v, absolute) /
             std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    };
    plainSimplex(tilt, plane, std::max({plane[0], plane[1], plane[2]}) / 100, 10000);
    const double length = cv::norm(cv::Vec3d(plane.data()));
    for (double& value : plane) value /= length;
    std::vector<cv::Point2f> flat;
    fit.projection2Plane_tranformed(points, plane.data(), flat);
    xy.assign(&flat[0].x, &flat[0].x + 2 * flat.size());
    auto p = algebraicCircle(xy);
    const auto score = [&xy](const double* v) {
      return plainSum<CircleModel<double>, 2>(xy, v, absolute);
    };
    plainSimplex(score, p, p[2] / 50, 10000);
    return p[2];
  };
  plain();  // fills xy for the peer
  zelmo::bench::compare(
      state, static_cast<double>(points.size()),
      [&] {
        float out[10] = {};
        xcurve3dfit::XCircle3DFit().Fit(points, out, xcurve3dfit::LeastAbsDev);
        return static_cast<double>(out[9]);
      },
      plain, zelmo::bench::tinySolver<CircleModel, 3, 2>(xy, algebraicCircle(xy)));
}

BENCHMARK(BM_XCircle3DFit_LeastAbsDev)
    ->ArgName("points")
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond);

}  // namespace
