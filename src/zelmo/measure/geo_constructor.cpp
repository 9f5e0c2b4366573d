// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/measure/geo_constructor.h"

#include <algorithm>

#include "zelmo/feature/internal/frame_members.h"
#include "zelmo/internal/through_points.h"
#include "zelmo/measure/internal/line_plane.h"
#include "zelmo/measure/internal/three_points.h"

namespace xgeomeasure {

using zelmo::internal::EdgeRounding;
using zelmo::internal::Line;
using zelmo::internal::LineRelation;
using zelmo::internal::Plane;
using zelmo::internal::PlaneCoefficients;
using zelmo::internal::PointView;
using zelmo::internal::SquareSums;
using zelmo::internal::store;
using zelmo::internal::throughFloat;
using zelmo::internal::widened;

namespace {

constexpr int kFailed = -1;

int storeIfAny(const std::optional<cv::Vec3d>& point, float* out) {
  if (!point) return kFailed;
  store(*point, out);
  return 0;
}

/// The foot of a point on a plane with a normal of any length, as a float array holds it.
std::optional<cv::Vec3d> footOnPlane(const cv::Vec3d& point, const Plane& plane) {
  const auto foot = zelmo::internal::lineMeetsPlane({point, plane.normal}, plane);
  if (!foot) return std::nullopt;
  return throughFloat(*foot);
}

}  // namespace

int XGeoConstructor::Circle3D_3Point(const float* const points, float* const circle) {
  const PointView three(points, 3);
  const auto plane = zelmo::internal::planeThrough(three, EdgeRounding::None);
  if (!plane) return kFailed;
  const auto found = zelmo::internal::circleThrough(three, plane->normal);
  if (!found) return kFailed;
  store({found->center.x, found->center.y, found->center.z}, circle);
  store(plane->normal, circle + 3);
  store(plane->to_second, circle + 6);
  circle[9] = static_cast<float>(found->radius);
  return 0;
}

int XGeoConstructor::Plane_3Point(const float* const points, float* const plane) {
  const auto found = zelmo::internal::planeThrough(PointView(points, 3), EdgeRounding::ToFloat);
  if (!found) return kFailed;
  std::copy_n(points, 3, plane);
  store(found->normal, plane + 3);
  return 0;
}

int XGeoConstructor::Sphere_4Point(const float* const points, float* const sphere) {
  const auto found = zelmo::internal::sphereThrough(points, SquareSums::InFloat);
  if (!found) return kFailed;
  std::copy(found->center.begin(), found->center.end(), sphere);
  sphere[3] = found->radius;
  return 0;
}

int XGeoConstructor::Intersection_Line_Line(const float* const first, const float* const second,
                                            float* const point) {
  const Line a = Line::of(first);
  const Line b = Line::of(second);
  switch (zelmo::internal::relationOf(a, b)) {
    case LineRelation::Parallel:
      return 0;
    case LineRelation::Skew:
      return 1;
    default:
      store(zelmo::internal::meetingPoint(a, b), point);
      return 2;
  }
}

int XGeoConstructor::Intersection_Line_Line2(const float* const first, const float* const second,
                                             float* const onFirst, float* const onSecond) {
  const auto feet = zelmo::internal::commonPerpendicular(Line::of(first), Line::of(second));
  // CONTRACT: a foot that is missing is not reported.
  storeIfAny(feet.on_second, onSecond);
  storeIfAny(feet.on_first, onFirst);
  return 0;
}

int XGeoConstructor::Intersection_Line_Plane(const float* const line, const float* const plane,
                                             float* const point) {
  return storeIfAny(zelmo::internal::lineMeetsPlane(Line::of(line), Plane::of(plane)), point);
}

int XGeoConstructor::Intersection_Plane_Plane(const float* const first, const float* const second,
                                              float* const line) {
  const auto meeting = zelmo::internal::planeMeetsPlane(first, first + 3, second, second + 3,
                                                        PlaneCoefficients::Points);
  if (!meeting) return kFailed;
  store(meeting->point, line);
  // CONTRACT: the coordinate that was set to 0 is negative zero, but for z.
  if (meeting->zeroed < 2) line[meeting->zeroed] = -0.0F;
  store(meeting->direction, line + 3);
  return 0;
}

int XGeoConstructor::Projection_Point_Line(const float* const point, const float* const line,
                                           float* const foot) {
  store(zelmo::internal::footOnLine(widened(point), Line::of(line)), foot);
  return 0;
}

int XGeoConstructor::Projection_Point_Plane(const float* const point, const float* const plane,
                                            float* const foot) {
  // CONTRACT: a foot that is missing is not reported.
  storeIfAny(footOnPlane(widened(point), Plane::of(plane)), foot);
  return 0;
}

int XGeoConstructor::Projection_Line_Plane(const float* const line, const float* const plane,
                                           float* const projection) {
  const Line source = Line::of(line);
  const Plane on = Plane::of(plane);
  if (zelmo::internal::isSmall(source.direction.cross(on.normal))) return kFailed;
  const auto first = footOnPlane(source.point, on);
  const auto second = footOnPlane(throughFloat(source.point + source.direction), on);
  if (!first || !second) return kFailed;
  store(*first, projection);
  // CONTRACT: first less second, so that the direction runs against the line.
  store(zelmo::internal::unitOrZero(*first - *second), projection + 3);
  return 0;
}

void XGeoConstructor::getMatRT_LineSymmetry(const float* const line, double* const rt) {
  zelmo::internal::storeLineSymmetry(line, rt);
}

void XGeoConstructor::getMatRT_PlaneSymmetry(const float* const plane, double* const rt) {
  zelmo::internal::storePlaneSymmetry(plane, rt);
}

void XGeoConstructor::getMatRT_PointSymmetry(const float* const point, double* const rt) {
  zelmo::internal::storePointSymmetry(point, rt);
}

}  // namespace xgeomeasure
