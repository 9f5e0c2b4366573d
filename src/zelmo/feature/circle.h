// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <zelmo/export.h>

#include "zelmo/feature/base.h"
#include "zelmo/feature/line.h"
#include "zelmo/feature/plane.h"
#include "zelmo/feature/point.h"

namespace xgeofeature {

/// A circle.
class ZELMO_EXPORT XFCircle3D : public XFBase {
 public:
  float center[3] = {};    ///< the middle
  float normal[3] = {};    ///< unit normal of the circle's plane; nothing makes it unit
  float majorDir[3] = {};  ///< a direction in the circle's plane
  float radius = 0;        ///< the radius

  XFCircle3D() = default;  ///< all fields 0

  /// \param[in] point float[3]: the center
  /// \param[in] direction float[3]: the normal, stored as it is
  /// \param[in] major_direction float[3]: majorDir, stored as it is
  /// \param[in] r the radius
  XFCircle3D(const float* point, const float* direction, const float* major_direction,
             const float& r);

  /// A circle whose majorDir is some unit vector orthogonal to the normal.
  ///
  /// \param[in] point float[3]: the center
  /// \param[in] direction float[3]: the normal, stored as it is; a zero one gives a majorDir that
  ///     is not finite
  /// \param[in] r the radius
  XFCircle3D(const float* point, const float* direction, const float& r);

  /// \param[in] values center, normal, majorDir, radius: exactly 10 values; any other count leaves
  ///     the fields 0
  explicit XFCircle3D(const std::vector<float>& values);

  GeoFeatureType getFeatureType() const override;  ///< GeoCircle

  /// The field center.
  void getCenterPoint(XFPoint& point) const;

  /// The normal line through the center, as long as the diameter.
  void getLine(XFLine3D2& line) const;

  /// The square plane piece around the circle. Its majorDir is some unit vector orthogonal to the
  /// normal, not the circle's own.
  void getPlane(XFPlane& plane) const;

  /// Reverses the normal; majorDir stays.
  void inv();

  /// A copy with the normal reversed.
  XFCircle3D invert() const;

  /// Whether the radius and each coordinate of the center differ by no more than 0.01 and the
  /// normals are parallel or opposite: the absolute value of their product differs from 1 by no
  /// more than 0.02. majorDir does not count. A NaN equals nothing.
  bool operator==(const XFCircle3D& other);
};

}  // namespace xgeofeature
