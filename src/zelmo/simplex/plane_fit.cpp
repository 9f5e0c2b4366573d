// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/simplex/plane_fit.h"

#include <algorithm>
#include <cmath>

#include "zelmo/feature/internal/local_frame.h"
#include "zelmo/internal/direction.h"
#include "zelmo/internal/objective.h"
#include "zelmo/internal/regression.h"
#include "zelmo/internal/residuals.h"

namespace x3dfit {

using namespace zelmo::internal;  // NOLINT(google-build-using-namespace): the kernels of this shell

namespace {

constexpr std::size_t kDimension = 4;
constexpr int kMaxIterations = 10000;

ZELMO_MULTIVERSION double absSum(const PointView& points, const PlaneDeviation& plane) {
  return foldAbsSum(points, plane);
}
ZELMO_MULTIVERSION double maxAbs(const PointView& points, const PlaneDeviation& plane) {
  return foldMaxAbs(points, plane);
}

PlaneDeviation planeOf(const gsl_vector* v) {
  const auto p = valuesOf<kDimension>(v);
  return {p[0], p[1], p[2], p[3]};
}

double normalLength(const PlaneDeviation& plane) {
  return std::sqrt(plane.a * plane.a + plane.b * plane.b + plane.c * plane.c);
}

}  // namespace

XPlaneFit::XPlaneFit() : m_simplex(kDimension, kMaxIterations, Distance_LeastAbsDev) {}

double XPlaneFit::Distance_LeastAbsDev(const gsl_vector* v, void* params) {
  const PlaneDeviation plane = planeOf(v);
  return absSum(*static_cast<const PointView*>(params), plane) / normalLength(plane);
}

double XPlaneFit::Chebyshev_MaxDistance(const gsl_vector* v, void* params) {
  const PlaneDeviation plane = planeOf(v);
  return maxAbs(*static_cast<const PointView*>(params), plane) / normalLength(plane);
}

bool XPlaneFit::getInitialValue(const PointView& points, double* p) {
  const auto plane = regressionPlane(points);
  if (!plane) return false;
  for (int i = 0; i < 3; ++i) p[i] = plane->normal[i];
  p[3] = plane->offset;
  return true;
}

bool XPlaneFit::fitView(const PointView& points, double* p, FitMethod method) {
  getInitialValue(points, p);
  if (method == LeastSquare) return true;
  m_simplex.setObjective(method == Chebyshev ? Chebyshev_MaxDistance : Distance_LeastAbsDev);
  // CONTRACT: the step follows the largest component with its sign, so it may be zero or negative.
  const double step = std::max(std::max(p[0], p[1]), p[2]) / 100.0;
  m_simplex.descend(&points, p, step);
  const double length = lengthOrOne(p);
  for (std::size_t i = 0; i < kDimension; ++i) p[i] /= length;
  return true;
}

bool XPlaneFit::Fit(const std::vector<cv::Point3f>& points, double* const params,
                    FitMethod method) {
  return fitView(PointView(points), params, method);
}

bool XPlaneFit::Fit(const float* points, const int& count, double* const params, FitMethod method) {
  return fitView(PointView(points, count), params, method);
}

void XPlaneFit::cornersOf(const PointView& points, const double* plane, float* corners) {
  const auto local =
      projectToLocal(points, plane, {NoAxisPoint::FallbackAxis, OppositeCross::AnyHalfTurn});
  if (!local) return;
  const auto result = axisParallelCorners(boundingRectangle(local->points), local->frame);
  std::copy(result.begin(), result.end(), corners);
}

void XPlaneFit::getFourCorner(const std::vector<cv::Point3f>& points, double* const params,
                              float* const corners) {
  cornersOf(PointView(points), params, corners);
}

void XPlaneFit::getFourCorner(const float* points, const int& count, double* const params,
                              float* const corners) {
  cornersOf(PointView(points, count), params, corners);
}

}  // namespace x3dfit
