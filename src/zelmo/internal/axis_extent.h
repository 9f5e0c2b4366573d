// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <opencv2/core/types.hpp>

#include "zelmo/internal/array_view.h"
#include "zelmo/internal/regression.h"

namespace zelmo::internal {

/// Smallest and largest parameter of points along an axis. The search starts from 1e10 and -1e10:
/// no points leave these, and no parameter beyond them is seen.
struct AxisExtent {
  double low = 1e10;
  double high = -1e10;

  double length() const { return high > low ? high - low : low - high; }
  double middle() const { return (high + low) * 0.5; }
};

/// Extent of points along \p direction, seen from \p origin: the parameter of a point is its offset
/// from \p origin times \p direction in double, or 0 where each coordinate of the offset is below
/// 1e-6 in magnitude. NaN parameters are passed over.
/// \param[in] direction of any length; the parameter scales with it
/// \param[in] rounding of the offsets: ToFloat for ends of a line and the simplex fits of cylinder and
///     cone, None for the damped fits
AxisExtent axisExtent(const PointView& points, const cv::Vec3f& origin, const cv::Vec3d& direction,
                      OffsetRounding rounding = OffsetRounding::ToFloat);

/// The same along the axis of a damped or guided fit, whose fields are floats.
/// \param[in] origin float[3]
/// \param[in] axis float[3]
inline AxisExtent extentAlong(const PointView& points, const float* origin, const float* axis) {
  return axisExtent(points, {origin[0], origin[1], origin[2]}, {axis[0], axis[1], axis[2]},
                    OffsetRounding::None);
}

}  // namespace zelmo::internal
