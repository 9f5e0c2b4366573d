// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include <opencv2/core/matx.hpp>

/// \file
/// Lines and planes that meet, and feet on them: the mathematics of the array constructions, the
/// record constructions and both families of dimensions. In double, on float input.

namespace zelmo::internal {

inline cv::Vec3d widened(const float* p) { return {p[0], p[1], p[2]}; }

inline void store(const cv::Vec3d& v, float* out) {
  for (int i = 0; i < 3; ++i) out[i] = static_cast<float>(v[i]);
}

/// \p v as a float array would hold it.
inline cv::Vec3d throughFloat(const cv::Vec3d& v) {
  float stored[3];
  store(v, stored);
  return widened(stored);
}

/// A direction of any length; a rule that needs a unit one says so.
struct Line {
  cv::Vec3d point, direction;

  static Line of(const float* point, const float* direction) {
    return {widened(point), widened(direction)};
  }
  static Line of(const float* six) { return of(six, six + 3); }
};

struct Plane {
  cv::Vec3d point, normal;

  static Plane of(const float* point, const float* normal) {
    return {widened(point), widened(normal)};
  }
  static Plane of(const float* six) { return of(six, six + 3); }
};

/// Whether the magnitude of each component lies strictly below 1e-6. NaN is not small.
bool isSmall(const cv::Vec3d& v);

/// Whether two points differ by strictly less than 1e-6 in each coordinate.
inline bool coincide(const cv::Vec3d& p, const cv::Vec3d& q) { return isSmall(p - q); }

/// \return nothing when |direction . normal| lies strictly below 1e-6
std::optional<cv::Vec3d> lineMeetsPlane(const Line& line, const Plane& plane);

enum class LineRelation {
  Parallel,  ///< the cross product of the directions is exactly 0
  Skew,      ///< |offset . cross| exceeds 1e-5
  Meeting,
};

// CONTRACT: parallel is a test without a tolerance, unlike all others here.
LineRelation relationOf(const Line& first, const Line& second);

/// The meeting point, on the first line. \pre relationOf is Meeting
cv::Vec3d meetingPoint(const Line& first, const Line& second);

/// The feet of the common perpendicular; each is missing when its line runs within 1e-6 of the plane
/// that it should meet.
struct CommonPerpendicular {
  std::optional<cv::Vec3d> on_first, on_second;
};

CommonPerpendicular commonPerpendicular(const Line& first, const Line& second);

/// The foot of \p p on a line with a unit direction; the line's point itself when \p p coincides
/// with it.
cv::Vec3d footOnLine(const cv::Vec3d& p, const Line& line);

/// What stands before the unknowns of the two plane equations.
enum class PlaneCoefficients {
  Normals,  ///< getIntersectionLine
  Points,   ///< Intersection_Plane_Plane
};

struct PlaneMeeting {
  cv::Vec3d point;
  cv::Vec3d direction;  ///< unit
  int zeroed;           ///< the coordinate of the point that was set to 0
};

/// The line in which two planes meet. Planes are float triples; their offsets are summed in float.
/// \return nothing when the cross product of the normals is small
// CONTRACT: with PlaneCoefficients::Points the planes' points stand where their normals belong.
std::optional<PlaneMeeting> planeMeetsPlane(const float* point1, const float* normal1,
                                            const float* point2, const float* normal2,
                                            PlaneCoefficients coefficients);

}  // namespace zelmo::internal
