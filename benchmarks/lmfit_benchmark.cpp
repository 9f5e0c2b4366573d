// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <random>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <pcl/ModelCoefficients.h>
#include <pcl/point_cloud.h>
#include <pcl/point_types.h>
#include <pcl/segmentation/sac_segmentation.h>
#include <zelmo/zelmo.h>

#include "quiet_output.h"

#ifdef ZELMO_WITH_CERES
#include <ceres/tiny_solver.h>
#include <ceres/tiny_solver_autodiff_function.h>
#endif

namespace {

using zelmo::bench::QuietOutput;

constexpr int kCount = 100000;

// Processor time of this thread: other work on the machine stays out of the ratios.
template <typename Action>
double secondsOf(Action action) {
  const auto now = [] {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
  };
  const double start = now();
  action();
  return now() - start;
}

template <typename Action>
double wallSecondsOf(Action action) {
  const auto start = std::chrono::steady_clock::now();
  action();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

struct Scan {
  std::vector<float> points, normals;
};

// Each shape: parameters of the solver, a point with normal, and its residual.
struct Plane {
  static constexpr int kParams = 4;
  static constexpr auto kFunction = zelmolm::XPlaneFitLM::Fit_Function;
  static std::vector<double> seed() { return {0.02, -0.03, 1, -4.2}; }
  template <typename Random>
  static void at(Random& u, double noise, float* p, float* n) {
    p[0] = static_cast<float>(100 * u());
    p[1] = static_cast<float>(100 * u());
    p[2] = static_cast<float>(4 + noise);
    n[0] = n[1] = 0;
    n[2] = 1;
  }
  template <typename T>
  struct Model {
    explicit Model(const T* p) {
      using std::sqrt;
      const T scale = 1.0 / sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
      for (int i = 0; i < 4; ++i) q[i] = p[i] * scale;
    }
    T operator()(double x, double y, double z) const {
      return q[0] * x + q[1] * y + q[2] * z + q[3];
    }
    T q[4];
  };
};

struct Sphere {
  static constexpr int kParams = 4;
  static constexpr auto kFunction = zelmolm::XSphereFitLM::Fit_Function;
  static std::vector<double> seed() { return {9, -21, 31, 24}; }
  template <typename Random>
  static void at(Random& u, double noise, float* p, float* n) {
    const double z = 2 * u() - 1;
    const double a = 2 * M_PI * u();
    const double s = std::sqrt(1 - z * z);
    const double d[3] = {s * std::cos(a), s * std::sin(a), z};
    const double c[3] = {10, -20, 30};
    for (int i = 0; i < 3; ++i) {
      n[i] = static_cast<float>(d[i]);
      p[i] = static_cast<float>(c[i] + (25 + noise) * d[i]);
    }
  }
  template <typename T>
  struct Model {
    explicit Model(const T* p) : q{p[0], p[1], p[2], p[3]} {}
    T operator()(double x, double y, double z) const {
      using std::sqrt;
      const T dx = x - q[0];
      const T dy = y - q[1];
      const T dz = z - q[2];
      return sqrt(dx * dx + dy * dy + dz * dz) - q[3];
    }
    T q[4];
  };
};

// Point and direction of an axis, for cylinder and cone.
template <typename T>
struct Axis {
  explicit Axis(const T* p) : o{p[0], p[1], p[2]} {
    using std::sqrt;
    const T scale = 1.0 / sqrt(p[3] * p[3] + p[4] * p[4] + p[5] * p[5]);
    for (int i = 0; i < 3; ++i) u[i] = p[3 + i] * scale;
  }
  T distance(double x, double y, double z) const {
    using std::sqrt;
    const T dx = x - o[0];
    const T dy = y - o[1];
    const T dz = z - o[2];
    const T cx = dy * u[2] - dz * u[1];
    const T cy = dz * u[0] - dx * u[2];
    const T cz = dx * u[1] - dy * u[0];
    return sqrt(cx * cx + cy * cy + cz * cz);
  }
  T along(double x, double y, double z) const {
    return (x - o[0]) * u[0] + (y - o[1]) * u[1] + (z - o[2]) * u[2];
  }
  T o[3], u[3];
};

constexpr double kAxis[3] = {0.36, 0.48, 0.8};
constexpr double kAcross1[3] = {0.8, -0.6, 0.0};
constexpr double kAcross2[3] = {0.48, 0.64, -0.6};

struct Cylinder {
  static constexpr int kParams = 7;
  static constexpr auto kFunction = zelmolm::XCylinderFitLM::Fit_Function;
  static std::vector<double> seed() { return {10.5, -19.5, 30, 0.38, 0.47, 0.8, 14}; }
  template <typename Random>
  static void at(Random& u, double noise, float* p, float* n) {
    const double t = 60 * u() - 30;
    const double a = 2 * M_PI * u();
    const double c[3] = {10, -20, 30};
    for (int i = 0; i < 3; ++i) {
      const double d = std::cos(a) * kAcross1[i] + std::sin(a) * kAcross2[i];
      n[i] = static_cast<float>(d);
      p[i] = static_cast<float>(c[i] + t * kAxis[i] + (15 + noise) * d);
    }
  }
  template <typename T>
  struct Model {
    explicit Model(const T* p) : axis(p), r(p[6]) {}
    T operator()(double x, double y, double z) const { return axis.distance(x, y, z) - r; }
    Axis<T> axis;
    T r;
  };
};

struct Cone {
  static constexpr int kParams = 7;
  static constexpr auto kFunction = zelmolm::XConeFitLM::Fit_Function;
  static std::vector<double> seed() { return {10.5, -19.5, 30, 0.38, 0.47, 0.8, 0.32}; }
  template <typename Random>
  static void at(Random& u, double noise, float* p, float* n) {
    const double t = 20 + 40 * u();
    const double a = 2 * M_PI * u();
    const double c[3] = {10, -20, 30};
    for (int i = 0; i < 3; ++i) {
      const double d = std::cos(a) * kAcross1[i] + std::sin(a) * kAcross2[i];
      n[i] = static_cast<float>(d * std::cos(0.3) - kAxis[i] * std::sin(0.3));
      p[i] = static_cast<float>(c[i] + t * kAxis[i] + (t * std::tan(0.3) + noise) * d);
    }
  }
  template <typename T>
  struct Model {
    explicit Model(const T* p) : axis(p) {
      using std::tan;
      slope = tan(p[6]);
    }
    T operator()(double x, double y, double z) const {
      using std::abs;
      return axis.distance(x, y, z) - abs(axis.along(x, y, z)) * slope;
    }
    Axis<T> axis;
    T slope;
  };
};

template <typename Shape>
Scan scanOf(int count, unsigned seed = 1) {
  std::mt19937_64 random(seed);
  std::normal_distribution<double> noise(0, 0.01);
  const auto u = [&] { return std::uniform_real_distribution<double>()(random); };
  Scan scan;
  scan.points.resize(3 * static_cast<std::size_t>(count));
  scan.normals.resize(scan.points.size());
  for (std::size_t i = 0; i < scan.points.size(); i += 3) {
    Shape::at(u, noise(random), &scan.points[i], &scan.normals[i]);
  }
  return scan;
}

// The solver call alone, with the shape's own residual function.
template <typename Shape>
class Solve : public zelmolm::ZelmoLM {
 public:
  Solve() { residualFunction = counted; }
  // Passes, or -1.
  int run(const Scan& scan, std::vector<double>& p) {
    s_calls = 0;
    return Fit_LM(scan.points.data(), static_cast<int>(scan.points.size() / 3), p.data(), nullptr,
                  Shape::kParams);
  }
  static long calls() { return s_calls; }

 private:
  static void counted(double* p, double* hx, int m, int n, void* adata) {
    ++s_calls;
    Shape::kFunction(p, hx, m, n, adata);
  }
  static inline long s_calls = 0;
};

// What a plain program would write: one loop over the points per pass, J by rows.
template <typename Shape>
class BareLoops {
 public:
  static constexpr int kM = Shape::kParams;
  explicit BareLoops(const Scan& scan)
      : m_points(scan.points), m_n(scan.points.size() / 3), m_f(m_n), m_j(m_n * kM, 1e-3) {}

  // Residual, its square sum, rank-one update, J^T J and J^T e.
  double pass(const std::vector<double>& p, const double* step) {
    const typename Shape::template Model<double> model(p.data());
    double step_square = 0;
    for (int j = 0; j < kM; ++j) step_square += step[j] * step[j];
    double a[kM][kM] = {};
    double g[kM] = {};
    double error = 0;
    for (std::size_t i = 0; i < m_n; ++i) {
      const float* q = &m_points[3 * i];
      const double f = model(q[0], q[1], q[2]);
      error += f * f;
      double* row = &m_j[kM * i];
      double predicted = 0;
      for (int j = 0; j < kM; ++j) predicted += row[j] * step[j];
      const double factor = (f - m_f[i] - predicted) / step_square;
      m_f[i] = f;
      for (int j = 0; j < kM; ++j) row[j] += factor * step[j];
      for (int j = 0; j < kM; ++j) {
        for (int k = j; k < kM; ++k) a[j][k] += row[j] * row[k];
        g[j] -= row[j] * f;
      }
    }
    benchmark::DoNotOptimize(a);
    benchmark::DoNotOptimize(g);
    return error;
  }

  // One column of a difference Jacobian.
  void column(const std::vector<double>& p, int j) {
    const typename Shape::template Model<double> model(p.data());
    for (std::size_t i = 0; i < m_n; ++i) {
      const float* q = &m_points[3 * i];
      m_j[kM * i + static_cast<std::size_t>(j)] = (model(q[0], q[1], q[2]) - m_f[i]) * 1e3;
    }
  }

 private:
  const std::vector<float>& m_points;
  std::size_t m_n;
  std::vector<double> m_f, m_j;
};

// Solver and plain loops with the same number of passes and of difference columns, by turns.
template <typename Shape>
void BM_SolvePerPass(benchmark::State& state) {
  const Scan scan = scanOf<Shape>(kCount);
  Solve<Shape> solve;
  BareLoops<Shape> bare(scan);
  const std::vector<double> step(Shape::kParams, 1e-6);
  double best = 1e9;
  double best_bare = 1e9;
  int passes = 0;
  long columns = 0;
  for (auto _ : state) {
    auto p = Shape::seed();
    const double seconds = secondsOf([&] { passes = solve.run(scan, p); });
    columns = Solve<Shape>::calls() - 1 - passes;
    best = std::min(best, seconds);
    state.PauseTiming();
    best_bare = std::min(best_bare, secondsOf([&] {
                           for (int k = 0; k <= passes; ++k) {
                             benchmark::DoNotOptimize(bare.pass(p, step.data()));
                           }
                           for (long c = 0; c < columns; ++c) {
                             bare.column(p, static_cast<int>(c % Shape::kParams));
                           }
                         }));
    state.ResumeTiming();
  }
  state.counters["passes"] = passes;
  state.counters["difference_columns"] = static_cast<double>(columns);
  state.counters["ms"] = best * 1e3;
  state.counters["ms_per_pass"] = best * 1e3 / (passes + 1);
  state.counters["over_bare_loop"] = best / best_bare;
}

#ifdef ZELMO_WITH_CERES
template <typename Shape>
struct CeresFunctor {
  const Scan& scan;
  int NumResiduals() const { return static_cast<int>(scan.points.size() / 3); }
  template <typename T>
  bool operator()(const T* const p, T* out) const {
    const typename Shape::template Model<T> model(p);
    const int n = NumResiduals();
    for (int i = 0; i < n; ++i) {
      const float* q = &scan.points[3 * static_cast<std::size_t>(i)];
      out[i] = model(q[0], q[1], q[2]);
    }
    return true;
  }
};

// The whole solve beside TinySolver with automatic derivatives, same data and start.
template <typename Shape>
void BM_SolveBesideTinySolver(benchmark::State& state) {
  const Scan scan = scanOf<Shape>(kCount);
  Solve<Shape> solve;
  double best = 1e9;
  double best_peer = 1e9;
  int iterations = 0;
  for (auto _ : state) {
    auto p = Shape::seed();
    best = std::min(best, secondsOf([&] { solve.run(scan, p); }));
    state.PauseTiming();
    best_peer = std::min(best_peer, secondsOf([&] {
                           const CeresFunctor<Shape> functor{scan};
                           using Function =
                               ceres::TinySolverAutoDiffFunction<CeresFunctor<Shape>,
                                                                 Eigen::Dynamic, Shape::kParams>;
                           const Function function(functor);
                           ceres::TinySolver<Function> tiny;
                           Eigen::Matrix<double, Shape::kParams, 1> q(Shape::seed().data());
                           iterations = tiny.Solve(function, &q).iterations;
                         }));
    state.ResumeTiming();
  }
  state.counters["ms"] = best * 1e3;
  state.counters["tiny_solver_ms"] = best_peer * 1e3;
  state.counters["tiny_solver_iterations"] = iterations;
  state.counters["over_tiny_solver"] = best / best_peer;
}
#endif

// Where the time of a robust cylinder fit goes: the start by sample consensus, run here as the library
// runs it, one solve from a good start, and the rest.
void BM_XCylinderFitLM_FitSigma(benchmark::State& state) {
  const Scan scan = scanOf<Cylinder>(kCount);
  auto cloud = std::make_shared<pcl::PointCloud<pcl::PointXYZ>>();
  auto normals = std::make_shared<pcl::PointCloud<pcl::Normal>>();
  for (std::size_t i = 0; i < scan.points.size(); i += 3) {
    cloud->push_back({scan.points[i], scan.points[i + 1], scan.points[i + 2]});
    normals->push_back({scan.normals[i], scan.normals[i + 1], scan.normals[i + 2]});
  }
  const QuietOutput quiet;
  double whole = 1e9;
  double consensus = 1e9;
  double solve = 1e9;
  for (auto _ : state) {
    zelmolm::XCylinderFitLM fit;
    whole = std::min(whole, secondsOf([&] {
                       fit.Fit(scan.points.data(), scan.normals.data(), kCount,
                               xfeaturefitfilter::FilterParam(80, 2.5F, 0.05F),
                               xfeaturefitfilter::FilterSigma);
                     }));
    state.PauseTiming();
    pcl::ModelCoefficients found;
    consensus = std::min(consensus, secondsOf([&] {
                           pcl::SACSegmentationFromNormals<pcl::PointXYZ, pcl::Normal> segmentation;
                           segmentation.setOptimizeCoefficients(true);
                           segmentation.setModelType(pcl::SACMODEL_CYLINDER);
                           segmentation.setMethodType(pcl::SAC_RANSAC);
                           segmentation.setDistanceThreshold(2.0);
                           segmentation.setMaxIterations(10000);
                           segmentation.setNormalDistanceWeight(0.1);
                           segmentation.setInputCloud(cloud);
                           segmentation.setInputNormals(normals);
                           pcl::PointIndices inliers;
                           segmentation.segment(inliers, found);
                         }));
    solve = std::min(solve, secondsOf([&] {
                       fit.Fit(scan.points.data(), nullptr, kCount, found.values.data());
                     }));
    state.ResumeTiming();
  }
  state.counters["ms"] = whole * 1e3;
  state.counters["consensus_ms"] = consensus * 1e3;
  state.counters["one_solve_ms"] = solve * 1e3;
  state.counters["rest_ms"] = (whole - consensus - 2 * solve) * 1e3;
}

// Two objects in two threads beside two fits one after the other.
void BM_TwoThreads(benchmark::State& state) {
  const Scan scan = scanOf<Cylinder>(kCount);
  const float seed[7] = {10.5F, -19.5F, 30, 0.38F, 0.47F, 0.8F, 14};
  const auto fit = [&](zelmolm::XCylinderFitLM& object) {
    object.Fit(scan.points.data(), nullptr, kCount, seed);
  };
  double alone = 1e9;
  double together = 1e9;
  bool same_bits = true;
  for (auto _ : state) {
    zelmolm::XCylinderFitLM a, b, c;
    together = std::min(together, wallSecondsOf([&] {
                          std::thread other([&] { fit(a); });
                          fit(b);
                          other.join();
                        }));
    state.PauseTiming();
    alone = std::min(alone, wallSecondsOf([&] {
                       fit(c);
                       fit(c);
                     }));
    for (const auto* fitted : {&a, &b}) {
      same_bits = same_bits && std::equal(fitted->center, fitted->center + 3, c.center) &&
                  std::equal(fitted->axis, fitted->axis + 3, c.axis) && fitted->radius == c.radius;
    }
    state.ResumeTiming();
  }
  state.counters["same_bits"] = same_bits ? 1 : 0;
  state.counters["speed_over_one_thread"] = alone / together;
}

BENCHMARK_TEMPLATE(BM_SolvePerPass, Plane)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_SolvePerPass, Sphere)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_SolvePerPass, Cylinder)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_SolvePerPass, Cone)->Unit(benchmark::kMillisecond);
#ifdef ZELMO_WITH_CERES
BENCHMARK_TEMPLATE(BM_SolveBesideTinySolver, Plane)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_SolveBesideTinySolver, Sphere)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_SolveBesideTinySolver, Cylinder)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_SolveBesideTinySolver, Cone)->Unit(benchmark::kMillisecond);
#endif
BENCHMARK(BM_XCylinderFitLM_FitSigma)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TwoThreads)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
