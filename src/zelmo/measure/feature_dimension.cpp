// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/measure/feature_dimension.h"

#include <algorithm>
#include <cmath>

#include "zelmo/measure/feature_constructor.h"
#include "zelmo/measure/internal/direction_angle.h"

namespace xgeofeature {

using zelmo::internal::angleBetween;

namespace {

template <typename Feature>
int distanceToFoot(const XFPoint& point, const Feature& feature, XFPoint& foot,
                   XDistanceAttributes& distance) {
  XFPoint found;
  XGeoFConstructor::getProjectionPoint(point, feature, found);
  XGeoDimension::Distance(point, found, distance);
  foot = found;
  return 0;
}

}  // namespace

int XGeoDimension::Distance(const XFPoint& first, const XFPoint& second,
                            XDistanceAttributes& distance) {
  const float dx = first.x - second.x;
  const float dy = first.y - second.y;
  const float dz = first.z - second.z;
  const float squares = dx * dx + dy * dy + dz * dz;
  distance.distance = std::sqrt(squares);
  distance.dx = std::fabs(dx);
  distance.dy = std::fabs(dy);
  distance.dz = std::fabs(dz);
  return 0;
}

int XGeoDimension::Distance(const XFPoint& point, const XFLine3D2& line, XFPoint& foot,
                            XDistanceAttributes& distance) {
  return distanceToFoot(point, line, foot, distance);
}

int XGeoDimension::Distance(const XFPoint& point, const XFPlane& plane, XFPoint& foot,
                            XDistanceAttributes& distance) {
  return distanceToFoot(point, plane, foot, distance);
}

double XGeoDimension::Angle(const XFLine3D2& first, const XFLine3D2& second) {
  return angleBetween(first.dir, second.dir);
}

double XGeoDimension::Angle(const XFPlane& first, const XFPlane& second) {
  return angleBetween(first.normal, second.normal);
}

double XGeoDimension::Angle(const XFLine3D2& line, const XFPlane& plane) {
  XFLine3D2 projection;
  if (XGeoFConstructor::getProjectionLine(line, plane, projection) < 0) return CV_PI / 2;
  const double angle = angleBetween(line.dir, projection.dir);
  return angle > CV_PI / 2 ? CV_PI - angle : angle;
}

double XGeoDimension::Angle(const XFPlane& plane, const XFLine3D2& line) {
  return Angle(line, plane);
}

}  // namespace xgeofeature
