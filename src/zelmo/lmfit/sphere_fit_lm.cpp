// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/lmfit/sphere_fit_lm.h"

#include <algorithm>

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/internal/regression.h"
#include "zelmo/lmfit/internal/fit_stages.h"
#include "zelmo/lmfit/internal/residual_kernels.h"

namespace zelmolm {
namespace {

namespace zi = zelmo::internal;
using Stages = zi::FitStages<XSphereFitLM>;

}  // namespace

void XSphereFitLM::Fit_Function(double* p, double* hx, int /*m*/, int n, void* adata) {
  const zi::PointView points(static_cast<const float*>(adata), n);
  zi::storeResiduals(points, zi::SphereDeviation::of(p), hx);
}

int XSphereFitLM::Fit(const float* points, const float* normals, const int& count,
                      const xfeaturefitfilter::FilterParam& param,
                      xfeaturefitfilter::FilterMethod method) {
  return Stages::run(*this, points, normals, count, param, method);
}

int XSphereFitLM::Fit1(const float* points, const float* /*normals*/, const int& count) {
  if (count < zi::kStagesOf<XSphereFitLM>.minimum_count) return -1;
  residualFunction = Fit_Function;
  const auto seed = zi::algebraicSphere(zi::PointView(points, count));
  if (!seed) return -1;
  double params[4] = {seed->center[0], seed->center[1], seed->center[2], seed->radius};
  const int result =
      Fit_LM(points, count, params, nullptr, zi::kStagesOf<XSphereFitLM>.parameter_count);
  storeParams(params);
  return result < 0 ? zi::kStagesOf<XSphereFitLM>.solver_failure : 0;
}

void XSphereFitLM::calcStatistics(const float* points, const int& count, float* const stats,
                                  std::vector<float>& residuals) {
  double params[4];
  paramsOf(params);
  zi::fillStatistics<XSphereFitLM>(points, count, zi::SphereDeviation::of(params), stats,
                                   residuals);
}

void XSphereFitLM::getSphere(xgeofeature::XFSphere& sphere) {
  std::copy(center, center + 3, sphere.center);
  sphere.radius = radius;
}

// A point at the center has no direction: its dot product is 0.
void XSphereFitLM::surfaceDirection(const float* point, double* direction) const {
  const cv::Vec3d here(point[0], point[1], point[2]);
  const cv::Vec3d unit = zi::unitOrZero(here - cv::Vec3d(center[0], center[1], center[2]));
  std::copy(unit.val, unit.val + 3, direction);
}

void XSphereFitLM::paramsOf(double* params) const {
  std::copy(center, center + 3, params);
  params[3] = radius;
}

void XSphereFitLM::storeParams(const double* params) {
  for (int i = 0; i < 3; ++i) center[i] = static_cast<float>(params[i]);
  radius = static_cast<float>(params[3]);
}

}  // namespace zelmolm
