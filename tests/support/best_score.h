// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/least_squares.h"

namespace zelmo::test {

/// What a fit minimises over signed distances e.
enum class Score { SquareSum, AbsSum, InscribedSum, LargestAbs, Inscribed, Circumscribed };

/// The score, and how far the worst point lies on the side that a one-sided score forbids.
struct Scored {
  Real value = 0, breach = 0;
};

inline Scored scoreOf(const std::vector<Real>& distances, Score score) {
  const bool inside = score == Score::InscribedSum || score == Score::Inscribed;
  const bool around = score == Score::Circumscribed;
  Scored s;
  for (const Real e : distances) {
    if (inside || around) s.breach = std::max(s.breach, around ? e : -e);
    Real share = around ? std::max(-e, Real{0}) : inside ? std::max(e, Real{0}) : std::fabs(e);
    if (score == Score::SquareSum) share *= share;
    if (score < Score::LargestAbs)
      s.value += share;
    else if (!(share <= s.value))
      s.value = share;  // a NaN stays
  }
  return s;
}

/// A linear program: offset + g . x >= 0 for every row. Newton steps along the central path.
struct Row {
  std::vector<Real> g;
  Real offset;
  Real at(const std::vector<Real>& x) const {
    Real sum = 0;
    for (std::size_t k = 0; k < x.size(); ++k) sum += g[k] * x[k];
    return sum;
  }
};

/// \param[in] x a point well inside all rows
/// \param[in] scale of the costs that matter
inline std::vector<Real> linearProgram(const std::vector<Real>& cost, const std::vector<Row>& rows,
                                       std::vector<Real> x, Real scale) {
  const std::size_t n = cost.size();
  for (Real mu = scale; mu > 1e-9L * scale; mu *= 0.1L) {
    for (int newton = 0; newton < 6; ++newton) {
      std::vector<std::vector<Real>> h(n, std::vector<Real>(n, 0));
      std::vector<Real> step(n);
      for (std::size_t k = 0; k < n; ++k) step[k] = -cost[k];
      for (const Row& row : rows) {
        const Real slack = row.offset + row.at(x);
        for (std::size_t r = 0; r < n; ++r) {
          if (row.g[r] == 0) continue;
          step[r] += mu * row.g[r] / slack;
          for (std::size_t c = 0; c < n; ++c) h[r][c] += mu * row.g[r] * row.g[c] / (slack * slack);
        }
      }
      solveInPlace(std::move(h), step);
      Real share = 1;
      for (const Row& row : rows) {
        const Real change = row.at(step);
        if (change < 0) share = std::min(share, -0.9L * (row.offset + row.at(x)) / change);
      }
      for (std::size_t k = 0; k < n; ++k) x[k] += share * step[k];
    }
  }
  return x;
}

/// The parameters near \p p with the smallest score of residual(p, i), i = 0..n-1: linear programs
/// over linearised distances, within a reach that follows their success. It knows nothing of any
/// descent.
/// \param[in] reach of the first step, per parameter
template <typename Residual>
std::vector<Real> bestScore(std::vector<Real> p, std::size_t n, Residual residual, Score score,
                            std::vector<Real> reach) {
  if (score == Score::SquareSum) return leastSquares(p, static_cast<int>(n), residual);
  const Real price = 1000 * static_cast<Real>(n);  // of a breach: more than it can gain
  const std::size_t m = p.size();
  const bool sums = score < Score::LargestAbs;
  // Variables: the step, the bounds that the score adds up, the bound of the forbidden side.
  std::vector<Real> cost(m, 0);
  cost.resize(m + (sums ? n : 1), 1);
  cost.push_back(price);
  const auto distancesAt = [&](const std::vector<Real>& q) {
    std::vector<Real> e(n);
    for (std::size_t i = 0; i < n; ++i) e[i] = residual(q, static_cast<int>(i));
    return e;
  };
  const auto merit = [&](const std::vector<Real>& q) {
    const Scored s = scoreOf(distancesAt(q), score);
    return s.value + price * s.breach;
  };
  for (int pass = 0; pass < 40 && reach[0] > 1e-9L; ++pass) {
    const auto e = distancesAt(p);
    std::vector<Row> rows;
    for (std::size_t k = 0; k < cost.size(); ++k) {
      std::vector<Real> g(cost.size(), 0);
      g[k] = 1;
      rows.push_back({g, k < m ? reach[k] : 0});
      g[k] = -1;
      if (k < m) rows.push_back({g, reach[k]});
    }
    Real widest = 0;
    for (std::size_t i = 0; i < n; ++i) {
      std::vector<Real> g(cost.size(), 0);
      for (std::size_t j = 0; j < m; ++j) {
        auto q = p;
        q[j] += 1e-7L;
        g[j] = (residual(q, static_cast<int>(i)) - e[i]) / 1e-7L;
      }
      for (const int sign : {1, -1}) {  // what is added up or forbidden above, and below
        const bool forbidden = sign > 0 ? score == Score::Circumscribed
                                        : score == Score::InscribedSum || score == Score::Inscribed;
        const std::size_t bound = forbidden ? cost.size() - 1 : sums ? m + i : m;
        Row row{g, -sign * e[i]};
        for (Real& value : row.g) value *= -sign;
        row.g[bound] += 1;
        rows.push_back(row);
      }
      widest = std::max(widest, std::fabs(e[i]));
    }
    std::vector<Real> x(cost.size(), 2 * widest + 1e-9L);
    std::fill_n(x.begin(), m, Real{0});
    x = linearProgram(cost, rows, x, widest);
    auto q = p;
    for (std::size_t j = 0; j < m; ++j) q[j] += x[j];
    const bool better = merit(q) < merit(p);
    if (better) p = q;
    for (Real& r : reach) r *= better ? 1 : 0.3L;
  }
  return p;
}

}  // namespace zelmo::test
