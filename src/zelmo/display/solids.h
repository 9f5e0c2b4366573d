// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

#include "zelmo/display/geometry3d.h"

/// \file
/// Solids as two rings of points for drawing.
///
/// The axis is expected to be of unit length; nothing makes it so. Whatever the arguments, the
/// return value is 0. Nothing is written when a buffer is null or the axis is zero or not finite.

namespace xgeometry {

/// A cylinder.
class ZELMO_EXPORT XCylinder : public XGeometry3D {
 public:
  float point[3];  ///< center of the first ring, in the host's length unit, as all lengths here
  float axis[3];   ///< unit, from the first ring to the second
  float height;    ///< from the first ring to the second
  float radius;    ///< of both rings

  /// \param[in] base float[3]: point, the center of the first ring
  /// \param[in] direction float[3]: the axis
  /// \param[in] h the height
  /// \param[in] r the radius
  XCylinder(const float* const base, const float* const direction, const float& h, const float& r);

  /// The ring about the point and the ring at the height along the axis.
  ///
  /// \param[in] count number of points per ring; below 1 nothing is written
  /// \param[out] first float[3 * count]: x, y, z per point
  /// \param[out] second float[3 * count]: each point of the first ring, rounded to float, plus
  ///     height times the axis
  /// \return 0
  int getDisplayData(const int& count, float* first, float* second);
};

/// A truncated cone.
class ZELMO_EXPORT XCone : public XGeometry3D {
 public:
  float point[3];      ///< center of the first ring, in the host's length unit, as all lengths here
  float axis[3];       ///< unit, from the first ring to the second
  float height;        ///< from the first ring to the second
  float firstRadius;   ///< of the ring about the point
  float secondRadius;  ///< of the ring at the height

  /// \param[in] base float[3]: point, the center of the first ring
  /// \param[in] direction float[3]: the axis
  /// \param[in] h the height
  /// \param[in] first_radius at the point
  /// \param[in] second_radius at the height along the axis
  XCone(const float* const base, const float* const direction, const float& h,
        const float& first_radius, const float& second_radius);

  /// The ring about the point and the ring at the height along the axis, in the same angles.
  ///
  /// \param[in] count number of points per ring; below 1 nothing is written
  /// \param[out] first float[3 * count]: x, y, z per point
  /// \param[out] second float[3 * count]: x, y, z per point
  /// \return 0
  int getDisplayData(const int& count, float* first, float* second);
};

/// A sphere; a place holder without data.
class ZELMO_EXPORT XSphere : public XGeometry3D {};

/// A plane; a place holder without data.
class ZELMO_EXPORT XPlane : public XGeometry3D {};

}  // namespace xgeometry
