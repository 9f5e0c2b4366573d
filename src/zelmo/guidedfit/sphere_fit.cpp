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

int fitCompensated(XSphereFit& fit, const in::PointView& points, const float* normals,
                   float probe_radius, std::optional<bool> outward, float* compensated,
                   float* errors) {
  if (fit.Fit(points.data(), normals, points.count()) < 0) return kFailed;
  const cv::Vec3d center(fit.center[0], fit.center[1], fit.center[2]);
  const float signed_radius = outward
                                  ? in::signedRadius(*outward, probe_radius)
                                  : in::signedRadius(center, points.at(0), normals, probe_radius);
  fit.radius += signed_radius;
  in::compensateRadially(
      points, [&center](const float*) { return center; }, signed_radius, fit.radius,
      in::CompensatedPoint::MovedByRadius, compensated, errors);
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
  return fitCompensated(*this, in::PointView(points, count), normals, probe_radius, std::nullopt,
                        compensated, errors);
}

int XSphereFit::Fit(const float* points, const float* normals, const int& count,
                    const float& probe_radius, float* compensated, float* errors, bool outward) {
  return fitCompensated(*this, in::PointView(points, count), normals, probe_radius, outward,
                        compensated, errors);
}

double XSphereFit::Distance_LeastSquare(const gsl_vector* v, void* params) {
  return sphereSquareSum(pointsOf(params), in::valuesOf<4>(v).data());
}

void XSphereFit::getSphere(xgeofeature::XFSphere& sphere) {
  sphere = xgeofeature::XFSphere(center, radius);
}

}  // namespace xgeofit
