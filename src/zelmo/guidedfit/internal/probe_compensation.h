// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <opencv2/core.hpp>

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/internal/array_view.h"

/// \file
/// Compensation of a radial feature for the radius of the probe's tip.

namespace zelmo::internal {

/// Where the compensated point of a touch point lies.
// CONTRACT: the cylinder's point lands on the surface, the other features' points keep their deviation.
enum class CompensatedPoint {
  MovedByRadius,  ///< the point, moved by the signed radius along its radial direction: circle,
                  ///< sphere, slot
  OnSurface,      ///< on the compensated surface, whatever the point's own deviation: cylinder
};

/// On which side of the surface the tip was: the sign of the probe radius.
///
/// The radius grows when the first measured normal looks towards the feature's axis or center, that
/// is when the surface was touched from inside.
/// \param[in] origin where the radial direction of the first point starts
float signedRadius(const cv::Vec3d& origin, const float* first_point, const float* first_normal,
                   float radius);

/// \p radius with the sign that the caller tells.
inline float signedRadius(bool outward, float radius) { return outward ? radius : -radius; }

/// The foot of \p point on an axis, as stored by XGeoConstructor::Projection_Point_Line.
/// \param[in] on_axis float[3] \param[in] axis float[3], unit \param[in] point float[3]
cv::Vec3d footOnAxis(const float* on_axis, const float* axis, const float* point);

/// Writes the compensated points and the error vectors of a radial feature.
/// \param[in] origin callable with a point (float[3]), gives where its radial direction starts
/// \param[in] signed_radius the probe radius with its sign
/// \param[in] feature_radius the feature's radius after compensation
/// \param[out] compensated float[3 * count], or null
/// \param[out] errors float[3 * count], or null: radial deviation from the compensated feature; zero
///     for a point in its own origin
template <typename Origin>
void compensateRadially(const PointView& points, const Origin& origin, float signed_radius,
                        float feature_radius, CompensatedPoint rule, float* compensated,
                        float* errors) {
  if (compensated == nullptr && errors == nullptr) return;
  for (int i = 0; i < points.count(); ++i) {
    const cv::Vec3d p = points.vector(i);
    const cv::Vec3d from = origin(points.at(i));
    const cv::Vec3d radial = p - from;
    const cv::Vec3d direction = unitOrZero(radial);
    const auto distance = static_cast<float>(cv::norm(radial));
    const float error = distance + signed_radius - feature_radius;
    const cv::Vec3d moved = rule == CompensatedPoint::OnSurface ? from + direction * feature_radius
                                                                : p + direction * signed_radius;
    for (int k = 0; k < 3; ++k) {
      const std::ptrdiff_t at = 3 * static_cast<std::ptrdiff_t>(i) + k;
      if (compensated != nullptr) compensated[at] = static_cast<float>(moved[k]);
      if (errors != nullptr) errors[at] = static_cast<float>(direction[k] * error);
    }
  }
}

}  // namespace zelmo::internal
