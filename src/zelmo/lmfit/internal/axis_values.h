// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// \file
/// What cylinder and cone make of the solver's result in the same way.

namespace zelmo::internal {

/// Stores point and axis of a solution as floats, the axis divided by its length.
/// \param[in] params double[6] or more: point, axis of any length; one below 0.0001 is not divided
/// \param[out] point float[3]
/// \param[out] axis float[3]
void storePointAndAxis(const double* params, float* point, float* axis);

}  // namespace zelmo::internal
