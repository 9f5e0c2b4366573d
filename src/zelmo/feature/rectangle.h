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

/// A rectangle, 2 halfLength along majorDir by 2 halfWidth across.
class ZELMO_EXPORT XFRectangle3D : public XFBase {
 public:
  float center[3] = {};    ///< middle of the outline
  float normal[3] = {};    ///< unit normal of its plane; nothing makes it unit
  float majorDir[3] = {};  ///< unit direction of the long side; nothing makes it unit
  float halfLength = 0;    ///< half the side along majorDir
  float halfWidth = 0;     ///< half the side across it

  XFRectangle3D() = default;  ///< all fields 0

  /// \param[in] point float[3]: the center
  /// \param[in] direction float[3]: the normal, stored as it is
  /// \param[in] major_direction float[3]: majorDir, stored as it is
  /// \param[in] half_length halfLength
  /// \param[in] half_width halfWidth
  XFRectangle3D(const float* point, const float* direction, const float* major_direction,
                const float& half_length, const float& half_width);

  /// \param[in] values center, normal, majorDir, halfLength, halfWidth: exactly 11 values;
  ///     any other count leaves the fields 0
  explicit XFRectangle3D(const std::vector<float>& values);

  GeoFeatureType getFeatureType() const override;  ///< GeoRectangle

  /// The field center.
  void getCenterPoint(XFPoint& point) const;

  /// The normal line through the center, as long as the shape.
  void getLine(XFLine3D2& line) const;

  /// The line through the center along majorDir, as long as the shape.
  void getLineMajorDir(XFLine3D2& line) const;

  /// The plane piece of the shape's overall length and width.
  void getPlane(XFPlane& plane) const;

  /// Reverses the normal; majorDir stays.
  void inv();

  /// A copy with the normal reversed.
  XFRectangle3D invert() const;

  /// Whether the sizes and each coordinate of the center differ by no more than 0.01, and normals
  /// and majorDirs are each parallel or opposite: the absolute value of their product differs from
  /// 1 by no more than 0.02. A NaN equals nothing.
  bool operator==(const XFRectangle3D& other);
};

}  // namespace xgeofeature
