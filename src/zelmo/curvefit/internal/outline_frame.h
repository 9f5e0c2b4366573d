// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <initializer_list>
#include <optional>
#include <vector>

#include "zelmo/curvefit/fit_method.h"
#include "zelmo/curvefit/internal/outline_score.h"
#include "zelmo/feature/internal/local_frame.h"

/// \file
/// The road that all flat outlines share: into the plane, a start from the bounding rectangle, and
/// back into space.

namespace zelmo::internal {

/// Points carried into the local frame of their plane.
struct FlatPoints {
  std::array<double, 4> plane;
  LocalFrame frame;
  std::vector<cv::Point2f> points;
};

/// The points in the plane of least absolute distances, whatever the outline's own method.
/// \return nothing when a point is not finite
std::optional<FlatPoints> flatten(const PointView& points);

/// Score of a method; any other value takes the sum of absolute distances.
OutlineScore scoreOf(xcurve3dfit::FitMethod method);

/// The smallest rectangle around points, its long side along \p angle.
struct BoundingStart {
  double cx, cy;
  double half_long, half_short;
  double angle;  ///< radians from local X
};
BoundingStart boundingStart(const std::vector<cv::Point2f>& points);

/// Center, normal and major direction in space, as the first nine floats of a result.
void placeOutline(const FlatPoints& flat, double cx, double cy, double angle, float* out);

/// Copies a result into an object's fields.
/// \param[in] sizes the fields after the first nine floats
void storeOutline(const float* out, float* center, float* normal, float* major_dir,
                  std::initializer_list<float*> sizes);

/// Turns a fitted normal to the side on which more of the measured normals lie, in the object and in
/// the result.
/// \param[in] normals float[3 * count]
/// \return true
bool orientNormal(const PointView& normals, float* normal, float* out);

}  // namespace zelmo::internal
