// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/model/model_curve.h"

#include <cmath>
#include <optional>

#include <BRepGProp.hxx>
#include <BRepTools.hxx>
#include <GProp_GProps.hxx>
#include <Geom_BSplineCurve.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_DataMapOfShapeShape.hxx>
#include <TopoDS.hxx>

#include "zelmo/model/internal/edge_analysis.h"
#include "zelmo/model/internal/edge_points.h"
#include "zelmo/model/internal/record_index.h"
#include "zelmo/model/model_feature.h"

namespace xmodelfeature {

using zelmo::internal::EdgeCurve;
using zelmo::internal::RecordIndex;

namespace {

constexpr int kYes = 0;
constexpr int kNo = -1;
constexpr double kStraightExcess = 0.01;  // of a spline's length over its chord
constexpr double kSmallestSplineRadius = 0.05;
constexpr int kFewestSplinePoles = 2;

XFLine3D chordOf(const EdgeCurve& edge) {
  float start[3], end[3];
  for (int i = 0; i < 3; ++i) {
    start[i] = static_cast<float>(edge.start().Coord(i + 1));
    end[i] = static_cast<float>(edge.end().Coord(i + 1));
  }
  return {start, end};
}

bool isStraightSpline(const TopoDS_Edge& edge, const EdgeCurve& curve) {
  if (!curve.isSpline()) return false;
  GProp_GProps properties;
  BRepGProp::LinearProperties(edge, properties);
  const double excess = properties.Mass() - curve.start().Distance(curve.end());
  return std::fabs(excess) < kStraightExcess;
}

std::optional<gp_Circ> circleOfSpline(const EdgeCurve& curve) {
  const auto spline = Handle(Geom_BSplineCurve)::DownCast(curve.curve);
  if (spline->NbPoles() < kFewestSplinePoles) return std::nullopt;
  const auto circle = zelmo::internal::arcOfSpline(curve);
  // CONTRACT: the smallest radius holds here, and not for the base information of an edge.
  if (!circle || circle->Radius() < kSmallestSplineRadius) return std::nullopt;
  return circle;
}

/// The road from an edge to the holes that it bounds. The outer wires of the faces are looked up once
/// in its life.
class HoleFinder {
 public:
  explicit HoleFinder(const XModelCurve& curves) : m_curves(curves) {}

  template <typename Record>
  int find(const TopoDS_Edge& edge, Record& record, bool (*test)(const TopoDS_Wire&, Record&)) {
    if (m_curves.edgeWires.IsEmpty() || edge.IsNull()) return kNo;
    for (const TopoDS_Shape& wire : m_curves.edgeWires.FindFromKey(edge)) {
      if (wire.IsNull() || !isHole(wire)) continue;
      if (test(TopoDS::Wire(wire), record)) return kYes;
    }
    return kNo;
  }

 private:
  bool isHole(const TopoDS_Shape& wire) {
    const TopTools_ListOfShape& faces = m_curves.wireFaces.FindFromKey(wire);
    if (faces.IsEmpty()) return false;
    const TopoDS_Face& face = TopoDS::Face(faces.First());
    const TopoDS_Shape* outer = m_outer_wires.Seek(face);
    if (outer == nullptr) outer = m_outer_wires.Bound(face, BRepTools::OuterWire(face));
    return !wire.IsSame(*outer);
  }

