// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "shapes.h"
#include "tolerance_plan.h"

namespace inspect {

/// A point and a direction as the library's arrays want them.
struct FloatRay {
  float values[6];
};
FloatRay rayOf(const Ideal& ideal);

/// A distance, an angle or a diameter.
///
/// Distances are taken from the feature's point: a plane's or a cylinder's centre, a sphere's. To a
/// plane or an axis that is square to it; to a sphere it is that of the centres.
///
/// \param datum null for the angle of a cone and for a diameter
/// \return mm or degrees; NaN where the features have no such dimension
double dimension(Characteristic what, const Ideal& feature, const Ideal* datum);

}  // namespace inspect
