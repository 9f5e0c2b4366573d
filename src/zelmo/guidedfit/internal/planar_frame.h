// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

#include "zelmo/feature/internal/local_frame.h"

/// \file
/// The way of touch points into the plane that the host gives, and back.

namespace zelmo::internal {

/// Points projected on a plane, in space and in the plane's local frame.
struct PlanarPoints {
  std::vector<cv::Point3f> projected;
  std::vector<cv::Point2f> local;
  LocalFrame frame;
};

/// \param[in] plane float[6]: point, unit normal; null gives nothing
/// \param[out] projected float[3 * count], or null: the projected points once more
/// \return nothing when the plane's normal gives no frame (zero, or not finite)
std::optional<PlanarPoints> intoPlane(const std::vector<cv::Point3f>& points, const float* plane,
                                      float* projected);

/// A point, or a direction, of the local plane in space, stored in float.
void placeInSpace(const LocalFrame& frame, double x, double y, float* out);
void turnIntoSpace(const LocalFrame& frame, double x, double y, float* out);

}  // namespace zelmo::internal
