// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// \file
/// The coordinates of a block of points, one array each. For loops over interleaved triples g++ has
/// vector code from AVX2 on only; over these arrays it has it at every width.

#include <cstring>

#include "zelmo/internal/lanes.h"

namespace zelmo::internal {

/// Points in a block: a multiple of kLanes, so that point k of a block belongs to lane k % kLanes.
constexpr int kBlock = 64;

template <typename View>
class PointBlock;

template <>
class PointBlock<PointView> {
 public:
  /// \param[in] p the block's 3 kBlock floats
  ZELMO_ALWAYS_INLINE void load(const float* p) {
    for (int i = 0; i < kBlock; i += 4, p += 12) {
      Four a, b, c;
      std::memcpy(&a, p, sizeof a);                               // x0 y0 z0 x1
      std::memcpy(&b, p + 4, sizeof b);                           // y1 z1 x2 y2
      std::memcpy(&c, p + 8, sizeof c);                           // z2 x3 y3 z3
      const Four ab = __builtin_shufflevector(a, b, 1, 2, 4, 5);  // y0 z0 y1 z1
      const Four bc = __builtin_shufflevector(b, c, 2, 3, 5, 6);  // x2 y2 x3 y3
      const Four x = __builtin_shufflevector(a, bc, 0, 3, 4, 6);
      const Four y = __builtin_shufflevector(ab, bc, 0, 2, 5, 7);
      const Four z = __builtin_shufflevector(ab, c, 1, 3, 4, 7);
      std::memcpy(m_x + i, &x, sizeof x);
      std::memcpy(m_y + i, &y, sizeof y);
      std::memcpy(m_z + i, &z, sizeof z);
    }
  }
  template <typename Term>
  ZELMO_ALWAYS_INLINE double termAt(const Term& term, int i) const {
    return term(m_x[i], m_y[i], m_z[i]);
  }

 private:
  typedef float Four __attribute__((vector_size(16)));  // NOLINT(modernize-use-using): an attribute

  alignas(32) float m_x[kBlock], m_y[kBlock], m_z[kBlock];
};

template <>
class PointBlock<PlanarView> {
 public:
  /// \param[in] p the block's 2 kBlock floats
  ZELMO_ALWAYS_INLINE void load(const float* p) {
    for (int i = 0; i < kBlock; ++i) {
      m_x[i] = p[2 * i];
      m_y[i] = p[2 * i + 1];
    }
  }
  template <typename Term>
  ZELMO_ALWAYS_INLINE double termAt(const Term& term, int i) const {
    return term(m_x[i], m_y[i]);
  }

 private:
  alignas(32) float m_x[kBlock], m_y[kBlock];
};

/// \p term of every point of a block.
/// \param[out] values double[kBlock]
template <typename View, typename Term>
ZELMO_ALWAYS_INLINE void blockTerms(const PointBlock<View>& at, const Term& term,
                                    double* __restrict values) {
  ZELMO_LANE_LOOP for (int i = 0; i < kBlock; ++i) values[i] = at.termAt(term, i);
}

/// Adds the values of a block, each in its lane.
template <typename Stored>
ZELMO_ALWAYS_INLINE void addBlock(const Stored* values, double* __restrict sum) {
  ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) {
    double running = sum[k];
    for (int j = 0; j < kBlock; j += kLanes) running += values[j + k];
    sum[k] = running;
  }
}

}  // namespace zelmo::internal
