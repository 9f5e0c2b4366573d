// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/guidedfit/cylinder_fit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "zelmo/feature/internal/derived_values.h"
#include "zelmo/guidedfit/internal/guided_limits.h"
#include "zelmo/guidedfit/internal/probe_compensation.h"
#include "zelmo/internal/axis_candidates.h"
#include "zelmo/internal/direction.h"
#include "zelmo/internal/objective.h"
#include "zelmo/internal/regression.h"
#include "zelmo/internal/residuals.h"

namespace xgeofit {
namespace {

namespace in = zelmo::internal;

constexpr int kFailed = -1;
constexpr int kMinCount = 6;
constexpr double kStepDivisor = 10.0;

// CONTRACT: a point within 0.01 of the axis point in each coordinate counts with r squared.
ZELMO_MULTIVERSION double cylinderSquareSum(const in::PointView& points, const double* p) {
  const in::CylinderDistance cylinder{in::AxisLine::through(p, p + 3), p[6]};
  return in::laneSumOffAxisPoint(points, in::Squared<in::CylinderDistance>{cylinder});
}

/// Descends from one principal axis; its spread stands in for the radius.
/// \return the value that the candidate is judged by
double descendFrom(const in::PrincipalAxes& axes, int row, in::SimplexState& simplex,
                   const in::Evaluations& evaluations, double* p) {
  const cv::Vec3d axis = axes.axis(row);
  for (int k = 0; k < 3; ++k) {
    p[k] = axes.centroid[k];
    p[3 + k] = axis[k];
  }
  // Rounding can leave the smallest spread of flat points below zero.
  p[6] = std::sqrt(std::max(axes.value(row), 0.0) / evaluations.points.count());
  simplex.descend(&evaluations, p, p[6] / kStepDivisor);
  in::normaliseDirection(p + 3);
  return evaluations.last;
}

int fitCompensated(XCylinderFit& fit, const in::PointView& points, const in::Probe& probe) {
  if (!probe.knowsItsSide() || fit.Fit(points.data(), probe.normals, points.count()) < 0) {
    return kFailed;
  }
  const auto foot = [&fit](const float* point) {
    return in::footOnAxis(fit.center, fit.axis, point);
  };
  const float* first = points.at(0);
  in::compensateRadially(probe, in::signedRadius(probe, foot(first), first), fit.radius, points,
                         foot, in::CompensatedPoint::OnSurface);
  return 0;
}

}  // namespace

XCylinderFit::XCylinderFit() : m_simplex(7, in::kGuidedIterations, &Distance_LeastSquare) {}

int XCylinderFit::Fit(const float* points, const float* /*normals*/, const int& count) {
  const in::Evaluations evaluations{in::PointView(points, count)};
  if (evaluations.points.count() < kMinCount) return kFailed;
  const in::PrincipalAxes axes = in::principalAxes(evaluations.points, in::OffsetRounding::ToFloat);
  std::array<double, in::kCandidateValues> p{};
  in::keepBestAxis(p.data(), [&](int row, double* candidate) {
    return descendFrom(axes, row, m_simplex, evaluations, candidate);
  });
  for (std::size_t k = 0; k < 3; ++k) {
    center[k] = static_cast<float>(p[k]);
    axis[k] = static_cast<float>(p[3 + k]);
  }
  radius = static_cast<float>(p[6]);
  in::updateCylinderValues(*this, evaluations.points);
  return 0;
}

int XCylinderFit::Fit(const float* points, const float* normals, const int& count,
                      const float& probe_radius, float* compensated, float* errors) {
  return fitCompensated(*this, in::PointView(points, count),
                        {probe_radius, normals, std::nullopt, compensated, errors});
}

int XCylinderFit::Fit(const float* points, const float* normals, const int& count,
                      const float& probe_radius, float* compensated, float* errors, bool outward) {
  return fitCompensated(*this, in::PointView(points, count),
                        {probe_radius, normals, outward, compensated, errors});
}

double XCylinderFit::Distance_LeastSquare(const gsl_vector* v, void* params) {
  const auto& evaluations = *static_cast<const in::Evaluations*>(params);
  evaluations.last = cylinderSquareSum(evaluations.points, in::valuesOf<7>(v).data());
  return evaluations.last;
}

void XCylinderFit::getCylinder(xgeofeature::XFCylinder& cylinder) {
  std::copy_n(center, 3, cylinder.center);
  std::copy_n(axis, 3, cylinder.axis);
  cylinder.radius = radius;
  cylinder.height = height;
  std::copy_n(base, 3, cylinder.base);
  std::copy_n(top, 3, cylinder.top);
}

}  // namespace xgeofit
