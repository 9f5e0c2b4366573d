// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/lmfit/plane_fit_lm.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/feature/internal/derived_values.h"
#include "zelmo/internal/normal_vote.h"
#include "zelmo/internal/regression.h"
#include "zelmo/lmfit/internal/fit_stages.h"
#include "zelmo/lmfit/internal/residual_kernels.h"

namespace zelmolm {
namespace {

namespace zi = zelmo::internal;
using Stages = zi::FitStages<XPlaneFitLM>;
using PlaneEquation = std::array<double, 4>;

// A solver may step through a normal of nearly no length: it is then left as it is.
constexpr double kNoNormal = 0.0001;

PlaneEquation normalised(const double* p) {
  const double norm = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
  const double scale = kNoNormal > norm ? 1.0 : 1.0 / norm;
  return {p[0] * scale, p[1] * scale, p[2] * scale, p[3] * scale};
}

void storePlaneResiduals(const double* p, double* hx, int n, const void* adata) {
  const PlaneEquation plane = normalised(p);
  const zi::PointView points(static_cast<const float*>(adata), n);
  zi::storeResiduals(points, zi::PlaneDeviation{plane[0], plane[1], plane[2], plane[3]}, hx);
}

}  // namespace

void XPlaneFitLM::Fit_Function(double* p, double* hx, int /*m*/, int n, void* adata) {
  storePlaneResiduals(p, hx, n, adata);
}

void XPlaneFitLM::Fit_Chebyshev_Function(double* p, double* hx, int /*m*/, int n, void* adata) {
  storePlaneResiduals(p, hx, n, adata);
  double largest = -1e30;
  double smallest = 1e30;
  int farthest = -1;
  for (int i = 0; i < n; ++i) {
    if (hx[i] > largest) {
      largest = hx[i];
      farthest = i;
    }
    if (hx[i] < smallest) smallest = hx[i];
  }
  for (int i = 0; i < n; ++i) hx[i] -= smallest;
  if (farthest >= 0) hx[farthest] *= n * 10.0;
}

int XPlaneFitLM::Fit(const float* points, const float* normals, const int& count,
                     const xfeaturefitfilter::FilterParam& param,
                     xfeaturefitfilter::FilterMethod method) {
  if (count < zi::kStagesOf<XPlaneFitLM>.minimum_count) return -1;
  return Stages::run(*this, points, normals, count, param, method) < 0 ? -1 : 0;
}

int XPlaneFitLM::Fit1(const float* points, const float* normals, const int& count) {
  if (count < zi::kStagesOf<XPlaneFitLM>.minimum_count) return -1;
  residualFunction = Fit_Function;
  const auto plane = zi::regressionPlane(zi::PointView(points, count));
  if (!plane) return -1;
  double params[4] = {plane->normal[0], plane->normal[1], plane->normal[2], plane->offset};
  return solveAndOrient(points, normals, count, params);
}

int XPlaneFitLM::Fit_Chebyshev(const float* points, const float* normals, const int& count,
                               const float* const seed) {
  residualFunction = Fit_Chebyshev_Function;
  const double point[3] = {seed[0], seed[1], seed[2]};
  const double direction[3] = {seed[3], seed[4], seed[5]};
  const auto plane = zi::PlaneDeviation::through(point, direction);
  double params[4] = {plane.a, plane.b, plane.c, plane.d};
  return solveAndOrient(points, normals, count, params);
}

// The solver, where more than three points leave it something to do, and the side that most measured
// normals lie on.
int XPlaneFitLM::solveAndOrient(const float* points, const float* normals, const int& count,
                                double* params) {
  int result = 0;
  if (count > zi::kStagesOf<XPlaneFitLM>.refit_above) {
    result = Fit_LM(points, count, params, nullptr, zi::kStagesOf<XPlaneFitLM>.parameter_count);
  }
  const auto vote = zi::voteOfNormals(zi::PointView(normals, count), params);
  if (vote.positive < vote.others) {
    for (int i = 0; i < 4; ++i) params[i] = -params[i];
  }
  storeParams(params);
  getValue(points, normals, count);
  return result;
}

void XPlaneFitLM::calcStatistics(const float* points, const int& count, float* const stats,
                                 std::vector<float>& residuals) {
  zi::fillStatistics<XPlaneFitLM>(points, count, zi::PlaneDeviation{a, b, c, d}, stats, residuals);
}

void XPlaneFitLM::getValue(const float* points, const float* normals, const int& count) {
  zi::updatePlaneValues(*this, zi::PointView(points, count), zi::PointView(normals, count));
}

void XPlaneFitLM::getPlane(xgeofeature::XFPlane& plane) {
  std::copy(center, center + 3, plane.center);
  std::copy(normal, normal + 3, plane.normal);
  std::copy(majorDir, majorDir + 3, plane.majorDir);
  plane.length = length;
  plane.width = width;
  plane.a = normal[0];
  plane.b = normal[1];
  plane.c = normal[2];
  // CONTRACT: not the fitted d but the one through the center, in float.
  plane.d = -(normal[0] * center[0] + normal[1] * center[1] + normal[2] * center[2]);
}

void XPlaneFitLM::surfaceDirection(const float* /*point*/, double* direction) const {
  const cv::Vec3d unit = zi::unitOrZero({a, b, c});
  std::copy(unit.val, unit.val + 3, direction);
}

void XPlaneFitLM::paramsOf(double* params) const {
  params[0] = a;
  params[1] = b;
  params[2] = c;
  params[3] = d;
}

void XPlaneFitLM::storeParams(const double* params) {
  const PlaneEquation plane = normalised(params);
  a = static_cast<float>(plane[0]);
  b = static_cast<float>(plane[1]);
  c = static_cast<float>(plane[2]);
  d = static_cast<float>(plane[3]);
}

}  // namespace zelmolm
