// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

namespace xgeomeasure {

/// Distances and angles between points, lines and planes given as float arrays. Static operations,
/// free of state; arithmetic is in double.
///
/// A point is float[3]. A line or a plane is float[6]: a point, then the direction or the normal,
/// which is used as it is and expected to be unit.
///
/// \see xgeofeature::XGeoDimension for feature records; the two differ in their rules.
class ZELMO_EXPORT XGeoDimension {
 public:
  /// Distance of two points.
  ///
  /// \param[in] first float[3]
  /// \param[in] second float[3]
  /// \return the distance
  static double calcDistance_Point2Point(const float* const first, const float* const second);

  /// Distance of a point from a line.
  ///
  /// \param[in] point float[3]
  /// \param[in] line float[6]
  /// \return the length of (point - line's point) x direction, which is the distance for a unit
  ///     direction and scales with any other; 0 when the point differs from the line's point by
  ///     strictly less than 0.001 in each coordinate
  static double calcDistance_Point2Line(const float* const point, const float* const line);

  /// Absolute distance of a point from a plane.
  ///
  /// \param[in] point float[3]
  /// \param[in] plane float[6]
  /// \return the distance; it scales with the length of the normal
  static double calcDistance_Point2Plane(const float* const point, const float* const plane);

  /// Angle between two directions.
  ///
  /// \param[in] first float[6]
  /// \param[in] second float[6]
  /// \return the angle in degrees, 0 to 180; 0 for a dot product of 1 or more, 180 for one of -1 or
  ///     less and for NaN
  static double calcAngle_Line_Line(const float* const first, const float* const second);

  /// Angle between a line's direction and a plane's normal.
  ///
  /// \param[in] line float[6]
  /// \param[in] plane float[6]
  /// \return as calcAngle_Line_Line()
  /// \note Not the angle between line and plane: a line that lies in the plane gives 90, one along
  ///     the normal 0.
  static double calcAngle_Line_Plane(const float* const line, const float* const plane);

  /// Angle between two normals.
  ///
  /// \param[in] first float[6]
  /// \param[in] second float[6]
  /// \return as calcAngle_Line_Line()
  static double calcAngle_Plane_Plane(const float* const first, const float* const second);
};

}  // namespace xgeomeasure
