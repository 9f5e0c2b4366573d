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
#include <limits>

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

/// \p term of one point of a view: term(x, y, z) in space, term(x, y) in the plane.
template <typename Term, typename... Out>
ZELMO_ALWAYS_INLINE auto termAt(const PointView&, const Term& term, const float* p, Out... out) {
  return term(p[0], p[1], p[2], out...);
}
template <typename Term, typename... Out>
ZELMO_ALWAYS_INLINE auto termAt(const PlanarView&, const Term& term, const float* p, Out... out) {
  return term(p[0], p[1], out...);
}

/// Sum of the term over all points of a PointView or a PlanarView.
template <typename View, typename Term>
ZELMO_ALWAYS_INLINE double laneSum(const View& points, const Term& given_term) {
  constexpr int kFloats = View::kFloats;
  const Term term = given_term;
  double lane[kLanes] = {};
  const float* p = points.data();
  const int count = points.count();
  int i = 0;
  for (; i + kLanes <= count; i += kLanes, p += kFloats * kLanes) {
    ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) {
      lane[k] += termAt(points, term, p + kFloats * k);
    }
  }
  for (int k = 0; i < count; ++i, ++k, p += kFloats) lane[k] += termAt(points, term, p);
  return addLanes(lane);
}

/// Sums of \p Count values per point in one walk: term(x, y, z, values) or term(x, y, values)
/// writes them.
/// \param[out] sums double[Count]
template <int Count, typename View, typename Term>
ZELMO_ALWAYS_INLINE void laneSums(const View& points, const Term& given_term, double* sums) {
  constexpr int kFloats = View::kFloats;
  const Term term = given_term;
  double lane[Count][kLanes] = {};
  const float* p = points.data();
  const int count = points.count();
  int i = 0;
  for (; i + kLanes <= count; i += kLanes, p += kFloats * kLanes) {
    ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) {
      double values[Count];
      termAt(points, term, p + kFloats * k, static_cast<double*>(values));
      for (int n = 0; n < Count; ++n) lane[n][k] += values[n];
    }
  }
  for (int k = 0; i < count; ++i, ++k, p += kFloats) {
    double values[Count];
    termAt(points, term, p, static_cast<double*>(values));
    for (int n = 0; n < Count; ++n) lane[n][k] += values[n];
  }
  for (int n = 0; n < Count; ++n) sums[n] = addLanes(lane[n]);
}

/// Sum of the term over all points, and the smallest of what it writes beside its value:
/// term(x, y, z, beside). A NaN beside is passed over; no points give infinity.
template <typename View, typename Term>
ZELMO_ALWAYS_INLINE double laneSumAndSmallest(const View& points, const Term& given_term,
                                              double* smallest) {
  constexpr int kFloats = View::kFloats;
  const Term term = given_term;
  double lane[kLanes] = {};
  double low[kLanes];
  for (int k = 0; k < kLanes; ++k) low[k] = std::numeric_limits<double>::infinity();
  const float* p = points.data();
  const int count = points.count();
  int i = 0;
  for (; i + kLanes <= count; i += kLanes, p += kFloats * kLanes) {
    ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) {
      double beside;
      lane[k] += termAt(points, term, p + kFloats * k, &beside);
      low[k] = beside < low[k] ? beside : low[k];
    }
  }
  for (int k = 0; i < count; ++i, ++k, p += kFloats) {
    double beside;
    lane[k] += termAt(points, term, p, &beside);
    low[k] = beside < low[k] ? beside : low[k];
  }
  *smallest = low[0];
  for (int k = 1; k < kLanes; ++k) *smallest = low[k] < *smallest ? low[k] : *smallest;
  return addLanes(lane);
}

/// Largest of \p floor and the term over all points by strict comparison: a NaN is passed over.
template <typename View, typename Term>
ZELMO_ALWAYS_INLINE double laneMax(const View& points, const Term& given_term, double floor) {
  constexpr int kFloats = View::kFloats;
  const Term term = given_term;
  double lane[kLanes];
  for (int k = 0; k < kLanes; ++k) lane[k] = floor;
  const float* p = points.data();
  const int count = points.count();
  int i = 0;
  for (; i + kLanes <= count; i += kLanes, p += kFloats * kLanes) {
    ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) {
      const double value = termAt(points, term, p + kFloats * k);
      lane[k] = value > lane[k] ? value : lane[k];
    }
  }
  for (int k = 0; i < count; ++i, ++k, p += kFloats) {
    const double value = termAt(points, term, p);
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
  template <typename... Coordinates>
  ZELMO_ALWAYS_INLINE double operator()(Coordinates... at) const {
    return std::fabs(term(at...));
  }
};

/// The square of a term.
template <typename Term>
struct Squared {
  Term term;
  template <typename... Coordinates>
  ZELMO_ALWAYS_INLINE double operator()(Coordinates... at) const {
    const double value = term(at...);
    return value * value;
  }
};

}  // namespace zelmo::internal
