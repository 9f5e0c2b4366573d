// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "zelmo/model/internal/edge_analysis.h"
#include "zelmo/model/outline_records.h"

namespace zelmo::internal {

/// Points of an edge that lies on \p circle, evenly spaced.
std::vector<xmodelfeature::XFPoint> circlePoints(const EdgeCurve& edge,
                                                 const xmodelfeature::XFCircle3D& circle);

/// Points of any other edge, halved where it bends; at most 129.
std::vector<xmodelfeature::XFPoint> refinedPoints(const EdgeCurve& edge);

}  // namespace zelmo::internal
