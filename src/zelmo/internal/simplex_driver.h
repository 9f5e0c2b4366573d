// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include <gsl/gsl_multimin.h>
#include <gsl/gsl_vector.h>

/// \file
/// The one descent by GSL's downhill simplex, for all fits that use it.

namespace zelmo::internal {

/// GSL objects with shared ownership: copies of a fit object use the same ones, and the last frees
/// them. Without memory they throw std::bad_alloc; GSL's own handler would end the process.
std::shared_ptr<gsl_multimin_fminimizer> makeMinimiser(std::size_t dimension);
std::shared_ptr<gsl_vector> makeGslVector(std::size_t size);

/// While one of these lives, GSL's error handler is off: GSL's own handler ends the process, and a
/// NaN among the points is enough to reach it. The last one to go, on whatever thread, gives the
/// host its handler back, unless the host has set another one in the meantime.
/// \note The handler is one for the process: a host that uses GSL on another thread at the same
///     moment has its handler off, too.
class GslErrorsOff {
 public:
  GslErrorsOff();
  ~GslErrorsOff();
  GslErrorsOff(const GslErrorsOff&) = delete;
  GslErrorsOff& operator=(const GslErrorsOff&) = delete;
};

/// Steps the simplex until its size falls below 1e-12, GSL reports no progress, or \p max_iterations
/// steps are made. The end point stands in the minimiser's x. A descent that repeats itself is not
/// followed to the limit: end point and number of steps are those it would have come to.
/// \return the number of steps; 0 when the minimiser refused the start (the objective is not finite
///     at a corner of the first simplex), and then x is not to be used
int descend(gsl_multimin_function* function, gsl_multimin_fminimizer* minimiser,
            const gsl_vector* start, const gsl_vector* step, int max_iterations);

}  // namespace zelmo::internal
