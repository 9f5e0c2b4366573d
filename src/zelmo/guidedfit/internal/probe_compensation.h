// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

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

/// What a host tells of the probe, and where it wants what becomes of the points.
struct Probe {
  float radius;
  const float* normals;         ///< the first tells the side, unless the caller does
  std::optional<bool> outward;  ///< the side that the caller tells: whether the radius grows
  float* compensated;           ///< float[3 * count], or null
  float* errors;                ///< float[3 * count], or null

  bool knowsItsSide() const { return outward || normals != nullptr; }
};

/// The probe radius with the sign of the side of the surface that the tip was on.
///
/// The radius grows when the first measured normal looks towards the feature's axis or center, that
/// is when the surface was touched from inside.
/// \param[in] origin where the radial direction of the first point starts
/// \pre knowsItsSide
float signedRadius(const Probe& probe, const cv::Vec3d& origin, const float* first_point);

/// The foot of \p point on an axis, as stored by XGeoConstructor::Projection_Point_Line.
/// \param[in] on_axis float[3] \param[in] axis float[3], unit \param[in] point float[3]
cv::Vec3d footOnAxis(const float* on_axis, const float* axis, const float* point);

/// Adds the probe radius with its sign to a radius, and writes compensated points and error vectors.
/// An error is the radial deviation from the compensated feature; zero for a point in its own origin.
/// \param[in,out] radius the feature's radius
/// \param[in] points those whose radial directions count
/// \param[in] origin callable with a point (float[3]), gives where its radial direction starts
template <typename Origin>
void compensateRadially(const Probe& probe, float signed_radius, float& radius,
                        const PointView& points, const Origin& origin, CompensatedPoint rule) {
  radius = static_cast<float>(static_cast<double>(radius) + signed_radius);
  if (probe.compensated == nullptr && probe.errors == nullptr) return;
  for (int i = 0; i < points.count(); ++i) {
    const cv::Vec3d p = points.vector(i);
    const cv::Vec3d from = origin(points.at(i));
    const cv::Vec3d radial = p - from;
    const cv::Vec3d direction = unitOrZero(radial);
    const auto distance = static_cast<float>(cv::norm(radial));
    const float error = distance + signed_radius - radius;
    const cv::Vec3d moved = rule == CompensatedPoint::OnSurface ? from + direction * radius
                                                                : p + direction * signed_radius;
    for (int k = 0; k < 3; ++k) {
      const std::ptrdiff_t at = 3 * static_cast<std::ptrdiff_t>(i) + k;
      if (probe.compensated != nullptr) probe.compensated[at] = static_cast<float>(moved[k]);
      if (probe.errors != nullptr) probe.errors[at] = static_cast<float>(direction[k] * error);
    }
  }
}

}  // namespace zelmo::internal
