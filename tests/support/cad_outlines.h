// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <vector>

#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_NurbsConvert.hxx>
#include <BRep_Builder.hxx>
#include <Geom_BSplineCurve.hxx>
#include <TColStd_Array1OfInteger.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TColgp_Array1OfPnt.hxx>
#include <TopLoc_Location.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Face.hxx>
#include <TopoDS_Wire.hxx>
#include <gp_Circ.hxx>
#include <gp_Elips.hxx>
#include <gp_Pln.hxx>

namespace zelmo::test {

using Edges = std::vector<TopoDS_Edge>;

constexpr double kDegree = 3.14159265358979323846 / 180.0;

/// A straight edge in the plane z = 0.
inline TopoDS_Edge lineEdge(double x0, double y0, double x1, double y1) {
  return BRepBuilderAPI_MakeEdge(gp_Pnt(x0, y0, 0), gp_Pnt(x1, y1, 0)).Edge();
}

/// An arc in the plane z = 0 from one angle in degrees to the other; it runs backwards, as a reversed
/// edge, when the second angle is the smaller one.
inline TopoDS_Edge arcEdge(double x, double y, double radius, double from, double to) {
  const gp_Circ circle(gp_Ax2(gp_Pnt(x, y, 0), gp_Dir(0, 0, 1), gp_Dir(1, 0, 0)), radius);
  const TopoDS_Edge edge =
      BRepBuilderAPI_MakeEdge(circle, std::min(from, to) * kDegree, std::max(from, to) * kDegree)
          .Edge();
  return from <= to ? edge : TopoDS::Edge(edge.Reversed());
}

/// A spline of degree 1 through the points.
inline TopoDS_Edge polyEdge(const std::vector<gp_Pnt>& points) {
  const int count = static_cast<int>(points.size());
  TColgp_Array1OfPnt poles(1, count);
  TColStd_Array1OfReal knots(1, count);
  TColStd_Array1OfInteger multiplicities(1, count);
  for (int i = 1; i <= count; ++i) {
    poles(i) = points[static_cast<std::size_t>(i - 1)];
    knots(i) = i;
    multiplicities(i) = i == 1 || i == count ? 2 : 1;
  }
  return BRepBuilderAPI_MakeEdge(new Geom_BSplineCurve(poles, knots, multiplicities, 1)).Edge();
}

/// The same edge on a spline.
inline TopoDS_Edge splineEdge(const TopoDS_Edge& edge) {
  return TopoDS::Edge(BRepBuilderAPI_NurbsConvert(edge, true).Shape().Oriented(edge.Orientation()));
}

/// The edges of a slot about the origin, counter-clockwise, from the bottom line on: line, arc, line,
/// arc.
inline Edges slotEdges(double half_straight, double radius) {
  const double h = half_straight, r = radius;
  return {lineEdge(-h, -r, h, -r), arcEdge(h, 0, r, -90, 90), lineEdge(h, r, -h, r),
          arcEdge(-h, 0, r, 90, 270)};
}

/// The edges of a rectangle about the origin, counter-clockwise, from the bottom one on.
inline Edges rectangleEdges(double half_length, double half_width) {
  const double l = half_length, w = half_width;
  return {lineEdge(-l, -w, l, -w), lineEdge(l, -w, l, w), lineEdge(l, w, -l, w),
          lineEdge(-l, w, -l, -w)};
}

/// The edges of a rectangle with rounded corners, from the bottom line on; the last corner may have
/// another radius.
inline Edges roundEdges(double half_length, double half_width, double radius, double last_radius) {
  const double l = half_length, w = half_width, r = radius, q = last_radius;
  return {lineEdge(-l + q, -w, l - r, -w), arcEdge(l - r, -w + r, r, -90, 0),
          lineEdge(l, -w + r, l, w - r),   arcEdge(l - r, w - r, r, 0, 90),
          lineEdge(l - r, w, -l + r, w),   arcEdge(-l + r, w - r, r, 90, 180),
          lineEdge(-l, w - r, -l, -w + q), arcEdge(-l + q, -w + q, q, 180, 270)};
}

/// The same edges, \p count of them later.
inline Edges startingAt(Edges edges, int count) {
  std::rotate(edges.begin(), edges.begin() + count, edges.end());
  return edges;
}

/// Walked the other way round.
inline Edges walkedBack(Edges edges) {
  std::reverse(edges.begin(), edges.end());
  for (TopoDS_Edge& edge : edges) edge.Reverse();
  return edges;
}

/// A wire of the edges in this order, whether they meet or not, moved to \p place.
inline TopoDS_Wire wireOf(const Edges& edges, const gp_Trsf& place = gp_Trsf()) {
  TopoDS_Wire wire;
  const BRep_Builder builder;
  builder.MakeWire(wire);
  for (const TopoDS_Edge& edge : edges) builder.Add(wire, edge);
  wire.Closed(true);
  return TopoDS::Wire(wire.Moved(TopLoc_Location(place)));
}

/// A plate of the given half size about the origin with holes.
inline TopoDS_Face plateWith(double half_length, double half_width,
                             const std::vector<Edges>& holes) {
  BRepBuilderAPI_MakeFace plate(gp_Pln(gp::XOY()), wireOf(rectangleEdges(half_length, half_width)));
  for (const Edges& hole : holes) plate.Add(wireOf(walkedBack(hole)));
  return plate.Face();
}

}  // namespace zelmo::test
