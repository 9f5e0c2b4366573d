// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/curvefit/internal/outline_frame.h"

#include <algorithm>
#include <cmath>

#include "zelmo/simplex/plane_fit.h"

namespace zelmo::internal {

std::optional<FlatPoints> flatten(const PointView& points) {
  FlatPoints flat{};
  x3dfit::XPlaneFit().Fit(points.data(), points.count(), flat.plane.data(), x3dfit::LeastAbsDev);
  auto local = projectToLocal(points, flat.plane.data(),
                              {NoAxisPoint::FallbackAxis, OppositeCross::AnyHalfTurn});
  if (!local) return std::nullopt;
  flat.frame = local->frame;
  flat.points = std::move(local->points);
  return flat;
}

OutlineScore scoreOf(xcurve3dfit::FitMethod method) {
  switch (method) {
    case xcurve3dfit::LeastSquare:
      return OutlineScore::SquareSum;
    case xcurve3dfit::LeastAbsDevInscribed:
      return OutlineScore::InscribedSum;
    case xcurve3dfit::Chebyshev:
      return OutlineScore::LargestAbs;
    case xcurve3dfit::ChebyshevInscribed:
      return OutlineScore::LargestInscribed;
    case xcurve3dfit::ChebyshevCircumscribed:
      return OutlineScore::LargestCircumscribed;
    default:
      return OutlineScore::AbsSum;
  }
}

BoundingStart boundingStart(const std::vector<cv::Point2f>& points) {
  const cv::RotatedRect box = boundingRectangle(points);
  const double half_width = box.size.width / 2.0;
  const double half_height = box.size.height / 2.0;
  const bool is_wide = half_width > half_height;
  const float degrees = is_wide ? box.angle : box.angle + 90.0F;
  return {box.center.x, box.center.y, std::max(half_width, half_height),
          std::min(half_width, half_height), degrees * CV_PI / 180.0};
}

void placeOutline(const FlatPoints& flat, double cx, double cy, double angle, float* out) {
  const cv::Point3d center = toWorld(flat.frame, cx, cy);
  const Rigid& m = flat.frame.world_from_local;
  const double c = std::cos(angle);
  const double s = std::sin(angle);
  const double values[9] = {center.x,
                            center.y,
                            center.z,
                            flat.plane[0],
                            flat.plane[1],
                            flat.plane[2],
                            c * m[0] + s * m[1],
                            c * m[4] + s * m[5],
                            c * m[8] + s * m[9]};
  for (int i = 0; i < 9; ++i) out[i] = static_cast<float>(values[i]);
}

void storeOutline(const float* out, float* center, float* normal, float* major_dir,
                  std::initializer_list<float*> sizes) {
  std::copy_n(out, 3, center);
  std::copy_n(out + 3, 3, normal);
  std::copy_n(out + 6, 3, major_dir);
  const float* size = out + 9;
  for (float* field : sizes) *field = *size++;
}

bool orientNormal(const PointView& normals, float* normal, float* out) {
  int along = 0;
  for (int i = 0; i < normals.count(); ++i) {
    const float* n = normals.at(i);
    const float dot = n[0] * normal[0] + n[1] * normal[1] + n[2] * normal[2];
    if (dot > 0) ++along;
  }
  if (normals.count() - along <= along) return true;
  for (int i = 0; i < 3; ++i) out[3 + i] = normal[i] = -normal[i];
  return true;
}

}  // namespace zelmo::internal
