// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/simplex/sphere_fit.h"

#include "zelmo/internal/objective.h"
#include "zelmo/internal/regression.h"
#include "zelmo/internal/residuals.h"

namespace x3dfit {

using namespace zelmo::internal;  // NOLINT(google-build-using-namespace): the kernels of this shell

namespace {

constexpr std::size_t kDimension = 4;
constexpr int kMaxIterations = 10000;

ZELMO_MULTIVERSION double absSum(const PointView& points, const SphereDeviation& sphere) {
  return foldAbsSum(points, sphere);
}
ZELMO_MULTIVERSION double maxAbs(const PointView& points, const SphereDeviation& sphere) {
  return foldMaxAbs(points, sphere);
}

SphereDeviation sphereOf(const gsl_vector* v) {
  const auto p = valuesOf<kDimension>(v);
  return {p[0], p[1], p[2], p[3]};
}

}  // namespace

XSphereFit::XSphereFit() : m_simplex(kDimension, kMaxIterations, Distance_LeastAbsDev) {}

double XSphereFit::Distance_LeastAbsDev(const gsl_vector* v, void* params) {
  return absSum(*static_cast<const PointView*>(params), sphereOf(v));
}

double XSphereFit::Chebyshev_MaxDistance(const gsl_vector* v, void* params) {
  return maxAbs(*static_cast<const PointView*>(params), sphereOf(v));
}

bool XSphereFit::leastSquareFit(const PointView& points, double* p) {
  const auto sphere = algebraicSphere(points);
  if (!sphere) return false;
  for (int i = 0; i < 3; ++i) p[i] = sphere->center[i];
  p[3] = sphere->radius;
  return true;
}

bool XSphereFit::fitView(const PointView& points, double* p, FitMethod method) {
  leastSquareFit(points, p);
  if (method == LeastSquare) return true;
  m_simplex.setObjective(method == Chebyshev ? Chebyshev_MaxDistance : Distance_LeastAbsDev);
  m_simplex.descend(&points, p, p[3] / 100.0);
  return true;
}

bool XSphereFit::Fit(const std::vector<cv::Point3f>& points, double* const params,
                     FitMethod method) {
  return fitView(PointView(points), params, method);
}

bool XSphereFit::Fit(const float* points, const int& count, double* const params,
                     FitMethod method) {
  return fitView(PointView(points, count), params, method);
}

}  // namespace x3dfit
