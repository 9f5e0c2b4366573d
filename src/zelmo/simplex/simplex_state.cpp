// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/simplex/simplex_state.h"

#include <type_traits>

#include "zelmo/internal/simplex_driver.h"

namespace zelmo::internal {

static_assert(std::is_standard_layout_v<SimplexState>,
              "the object's address must be that of its GSL function");

SimplexState::SimplexState(std::size_t dimension, int max_iterations, Objective objective)
    : m_function{objective, dimension, nullptr},
      m_minimiser(makeMinimiser(dimension)),
      m_max_iterations(max_iterations),
      m_start(makeGslVector(dimension)),
      m_step(makeGslVector(dimension)) {}

void SimplexState::setStartValue(const double* params) {
  for (std::size_t i = 0; i < m_function.n; ++i) gsl_vector_set(m_start.get(), i, params[i]);
}

int SimplexState::descend(const void* data, double* params, const double* steps) {
  for (std::size_t i = 0; i < m_function.n; ++i) gsl_vector_set(m_step.get(), i, steps[i]);
  setStartValue(params);
  // GSL hands the pointer back to the objective, which only reads through it.
  m_function.params = const_cast<void*>(data);
  const int iterations = internal::descend(&m_function, m_minimiser.get(), m_start.get(),
                                           m_step.get(), m_max_iterations);
  if (iterations > 0) {
    const gsl_vector* x = gsl_multimin_fminimizer_x(m_minimiser.get());
    for (std::size_t i = 0; i < m_function.n; ++i) params[i] = gsl_vector_get(x, i);
  }
  return iterations;
}

int SimplexState::descend(const void* data, double* params, double step) {
  constexpr std::size_t kMostParameters = 8;
  double steps[kMostParameters];
  for (double& s : steps) s = step;
  return descend(data, params, steps);
}

}  // namespace zelmo::internal
