// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <opencv2/core/mat.hpp>
#include <opencv2/core/matx.hpp>

#include "zelmo/internal/array_view.h"

/// \file
/// The rigid motion that carries points onto the points of the same index in a second list.
/// Callers: rigid transform, RPS alignment, trimming.

namespace zelmo::internal {

/// The rotation that a correlation matrix asks for: h = u diag(w) vt gives r = v s u^T with s the
/// identity but for det(v u^T) as its last element, so that r is no reflection.
/// \param[in] h 3 by 3 of floats or doubles
/// \param[out] r of the same type; the identity for an \p h that is not finite
/// \throws cv::Exception for an \p h that is empty, not square or of another type
void rotationFromCorrelation(const cv::Mat& h, cv::Mat& r);

struct RigidMotion {
  cv::Matx33d rotation = cv::Matx33d::eye();
  cv::Vec3d translation;
};

/// The rotation and translation that carry \p first onto \p second in the sense of least squares.
/// The means are summed and divided in float, in the order of the points; the rest runs in double.
/// \param[in] first, second of different length: the first points of the longer one count
/// \return no motion without points. Coincident and collinear points leave a freedom, in which some
///     rotation is taken.
RigidMotion pairedMotion(const PointView& first, const PointView& second);

/// \param[out] rt double[16]: row-major 4 by 4 on column vectors, last row 0, 0, 0, 1
void storeMotion(const RigidMotion& motion, double* rt);

}  // namespace zelmo::internal
