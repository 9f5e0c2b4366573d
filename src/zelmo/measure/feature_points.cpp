// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Feet, mirror images, offsets and averages.
#include <algorithm>
#include <cmath>

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/feature/internal/record_math.h"
#include "zelmo/measure/feature_constructor.h"
#include "zelmo/measure/internal/record_shapes.h"

namespace xgeofeature {

using zelmo::internal::coincide;
using zelmo::internal::isSmall;
using zelmo::internal::Line;
using zelmo::internal::lineOf;
using zelmo::internal::pointOf;
using zelmo::internal::storedFootOnLine;
using zelmo::internal::unitOrZero;
using zelmo::internal::widened;

namespace {

constexpr int kFailed = -1;
// A point this close to a cylinder's axis has no direction away from it.
constexpr double kOnAxis = 1e-6;
// Normals whose sum is shorter have no average.
constexpr double kNoDirection = 1e-6;
// A line with a shorter half length is projected from ends at kSubstituteHalf.
constexpr double kShortHalf = 0.01;
constexpr double kSubstituteHalf = 1.0;

}  // namespace

int XGeoFConstructor::getProjectionPoint(const XFPoint& point, const XFLine3D2& line,
                                         XFPoint& foot) {
  foot = pointOf(zelmo::internal::footOnLine(widened(point), lineOf(line)));
  return 0;
}

int XGeoFConstructor::getProjectionPoint(const XFPoint& point, const XFPlane& plane,
                                         XFPoint& foot) {
  foot = zelmo::internal::footOnPlane(point, plane);
  return 0;
}

int XGeoFConstructor::getProjectionPoint(const XFPoint& point, const XFSphere& sphere,
                                         XFPoint& foot) {
  const cv::Vec3d center = widened(sphere.center);
  const cv::Vec3d out = widened(point) - center;
  if (isSmall(out)) return kFailed;
  foot = pointOf(center + unitOrZero(out) * static_cast<double>(sphere.radius));
  return 0;
}

int XGeoFConstructor::getProjectionPoint(const XFPoint& point, const XFCylinder& cylinder,
                                         XFPoint& foot) {
  const cv::Vec3d on_axis =
      storedFootOnLine(widened(point), Line::of(cylinder.center, cylinder.axis));
  if (point.Distance(pointOf(on_axis)) < kOnAxis) return kFailed;
  foot = pointOf(on_axis +
                 unitOrZero(widened(point) - on_axis) * static_cast<double>(cylinder.radius));
  return 0;
}

int XGeoFConstructor::getProjectionPoint(const XFPoint& point, const XFCone& cone, XFPoint& foot) {
  const cv::Vec3d p = widened(point);
  const cv::Vec3d on_axis =
      storedFootOnLine(p, zelmo::internal::axisThroughMiddle(cone.base, cone.top, cone.axis));
  if (coincide(on_axis, p)) return kFailed;
  const double radius = XFPoint(cone.apex).Distance(pointOf(on_axis)) * std::tan(cone.halfAngle);
  const cv::Vec3d on_surface = on_axis + unitOrZero(p - on_axis) * radius;
  const XFLine3D2 generator = zelmo::internal::segment(widened(cone.apex), on_surface);
  foot = pointOf(zelmo::internal::footOnLine(p, lineOf(generator)));
  return 0;
}

int XGeoFConstructor::getPointOffset(const XFPoint& point, const float& offset,
                                     const XFLine3D2& line, XFPoint& moved) {
  moved = XFPoint(point.x + line.dir[0] * offset, point.y + line.dir[1] * offset,
                  point.z + line.dir[2] * offset);
  return 0;
}

int XGeoFConstructor::getPointAverage(const std::vector<XFPoint>& points, XFPoint& average) {
  if (points.empty()) return kFailed;
  if (points.size() == 1) {
    average = points.front();
    return 0;
  }
  float sum[3] = {};
  for (const XFPoint& p : points) {
    sum[0] += p.x;
    sum[1] += p.y;
    sum[2] += p.z;
  }
  const float count = static_cast<float>(points.size());
  average = XFPoint(sum[0] / count, sum[1] / count, sum[2] / count);
  return 0;
}

int XGeoFConstructor::getPointSymmetry(const XFPoint& point, const XFPoint& about, XFPoint& image) {
  const cv::Vec3d center = widened(about);
  if (coincide(widened(point), center)) {
    image = about;
    return 0;
  }
  const XFLine3D2 line = zelmo::internal::segment(center, widened(point));
  image = pointOf(center - widened(line.dir) * static_cast<double>(line.length));
  return 0;
}

int XGeoFConstructor::getPointSymmetry(const XFPoint& point, const XFLine3D2& line,
                                       XFPoint& image) {
  XFPoint foot;
  getProjectionPoint(point, line, foot);
  return getPointSymmetry(point, foot, image);
}

int XGeoFConstructor::getPointSymmetry(const XFPoint& point, const XFPlane& plane, XFPoint& image) {
  XFPoint foot;
  getProjectionPoint(point, plane, foot);
  return getPointSymmetry(point, foot, image);
}

int XGeoFConstructor::getProjectionLine(const XFLine3D2& line, const XFPlane& plane,
                                        XFLine3D2& projection) {
  const cv::Vec3d dir = widened(line.dir);
  if (isSmall(dir.cross(widened(plane.normal)))) return kFailed;
  const double stored_half = line.length * 0.5;
  const double half = stored_half < kShortHalf ? kSubstituteHalf : stored_half;
  const cv::Vec3d center = widened(line.center);
  const XFPoint start = zelmo::internal::footOnPlane(pointOf(center - dir * half), plane);
  const XFPoint end = zelmo::internal::footOnPlane(pointOf(center + dir * half), plane);
  if (coincide(widened(start), widened(end))) return kFailed;
  projection = zelmo::internal::segment(widened(start), widened(end));
  return 0;
}

int XGeoFConstructor::getLineSymmetry(const XFLine3D2& line, const XFPlane& plane,
                                      XFLine3D2& image) {
  const XFLine3D ends = line;
  XFPoint start;
  XFPoint end;
  getPointSymmetry(XFPoint(ends.start), plane, start);
  getPointSymmetry(XFPoint(ends.end), plane, end);
  image = zelmo::internal::segment(widened(start), widened(end));
  return 0;
}

int XGeoFConstructor::getPlaneOffset(const XFPlane& plane, const float& offset, XFPlane& moved) {
  XFPlane result = plane;
  zelmo::internal::storePointAlong(plane.center, plane.normal, offset, result.center);
  result.d = zelmo::internal::planeOffset(result.center, result.normal);
  moved = result;
  return 0;
}

int XGeoFConstructor::getPlaneSymmetry(const XFPlane& plane, const XFPlane& mirror,
                                       XFPlane& image) {
  const XFLine3D2 normal_line(plane.center, plane.normal, 2.0F);
  XFLine3D2 mirrored;
  getLineSymmetry(normal_line, mirror, mirrored);
  // CONTRACT: the major direction and both sides are taken over without being mirrored.
  image = XFPlane(mirrored.center, mirrored.dir, plane.majorDir, plane.length, plane.width);
  return 0;
}

int XGeoFConstructor::getPlaneAverage(const std::vector<XFPlane>& planes, XFPlane& average) {
  if (planes.empty()) return kFailed;
  if (planes.size() == 1) {
    average = planes.front();
    return 0;
  }
  cv::Vec3d centers;
  cv::Vec3d normals;
  float side = -1.0F;
  for (const XFPlane& plane : planes) {
    centers += widened(plane.center);
    normals += widened(plane.normal);
    side = std::max({side, plane.length, plane.width});
  }
  cv::Vec3d normal = unitOrZero(normals);
  const cv::Vec3d first = widened(planes[0].normal);
  // CONTRACT: of two parallel planes the first one's normal counts, whatever the other's sense.
  const bool is_parallel_pair =
      planes.size() == 2 && isSmall(first.cross(widened(planes[1].normal)));
  if (is_parallel_pair) {
    normal = first;
  } else if (!(cv::norm(normals) >= kNoDirection)) {
    return kFailed;
  }
  float center[3];
  float direction[3];
  zelmo::internal::store(centers * (1.0 / static_cast<double>(planes.size())), center);
  zelmo::internal::store(normal, direction);
  average = XFPlane(center, direction);
  average.length = side;
  average.width = side;
  return 0;
}

}  // namespace xgeofeature
