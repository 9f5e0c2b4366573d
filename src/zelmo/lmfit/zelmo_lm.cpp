// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/lmfit/zelmo_lm.h"

#include "zelmo/internal/console.h"
#include "zelmo/internal/damped_solver.h"

namespace zelmolm {
namespace {

constexpr int kMaxPasses = 10000;

// Initial damping, thresholds of gradient, step and squared error, smallest difference step.
constexpr double kSolverOptions[5] = {1e-3, 1e-15, 1e-15, 1e-20, 1e-6};

}  // namespace

int ZelmoLM::Fit_LM(const float* points, const int& count, double* params, double* /*measurements*/,
                    const int& paramCount) {
  try {
    // No measurements are measurements of zero: the residuals themselves are driven to zero. The
    // solver hands the points on as they are; residual functions only read them.
    return zelmo::internal::dlevmar_dif(residualFunction, params, nullptr, paramCount, count,
                                        kMaxPasses, kSolverOptions, nullptr, nullptr, nullptr,
                                        const_cast<float*>(points));
  } catch (...) {
    zelmo::internal::ConsoleText() << "catch error\n";
    return -1;
  }
}

}  // namespace zelmolm
