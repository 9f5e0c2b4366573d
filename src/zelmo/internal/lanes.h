// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// \file
/// Loops over points in a fixed number of lanes.
///
/// A double sum over points runs in kLanes partial sums that are added pairwise at the end. Point i
/// always goes to lane i % kLanes, so the result has the same bits whatever vector width the
/// processor offers. A kernel is an ordinary function in a source file, marked ZELMO_MULTIVERSION,
/// whose body calls one of the templates below with a small always-inline functor:
///
///     struct PlaneDistance {
///       double a, b, c, d;
///       ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const { ... }
///     };
///     ZELMO_MULTIVERSION double planeAbsSum(const PointView& points, const double* p) {
///       return laneSum(points, Absolute<PlaneDistance>{{p[0], p[1], p[2], p[3]}});
///     }
///
/// Lambdas and functions that are not always-inline would stay out of the widened version.
/// Never include headers of PCL or Eigen in a source file that holds such kernels.

#include <cmath>

#include "zelmo/internal/array_view.h"

#define ZELMO_ALWAYS_INLINE inline __attribute__((always_inline))

// g++ resolves the widths at load time. Under ThreadSanitizer the resolver crashes before main, and
// clang 14 has no such attribute for C++.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_THREAD__)
#define ZELMO_MULTIVERSION __attribute__((target_clones("avx2", "default")))
#else
#define ZELMO_MULTIVERSION
#endif

// Keeps a loop over lanes a loop until the vectoriser has seen it; unrolled before, it stays scalar.
#if defined(__clang__)
#define ZELMO_LANE_LOOP
#else
#define ZELMO_LANE_LOOP _Pragma("GCC unroll 1")
#endif

namespace zelmo::internal {

constexpr int kLanes = 8;

/// Adds the lanes pairwise, always in this order.
ZELMO_ALWAYS_INLINE double addLanes(const double* lane) {
  return ((lane[0] + lane[1]) + (lane[2] + lane[3])) + ((lane[4] + lane[5]) + (lane[6] + lane[7]));
}

/// Sum of term(x, y, z) over all points.
template <typename Term>
ZELMO_ALWAYS_INLINE double laneSum(const PointView& points, const Term& given_term) {
  const Term term = given_term;
  double lane[kLanes] = {};
  const float* p = points.data();
  const int count = points.count();
  int i = 0;
  for (; i + kLanes <= count; i += kLanes, p += 3 * kLanes) {
    ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) {
      lane[k] += term(p[3 * k], p[3 * k + 1], p[3 * k + 2]);
    }
  }
  for (int k = 0; i < count; ++i, ++k, p += 3) lane[k] += term(p[0], p[1], p[2]);
  return addLanes(lane);
}

/// Largest of \p floor and term(x, y, z) over all points by strict comparison: a NaN is passed over.
template <typename Term>
ZELMO_ALWAYS_INLINE double laneMax(const PointView& points, const Term& given_term, double floor) {
  const Term term = given_term;
  double lane[kLanes];
  for (int k = 0; k < kLanes; ++k) lane[k] = floor;
  const float* p = points.data();
  const int count = points.count();
  int i = 0;
  for (; i + kLanes <= count; i += kLanes, p += 3 * kLanes) {
    ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) {
      const double value = term(p[3 * k], p[3 * k + 1], p[3 * k + 2]);
      lane[k] = value > lane[k] ? value : lane[k];
    }
  }
  for (int k = 0; i < count; ++i, ++k, p += 3) {
    const double value = term(p[0], p[1], p[2]);
    lane[k] = value > lane[k] ? value : lane[k];
  }
  double largest = lane[0];
  for (int k = 1; k < kLanes; ++k) largest = lane[k] > largest ? lane[k] : largest;
  return largest;
}

/// The absolute value of a term.
template <typename Term>
struct Absolute {
  Term term;
  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const {
    return std::fabs(term(x, y, z));
  }
};

/// The square of a term.
template <typename Term>
struct Squared {
  Term term;
  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const {
    const double value = term(x, y, z);
    return value * value;
  }
};

/// One coordinate, less an origin.
template <int Axis>
struct Coordinate {
  double origin = 0.0;
  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const {
    return (Axis == 0 ? x : Axis == 1 ? y : z) - origin;
  }
};

/// The product of two terms.
template <typename First, typename Second>
struct Product {
  First first;
  Second second;
  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const {
    return first(x, y, z) * second(x, y, z);
  }
};

}  // namespace zelmo::internal
