// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>

#include <opencv2/core/matx.hpp>

#include "zelmo/internal/array_view.h"
#include "zelmo/internal/paired_rotation.h"

/// \file
/// A rigid motion as the six numbers that a descent moves: three angles in radians, three
/// translations. The rotation is the product Rz(-p[2]) Ry(-p[1]) Rx(-p[0]) of plain axis rotations.

namespace zelmo::internal {

constexpr std::size_t kMotionParameters = 6;
using MotionParameters = std::array<double, kMotionParameters>;

cv::Matx33d rotationOf(const double* p);

MotionParameters parametersOf(const RigidMotion& motion);

/// The first steps of a descent: a hundredth of the largest angle, 0.01 of length.
// CONTRACT: angles of 0 get a step of 0, so a start without a turn is polished by translations only.
MotionParameters firstSteps(const double* p);

/// Sum of |R x + t - y| over pairs of points.
/// \param[in] first, second of the same length
double pairedDistanceSum(const PointView& first, const PointView& second, const double* p);

}  // namespace zelmo::internal
