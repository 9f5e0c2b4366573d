// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <zelmo/export.h>

#include "zelmo/feature/base.h"
#include "zelmo/feature/point.h"

namespace xgeofeature {

/// A sphere.
class ZELMO_EXPORT XFSphere : public XFBase {
 public:
  float center[3] = {};  ///< the middle
  float radius = 0;      ///< the radius

  XFSphere() = default;  ///< all fields 0

  /// The sphere about the point x, y, z with the radius \p r.
  XFSphere(const float& x, const float& y, const float& z, const float& r);

  /// \param[in] point float[3]: the center
  /// \param[in] r the radius
  XFSphere(const float* point, const float& r);

  /// \param[in] values center, radius: exactly 4 values; any other count leaves the fields 0
  explicit XFSphere(const std::vector<float>& values);

  GeoFeatureType getFeatureType() const override;  ///< GeoSphere

  /// The field center.
  void getCenterPoint(XFPoint& point) const;
};

}  // namespace xgeofeature
