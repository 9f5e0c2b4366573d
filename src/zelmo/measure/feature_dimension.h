// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

#include "zelmo/feature/attributes.h"
#include "zelmo/feature/line.h"
#include "zelmo/feature/plane.h"
#include "zelmo/feature/point.h"

namespace xgeofeature {

/// Distances and angles between feature records. Static operations, free of state.
///
/// Angles are in radians and between the stored directions, which are expected to be unit: opposite
/// ones give pi. A dot product of 1 or more gives 0, one of -1 or less and NaN give pi.
///
/// \see xgeomeasure::XGeoDimension for float arrays; the two differ in their rules.
class ZELMO_EXPORT XGeoDimension {
 public:
  /// Distance of two points, in float, with its parts along the axes.
  ///
  /// \param[in] first first point
  /// \param[in] second second point
  /// \param[out] distance the distance and the absolute differences
  /// \return 0
  static int Distance(const XFPoint& first, const XFPoint& second, XDistanceAttributes& distance);

  /// Distance of a point from a line without ends.
  ///
  /// \param[in] point the point
  /// \param[in] line the line
  /// \param[out] foot the foot on the line
  /// \param[out] distance from the point to the foot
  /// \return 0
  static int Distance(const XFPoint& point, const XFLine3D2& line, XFPoint& foot,
                      XDistanceAttributes& distance);

  /// Distance of a point from a plane without edges, by the plane's equation.
  ///
  /// \param[in] point the point
  /// \param[in] plane the plane
  /// \param[out] foot the foot on the plane
  /// \param[out] distance from the point to the foot
  /// \return 0
  static int Distance(const XFPoint& point, const XFPlane& plane, XFPoint& foot,
                      XDistanceAttributes& distance);

  /// Angle between two directions.
  ///
  /// \param[in] first first line
  /// \param[in] second second line
  /// \return 0 to pi
  static double Angle(const XFLine3D2& first, const XFLine3D2& second);

  /// Angle between two normals.
  ///
  /// \param[in] first first plane
  /// \param[in] second second plane
  /// \return 0 to pi
  static double Angle(const XFPlane& first, const XFPlane& second);

  /// Angle between a line and its projection on a plane.
  ///
  /// \param[in] line the line
  /// \param[in] plane the plane
  /// \return 0 to pi/2; pi/2 for a line without projection
  static double Angle(const XFLine3D2& line, const XFPlane& plane);

  /// \copydoc Angle(const XFLine3D2&, const XFPlane&)
  static double Angle(const XFPlane& plane, const XFLine3D2& line);
};

}  // namespace xgeofeature
