// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <vector>

#include <gsl/gsl_errno.h>
#include <gsl/gsl_multimin.h>

/// \file
/// GSL's simplex over a plain loop: what a user would write. The same start, steps, limit and stop
/// as the library's fits.

namespace zelmo::bench {

/// \param[in] objective double(const double* params)
/// \param[in,out] params start and end
template <typename Objective>
int plainSimplex(Objective objective, std::vector<double>& params, double step,
                 int max_iterations) {
  const std::size_t n = params.size();
  gsl_multimin_function function;
  function.n = n;
  function.params = &objective;
  function.f = [](const gsl_vector* v, void* data) {
    return (*static_cast<Objective*>(data))(gsl_vector_const_ptr(v, 0));
  };
  gsl_vector* start = gsl_vector_alloc(n);
  gsl_vector* steps = gsl_vector_alloc(n);
  for (std::size_t i = 0; i < n; ++i) gsl_vector_set(start, i, params[i]);
  gsl_vector_set_all(steps, step);
  gsl_multimin_fminimizer* minimiser =
      gsl_multimin_fminimizer_alloc(gsl_multimin_fminimizer_nmsimplex, n);
  gsl_multimin_fminimizer_set(minimiser, &function, start, steps);
  int iterations = 0;
  int status = GSL_CONTINUE;
  do {
    ++iterations;
    if (gsl_multimin_fminimizer_iterate(minimiser) == GSL_ENOPROG) break;
    status = gsl_multimin_test_size(gsl_multimin_fminimizer_size(minimiser), 1e-12);
  } while (status == GSL_CONTINUE && iterations < max_iterations);
  for (std::size_t i = 0; i < n; ++i) params[i] = gsl_vector_get(minimiser->x, i);
  gsl_multimin_fminimizer_free(minimiser);
  gsl_vector_free(start);
  gsl_vector_free(steps);
  return iterations;
}

}  // namespace zelmo::bench
