// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>

#include <opencv2/core/matx.hpp>

/// \file
/// Where vertices and edges of a mesh lie against the outline of a circle or a slot.

namespace zelmo::internal {

/// Where a vertex lies.
constexpr char kOutside = 1;
constexpr char kInside = -1;
constexpr char kOnCurve = 0;

/// The side of a cylinder about \p axis (unit) on which \p p lies; on the curve when the squared
/// distance from the axis differs from the squared radius by less than 1e-6.
/// \param[in] p, center, axis float[3]
inline char sideOfCylinder(const float* p, const float* center, const float* axis, double radius) {
  constexpr double kSamePoint = 1e-6;
  constexpr double kOnSquare = 1e-6;
  // Named one by one: small vectors would go through memory, and this runs for every corner.
  const double x = static_cast<double>(p[0]) - center[0];
  const double y = static_cast<double>(p[1]) - center[1];
  const double z = static_cast<double>(p[2]) - center[2];
  const double along = x * axis[0] + y * axis[1] + z * axis[2];
  const double rx = x - along * axis[0];
  const double ry = y - along * axis[1];
  const double rz = z - along * axis[2];
  const bool is_center =
      std::fabs(x) < kSamePoint && std::fabs(y) < kSamePoint && std::fabs(z) < kSamePoint;
  const double square = is_center ? 0.0 : rx * rx + ry * ry + rz * rz;
  const double limit = radius * radius;
  if (std::fabs(square - limit) < kOnSquare) return kOnCurve;
  return square > limit ? kOutside : kInside;
}

/// The side of a slot along x, centred at the origin, on which (x, y) lies. Never on the curve: its
/// outline belongs to the inside.
inline char sideOfSlot(double x, double y, double half_straight, double radius) {
  const double along = std::fabs(x);
  if (along > half_straight + radius || std::fabs(y) > radius) return kOutside;
  const double past = along - half_straight;
  return past > 0 && past * past + y * y > radius * radius ? kOutside : kInside;
}

/// What became of a crossing.
constexpr int kCrossed = 0;
constexpr int kStartsAtCenter = -1;
constexpr int kPassesBy = -2;

/// The nearer point in which the line from \p start towards \p end meets a circle, all in the plane
/// of the circle.
/// \param[in] start, end, center float[3]
/// \param[out] out float[3], written only when crossed
/// \return kCrossed; kStartsAtCenter when \p start lies within 1e-6 of the center in each
///     coordinate; kPassesBy when the line misses the circle
int crossCircle(const float* center, double radius, const float* start, const float* end,
                float* out);

/// The parts of a slot's outline.
constexpr char kNoPart = -1;
constexpr char kArcAtMinus = 0;   // at x = -half_straight
constexpr char kArcAtPlus = 1;    // at x = half_straight
constexpr char kSideAtPlus = 2;   // y = radius
constexpr char kSideAtMinus = 3;  // y = -radius

/// The point in which a segment crosses the outline of a slot along x, centred at the origin. A
/// segment that spans less than 0.001 in x is taken as vertical, half way between its ends.
/// \param[in] from, to float[2]
/// \param[out] out float[2], written only when there is a crossing
/// \return the part crossed, kNoPart for none. Of several the sides come before the arcs.
char crossSlot(double half_straight, double radius, const float* from, const float* to, float* out);

/// Whether the outline turns from an arc into a side between two parts, and where.
/// \param[out] junction (x, y), written only when it does
bool junctionBetween(char part, char other, double half_straight, double radius,
                     cv::Vec2f& junction);

}  // namespace zelmo::internal
