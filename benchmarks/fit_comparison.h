// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <vector>

#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <gsl/gsl_multimin.h>
#ifdef ZELMO_WITH_CERES
#include <ceres/tiny_solver.h>
#include <ceres/tiny_solver_autodiff_function.h>
#endif

/// \file
/// Fits beside the same descent over a plain loop, run in turn on the same points. Both go through
/// GSL's gsl_multimin_fminimizer_set; the one defined here stands before it in this program and
/// counts the evaluations of whoever calls it, the library among them.

namespace zelmo::bench {

struct Counted {
  gsl_multimin_function* given = nullptr;
  gsl_multimin_function counting = {};
  long evaluations = 0;
};
inline Counted g_counted;

inline double countedValue(const gsl_vector* v, void* /*params*/) {
  ++g_counted.evaluations;
  return g_counted.given->f(v, g_counted.given->params);
}

}  // namespace zelmo::bench

extern "C" inline __attribute__((used, visibility("default"))) int gsl_multimin_fminimizer_set(
    gsl_multimin_fminimizer* minimiser, gsl_multimin_function* function, const gsl_vector* start,
    const gsl_vector* step) {
  using Set = int (*)(gsl_multimin_fminimizer*, gsl_multimin_function*, const gsl_vector*,
                      const gsl_vector*);
  static const auto real = reinterpret_cast<Set>(dlsym(RTLD_NEXT, "gsl_multimin_fminimizer_set"));
  auto& counted = zelmo::bench::g_counted;
  counted.given = function;
  counted.counting = {zelmo::bench::countedValue, function->n, nullptr};
  return real(minimiser, &counted.counting, start, step);
}

namespace zelmo::bench {

struct Best {
  double seconds = 1e30;
  double evaluations = 0;
  double score = 0;

  /// \param[in] fit gives the score of its result
  void take(const std::function<double()>& fit) {
    g_counted.evaluations = 0;
    const auto begin = std::chrono::steady_clock::now();
    score = fit();
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
    seconds = std::min(seconds, passed.count());
    evaluations = static_cast<double>(g_counted.evaluations);
  }
};

/// Counters: `faster` is the plain fit's time over the library's, `faster_per_evaluation` the same
/// for one evaluation, since the two descents part where their sums differ in the last place.
inline void compare(benchmark::State& state, double points, const std::function<double()>& fit,
                    const std::function<double()>& plain, const std::function<double()>& peer) {
  Best own;
  Best other;
  Best tiny;
  for ([[maybe_unused]] auto _ : state) {
    own.take(fit);
    state.PauseTiming();
    other.take(plain);
    if (peer) tiny.take(peer);
    state.ResumeTiming();
  }
  const auto per_evaluation = [points](const Best& b) {
    return b.seconds * 1e9 / (points * b.evaluations);
  };
  state.counters["ms"] = own.seconds * 1e3;
  state.counters["plain_ms"] = other.seconds * 1e3;
  if (peer) state.counters["tiny_solver_ms"] = tiny.seconds * 1e3;
  state.counters["evaluations"] = own.evaluations;
  state.counters["plain_evaluations"] = other.evaluations;
  state.counters["ns_per_point"] = per_evaluation(own);
  state.counters["plain_ns_per_point"] = per_evaluation(other);
  state.counters["faster"] = other.seconds / own.seconds;
  state.counters["faster_per_evaluation"] = per_evaluation(other) / per_evaluation(own);
  state.counters["score_ratio"] = own.score / other.score;
}

/// Sum of \p share of each residual, one point after the other.
template <typename Model, int kFloats, typename Share>
double plainSum(const std::vector<float>& points, const double* params, Share share) {
  const Model model(params);
  double sum = 0;
  for (std::size_t i = 0; i < points.size(); i += kFloats) sum += share(model(&points[i]));
  return sum;
}

#ifdef ZELMO_WITH_CERES
template <template <typename> class Model, int kParams, int kFloats>
struct TinyFunctor {
  const std::vector<float>& points;

  int NumResiduals() const { return static_cast<int>(points.size()) / kFloats; }
  template <typename T>
  bool operator()(const T* params, T* residuals) const {
    const Model<T> model(params);
    for (std::size_t i = 0; i < points.size(); i += kFloats) {
      residuals[i / kFloats] = model(&points[i]);
    }
    return true;
  }
};
#endif

/// Least squares by Ceres' small solver with automatic derivatives, for orientation: another optimum
/// and far fewer evaluations. \return nothing to run where Ceres is not installed
template <template <typename> class Model, int kParams, int kFloats>
std::function<double()> tinySolver(const std::vector<float>& points,
                                   const std::vector<double>& start) {
#ifdef ZELMO_WITH_CERES
  return [&points, start] {
    using Functor = TinyFunctor<Model, kParams, kFloats>;
    const Functor functor{points};
    const ceres::TinySolverAutoDiffFunction<Functor, Eigen::Dynamic, kParams> function(functor);
    ceres::TinySolver<std::decay_t<decltype(function)>> solver;
    Eigen::Matrix<double, kParams, 1> q(start.data());
    return static_cast<double>(solver.Solve(function, &q).final_cost);
  };
#else
  return {};
#endif
}

}  // namespace zelmo::bench
