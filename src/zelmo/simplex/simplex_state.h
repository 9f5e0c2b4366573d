// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>

#include <gsl/gsl_multimin.h>
#include <gsl/gsl_vector.h>

/// Not for hosts: what public classes need of the kernels to have their layout.
namespace zelmo::internal {

/// What every object that fits by simplex holds, and nothing else: no result stays in it. It is the
/// object's first member and the GSL function is its own first member, so the object's address is
/// also the function's. Copies share the minimiser and both vectors and may be used in turn.
/// \note Part of the fit classes' layout; its members are not for hosts.
class SimplexState {
 public:
  /// What a descent makes small: reads the parameters from the vector and the points through the
  /// pointer, which is the data of the descent.
  using Objective = double (*)(const gsl_vector*, void*);

  /// \param[in] dimension number of parameters, at most 8 for the descent with one step
  /// \param[in] max_iterations most steps of a descent
  /// \param[in] objective what the descents make small, until setObjective replaces it
  SimplexState(std::size_t dimension, int max_iterations, Objective objective);

  /// Replaces the objective for all later descents.
  void setObjective(Objective objective) { m_function.f = objective; }
  /// Replaces the most steps of a descent, for all later ones.
  void setMaxIter(int max_iterations) { m_max_iterations = max_iterations; }

  /// One descent of the current objective over \p data.
  ///
  /// \param[in] data what the objective reads, of whatever form; its address stays behind in the object
  /// \param[in,out] params double[dimension], the start; the end point when the descent could begin,
  ///     and unchanged when the objective is not finite at the start
  /// \param[in] steps double[dimension], first step in each direction
  /// \return number of steps made, 0 when the descent could not begin
  int descend(const void* data, double* params, const double* steps);

  /// The same with one first step for all directions.
  ///
  /// \param[in] data as above
  /// \param[in,out] params double[dimension] as above, at most 8
  /// \param[in] step first step in every direction
  /// \return as above
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
