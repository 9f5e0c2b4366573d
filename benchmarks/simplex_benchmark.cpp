// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Simplex fits beside what a user would pick instead: descents beside the same descent over a plain
// loop (see fit_comparison.h), closed forms beside the BM_Peer_* of another library.
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

#include "fit_comparison.h"
#include "plain_simplex.h"
#include "quiet_output.h"

namespace {

using zelmo::bench::compare;
using zelmo::bench::plainSimplex;
using zelmo::bench::plainSum;
using zelmo::bench::tinySolver;

using Points = std::vector<float>;
using Surface = std::function<cv::Vec3d(double u, double v, double noise)>;  // u, v in [0, 1)

constexpr double kNoise = 0.01;
constexpr double kTurn = 2 * CV_PI;

Points scanOf(int count, const Surface& surface, unsigned seed = 7) {
  std::mt19937 engine(seed);
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

/// Distances of a point, over doubles for the plain loops and over Jets for the peer.
template <typename T>
struct PlaneModel {
  const T* p;
  T length;
  explicit PlaneModel(const T* q) : p(q), length(sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2])) {}
  T operator()(const float* x) const {
    return p[0] * double(x[0]) + p[1] * double(x[1]) + p[2] * double(x[2]) + p[3];
  }
};
template <typename T>
struct SphereModel {
  const T* p;
  explicit SphereModel(const T* q) : p(q) {}
  T operator()(const float* x) const {
    const T a = double(x[0]) - p[0];
    const T b = double(x[1]) - p[1];
    const T c = double(x[2]) - p[2];
    return sqrt(a * a + b * b + c * c) - p[3];
  }
};
template <typename T, bool Cone>
struct RoundModel {
  const T* p;
  T u[3];
  T size;
  explicit RoundModel(const T* q) : p(q), size(Cone ? tan(q[6]) : q[6]) {
    const T length = sqrt(p[3] * p[3] + p[4] * p[4] + p[5] * p[5]);
    for (int k = 0; k < 3; ++k) u[k] = p[3 + k] / length;
  }
  T operator()(const float* x) const {
    const T a = double(x[0]) - p[0];
    const T b = double(x[1]) - p[1];
    const T c = double(x[2]) - p[2];
    if (abs(a) < 0.01 && abs(b) < 0.01 && abs(c) < 0.01) return size;
    const T s = b * u[2] - c * u[1];
    const T t = c * u[0] - a * u[2];
    const T w = a * u[1] - b * u[0];
    const T radius = Cone ? abs(a * u[0] + b * u[1] + c * u[2]) * size : size;
    return sqrt(s * s + t * t + w * w) - radius;
  }
};
template <typename T>
using CylinderModel = RoundModel<T, false>;
template <typename T>
using ConeModel = RoundModel<T, true>;

double absolute(double e) { return std::fabs(e); }
double square(double e) { return e * e; }

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

int countOf(const Points& points) { return static_cast<int>(points.size() / 3); }

void fitLoop(benchmark::State& state, const Surface& surface,
             const std::function<double(const Points&)>& fit) {
  const Points points = scanOf(static_cast<int>(state.range(0)), surface);
  double score = 0;
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(score = fit(points));
  state.counters["score"] = score;
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

void BM_XPlaneFit_LeastAbsDev(benchmark::State& state) {
  const Points points = scanOf(static_cast<int>(state.range(0)), onPlate);
  const auto score = [&points](const double* v) {
    return plainSum<PlaneModel<double>, 3>(points, v, absolute) / PlaneModel<double>(v).length;
  };
  std::vector<double> start(4);
  x3dfit::XPlaneFit().Fit(points.data(), countOf(points), start.data(), x3dfit::LeastSquare);
  compare(
      state, countOf(points),
      [&] {
        double p[4] = {};
        x3dfit::XPlaneFit().Fit(points.data(), countOf(points), p, x3dfit::LeastAbsDev);
        return score(p);
      },
      [&] {
        auto p = start;
        plainSimplex(score, p, std::max({p[0], p[1], p[2]}) / 100, 10000);
        return score(p.data());
      },
      {});
}

void BM_XSphereFit_LeastAbsDev(benchmark::State& state) {
  const Points points = scanOf(static_cast<int>(state.range(0)), onSphere);
  const auto score = [&points](const double* v) {
    return plainSum<SphereModel<double>, 3>(points, v, absolute);
  };
  std::vector<double> start(4);
  x3dfit::XSphereFit().Fit(points.data(), countOf(points), start.data(), x3dfit::LeastSquare);
  compare(
      state, countOf(points),
      [&] {
        double p[4] = {};
        x3dfit::XSphereFit().Fit(points.data(), countOf(points), p, x3dfit::LeastAbsDev);
        return score(p);
      },
      [&] {
        auto p = start;
        plainSimplex(score, p, p[3] / 100, 10000);
        return score(p.data());
      },
      tinySolver<SphereModel, 4, 3>(points, start));
}

/// Cylinder and cone; the second argument is the seed of the scan.
template <typename Fit, template <typename> class Model>
void BM_LeastSquare(benchmark::State& state, const Surface& surface, int limit) {
  const Points points =
      scanOf(static_cast<int>(state.range(0)), surface, static_cast<unsigned>(state.range(1)));
  const auto score = [&points](const double* v) {
    return plainSum<Model<double>, 3>(points, v, square);
  };
  const RoundStart start = startOf(points, limit == 5000);
  const zelmo::bench::QuietOutput quiet;  // the cone prints a line
  compare(
      state, countOf(points),
      [&] {
        double p[8] = {};
        Fit().Fit(points.data(), countOf(points), p, x3dfit::LeastSquare);
        return score(p);
      },
      [&] {
        auto p = start.params;
        plainSimplex(score, p, start.step, limit);
        return score(p.data());
      },
      tinySolver<Model, 7, 3>(points, start.params));
}
void BM_XCylinderFit_LeastSquare(benchmark::State& state) {
  BM_LeastSquare<x3dfit::XCylinderFit, CylinderModel>(state, onCylinder, 10000);
}
void BM_XConeFit_LeastSquare(benchmark::State& state) {
  BM_LeastSquare<x3dfit::XConeFit, ConeModel>(state, onCone, 5000);
}

void closedFormSizes(benchmark::internal::Benchmark* b) {
  b->ArgName("points")->Arg(100)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
}
void descentSizes(benchmark::internal::Benchmark* b) {
  b->ArgName("points")->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
}
void seededSizes(benchmark::internal::Benchmark* b) {
  b->ArgNames({"points", "seed"})->Unit(benchmark::kMillisecond);
  for (const int points : {1000, 10000, 100000}) {
    for (const int seed : {7, 8, 9}) b->Args({points, seed});
  }
}

BENCHMARK(BM_XPlaneFit_Regression)->Apply(closedFormSizes);
BENCHMARK(BM_Peer_PclMeanAndCovariance)->Apply(closedFormSizes);
BENCHMARK(BM_XSphereFit_Algebraic)->Apply(closedFormSizes);
BENCHMARK(BM_Peer_EigenNormalEquations)->Apply(closedFormSizes);
BENCHMARK(BM_XPlaneFit_LeastAbsDev)->Apply(descentSizes);
BENCHMARK(BM_XSphereFit_LeastAbsDev)->Apply(descentSizes);
BENCHMARK(BM_XCylinderFit_LeastSquare)->Apply(seededSizes);
BENCHMARK(BM_XConeFit_LeastSquare)->Apply(seededSizes);

}  // namespace
