// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <optional>
#include <vector>

#include <opencv2/core/types.hpp>

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/internal/array_view.h"

/// \file
/// The local frame of points that lie in a plane, the way into two dimensions and back, and the
/// bounding rectangle there.

namespace zelmo::internal {

/// What happens when every point lies within 0.01 of the origin in each coordinate.
enum class NoAxisPoint {
  NoFrame,       ///< there is no frame: transformed projection, circularity, plane merging
  FallbackAxis,  ///< an axis of the world, turned into the plane: corners of both plane fits
};

struct LocalFrame {
  Rigid local_from_world;
  Rigid world_from_local;
};

struct LocalFrameOptions {
  NoAxisPoint no_axis_point = NoAxisPoint::NoFrame;
  OppositeCross opposite_cross = OppositeCross::AboutFirstNormal;
};

/// Mean of points in double, summed in input order.
cv::Point3d meanOf(const std::vector<cv::Point3f>& points);

/// The unit direction from \p origin to the first point that differs from it by at least 0.01 in
/// some coordinate; nothing when no point does.
std::optional<cv::Vec3d> firstAxis(const std::vector<cv::Point3f>& points,
                                   const cv::Point3d& origin);

/// The frame with its origin at \p origin, X towards the first point that is off it, Y = normal
/// cross X and Z = \p normal.
/// \param[in] points points of the plane, usually projected ones
/// \param[in] normal unit
/// \return nothing when there is no X axis and the options ask for none, or when the axes have no
///     single point of intersection (a zero or non-finite \p normal)
std::optional<LocalFrame> localFrame(const std::vector<cv::Point3f>& points,
                                     const cv::Point3d& origin, const cv::Vec3d& normal,
                                     const LocalFrameOptions& options);

/// The first two local coordinates of each point, stored in float.
std::vector<cv::Point2f> toLocal(const std::vector<cv::Point3f>& points, const LocalFrame& frame);

/// Points projected on a plane and seen in the local frame at the mean of their projections.
struct LocalProjection {
  LocalFrame frame;
  std::vector<cv::Point2f> points;
};

/// Projects points on the plane a, b, c, d with unit (a, b, c) and maps them to its local frame.
/// \return nothing when there is no frame
/// Callers: projection2Plane_tranformed of X3DFit and XGeoTolrance, circle and plane through three
/// points.
std::optional<LocalProjection> projectToLocal(const PointView& points, const double* plane,
                                              const LocalFrameOptions& options);

/// The local point (x, y, 0) in space.
cv::Point3d toWorld(const LocalFrame& frame, double x, double y);

/// cv::minAreaRect, made safe: points that are not finite are left out, and no points give a
/// rectangle of size 0 at the origin. The angle lies in (0, 90] unless all points are on one line;
/// coordinates beyond about 1e18 give a center that is not a number.
cv::RotatedRect boundingRectangle(const std::vector<cv::Point2f>& points);

/// The four corners of the rectangle with \p box's center and size but parallel to the local axes,
/// in space, in the order (+, +), (-, +), (-, -), (+, -).
// CONTRACT: the angle of the bounding rectangle does not enter the corners.
std::array<float, 12> axisParallelCorners(const cv::RotatedRect& box, const LocalFrame& frame);

}  // namespace zelmo::internal
