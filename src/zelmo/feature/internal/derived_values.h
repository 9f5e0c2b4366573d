// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>

#include "zelmo/feature/internal/plane_extent.h"
#include "zelmo/internal/axis_extent.h"
#include "zelmo/internal/normal_vote.h"

/// \file
/// What damped and guided fits derive from a fitted feature and its points. The classes have these
/// fields under the same names.

namespace zelmo::internal {

/// Bounds a plane (fields a, b, c, d) by a rectangle around the points and turns it the way most
/// normals point; a tie leaves the side. The rectangle's fields stay where there is none.
template <typename PlaneFit>
void updatePlaneValues(PlaneFit& fit, const PointView& points, const PointView& normals) {
  const double plane[4] = {fit.a, fit.b, fit.c, fit.d};
  if (const auto extent = planeExtent(points, plane)) {
    std::copy(extent->center.begin(), extent->center.end(), fit.center);
    std::copy(extent->major_dir.begin(), extent->major_dir.end(), fit.majorDir);
    std::copy(extent->corners.begin(), extent->corners.end(), fit.corners);
    fit.length = extent->length;
    fit.width = extent->width;
  }
  const float direction[3] = {fit.a, fit.b, fit.c};
  const auto vote = voteOfNormals(normals, direction);
  if (vote.others > vote.positive) {
    for (float* value : {&fit.a, &fit.b, &fit.c, &fit.d}) *value = -*value;
  }
  fit.normal[0] = fit.a;
  fit.normal[1] = fit.b;
  fit.normal[2] = fit.c;
}

/// Moves the center of a cylinder (fields center, axis) to the middle of the points along its axis
/// and sets height, base and top.
template <typename CylinderFit>
void updateCylinderValues(CylinderFit& fit, const PointView& points) {
  const AxisExtent extent = extentAlong(points, fit.center, fit.axis);
  const double length = extent.length();
  fit.height = static_cast<float>(length);
  const double half = length * 0.5;
  for (int i = 0; i < 3; ++i) {
    const double u = fit.axis[i];
    fit.center[i] = static_cast<float>(fit.center[i] + u * extent.middle());
    fit.top[i] = static_cast<float>(fit.center[i] + u * half);
    fit.base[i] = static_cast<float>(fit.center[i] - u * half);
  }
}

}  // namespace zelmo::internal
