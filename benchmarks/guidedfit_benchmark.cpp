// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Guided fits with compensation of the probe. Where a plain program would run GSL's simplex over a loop
// of its own, the same descent is timed by turns, and `over_plain_loop` is the ratio of the best runs.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <zelmo/zelmo.h>

#include "plain_simplex.h"

namespace {

using zelmo::bench::plainSimplex;
using zelmo::bench::plainSum;

constexpr float kProbe = 1.0F;
const cv::Vec3d kX(0.8, -0.6, 0.0), kY(0.48, 0.64, -0.6), kZ(0.36, 0.48, 0.8);

struct Touches {
  std::vector<float> points, normals;
  int count() const { return static_cast<int>(points.size() / 3); }
  float* data() { return points.data(); }
};

// Points of radius 12 about the axis kZ through (10, -20, 30), or about that point.
Touches touches(int count, double height, bool sphere, double shift = 0, double arc = 2 * CV_PI) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> unit(0, 1);
  std::normal_distribution<double> noise(0, 0.01);
  Touches t;
  for (int i = 0; i < count; ++i) {
    const double angle = arc * (unit(random) - 0.5) + (shift < 0 ? CV_PI : 0);
    const double z = sphere ? 2 * unit(random) - 1 : 0;
    const cv::Vec3d n =
        std::sqrt(1 - z * z) * (std::cos(angle) * kX + std::sin(angle) * kY) + z * kZ;
    const cv::Vec3d p = cv::Vec3d(10, -20, 30) + shift * kX + (12 + noise(random)) * n +
                        height * (unit(random) - 0.5) * kZ;
    for (int k = 0; k < 3; ++k) t.points.push_back(static_cast<float>(p[k]));
    for (int k = 0; k < 3; ++k) t.normals.push_back(static_cast<float>(-n[k]));
  }
  return t;
}

