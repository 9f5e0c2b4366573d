// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <zelmo/export.h>

#include "zelmo/feature/base.h"
#include "zelmo/feature/line.h"
#include "zelmo/feature/point.h"

namespace xgeofeature {

/// A cylinder between two flat ends.
class ZELMO_EXPORT XFCylinder : public XFBase {
 public:
  float center[3] = {};  ///< half way between base and top
  float axis[3] = {};    ///< unit direction from base to top; nothing makes it unit
  float radius = 0;      ///< the radius
  float height = 0;      ///< distance of base and top
  float base[3] = {};    ///< middle of the end where the axis starts
  float top[3] = {};     ///< middle of the end that the axis points to

  XFCylinder() = default;  ///< all fields 0

  /// \param[in] from float[3]: the base
  /// \param[in] direction float[3]: the axis, stored as it is
  /// \param[in] r the radius
  /// \param[in] h the height; center and top lie half and all of it along \p direction
  XFCylinder(const float* from, const float* direction, const float& r, const float& h);

  /// \param[in] from float[3]: the base
  /// \param[in] to float[3]: the top
  /// \param[in] r the radius
  /// \note Ends no farther apart than 1e-6 leave center and axis 0.
  XFCylinder(const float* from, const float* to, const float& r);

  /// \param[in] values center, axis, radius, height, base, top: exactly 14 values; any other count
  ///     leaves the fields 0
  explicit XFCylinder(const std::vector<float>& values);

  GeoFeatureType getFeatureType() const override;  ///< GeoCylinder

  void getCenterPoint(XFPoint& point) const;  ///< the field center
  void getBasePoint(XFPoint& point) const;    ///< the field base
  void getTopPoint(XFPoint& point) const;     ///< the field top

  /// The axis: center, axis and height.
  void getLine(XFLine3D2& line) const;

  /// Reverses the axis and swaps base and top.
  void inv();

  /// A reversed copy.
  XFCylinder invert() const;
};

}  // namespace xgeofeature
