// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/simplex/cylinder_fit.h"

#include <algorithm>
#include <cmath>

#include "zelmo/internal/axis_candidates.h"
#include "zelmo/internal/axis_extent.h"
#include "zelmo/internal/direction.h"
#include "zelmo/internal/objective.h"
#include "zelmo/internal/regression.h"
#include "zelmo/internal/residuals.h"
#include "zelmo/simplex/internal/published_value.h"

namespace x3dfit {

using namespace zelmo::internal;  // NOLINT(google-build-using-namespace): the kernels of this shell

namespace {

constexpr std::size_t kDimension = 7;
constexpr int kMaxIterations = 10000;
constexpr int kMaxIterationsOfCandidate = 1000;

// CONTRACT: a point within 0.01 of the axis point in each coordinate counts as r, wherever it lies.
ZELMO_MULTIVERSION double squareSum(const PointView& points, const CylinderDistance& cylinder) {
  return laneSumOffAxisPoint(points, Squared<CylinderDistance>{cylinder});
}
ZELMO_MULTIVERSION double plainSum(const PointView& points, const CylinderDistance& cylinder) {
  return laneSumOffAxisPoint(points, cylinder);
}
ZELMO_MULTIVERSION double largest(const PointView& points, const CylinderDistance& cylinder) {
  return laneMax(points, cylinder, 0.0);
}

CylinderDistance cylinderOf(const gsl_vector* v) {
  const auto p = valuesOf<kDimension>(v);
  return {AxisLine::through(p.data(), p.data() + 3), p[6]};
}

/// Start from one principal axis; its spread stands in for the radius. Rounding can leave the
/// smallest spread of flat points below zero.
void startFrom(const PrincipalAxes& axes, int axis, int spread, int count, double* p) {
  for (int i = 0; i < 3; ++i) {
    p[i] = axes.centroid[i];
    p[3 + i] = axes.axis(axis)[i];
  }
  p[6] = std::sqrt(std::max(axes.value(spread), 0.0) / count);
}

}  // namespace

double XCylinderFit::m_optimal_value = 0.0;

XCylinderFit::XCylinderFit() : m_simplex(kDimension, kMaxIterations, Distance_LeastAbsDev) {}

double XCylinderFit::Distance_LeastSquare(const gsl_vector* v, void* params) {
  const auto& evaluations = *static_cast<const Evaluations*>(params);
  evaluations.last = squareSum(evaluations.points, cylinderOf(v));
  // CONTRACT: the class keeps the value of the last evaluation, for all its objects.
  publish(m_optimal_value, evaluations.last);
  return evaluations.last;
}

double XCylinderFit::Distance_LeastAbsDev(const gsl_vector* v, void* params) {
  return plainSum(static_cast<const Evaluations*>(params)->points, cylinderOf(v));
}

double XCylinderFit::Chebyshev_MaxDistance(const gsl_vector* v, void* params) {
  return largest(static_cast<const Evaluations*>(params)->points, cylinderOf(v));
}

bool XCylinderFit::getInitialValue(const PointView& points, double* p) {
  startFrom(principalAxes(points, OffsetRounding::ToFloat), 0, 2, points.count(), p);
  return true;
}

void XCylinderFit::calcCylinderHeight_Center(const PointView& points, double* p) {
  const cv::Vec3f origin(cv::Vec3d(p[0], p[1], p[2]));
  const AxisExtent extent = axisExtent(points, origin, cv::Vec3d(p + 3));
  p[7] = extent.length();
  for (int i = 0; i < 3; ++i) p[i] = origin[i] + p[3 + i] * extent.middle();
}

void XCylinderFit::descend(const Evaluations& evaluations, double* p, double step) {
  m_simplex.descend(&evaluations, p, step);
  normaliseDirection(p + 3);
  calcCylinderHeight_Center(evaluations.points, p);
}

bool XCylinderFit::fitView(const PointView& points, double* p, FitMethod method) {
  getInitialValue(points, p);
  m_simplex.setObjective(method == LeastSquare ? Distance_LeastSquare
                         : method == Chebyshev ? Chebyshev_MaxDistance
                                               : Distance_LeastAbsDev);
  descend({points}, p, p[6] / 10.0);
  return true;
}

bool XCylinderFit::Fit(const std::vector<cv::Point3f>& points, double* const params,
                       FitMethod method) {
  return fitView(PointView(points), params, method);
}

bool XCylinderFit::Fit(const float* points, const int& count, double* const params,
                       FitMethod method) {
  return fitView(PointView(points, count), params, method);
}

bool XCylinderFit::Fit2(const float* points, const int& count, double* const params) {
  const Evaluations evaluations{PointView(points, count)};
  const PrincipalAxes axes = principalAxes(evaluations.points, OffsetRounding::ToFloat);
  m_simplex.setObjective(Distance_LeastSquare);
  // CONTRACT: the limit of 1000 stays with the object.
  m_simplex.setMaxIter(kMaxIterationsOfCandidate);
  keepBestAxis(params, [&](int axis, double* p) {
    startFrom(axes, axis, axis, evaluations.points.count(), p);
    descend(evaluations, p, p[6] / 50.0);
    return evaluations.last;
  });
  return true;
}

}  // namespace x3dfit
