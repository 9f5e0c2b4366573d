// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/jacobian_passes.h"

#include <algorithm>
#include <cstring>

#include "zelmo/internal/lanes.h"

namespace zelmo::internal {
namespace {

// Four rows at once. The vector type keeps the accumulators in registers at every width, and the
// lanes of a sum are the same four whatever the processor offers.
using Pack = double __attribute__((vector_size(8 * kRowPadding)));

// Up to this many entries of J the sums run row by row, from the last row to the first.
constexpr std::ptrdiff_t kBackwardEntries = 1024;

// Up to this many they run from the first row to the last: the order of a plain matrix product, which
// solves of this size are compared by. Beyond, lanes save time.
constexpr std::ptrdiff_t kSequentialEntries = 4096;

// Seven columns of a block and its errors fit the first-level cache.
constexpr std::ptrdiff_t kBlockRows = 256;

// Sums of one sweep over a column, as many as registers hold.
constexpr int kTile = 8;

ZELMO_ALWAYS_INLINE Pack load(const double* from) {
  Pack pack;
  std::memcpy(&pack, from, sizeof pack);
  return pack;
}

ZELMO_ALWAYS_INLINE void store(double* to, const Pack& pack) {
  std::memcpy(to, &pack, sizeof pack);
}

ZELMO_MULTIVERSION void updateRows(const JacobianView& jacobian, const RankOneUpdate& update,
                                   std::ptrdiff_t begin, std::ptrdiff_t end) {
  const int m = jacobian.m;
  const std::ptrdiff_t stride = paddedRows(jacobian.n);
  const double* step = update.step;
  for (std::ptrdiff_t i = begin; i < end; i += kRowPadding) {
    double* entry = jacobian.data + i;
    Pack predicted = {};
    for (int j = 0; j < m; ++j, entry += stride) predicted += load(entry) * step[j];
    const Pack change = load(update.f_to + i) - load(update.f_from + i);
    const Pack factor = (change - predicted) / update.step_square;
    entry = jacobian.data + i;
    for (int j = 0; j < m; ++j, entry += stride) store(entry, load(entry) + factor * step[j]);
  }
}

// Adds first * others[k] over the rows to the lanes of Width sums.
template <int Width>
ZELMO_ALWAYS_INLINE void addProducts(const double* first, const double* const* others,
                                     std::ptrdiff_t rows, double* lanes) {
  Pack sum[Width];
  for (int k = 0; k < Width; ++k) sum[k] = load(lanes + kRowPadding * k);
  for (std::ptrdiff_t i = 0; i < rows; i += kRowPadding) {
    const Pack entry = load(first + i);
    for (int k = 0; k < Width; ++k) sum[k] += entry * load(others[k] + i);
  }
  for (int k = 0; k < Width; ++k) store(lanes + kRowPadding * k, sum[k]);
}

ZELMO_ALWAYS_INLINE void addTile(int width, const double* first, const double* const* others,
                                 std::ptrdiff_t rows, double* lanes) {
  switch (width) {
    case 1:
      return addProducts<1>(first, others, rows, lanes);
    case 2:
      return addProducts<2>(first, others, rows, lanes);
    case 3:
      return addProducts<3>(first, others, rows, lanes);
    case 4:
      return addProducts<4>(first, others, rows, lanes);
    case 5:
      return addProducts<5>(first, others, rows, lanes);
    case 6:
      return addProducts<6>(first, others, rows, lanes);
    case 7:
      return addProducts<7>(first, others, rows, lanes);
    default:
      return addProducts<kTile>(first, others, rows, lanes);
  }
}

// Column j of a block against the columns j..m-1 and the errors, which stand as column m.
ZELMO_MULTIVERSION void addBlock(const JacobianView& jacobian, const double* errors,
                                 std::ptrdiff_t begin, std::ptrdiff_t rows, double* lanes) {
  const int m = jacobian.m;
  for (int j = 0; j < m; ++j) {
    for (int k = j; k <= m; k += kTile) {
      const int width = std::min(kTile, m + 1 - k);
      const double* others[kTile];
      for (int w = 0; w < width; ++w) {
        others[w] = k + w == m ? errors : jacobian.column(k + w) + begin;
      }
      addTile(width, jacobian.column(j) + begin, others, rows, lanes);
      lanes += static_cast<std::ptrdiff_t>(kRowPadding) * width;
    }
  }
}

ZELMO_MULTIVERSION void errorsOf(const double* x, const double* f, std::ptrdiff_t n, double* out) {
  if (x == nullptr) {
    for (std::ptrdiff_t i = 0; i < n; ++i) out[i] = -f[i];
  } else {
    for (std::ptrdiff_t i = 0; i < n; ++i) out[i] = x[i] - f[i];
  }
}

void sumInBlocks(const JacobianView& jacobian, const RankOneUpdate* update, const double* x,
                 const double* f, double* a, double* g, std::vector<double>& lanes) {
  const int m = jacobian.m;
  const std::size_t sums = static_cast<std::size_t>(m) * (static_cast<std::size_t>(m) + 3) / 2;
  lanes.assign(sums * kRowPadding, 0.0);
  double errors[kBlockRows];
  const std::ptrdiff_t padded = paddedRows(jacobian.n);
  for (std::ptrdiff_t begin = 0; begin < padded; begin += kBlockRows) {
    const std::ptrdiff_t rows = std::min(kBlockRows, padded - begin);
    const std::ptrdiff_t filled = std::min(rows, jacobian.n - begin);
    if (update != nullptr) updateRows(jacobian, *update, begin, begin + rows);
    errorsOf(x == nullptr ? nullptr : x + begin, f + begin, filled, errors);
    std::fill(errors + filled, errors + rows, 0.0);
    addBlock(jacobian, errors, begin, rows, lanes.data());
  }
  const double* lane = lanes.data();
  for (int j = 0; j < m; ++j) {
    for (int k = j; k <= m; ++k, lane += kRowPadding) {
      const double sum = (lane[0] + lane[1]) + (lane[2] + lane[3]);
      if (k == m) {
        g[j] = sum;
      } else {
        a[j * m + k] = a[k * m + j] = sum;
      }
    }
  }
}

void sumRowByRow(const JacobianView& jacobian, const double* x, const double* f, double* a,
                 double* g) {
  const int m = jacobian.m;
  const int n = jacobian.n;
  std::fill(a, a + static_cast<std::ptrdiff_t>(m) * m, 0.0);
  std::fill(g, g + m, 0.0);
  const std::ptrdiff_t stride = paddedRows(n);
  const bool backwards = static_cast<std::ptrdiff_t>(n) * m <= kBackwardEntries;
  for (int count = 0; count < n; ++count) {
    const int i = backwards ? n - 1 - count : count;
    const double error = x == nullptr ? -f[i] : x[i] - f[i];
    const double* row = jacobian.data + i;
    for (int j = 0; j < m; ++j) {
      const double entry = row[j * stride];
      for (int k = j; k < m; ++k) a[j * m + k] += entry * row[k * stride];
      g[j] += entry * error;
    }
  }
  for (int j = 0; j < m; ++j) {
    for (int k = 0; k < j; ++k) a[j * m + k] = a[k * m + j];
  }
}

}  // namespace

ZELMO_MULTIVERSION double errorSquareSum(const double* x, const double* f, int n) {
  constexpr int kBlock = 8;
  const int whole = n - n % kBlock;
  Pack sum = {};
  for (int i = whole - kRowPadding; i >= 0; i -= kRowPadding) {
    const Pack error = x == nullptr ? load(f + i) : load(x + i) - load(f + i);
    sum += error * error;
  }
  // The highest row of a block belongs to the first partial sum.
  double partial[4] = {sum[3], sum[2], sum[1], sum[0]};
  for (int i = whole; i < n; ++i) {
    const double error = x == nullptr ? f[i] : x[i] - f[i];
    partial[(7 - (n - i)) % 4] += error * error;
  }
  return ((partial[0] + partial[1]) + partial[2]) + partial[3];
}

ZELMO_MULTIVERSION void differenceColumn(double* column, const double* base, double factor, int n) {
  for (int i = 0; i < n; ++i) column[i] = (column[i] - base[i]) * factor;
}

void normalEquations(const JacobianView& jacobian, const RankOneUpdate* update, const double* x,
                     const double* f, double* a, double* g, NormalEquationScratch& scratch) {
  if (static_cast<std::ptrdiff_t>(jacobian.n) * jacobian.m > kSequentialEntries) {
    sumInBlocks(jacobian, update, x, f, a, g, scratch.lanes);
    return;
  }
  if (update != nullptr) updateRows(jacobian, *update, 0, paddedRows(jacobian.n));
  sumRowByRow(jacobian, x, f, a, g);
}

}  // namespace zelmo::internal
