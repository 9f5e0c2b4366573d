// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

#include "zelmo/feature/base.h"
#include "zelmo/feature/point.h"

namespace xgeofeature {

/// A rectangular piece of a plane a x + b y + c z + d = 0.
class ZELMO_EXPORT XFPlane : public XFBase {
 public:
  float center[3] = {};    ///< a point of the plane, the middle of the rectangle
  float normal[3] = {};    ///< equal to (a, b, c); nothing makes it unit
  float majorDir[3] = {};  ///< unit direction of the side length; nothing makes it unit
  float length = 0;        ///< side along majorDir
  float width = 0;         ///< side across it
  float a = 0;             ///< coefficient of x
  float b = 0;             ///< coefficient of y
  float c = 0;             ///< coefficient of z
  float d = 0;             ///< -(normal . center)

  XFPlane() = default;  ///< all fields 0

  /// \param[in] point float[3]: the center
  /// \param[in] direction float[3]: the normal, stored as it is
  /// \param[in] major_direction float[3]: majorDir, stored as it is
  /// \param[in] side the length
  /// \param[in] across the width
  XFPlane(const float* point, const float* direction, const float* major_direction,
          const float& side, const float& across);

  /// A plane of length and width 1 whose majorDir is some unit vector orthogonal to the normal.
  ///
  /// \param[in] point float[3]: the center
  /// \param[in] direction float[3]: the normal, stored as it is; a zero one gives a majorDir that
  ///     is not finite
  XFPlane(const float* point, const float* direction);

  /// A plane by its equation.
  ///
  /// \param[in] equation float[4]: a, b, c, d, stored as they are, also when (a, b, c) is not unit.
  ///     The center is the point where the axis of the largest normal component meets the plane;
  ///     length and width are 1, majorDir is as above. A zero (a, b, c) gives a center and a
  ///     majorDir that are not finite.
  explicit XFPlane(const float* equation);

  GeoFeatureType getFeatureType() const override;  ///< GeoPlane

  /// The field center.
  void getCenterPoint(XFPoint& point) const;

  /// The four corners, counter-clockwise for an observer at whom the normal points.
  ///
  /// \param[out] points XFPoint[4]: towards majorDir and across it (+, +), (-, +), (-, -), (+, -),
  ///     across being the unit vector of normal cross majorDir. A majorDir parallel to the normal
  ///     leaves the width out, a zero one the length as well.
  void getCornerPoint(XFPoint* const points) const;

  /// Reverses the normal and with it a, b, c, d; majorDir stays.
  void inv();

  /// A reversed copy.
  XFPlane invert() const;
};

}  // namespace xgeofeature
