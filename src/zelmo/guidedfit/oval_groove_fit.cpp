// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/guidedfit/oval_groove_fit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "zelmo/guidedfit/internal/guided_limits.h"
#include "zelmo/guidedfit/internal/planar_frame.h"
#include "zelmo/guidedfit/internal/probe_compensation.h"
#include "zelmo/internal/objective.h"

namespace xgeofit {
namespace {

namespace in = zelmo::internal;

constexpr int kFailed = -1;
constexpr int kMinCount = 3;
constexpr float kStepDivisor = 100.0F;
constexpr double kAngleStep = 0.001;

/// Distance to an end arc less its radius: the arc's center lies at (u, v) in the axes that the
/// angle turns.
struct EndArcResidual {
  double cosine, sine, u, v, radius;
  ZELMO_ALWAYS_INLINE double operator()(double x, double y) const {
    const double du = cosine * x + sine * y - u;
    const double dv = cosine * y - sine * x - v;
    return std::sqrt(dv * dv + du * du) - radius;
  }
};

/// The points of both ends, each known to lie on its own arc.
struct Ends {
  in::PlanarView first;
  in::PlanarView second;
};

struct EndArcs {
  EndArcResidual first;
  EndArcResidual second;
};

/// The arcs of a stadium (cx, cy, half straight, radius, angle); the first point of end 1 decides
/// which end is the low one.
EndArcs arcsOf(const Ends& ends, const double* p) {
  const double cosine = std::cos(p[4]);
  const double sine = std::sin(p[4]);
  const double middle = cosine * p[0] + sine * p[1];
  const double v = cosine * p[1] - sine * p[0];
  const float* first = ends.first.at(0);
  const bool first_is_low = middle > cosine * first[0] + sine * first[1];
  const double towards_first = first_is_low ? -p[2] : p[2];
  return {{cosine, sine, middle + towards_first, v, p[3]},
          {cosine, sine, middle - towards_first, v, p[3]}};
}

ZELMO_MULTIVERSION double endsSquareSum(const Ends& ends, const EndArcs& arcs) {
  return in::foldSquareSum(ends.first, arcs.first) + in::foldSquareSum(ends.second, arcs.second);
}

/// Center, half straight, radius and angle of the bounding rectangle.
std::array<double, 5> seedOf(const Ends& ends) {
  std::vector<cv::Point2f> joined;
  for (const in::PlanarView& end : {ends.first, ends.second}) {
    for (int i = 0; i < end.count(); ++i) joined.emplace_back(end.at(i)[0], end.at(i)[1]);
  }
  const cv::RotatedRect box = in::boundingRectangle(joined);
  const float half_width = box.size.width / 2;
  const float half_height = box.size.height / 2;
  const bool along_width = half_width > half_height;
  const float half_straight = along_width ? half_width - half_height : half_height - half_width;
  const float angle = along_width ? box.angle : box.angle + 90.0F;
  return {box.center.x, box.center.y, half_straight, std::min(half_width, half_height),
          in::inRadians(angle, true)};
}

struct Touched {
  in::PlanarPoints points;
  XOvalGroove2DFit outline;
};

std::optional<Touched> fitInPlane(const in::PointView& end1, const in::PointView& end2,
                                  const float* plane, float* projected) {
  if (end1.count() < kMinCount || end2.count() < kMinCount) return std::nullopt;
  auto joined = in::toPointVector(end1);
  const auto second = in::toPointVector(end2);
  joined.insert(joined.end(), second.begin(), second.end());
  auto in_plane = in::intoPlane(joined, plane, projected);
  if (!in_plane) return std::nullopt;
  Touched touched{std::move(*in_plane), {}};
  const in::PlanarView local(touched.points.local);
  if (touched.outline.Fit(local.data(), end1.count(), local.at(end1.count()), end2.count()) < 0) {
    return std::nullopt;
  }
  return touched;
}

void store(const Touched& touched, const float* plane, XOvalGroove3DFit& out) {
  const XOvalGroove2DFit& outline = touched.outline;
  in::placeInSpace(touched.points.frame, outline.cx, outline.cy, out.center);
  std::copy_n(plane + 3, 3, out.normal);
  const double angle = outline.angle;
  in::turnIntoSpace(touched.points.frame, std::cos(angle), std::sin(angle), out.majorDir);
  out.halfStraight = outline.halfStraight;
  out.radius = outline.radius;
}

/// The arc center that is nearer to a point; the second one only when it is strictly nearer.
struct NearerArcCenter {
  cv::Vec3d first;
  cv::Vec3d second;
  cv::Vec3d operator()(const float* point) const {
    const cv::Vec3d p(point[0], point[1], point[2]);
    return cv::norm(p - second) < cv::norm(p - first) ? second : first;
  }
};

int fitCompensated(XOvalGroove3DFit& fit, const in::PointView& end1, const in::PointView& end2,
                   const float* plane, const in::Probe& probe) {
  const auto touched =
      probe.knowsItsSide() ? fitInPlane(end1, end2, plane, nullptr) : std::optional<Touched>();
  if (!touched) return kFailed;
  store(*touched, plane, fit);
  for (int k = 0; k < 3; ++k) {
    const float along = fit.majorDir[k] * fit.halfStraight;
    fit.arcCenter1[k] = fit.center[k] - along;
    fit.arcCenter2[k] = fit.center[k] + along;
  }
  const NearerArcCenter origin{{fit.arcCenter1[0], fit.arcCenter1[1], fit.arcCenter1[2]},
                               {fit.arcCenter2[0], fit.arcCenter2[1], fit.arcCenter2[2]}};
  // CONTRACT: the side is told about the axis of the slot, not about an end's own arc center.
  const cv::Vec3d foot = in::footOnAxis(fit.center, fit.normal, end1.at(0));
  in::compensateRadially(probe, in::signedRadius(probe, foot, end1.at(0)), fit.radius,
                         in::PointView(touched->points.projected), origin,
                         in::CompensatedPoint::MovedByRadius);
  return 0;
}

}  // namespace

XOvalGroove2DFit::XOvalGroove2DFit() : m_simplex(5, in::kGuidedIterations, &Distance_LeastSquare) {}

int XOvalGroove2DFit::Fit(const float* end1, const int& count1, const float* end2,
                          const int& count2) {
  const Ends ends{in::PlanarView(end1, count1), in::PlanarView(end2, count2)};
  if (ends.first.count() < kMinCount || ends.second.count() < kMinCount) return kFailed;
  std::array<double, 5> p = seedOf(ends);
  const double along_step = static_cast<float>(p[2]) / kStepDivisor;
  const double across_step = static_cast<float>(p[3]) / kStepDivisor;
  const double steps[] = {along_step, across_step, along_step, across_step, kAngleStep};
  m_simplex.descend(&ends, p.data(), steps);
  cx = static_cast<float>(p[0]);
  cy = static_cast<float>(p[1]);
  halfStraight = static_cast<float>(p[2]);
  radius = static_cast<float>(p[3]);
  angle = static_cast<float>(p[4]);
  return 0;
}

double XOvalGroove2DFit::Distance_LeastSquare(const gsl_vector* v, void* params) {
  const Ends& ends = *static_cast<const Ends*>(params);
  return endsSquareSum(ends, arcsOf(ends, in::valuesOf<5>(v).data()));
}

int XOvalGroove3DFit::Fit(const float* points1, const float* /*normals1*/, const int& count1,
                          const float* points2, const float* /*normals2*/, const int& count2,
                          float* const plane, float* projected) {
  const auto touched =
      fitInPlane(in::PointView(points1, count1), in::PointView(points2, count2), plane, projected);
  if (!touched) return kFailed;
  store(*touched, plane, *this);
  return 0;
}

int XOvalGroove3DFit::Fit(const float* points1, const float* normals1, const int& count1,
                          const float* points2, const float* /*normals2*/, const int& count2,
                          float* const plane, const float& probe_radius, float* compensated,
                          float* errors) {
  return fitCompensated(*this, in::PointView(points1, count1), in::PointView(points2, count2),
                        plane, {probe_radius, normals1, std::nullopt, compensated, errors});
}

int XOvalGroove3DFit::Fit(const float* points1, const float* normals1, const int& count1,
                          const float* points2, const float* /*normals2*/, const int& count2,
                          float* const plane, const float& probe_radius, float* compensated,
                          float* errors, bool outward) {
  return fitCompensated(*this, in::PointView(points1, count1), in::PointView(points2, count2),
                        plane, {probe_radius, normals1, outward, compensated, errors});
}

void XOvalGroove3DFit::getOvalGroove(xgeofeature::XFOvalGroove3D& groove) {
  groove = xgeofeature::XFOvalGroove3D(center, normal, majorDir, halfStraight, radius);
}

}  // namespace xgeofit
