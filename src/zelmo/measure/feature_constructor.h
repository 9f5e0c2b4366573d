// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <zelmo/export.h>

#include "zelmo/feature/circle.h"
#include "zelmo/feature/cone.h"
#include "zelmo/feature/cylinder.h"
#include "zelmo/feature/line.h"
#include "zelmo/feature/plane.h"
#include "zelmo/feature/point.h"
#include "zelmo/feature/sphere.h"

namespace xgeofeature {

/// Derives features from features. Static operations, free of state; arithmetic is in double unless
/// said, results are rounded to float.
///
/// A line's \c center is its point; directions, normals and axes are expected to be unit. A vector is
/// small when each component's magnitude lies strictly below 1e-6; two points coincide when their
/// difference is small. A negative result is a failure, and leaves the outputs as they were. An
/// output may be one of the inputs. Input that is not finite fails or gives a result that is not
/// finite.
///
/// \see xgeomeasure::XGeoConstructor for float arrays
class ZELMO_EXPORT XGeoFConstructor {
 public:
  /// The bisector of two lines' stored directions: a line with reversed \c dir gives the other one.
  ///
  /// \param[in] a first line
  /// \param[in] b second line
  /// \param[out] bisector \c center where the lines meet, or half way between the two centers; \c
  ///     length the larger of the two
  /// \return 0 meeting; 1 parallel (small cross product; \c dir is the first line's); -1 skew: the
  ///     offset of the centers times the cross product exceeds 1e-5
  static int getAngleBisector(const XFLine3D2& a, const XFLine3D2& b, XFLine3D2& bisector);

  /// The circle through three points.
  ///
  /// \param[in] points XFPointN[3]; the circle's normal is turned to the side of the first point's
  ///     normal, the other two normals are not read
  /// \param[out] circle \c majorDir runs from the first point to the second
  /// \return 0; -1 when the second or third point coincides with the first, when the cross product of
  ///     their differences is small, or when all three lie within 0.01 of their mean in each
  ///     coordinate
  static int getCircle(const XFPointN* const points, XFCircle3D& circle);

  /// The sphere through four points.
  ///
  /// \param[in] points XFPoint[4]
  /// \param[out] sphere the sphere
  /// \return 0; -1 for coplanar points: the determinant of the differences of neighbours lies
  ///     strictly between -1e-6 and 1e-6; -1 also when the center is not finite
  static int getSphere(const XFPoint* const points, XFSphere& sphere);

  /// The plane through three points, with the smallest rectangle around them.
  ///
  /// \param[in] points XFPointN[3]; normals as in getCircle()
  /// \param[out] plane \c center, \c majorDir, \c length and \c width are the rectangle's
  /// \return 0; -1 as in getCircle()
  static int getPlane(const XFPointN* const points, XFPlane& plane);

  /// The circle in which two coaxial cones meet.
  ///
  /// \param[in] first first cone
  /// \param[in] second second cone
  /// \param[out] circle the circle, its normal along a cone's axis
  /// \return 0; -1 when the apexes coincide, when |axis . axis| differs from 1 by more than 0.0001,
  ///     or when the apexes lie the other way round along the axis; -2 when cones that point the same
  ///     way have half angles whose tangents differ by less than 0.0001
  static int getIntersectionCircle(const XFCone& first, const XFCone& second, XFCircle3D& circle);

  /// The circle about the point where a cone's axis meets a plane.
  ///
  /// \param[in] plane the plane; its normal becomes the circle's
  /// \param[in] cone the cone
  /// \param[out] circle radius by the distance of the apex to the center
  /// \return 0; -1 when the axis runs within 1e-6 of the plane's direction
  /// \note Nothing asks for an axis square to the plane.
  static int getIntersectionCircle(const XFPlane& plane, const XFCone& cone, XFCircle3D& circle);

  /// The circle about the point where a cylinder's axis meets a plane.
  ///
  /// \param[in] plane the plane; its normal and major direction become the circle's
  /// \param[in] cylinder the cylinder; its radius becomes the circle's
  /// \param[out] circle the circle
  /// \return 0; -1 when the axis runs within 1e-6 of the plane's direction
  /// \note Nothing asks for an axis square to the plane.
  static int getIntersectionCircle(const XFPlane& plane, const XFCylinder& cylinder,
                                   XFCircle3D& circle);

  /// The circle in which a plane cuts a sphere.
  ///
  /// \param[in] plane the plane
  /// \param[in] sphere the sphere
  /// \param[out] circle the circle; the sphere's own center and radius for a plane that passes its
  ///     center at less than 1e-6
  /// \return 0; -1 when the plane passes or touches the sphere
  static int getIntersectionCircle(const XFPlane& plane, const XFSphere& sphere,
                                   XFCircle3D& circle);

