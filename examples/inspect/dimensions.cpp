// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dimensions.h"

#include <limits>

#include <zelmo/measure/geo_dimension.h>

namespace inspect {
namespace {

using xgeofeature::XFCone;
using xgeofeature::XFPlane;
using xgeomeasure::XGeoDimension;

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

double distance(const FloatRay& from, const Ideal& feature, const Ideal& datum) {
  const FloatRay to = rayOf(datum);
  if (std::holds_alternative<XFPlane>(datum)) {
    return XGeoDimension::calcDistance_Point2Plane(from.values, to.values);
  }
  if (!isSphere(datum)) return XGeoDimension::calcDistance_Point2Line(from.values, to.values);
  if (std::holds_alternative<XFPlane>(feature) || isSphere(feature)) {
    return XGeoDimension::calcDistance_Point2Point(from.values, to.values);
  }
  return XGeoDimension::calcDistance_Point2Line(to.values, from.values);
}

double angle(const Ideal& feature, const Ideal& datum) {
  if (isSphere(feature) || isSphere(datum)) return kNone;
  const FloatRay first = rayOf(feature), second = rayOf(datum);
  const bool planes =
      std::holds_alternative<XFPlane>(feature) && std::holds_alternative<XFPlane>(datum);
  return planes ? XGeoDimension::calcAngle_Plane_Plane(first.values, second.values)
                : XGeoDimension::calcAngle_Line_Line(first.values, second.values);
}

}  // namespace

FloatRay rayOf(const Ideal& ideal) {
  const Telling telling = tell(ideal);
  FloatRay ray{};
  for (int i = 0; i < 3; ++i) {
    ray.values[i] = static_cast<float>(telling.point[i]);
    ray.values[i + 3] = static_cast<float>(telling.direction[i]);
  }
  return ray;
}

double dimension(Characteristic what, const Ideal& feature, const Ideal* datum) {
  const bool round = !std::holds_alternative<XFPlane>(feature);
  const bool cone = std::holds_alternative<XFCone>(feature);
  if (what == Characteristic::Diameter) return round && !cone ? 2.0 * tell(feature).size : kNone;
  if (datum == nullptr) return cone ? 2.0 * tell(feature).size : kNone;
  return what == Characteristic::Angle ? angle(feature, *datum)
                                       : distance(rayOf(feature), feature, *datum);
}

}  // namespace inspect
