// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Where features meet, and lines between lines.
#include <algorithm>
#include <cmath>

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/measure/feature_constructor.h"
#include "zelmo/measure/internal/record_shapes.h"

namespace xgeofeature {

using zelmo::internal::coincide;
using zelmo::internal::isSmall;
using zelmo::internal::Line;
using zelmo::internal::lineOf;
using zelmo::internal::LineRelation;
using zelmo::internal::Plane;
using zelmo::internal::PlaneCoefficients;
using zelmo::internal::pointOf;
using zelmo::internal::segment;
using zelmo::internal::unitOrZero;
using zelmo::internal::widened;

namespace {

constexpr int kFailed = -1;
constexpr int kEqualAngles = -2;
constexpr int kNotSkew = -2;
constexpr int kSkewMiddle = 1;
constexpr int kParallelBisector = 1;
// By how much |axis . axis| of coaxial cones may differ from 1.
constexpr double kCoaxial = 0.0001;
// From here on coaxial cones point the same way.
constexpr double kSameWay = 0.9;
// Tangents of half angles that differ by less count as equal.
constexpr double kSameTangent = 0.0001;
// A plane that passes a sphere's center this close cuts a great circle.
constexpr double kGreatCircle = 1e-6;

/// Where a line meets a plane, rounded to float.
std::optional<XFPoint> hitOf(const XFPlane& plane, const Line& line) {
  const auto hit = zelmo::internal::lineMeetsPlane(line, Plane::of(plane.center, plane.normal));
  if (!hit) return std::nullopt;
  return pointOf(*hit);
}

XFCircle3D circleOf(const cv::Vec3d& center, const float* normal, double radius) {
  float stored[3];
  zelmo::internal::store(center, stored);
  return {stored, normal, static_cast<float>(radius)};
}

/// The circle of a cone at a depth under its apex.
int circleUnder(const XFCone& below, double depth, double tangent, XFCircle3D& circle) {
  if (!std::isfinite(depth)) return kFailed;
  circle = circleOf(widened(below.apex) - widened(below.axis) * depth, below.axis, depth * tangent);
  return 0;
}

}  // namespace

int XGeoFConstructor::getIntersectionPoint(const XFPlane& plane, const XFLine3D2& line,
                                           XFPoint& point) {
  const auto hit = hitOf(plane, lineOf(line));
  if (!hit) return kFailed;
  point = *hit;
  return 0;
}

int XGeoFConstructor::getIntersectionPoint(const XFLine3D2& a, const XFLine3D2& b, XFPoint& point) {
  const Line first = lineOf(a);
  const Line second = lineOf(b);
  switch (zelmo::internal::relationOf(first, second)) {
    case LineRelation::Parallel:
      return kFailed;
    case LineRelation::Skew: {
      const auto feet = zelmo::internal::commonPerpendicular(first, second);
      if (!feet.on_first || !feet.on_second) return kFailed;
      point = pointOf((*feet.on_first + *feet.on_second) * 0.5);
      return kSkewMiddle;
    }
    default:
      point = pointOf(zelmo::internal::meetingPoint(first, second));
      return 0;
  }
}

int XGeoFConstructor::getIntersectionPoint(const XFLine3D2& line, const XFSphere& sphere,
                                           XFPoint* const points) {
  const cv::Vec3d center = widened(sphere.center);
  const cv::Vec3d foot = zelmo::internal::storedFootOnLine(center, lineOf(line));
  const double offset = pointOf(foot).Distance(XFPoint(sphere.center));
  const double radius = sphere.radius;
  if (!(offset <= radius)) return 0;
  if (offset == radius) {
    points[0] = pointOf(foot);
    return 1;
  }
  const cv::Vec3d half = widened(line.dir) * std::sqrt(radius * radius - offset * offset);
  points[0] = pointOf(foot - half);
  points[1] = pointOf(foot + half);
  return 2;
}

int XGeoFConstructor::getIntersectionPoint(const XFPlane& first, const XFPlane& second,
                                           const XFPlane& third, XFPoint& point) {
  cv::Vec3d normals[3];
  cv::Point3d points[3];
  const XFPlane* planes[3] = {&first, &second, &third};
  for (int i = 0; i < 3; ++i) {
    normals[i] = widened(planes[i]->normal);
    points[i] = widened(planes[i]->center);
  }
  const auto met = zelmo::internal::intersectionOfPlanes(normals, points);
  if (!met) return kFailed;
  point = pointOf(cv::Vec3d(met->ptr<double>()));
  return 0;
}

int XGeoFConstructor::getIntersectionLine(const XFPlane& first, const XFPlane& second,
                                          XFLine3D2& line) {
  const auto meeting = zelmo::internal::planeMeetsPlane(first.center, first.normal, second.center,
                                                        second.normal, PlaneCoefficients::Normals);
  if (!meeting) return kFailed;
  XFPoint corners[8];
  first.getCornerPoint(corners);
  second.getCornerPoint(corners + 4);
  double smallest = 0;
  double largest = 0;
  for (int i = 0; i < 8; ++i) {
    const cv::Vec3d offset = widened(corners[i]) - meeting->point;
    const double t = isSmall(offset) ? 0.0 : meeting->direction.dot(offset);
    smallest = i == 0 ? t : std::min(smallest, t);
    largest = i == 0 ? t : std::max(largest, t);
  }
  line = segment(meeting->point + meeting->direction * smallest,
                 meeting->point + meeting->direction * largest);
  // The ends are rounded to float: on a short line they give no good direction.
  zelmo::internal::store(meeting->direction, line.dir);
  return 0;
}

int XGeoFConstructor::getIntersectionCircle(const XFPlane& plane, const XFCylinder& cylinder,
                                            XFCircle3D& circle) {
  const auto hit = hitOf(plane, Line::of(cylinder.center, cylinder.axis));
  if (!hit) return kFailed;
  const float center[3] = {hit->x, hit->y, hit->z};
  circle = XFCircle3D(center, plane.normal, plane.majorDir, cylinder.radius);
  return 0;
}

int XGeoFConstructor::getIntersectionCircle(const XFPlane& plane, const XFCone& cone,
                                            XFCircle3D& circle) {
  const auto hit = hitOf(plane, zelmo::internal::axisThroughMiddle(cone.base, cone.top, cone.axis));
  if (!hit) return kFailed;
  const double radius = XFPoint(cone.apex).Distance(*hit) * std::tan(cone.halfAngle);
  circle = circleOf(widened(*hit), plane.normal, radius);
  return 0;
}

int XGeoFConstructor::getIntersectionCircle(const XFPlane& plane, const XFSphere& sphere,
                                            XFCircle3D& circle) {
  const cv::Vec3d center = widened(sphere.center);
  const double s = cv::Vec3d(plane.a, plane.b, plane.c).dot(center) + plane.d;
  const float offset = static_cast<float>(std::fabs(s));
  if (!(offset < sphere.radius)) return kFailed;
  if (offset < kGreatCircle) {
    circle = circleOf(center, plane.normal, sphere.radius);
    return 0;
  }
  const double radius = sphere.radius;
  const double distance = offset;
  circle = circleOf(center - widened(plane.normal) * s, plane.normal,
                    std::sqrt(radius * radius - distance * distance));
  return 0;
}

int XGeoFConstructor::getIntersectionCircle(const XFCone& first, const XFCone& second,
                                            XFCircle3D& circle) {
  const cv::Vec3d apex1 = widened(first.apex);
  const cv::Vec3d apex2 = widened(second.apex);
  if (coincide(apex1, apex2)) return kFailed;
  const cv::Vec3d axis = widened(first.axis);
  const double x = axis.dot(widened(second.axis));
  if (!(std::fabs(std::fabs(x) - 1.0) <= kCoaxial)) return kFailed;
  const double tangent1 = std::tan(first.halfAngle);
  const double tangent2 = std::tan(second.halfAngle);
  const double distance = XFPoint(first.apex).Distance(XFPoint(second.apex));
  if (x > kSameWay) {
    const bool first_is_wider = first.halfAngle > second.halfAngle;
    const XFCone& wide = first_is_wider ? first : second;
    const XFLine3D2 to_narrow = first_is_wider ? segment(apex1, apex2) : segment(apex2, apex1);
    if (!(widened(to_narrow.dir).dot(axis) > 0)) return kFailed;
    const double wide_tangent = first_is_wider ? tangent1 : tangent2;
    const double narrow_tangent = first_is_wider ? tangent2 : tangent1;
    const double difference = wide_tangent - narrow_tangent;
    if (std::fabs(difference) < kSameTangent) return kEqualAngles;
    return circleUnder(wide, distance * narrow_tangent / difference, wide_tangent, circle);
  }
  const XFLine3D2 to_first = segment(apex2, apex1);
  if (!(widened(to_first.dir).dot(axis) > 0)) return kFailed;
  return circleUnder(first, distance * tangent2 / (tangent2 + tangent1), tangent1, circle);
}

int XGeoFConstructor::getAngleBisector(const XFLine3D2& a, const XFLine3D2& b,
                                       XFLine3D2& bisector) {
  const Line first = lineOf(a);
  const Line second = lineOf(b);
  const float length = std::max(a.length, b.length);
  float center[3];
  float dir[3];
  if (isSmall(first.direction.cross(second.direction))) {
    zelmo::internal::store((first.point + second.point) * 0.5, center);
    bisector = XFLine3D2(center, a.dir, length);
    return kParallelBisector;
  }
  if (zelmo::internal::relationOf(first, second) != LineRelation::Meeting) return kFailed;
  zelmo::internal::store(zelmo::internal::meetingPoint(first, second), center);
  zelmo::internal::store(unitOrZero((first.direction + second.direction) * 0.5), dir);
  bisector = XFLine3D2(center, dir, length);
  return 0;
}

int XGeoFConstructor::getVerticalLine(const XFLine3D2& a, const XFLine3D2& b, XFLine3D2& vertical) {
  const Line first = lineOf(a);
  const Line second = lineOf(b);
  const LineRelation relation = zelmo::internal::relationOf(first, second);
  if (relation == LineRelation::Parallel) return kFailed;
  if (relation == LineRelation::Meeting) return kNotSkew;
  const auto feet = zelmo::internal::commonPerpendicular(first, second);
  if (!feet.on_first || !feet.on_second) return kFailed;
  vertical = segment(*feet.on_second, *feet.on_first);
  return 0;
}

}  // namespace xgeofeature
