// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <TopoDS_Face.hxx>
#include <TopoDS_Shape.hxx>
#include <zelmo/export.h>

#include "zelmo/feature/plane.h"
#include "zelmo/model/solid_records.h"

namespace xmodelfeature {

/// The planes, spheres, cylinders and cones of a model, each with the faces that share its
/// geometry.
///
/// One object serves one thread at a time. The faces in the lists keep their part of the model
/// alive. Exceptions of the face analysis pass, and leave the lists as far as they had come.
class ZELMO_EXPORT XModel3DFeature {
 public:
  /// Walks all faces of a shape and lists what they are. Faces that no class recognises are in no
  /// list. A face joins the newest record that equals its own.
  ///
  /// \param[in] shape may be null: no faces
  /// \note Only the spheres are emptied first. A second call adds to the other three lists.
  void get3DFeatureData(const TopoDS_Shape& shape);

  /// Which plane of a list a face belongs to, by geometry; the lists of faces are not looked at.
  ///
  /// \param[in] face may be null: -1
  /// \param[in] list the planes that are asked, from the first on
  /// \return index of the first equal plane, or -1 when the face is none or there is no equal one
  static int findOCC_Plane(const TopoDS_Face& face, const std::vector<XFPlane>& list);

  /// Which sphere of a list a face belongs to; as findOCC_Plane.
  ///
  /// \param[in] face may be null: -1
  /// \param[in] list the spheres that are asked, from the first on
  /// \return index of the first equal sphere, or -1 when the face is none or there is no equal one
  static int findOCC_Sphere(const TopoDS_Face& face, const std::vector<XFSphere>& list);

  /// Which cylinder of a list a face belongs to; as findOCC_Plane.
  ///
  /// \param[in] face may be null: -1
  /// \param[in] list the cylinders that are asked, from the first on
  /// \return index of the first equal cylinder, or -1 when the face is none or there is no equal
  ///     one
  static int findOCC_Cylinder(const TopoDS_Face& face, const std::vector<XFCylinder>& list);

  /// Which cone of a list a face belongs to; as findOCC_Plane.
  ///
  /// \param[in] face may be null: -1
  /// \param[in] list the cones that are asked, from the first on
  /// \return index of the first equal cone, or -1 when the face is none or there is no equal one
  static int findOCC_Cone(const TopoDS_Face& face, const std::vector<XFCone>& list);

  /// The smallest rectangle around all faces of a plane.
  ///
  /// \param[in] plane the record of a list; only its faces count
  /// \param[out] merged the rectangle. A record without faces gives the default record.
  /// \return 0, or -1 when some face is not planar: \p merged stays as it was
  static int getPlane(const XFPlane& plane, xgeofeature::XFPlane& merged);

  std::vector<XFPlane> planes;        ///< of all calls, in the order in which the walks met them
  std::vector<XFSphere> spheres;      ///< of the last call, in the same order
  std::vector<XFCylinder> cylinders;  ///< of all calls, in the same order
  std::vector<XFCone> cones;          ///< of all calls, in the same order
};

}  // namespace xmodelfeature
