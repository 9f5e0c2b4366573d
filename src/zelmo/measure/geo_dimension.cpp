// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/measure/geo_dimension.h"

#include <cmath>

#include "zelmo/internal/deviation_statistics.h"
#include "zelmo/measure/internal/direction_angle.h"

namespace xgeomeasure {
namespace {

// A point this close to the line's point in each coordinate counts as lying on the line.
constexpr double kOnLinePoint = 0.001;

struct Wide {
  double x, y, z;
  explicit Wide(const float* p) : x(p[0]), y(p[1]), z(p[2]) {}
};

double degreesBetween(const float* u, const float* v) {
  return zelmo::internal::angleBetween(u, v) * 180.0 / CV_PI;
}

}  // namespace

double XGeoDimension::calcDistance_Point2Point(const float* const first,
                                               const float* const second) {
  const Wide to(second);
  return zelmo::internal::SphereDeviation{to.x, to.y, to.z, 0.0}(first[0], first[1], first[2]);
}

double XGeoDimension::calcDistance_Point2Line(const float* const point, const float* const line) {
  const Wide p(point);
  const Wide o(line);
  const Wide d(line + 3);
  // CONTRACT: near the line's point the distance is 0, also for a point off the line.
  if (std::fabs(p.x - o.x) < kOnLinePoint && std::fabs(p.y - o.y) < kOnLinePoint &&
      std::fabs(p.z - o.z) < kOnLinePoint) {
    return 0.0;
  }
  // CONTRACT: the direction is not made unit; its length scales the result.
  return zelmo::internal::AxisOffset{o.x, o.y, o.z, d.x, d.y, d.z}.distance(p.x, p.y, p.z);
}

double XGeoDimension::calcDistance_Point2Plane(const float* const point, const float* const plane) {
  const double on[3] = {plane[0], plane[1], plane[2]};
  const double normal[3] = {plane[3], plane[4], plane[5]};
  const auto deviation = zelmo::internal::PlaneDeviation::through(on, normal);
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
