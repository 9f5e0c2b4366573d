// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <functional>
#include <memory>
#include <vector>

#include <dlfcn.h>
#include <gsl/gsl_errno.h>
#include <gsl/gsl_multimin.h>
#ifdef ZELMO_WITH_CERES
#include <ceres/tiny_solver.h>
#include <ceres/tiny_solver_autodiff_function.h>
#endif

/// \file
/// The peers of fits: GSL's simplex over a plain loop, which is what a user would write, with the same
/// start, steps, limit and stop as the library's, and Ceres' small solver. Library and plain loop both
/// go through gsl_multimin_fminimizer_set; the one defined here stands before GSL's in this program
/// and counts the evaluations of whoever calls it, the library among them.

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

/// Evaluations since it was last called.
inline double takeEvaluations() {
  const auto taken = static_cast<double>(g_counted.evaluations);
  g_counted.evaluations = 0;
  return taken;
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

/// \param[in] objective double(const double* params)
/// \param[in,out] params start and end
/// \param[in] steps one per parameter
template <typename Objective>
void plainSimplex(Objective objective, std::vector<double>& params,
                  const std::vector<double>& steps, int max_iterations = 10000) {
  using Vector = std::unique_ptr<gsl_vector, decltype(&gsl_vector_free)>;
  const std::size_t n = params.size();
  gsl_multimin_function function;
  function.n = n;
  function.params = &objective;
  function.f = [](const gsl_vector* v, void* data) {
    return (*static_cast<Objective*>(data))(gsl_vector_const_ptr(v, 0));
  };
  const Vector start(gsl_vector_alloc(n), gsl_vector_free);
  const Vector step(gsl_vector_alloc(n), gsl_vector_free);
  for (std::size_t i = 0; i < n; ++i) {
    gsl_vector_set(start.get(), i, params[i]);
    gsl_vector_set(step.get(), i, steps[i]);
  }
  const std::unique_ptr<gsl_multimin_fminimizer, decltype(&gsl_multimin_fminimizer_free)> minimiser(
      gsl_multimin_fminimizer_alloc(gsl_multimin_fminimizer_nmsimplex, n),
      gsl_multimin_fminimizer_free);
  gsl_multimin_fminimizer_set(minimiser.get(), &function, start.get(), step.get());
  int iterations = 0;
  int status = GSL_CONTINUE;
  do {
    ++iterations;
    if (gsl_multimin_fminimizer_iterate(minimiser.get()) == GSL_ENOPROG) break;
    status = gsl_multimin_test_size(gsl_multimin_fminimizer_size(minimiser.get()), 1e-12);
  } while (status == GSL_CONTINUE && iterations < max_iterations);
  for (std::size_t i = 0; i < n; ++i) params[i] = gsl_vector_get(minimiser->x, i);
}

/// The same with one step for all parameters.
template <typename Objective>
void plainSimplex(Objective objective, std::vector<double>& params, double step,
                  int max_iterations = 10000) {
  plainSimplex(objective, params, std::vector<double>(params.size(), step), max_iterations);
}

/// Sum of \p share of each residual, one point after the other.
template <typename Model, int kFloats, typename Share>
double plainSum(const std::vector<float>& points, const double* params, Share share) {
  const Model model(params);
  double sum = 0;
  for (std::size_t i = 0; i < points.size(); i += kFloats) sum += share(model(&points[i]));
  return sum;
}
// Function objects, so that the plain loops call nothing by pointer.
struct AbsoluteShare {
  double operator()(double e) const { return std::fabs(e); }
};
struct SquareShare {
  double operator()(double e) const { return e * e; }
};
constexpr AbsoluteShare absolute;
constexpr SquareShare square;

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

/// Least squares by Ceres' small solver with automatic derivatives.
template <template <typename> class Model, int kParams, int kFloats>
double tinySolver(const std::vector<float>& points, const std::vector<double>& start) {
  using Functor = TinyFunctor<Model, kParams, kFloats>;
  const Functor functor{points};
  const ceres::TinySolverAutoDiffFunction<Functor, Eigen::Dynamic, kParams> function(functor);
  ceres::TinySolver<std::decay_t<decltype(function)>> solver;
  Eigen::Matrix<double, kParams, 1> q(start.data());
  return static_cast<double>(solver.Solve(function, &q).final_cost);
}
#endif

}  // namespace zelmo::bench
