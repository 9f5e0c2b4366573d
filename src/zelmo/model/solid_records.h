// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <TopoDS_Face.hxx>
#include <zelmo/export.h>

#include "zelmo/feature/cone.h"
#include "zelmo/feature/cylinder.h"
#include "zelmo/feature/plane.h"
#include "zelmo/feature/sphere.h"
#include "zelmo/model/outline_records.h"

/// \file
/// What faces of a model turn out to be. Plain values with the list of the faces that share the
/// geometry; the faces keep their part of the model alive. Lengths in the model's unit, directions
/// unit, triples x, y, z. A record that is made without values has all floats 0 and no face, and a
/// vector of any other length than the one told counts as no values. No comparison looks at the
/// faces.

namespace xmodelfeature {

/// A planar patch.
class ZELMO_EXPORT XFPlane {
 public:
  XFPlane() = default;  ///< all floats 0, no face
  /// A patch without a face.
  /// \param[in] values a, b, c, d, center, normal, majorDir, length, width, corners: exactly 27
  ///     floats
  explicit XFPlane(const std::vector<float>& values);

  /// The plane by center, normal, major direction and size.
  /// \note The equation is computed anew from center and normal, so d can differ slightly.
  void getPlane(xgeofeature::XFPlane& plane) const;

  /// The four corners of the patch, around it, counter-clockwise for an observer at whom the normal
  /// points; computed from center, directions and size and not from the field corners.
  /// \param[out] points XFPoint[4]
  void getCornerPoint(XFPoint* points) const;

  /// Whether both equations are the same plane: the four coefficients differ by at most 1e-6 each,
  /// after a change of sign where the normals point opposite ways. Center and size don't count.
  bool operator==(const XFPlane& other);

  /// \var a
  /// coefficient of x in a x + b y + c z + d = 0, equal to normal[0]
  /// \var b
  /// coefficient of y, equal to normal[1]
  /// \var c
  /// coefficient of z, equal to normal[2]
  /// \var d
  /// the constant, such that the equation holds at the first corner of the first face
  float a = 0.0F, b = 0.0F, c = 0.0F, d = 0.0F;
  float center[3] = {};    ///< middle of the patch
  float normal[3] = {};    ///< that of the surface, whatever the orientation of the face
  float majorDir[3] = {};  ///< direction of the longer side
  float length = 0.0F;     ///< the longer side
  float width = 0.0F;      ///< the shorter side
  /// Four points, x, y, z each. Of a single face they stand as a grid in the parameters u, v of
  /// its surface: both smallest, u largest, v largest, both largest. Of merged patches they go
  /// around the rectangle.
  float corners[12] = {};
  std::vector<TopoDS_Face> faces;  ///< all faces on this plane, in the order of the walk
};

/// A spherical face.
class ZELMO_EXPORT XFSphere {
 public:
  XFSphere() = default;  ///< all floats 0, no face
  /// A sphere without a face.
  /// \param[in] values center, radius: exactly 4 floats
  explicit XFSphere(const std::vector<float>& values);

  /// The same sphere as a feature record.
  void getSphere(xgeofeature::XFSphere& sphere) const;

  /// Whether center coordinates and radius differ by at most 1e-6 each.
  bool operator==(const XFSphere& other);

  float center[3] = {};            ///< the middle
  float radius = 0.0F;             ///< the radius
  std::vector<TopoDS_Face> faces;  ///< all faces on this sphere, in the order of the walk
};

/// A cylindrical face.
class ZELMO_EXPORT XFCylinder {
 public:
  XFCylinder() = default;  ///< all floats 0, no face
  /// A cylinder without a face.
  /// \param[in] values center, axis, radius, height, base, top: exactly 14 floats
  explicit XFCylinder(const std::vector<float>& values);

  /// The same cylinder as a feature record, field by field.
  void getCylinder(xgeofeature::XFCylinder& cylinder) const;

  /// Whether radius and both ends differ by at most 0.001 in each coordinate and the cosine between
  /// the axes is 1 or -1 to within 0.001; for opposite axes base is held against top.
  bool operator==(const XFCylinder& other);

  float center[3] = {};  ///< half way between base and top
  /// From base to top, but from top to base for a face that is a spline.
  float axis[3] = {};
  float radius = 0.0F;             ///< the radius
  float height = 0.0F;             ///< distance of base and top
  float base[3] = {};              ///< point of the axis at one end of the face
  float top[3] = {};               ///< point of the axis at the other end
  std::vector<TopoDS_Face> faces;  ///< all faces on this cylinder, in the order of the walk
};

/// A conical face.
class ZELMO_EXPORT XFCone {
 public:
  XFCone() = default;  ///< all floats 0, no face
  /// A cone without a face.
  /// \param[in] values apex, axis, halfAngle, base, top, height, baseRadius, topRadius: exactly 16
  ///     floats
  explicit XFCone(const std::vector<float>& values);

  /// The same cone as a feature record, field by field.
  void getCone(xgeofeature::XFCone& cone) const;

  /// Whether apex coordinates, half angle and both radii differ by at most 0.0001 each and the
  /// cosine between the axes is 1 to within 0.0001: opposite cones are never equal.
  bool operator==(const XFCone& other);

  float apex[3] = {};              ///< the tip, where the radius is 0
  float axis[3] = {};              ///< from base towards apex
  float halfAngle = 0.0F;          ///< radians
  float base[3] = {};              ///< center of the wider end
  float top[3] = {};               ///< center of the narrower end
  float height = 0.0F;             ///< distance of base and top
  float baseRadius = 0.0F;         ///< the larger radius
  float topRadius = 0.0F;          ///< the smaller radius
  std::vector<TopoDS_Face> faces;  ///< all faces on this cone, in the order of the walk
};

}  // namespace xmodelfeature
