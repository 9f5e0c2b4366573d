// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

#include "zelmo/feature/base.h"

namespace xgeofeature {

/// A point.
class ZELMO_EXPORT XFPoint : public XFBase {
 public:
  float x = 0;
  float y = 0;
  float z = 0;

  XFPoint() = default;
  XFPoint(const float& px, const float& py, const float& pz);

  /// \param[in] point float[3]
  explicit XFPoint(const float* point);

  GeoFeatureType getFeatureType() const override;

  /// The distance to another point: differences in float, the rest in double.
  double Distance(const XFPoint& other) const;

  /// The square of Distance.
  double SqrDistance(const XFPoint& other) const;
};

/// A point with a normal.
class ZELMO_EXPORT XFPointN : public XFBase {
 public:
  float point[3] = {};
  float normal[3] = {};

  XFPointN() = default;

  /// The point x, y, z with the normal nx, ny, nz, stored as it is.
  XFPointN(const float& x, const float& y, const float& z, const float& nx, const float& ny,
           const float& nz);

  /// \param[in] p float[3]: the point
  /// \param[in] n float[3]: the normal, stored as it is
  XFPointN(const float* p, const float* n);

  GeoFeatureType getFeatureType() const override;
};

}  // namespace xgeofeature
