// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/lmfit/cylinder_fit_lm.h"

#include <algorithm>

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/feature/internal/derived_values.h"
#include "zelmo/internal/console.h"
#include "zelmo/lmfit/internal/axis_values.h"
#include "zelmo/lmfit/internal/consensus_seed.h"
#include "zelmo/lmfit/internal/fit_stages.h"
#include "zelmo/lmfit/internal/residual_kernels.h"

namespace zelmolm {
namespace {

namespace zi = zelmo::internal;
using Stages = zi::FitStages<XCylinderFitLM>;

}  // namespace

void XCylinderFitLM::Fit_Function(double* p, double* hx, int /*m*/, int n, void* adata) {
  const zi::PointView points(static_cast<const float*>(adata), n);
  const float rounded_radius = static_cast<float>(p[6]);
  zi::storeResiduals(
      points, zi::CylinderDeviation<zi::NearPoint::Measured>{zi::unitAxis(p), rounded_radius}, hx);
}

int XCylinderFitLM::Fit(const float* points, const float* normals, const int& count,
                        const xfeaturefitfilter::FilterParam& param,
                        xfeaturefitfilter::FilterMethod method) {
  return Stages::run(*this, points, normals, count, param, method);
}

int XCylinderFitLM::Fit(const float* points, const float* normals, const int& count,
                        const float* const seed) {
  if (count < zi::kStagesOf<XCylinderFitLM>.minimum_count) return -1;
  double params[7];
  std::copy(seed, seed + 7, params);
  return solveFrom(points, normals, count, params);
}

int XCylinderFitLM::Fit1(const float* points, const float* normals, const int& count) {
  if (count < zi::kStagesOf<XCylinderFitLM>.minimum_count) return -1;
  auto seed = zi::consensusSeed(zi::ConsensusModel::Cylinder, zi::PointView(points, count),
                                zi::PointView(normals, count));
  if (!seed) return -1;
  {
    zi::ConsoleText line;
    line << "param:";
    for (std::size_t i = 0; i < seed->size(); ++i) line << (i == 0 ? "" : " ") << (*seed)[i];
    line << "\n";
  }
  return solveFrom(points, normals, count, seed->data());
}

int XCylinderFitLM::solveFrom(const float* points, const float* normals, const int& count,
                              double* params) {
  residualFunction = Fit_Function;
  const int result =
      Fit_LM(points, count, params, nullptr, zi::kStagesOf<XCylinderFitLM>.parameter_count);
  storeParams(params);
  getValue(points, normals, count);
  return result < 0 ? zi::kStagesOf<XCylinderFitLM>.solver_failure : 0;
}

void XCylinderFitLM::calcStatistics(const float* points, const int& count, float* const stats,
                                    std::vector<float>& residuals) {
  double params[7];
  paramsOf(params);
  zi::fillStatistics<XCylinderFitLM>(
      points, count, zi::CylinderDeviation<zi::NearPoint::Measured>{zi::unitAxis(params), radius},
      stats, residuals);
}

void XCylinderFitLM::getValue(const float* points, const float* /*normals*/, const int& count) {
  zi::updateCylinderValues(*this, zi::PointView(points, count));
}

void XCylinderFitLM::getCylinder(xgeofeature::XFCylinder& cylinder) {
  std::copy(center, center + 3, cylinder.center);
  std::copy(axis, axis + 3, cylinder.axis);
  cylinder.radius = radius;
  cylinder.height = height;
  std::copy(base, base + 3, cylinder.base);
  std::copy(top, top + 3, cylinder.top);
}

void XCylinderFitLM::surfaceDirection(const float* /*point*/, double* direction) const {
  const cv::Vec3d unit = zi::unitOrZero({axis[0], axis[1], axis[2]});
  std::copy(unit.val, unit.val + 3, direction);
}

void XCylinderFitLM::paramsOf(double* params) const {
  std::copy(center, center + 3, params);
  std::copy(axis, axis + 3, params + 3);
  params[6] = radius;
}

void XCylinderFitLM::storeParams(const double* params) {
  zi::storePointAndAxis(params, center, axis);
  radius = static_cast<float>(params[6]);
}

}  // namespace zelmolm
