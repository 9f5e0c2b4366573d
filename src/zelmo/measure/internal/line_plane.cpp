// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/measure/internal/line_plane.h"

#include <cmath>

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/feature/internal/record_math.h"

namespace zelmo::internal {
namespace {

constexpr double kSmallComponent = 1e-6;
constexpr double kAlongPlane = 1e-6;
constexpr double kSkewVolume = 1e-5;

}  // namespace

bool isSmall(const cv::Vec3d& v) {
  return std::fabs(v[0]) < kSmallComponent && std::fabs(v[1]) < kSmallComponent &&
         std::fabs(v[2]) < kSmallComponent;
}

std::optional<cv::Vec3d> lineMeetsPlane(const Line& line, const Plane& plane) {
  const double s = line.direction.dot(plane.normal);
  if (std::fabs(s) < kAlongPlane) return std::nullopt;
  const double t = (plane.point - line.point).dot(plane.normal) / s;
  return line.point + line.direction * t;
}

LineRelation relationOf(const Line& first, const Line& second) {
  const cv::Vec3d cross = first.direction.cross(second.direction);
  if (cross[0] == 0 && cross[1] == 0 && cross[2] == 0) return LineRelation::Parallel;
  const double volume = (second.point - first.point).dot(cross);
  return std::fabs(volume) > kSkewVolume ? LineRelation::Skew : LineRelation::Meeting;
}

cv::Vec3d meetingPoint(const Line& first, const Line& second) {
  const cv::Vec3d cross = first.direction.cross(second.direction);
  const cv::Vec3d e = (second.point - first.point).cross(second.direction);
  const double t = cv::norm(e) / cv::norm(cross);
  return first.point + first.direction * (e.dot(cross) < 0 ? -t : t);
}

CommonPerpendicular commonPerpendicular(const Line& first, const Line& second) {
  const cv::Vec3d across = unitOrZero(first.direction.cross(second.direction));
  // The two planes hold the common perpendicular and one line each. Their normals are not rounded:
  // between nearly parallel lines that would move the feet far.
  const cv::Vec3d with_first = unitOrZero(across.cross(first.direction));
  const cv::Vec3d with_second = across.cross(second.direction);
  return {lineMeetsPlane(first, {second.point, with_second}),
          lineMeetsPlane(second, {first.point, with_first})};
}

cv::Vec3d footOnLine(const cv::Vec3d& p, const Line& line) {
  if (coincide(p, line.point)) return line.point;
  const double t = -(line.point - p).dot(line.direction);
  return line.point + line.direction * t;
}

std::optional<PlaneMeeting> planeMeetsPlane(const float* point1, const float* normal1,
                                            const float* point2, const float* normal2,
                                            PlaneCoefficients coefficients) {
  const cv::Vec3d cross = widened(normal1).cross(widened(normal2));
  if (isSmall(cross)) return std::nullopt;
  const double offset1 = planeOffset(point1, normal1);
  const double offset2 = planeOffset(point2, normal2);
  PlaneMeeting meeting{{0, 0, 0}, unitOrZero(cross), 0};
  meeting.zeroed = largestComponent(meeting.direction.val);
  const int i = meeting.zeroed == 0 ? 1 : 0;
  const int j = meeting.zeroed == 2 ? 1 : 2;
  const bool by_normals = coefficients == PlaneCoefficients::Normals;
  const float* row1 = by_normals ? normal1 : point1;
  const float* row2 = by_normals ? normal2 : point2;
  const double a1 = row1[i], b1 = row1[j], a2 = row2[i], b2 = row2[j];
  const double determinant = a1 * b2 - a2 * b1;
  meeting.point[i] = (b1 * offset2 - b2 * offset1) / determinant;
  meeting.point[j] = (a2 * offset1 - a1 * offset2) / determinant;
  return meeting;
}

}  // namespace zelmo::internal
