// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/guidedfit/sphere_fit.h"

#include <optional>

#include "zelmo/guidedfit/internal/guided_limits.h"
#include "zelmo/guidedfit/internal/probe_compensation.h"
#include "zelmo/internal/objective.h"
#include "zelmo/internal/regression.h"
#include "zelmo/internal/residuals.h"

namespace xgeofit {
namespace {

namespace in = zelmo::internal;

constexpr int kFailed = -1;
constexpr int kMinCount = 4;
constexpr double kStepDivisor = 100.0;

ZELMO_MULTIVERSION double sphereSquareSum(const in::PointView& points, const double* p) {
  return in::foldSquareSum(points, in::SphereDeviation{p[0], p[1], p[2], p[3]});
}

const in::PointView& pointsOf(void* params) { return *static_cast<const in::PointView*>(params); }

int fitCompensated(XSphereFit& fit, const in::PointView& points, const in::Probe& probe) {
  if (!probe.knowsItsSide() || fit.Fit(points.data(), probe.normals, points.count()) < 0) {
    return kFailed;
  }
  const cv::Vec3d center(fit.center[0], fit.center[1], fit.center[2]);
  in::compensateRadially(
      probe, in::signedRadius(probe, center, points.at(0)), fit.radius, points,
      [&center](const float*) { return center; }, in::CompensatedPoint::MovedByRadius);
  return 0;
}

}  // namespace

XSphereFit::XSphereFit() : m_simplex(4, in::kGuidedIterations, &Distance_LeastSquare) {}

int XSphereFit::Fit(const float* points, const float* /*normals*/, const int& count) {
  const in::PointView view(points, count);
  if (view.count() < kMinCount) return kFailed;
  const auto seed = in::algebraicSphere(view);
  if (!seed) return kFailed;
  double p[] = {seed->center[0], seed->center[1], seed->center[2], seed->radius};
  m_simplex.descend(&view, p, seed->radius / kStepDivisor);
  for (int k = 0; k < 3; ++k) center[k] = static_cast<float>(p[k]);
  radius = static_cast<float>(p[3]);
  return 0;
}

int XSphereFit::Fit(const float* points, const float* normals, const int& count,
                    const float& probe_radius, float* compensated, float* errors) {
  return fitCompensated(*this, in::PointView(points, count),
                        {probe_radius, normals, std::nullopt, compensated, errors});
}

int XSphereFit::Fit(const float* points, const float* normals, const int& count,
                    const float& probe_radius, float* compensated, float* errors, bool outward) {
  return fitCompensated(*this, in::PointView(points, count),
                        {probe_radius, normals, outward, compensated, errors});
}

double XSphereFit::Distance_LeastSquare(const gsl_vector* v, void* params) {
  return sphereSquareSum(pointsOf(params), in::valuesOf<4>(v).data());
}

void XSphereFit::getSphere(xgeofeature::XFSphere& sphere) {
  sphere = xgeofeature::XFSphere(center, radius);
}

}  // namespace xgeofit