  /// The line in which two planes meet.
  ///
  /// \param[in] first first plane
  /// \param[in] second second plane
  /// \param[out] line spans the corners of both planes' rectangles, seen along the line
  /// \return 0; -1 when the cross product of the normals is small
  static int getIntersectionLine(const XFPlane& first, const XFPlane& second, XFLine3D2& line);

  /// The point where two lines meet, or the middle of their common perpendicular.
  ///
  /// \param[in] a first line
  /// \param[in] b second line
  /// \param[out] point the point
  /// \return 0 meeting; 1 skew: the offset of the centers times the cross product of the directions
  ///     exceeds 1e-5; -1 parallel: that cross product is exactly 0, or so small that skew lines have
  ///     no common perpendicular
  static int getIntersectionPoint(const XFLine3D2& a, const XFLine3D2& b, XFPoint& point);

  /// The points where a line cuts a sphere.
  ///
  /// \param[in] line the line
  /// \param[in] sphere the sphere
  /// \param[out] points XFPoint[2], in the order along the line; only as many as the result says are
  ///     written
  /// \return the number of points: 0, 1 (the line passes at exactly the radius) or 2
  static int getIntersectionPoint(const XFLine3D2& line, const XFSphere& sphere,
                                  XFPoint* const points);

  /// The point where three planes meet.
  ///
  /// \param[in] first first plane
  /// \param[in] second second plane
  /// \param[in] third third plane
  /// \param[out] point the point
  /// \return 0; -1 when the determinant of the normals lies strictly between -1e-6 and 1e-6
  static int getIntersectionPoint(const XFPlane& first, const XFPlane& second, const XFPlane& third,
                                  XFPoint& point);

  /// The point where a line meets a plane.
  ///
  /// \param[in] plane the plane
  /// \param[in] line the line
  /// \param[out] point the point
  /// \return 0; -1 when |dir . normal| lies strictly below 1e-6
  static int getIntersectionPoint(const XFPlane& plane, const XFLine3D2& line, XFPoint& point);

  /// The outer common tangents of two circles in a plane.
  ///
  /// \param[in] points XFPoint[2]: the centers, which are projected on the plane
  /// \param[in] radii float[2]
  /// \param[in] plane the plane
  /// \param[out] lines XFLine3D2[2], each from the touching point on the larger circle to that on the
  ///     smaller; the first lies on the side of normal x (larger to smaller). A single tangent has
  ///     length 1 and its middle in the touching point.
  /// \return the number of lines: 1 when the difference of the radii equals the distance of the
  ///     points exactly, else 2; -1 when one circle lies inside the other, when equal circles
  ///     coincide, when the points lie along the normal, or when a result is not finite; -2 when a
  ///     radius is negative
  static int getLineOffset(const XFPoint* const points, const float* const radii,
                           const XFPlane& plane, XFLine3D2* const lines);

  /// The mirror image of a line at a plane.
  ///
  /// \param[in] line the line
  /// \param[in] plane the mirror
  /// \param[out] image the image
  /// \return 0
  static int getLineSymmetry(const XFLine3D2& line, const XFPlane& plane, XFLine3D2& image);

  /// The average of planes.
  ///
  /// \param[in] planes the planes; a single one is copied
  /// \param[out] average \c center the mean of the centers; \c normal the direction of the sum of the
  ///     normals, or of two planes with a small cross product the first one's; \c length and \c width
  ///     the largest of all lengths and widths
  /// \return 0; -1 for no plane, and for normals whose sum is shorter than 1e-6
  static int getPlaneAverage(const std::vector<XFPlane>& planes, XFPlane& average);

  /// A plane moved along its normal.
  ///
  /// \param[in] plane the plane
  /// \param[in] offset how far
  /// \param[out] moved the moved plane
  /// \return 0
  static int getPlaneOffset(const XFPlane& plane, const float& offset, XFPlane& moved);

  /// The two planes that touch three spheres on the same side.
  ///
  /// \param[in] points XFPoint[3]: the centers
  /// \param[in] offsets float[3]: the radii
  /// \param[out] planes XFPlane[2], each through its touching points as getPlane() builds it, with
  ///     the normal's z not negative; the first plane lies on the side of the centers' plane to which
  ///     that plane's normal points
  /// \return 0; -1 when a pair of spheres has no two outer tangents, or no plane touches all three;
  ///     -2 when an offset is negative; -3 when two points lie closer than 1e-6; -4 when the points
  ///     span no plane
  static int getPlaneOffset(const XFPoint* const points, const float* const offsets,
                            XFPlane* const planes);

