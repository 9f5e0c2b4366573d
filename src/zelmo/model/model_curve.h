// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <TopTools_IndexedDataMapOfShapeListOfShape.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Shape.hxx>
#include <zelmo/export.h>

#include "zelmo/model/outline_records.h"

namespace xmodelfeature {

/// The lines and circles of a model's edges, the slots, rectangles and rounded rectangles that its
/// inner outlines form, and its edges as poly lines.
///
/// The usual order is setData and then getCurveData with the same shape. One object serves one
/// thread at a time. Copies have maps of their own.
class ZELMO_EXPORT XModelCurve {
 public:
  /// Stores the shape and notes which wires an edge is in and which faces a wire bounds.
  ///
  /// \param[in] model may be null
  /// \note A second call adds to the maps.
  void setData(const TopoDS_Shape& model);

  /// Fills the five lists from the edges of a shape, each list emptied first and each record in it
  /// once. An edge of a slot is in the list of lines or circles as well.
  ///
  /// \param[in] model usually the shape of setData; without setData no outline is found
  /// \return 0
  /// \throw Standard_NoSuchObject for an edge that the shape of setData does not have
  int getCurveData(const TopoDS_Shape& model);

  /// Every edge of a shape as a poly line: ends of a line, points of a circle no more than 0.05 off
  /// the arc, up to 129 points of another curve. An edge that two faces share comes twice; one
  /// without a curve in space is left out.
  ///
  /// \param[in] model may be null: no edges; needs no setData
  /// \param[out] edges emptied first, then filled in the order of the walk
  /// \note A circle whose middle lies exactly opposite its ends, as that of a full circle usually
  ///     does, gets many more points than it needs; none gets more than 1048577. A closed curve
  ///     other than a circle is its start and end alone.
  void getCurveSplitData(const TopoDS_Shape& model, std::vector<XFModelEdge>& edges);

  /// Whether an edge is straight; a spline is when it is less than 0.01 longer than its chord.
  ///
  /// \param[in] edge may be null or without a curve in space: -1. Its orientation doesn't count.
  /// \param[out] line its ends; stays as it was when -1 is returned
  /// \return 0 yes, -1 no
  int isLine(const TopoDS_Edge& edge, XFLine3D& line) const;

  /// Whether an edge is a circle or an arc of one; a spline is when it passes the arc test of
  /// XModelFeature::getBaseEdgeInfo with a radius of at least 0.05.
  ///
  /// \param[in] edge may be null or without a curve in space: -1. Its orientation doesn't count.
  /// \param[out] circle the whole circle; stays as it was when -1 is returned
  /// \return 0 yes, -1 no
  int isCircle(const TopoDS_Edge& edge, XFCircle3D& circle) const;

  /// Whether an edge belongs to an inner outline that is a slot. The outer outline of a face never
  /// counts.
  ///
  /// \param[in] edge an edge of the shape of setData; null gives -1
  /// \param[out] groove the slot; parts of it may be written when -1 is returned
  /// \return 0 yes; -1 no, and before setData
  /// \throw Standard_NoSuchObject for an edge that the shape of setData does not have
  int isOvalGroove(const TopoDS_Edge& edge, XFOvalGroove3D& groove) const;

  /// Whether an edge belongs to an inner outline that is a rectangle. The outer outline of a
  /// face never counts.
  ///
  /// \param[in] edge an edge of the shape of setData; null gives -1
  /// \param[out] rectangle the rectangle; parts of it may be written when -1 is returned
  /// \return 0 yes; -1 no, and before setData
  /// \throw Standard_NoSuchObject for an edge that the shape of setData does not have
  int isRectangle(const TopoDS_Edge& edge, XFRectangle3D& rectangle) const;

  /// Whether an edge belongs to an inner outline that is a rectangle with rounded corners. The
  /// outer outline of a face never counts.
  ///
  /// \param[in] edge an edge of the shape of setData; null gives -1
  /// \param[out] groove the outline; parts of it may be written when -1 is returned
  /// \return 0 yes; -1 no, and before setData
  /// \throw Standard_NoSuchObject for an edge that the shape of setData does not have
  int isRoundGroove(const TopoDS_Edge& edge, XFRoundGroove3D& groove) const;

  TopoDS_Shape shape;                                   ///< that of the last setData
  TopTools_IndexedDataMapOfShapeListOfShape edgeWires;  ///< edge to the wires that it is in
  TopTools_IndexedDataMapOfShapeListOfShape wireFaces;  ///< wire to the faces that it bounds
  std::vector<XFLine3D> lines;                          ///< straight edges of the last getCurveData
  std::vector<XFCircle3D> circles;                      ///< its circles, also those of arcs
  std::vector<XFOvalGroove3D> ovalGrooves;              ///< its slots
  std::vector<XFRoundGroove3D> roundGrooves;  ///< its rectangular holes with rounded corners
  std::vector<XFRectangle3D> rectangles;      ///< its rectangular holes
};

}  // namespace xmodelfeature
