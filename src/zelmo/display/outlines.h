// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

#include "zelmo/display/curve3d.h"

/// \file
/// Flat features as lists of points for drawing.
///
/// A list is open: its first point is not repeated at the end. It runs from majorDir towards
/// normal x majorDir. Normals and major directions are expected to be of unit length and orthogonal.
/// Arcs step by a turn through count, so the arcs of an oval or round groove end at their sides only
/// when count is a multiple of 4; otherwise their points lie on the arcs' circles, off the outline.
/// Whatever the arguments, the return value is 0. Nothing is written when \p out is null, or when
/// the normal and the major direction span no frame (one is zero or not finite, or they are
/// parallel). Each call, also one that writes no point, writes the lines of XCurve3D::alignBy3Plane
/// on the standard output.

namespace xgeometry {

/// A circle.
class ZELMO_EXPORT XCicle3D : public XCurve3D {
 public:
  float center[3];    ///< x, y, z in the host's length unit, as all lengths here
  float normal[3];    ///< unit normal of the plane
  float majorDir[3];  ///< where the first point lies, unit
  float radius;       ///< of the circle

  /// \param[in] point float[3]: the center
  /// \param[in] direction float[3]: the normal
  /// \param[in] major_direction float[3]: majorDir
  /// \param[in] r the radius
  XCicle3D(const float* const point, const float* const direction,
           const float* const major_direction, const float& r);

  /// Points of this circle.
  ///
  /// \param[in] count number of points; below 1 nothing is written
  /// \param[out] out float[3 * count]: x, y, z per point
  /// \return 0
  int getDisplayData(const int& count, float* const out);

  /// Points of the circle that the arguments tell; the object's own fields play no part.
  ///
  /// \param[in] point float[3]: the center
  /// \param[in] direction float[3]: the normal
  /// \param[in] major_direction float[3]: where the first point lies
  /// \param[in] r the radius
  /// \param[in] count number of points; below 1 nothing is written
  /// \param[out] out float[3 * count]: x, y, z per point
  /// \return 0
  int getDisplayData(const float* const point, const float* const direction,
                     const float* const major_direction, const float& r, const int& count,
                     float* const out);

  /// The same with some major direction orthogonal to the normal.
  ///
  /// \param[in] point float[3]: the center
  /// \param[in] direction float[3]: the normal
  /// \param[in] r the radius
  /// \param[in] count number of points; below 1 nothing is written
  /// \param[out] out float[3 * count]: x, y, z per point
  /// \return 0
  int getDisplayData2(const float* const point, const float* const direction, const float& r,
                      const int& count, float* const out);
};

/// A stadium outline: two straight sides joined by half circles.
class ZELMO_EXPORT XOvalGroove3D : public XCurve3D {
 public:
  float center[3];     ///< x, y, z in the host's length unit, as all lengths here
  float normal[3];     ///< unit normal of the plane
  float majorDir[3];   ///< unit, along the straight sides
  float halfStraight;  ///< half the length of a straight side
  float radius;        ///< of the half circles

  /// \param[in] point float[3]: the center
  /// \param[in] direction float[3]: the normal
  /// \param[in] major_direction float[3]: majorDir, along the straight sides
  /// \param[in] half_straight half the length of the straight sides
  /// \param[in] r the radius of the arcs
  XOvalGroove3D(const float* const point, const float* const direction,
                const float* const major_direction, const float& half_straight, const float& r);

  /// Points of this outline: an arc, a side, the other arc, the other side.
  ///
  /// \param[in] count number of points on both arcs, rounded towards zero to a multiple of 4; below
  ///     4 only the ends of the sides are written
  /// \param[out] out float[3 * (4 * (count / 4) + 4)]: x, y, z per point; float[12] for a count
  ///     below 4
  /// \return 0
  int getDisplayData(const int& count, float* const out);

