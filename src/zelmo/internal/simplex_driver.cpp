// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/simplex_driver.h"

#include <mutex>

#include <gsl/gsl_errno.h>

namespace zelmo::internal {
namespace {

constexpr double kSimplexSize = 1e-12;

struct HandlerState {
  std::mutex mutex;
  int users = 0;
  gsl_error_handler_t* host = nullptr;
  gsl_error_handler_t* off = nullptr;
};

HandlerState& handlerState() {
  static HandlerState state;
  return state;
}

}  // namespace

std::shared_ptr<gsl_multimin_fminimizer> makeMinimiser(std::size_t dimension) {
  return {gsl_multimin_fminimizer_alloc(gsl_multimin_fminimizer_nmsimplex, dimension),
          gsl_multimin_fminimizer_free};
}

std::shared_ptr<gsl_vector> makeGslVector(std::size_t size) {
  return {gsl_vector_alloc(size), gsl_vector_free};
}

GslErrorsOff::GslErrorsOff() {
  HandlerState& state = handlerState();
  const std::lock_guard<std::mutex> lock(state.mutex);
  if (state.users++ > 0) return;
  state.host = gsl_set_error_handler_off();
  state.off = gsl_set_error_handler_off();
}

GslErrorsOff::~GslErrorsOff() {
  HandlerState& state = handlerState();
  const std::lock_guard<std::mutex> lock(state.mutex);
  if (--state.users > 0) return;
  gsl_error_handler_t* const current = gsl_set_error_handler(state.host);
  if (current != state.off) gsl_set_error_handler(current);
}

int descend(gsl_multimin_function* function, gsl_multimin_fminimizer* minimiser,
            const gsl_vector* start, const gsl_vector* step, int max_iterations) {
  const GslErrorsOff errors_off;
  if (gsl_multimin_fminimizer_set(minimiser, function, start, step) != GSL_SUCCESS) return 0;
  int iterations = 0;
  int status = GSL_CONTINUE;
  do {
    ++iterations;
    if (gsl_multimin_fminimizer_iterate(minimiser) == GSL_ENOPROG) break;
    status = gsl_multimin_test_size(gsl_multimin_fminimizer_size(minimiser), kSimplexSize);
  } while (status == GSL_CONTINUE && iterations < max_iterations);
  return iterations;
}

}  // namespace zelmo::internal
