// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/feature/internal/local_frame.h"

#include <cmath>

#include <opencv2/imgproc.hpp>

namespace zelmo::internal {
namespace {

constexpr double kOffOrigin = 0.01;

cv::Vec3d fallbackAxis(const cv::Vec3d& n) {
  const bool x_is_largest =
      std::fabs(n[0]) >= std::fabs(n[1]) && std::fabs(n[0]) >= std::fabs(n[2]);
  const cv::Vec3d seed = x_is_largest ? cv::Vec3d(0, 1, 0) : cv::Vec3d(1, 0, 0);
  return unitOrZero(unitOrZero(n.cross(seed)).cross(n));
}

}  // namespace

cv::Point3d meanOf(const std::vector<cv::Point3f>& points) {
  cv::Point3d sum;
  for (const auto& p : points) sum += cv::Point3d(p);
  return points.empty() ? sum : sum / static_cast<double>(points.size());
}

std::optional<cv::Vec3d> firstAxis(const std::vector<cv::Point3f>& points,
                                   const cv::Point3d& origin) {
  for (const auto& p : points) {
    const cv::Vec3d offset(p.x - origin.x, p.y - origin.y, p.z - origin.z);
    const bool is_near = std::fabs(offset[0]) < kOffOrigin && std::fabs(offset[1]) < kOffOrigin &&
                         std::fabs(offset[2]) < kOffOrigin;
    if (!is_near) return unitOrZero(offset);
  }
  return std::nullopt;
}

std::optional<LocalFrame> localFrame(const std::vector<cv::Point3f>& points,
                                     const cv::Point3d& origin, const cv::Vec3d& normal,
                                     const LocalFrameOptions& options) {
  auto x = firstAxis(points, origin);
  if (!x) {
    if (options.no_axis_point == NoAxisPoint::NoFrame) return std::nullopt;
    x = fallbackAxis(normal);
  }
  const cv::Vec3d y = unitOrZero(normal.cross(*x));
  const auto local_from_world = worldToFrame(origin, *x, y, normal, options.opposite_cross);
  if (!local_from_world) return std::nullopt;
  return LocalFrame{*local_from_world, rigidInverse(local_from_world->data())};
}

std::vector<cv::Point2f> toLocal(const std::vector<cv::Point3f>& points, const LocalFrame& frame) {
  std::vector<cv::Point2f> local;
  local.reserve(points.size());
  for (const auto& p : points) {
    const cv::Point3d q = transformPoint(frame.local_from_world, p);
    local.emplace_back(static_cast<float>(q.x), static_cast<float>(q.y));
  }
  return local;
}

std::optional<LocalProjection> projectToLocal(const PointView& points, const double* plane,
                                              const LocalFrameOptions& options) {
  std::vector<cv::Point3f> projected;
  projectOnPlane(points, plane, projected);
  const auto frame =
      localFrame(projected, meanOf(projected), {plane[0], plane[1], plane[2]}, options);
  if (!frame) return std::nullopt;
  return LocalProjection{*frame, toLocal(projected, *frame)};
}

cv::Point3d toWorld(const LocalFrame& frame, double x, double y) {
  const Rigid& m = frame.world_from_local;
  return {m[0] * x + m[1] * y + m[3], m[4] * x + m[5] * y + m[7], m[8] * x + m[9] * y + m[11]};
}

cv::RotatedRect boundingRectangle(const std::vector<cv::Point2f>& points) {
  std::vector<cv::Point2f> finite;
  const auto is_finite = [](const cv::Point2f& p) {
    return std::isfinite(p.x) && std::isfinite(p.y);
  };
  const bool all_finite = std::all_of(points.begin(), points.end(), is_finite);
  if (!all_finite)
    std::copy_if(points.begin(), points.end(), std::back_inserter(finite), is_finite);
  const auto& usable = all_finite ? points : finite;
  return usable.empty() ? cv::RotatedRect() : cv::minAreaRect(usable);
}

std::array<float, 12> axisParallelCorners(const cv::RotatedRect& box, const LocalFrame& frame) {
  const double half_width = box.size.width * 0.5;
  const double half_height = box.size.height * 0.5;
  const double x1 = box.center.x + half_width;
  const double x0 = box.center.x - half_width;
  const double y1 = box.center.y + half_height;
  const double y0 = box.center.y - half_height;
  const cv::Point3d corners[4] = {toWorld(frame, x1, y1), toWorld(frame, x0, y1),
                                  toWorld(frame, x0, y0), toWorld(frame, x1, y0)};
  std::array<float, 12> out;
  for (std::size_t i = 0; i < 4; ++i) {
    out[3 * i] = static_cast<float>(corners[i].x);
    out[3 * i + 1] = static_cast<float>(corners[i].y);
    out[3 * i + 2] = static_cast<float>(corners[i].z);
  }
  return out;
}

}  // namespace zelmo::internal
