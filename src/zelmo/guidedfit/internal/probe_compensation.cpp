// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/guidedfit/internal/probe_compensation.h"

#include "zelmo/measure/geo_constructor.h"

namespace zelmo::internal {

float signedRadius(const Probe& probe, const cv::Vec3d& origin, const float* first_point) {
  if (probe.outward) return *probe.outward ? probe.radius : -probe.radius;
  double towards_origin = 0.0;
  for (int k = 0; k < 3; ++k) {
    towards_origin += (origin[k] - first_point[k]) * probe.normals[k];
  }
  return towards_origin >= 0.0 ? probe.radius : -probe.radius;
}

cv::Vec3d footOnAxis(const float* on_axis, const float* axis, const float* point) {
  const float line[6] = {on_axis[0], on_axis[1], on_axis[2], axis[0], axis[1], axis[2]};
  float foot[3] = {};
  xgeomeasure::XGeoConstructor::Projection_Point_Line(point, line, foot);
  return {foot[0], foot[1], foot[2]};
}

}  // namespace zelmo::internal
