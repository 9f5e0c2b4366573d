// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelmo::internal {

/// Fills hx[0..n-1] with the model's values at the parameters p[0..m-1].
using ResidualFunction = void (*)(double* p, double* hx, int m, int n, void* adata);

/// Why a solve ended: info[6].
enum class SolverStop : int {
  None = 0,
  GradientSmall = 1,  ///< largest |g| <= opts[1]
  StepSmall = 2,      ///< |D|^2 <= opts[2]^2 |p|^2
  PassLimit = 3,      ///< itmax passes are done
  AlmostSingular = 4,
  DampingLimit = 5,  ///< about thirty refused steps in a row
  ErrorSmall = 6,    ///< sum of squares <= opts[3]
  NotFinite = 7,     ///< the sum of squares at the start or at a trial point is not finite
};

/// Minimises the sum of (x - f(p))^2 by damped least squares with a difference Jacobian that rank-one
/// updates keep up to date between renewals.
///
/// Silent, reentrant, never ends the process. n * m <= 4096 sums in plain row order, larger problems
/// in fixed lanes: the same input gives the same bits either way.
///
/// \param[in] func the model; called with \p p itself for the start and the differences (entries are
///     changed in place and put back) and with a private array for trial points
/// \param[in,out] p double[m]: start, then solution; a refused step never shows in it
/// \param[in] x double[n]: measurements; null means zeros
/// \param[in] m number of parameters
/// \param[in] n number of measurements, at least \p m
/// \param[in] itmax most passes; 0 or less evaluates the start only
/// \param[in] opts double[5], or null for 1e-3, 1e-17, 1e-17, 1e-17, 1e-6: initial damping relative to
///     the largest diagonal entry, thresholds of gradient, step and squared error, smallest difference
///     step (negative: central differences of that size)
/// \param[out] info double[10], or null: squared error at the start and at the end, largest |g|,
///     |D|^2 of the last solved system (the largest double if there was none), damping over the
///     largest diagonal entry, passes, SolverStop, evaluations, difference Jacobians, linear systems
/// \param work not used; buffers are allocated for the call
/// \param[out] covar double[m * m], or null: squared error / (n - rank) times the pseudoinverse of
///     J^T J, row-major; NaN where J^T J is not finite
/// \param adata handed on to \p func
/// \return the number of passes (0 is a success); -1 when n < m or m < 1 (then nothing else is
///     touched), when memory is short, and for the stops AlmostSingular and NotFinite
/// Callers: zelmolm::ZelmoLM, tube tracing.
int dlevmar_dif(ResidualFunction func, double* p, const double* x, int m, int n, int itmax,
                const double* opts, double* info, double* work, double* covar, void* adata);

}  // namespace zelmo::internal
