// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "zelmo/extract/internal/point_grid.h"
#include "zelmo/extract/internal/shape_filter.h"
#include "zelmo/feature/circle.h"
#include "zelmo/feature/cone.h"
#include "zelmo/feature/cylinder.h"
#include "zelmo/feature/oval_groove.h"
#include "zelmo/feature/plane.h"
#include "zelmo/feature/point.h"
#include "zelmo/feature/rectangle.h"
#include "zelmo/feature/round_groove.h"
#include "zelmo/feature/sphere.h"

/// \file
/// From a nominal record to the neighbourhood that a search looks at and the tests that it makes.

namespace zelmo::internal {

/// The extents of a flat outline in its plane.
struct FlatOutline {
  const float* center;
  const float* normal;
  const float* major_dir;
  double half_length, half_width;

  static FlatOutline of(const xgeofeature::XFOvalGroove3D& groove);
  static FlatOutline of(const xgeofeature::XFRectangle3D& rectangle);
  static FlatOutline of(const xgeofeature::XFRoundGroove3D& groove);
};

Ball ballAround(const float* center, double radius);
Ball ballAround(const xgeofeature::XFPlane& plane);
Ball ballAround(const xgeofeature::XFCylinder& cylinder);
Ball ballAround(const xgeofeature::XFCone& cone);
Ball ballAround(const xgeofeature::XFSphere& sphere);
Ball ballAround(const FlatOutline& outline);

RectangleShape<PlaneInFloat> shapeOf(const xgeofeature::XFPlane& plane, float max_distance);
CylinderShape shapeOf(const xgeofeature::XFCylinder& cylinder, double max_distance);
ConeShape shapeOf(const xgeofeature::XFCone& cone, float max_distance);
SphereShape shapeOf(const xgeofeature::XFSphere& sphere, float max_distance);
RectangleShape<PlaneInDouble> shapeOf(const FlatOutline& outline);

/// The ring between two radii in the circle's plane.
RingShape ringOf(const xgeofeature::XFCircle3D& circle, float inner, float outer,
                 float max_distance);

/// The wall of a bore below a circle.
struct BoreWall {
  xgeofeature::XFCylinder cylinder;
  WallShape shape;

  /// \param[in] gap from the circle's plane down to the wall
  /// \param[in] depth of the wall
  static BoreWall below(const xgeofeature::XFCircle3D& circle, float gap, float depth,
                        float max_distance);
};

/// The points around a normal.
RodShape rodAlong(const xgeofeature::XFPointN& nominal, float radius, float thickness,
                  double cosine);

}  // namespace zelmo::internal
