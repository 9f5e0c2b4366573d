// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/measure/geo_dimension.h"

#include <cmath>

#include "zelmo/internal/residuals.h"
#include "zelmo/measure/internal/direction_angle.h"

namespace xgeomeasure {
namespace {

using zelmo::internal::AxisLine;
using zelmo::internal::PlaneDeviation;
using zelmo::internal::SphereDeviation;

// A point this close to the line's point in each coordinate counts as lying on the line.
constexpr double kOnLinePoint = 0.001;

double degreesBetween(const float* u, const float* v) {
  return zelmo::internal::angleBetween(u, v) * 180.0 / CV_PI;
}

}  // namespace

double XGeoDimension::calcDistance_Point2Point(const float* const first,
                                               const float* const second) {
  return SphereDeviation{second[0], second[1], second[2], 0.0}(first[0], first[1], first[2]);
}

double XGeoDimension::calcDistance_Point2Line(const float* const point, const float* const line) {
  const AxisLine axis{line[0], line[1], line[2], line[3], line[4], line[5]};
  const double qx = point[0] - axis.px;
  const double qy = point[1] - axis.py;
  const double qz = point[2] - axis.pz;
  // CONTRACT: near the line's point the distance is 0, also for a point off the line.
  if (zelmo::internal::isOnAxisPoint(qx, qy, qz, kOnLinePoint)) return 0.0;
  // CONTRACT: the direction is not made unit; its length scales the result.
  return std::sqrt(axis.distanceSquared(qx, qy, qz));
}

double XGeoDimension::calcDistance_Point2Plane(const float* const point, const float* const plane) {
  const double on[3] = {plane[0], plane[1], plane[2]};
  const double normal[3] = {plane[3], plane[4], plane[5]};
  const auto deviation = PlaneDeviation::through(on, normal);
  return std::fabs(deviation(point[0], point[1], point[2]));
}

double XGeoDimension::calcAngle_Line_Line(const float* const first, const float* const second) {
  return degreesBetween(first + 3, second + 3);
}

double XGeoDimension::calcAngle_Line_Plane(const float* const line, const float* const plane) {
  // CONTRACT: the angle to the normal, not to the plane.
  return degreesBetween(line + 3, plane + 3);
}

double XGeoDimension::calcAngle_Plane_Plane(const float* const first, const float* const second) {
  return degreesBetween(first + 3, second + 3);
}

}  // namespace xgeomeasure
