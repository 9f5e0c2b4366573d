// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>

#include <gsl/gsl_multimin.h>
#include <gsl/gsl_vector.h>

namespace zelmo::internal {

/// What every object that fits by simplex holds, and nothing else: no result stays in it. It is the
/// object's first member and the GSL function is its own first member, so the object's address is
/// also the function's. Copies share the minimiser and both vectors and may be used in turn.
/// \note Part of the fit classes' layout; its members are not for hosts.
class SimplexState {
 public:
  using Objective = double (*)(const gsl_vector*, void*);

  SimplexState(std::size_t dimension, int max_iterations, Objective objective);

  void setObjective(Objective objective) { m_function.f = objective; }
  void setMaxIter(int max_iterations) { m_max_iterations = max_iterations; }

  /// One descent of the current objective over \p data.
  ///
  /// \param[in] data what the objective reads; its address stays behind in the object
  /// \param[in,out] params double[dimension], the start; the end point when the descent could begin,
  ///     and unchanged when the objective is not finite at the start
  /// \param[in] steps double[dimension], first step in each direction
  /// \return number of steps made, 0 when the descent could not begin
  int descend(const void* data, double* params, const double* steps);

  /// The same with one first step for all directions.
  int descend(const void* data, double* params, double step);

 private:
  void setStartValue(const double* params);

  gsl_multimin_function m_function;
  std::shared_ptr<gsl_multimin_fminimizer> m_minimiser;
  int m_max_iterations;
  std::shared_ptr<gsl_vector> m_start;
  std::shared_ptr<gsl_vector> m_step;
};

}  // namespace zelmo::internal
