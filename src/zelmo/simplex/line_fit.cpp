// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/simplex/line_fit.h"

#include "zelmo/internal/axis_extent.h"
#include "zelmo/internal/direction.h"
#include "zelmo/internal/objective.h"
#include "zelmo/internal/regression.h"
#include "zelmo/internal/residuals.h"

namespace x3dfit {

using namespace zelmo::internal;  // NOLINT(google-build-using-namespace): the kernels of this shell

namespace {

constexpr std::size_t kDimension = 6;
constexpr int kMaxIterations = 10000;
constexpr int kFewestPoints = 3;

// CONTRACT: a point within 0.01 of the line's point in each coordinate counts 0.
ZELMO_MULTIVERSION double squareSum(const PointView& points, const AxisLine& axis) {
  return laneSumOffAxisPoint(points, AxisDistanceSquared{axis});
}
ZELMO_MULTIVERSION double absSum(const PointView& points, const AxisLine& axis) {
  return laneSumOffAxisPoint(points, AxisDistance{axis});
}

AxisLine lineOf(const gsl_vector* v) {
  const auto p = valuesOf<kDimension>(v);
  return AxisLine::through(p.data(), p.data() + 3);
}

}  // namespace

XLine3DFit::XLine3DFit() : m_simplex(kDimension, kMaxIterations, Distance_LeastAbsDev) {}

double XLine3DFit::Distance_LeastSquare(const gsl_vector* v, void* params) {
  return squareSum(*static_cast<const PointView*>(params), lineOf(v));
}

double XLine3DFit::Distance_LeastAbsDev(const gsl_vector* v, void* params) {
  return absSum(*static_cast<const PointView*>(params), lineOf(v));
}

bool XLine3DFit::getInitialValue(const PointView& points, double* p) {
  const PrincipalAxes axes = principalAxes(points, OffsetRounding::None);
  for (int i = 0; i < 3; ++i) {
    p[i] = axes.centroid[i];
    p[3 + i] = axes.axis(0)[i];
  }
  return true;
}

bool XLine3DFit::fitView(const PointView& points, double* p, FitMethod method) {
  if (points.count() < kFewestPoints) return false;
  getInitialValue(points, p);
  // CONTRACT: any other method, Chebyshev too, goes on with the objective that the object holds.
  if (method == LeastSquare) m_simplex.setObjective(Distance_LeastSquare);
  if (method == LeastAbsDev) m_simplex.setObjective(Distance_LeastAbsDev);
  m_simplex.descend(&points, p, largestMagnitude(p + 3) / 10.0);
  normaliseDirection(p + 3);
  return true;
}

bool XLine3DFit::Fit(const std::vector<cv::Point3f>& points, double* const params,
                     FitMethod method) {
  return fitView(PointView(points), params, method);
}

bool XLine3DFit::Fit(const float* points, const int& count, double* const params,
                     FitMethod method) {
  return fitView(PointView(points, count), params, method);
}

void XLine3DFit::getStart_End_Point(const float* points, const int& count, double* const params,
                                    float* const start, float* const end) {
  if (count < kFewestPoints) return;
  const cv::Vec3d p(params);
  const AxisExtent extent =
      axisExtent(PointView(points, count), cv::Vec3f(p), cv::Vec3d(params + 3));
  for (int i = 0; i < 3; ++i) {
    start[i] = static_cast<float>(p[i] + extent.low * params[3 + i]);
    end[i] = static_cast<float>(p[i] + extent.high * params[3 + i]);
  }
}

}  // namespace x3dfit
