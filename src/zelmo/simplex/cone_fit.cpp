// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/simplex/cone_fit.h"

#include <algorithm>
#include <cmath>

#include "zelmo/internal/axis_candidates.h"
#include "zelmo/internal/axis_extent.h"
#include "zelmo/internal/console.h"
#include "zelmo/internal/direction.h"
#include "zelmo/internal/objective.h"
#include "zelmo/internal/regression.h"
#include "zelmo/internal/residuals.h"
#include "zelmo/simplex/internal/cone_sums.h"
#include "zelmo/simplex/internal/published_value.h"

namespace x3dfit {

using namespace zelmo::internal;  // NOLINT(google-build-using-namespace): the kernels of this shell

namespace {

constexpr std::size_t kDimension = 7;
constexpr int kMaxIterations = 5000;

ConeDistance coneOf(const gsl_vector* v) {
  const auto p = valuesOf<kDimension>(v);
  return {AxisLine::through(p.data(), p.data() + 3), std::tan(p[6])};
}

/// Float offset from a center to a point, and what a start value reads of it.
struct RadialDistance {
  float cx, cy, cz;
  double ux, uy, uz;
  ZELMO_ALWAYS_INLINE double operator()(float x, float y, float z) const {
    constexpr double kAtCenter = 1e-6;
    constexpr double kRadialAtCenter = 0.1;
    const float dx = cx - x;
    const float dy = cy - y;
    const float dz = cz - z;
    const double ex = dx;
    const double ey = dy;
    const double ez = dz;
    const AxisLine axis{0, 0, 0, ux, uy, uz};
    const double radial = std::sqrt(axis.distanceSquared(ex, ey, ez));
    const double by_x = std::fabs(ex) < kAtCenter ? kRadialAtCenter : radial;
    const double by_y = std::fabs(ey) < kAtCenter ? by_x : radial;
    return std::fabs(ez) < kAtCenter ? by_y : radial;
  }
};

ZELMO_MULTIVERSION double largestRadial(const PointView& points, const RadialDistance& term) {
  return laneMax(points, term, 0.0);
}

/// Start from one principal axis, with the apex inside the points.
void startFrom(const PrincipalAxes& axes, int axis, const PointView& points, double* p) {
  const cv::Vec3f& c = axes.centroid;
  const cv::Vec3d d = axes.axis(axis);
  for (int i = 0; i < 3; ++i) {
    p[i] = c[i];
    p[3 + i] = d[i];
  }
  const double radial = largestRadial(points, {c[0], c[1], c[2], d[0], d[1], d[2]});
  p[6] = std::atan2(radial, axisExtent(points, c, d).length() * 0.5);
}

}  // namespace

double XConeFit::m_optimal_value_cone = 0.0;

XConeFit::XConeFit() : m_simplex(kDimension, kMaxIterations, Distance_LeastAbsDev) {}

double XConeFit::Distance_LeastSquare(const gsl_vector* v, void* params) {
  const auto& evaluations = *static_cast<const Evaluations*>(params);
  evaluations.last = coneSquareSum(evaluations.points, coneOf(v));
  // CONTRACT: the class keeps the value of the last evaluation, for all its objects.
  publish(m_optimal_value_cone, evaluations.last);
  return evaluations.last;
}

double XConeFit::Distance_LeastAbsDev(const gsl_vector* v, void* params) {
  return coneAbsSum(static_cast<const Evaluations*>(params)->points, coneOf(v));
}

bool XConeFit::getInitialValue(const PointView& points, double* p) {
  startFrom(principalAxes(points, OffsetRounding::ToFloat), 0, points, p);
  return true;
}

int XConeFit::descend(const Evaluations& evaluations, double* p) {
  const int iterations = m_simplex.descend(&evaluations, p, largestMagnitude(p + 3) / 10.0);
  normaliseDirection(p + 3);
  return iterations;
}

bool XConeFit::fitView(const PointView& points, double* p, FitMethod method) {
  getInitialValue(points, p);
  // CONTRACT: any other method, Chebyshev too, goes on with the objective that the object holds.
  if (method == LeastSquare) m_simplex.setObjective(Distance_LeastSquare);
  if (method == LeastAbsDev) m_simplex.setObjective(Distance_LeastAbsDev);
  const int iterations = descend({points}, p);
  // CONTRACT: this line is part of the behaviour.
  ConsoleText() << "iter:" << iterations << '\n';
  return true;
}

bool XConeFit::Fit(const std::vector<cv::Point3f>& points, double* const params, FitMethod method) {
  return fitView(PointView(points), params, method);
}

bool XConeFit::Fit(const float* points, const int& count, double* const params, FitMethod method) {
  return fitView(PointView(points, count), params, method);
}

// CONTRACT: the method is ignored, Fit2 always runs least squares.
bool XConeFit::Fit2(const float* points, const int& count, double* const params,
                    FitMethod /*method*/) {
  const Evaluations evaluations{PointView(points, count)};
  const PrincipalAxes axes = principalAxes(evaluations.points, OffsetRounding::ToFloat);
  m_simplex.setObjective(Distance_LeastSquare);
  keepBestAxis(params, [&](int axis, double* p) {
    startFrom(axes, axis, evaluations.points, p);
    descend(evaluations, p);
    return evaluations.last;
  });
  return true;
}

void XConeFit::calcConeBasePoint_Center(const float* points, const int& count, double* const params,
                                        double* const base, double* const top, double& height) {
  const cv::Vec3d given(params);
  const cv::Vec3f apex(given);
  const cv::Vec3d u(params + 3);
  const AxisExtent extent = axisExtent(PointView(points, count), apex, u);
  height = extent.length();
  cv::Vec3d low = cv::Vec3d(apex) + u * extent.low;
  cv::Vec3d high = cv::Vec3d(apex) + u * extent.high;
  if ((given - low).dot(u) < 0) {
    std::swap(low, high);
    for (int i = 0; i < 3; ++i) params[3 + i] = -params[3 + i];
  }
  std::copy_n(low.val, 3, base);
  std::copy_n(high.val, 3, top);
}

}  // namespace x3dfit