  const XModelCurve& m_curves;
  TopTools_DataMapOfShapeShape m_outer_wires;
};

/// Appends \p record unless the list has an equal one.
template <typename Record>
void addOnce(const Record& record, RecordIndex<Record>& index) {
  if (index.newestEqual(record) == nullptr) index.append(record);
}

}  // namespace

void XModelCurve::setData(const TopoDS_Shape& model) {
  shape = model;
  TopExp::MapShapesAndAncestors(model, TopAbs_EDGE, TopAbs_WIRE, edgeWires);
  TopExp::MapShapesAndAncestors(model, TopAbs_WIRE, TopAbs_FACE, wireFaces);
}

int XModelCurve::isLine(const TopoDS_Edge& edge, XFLine3D& line) const {
  const EdgeCurve curve(edge);
  if (curve.isNull()) return kNo;
  if (!curve.isLine() && !isStraightSpline(edge, curve)) return kNo;
  line = chordOf(curve);
  return kYes;
}

int XModelCurve::isCircle(const TopoDS_Edge& edge, XFCircle3D& circle) const {
  const EdgeCurve curve(edge);
  if (curve.isNull()) return kNo;
  std::optional<gp_Circ> found;
  if (curve.isCircle()) found = curve.circle();
  if (curve.isSpline()) found = circleOfSpline(curve);
  if (!found) return kNo;
  std::vector<float> data;
  zelmo::internal::writeCircle(*found, data);
  circle = XFCircle3D(data);
  return kYes;
}

int XModelCurve::isOvalGroove(const TopoDS_Edge& edge, XFOvalGroove3D& groove) const {
  return HoleFinder(*this).find(edge, groove, &XModelFeature::isOvalGroove);
}

int XModelCurve::isRectangle(const TopoDS_Edge& edge, XFRectangle3D& rectangle) const {
  return HoleFinder(*this).find(edge, rectangle, &XModelFeature::isRectangle);
}

int XModelCurve::isRoundGroove(const TopoDS_Edge& edge, XFRoundGroove3D& groove) const {
  return HoleFinder(*this).find(edge, groove, &XModelFeature::isRoundGroove);
}

int XModelCurve::getCurveData(const TopoDS_Shape& model) {
  lines.clear();
  circles.clear();
  ovalGrooves.clear();
  roundGrooves.clear();
  rectangles.clear();
  RecordIndex<XFLine3D> line_index(lines);
  RecordIndex<XFCircle3D> circle_index(circles);
  RecordIndex<XFOvalGroove3D> oval_index(ovalGrooves);
  RecordIndex<XFRoundGroove3D> round_index(roundGrooves);
  RecordIndex<XFRectangle3D> rectangle_index(rectangles);
  HoleFinder holes(*this);
  for (TopExp_Explorer walk(model, TopAbs_EDGE); walk.More(); walk.Next()) {
    const TopoDS_Edge& edge = TopoDS::Edge(walk.Current());
    XFLine3D line;
    if (isLine(edge, line) == kYes) addOnce(line, line_index);
    XFCircle3D circle;
    if (isCircle(edge, circle) == kYes) addOnce(circle, circle_index);
    XFOvalGroove3D oval;
    if (holes.find(edge, oval, &XModelFeature::isOvalGroove) == kYes) addOnce(oval, oval_index);
    XFRoundGroove3D round;
    if (holes.find(edge, round, &XModelFeature::isRoundGroove) == kYes) {
      addOnce(round, round_index);
    }
    XFRectangle3D rectangle;
    if (holes.find(edge, rectangle, &XModelFeature::isRectangle) == kYes) {
      addOnce(rectangle, rectangle_index);
    }
  }
  return 0;
}

void XModelCurve::getCurveSplitData(const TopoDS_Shape& model, std::vector<XFModelEdge>& edges) {
  edges.clear();
  for (TopExp_Explorer walk(model, TopAbs_EDGE); walk.More(); walk.Next()) {
    const TopoDS_Edge& edge = TopoDS::Edge(walk.Current());
    const EdgeCurve curve(edge);
    if (curve.isNull()) continue;
    XFLine3D line;
    XFCircle3D circle;
    if (isLine(edge, line) == kYes) {
      edges.emplace_back(std::vector<XFPoint>{XFPoint(line.start), XFPoint(line.end)}, edge);
    } else if (isCircle(edge, circle) == kYes) {
      edges.emplace_back(zelmo::internal::circlePoints(curve, circle), edge);
    } else {
      edges.emplace_back(zelmo::internal::refinedPoints(curve), edge);
    }
  }
}

}  // namespace xmodelfeature
