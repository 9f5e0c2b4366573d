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
/// unit. A record that is made without values has no defined content, and a vector of a wrong length
/// counts as no values. No comparison looks at the faces.

namespace xmodelfeature {

/// A planar patch.
class ZELMO_EXPORT XFPlane {
 public:
  XFPlane() = default;
  /// \param[in] values the 27 floats of the fields in order, with no face
  explicit XFPlane(const std::vector<float>& values);

  /// The plane by center, normal, major direction and size.
  /// \note The equation is computed anew from center and normal, so d can differ slightly.
  void getPlane(xgeofeature::XFPlane& plane) const;

  /// The four corners of the patch, around it, counter-clockwise seen against the normal; computed
  /// from center, directions and size and not from the field corners.
  /// \param[out] points XFPoint[4]
  void getCornerPoint(XFPoint* points) const;

  /// Whether both equations are the same plane: the four coefficients differ by at most 1e-6 each,
  /// after a change of sign where the normals point opposite ways. Center and size don't count.
  bool operator==(const XFPlane& other);

  float a = 0.0F, b = 0.0F, c = 0.0F, d = 0.0F;  ///< a x + b y + c z + d = 0
  float center[3] = {};
  float normal[3] = {};
  float majorDir[3] = {};  ///< direction of the longer side
  float length = 0.0F;     ///< the longer side
  float width = 0.0F;      ///< the shorter side
  float corners[12] = {};  ///< four points; as a grid from a single face, as a ring when merged
  std::vector<TopoDS_Face> faces;
};

/// A spherical face.
class ZELMO_EXPORT XFSphere {
 public:
  XFSphere() = default;
  /// \param[in] values the 4 floats of the fields in order, with no face
  explicit XFSphere(const std::vector<float>& values);

  void getSphere(xgeofeature::XFSphere& sphere) const;

  /// Whether center coordinates and radius differ by at most 1e-6 each.
  bool operator==(const XFSphere& other);

  float center[3] = {};
  float radius = 0.0F;
  std::vector<TopoDS_Face> faces;
};

/// A cylindrical face.
class ZELMO_EXPORT XFCylinder {
 public:
  XFCylinder() = default;
  /// \param[in] values the 14 floats of the fields in order, with no face
  explicit XFCylinder(const std::vector<float>& values);

  void getCylinder(xgeofeature::XFCylinder& cylinder) const;

  /// Whether radius and both ends differ by at most 0.001 in each coordinate and the cosine between
  /// the axes is 1 or -1 to within 0.001; for opposite axes base is held against top.
  bool operator==(const XFCylinder& other);

  float center[3] = {};
  float axis[3] = {};
  float radius = 0.0F;
  float height = 0.0F;
  float base[3] = {};
  float top[3] = {};
  std::vector<TopoDS_Face> faces;
};

/// A conical face.
class ZELMO_EXPORT XFCone {
 public:
  XFCone() = default;
  /// \param[in] values the 16 floats of the fields in order, with no face
  explicit XFCone(const std::vector<float>& values);

  void getCone(xgeofeature::XFCone& cone) const;

  /// Whether apex coordinates, half angle and both radii differ by at most 0.0001 each and the
  /// cosine between the axes is 1 to within 0.0001: opposite cones are never equal.
  bool operator==(const XFCone& other);

  float apex[3] = {};
  float axis[3] = {};      ///< from base towards apex
  float halfAngle = 0.0F;  ///< radians
  float base[3] = {};      ///< centre of the wider end
  float top[3] = {};       ///< centre of the narrower end
  float height = 0.0F;
  float baseRadius = 0.0F;  ///< the larger radius
  float topRadius = 0.0F;
  std::vector<TopoDS_Face> faces;
};

}  // namespace xmodelfeature
