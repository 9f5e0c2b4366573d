// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Damped least squares beside Ceres' small solver on the same data from the same start, and beside the
// bare passes over the points that its steps can't do without.
#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <pcl/ModelCoefficients.h>
#include <pcl/point_cloud.h>
#include <pcl/point_types.h>
#include <pcl/segmentation/sac_segmentation.h>
#include <zelmo/zelmo.h>

#include "contest.h"
#include "descent.h"
#include "floors.h"
#include "shape_models.h"

namespace {

using namespace zelmo::bench;  // NOLINT(google-build-using-namespace): a program of its own

constexpr int kCount = 100000;
constexpr double kMiddle[3] = {10, -20, 30}, kAxis[3] = {0.36, 0.48, 0.8};
constexpr double kAcross1[3] = {0.8, -0.6, 0.0}, kAcross2[3] = {0.48, 0.64, -0.6};

struct Scan {
  std::vector<float> points, normals;
  int count() const { return static_cast<int>(points.size() / 3); }
};

// Each shape: the solver's parameters and start, a point with its normal, and its residual.
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
  using Model = PlaneModel<T>;
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
    for (int i = 0; i < 3; ++i) {
      n[i] = static_cast<float>(d[i]);
      p[i] = static_cast<float>(kMiddle[i] + (25 + noise) * d[i]);
    }
  }
  template <typename T>
  using Model = SphereModel<T>;
};

struct Cylinder {
  static constexpr int kParams = 7;
  static constexpr auto kFunction = zelmolm::XCylinderFitLM::Fit_Function;
  static std::vector<double> seed() { return {10.5, -19.5, 30, 0.38, 0.47, 0.8, 14}; }
  template <typename Random>
  static void at(Random& u, double noise, float* p, float* n) {
    const double t = 60 * u() - 30;
    const double a = 2 * M_PI * u();
    for (int i = 0; i < 3; ++i) {
      const double d = std::cos(a) * kAcross1[i] + std::sin(a) * kAcross2[i];
      n[i] = static_cast<float>(d);
      p[i] = static_cast<float>(kMiddle[i] + t * kAxis[i] + (15 + noise) * d);
    }
  }
  template <typename T>
  using Model = CylinderModel<T>;
};

struct Cone {
  static constexpr int kParams = 7;
  static constexpr auto kFunction = zelmolm::XConeFitLM::Fit_Function;
  static std::vector<double> seed() { return {10.5, -19.5, 30, 0.38, 0.47, 0.8, 0.32}; }
  template <typename Random>
  static void at(Random& u, double noise, float* p, float* n) {
    const double t = 20 + 40 * u();
    const double a = 2 * M_PI * u();
    for (int i = 0; i < 3; ++i) {
      const double d = std::cos(a) * kAcross1[i] + std::sin(a) * kAcross2[i];
      n[i] = static_cast<float>(d * std::cos(0.3) - kAxis[i] * std::sin(0.3));
      p[i] = static_cast<float>(kMiddle[i] + t * kAxis[i] + (t * std::tan(0.3) + noise) * d);
    }
  }
  template <typename T>
  using Model = ConeModel<T>;
};

template <typename Shape>
std::shared_ptr<Scan> scanOf(int count) {
  std::mt19937_64 random(1);
  std::normal_distribution<double> noise(0, 0.01);
  const auto u = [&] { return std::uniform_real_distribution<double>()(random); };
  auto scan = std::make_shared<Scan>();
  scan->points.resize(3 * static_cast<std::size_t>(count));
  scan->normals.resize(scan->points.size());
  for (std::size_t i = 0; i < scan->points.size(); i += 3) {
    Shape::at(u, noise(random), &scan->points[i], &scan->normals[i]);
  }
  return scan;
}

// The solver alone, with the shape's own residual function.
template <typename Shape>
class Solve : public zelmolm::ZelmoLM {
 public:
  Solve() { residualFunction = counted; }
  // Passes, or -1.
  int run(const Scan& scan, std::vector<double>& p) {
    s_calls = 0;
    return Fit_LM(scan.points.data(), scan.count(), p.data(), nullptr, Shape::kParams);
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
      const double f = model(&m_points[3 * i]);
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
      m_j[kM * i + static_cast<std::size_t>(j)] = (model(&m_points[3 * i]) - m_f[i]) * 1e3;
    }
  }

 private:
  const std::vector<float>& m_points;
  std::size_t m_n;
  std::vector<double> m_f, m_j;
};

