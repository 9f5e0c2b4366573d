// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "floors.h"

#include "zelmo/internal/lanes.h"

namespace zelmo::bench {
namespace {

using internal::PlanarView;
using internal::PointView;

struct Moments {
  ZELMO_ALWAYS_INLINE void operator()(double x, double y, double z, double* out) const {
    const double values[9] = {x, y, z, x * x, x * y, x * z, y * y, y * z, z * z};
    for (int i = 0; i < 9; ++i) out[i] = values[i];
  }
};
struct PlaneValue {
  double a, b, c, d;
  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const {
    return a * x + b * y + c * z + d;
  }
};
struct Length {
  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const {
    return std::sqrt(x * x + y * y + z * z);
  }
};
struct PlanarLength {
  ZELMO_ALWAYS_INLINE double operator()(double x, double y) const {
    return std::sqrt(x * x + y * y);
  }
};
}  // namespace

ZELMO_MULTIVERSION double readAll(const float* values, std::size_t count) {
  constexpr std::size_t kWide = 64;
  float lane[kWide] = {};
  std::size_t i = 0;
  for (; i + kWide <= count; i += kWide) {
    for (std::size_t k = 0; k < kWide; ++k) lane[k] += values[i + k];
  }
  double sum = 0;
  for (const float part : lane) sum += part;
  for (; i < count; ++i) sum += values[i];
  return sum;
}

ZELMO_MULTIVERSION double momentSums(const float* points, int count) {
  double sums[9];
  internal::laneSums<9>(PointView(points, count), Moments{}, sums);
  double sum = 0;
  for (const double s : sums) sum += s;
  return sum;
}

ZELMO_MULTIVERSION double planeValues(const float* points, int count, const double* p) {
  return internal::laneSum(PointView(points, count),
                           internal::Absolute<PlaneValue>{{p[0], p[1], p[2], p[3]}});
}

ZELMO_MULTIVERSION double squareRoots(const float* points, int count) {
  return internal::laneSum(PointView(points, count), Length{});
}

ZELMO_MULTIVERSION double planarSquareRoots(const float* points, int count) {
  return internal::laneSum(PlanarView(points, count), PlanarLength{});
}

}  // namespace zelmo::bench
