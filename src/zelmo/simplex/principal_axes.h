// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <opencv2/core.hpp>
#include <zelmo/export.h>

namespace x3dfit {

/// Axes of largest, middle and smallest spread of points.
///
/// \param[in] points in space; none give a center of NaN, values of 0 and the axes of the world;
///     a coordinate that is not finite gives a center that is not, and values and axes without meaning
/// \param[out] values 3 by 1 matrix of doubles, descending: sums of squared offsets, not divided by
///     the number of points
/// \param[out] vectors 3 by 3 matrix of doubles, one unit axis a row in the order of \p values
/// \param[out] center mean of the points, summed and divided in float
ZELMO_EXPORT void computePrincipalAxes(const std::vector<cv::Point3f>& points, cv::Mat& values,
                                       cv::Mat& vectors, cv::Point3f& center);

}  // namespace x3dfit
