// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/simplex/principal_axes.h"

#include "zelmo/internal/regression.h"

namespace x3dfit {

void computePrincipalAxes(const std::vector<cv::Point3f>& points, cv::Mat& values, cv::Mat& vectors,
                          cv::Point3f& center) {
  const zelmo::internal::PrincipalAxes axes = zelmo::internal::principalAxes(
      zelmo::internal::PointView(points), zelmo::internal::OffsetRounding::ToFloat);
  values = axes.values;
  vectors = axes.vectors;
  center = cv::Point3f(axes.centroid);
}

}  // namespace x3dfit
