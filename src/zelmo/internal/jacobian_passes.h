// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <vector>

/// \file
/// The walks over residuals and Jacobian that a damped least-squares pass consists of.

namespace zelmo::internal {

/// Rows are padded to a multiple of this with zeros, in every array that the passes read.
constexpr int kRowPadding = 4;

constexpr std::ptrdiff_t paddedRows(int n) {
  return (static_cast<std::ptrdiff_t>(n) + kRowPadding - 1) / kRowPadding * kRowPadding;
}

/// A Jacobian of n rows and m columns, stored by columns of paddedRows(n) doubles each.
struct JacobianView {
  double* data;
  int m;
  int n;
  double* column(int j) const { return data + j * paddedRows(n); }
};

/// A rank-one correction of a Jacobian: after it, J maps \p step onto the change of f.
struct RankOneUpdate {
  const double* f_from;  ///< double[paddedRows(n)]
  const double* f_to;    ///< double[paddedRows(n)]
  const double* step;    ///< double[m]
  double step_square;    ///< |step|^2
};

/// Sum of (x - f)^2; \p x null means zeros. Four partial sums, from the last whole block of eight
/// rows upwards in the array, then the odd rows.
double errorSquareSum(const double* x, const double* f, int n);

/// column = (column - base) * factor.
void differenceColumn(double* column, const double* base, double factor, int n);

/// What normalEquations needs between calls, so that a pass allocates nothing.
struct NormalEquationScratch {
  std::vector<double> lanes;
};

/// A = J^T J, all of it, and g = J^T (x - f), after the correction \p update of J where there is one.
/// Small problems sum row by row (up to 1024 entries of J from the last row to the first, up to 4096
/// from the first to the last), others in blocks of rows and fixed lanes, the correction, J^T J and
/// J^T e of a block in one go.
/// \param[in] x double[n] or null
/// \param[in] f double[paddedRows(n)]
/// \param[out] a double[m * m]
/// \param[out] g double[m]
void normalEquations(const JacobianView& jacobian, const RankOneUpdate* update, const double* x,
                     const double* f, double* a, double* g, NormalEquationScratch& scratch);

}  // namespace zelmo::internal
