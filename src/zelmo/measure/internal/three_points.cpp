// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/measure/internal/three_points.h"

#include <cmath>
#include <utility>

#include "zelmo/feature/internal/local_frame.h"
#include "zelmo/measure/internal/line_plane.h"

namespace zelmo::internal {
namespace {

bool isFinite(const cv::Vec3d& v) {
  return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
}

cv::Vec3d edge(const PointView& three, int to, EdgeRounding rounding) {
  const cv::Vec3d difference = three.vector(to) - three.vector(0);
  return rounding == EdgeRounding::ToFloat ? throughFloat(difference) : difference;
}

std::optional<LocalProjection> inOwnFrame(const PointView& three, const cv::Vec3d& normal) {
  const double plane[4] = {normal[0], normal[1], normal[2], -normal.dot(three.vector(0))};
  return projectToLocal(three, plane, {});
}

/// Half of the difference of two squared lengths, formed in float from left to right.
float halfDifferenceOfSquares(const cv::Point2f& p, const cv::Point2f& q) {
  const float difference = p.x * p.x - q.x * q.x + p.y * p.y - q.y * q.y;
  return difference * 0.5F;
}

}  // namespace

std::optional<ThreePointPlane> planeThrough(const PointView& three, EdgeRounding rounding) {
  const cv::Vec3d a = edge(three, 1, rounding);
  const cv::Vec3d b = edge(three, 2, rounding);
  if (isSmall(a) || isSmall(b)) return std::nullopt;
  const cv::Vec3d cross = a.cross(b);
  if (isSmall(cross) || !isFinite(cross)) return std::nullopt;
  return ThreePointPlane{unitOrZero(cross), unitOrZero(a)};
}

std::optional<ThreePointCircle> circleThrough(const PointView& three, const cv::Vec3d& normal) {
  const auto local = inOwnFrame(three, normal);
  if (!local) return std::nullopt;
  cv::Mat rows(2, 2, CV_64F);
  cv::Mat right(2, 1, CV_64F);
  for (int i = 0; i < 2; ++i) {
    const cv::Point2f& p = local->points[static_cast<std::size_t>(i)];
    const cv::Point2f& q = local->points[static_cast<std::size_t>(i) + 1];
    rows.at<double>(i, 0) = static_cast<double>(p.x) - q.x;
    rows.at<double>(i, 1) = static_cast<double>(p.y) - q.y;
    right.at<double>(i) = halfDifferenceOfSquares(p, q);
  }
  cv::Mat inverse;
  if (cv::invert(rows, inverse) == 0) return std::nullopt;
  const cv::Mat solved = inverse * right;
  const double x = solved.at<double>(0);
  const double y = solved.at<double>(1);
  const double radius = std::hypot(x - local->points[0].x, y - local->points[0].y);
  if (!std::isfinite(radius)) return std::nullopt;
  return ThreePointCircle{toWorld(local->frame, x, y), radius};
}

std::optional<ThreePointRectangle> rectangleAround(const PointView& three,
                                                   const cv::Vec3d& normal) {
  const auto local = inOwnFrame(three, normal);
  if (!local) return std::nullopt;
  const cv::RotatedRect box = boundingRectangle(local->points);
  cv::Point2f corners[4];
  box.points(corners);
  cv::Point2d major(corners[0] - corners[1]);
  cv::Point2d minor(corners[2] - corners[1]);
  // CONTRACT: of two equal sides the second is the major one.
  if (cv::norm(major) <= cv::norm(minor)) std::swap(major, minor);
  const cv::Vec3d turned = rotateDirection(local->frame.world_from_local, {major.x, major.y, 0.0});
  return ThreePointRectangle{toWorld(local->frame, box.center.x, box.center.y), unitOrZero(turned),
                             cv::norm(major), cv::norm(minor)};
}

}  // namespace zelmo::internal
