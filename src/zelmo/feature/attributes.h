// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

/// \file
/// Measured values between features.

namespace xgeofeature {

/// A measured angle.
class ZELMO_EXPORT XAngleAttributes {
 public:
  /// The angle, in degrees or radians as the host keeps it: the library neither fills nor converts
  /// it.
  float angle = 0;

  XAngleAttributes() = default;  ///< angle 0

  /// \param[in] value the angle, stored as it is
  explicit XAngleAttributes(const float& value);

  /// Degrees to radians.
  ///
  /// \param[in] in degrees
  /// \param[out] out radians
  /// \note Rounds differently from Radian2Angle: the two are not exact inverses.
  static void Angle2Radian(const float& in, float& out);

  /// Radians to degrees.
  ///
  /// \param[in] in radians
  /// \param[out] out degrees
  static void Radian2Angle(const float& in, float& out);
};

/// A measured distance and its parts along the axes, all 0 until they are assigned, in the caller's
/// length unit.
class ZELMO_EXPORT XDistanceAttributes {
 public:
  float distance = 0;  ///< distance of the two features
  float dx = 0;        ///< absolute difference along x
  float dy = 0;        ///< absolute difference along y
  float dz = 0;        ///< absolute difference along z
};

}  // namespace xgeofeature
