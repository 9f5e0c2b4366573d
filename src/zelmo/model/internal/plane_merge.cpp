// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>

#include <opencv2/core/types.hpp>

#include "zelmo/feature/internal/local_frame.h"
#include "zelmo/model/internal/outlines.h"

namespace zelmo::internal {

using xmodelfeature::XFPlane;
using xmodelfeature::XFPoint;

namespace {

std::vector<cv::Point3f> cornersOf(const std::vector<XFPlane>& planes) {
  std::vector<cv::Point3f> points;
  points.reserve(4 * planes.size());
  for (const XFPlane& plane : planes) {
    std::array<XFPoint, 4> ring;
    plane.getCornerPoint(ring.data());
    for (const XFPoint& p : ring) points.emplace_back(p.x, p.y, p.z);
  }
  return points;
}

void store(const cv::Point3d& p, float* out) {
  out[0] = static_cast<float>(p.x);
  out[1] = static_cast<float>(p.y);
  out[2] = static_cast<float>(p.z);
}

}  // namespace

void mergePlanes(const std::vector<XFPlane>& planes, XFPlane& merged) {
  if (planes.empty()) return;
  XFPlane result = planes.front();
  const auto points = cornersOf(planes);
  const cv::Point3d center(result.center[0], result.center[1], result.center[2]);
  const cv::Vec3d normal(result.normal[0], result.normal[1], result.normal[2]);
  const auto frame = planes.size() == 1 ? std::nullopt : localFrame(points, center, normal, {});
  if (frame) {
    const cv::RotatedRect box = boundingRectangle(toLocal(points, *frame));
    std::array<cv::Point2f, 4> r;
    box.points(r.data());
    const cv::Vec2d s(r[0].x - r[1].x, r[0].y - r[1].y);
    const cv::Vec2d t(r[2].x - r[1].x, r[2].y - r[1].y);
    const double ns = cv::norm(s);
    const double nt = cv::norm(t);
    const cv::Vec2d direction = ns > nt ? s * (1.0 / ns) : t * (nt == 0.0 ? 0.0 : 1.0 / nt);
    const cv::Vec3d major =
        rotateDirection(frame->world_from_local, {direction[0], direction[1], 0.0});
    result.length = static_cast<float>(ns > nt ? ns : nt);
    result.width = static_cast<float>(ns > nt ? nt : ns);
    store(toWorld(*frame, box.center.x, box.center.y), result.center);
    store(cv::Point3d(major), result.majorDir);
    for (std::size_t i = 0; i < 4; ++i)
      store(toWorld(*frame, r[i].x, r[i].y), result.corners + 3 * i);
  }
  merged = std::move(result);
}

}  // namespace zelmo::internal
