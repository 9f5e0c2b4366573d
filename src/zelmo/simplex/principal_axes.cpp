// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/simplex/principal_axes.h"

#include "zelmo/internal/regression.h"

namespace x3dfit {

void computePrincipalAxes(const std::vector<cv::Point3f>& points, cv::Mat& values, cv::Mat& vectors,
                          cv::Point3f& center) {
  using namespace zelmo::
      internal;  // NOLINT(google-build-using-namespace): the kernels of this shell
  const PrincipalAxes axes = principalAxes(PointView(points), OffsetRounding::ToFloat);
  values = axes.values;
  vectors = axes.vectors;
  center = cv::Point3f(axes.centroid);
}

}  // namespace x3dfit
