// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <zelmo/export.h>

#include "zelmo/feature/base.h"
#include "zelmo/feature/line.h"
#include "zelmo/feature/point.h"

namespace xgeofeature {

/// A cone between two flat ends.
class ZELMO_EXPORT XFCone : public XFBase {
 public:
  float apex[3] = {};
  float axis[3] = {};   ///< from base to top and on to the apex
  float halfAngle = 0;  ///< radians: atan((baseRadius - topRadius) / height)
  float base[3] = {};
  float top[3] = {};
  float height = 0;      ///< distance of base and top
  float baseRadius = 0;  ///< radius at base
  float topRadius = 0;   ///< radius at top

  XFCone() = default;

  /// \param[in] from float[3]: the base
  /// \param[in] direction float[3]: the axis, stored as it is
  /// \param[in] base_radius radius at the base
  /// \param[in] top_radius radius at the top
  /// \param[in] h the height; the top lies that far along \p direction
  /// \note Equal radii leave an apex that is not finite.
  XFCone(const float* from, const float* direction, const float& base_radius,
         const float& top_radius, const float& h);

  /// \param[in] from float[3]: the base
  /// \param[in] to float[3]: the top
  /// \param[in] base_radius radius at the base
  /// \param[in] top_radius radius at the top
  /// \note Ends no farther apart than 1e-6 leave axis, apex and half angle 0. Equal radii leave an
  ///     apex that is not finite.
  XFCone(const float* from, const float* to, const float& base_radius, const float& top_radius);

  /// \param[in] values apex, axis, halfAngle, base, top, height, baseRadius, topRadius: exactly 16
  ///     values; any other count leaves the fields 0
  explicit XFCone(const std::vector<float>& values);

  GeoFeatureType getFeatureType() const override;

  void getApexPoint(XFPoint& point) const;
  void getBasePoint(XFPoint& point) const;
  void getTopPoint(XFPoint& point) const;

  /// Half way between base and top.
  void getCenterPoint(XFPoint& point) const;

  /// The axis: center point, axis and height.
  void getLine(XFLine3D2& line) const;

 private:
  void completeFromAxis();
};

}  // namespace xgeofeature
