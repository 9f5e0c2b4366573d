// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <optional>

#include <opencv2/core/types.hpp>

#include "zelmo/internal/array_view.h"

/// \file
/// Plane and circle through three points. The three points are a view of exactly three.

namespace zelmo::internal {

/// Where the differences to the first point are rounded.
enum class EdgeRounding {
  ToFloat,  ///< Plane_3Point
  None,     ///< Circle3D_3Point, getPlane, getCircle
};

struct ThreePointPlane {
  cv::Vec3d normal;     ///< unit
  cv::Vec3d to_second;  ///< unit, from the first point to the second
};

/// \return nothing when the second or the third point coincides with the first, when the three lie
///     on a line (a small cross product), and when the normal is not finite
std::optional<ThreePointPlane> planeThrough(const PointView& three, EdgeRounding rounding);

struct ThreePointCircle {
  cv::Point3d center;
  double radius;
};

/// The circle in the plane through the first point with the unit \p normal.
/// \return nothing when the points span no frame (each within 0.01 of their mean in each coordinate)
///     or lie on a line once they are rounded to float in that frame
std::optional<ThreePointCircle> circleThrough(const PointView& three, const cv::Vec3d& normal);

struct ThreePointRectangle {
  cv::Point3d center;
  cv::Vec3d major;  ///< unit, along the longer side
  double length, width;
};

/// The smallest rectangle around the points in the plane with the unit \p normal.
/// \return nothing when the points span no frame
std::optional<ThreePointRectangle> rectangleAround(const PointView& three, const cv::Vec3d& normal);

}  // namespace zelmo::internal
