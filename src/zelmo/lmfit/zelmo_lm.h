// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

#include "zelmo/lmfit/filter.h"

/// Room [lmfit](docs/rooms/lmfit.md): damped fits with filters.
namespace zelmolm {

/// The base of the fits by damped least squares.
///
/// A fit object holds nothing but its last result: it may be copied and used again for any number of
/// fits. One object serves one thread at a time; different objects may fit at once.
class ZELMO_EXPORT ZelmoLM {
 public:
  /// Fills hx[0..n-1] with the residuals at the parameters p[0..m-1]; \c adata is the point array.
  using ResidualFunction = void (*)(double* p, double* hx, int m, int n, void* adata);

 protected:
  /// Drives the residuals of residualFunction to zero, by at most 10000 passes.
  ///
  /// \param[in] points float[3 * count] for the fits of this library: handed on to the residual
  ///     function, which alone reads it
  /// \param[in] count number of residuals
  /// \param[in,out] params double[paramCount]: start, then solution
  /// \param measurements not read
  /// \param[in] paramCount number of parameters
  /// \return the number of passes, or -1 when there are fewer residuals than parameters, when the
  ///     residuals are not finite, when the system is almost singular, and after an exception, which
  ///     is reported by the line "catch error" on the standard output
  int Fit_LM(const float* points, const int& count, double* params, double* measurements,
             const int& paramCount);

  /// The residuals that Fit_LM drives to zero. Each fit sets it before the call; a copy takes it
  /// along.
  ResidualFunction residualFunction = nullptr;
};

}  // namespace zelmolm
