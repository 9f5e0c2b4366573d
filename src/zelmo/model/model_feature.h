// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>
#include <TopoDS_Wire.hxx>
#include <zelmo/export.h>

#include "zelmo/model/model_feature_type.h"
#include "zelmo/model/outline_records.h"
#include "zelmo/model/solid_records.h"

namespace xmodelfeature {

/// Tells what a face, an edge or an inner outline of a model is. Static operations without state;
/// any number of them may run at once. No fit is used: the tests are exact constructions with fixed
/// tolerances.
///
/// A shape of the wrong kind throws Standard_TypeMismatch.
class ZELMO_EXPORT XModelFeature {
 public:
  /// What a face is: analytic faces by the kind of their surface, spline faces by samples, since
  /// many exporters write planes, cylinders and spheres as splines.
  ///
  /// Not recognised are tori, surfaces of revolution and extrusion, offset surfaces, Bezier
  /// patches, spline faces with a line of two poles one way and more than two the other, cylinders
  /// of less than four poles one way or three the other, and spline spheres of eight poles or less.
  /// \param[in] face may be null or without a surface: ModelUnknown. Its orientation doesn't count.
  /// \param[out] type what it is
  /// \param[out] data the floats of the record in order: 27 for ModelPlane, 4 for ModelSphere, 14
  ///     for ModelCylinder, 16 for ModelCone, none for ModelUnknown
  /// \throw Standard_ConstructionError when a cylinder or cone has no height, or the circles of a
  ///     spline face share one center
  /// \note The patch of an analytic plane is widened by a tenth on every side, that of a spline
  ///     plane is not. The axis of an analytic cylinder runs from base to top, that of a spline
  ///     cylinder from top to base.
  static void getFaceInfo(const TopoDS_Face& face, ModelFeatureType& type,
                          std::vector<float>& data);

  /// What an edge is: a line, a circle or an arc of one, also where the arc is a spline.
  ///
  /// \param[in] edge may be null or without a curve in space: ModelUnknown. Its orientation doesn't
  ///     count.
  /// \param[out] type ModelLine, ModelCircle or ModelUnknown
  /// \param[out] data the floats of the record in order: 6 for ModelLine, 10 for ModelCircle, none
  ///     for ModelUnknown. The majorDir of a circle is some direction in its plane.
  static void getBaseEdgeInfo(const TopoDS_Edge& edge, ModelFeatureType& type,
                              std::vector<float>& data);

  /// Whether an outline is a slot with half-round ends: arc, line, arc, line in any start, where
  /// each arc may come in two halves. Arcs may be splines, lines may not. Lengths are held to 0.01,
  /// right angles to 0.0001 of a cosine.
  ///
  /// \param[in] wire may be null: false. An edge without a curve in space gives false.
  /// \param[out] groove the slot; parts of it may be written when false is returned
  /// \return whether it is a slot
  static bool isOvalGroove(const TopoDS_Wire& wire, XFOvalGroove3D& groove);

  /// Whether an outline is a rectangle: four straight edges, each at a right angle to the next.
  /// Nothing tests that they meet.
  ///
  /// \param[in] wire may be null: false. An edge without a curve in space gives false.
  /// \param[out] rectangle the rectangle, its major direction along the longer side; parts of it
  ///     may be written when false is returned
  /// \return whether it is a rectangle
  static bool isRectangle(const TopoDS_Wire& wire, XFRectangle3D& rectangle);

  /// Whether an outline is a rectangle with rounded corners: eight edges, lines and arcs in turn,
  /// each ending where the next one starts.
  ///
  /// \note A wire that is reversed as a whole has its edges in the other order and is refused. Such
  ///     are many inner wires of faces that lie reversed in their solid, as a file reader makes
  ///     them: a hole like that is not listed. Slots and rectangles are found in either order.
  /// \param[in] wire may be null: false. An edge without a curve in space gives false.
  /// \param[out] groove the outline; parts of it may be written when false is returned
  /// \return whether it is a rectangle with rounded corners
  static bool isRoundGroove(const TopoDS_Wire& wire, XFRoundGroove3D& groove);

  /// The smallest rectangle around several patches of one geometric plane.
  ///
  /// \param[in] planes patches of one plane; the first one gives equation, normal and faces
  /// \param[out] merged the rectangle with its corners in a ring. A single patch is copied as it
  ///     is, without patches it stays as it was. Patches that all lie within 0.01 of the first
  ///     center, or without a usable normal, give a copy of the first one.
  static void getPlane(const std::vector<XFPlane>& planes, XFPlane& merged);
};

}  // namespace xmodelfeature
