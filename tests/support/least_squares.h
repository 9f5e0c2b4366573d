// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/long_double_geometry.h"

namespace zelmo::test {

/// Solves the symmetric positive definite a x = b in place by elimination; b becomes x.
inline void solveInPlace(std::vector<std::vector<Real>> a, std::vector<Real>& b) {
  const std::size_t m = b.size();
  for (std::size_t i = 0; i < m; ++i) {
    for (std::size_t row = i + 1; row < m; ++row) {
      const Real factor = a[row][i] / a[i][i];
      for (std::size_t k = i; k < m; ++k) a[row][k] -= factor * a[i][k];
      b[row] -= factor * b[i];
    }
  }
  for (std::size_t i = m; i-- > 0;) {
    for (std::size_t k = i + 1; k < m; ++k) b[i] -= a[i][k] * b[k];
    b[i] /= a[i][i];
  }
}

/// The parameters near \p p with the smallest sum of squares of residual(p, i), i = 0..n-1, by Newton
/// steps on exact-looking central differences, damped while they do not gain. A trace of damping holds
/// parameters without influence.
template <typename Residual>
std::vector<Real> leastSquares(std::vector<Real> p, int n, Residual residual) {
  const std::size_t m = p.size();
  std::vector<Real> best, best_g, row(m), h(m);
  std::vector<std::vector<Real>> best_a;
  Real least = HUGE_VALL, damping = 1e-14L;
  for (int pass = 0; pass < 200; ++pass) {
    std::vector<std::vector<Real>> a(m, std::vector<Real>(m, 0));
    std::vector<Real> g(m, 0);
    Real scale = 0, sum = 0;
    for (std::size_t j = 0; j < m; ++j) h[j] = 1e-6L * (1 + std::fabs(p[j]));
    for (int i = 0; i < n; ++i) {
      for (std::size_t j = 0; j < m; ++j) {
        const Real kept = p[j];
        p[j] = kept + h[j];
        const Real above = residual(p, i);
        p[j] = kept - h[j];
        row[j] = (above - residual(p, i)) / (2 * h[j]);
        p[j] = kept;
      }
      const Real e = residual(p, i);
      sum += e * e;
      for (std::size_t j = 0; j < m; ++j) {
        g[j] -= row[j] * e;
        for (std::size_t k = 0; k < m; ++k) a[j][k] += row[j] * row[k];
        scale = std::max(scale, a[j][j]);
      }
    }
    const bool gains = !(sum >= least);
    damping = gains ? std::max(1e-13L, damping / 10) : damping * 100;
    if (gains) {
      least = sum;
      best = p;
      best_g = g;
      best_a = a;
    }
    a = best_a;
    g = best_g;
    for (std::size_t j = 0; j < m; ++j) a[j][j] += damping * scale;
    solveInPlace(std::move(a), g);
    Real step = 0;
    for (std::size_t j = 0; j < m; ++j) {
      p[j] = best[j] + g[j];
      step = std::max(step, std::fabs(g[j]));
    }
    if (step < 1e-13L) break;
  }
  return best;
}

}  // namespace zelmo::test
