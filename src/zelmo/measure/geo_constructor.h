// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

/// Room [measure](docs/rooms/measure.md): constructions and dimensions on arrays, tolerances.
namespace xgeomeasure {

/// Constructs features from points, lines and planes given as float arrays. Static operations, free
/// of state; arithmetic is in double unless said, results are rounded to float.
///
/// | Array | Entries |
/// |---|---|
/// | point | float[3]: x, y, z |
/// | line | float[6]: a point, then the direction |
/// | plane | float[6]: a point, then the normal |
/// | circle | float[10]: center, unit normal, unit reference direction, radius |
/// | sphere | float[4]: center, radius |
///
/// A vector is small when each component's magnitude lies strictly below 1e-6. On failure the
/// outputs stay as they were; an output must not overlap an input. Input that is not finite fails or
/// gives a result that is not finite.
///
/// \see xgeofeature::XGeoFConstructor for feature records
class ZELMO_EXPORT XGeoConstructor {
 public:
  /// The circle through three points.
  ///
  /// \param[in] points float[9]
  /// \param[out] circle float[10]; the reference direction runs from the first point to the second
  /// \return 0; -1 when the second or third point minus the first is small, when their cross product
  ///     is small, or when all three lie within 0.01 of their mean in each coordinate
  /// \note The points pass through float coordinates of the plane's own frame, and their squares are
  ///     summed in float.
  static int Circle3D_3Point(const float* const points, float* const circle);

  /// The plane through three points.
  ///
  /// \param[in] points float[9]
  /// \param[out] plane float[6]: the first point and the unit normal
  /// \return 0; -1 when a difference to the first point, rounded to float, or their cross product is
  ///     small
  static int Plane_3Point(const float* const points, float* const plane);

  /// The sphere through four points.
  ///
  /// \param[in] points float[12]
  /// \param[out] sphere float[4]
  /// \return 0; -1 when the determinant of the differences of neighbours lies strictly between -1e-6
  ///     and 1e-6 (four coplanar points), or when the center is not finite
  /// \note Squares of coordinates are summed in float: far from the origin that limits the result.
  static int Sphere_4Point(const float* const points, float* const sphere);

  /// The point where two lines meet.
  ///
  /// \param[in] first float[6]
  /// \param[in] second float[6]
  /// \param[out] point float[3]; written only with 2
  /// \return 0 parallel: the cross product of the directions is exactly 0; 1 skew: the offset of the
  ///     points times that cross product exceeds 1e-5; 2 meeting
  static int Intersection_Line_Line(const float* const first, const float* const second,
                                    float* const point);

  /// The feet of the common perpendicular of two lines.
  ///
  /// \param[in] first float[6]
  /// \param[in] second float[6]
  /// \param[out] onFirst float[3]; untouched for parallel lines
  /// \param[out] onSecond float[3]; untouched for parallel lines
  /// \return 0 in every case
  static int Intersection_Line_Line2(const float* const first, const float* const second,
                                     float* const onFirst, float* const onSecond);

  /// The point where a line meets a plane; direction and normal of any length.
  ///
  /// \param[in] line float[6]
  /// \param[in] plane float[6]
  /// \param[out] point float[3]
  /// \return 0; -1 when |direction . normal| lies strictly below 1e-6
  static int Intersection_Line_Plane(const float* const line, const float* const plane,
                                     float* const point);

  /// The direction in which two planes meet, with a point.
  ///
  /// \param[in] first float[6]
  /// \param[in] second float[6]
  /// \param[out] line float[6]: a point and the unit cross product of the normals
  /// \return 0; -1 when the cross product of the normals is small
  /// \note The point solves two equations whose coefficients are the planes' points, not their
  ///     normals; it lies on both planes only in special cases, and is not finite where these
  ///     equations have no solution. xgeofeature::XGeoFConstructor::getIntersectionLine() gives the
  ///     line of intersection.
  static int Intersection_Plane_Plane(const float* const first, const float* const second,
                                      float* const line);

  /// The foot of a point on a line.
  ///
  /// \param[in] point float[3]
  /// \param[in] line float[6], direction unit
  /// \param[out] foot float[3]; the line's point when \p point minus it is small
  /// \return 0
  static int Projection_Point_Line(const float* const point, const float* const line,
                                   float* const foot);

  /// The foot of a point on a plane.
  ///
  /// \param[in] point float[3]
  /// \param[in] plane float[6], normal of any length
  /// \param[out] foot float[3]; untouched when the square of the normal's length lies below 1e-6
  /// \return 0 in every case
  static int Projection_Point_Plane(const float* const point, const float* const plane,
                                    float* const foot);

  /// The projection of a line on a plane.
  ///
  /// \param[in] line float[6]
  /// \param[in] plane float[6]
  /// \param[out] projection float[6]: the foot of the line's point, and a unit direction
  /// \return 0; -1 when the cross product of direction and normal is small, or the square of the
  ///     normal's length lies below 1e-6
  /// \note The direction runs against the line.
  static int Projection_Line_Plane(const float* const line, const float* const plane,
                                   float* const projection);

 private:
  static void getMatRT_LineSymmetry(const float* const line, double* const rt);
  static void getMatRT_PlaneSymmetry(const float* const plane, double* const rt);
  static void getMatRT_PointSymmetry(const float* const point, double* const rt);
};

}  // namespace xgeomeasure
