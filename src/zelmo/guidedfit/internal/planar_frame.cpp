// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/guidedfit/internal/planar_frame.h"

#include <algorithm>

namespace zelmo::internal {

std::optional<PlanarPoints> intoPlane(const std::vector<cv::Point3f>& points, const float* plane,
                                      float* projected) {
  if (plane == nullptr) return std::nullopt;
  const float* normal = plane + 3;
  const float d = -(normal[0] * plane[0] + normal[1] * plane[1] + normal[2] * plane[2]);
  const double equation[4] = {normal[0], normal[1], normal[2], d};
  PlanarPoints in_plane;
  projectOnPlane(PointView(points), equation, in_plane.projected);
  const cv::Vec3d n(equation);
  const auto frame = localFrame(in_plane.projected, meanOf(in_plane.projected), n,
                                {NoAxisPoint::FallbackAxis, OppositeCross::AboutFirstNormal});
  if (!frame) return std::nullopt;
  const PointView view(in_plane.projected);
  if (projected != nullptr) std::copy(view.data(), view.at(view.count()), projected);
  in_plane.frame = *frame;
  in_plane.local = toLocal(in_plane.projected, *frame);
  return in_plane;
}

void placeInSpace(const LocalFrame& frame, double x, double y, float* out) {
  const cv::Point3d p = toWorld(frame, x, y);
  out[0] = static_cast<float>(p.x);
  out[1] = static_cast<float>(p.y);
  out[2] = static_cast<float>(p.z);
}

void turnIntoSpace(const LocalFrame& frame, double x, double y, float* out) {
  const cv::Vec3d v = rotateDirection(frame.world_from_local, {x, y, 0});
  for (int k = 0; k < 3; ++k) out[k] = static_cast<float>(v[k]);
}

}  // namespace zelmo::internal