  /// Points of the outline that the arguments tell; the object's own fields play no part.
  ///
  /// \param[in] point float[3]: the center
  /// \param[in] direction float[3]: the normal
  /// \param[in] major_direction float[3]: along the straight sides
  /// \param[in] half_straight half the length of the straight sides
  /// \param[in] r the radius of the arcs
  /// \param[in] count as above
  /// \param[out] out as above
  /// \return 0
  int getDisplayData(const float* const point, const float* const direction,
                     const float* const major_direction, const float& half_straight, const float& r,
                     const int& count, float* const out);
};

/// A rectangle.
class ZELMO_EXPORT XRectangle3D : public XCurve3D {
 public:
  float center[3];    ///< x, y, z in the host's length unit, as all lengths here
  float normal[3];    ///< unit normal of the plane
  float majorDir[3];  ///< unit, along the length
  float halfLength;   ///< half the extent along majorDir
  float halfWidth;    ///< half the extent across majorDir

  /// \param[in] point float[3]: the center
  /// \param[in] direction float[3]: the normal
  /// \param[in] major_direction float[3]: majorDir, along the length
  /// \param[in] half_length half the length
  /// \param[in] half_width half the width
  XRectangle3D(const float* const point, const float* const direction,
               const float* const major_direction, const float& half_length,
               const float& half_width);

  /// The four corners of this rectangle, the first at (+, +) of length and width.
  ///
  /// \param[out] out float[12]: x, y, z per corner
  /// \return 0
  int getDisplayData(float* const out);

  /// The corners of the rectangle that the arguments tell; the object's own fields play no part.
  ///
  /// \param[in] point float[3]: the center
  /// \param[in] direction float[3]: the normal
  /// \param[in] major_direction float[3]: along the length
  /// \param[in] half_length half the length
  /// \param[in] half_width half the width
  /// \param[out] out float[12]: x, y, z per corner
  /// \return 0
  int getDisplayData(const float* const point, const float* const direction,
                     const float* const major_direction, const float& half_length,
                     const float& half_width, float* const out);
};

/// A rectangle with rounded corners.
class ZELMO_EXPORT XRoundGroove3D : public XCurve3D {
 public:
  float center[3];     ///< x, y, z in the host's length unit, as all lengths here
  float normal[3];     ///< unit normal of the plane
  float majorDir[3];   ///< unit, along the length
  float halfLength;    ///< half the extent along majorDir
  float halfWidth;     ///< half the extent across majorDir
  float cornerRadius;  ///< of the quarter circles at the corners

  /// \param[in] point float[3]: the center
  /// \param[in] direction float[3]: the normal
  /// \param[in] major_direction float[3]: majorDir, along the length
  /// \param[in] half_length half the length
  /// \param[in] half_width half the width
  /// \param[in] corner_radius the radius of the corners
  XRoundGroove3D(const float* const point, const float* const direction,
                 const float* const major_direction, const float& half_length,
                 const float& half_width, const float& corner_radius);

  /// Points of this outline: a corner and the side after it, four times.
  ///
  /// \param[in] count number of points on the four corners, rounded towards zero to a multiple of
  ///     4; below 4 only the ends of the sides are written
  /// \param[out] out float[3 * (4 * (count / 4) + 8)]: x, y, z per point; float[24] for a count
  ///     below 4
  /// \return 0
  int getDisplayData(const int& count, float* const out);

  /// Points of the outline that the arguments tell; the object's own fields play no part.
  ///
  /// \param[in] point float[3]: the center
  /// \param[in] direction float[3]: the normal
  /// \param[in] major_direction float[3]: along the length
  /// \param[in] half_length half the length
  /// \param[in] half_width half the width
  /// \param[in] corner_radius the radius of the corners
  /// \param[in] count as above
  /// \param[out] out as above
  /// \return 0
  int getDisplayData(const float* const point, const float* const direction,
                     const float* const major_direction, const float& half_length,
                     const float& half_width, const float& corner_radius, const int& count,
                     float* const out);
};

}  // namespace xgeometry
