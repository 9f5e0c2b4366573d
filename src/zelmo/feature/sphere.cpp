// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/feature/sphere.h"

#include "zelmo/feature/internal/record_math.h"

namespace xgeofeature {

XFSphere::XFSphere(const float& x, const float& y, const float& z, const float& r)
    : center{x, y, z}, radius(r) {}

XFSphere::XFSphere(const float* point, const float& r)
    : XFSphere(point[0], point[1], point[2], r) {}

XFSphere::XFSphere(const std::vector<float>& values) {
  zelmo::internal::FieldReader(values, 4).triple(center).scalar(radius);
}

GeoFeatureType XFSphere::getFeatureType() const { return GeoSphere; }

void XFSphere::getCenterPoint(XFPoint& point) const { point = XFPoint(center); }

}  // namespace xgeofeature
