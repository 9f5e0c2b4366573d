// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <zelmo/export.h>

#include "zelmo/feature/base.h"
#include "zelmo/feature/line.h"
#include "zelmo/feature/point.h"

namespace xgeofeature {

/// A cone between two flat ends. The base is usually the wider one and the apex lies beyond the
/// top; where the top is wider, the half angle is negative and the apex lies beyond the base.
class ZELMO_EXPORT XFCone : public XFBase {
 public:
  float apex[3] = {};    ///< the tip, where the radius is 0
  float axis[3] = {};    ///< unit direction from base to top; nothing makes it unit
  float halfAngle = 0;   ///< radians: atan((baseRadius - topRadius) / height)
  float base[3] = {};    ///< middle of the end where the axis starts
  float top[3] = {};     ///< middle of the other end
  float height = 0;      ///< distance of base and top
  float baseRadius = 0;  ///< radius at base
  float topRadius = 0;   ///< radius at top

  XFCone() = default;  ///< all fields 0

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

  GeoFeatureType getFeatureType() const override;  ///< GeoCone

  void getApexPoint(XFPoint& point) const;  ///< the field apex
  void getBasePoint(XFPoint& point) const;  ///< the field base
  void getTopPoint(XFPoint& point) const;   ///< the field top

  /// Half way between base and top.
  void getCenterPoint(XFPoint& point) const;

  /// The axis: center point, axis and height.
  void getLine(XFLine3D2& line) const;

 private:
  void completeFromAxis();
};

}  // namespace xgeofeature