template <typename Action>
double secondsOf(Action action) {
  const auto start = std::chrono::steady_clock::now();
  action();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Ours and the plain descent by turns.
template <typename Fit, typename Plain>
void besidePlain(benchmark::State& state, Fit fit, Plain plain) {
  double best = 1e9, best_plain = 1e9;
  for (auto _ : state) {
    best = std::min(best, secondsOf(fit));
    state.PauseTiming();
    best_plain = std::min(best_plain, secondsOf(plain));
    state.ResumeTiming();
  }
  state.counters["ms"] = best * 1e3;
  state.counters["over_plain_loop"] = best / best_plain;
}

void BM_XSphereFit(benchmark::State& state) {
  const Touches t = touches(static_cast<int>(state.range(0)), 0, true);
  std::vector<float> moved(t.points.size()), errors(t.points.size());
  xgeofit::XSphereFit fit;
  besidePlain(
      state,
      [&] {
        fit.Fit(t.points.data(), t.normals.data(), t.count(), kProbe, moved.data(), errors.data());
      },
      [&] {
        std::vector<double> p = {10.0001, -20.0001, 30.0001, 12.0001};
        plainSimplex(
            [&](const double* q) {
              return plainSum(t.points, [q](double x, double y, double z) {
                const double e = std::sqrt((x - q[0]) * (x - q[0]) + (y - q[1]) * (y - q[1]) +
                                           (z - q[2]) * (z - q[2])) -
                                 q[3];
                return e * e;
              });
            },
            p, 0.12, 10000);
      });
}

void BM_XCylinderFit(benchmark::State& state) {
  const Touches t = touches(static_cast<int>(state.range(0)), 60, false);
  std::vector<float> moved(t.points.size()), errors(t.points.size());
  xgeofit::XCylinderFit fit;
  const auto share = [](const double* q, const cv::Vec3d& u, double x, double y, double z) {
    const cv::Vec3d d(x - q[0], y - q[1], z - q[2]);
    if (std::fabs(d[0]) < 0.01 && std::fabs(d[1]) < 0.01 && std::fabs(d[2]) < 0.01) {
      return q[6] * q[6];
    }
    const double e = cv::norm(d.cross(u)) - q[6];
    return e * e;
  };
  besidePlain(
      state,
      [&] {
        fit.Fit(t.points.data(), t.normals.data(), t.count(), kProbe, moved.data(), errors.data());
      },
      [&] {
        // The three starts of the class: the directions of spread, each with its own as radius.
        const double spread[] = {17.3, 8.5, 8.5};
        int k = 0;
        for (const cv::Vec3d& u : {kZ, kX, kY}) {
          std::vector<double> p = {10, -20, 30, u[0], u[1], u[2], spread[k]};
          plainSimplex(
              [&](const double* q) {
                const cv::Vec3d unit = cv::normalize(cv::Vec3d(q + 3));
                return plainSum(t.points, [&](double x, double y, double z) {
                  return share(q, unit, x, y, z);
                });
              },
              p, spread[k++] / 10, 10000);
        }
      });
}

template <typename Call>
void timed(benchmark::State& state, Call call) {
  for (auto _ : state) call();
}

void BM_XPlaneFit(benchmark::State& state) {
  Touches t = touches(static_cast<int>(state.range(0)), 0.01, false);
  xgeofit::XPlaneFit fit;
  timed(state,
        [&] { fit.Fit(t.points.data(), t.normals.data(), t.count(), kProbe, nullptr, nullptr); });
}

float g_plane[6] = {10, -20, 30, 0.36F, 0.48F, 0.8F};

void BM_XCircle3DFit(benchmark::State& state) {
  Touches t = touches(static_cast<int>(state.range(0)), 1, false);
  xgeofit::XCircle3DFit fit;
  timed(state, [&] {
    fit.Fit(t.points.data(), t.normals.data(), t.count(), g_plane, kProbe, nullptr, nullptr);
  });
}

void BM_XOvalGroove3DFit(benchmark::State& state) {
  Touches a = touches(static_cast<int>(state.range(0)) / 2, 1, false, 20, 3.0);
  Touches b = touches(static_cast<int>(state.range(0)) / 2, 1, false, -20, 3.0);
  xgeofit::XOvalGroove3DFit fit;
  timed(state, [&] {
    fit.Fit(a.points.data(), a.normals.data(), a.count(), b.points.data(), b.normals.data(),
            b.count(), g_plane, kProbe, nullptr, nullptr);
  });
}

// One touch against a mesh of a million triangles.
void BM_XPointFit(benchmark::State& state) {
  constexpr int kSide = 708;
  std::vector<float> vertices, normals;
  std::vector<int> faces;
  for (int i = 0; i < kSide * kSide; ++i) {
    vertices.insert(vertices.end(),
                    {static_cast<float>(i % kSide), static_cast<float>(i / kSide), 0});
    if (i % kSide == kSide - 1 || i / kSide == kSide - 1) continue;
    faces.insert(faces.end(), {i, i + 1, i + kSide, i + 1, i + kSide + 1, i + kSide});
    normals.insert(normals.end(), {0, 0, 1, 0, 0, 1});
  }
  xgeofit::XPointFit fit;
  fit.setData(vertices.data(), kSide * kSide, normals.data(), faces.data(),
              static_cast<int>(faces.size() / 3));
  float result[6];
  int i = 0;
  timed(state, [&] {
    i = (i + 7919) % (kSide * kSide);
    const float touch[6] = {
        static_cast<float>(i % kSide), static_cast<float>(i / kSide), 1, 0, 0, 1};
    benchmark::DoNotOptimize(fit.Fit(touch, result, kProbe));
  });
}

BENCHMARK(BM_XPlaneFit)->Arg(100)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_XCircle3DFit)->Arg(100)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_XSphereFit)->Arg(100)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_XCylinderFit)->Arg(100)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_XOvalGroove3DFit)->Arg(100)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_XPointFit)->Unit(benchmark::kMicrosecond);

}  // namespace
