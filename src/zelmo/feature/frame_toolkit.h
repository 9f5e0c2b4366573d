// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <optional>
#include <vector>

#include <opencv2/core.hpp>

#include "zelmo/internal/array_view.h"

/// \file
/// Planes, rotations and rigid transforms: the one set of routines behind the members that several
/// exported classes offer under their own names.

namespace zelmo::internal {

/// A rigid transform: row-major 4 by 4 that acts on column vectors, last row 0, 0, 0, 1.
using Rigid = std::array<double, 16>;

/// The transform that moves nothing.
constexpr Rigid kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

/// Three planes, each a normal and a point. In an alignment the order of the planes matters.
struct PlaneTriple {
  std::array<cv::Vec3d, 3> normals;   ///< of any length
  std::array<cv::Point3d, 3> points;  ///< one on each plane, in the order of the normals

  /// Three planes through one point.
  static PlaneTriple through(const cv::Point3d& point, const cv::Vec3d& n0, const cv::Vec3d& n1,
                             const cv::Vec3d& n2) {
    return {{n0, n1, n2}, {point, point, point}};
  }

  /// From arrays of three normals and three points.
  static PlaneTriple of(const cv::Vec3d* normals, const cv::Point3d* points) {
    return {{normals[0], normals[1], normals[2]}, {points[0], points[1], points[2]}};
  }
};

/// \p v made unit; a zero vector stays zero.
cv::Vec3d unitOrZero(const cv::Vec3d& v);

/// The point where three planes meet, as a 3 by 1 matrix of doubles.
/// \return nothing when the determinant of the normals lies strictly between -1e-6 and 1e-6
std::optional<cv::Mat> intersectionOfPlanes(const cv::Vec3d* normals, const cv::Point3d* points);

/// Index of the component of largest magnitude; the lowest index wins a tie.
template <typename Scalar>
int largestComponent(const Scalar* v) {
  int largest = 0;
  for (int i = 1; i < 3; ++i) {
    const Scalar candidate = v[i] < 0 ? -v[i] : v[i];
    const Scalar best = v[largest] < 0 ? -v[largest] : v[largest];
    if (candidate > best) largest = i;
  }
  return largest;
}

/// A vector orthogonal to \p v, not made unit: the component of largest magnitude is solved for,
/// the others are 1. A zero vector gives components that are not finite.
cv::Vec3d auxiliaryVector(const cv::Vec3d& v);

/// The perpendicular rule of the feature records: a unit vector orthogonal to \p n, in floats. The
/// component of largest magnitude and one neighbour span it. A zero \p n gives components that are
/// not finite.
std::array<float, 3> perpendicularTo(const float* n);

/// The same rule in double throughout: circles for display without a major direction.
cv::Vec3d perpendicularTo(const cv::Vec3d& n);

/// The Rodrigues matrix of a turn about the unit vector \p axis.
cv::Matx33d rodrigues(const cv::Vec3d& axis, double cosine, double sine);

/// The turn by \p angle radians about \p axis of any length; a zero axis gives cos(angle) times the
/// identity.
cv::Matx33d rotationAbout(const cv::Vec3d& axis, double angle);

/// \p angle, or \p angle degrees in radians.
double inRadians(double angle, bool degrees);

/// The rotation that carries the direction \p from onto the direction \p to. Vectors whose cross
/// product has no component that reaches 1e-6 count as parallel and are joined by two quarter turns
/// over an auxiliary vector.
/// \return the identity for a zero or non-finite vector, and for vectors so short that no two
///     quarter turns join them
cv::Matx33d rotationBetween(const cv::Vec3d& from, const cv::Vec3d& to);

/// What an alignment does when the two crosses point opposite ways.
enum class OppositeCross {
  AnyHalfTurn,       ///< whatever axis rotationBetween picks: X3DFit, XGeometry3D, XCurve3DFit
  AboutFirstNormal,  ///< half-turn about the first rotated normal: XCurve3D, XGeoTolrance and all
                     ///< callers inside the library but the simplex and curve fits
};

/// Steps of an alignment, for the one caller that prints them.
struct AlignTrace {
  /// \var r1
  /// turns the first source normal onto the first target normal
  /// \var r2
  /// turns the cross of the first two source normals, after r1, onto that of the target
  /// \var r
  /// r2 * r1
  cv::Matx33d r1, r2, r;
};

/// The rigid transform that carries the source planes onto the target planes.
/// \return nothing when either triple has no single point of intersection
std::optional<Rigid> alignByPlanes(const PlaneTriple& target, const PlaneTriple& source,
                                   OppositeCross rule, AlignTrace* trace = nullptr);

/// The transform that carries a frame at \p origin with the axes \p x, \p y, \p z onto the world's
/// axes at the world's origin.
std::optional<Rigid> worldToFrame(const cv::Point3d& origin, const cv::Vec3d& x, const cv::Vec3d& y,
                                  const cv::Vec3d& z, OppositeCross rule);

/// Inverse of a rigid transform by transposition; nothing tests that \p rigid is one.
Rigid rigidInverse(const double* rigid);

/// \p rigid applied to a point.
cv::Point3d transformPoint(const Rigid& rigid, const cv::Point3d& p);

/// The rotation of \p rigid applied to a direction; the translation does not count.
cv::Vec3d rotateDirection(const Rigid& rigid, const cv::Vec3d& v);

/// The foot of \p point on the plane a, b, c, d with unit (a, b, c), computed in double and stored
/// in float.
cv::Point3f projectOnPlane(const float* point, const double* plane);

/// All points projected; \p out may be the points' own vector.
void projectOnPlane(const PointView& points, const double* plane, std::vector<cv::Point3f>& out);

/// 4 by 4 of the half-turn about a line. \return nothing for a zero or non-finite direction
std::optional<Rigid> lineSymmetry(const cv::Point3d& point, const cv::Vec3d& direction);

/// 4 by 4 of the mirror image at a plane. \return nothing for a zero or non-finite normal
std::optional<Rigid> planeSymmetry(const cv::Point3d& point, const cv::Vec3d& normal);

/// 4 by 4 of the mirror image at a point.
Rigid pointSymmetry(const cv::Point3d& point);

}  // namespace zelmo::internal
