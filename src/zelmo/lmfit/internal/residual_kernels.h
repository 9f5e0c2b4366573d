// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "zelmo/internal/array_view.h"
#include "zelmo/internal/deviation_statistics.h"

/// \file
/// Residuals of all points for one evaluation of the damped solver: one double per point, in point
/// order, read straight from the floats.

namespace zelmo::internal {

/// Distance from a point to a cone's mantle, taken square to the axis.
struct ConeDeviation {
  AxisLine axis;
  double slope;  ///< tangent of the half angle

  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const {
    const double qx = x - axis.px;
    const double qy = y - axis.py;
    const double qz = z - axis.pz;
    // CONTRACT: the cone's radius at the point's height is rounded to float, the distance is not.
    const float radius = static_cast<float>(std::fabs(axis.along(qx, qy, qz)) * slope);
    return std::sqrt(axis.distanceSquared(qx, qy, qz)) - radius;
  }
};

/// The direction made unit, or zero when its length is 0.
AxisLine unitAxis(const double* point_and_direction);

void storeResiduals(const PointView& points, const PlaneDeviation& from, double* out);
void storeResiduals(const PointView& points, const SphereDeviation& from, double* out);
void storeResiduals(const PointView& points, const CylinderDeviation<NearPoint::Measured>& from,
                    double* out);
void storeResiduals(const PointView& points, const ConeDeviation& from, double* out);

/// Distance of x, y pairs from a circle.
void storeResiduals(const PlanarView& points, const CircleDeviation& from, double* out);

/// What an inscribed circle is driven by: a reward for size, and a penalty on points inside.
struct InscribedDeviation {
  double x0, y0, radius;
  double reward;  ///< of every point: the inverse of the radius
  double weight;  ///< of the depth of a point inside

  ZELMO_ALWAYS_INLINE double operator()(double x, double y) const {
    const double u = x - x0;
    const double v = y - y0;
    const double depth = radius - std::sqrt(u * u + v * v);
    const double inside = depth * weight + reward;
    return depth <= 0.0 ? reward : inside;
  }
};

void storeResiduals(const PlanarView& points, const InscribedDeviation& from, double* out);

}  // namespace zelmo::internal
