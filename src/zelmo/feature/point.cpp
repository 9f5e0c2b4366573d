// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/feature/point.h"

#include <cmath>

#include "zelmo/feature/internal/record_math.h"

namespace xgeofeature {

XFPoint::XFPoint(const float& px, const float& py, const float& pz) : x(px), y(py), z(pz) {}

XFPoint::XFPoint(const float* point) : x(point[0]), y(point[1]), z(point[2]) {}

GeoFeatureType XFPoint::getFeatureType() const { return GeoPoint; }

double XFPoint::Distance(const XFPoint& other) const { return std::sqrt(SqrDistance(other)); }

double XFPoint::SqrDistance(const XFPoint& other) const {
  const float dx = x - other.x;
  const float dy = y - other.y;
  const float dz = z - other.z;
  return static_cast<double>(dx) * dx + static_cast<double>(dy) * dy + static_cast<double>(dz) * dz;
}

XFPointN::XFPointN(const float& x, const float& y, const float& z, const float& nx, const float& ny,
                   const float& nz)
    : point{x, y, z}, normal{nx, ny, nz} {}

XFPointN::XFPointN(const float* p, const float* n) {
  zelmo::internal::copyTriple(p, point);
  zelmo::internal::copyTriple(n, normal);
}

GeoFeatureType XFPointN::getFeatureType() const { return GeoPoint; }

}  // namespace xgeofeature
