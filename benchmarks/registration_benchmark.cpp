// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// The closed form behind the rigid transform beside Eigen's umeyama in double, and the polish beside
// the same descent's objective in a plain loop.
#include <cmath>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>
#include <zelmo/zelmo.h>

#if __has_include(<Eigen/Geometry>)
#include <Eigen/Geometry>
#define ZELMO_WITH_EIGEN
#endif

namespace {

constexpr int kPairs = 1000000;

struct Pairs {
  std::vector<cv::Point3f> first, second;
};

Pairs makePairs(int count) {
  std::mt19937 random(1);
  std::uniform_real_distribution<float> u(-50, 50);
  std::normal_distribution<float> noise(0, 0.02F);
  Pairs pairs;
  for (int i = 0; i < count; ++i) {
    const cv::Point3f p(u(random), u(random), u(random));
    pairs.first.push_back(p);
    // A turn of 3-4-5 about z, then one about x.
    const float x = 0.8F * p.x - 0.6F * p.y;
    const float y = 0.6F * p.x + 0.8F * p.y;
    pairs.second.emplace_back(x + 5 + noise(random), 0.8F * y - 0.6F * p.z + noise(random),
                              0.6F * y + 0.8F * p.z - 7 + noise(random));
  }
  return pairs;
}

void startValue(benchmark::State& state) {
  const Pairs pairs = makePairs(kPairs);
  xrigidtransform::XRigidTransform fit;
  double p[6];
  for ([[maybe_unused]] auto _ : state) {
    fit.getInitialValue(pairs.first, pairs.second, p);
    benchmark::DoNotOptimize(p);
  }
}
BENCHMARK(startValue)->Unit(benchmark::kMillisecond);

#ifdef ZELMO_WITH_EIGEN
// Eigen takes matrices of doubles: filling them from the floats is measured with it, and alone.
void eigenUmeyamaInDouble(benchmark::State& state) {
  const Pairs pairs = makePairs(kPairs);
  const bool fill = state.range(0) != 0;
  Eigen::Matrix3Xd a(3, kPairs), b(3, kPairs);
  const auto copy = [&] {
    for (int i = 0; i < kPairs; ++i) {
      const cv::Point3f& p = pairs.first[static_cast<std::size_t>(i)];
      const cv::Point3f& q = pairs.second[static_cast<std::size_t>(i)];
      a.col(i) << p.x, p.y, p.z;
      b.col(i) << q.x, q.y, q.z;
    }
  };
  copy();
  for ([[maybe_unused]] auto _ : state) {
    if (fill) copy();
    const Eigen::Matrix4d motion = Eigen::umeyama(a, b, false);
    benchmark::DoNotOptimize(motion.data());
  }
}
BENCHMARK(eigenUmeyamaInDouble)->ArgName("fill")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
#endif

void rigidTransform(benchmark::State& state) {
  const Pairs pairs = makePairs(1000);
  xrigidtransform::XRigidTransform fit;
  double p[6];
  for ([[maybe_unused]] auto _ : state) {
    fit.getRT(pairs.first, pairs.second, p);
    benchmark::DoNotOptimize(p);
  }
}
BENCHMARK(rigidTransform)->Unit(benchmark::kMillisecond);

}  // namespace
