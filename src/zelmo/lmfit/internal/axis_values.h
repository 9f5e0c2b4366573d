// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "zelmo/internal/array_view.h"
#include "zelmo/internal/axis_extent.h"

/// \file
/// What cylinder and cone make of the solver's result in the same way.

namespace zelmo::internal {

/// Stores point and axis of a solution as floats, the axis divided by its length.
/// \param[in] params double[6] or more: point, axis of any length; one below 0.0001 is not divided
/// \param[out] point float[3]
/// \param[out] axis float[3]
void storeAxis(const double* params, float* point, float* axis);

/// Extent of points along an axis of floats, seen from \p origin; offsets are taken in double.
AxisExtent extentAlong(const PointView& points, const float* origin, const float* axis);

}  // namespace zelmo::internal
