// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/feature/internal/plane_extent.h"

#include <cmath>

#include "zelmo/feature/internal/local_frame.h"

namespace zelmo::internal {
namespace {

std::array<float, 3> inFloat(const cv::Vec3d& v) {
  return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
}

}  // namespace

std::optional<PlaneExtent> planeExtent(const PointView& points, const double* plane) {
  std::vector<cv::Point3f> projected;
  projectOnPlane(points, plane, projected);
  const auto frame = localFrame(projected, meanOf(projected), cv::Vec3d(plane),
                                {NoAxisPoint::FallbackAxis, OppositeCross::AboutFirstNormal});
  if (!frame) return std::nullopt;
  const cv::RotatedRect box = boundingRectangle(toLocal(projected, *frame));
  const cv::Size2f size = box.size;
  const bool along_first_side = size.width * 0.5 > size.height * 0.5;
  const float degrees = along_first_side ? box.angle : box.angle + 90.0F;
  const double angle = inRadians(degrees, true);
  const cv::Vec3d along(std::cos(angle), std::sin(angle), 0.0);
  const cv::Point3d center = toWorld(*frame, box.center.x, box.center.y);
  return PlaneExtent{inFloat({center.x, center.y, center.z}),
                     inFloat(rotateDirection(frame->world_from_local, along)),
                     along_first_side ? size.width : size.height,
                     along_first_side ? size.height : size.width, axisParallelCorners(box, *frame)};
}

}  // namespace zelmo::internal
