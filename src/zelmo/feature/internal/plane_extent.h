// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <optional>

#include "zelmo/internal/array_view.h"

namespace zelmo::internal {

/// The extent of points in a plane, by the smallest rectangle around their projections.
struct PlaneExtent {
  std::array<float, 3> center;     ///< of the rectangle, in space
  std::array<float, 3> major_dir;  ///< unit, along the longer side
  float length;                    ///< longer side
  float width;                     ///< shorter side
  std::array<float, 12> corners;   ///< of the rectangle turned parallel to the local frame
};

/// \param[in] plane double[4]: a, b, c, d with unit (a, b, c)
/// \return nothing for a normal that gives no frame (zero, or not finite) or points that are not
///     finite
// CONTRACT: the angle of the rectangle turns major_dir, but not the corners. Of equal sides the
// second one, across the rectangle's angle, is the major one.
std::optional<PlaneExtent> planeExtent(const PointView& points, const double* plane);

}  // namespace zelmo::internal
