// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/guidedfit/circle_fit.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/guidedfit/internal/guided_limits.h"
#include "zelmo/guidedfit/internal/planar_frame.h"
#include "zelmo/guidedfit/internal/probe_compensation.h"
#include "zelmo/internal/deviation_statistics.h"
#include "zelmo/internal/objective.h"
#include "zelmo/internal/regression.h"

namespace xgeofit {
namespace {

namespace in = zelmo::internal;

constexpr int kFailed = -1;
constexpr int kMinCount = 3;
constexpr double kStepDivisor = 10.0;

ZELMO_MULTIVERSION double circleSquareSum(const in::PlanarView& points, const double* p) {
  return in::foldSquareSum(points, in::CircleDeviation{p[0], p[1], p[2]});
}

const in::PlanarView& pointsOf(void* params) { return *static_cast<const in::PlanarView*>(params); }

struct Touched {
  in::PlanarPoints points;
  XCircle2DFit circle;
};

std::optional<Touched> fitInPlane(const in::PointView& points, const float* plane,
                                  float* projected) {
  if (points.count() < kMinCount) return std::nullopt;
  auto in_plane = in::intoPlane(in::toPointVector(points), plane, projected);
  if (!in_plane) return std::nullopt;
  Touched touched{std::move(*in_plane), {}};
  const in::PlanarView local(touched.points.local);
  if (!touched.circle.Fit(local.data(), local.count())) return std::nullopt;
  return touched;
}

void store(const Touched& touched, const float* plane, XCircle3DFit& out) {
  in::placeInSpace(touched.points.frame, touched.circle.cx, touched.circle.cy, out.center);
  std::copy_n(plane + 3, 3, out.normal);
  in::turnIntoSpace(touched.points.frame, 1, 0, out.majorDir);
  out.radius = touched.circle.r;
}

cv::Vec3d widened(const float* v) { return {v[0], v[1], v[2]}; }

int fitCompensated(XCircle3DFit& fit, const in::PointView& points, const float* plane,
                   const in::Probe& probe) {
  const auto touched =
      probe.knowsItsSide() ? fitInPlane(points, plane, nullptr) : std::optional<Touched>();
  if (!touched) return kFailed;
  store(*touched, plane, fit);
  const float* first = points.at(0);
  const cv::Vec3d foot = in::footOnAxis(fit.center, fit.normal, first);
  const cv::Vec3d center = widened(fit.center);
  in::compensateRadially(
      probe, in::signedRadius(probe, foot, first), fit.radius,
      in::PointView(touched->points.projected), [&center](const float*) { return center; },
      in::CompensatedPoint::MovedByRadius);
  return 0;
}

}  // namespace

XCircle2DFit::XCircle2DFit() : m_simplex(3, in::kGuidedIterations, &Distance_LeastSquare) {}

bool XCircle2DFit::Fit(const float* points, const int& count) {
  const in::PlanarView view(points, count);
  if (view.count() < kMinCount) return false;
  const auto seed = in::algebraicCircle(view);
  if (!seed) return false;
  double p[] = {seed->cx, seed->cy, seed->radius};
  m_simplex.descend(&view, p, seed->radius / kStepDivisor);
  cx = static_cast<float>(p[0]);
  cy = static_cast<float>(p[1]);
  r = static_cast<float>(p[2]);
  return true;
}

double XCircle2DFit::Distance_LeastSquare(const gsl_vector* v, void* params) {
  return circleSquareSum(pointsOf(params), in::valuesOf<3>(v).data());
}

int XCircle3DFit::Fit(const float* points, const float* /*normals*/, const int& count,
                      float* const plane, float* projected) {
  const auto touched = fitInPlane(in::PointView(points, count), plane, projected);
  if (!touched) return kFailed;
  store(*touched, plane, *this);
  return 0;
}

int XCircle3DFit::Fit(const float* points, const float* normals, const int& count,
                      float* const plane, const float& probe_radius, float* compensated,
                      float* errors) {
  return fitCompensated(*this, in::PointView(points, count), plane,
                        {probe_radius, normals, std::nullopt, compensated, errors});
}

int XCircle3DFit::Fit(const float* points, const float* normals, const int& count,
                      float* const plane, const float& probe_radius, float* compensated,
                      float* errors, bool outward) {
  return fitCompensated(*this, in::PointView(points, count), plane,
                        {probe_radius, normals, outward, compensated, errors});
}

int XCircle3DFit::Fit_SinglePoint(const float* const point, const float* const /*normal*/,
                                  float* const plane, const float& probe_radius) {
  if (point == nullptr || plane == nullptr) return kFailed;
  const float* n = plane + 3;
  const float height = (n[0] * point[0] + n[1] * point[1] + n[2] * point[2]) -
                       (n[0] * plane[0] + n[1] * plane[1] + n[2] * plane[2]);
  if (!(std::fabs(height) < probe_radius)) return kFailed;
  radius = std::sqrt(probe_radius * probe_radius - height * height);
  for (int k = 0; k < 3; ++k) {
    const float offset = height * n[k];
    center[k] = point[k] - offset;
    normal[k] = n[k];
  }
  const cv::Vec3d across = in::unitOrZero(in::auxiliaryVector(widened(n)));
  for (int k = 0; k < 3; ++k) majorDir[k] = static_cast<float>(across[k]);
  return 0;
}

void XCircle3DFit::getCircle(xgeofeature::XFCircle3D& circle) {
  circle = xgeofeature::XFCircle3D(center, normal, majorDir, radius);
}

}  // namespace xgeofit
