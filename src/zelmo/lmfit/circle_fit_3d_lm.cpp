// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/lmfit/circle_fit_3d_lm.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "zelmo/feature/internal/local_frame.h"
#include "zelmo/lmfit/internal/flat_circle.h"
#include "zelmo/lmfit/plane_fit_lm.h"

namespace zelmolm {
namespace {

namespace zi = zelmo::internal;

constexpr int kMinimumCount = 3;

/// A plane, a frame in it, and the points there.
struct FlatPoints {
  float a, b, c, d;
  zi::LocalFrame frame;
  std::vector<cv::Point2f> points;
};

std::optional<FlatPoints> flatten(const float* points, const float* normals, const int& count,
                                  const float* plane, bool fit_plane) {
  if (count < kMinimumCount || (plane == nullptr && !fit_plane)) return std::nullopt;
  FlatPoints flat{0, 0, 0, 0, {}, {}};
  if (!fit_plane) {
    flat.a = plane[3];
    flat.b = plane[4];
    flat.c = plane[5];
    flat.d = -(plane[3] * plane[0] + plane[4] * plane[1] + plane[5] * plane[2]);
  } else {
    XPlaneFitLM fit;
    if (fit.Fit(points, normals, count, xfeaturefitfilter::FilterParam(45.0F, 2.5F, 0.05F),
                xfeaturefitfilter::FilterProportionAngle) < 0) {
      return std::nullopt;
    }
    flat.a = fit.a;
    flat.b = fit.b;
    flat.c = fit.c;
    flat.d = fit.d;
  }
  const double equation[4] = {flat.a, flat.b, flat.c, flat.d};
  std::vector<cv::Point3f> projected;
  zi::projectOnPlane(zi::PointView(points, count), equation, projected);
  const auto frame = zi::localFrame(projected, zi::meanOf(projected), {flat.a, flat.b, flat.c}, {});
  if (!frame) return std::nullopt;
  flat.frame = *frame;
  flat.points = zi::toLocal(projected, *frame);
  return flat;
}

void store(const FlatPoints& flat, const zi::FlatCircle& circle, XCircleFit3DLM& fit) {
  const cv::Point3d center = zi::toWorld(flat.frame, circle.cx, circle.cy);
  fit.center[0] = static_cast<float>(center.x);
  fit.center[1] = static_cast<float>(center.y);
  fit.center[2] = static_cast<float>(center.z);
  fit.normal[0] = flat.a;
  fit.normal[1] = flat.b;
  fit.normal[2] = flat.c;
  for (std::size_t i = 0; i < 3; ++i) {
    fit.majorDir[i] = static_cast<float>(flat.frame.world_from_local[4 * i]);
  }
  fit.radius = circle.r;
}

}  // namespace

int XCircleFit3DLM::Fit(const float* points, const float* normals, const int& count,
                        float* const plane, bool fitPlane) {
  const auto flat = flatten(points, normals, count, plane, fitPlane);
  if (!flat) return -1;
  const auto circle = zi::inscribedCircle(zi::PlanarView(flat->points));
  if (!circle) return -1;
  store(*flat, *circle, *this);
  return 0;
}

int XCircleFit3DLM::Fit2(const float* points, const float* normals, const int& count,
                         float* const plane, bool fitPlane) {
  const auto flat = flatten(points, normals, count, plane, fitPlane);
  if (!flat) return -1;
  const auto circle = zi::leastSquaresCircle(zi::PlanarView(flat->points));
  if (!circle) return -1;
  store(*flat, *circle, *this);
  return 0;
}

}  // namespace zelmolm
