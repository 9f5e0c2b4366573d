// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "zelmo/display/internal/point_writer.h"
#include "zelmo/feature/frame_toolkit.h"

namespace zelmo::internal {

/// The alignment of XCurve3D, with its lines on the standard output.
/// \param[out] rt double[16]; stays as it is when there is none
void alignAndPrint(const PlaneTriple& target, const PlaneTriple& source, double* rt);

/// Writes points of an outline whose local X runs along \p major, Z along \p normal, from the origin
/// at \p center. Prints an alignment in any case.
/// \return nothing when \p out is null, when \p normal or \p major is zero or not finite, or when
///     they are parallel
std::optional<PointWriter> outlineWriter(const cv::Vec3d& center, const cv::Vec3d& normal,
                                         const cv::Vec3d& major, float* out);

/// The same from float[3] each.
std::optional<PointWriter> outlineWriter(const float* center, const float* normal,
                                         const float* major, float* out);

}  // namespace zelmo::internal
