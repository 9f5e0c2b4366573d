// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "zelmo/feature/circle.h"
#include "zelmo/feature/cone.h"
#include "zelmo/feature/cylinder.h"
#include "zelmo/feature/line.h"
#include "zelmo/feature/oval_groove.h"
#include "zelmo/feature/plane.h"
#include "zelmo/feature/point.h"
#include "zelmo/feature/poly_line.h"
#include "zelmo/feature/rectangle.h"
#include "zelmo/feature/round_groove.h"
#include "zelmo/feature/sphere.h"

namespace zelmo::internal {

/// A visit put together from one function for each class.
template <typename... Visits>
struct Overloaded : Visits... {
  using Visits::operator()...;
};
template <typename... Visits>
Overloaded(Visits...) -> Overloaded<Visits...>;

/// Hands the record behind a pointer to the overload of \p visit for its class. Both point records
/// arrive as XFPoint and both line records as XFLine3D2.
/// \return false, without a call, for a null pointer and for a class that is none of the library's
template <typename Visit>
bool visitRecord(const xgeofeature::XFBase* feature, const Visit& visit) {
  if (feature == nullptr) return false;
  const auto hand_over = [&](const auto* record) {
    if (record != nullptr) visit(*record);
    return record != nullptr;
  };
  switch (feature->getFeatureType()) {
    case xgeofeature::GeoPoint: {
      const auto* with_normal = dynamic_cast<const xgeofeature::XFPointN*>(feature);
      if (with_normal == nullptr) {
        return hand_over(dynamic_cast<const xgeofeature::XFPoint*>(feature));
      }
      visit(xgeofeature::XFPoint(with_normal->point));
      return true;
    }
    case xgeofeature::GeoLine: {
      const auto* by_ends = dynamic_cast<const xgeofeature::XFLine3D*>(feature);
      if (by_ends == nullptr) {
        return hand_over(dynamic_cast<const xgeofeature::XFLine3D2*>(feature));
      }
      visit(xgeofeature::XFLine3D2(*by_ends));
      return true;
    }
    case xgeofeature::GeoPlane:
      return hand_over(dynamic_cast<const xgeofeature::XFPlane*>(feature));
    case xgeofeature::GeoCircle:
      return hand_over(dynamic_cast<const xgeofeature::XFCircle3D*>(feature));
    case xgeofeature::GeoSphere:
      return hand_over(dynamic_cast<const xgeofeature::XFSphere*>(feature));
    case xgeofeature::GeoCylinder:
      return hand_over(dynamic_cast<const xgeofeature::XFCylinder*>(feature));
    case xgeofeature::GeoCone:
      return hand_over(dynamic_cast<const xgeofeature::XFCone*>(feature));
    case xgeofeature::GeoOvalGroove:
      return hand_over(dynamic_cast<const xgeofeature::XFOvalGroove3D*>(feature));
    case xgeofeature::GeoRoundGroove:
      return hand_over(dynamic_cast<const xgeofeature::XFRoundGroove3D*>(feature));
    case xgeofeature::GeoRectangle:
      return hand_over(dynamic_cast<const xgeofeature::XFRectangle3D*>(feature));
    case xgeofeature::GeoPolyLine:
      return hand_over(dynamic_cast<const xgeofeature::XFPolyLine*>(feature));
  }
  return false;
}

}  // namespace zelmo::internal
