// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "zelmo/internal/residuals.h"

namespace zelmo::internal {

/// Sums of distances to a cone over all points. A point within 0.01 of the apex in each coordinate
/// counts as the cone's radius at the last point before it that is not, or as the tangent of the
/// half angle when there is none.
double coneSquareSum(const PointView& points, const ConeDistance& cone);
double coneAbsSum(const PointView& points, const ConeDistance& cone);

}  // namespace zelmo::internal
