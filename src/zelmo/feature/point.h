// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

#include "zelmo/feature/base.h"

namespace xgeofeature {

/// A point.
class ZELMO_EXPORT XFPoint : public XFBase {
 public:
  float x = 0;  ///< first coordinate
  float y = 0;  ///< second coordinate
  float z = 0;  ///< third coordinate

  XFPoint() = default;  ///< the origin

  /// The point with the coordinates \p px, \p py, \p pz.
  XFPoint(const float& px, const float& py, const float& pz);

  /// \param[in] point float[3]: the coordinates
  explicit XFPoint(const float* point);

  GeoFeatureType getFeatureType() const override;  ///< GeoPoint

  /// The distance to another point: differences in float, the rest in double.
  double Distance(const XFPoint& other) const;

  /// The square of Distance.
  double SqrDistance(const XFPoint& other) const;
};

/// A point with a normal.
class ZELMO_EXPORT XFPointN : public XFBase {
 public:
  float point[3] = {};   ///< the coordinates
  float normal[3] = {};  ///< direction; nothing makes it unit

  XFPointN() = default;  ///< all fields 0

  /// The point x, y, z with the normal nx, ny, nz, stored as it is.
  XFPointN(const float& x, const float& y, const float& z, const float& nx, const float& ny,
           const float& nz);

  /// \param[in] p float[3]: the point
  /// \param[in] n float[3]: the normal, stored as it is
  XFPointN(const float* p, const float* n);

  GeoFeatureType getFeatureType() const override;  ///< GeoPoint
};

}  // namespace xgeofeature
