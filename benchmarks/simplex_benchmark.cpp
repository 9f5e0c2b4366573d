// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Simplex fits beside what a user would pick instead: each BM_Plain_* is the same descent over a
// plain loop, each BM_Peer_* another library. The counter `score` is what the fit minimises.
#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include <Eigen/Dense>
#include <benchmark/benchmark.h>
#include <pcl/common/centroid.h>
#include <pcl/point_types.h>
#include <zelmo/simplex/cone_fit.h>
#include <zelmo/simplex/cylinder_fit.h>
#include <zelmo/simplex/plane_fit.h>
#include <zelmo/simplex/principal_axes.h>
#include <zelmo/simplex/sphere_fit.h>

#include "plain_simplex.h"

namespace {

using zelmo::bench::plainSimplex;
using zelmo::bench::plainSum;

using Points = std::vector<float>;
using Surface = std::function<cv::Vec3d(double u, double v, double noise)>;  // u, v in [0, 1)

constexpr double kNoise = 0.01;
constexpr double kTurn = 2 * CV_PI;

Points scanOf(int count, const Surface& surface) {
  std::mt19937 engine(7);
  std::uniform_real_distribution<double> unit(0, 1);
  std::normal_distribution<double> noise(0, kNoise);
  Points points;
  for (int i = 0; i < count; ++i) {
    const double u = unit(engine);
    const cv::Vec3d p = surface(u, unit(engine), noise(engine));
    for (int k = 0; k < 3; ++k) points.push_back(static_cast<float>(p[k]));
  }
  return points;
}

cv::Vec3d onPlate(double u, double v, double e) {
  return {200 * u - 100, 200 * v - 100, 60 * u - 40 * v + 50 + e};
}
cv::Vec3d onSphere(double u, double v, double e) {
  const double z = 2 * u - 1;
  const double across = std::sqrt(1 - z * z);
  return cv::Vec3d(100, -50, 30) +
         (25 + e) * cv::Vec3d(across * std::cos(kTurn * v), across * std::sin(kTurn * v), z);
}
// Tilted against the axes, so that no coordinate is special.
cv::Vec3d aboutAxis(double along, double across, double turn) {
  const cv::Vec3d x(0.8, 0.0, -0.6);
  const cv::Vec3d y(0.36, 0.8, 0.48);
  return cv::Vec3d(40, 20, -10) + x.cross(y) * along + x * (across * std::cos(turn)) +
         y * (across * std::sin(turn));
}
cv::Vec3d onCylinder(double u, double v, double e) { return aboutAxis(80 * u, 12 + e, kTurn * v); }
cv::Vec3d onCone(double u, double v, double e) {
  return aboutAxis(20 + 80 * u, (20 + 80 * u) * 0.2 + e, kTurn * v);
}

cv::Vec3d unitDirection(const double* p) { return cv::normalize(cv::Vec3d(p)); }

// Share of a point, for the plain loops.
double planeShare(const double* p, double x, double y, double z) {
  return std::fabs(p[0] * x + p[1] * y + p[2] * z + p[3]);
}
double sphereShare(const double* p, double x, double y, double z) {
  const double a = x - p[0];
  const double b = y - p[1];
  const double c = z - p[2];
  return std::fabs(std::sqrt(a * a + b * b + c * c) - p[3]);
}
template <bool Cone>
double roundShare(const double* p, const double* u, double size, double x, double y, double z) {
  const double a = x - p[0];
  const double b = y - p[1];
  const double c = z - p[2];
  if (std::fabs(a) < 0.01 && std::fabs(b) < 0.01 && std::fabs(c) < 0.01) return size * size;
  const double s = b * u[2] - c * u[1];
  const double t = c * u[0] - a * u[2];
  const double w = a * u[1] - b * u[0];
  const double radius = Cone ? std::fabs(a * u[0] + b * u[1] + c * u[2]) * size : size;
  const double e = std::sqrt(s * s + t * t + w * w) - radius;
  return e * e;
}

struct RoundStart {
  std::vector<double> params;
  double step;
};

RoundStart startOf(const Points& points, bool cone) {
  std::vector<cv::Point3f> list;
  for (std::size_t i = 0; i < points.size(); i += 3) {
    list.emplace_back(points[i], points[i + 1], points[i + 2]);
  }
  cv::Mat values;
  cv::Mat vectors;
  cv::Point3f c;
  x3dfit::computePrincipalAxes(list, values, vectors, c);
  const cv::Vec3d d(vectors.ptr<double>(0));
  if (!cone) {
    const double r = std::sqrt(values.at<double>(2) / static_cast<double>(list.size()));
    return {{c.x, c.y, c.z, d[0], d[1], d[2], r}, r / 10};
  }
  double low = 1e10;
  double high = -1e10;
  double across = 0;
  for (const auto& p : list) {
    const cv::Vec3d q(p.x - c.x, p.y - c.y, p.z - c.z);
    low = std::min(low, q.dot(d));
    high = std::max(high, q.dot(d));
    across = std::max(across, cv::norm(q.cross(d)));
  }
  const double largest = std::max({std::fabs(d[0]), std::fabs(d[1]), std::fabs(d[2])});
  return {{c.x, c.y, c.z, d[0], d[1], d[2], std::atan2(across, (high - low) / 2)}, largest / 10};
}

void fitLoop(benchmark::State& state, const Surface& surface,
             const std::function<double(const Points&)>& fit) {
  const Points points = scanOf(static_cast<int>(state.range(0)), surface);
  double score = 0;
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(score = fit(points));
  state.counters["score"] = score;
}

int countOf(const Points& points) { return static_cast<int>(points.size() / 3); }

double scoreOfPlane(const Points& points, const double* p) {
  const double length = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
  return plainSum(points, [p](double x, double y, double z) { return planeShare(p, x, y, z); }) /
         length;
}
double scoreOfSphere(const Points& points, const double* p) {
  return plainSum(points, [p](double x, double y, double z) { return sphereShare(p, x, y, z); });
}
template <bool Cone>
double scoreOfRound(const Points& points, const double* p) {
  const cv::Vec3d u = unitDirection(p + 3);
  const double size = Cone ? std::tan(p[6]) : p[6];
  return plainSum(points, [p, &u, size](double x, double y, double z) {
    return roundShare<Cone>(p, u.val, size, x, y, z);
  });
}

void BM_XPlaneFit_Regression(benchmark::State& state) {
  fitLoop(state, onPlate, [](const Points& points) {
    double plane[4] = {};
    x3dfit::XPlaneFit().Fit(points.data(), countOf(points), plane, x3dfit::LeastSquare);
    return plane[3];
  });
}

void BM_Peer_PclMeanAndCovariance(benchmark::State& state) {
  const Points points = scanOf(static_cast<int>(state.range(0)), onPlate);
  pcl::PointCloud<pcl::PointXYZ> cloud;
  for (std::size_t i = 0; i < points.size(); i += 3) {
    cloud.emplace_back(points[i], points[i + 1], points[i + 2]);
  }
  for ([[maybe_unused]] auto _ : state) {
    Eigen::Matrix3d covariance = Eigen::Matrix3d::Zero();
    Eigen::Vector4d mean = Eigen::Vector4d::Zero();
    pcl::computeMeanAndCovarianceMatrix(cloud, covariance, mean);
    const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver(covariance);
    benchmark::DoNotOptimize(solver.eigenvectors().data());
  }
}

void BM_XPlaneFit_LeastAbsDev(benchmark::State& state) {
  fitLoop(state, onPlate, [](const Points& points) {
    double p[4] = {};
    x3dfit::XPlaneFit().Fit(points.data(), countOf(points), p, x3dfit::LeastAbsDev);
    return scoreOfPlane(points, p);
  });
}
void BM_Plain_PlaneLeastAbsDev(benchmark::State& state) {
  fitLoop(state, onPlate, [](const Points& points) {
    std::vector<double> p(4);
    x3dfit::XPlaneFit().Fit(points.data(), countOf(points), p.data(), x3dfit::LeastSquare);
    const double step = std::max({p[0], p[1], p[2]}) / 100;
    plainSimplex([&points](const double* v) { return scoreOfPlane(points, v); }, p, step, 10000);
    return scoreOfPlane(points, p.data());
  });
}

void BM_XSphereFit_LeastAbsDev(benchmark::State& state) {
  fitLoop(state, onSphere, [](const Points& points) {
    double p[4] = {};
    x3dfit::XSphereFit().Fit(points.data(), countOf(points), p, x3dfit::LeastAbsDev);
    return scoreOfSphere(points, p);
  });
}
void BM_Plain_SphereLeastAbsDev(benchmark::State& state) {
  fitLoop(state, onSphere, [](const Points& points) {
    std::vector<double> p(4);
    x3dfit::XSphereFit().Fit(points.data(), countOf(points), p.data(), x3dfit::LeastSquare);
    const double step = p[3] / 100;
    plainSimplex([&points](const double* v) { return scoreOfSphere(points, v); }, p, step, 10000);
    return scoreOfSphere(points, p.data());
  });
}
void BM_XSphereFit_Algebraic(benchmark::State& state) {
  fitLoop(state, onSphere, [](const Points& points) {
    double p[4] = {};
    x3dfit::XSphereFit().Fit(points.data(), countOf(points), p, x3dfit::LeastSquare);
    return p[3];
  });
}
void BM_Peer_EigenNormalEquations(benchmark::State& state) {
  fitLoop(state, onSphere, [](const Points& points) {
    const int count = countOf(points);
    const Eigen::Map<const Eigen::Matrix<float, 3, Eigen::Dynamic>> x(points.data(), 3, count);
    const Eigen::Vector3d mean = x.cast<double>().rowwise().mean();
    Eigen::Matrix4d a = Eigen::Matrix4d::Zero();
    Eigen::Vector4d b = Eigen::Vector4d::Zero();
    for (int i = 0; i < count; ++i) {
      Eigen::Vector4d row;
      row << x.col(i).cast<double>() - mean, 1.0;
      a.selfadjointView<Eigen::Lower>().rankUpdate(row);
      b -= row * row.head<3>().squaredNorm();
    }
    const Eigen::Vector4d g = a.selfadjointView<Eigen::Lower>().ldlt().solve(b);
    return std::sqrt(g.head<3>().squaredNorm() / 4 - g[3]);
  });
}

void BM_XCylinderFit_LeastSquare(benchmark::State& state) {
  fitLoop(state, onCylinder, [](const Points& points) {
    double p[8] = {};
    x3dfit::XCylinderFit().Fit(points.data(), countOf(points), p, x3dfit::LeastSquare);
    return scoreOfRound<false>(points, p);
  });
}
void BM_Plain_CylinderLeastSquare(benchmark::State& state) {
  fitLoop(state, onCylinder, [](const Points& points) {
    auto [p, step] = startOf(points, false);
    plainSimplex([&points](const double* v) { return scoreOfRound<false>(points, v); }, p, step,
                 10000);
    return scoreOfRound<false>(points, p.data());
  });
}

void BM_XConeFit_LeastSquare(benchmark::State& state) {
  fitLoop(state, onCone, [](const Points& points) {
    double p[7] = {};
    x3dfit::XConeFit().Fit(points.data(), countOf(points), p, x3dfit::LeastSquare);
    return scoreOfRound<true>(points, p);
  });
}
void BM_Plain_ConeLeastSquare(benchmark::State& state) {
  fitLoop(state, onCone, [](const Points& points) {
    auto [p, step] = startOf(points, true);
    plainSimplex([&points](const double* v) { return scoreOfRound<true>(points, v); }, p, step,
                 5000);
    return scoreOfRound<true>(points, p.data());
  });
}

void closedFormSizes(benchmark::internal::Benchmark* b) {
  b->ArgName("points")->Arg(100)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
}
void descentSizes(benchmark::internal::Benchmark* b) {
  b->ArgName("points")->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
}

BENCHMARK(BM_XPlaneFit_Regression)->Apply(closedFormSizes);
BENCHMARK(BM_Peer_PclMeanAndCovariance)->Apply(closedFormSizes);
BENCHMARK(BM_XSphereFit_Algebraic)->Apply(closedFormSizes);
BENCHMARK(BM_Peer_EigenNormalEquations)->Apply(closedFormSizes);
BENCHMARK(BM_XPlaneFit_LeastAbsDev)->Apply(descentSizes);
BENCHMARK(BM_Plain_PlaneLeastAbsDev)->Apply(descentSizes);
BENCHMARK(BM_XSphereFit_LeastAbsDev)->Apply(descentSizes);
BENCHMARK(BM_Plain_SphereLeastAbsDev)->Apply(descentSizes);
BENCHMARK(BM_XCylinderFit_LeastSquare)->Apply(descentSizes);
BENCHMARK(BM_Plain_CylinderLeastSquare)->Apply(descentSizes);
BENCHMARK(BM_XConeFit_LeastSquare)->Apply(descentSizes);
BENCHMARK(BM_Plain_ConeLeastSquare)->Apply(descentSizes);

}  // namespace
