// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/lmfit/internal/residual_kernels.h"

#include <cmath>

#include "zelmo/internal/lanes.h"

namespace zelmo::internal {
namespace {

template <int Dimension, typename Deviation>
ZELMO_ALWAYS_INLINE double residualAt(const Deviation& from, const float* p) {
  if constexpr (Dimension == 2) {
    return from(p[0], p[1]);
  } else {
    return from(p[0], p[1], p[2]);
  }
}

template <int Dimension, typename Deviation>
ZELMO_ALWAYS_INLINE void laneResiduals(const float* p, int count, const Deviation& given,
                                       double* __restrict out) {
  const Deviation from = given;
  int i = 0;
  for (; i + kLanes <= count; i += kLanes, p += Dimension * kLanes, out += kLanes) {
    ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) {
      out[k] = residualAt<Dimension>(from, p + Dimension * k);
    }
  }
  for (int k = 0; i < count; ++i, ++k, p += Dimension) out[k] = residualAt<Dimension>(from, p);
}

}  // namespace

AxisLine unitAxis(const double* point_and_direction) {
  AxisLine axis = AxisLine::of(point_and_direction);
  const double length = std::sqrt(axis.ux * axis.ux + axis.uy * axis.uy + axis.uz * axis.uz);
  const double scale = length == 0.0 ? 0.0 : 1.0 / length;
  axis.ux *= scale;
  axis.uy *= scale;
  axis.uz *= scale;
  return axis;
}

ZELMO_MULTIVERSION void storeResiduals(const PointView& points, const PlaneDeviation& from,
                                       double* out) {
  laneResiduals<3>(points.data(), points.count(), from, out);
}

ZELMO_MULTIVERSION void storeResiduals(const PointView& points, const SphereDeviation& from,
                                       double* out) {
  laneResiduals<3>(points.data(), points.count(), from, out);
}

ZELMO_MULTIVERSION void storeResiduals(const PointView& points,
                                       const CylinderDeviation<NearPoint::Measured>& from,
                                       double* out) {
  laneResiduals<3>(points.data(), points.count(), from, out);
}

ZELMO_MULTIVERSION void storeResiduals(const PointView& points, const ConeDeviation& from,
                                       double* out) {
  laneResiduals<3>(points.data(), points.count(), from, out);
}

ZELMO_MULTIVERSION void storeResiduals(const PlanarView& points, const CircleDeviation& from,
                                       double* out) {
  laneResiduals<2>(points.data(), points.count(), from, out);
}

ZELMO_MULTIVERSION void storeResiduals(const PlanarView& points, const InscribedDeviation& from,
                                       double* out) {
  laneResiduals<2>(points.data(), points.count(), from, out);
}

}  // namespace zelmo::internal
