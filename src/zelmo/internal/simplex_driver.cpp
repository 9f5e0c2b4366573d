// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/simplex_driver.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <new>

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

/// Stands between a minimiser and its objective and keeps a fingerprint of points and values.
struct Watched {
  const gsl_multimin_function* given;
  std::uint64_t fingerprint = 0;

  void note(double value) {
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    fingerprint = (fingerprint ^ bits) * 0x9E3779B97F4A7C15U;
    fingerprint ^= fingerprint >> 29;
  }
  static double value(const gsl_vector* v, void* self) {
    auto& watched = *static_cast<Watched*>(self);
    const double value = watched.given->f(v, watched.given->params);
    for (std::size_t i = 0; i < v->size; ++i) watched.note(gsl_vector_get(v, i));
    watched.note(value);
    return value;
  }
};

/// Finds out that a descent goes round in circles. Where the objective has come down to its rounding,
/// two highest corners can tie; GSL then reflects the one and the other for ever, and only the limit
/// ends it.
class Recurrence {
 public:
  /// \param[in] fingerprint of one step: all it evaluated, and the size it left
  /// \return how many steps a round has, once the same round was seen so often that every corner has
  ///     its final place; else 0
  int add(std::uint64_t fingerprint) {
    int found = 0;
    for (std::size_t period = kLongestRound; period >= 1; --period) {
      const bool same = m_last[(m_steps + kLongestRound - period) % kLongestRound] == fingerprint;
      m_repeats[period - 1] = same ? m_repeats[period - 1] + 1 : 0;
      if (m_repeats[period - 1] >= kCertain) found = static_cast<int>(period);
    }
    m_last[m_steps++ % kLongestRound] = fingerprint;
    return found;
  }

 private:
  static constexpr std::size_t kLongestRound = 4;
  static constexpr int kCertain = 96;  // steps; many more rounds than a simplex has corners

  std::size_t m_steps = 0;
  std::array<std::uint64_t, kLongestRound> m_last = {};
  std::array<int, kLongestRound> m_repeats = {};
};

}  // namespace

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

std::shared_ptr<gsl_multimin_fminimizer> makeMinimiser(std::size_t dimension) {
  const GslErrorsOff errors_off;
  auto* const made = gsl_multimin_fminimizer_alloc(gsl_multimin_fminimizer_nmsimplex, dimension);
  if (made == nullptr) throw std::bad_alloc();
  return {made, gsl_multimin_fminimizer_free};
}

std::shared_ptr<gsl_vector> makeGslVector(std::size_t size) {
  const GslErrorsOff errors_off;
  gsl_vector* const made = gsl_vector_alloc(size);
  if (made == nullptr) throw std::bad_alloc();
  return {made, gsl_vector_free};
}

int descend(gsl_multimin_function* function, gsl_multimin_fminimizer* minimiser,
            const gsl_vector* start, const gsl_vector* step, int max_iterations) {
  const GslErrorsOff errors_off;
  Watched watched{function};
  gsl_multimin_function watching = {Watched::value, function->n, &watched};
  if (gsl_multimin_fminimizer_set(minimiser, &watching, start, step) != GSL_SUCCESS) return 0;
  Recurrence recurrence;
  int iterations = 0;
  int status = GSL_CONTINUE;
  do {
    ++iterations;
    watched.fingerprint = 0;
    if (gsl_multimin_fminimizer_iterate(minimiser) == GSL_ENOPROG) break;
    const double size = gsl_multimin_fminimizer_size(minimiser);
    status = gsl_multimin_test_size(size, kSimplexSize);
    watched.note(size);
    // Whole rounds end where they began: the steps left are counted without being made.
    const int round = recurrence.add(watched.fingerprint);
    if (round > 0) iterations += (max_iterations - iterations) / round * round;
  } while (status == GSL_CONTINUE && iterations < max_iterations);
  return iterations;
}

}  // namespace zelmo::internal
