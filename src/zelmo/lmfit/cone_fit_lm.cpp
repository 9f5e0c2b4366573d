// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/lmfit/cone_fit_lm.h"

#include <algorithm>
#include <cmath>

#include "zelmo/internal/axis_extent.h"
#include "zelmo/lmfit/internal/axis_values.h"
#include "zelmo/lmfit/internal/consensus_seed.h"
#include "zelmo/lmfit/internal/residual_kernels.h"

namespace zelmolm {
namespace {

namespace zi = zelmo::internal;

constexpr int kMinimumCount = 6;
constexpr int kParameterCount = 7;

// Where the points of a cone end, as parameters along the axis seen from the apex.
struct ConeEnds {
  double far_end, near_end;
  bool turns_axis;  // the far end lies along the axis, which has to point to the apex
};

ConeEnds endsOf(const zi::AxisExtent& extent) {
  if (extent.low >= 0.0) return {extent.high, extent.low, true};
  if (extent.high <= 0.0) return {extent.low, extent.high, false};
  if (std::fabs(extent.low) > extent.high) return {extent.low, 0.0, false};
  return {extent.high, 0.0, true};
}

}  // namespace

void XConeFitLM::Fit_Function(double* p, double* hx, int /*m*/, int n, void* adata) {
  const zi::PointView points(static_cast<const float*>(adata), n);
  const float slope = std::tan(static_cast<float>(p[6]));
  zi::storeResiduals(points, zi::ConeDeviation{zi::unitAxis(p), slope}, hx);
}

int XConeFitLM::Fit(const float* points, const float* normals, const int& count) {
  if (count < kMinimumCount) return -1;
  auto seed = zi::consensusSeed(zi::ConsensusModel::Cone, zi::PointView(points, count),
                                zi::PointView(normals, count));
  if (!seed) return -1;
  residualFunction = Fit_Function;
  const int result = Fit_LM(points, count, seed->data(), nullptr, kParameterCount);
  zi::storePointAndAxis(seed->data(), apex, axis);
  halfAngle = static_cast<float>((*seed)[6]);
  getValue(points, normals, count);
  return result;
}

void XConeFitLM::getValue(const float* points, const float* /*normals*/, const int& count) {
  const ConeEnds ends = endsOf(zi::extentAlong(zi::PointView(points, count), apex, axis));
  height = static_cast<float>(std::fabs(ends.near_end - ends.far_end));
  for (int i = 0; i < 3; ++i) {
    base[i] = static_cast<float>(apex[i] + axis[i] * ends.far_end);
    top[i] = static_cast<float>(apex[i] + axis[i] * ends.near_end);
  }
  const double slope = std::tan(halfAngle);
  baseRadius = static_cast<float>(std::fabs(ends.far_end) * slope);
  topRadius = static_cast<float>(std::fabs(ends.near_end) * slope);
  if (ends.turns_axis) std::transform(axis, axis + 3, axis, std::negate<>());
}

void XConeFitLM::getCone(xgeofeature::XFCone& cone) {
  std::copy(apex, apex + 3, cone.apex);
  std::copy(axis, axis + 3, cone.axis);
  cone.halfAngle = halfAngle;
  std::copy(base, base + 3, cone.base);
  std::copy(top, top + 3, cone.top);
  cone.height = height;
  cone.baseRadius = baseRadius;
  cone.topRadius = topRadius;
}

}  // namespace zelmolm