  /// The mirror image of a plane at a plane. \c majorDir, \c length and \c width are not mirrored.
  ///
  /// \param[in] plane the plane
  /// \param[in] mirror the mirror
  /// \param[out] image the image
  /// \return 0
  static int getPlaneSymmetry(const XFPlane& plane, const XFPlane& mirror, XFPlane& image);

  /// The mean of points, summed and divided in float.
  ///
  /// \param[in] points the points; a single one is copied
  /// \param[out] average the mean
  /// \return 0; -1 for no point
  static int getPointAverage(const std::vector<XFPoint>& points, XFPoint& average);

  /// A point moved along a direction, in float.
  ///
  /// \param[in] point the point
  /// \param[in] offset how far
  /// \param[in] line only its \c dir is read
  /// \param[out] moved the moved point
  /// \return 0
  static int getPointOffset(const XFPoint& point, const float& offset, const XFLine3D2& line,
                            XFPoint& moved);

  /// The mirror image of a point at a point.
  ///
  /// \param[in] point the point
  /// \param[in] about the center of the symmetry
  /// \param[out] image the image; \p about itself when the two coincide
  /// \return 0
  static int getPointSymmetry(const XFPoint& point, const XFPoint& about, XFPoint& image);

  /// The image of a point under the half turn about a line.
  ///
  /// \param[in] point the point
  /// \param[in] line the line
  /// \param[out] image the image
  /// \return 0
  static int getPointSymmetry(const XFPoint& point, const XFLine3D2& line, XFPoint& image);

  /// The mirror image of a point at a plane.
  ///
  /// \param[in] point the point
  /// \param[in] plane the plane
  /// \param[out] image the image
  /// \return 0
  static int getPointSymmetry(const XFPoint& point, const XFPlane& plane, XFPoint& image);

  /// The projection of a line on a plane, in the line's own sense.
  ///
  /// \param[in] line the line; with a half length below 0.01 its ends are taken at 1.0 from \c center
  /// \param[in] plane the plane
  /// \param[out] projection from one projected end to the other
  /// \return 0; -1 when the cross product of \c dir and \c normal is small, or the projected ends
  ///     coincide
  static int getProjectionLine(const XFLine3D2& line, const XFPlane& plane, XFLine3D2& projection);

  /// The point of a cone's generating line through \p point's side that is nearest to \p point.
  ///
  /// \param[in] point the point
  /// \param[in] cone the cone
  /// \param[out] foot the foot
  /// \return 0; -1 when the point coincides with its foot on the axis
  static int getProjectionPoint(const XFPoint& point, const XFCone& cone, XFPoint& foot);

  /// The nearest point of a cylinder without ends.
  ///
  /// \param[in] point the point
  /// \param[in] cylinder the cylinder
  /// \param[out] foot the foot
  /// \return 0; -1 when the point lies closer than 1e-6 to the axis
  static int getProjectionPoint(const XFPoint& point, const XFCylinder& cylinder, XFPoint& foot);

  /// The foot of a point on a line without ends.
  ///
  /// \param[in] point the point
  /// \param[in] line the line
  /// \param[out] foot the foot; \c center when the point coincides with it
  /// \return 0
  static int getProjectionPoint(const XFPoint& point, const XFLine3D2& line, XFPoint& foot);

  /// The foot of a point on a plane, by the plane's equation, which is summed in float.
  ///
  /// \param[in] point the point
  /// \param[in] plane the plane
  /// \param[out] foot the foot
  /// \return 0
  static int getProjectionPoint(const XFPoint& point, const XFPlane& plane, XFPoint& foot);

  /// The nearest point of a sphere.
  ///
  /// \param[in] point the point
  /// \param[in] sphere the sphere
  /// \param[out] foot the foot
  /// \return 0; -1 when the point coincides with the center
  static int getProjectionPoint(const XFPoint& point, const XFSphere& sphere, XFPoint& foot);

  /// The common perpendicular of two skew lines.
  ///
  /// \param[in] a first line
  /// \param[in] b second line
  /// \param[out] vertical from the foot on \p b to the foot on \p a
  /// \return 0; -1 parallel: the cross product of the directions is exactly 0, or too small for a
  ///     common perpendicular; -2 not skew: the offset of the centers times that cross product does
  ///     not exceed 1e-5
  static int getVerticalLine(const XFLine3D2& a, const XFLine3D2& b, XFLine3D2& vertical);
};

}  // namespace xgeofeature
