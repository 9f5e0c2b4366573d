// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <optional>

#include "zelmo/internal/array_view.h"

namespace zelmo::internal {

enum class ConsensusModel { Cylinder, Cone };

/// Seven numbers of a start: a point on the axis (the apex of a cone), the axis, and the radius or
/// the half angle in radians.
using AxisSeed = std::array<double, 7>;

/// The model that most points with normals agree with, by sample consensus with a fixed seed: points
/// within 2.0, at most 10000 trials, coefficients optimised on the points that agree.
/// \return nothing when no model comes back, or when there are no points or no normals
std::optional<AxisSeed> consensusSeed(ConsensusModel model, const PointView& points,
                                      const PointView& normals);

}  // namespace zelmo::internal
