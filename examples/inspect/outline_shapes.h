// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <variant>

#include <zelmo/feature/circle.h>
#include <zelmo/feature/oval_groove.h>
#include <zelmo/feature/rectangle.h>
#include <zelmo/feature/round_groove.h>

#include "shapes.h"

namespace inspect {

/// A flat outline, as the model gives it or as a fit finds it.
using Outline = std::variant<xgeofeature::XFCircle3D, xgeofeature::XFOvalGroove3D,
                             xgeofeature::XFRectangle3D, xgeofeature::XFRoundGroove3D>;

/// All kinds of outlines as one: a rectangle, grown by a radius on all sides.
struct GrownBox {
  const char* kind;
  cv::Vec3d center, normal, along;  ///< unit vectors; along the longer side
  double half_length, half_width;   ///< of the rectangle; 0 for a circle
  double radius;                    ///< 0 for a rectangle

  cv::Vec3d across() const { return normal.cross(along); }
  double length() const { return 2.0 * (half_length + radius); }
  double width() const { return 2.0 * (half_width + radius); }
  double height(const cv::Vec3d& point) const { return (point - center).dot(normal); }
  /// Signed distance from the outline, seen along the normal; positive outside.
  double distance(const cv::Vec3d& point) const;
  /// The direction away from the outline, in its plane.
  cv::Vec3d outward(const cv::Vec3d& point) const;
};
GrownBox boxOf(const Outline& outline);

/// Fits an outline of the same kind to points after moving them onto a plane: circles by the damped
/// fit, the other kinds by the simplex.
/// \param plane its point and unit normal
/// \return false where the fit fails
bool fitOutline(const Gathered& gathered, const cv::Vec3d& point, const cv::Vec3d& normal,
                Outline& measured);

/// Picks the surface around the outline out of the scan; the indices stand in the object.
void searchSurface(xgeofeature::XGeoFeatureExtract& extract, const Outline& nominal);

}  // namespace inspect
