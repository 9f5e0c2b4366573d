// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// \file
/// What a point and its normal must meet to belong to a nominal shape.
///
/// Each shape has inside(x, y, z), which is 1 or 0 and runs in lanes, and normalFits(m, p) for the
/// points inside; kReadsNormals tells whether that looks at m. Distances are compared by their squares: an Interval holds exactly the squares
/// whose root passes, so leaving the root out changes no result.

#include <cmath>

#include "zelmo/internal/lanes.h"
#include "zelmo/internal/residuals.h"

namespace zelmo::internal {

/// Closed interval; a lower end that is NaN makes it empty.
struct Interval {
  double lowest, highest;
  ZELMO_ALWAYS_INLINE int holds(double value) const {
    return static_cast<int>(value >= lowest) & static_cast<int>(value <= highest);
  }
};

/// The squares s with |sqrt(s) - offset| <= limit, every step rounded as the machine does.
Interval squaresNear(double offset, double limit);

/// The squares s with sqrt(s) <= limit.
Interval squaresUpTo(double limit);

/// Dot product in float, from the left.
ZELMO_ALWAYS_INLINE float dotInFloat(const float* a, const float* b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// The square of the distance from a point to a line whose direction is taken as it is, not made
/// unit. Less than 0.001 off the line's point in every coordinate, the distance counts as 0.
struct LineDistance {
  AxisLine axis;

  static LineDistance through(const float* point, const float* direction) {
    return {{point[0], point[1], point[2], direction[0], direction[1], direction[2]}};
  }
  ZELMO_ALWAYS_INLINE double squared(double x, double y, double z) const {
    constexpr double kOnLinePoint = 0.001;
    const double qx = x - axis.px;
    const double qy = y - axis.py;
    const double qz = z - axis.pz;
    return orOnAxisPoint(qx, qy, qz, 0.0, axis.distanceSquared(qx, qy, qz), kOnLinePoint);
  }
};

/// The square of the distance between two points: differences in float, the rest in double.
struct PointDistance {
  float x, y, z;

  static PointDistance from(const float* point) { return {point[0], point[1], point[2]}; }
  ZELMO_ALWAYS_INLINE double squared(float px, float py, float pz) const {
    const double dx = px - x, dy = py - y, dz = pz - z;
    return dx * dx + dy * dy + dz * dz;
  }
};

/// a x + b y + c z + d in float, at most a limit off 0.
struct PlaneInFloat {
  float a, b, c, d, limit;
  ZELMO_ALWAYS_INLINE int near(float x, float y, float z) const {
    return static_cast<int>(std::fabs(a * x + b * y + c * z + d) <= limit);
  }
};

/// The distance to the plane through a point, in double, at most a limit.
struct PlaneInDouble {
  PlaneDeviation deviation;
  double limit;

  static PlaneInDouble through(const float* point, const float* normal, double limit) {
    const double p[3] = {point[0], point[1], point[2]}, n[3] = {normal[0], normal[1], normal[2]};
    return {PlaneDeviation::through(p, n), limit};
  }
  ZELMO_ALWAYS_INLINE int near(double x, double y, double z) const {
    return static_cast<int>(std::fabs(deviation(x, y, z)) <= limit);
  }
};

/// Every point.
struct Everything {
  static constexpr bool kReadsNormals = false;
  ZELMO_ALWAYS_INLINE int inside(float, float, float) const { return 1; }
  ZELMO_ALWAYS_INLINE bool normalFits(const float*, const float*) const { return true; }
};

/// A slice along a plane; the normals do not matter.
struct SlabShape {
  static constexpr bool kReadsNormals = false;
  PlaneInDouble plane;

  ZELMO_ALWAYS_INLINE int inside(float x, float y, float z) const { return plane.near(x, y, z); }
  ZELMO_ALWAYS_INLINE bool normalFits(const float*, const float*) const { return true; }
};

/// A rectangle in a plane; normals at most 60 degrees off its own.
template <typename Plane>
struct RectangleShape {
  static constexpr bool kReadsNormals = true;
  Plane plane;
  LineDistance along, across;
  Interval width, length;  // of the squared distances to the line along the major side, and across
  float normal[3];

  ZELMO_ALWAYS_INLINE int inside(float x, float y, float z) const {
    return plane.near(x, y, z) & width.holds(along.squared(x, y, z)) &
           length.holds(across.squared(x, y, z));
  }
  ZELMO_ALWAYS_INLINE bool normalFits(const float* m, const float*) const {
    return dotInFloat(m, normal) >= 0.5F;
  }
};

/// The wall of an endless cylinder; normals at least 60 degrees off the axis.
struct CylinderShape {
  static constexpr bool kReadsNormals = true;
  LineDistance line;
  Interval band;
  float axis[3];

  ZELMO_ALWAYS_INLINE int inside(float x, float y, float z) const {
    return band.holds(line.squared(x, y, z));
  }
  ZELMO_ALWAYS_INLINE bool normalFits(const float* m, const float*) const {
    const float cosine = dotInFloat(m, axis);
    return cosine >= -0.5F && cosine <= 0.5F;
  }
};

/// A cylinder's wall between two ends.
struct WallShape {
  static constexpr bool kReadsNormals = true;
  CylinderShape cylinder;
  double half_height;

  ZELMO_ALWAYS_INLINE int inside(float x, float y, float z) const {
    const AxisLine& axis = cylinder.line.axis;
    const double along = axis.along(x - axis.px, y - axis.py, z - axis.pz);
    return cylinder.inside(x, y, z) & static_cast<int>(std::fabs(along) <= half_height);
  }
  ZELMO_ALWAYS_INLINE bool normalFits(const float* m, const float* p) const {
    return cylinder.normalFits(m, p);
  }
};

/// A sphere; normals at most 60 degrees off the outward direction.
struct SphereShape {
  static constexpr bool kReadsNormals = true;
  PointDistance center;
  Interval band;

  ZELMO_ALWAYS_INLINE int inside(float x, float y, float z) const {
    return band.holds(center.squared(x, y, z));
  }
  ZELMO_ALWAYS_INLINE bool normalFits(const float* m, const float* p) const {
    const float outward[3] = {p[0] - center.x, p[1] - center.y, p[2] - center.z};
    return dotInFloat(m, outward) >= 0.5 * std::sqrt(center.squared(p[0], p[1], p[2]));
  }
};

/// The wall of an endless cone; the normals do not matter.
struct ConeShape {
  static constexpr bool kReadsNormals = false;
  LineDistance line;
  PointDistance apex;
  double radius_per_length, limit;

  ZELMO_ALWAYS_INLINE int inside(float x, float y, float z) const {
    const double expected = std::sqrt(apex.squared(x, y, z)) * radius_per_length;
    return static_cast<int>(std::fabs(std::sqrt(line.squared(x, y, z)) - expected) <= limit);
  }
  ZELMO_ALWAYS_INLINE bool normalFits(const float*, const float*) const { return true; }
};

/// A flat ring; normals at most 60 degrees off the plane's, on either side.
struct RingShape {
  static constexpr bool kReadsNormals = true;
  PlaneInFloat plane;
  PointDistance center;
  Interval reach;  // of the squared distances to the center

  ZELMO_ALWAYS_INLINE int inside(float x, float y, float z) const {
    return plane.near(x, y, z) & reach.holds(center.squared(x, y, z));
  }
  ZELMO_ALWAYS_INLINE bool normalFits(const float* m, const float*) const {
    const float normal[3] = {plane.a, plane.b, plane.c};
    return std::fabs(dotInFloat(m, normal)) >= 0.5F;
  }
};

/// A short round rod along a normal; normals within an angle of it.
struct RodShape {
  static constexpr bool kReadsNormals = true;
  PlaneInDouble plane;
  LineDistance line;
  Interval reach;
  float normal[3];
  double cosine;

  ZELMO_ALWAYS_INLINE int inside(float x, float y, float z) const {
    return plane.near(x, y, z) & reach.holds(line.squared(x, y, z));
  }
  ZELMO_ALWAYS_INLINE bool normalFits(const float* m, const float*) const {
    return dotInFloat(m, normal) >= cosine;
  }
};

}  // namespace zelmo::internal
