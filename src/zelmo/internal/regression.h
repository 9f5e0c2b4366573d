// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include <opencv2/core.hpp>

#include "zelmo/internal/array_view.h"

namespace zelmo::internal {

/// Mean of all points, summed in double lanes. No points give (0, 0, 0).
cv::Vec3d centroidOf(const PointView& points);

/// Sums of products of the coordinates less \p origin: the matrix A^T A of the n by 3 matrix of
/// offsets.
cv::Matx33d scatterAbout(const PointView& points, const cv::Vec3d& origin);

/// Orthogonal regression plane.
struct RegressionPlane {
  cv::Vec3d centroid;
  cv::Vec3d normal;  ///< unit; its sign is the one the decomposition gives
  double offset;     ///< d of n . x + d = 0
};

/// The plane of smallest squared distances, by cv::SVD::compute on A^T A.
/// \return nothing with fewer than 3 points; collinear points give some plane through their line,
///     and a coordinate that is not finite gives parameters that are not finite
/// Callers: x3dfit::XPlaneFit, zelmolm::XPlaneFitLM, guided plane fit.
std::optional<RegressionPlane> regressionPlane(const PointView& points);

}  // namespace zelmo::internal