/// As many passes and difference columns as a solve takes, and the memory that they can't leave out.
template <typename Shape>
void addPasses(Contest& contest, const std::shared_ptr<Scan>& scan) {
  auto p = Shape::seed();
  const int passes = Solve<Shape>().run(*scan, p);
  const long columns = Solve<Shape>::calls() - 1 - passes;
  const auto jacobian =
      std::make_shared<std::vector<float>>(2 * std::size_t{kCount} * Shape::kParams);
  contest.attainable = {"reading the Jacobian once in each pass", [=] {
                          for (int k = 0; k <= passes; ++k) {
                            benchmark::DoNotOptimize(readAll(jacobian->data(), jacobian->size()));
                          }
                        }};
  const auto bare = std::make_shared<BareLoops<Shape>>(*scan);
  contest.peers.push_back({"the same passes in plain loops", [=] {
                             const std::vector<double> step(Shape::kParams, 1e-6);
                             for (int k = 0; k <= passes; ++k)
                               benchmark::DoNotOptimize(bare->pass(p, step.data()));
                             for (long c = 0; c < columns; ++c)
                               bare->column(p, static_cast<int>(c % Shape::kParams));
                           }});
}

template <typename Shape>
Contest solve() {
  const auto scan = scanOf<Shape>(kCount);
  const auto solver = std::make_shared<Solve<Shape>>();
  Contest contest;
  contest.library = [scan, solver] {
    auto p = Shape::seed();
    benchmark::DoNotOptimize(solver->run(*scan, p));
  };
#ifdef ZELMO_WITH_CERES
  contest.peers.push_back(
      {"Ceres' TinySolver, automatic derivatives", [scan] {
         benchmark::DoNotOptimize(
             tinySolver<Shape::template Model, Shape::kParams, 3>(scan->points, Shape::seed()));
       }});
#endif
  addPasses<Shape>(contest, scan);
  return contest;
}

struct PclCylinder {
  pcl::PointCloud<pcl::PointXYZ>::Ptr cloud{new pcl::PointCloud<pcl::PointXYZ>};
  pcl::PointCloud<pcl::Normal>::Ptr normals{new pcl::PointCloud<pcl::Normal>};

  explicit PclCylinder(const Scan& scan) {
    for (std::size_t i = 0; i < scan.points.size(); i += 3) {
      cloud->push_back({scan.points[i], scan.points[i + 1], scan.points[i + 2]});
      normals->push_back({scan.normals[i], scan.normals[i + 1], scan.normals[i + 2]});
    }
  }
  std::vector<float> consensus() const {
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
    pcl::ModelCoefficients found;
    segmentation.segment(inliers, found);
    return found.values;
  }
};

// A robust fit: the start by consensus, a solve, the filter, a solve of what is left.
Contest filteredCylinder() {
  const auto scan = scanOf<Cylinder>(kCount);
  const auto pcl_cylinder = std::make_shared<PclCylinder>(*scan);
  const auto plain_solve = [scan](const std::vector<float>& start) {
    zelmolm::XCylinderFitLM().Fit(scan->points.data(), nullptr, kCount, start.data());
  };
  const auto found = pcl_cylinder->consensus();
  return {[scan] {
            zelmolm::XCylinderFitLM().Fit(scan->points.data(), scan->normals.data(), kCount,
                                          xfeaturefitfilter::FilterParam(80, 2.5F, 0.05F),
                                          xfeaturefitfilter::FilterSigma);
          },
          {{"PCL's consensus, which is the first of its stages",
            [=] { benchmark::DoNotOptimize(pcl_cylinder->consensus()); }}},
          {"that and two of the solves alone",
           [=] {
             plain_solve(pcl_cylinder->consensus());
             plain_solve(found);
           }},
          {}};
}

// Two objects in two threads beside two fits one after the other.
Contest twoThreads() {
  const auto scan = scanOf<Cylinder>(kCount);
  const auto fit = [scan] {
    const float seed[7] = {10.5F, -19.5F, 30, 0.38F, 0.47F, 0.8F, 14};
    zelmolm::XCylinderFitLM().Fit(scan->points.data(), nullptr, kCount, seed);
  };
  return {[fit] {
            std::thread other(fit);
            fit();
            other.join();
          },
          {{"both fits in one thread",
            [fit] {
              fit();
              fit();
            }}},
          {"one of the fits", fit},
          {}};
}

[[maybe_unused]] const bool kRows = [] {
  const std::string size = sizeText(kCount, "points");
  row("ZelmoLM.Fit_LM plane", size, solve<Plane>);
  row("ZelmoLM.Fit_LM sphere", size, solve<Sphere>);
  row("ZelmoLM.Fit_LM cylinder", size, solve<Cylinder>);
  row("ZelmoLM.Fit_LM cone", size, solve<Cone>);
  row("XCylinderFitLM.Fit FilterSigma", size, filteredCylinder);
  row("XCylinderFitLM.Fit twice, two threads", size, twoThreads, Clock::Wall);
  return true;
}();

}  // namespace
