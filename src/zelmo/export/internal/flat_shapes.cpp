// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cmath>

#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeVertex.hxx>
#include <BRepBuilderAPI_MakeWire.hxx>
#include <BRep_Tool.hxx>
#include <ChFi2d_AnaFilletAlgo.hxx>
#include <Geom_Curve.hxx>
#include <TopoDS_Wire.hxx>
#include <gp_Circ.hxx>
#include <gp_Pln.hxx>
#include <opencv2/core/matx.hpp>

#include "zelmo/export/internal/feature_shapes.h"
#include "zelmo/export/internal/occ_values.h"

namespace zelmo::internal {
namespace {

constexpr double kQuarterTurn = M_PI / 2;

/// Unit directions whose product exceeds this count as parallel.
constexpr double kParallel = 0.999;

void addVertex(const gp_Pnt& point, ShapeSink& sink) {
  sink.add(BRepBuilderAPI_MakeVertex(point).Vertex());
}

struct Arc {
  TopoDS_Edge edge;
  gp_Pnt first, last;
};

Arc arcBetween(const gp_Circ& circle, double from, double to) {
  Arc arc;
  arc.edge = BRepBuilderAPI_MakeEdge(circle, from, to).Edge();
  double first = 0;
  double last = 0;
  const Handle(Geom_Curve) curve = BRep_Tool::Curve(arc.edge, first, last);
  arc.first = curve->Value(first);
  arc.last = curve->Value(last);
  return arc;
}

gp_Pnt middleOf(const Arc& arc) {
  double first = 0;
  double last = 0;
  const Handle(Geom_Curve) curve = BRep_Tool::Curve(arc.edge, first, last);
  return curve->Value((first + last) / 2);
}

/// The half circle at one end of a groove, on the side away from its middle.
Arc endArc(const gp_Circ& circle, const gp_Pnt& groove_center, double inner_reach) {
  Arc arc = arcBetween(circle, -kQuarterTurn, kQuarterTurn);
  // CONTRACT: an arc whose middle is exactly as far out as the reach is turned.
  if (middleOf(arc).Distance(groove_center) > inner_reach) return arc;
  return arcBetween(circle, kQuarterTurn, -kQuarterTurn);
}

/// The four corners (+, +), (-, +), (-, -), (+, -) of two half sides about a center.
template <typename Value, typename Offset>
std::array<Value, 4> cornersAbout(const Value& center, const Offset& a, const Offset& b) {
  return {center + a + b, center - a + b, center - a - b, center + a - b};
}

gp_XYZ acrossOf(const float* normal, const float* major_direction) {
  return unitOrZero(toTriple(normal).Crossed(toTriple(major_direction)));
}

}  // namespace

void addOvalGroove(const xgeofeature::XFOvalGroove3D& groove, ShapeSink& sink) {
  const gp_XYZ n = unitOrZero(toTriple(groove.normal));
  const gp_XYZ m = unitOrZero(toTriple(groove.majorDir));
  const gp_Pnt center = toPoint(groove.center);
  const double radius = groove.radius;
  const double half_straight = groove.halfStraight;
  const double inner_reach = std::max(radius, half_straight);
  const auto circle_at = [&](double along) {
    return gp_Circ(gp_Ax2(gp_Pnt(center.XYZ() + m * along), gp_Dir(n), gp_Dir(m)), radius);
  };
  const Arc one = endArc(circle_at(half_straight), center, inner_reach);
  const Arc other = endArc(circle_at(-half_straight), center, inner_reach);
  sink.add(one.edge);
  sink.add(other.edge);

  // The sides must not cross.
  const gp_XYZ g = unitOrZero(other.first.XYZ() - one.last.XYZ());
  const gp_XYZ h = unitOrZero(other.last.XYZ() - one.first.XYZ());
  const bool is_parallel = std::fabs(g.Dot(h)) > kParallel;
  sink.add(straightEdge(other.first, is_parallel ? one.last : one.first));
  sink.add(straightEdge(other.last, is_parallel ? one.first : one.last));

  for (const gp_Pnt& end : {one.first, one.last, other.first, other.last, center}) {
    addVertex(end, sink);
  }
}

void addRoundGroove(const xgeofeature::XFRoundGroove3D& groove, ShapeSink& sink) {
  const gp_XYZ a = toTriple(groove.majorDir) * static_cast<double>(groove.halfLength);
  const gp_XYZ b = acrossOf(groove.normal, groove.majorDir) * static_cast<double>(groove.halfWidth);
  const std::array<gp_XYZ, 4> corners = cornersAbout(toTriple(groove.center), a, b);
  std::array<TopoDS_Edge, 4> sides;
  for (std::size_t i = 0; i < 4; ++i) {
    sides[i] = BRepBuilderAPI_MakeEdge(gp_Pnt(corners[i]), gp_Pnt(corners[(i + 1) % 4])).Edge();
  }
  std::array<TopoDS_Edge, 4> fillets;
  for (std::size_t i = 0; i < 4; ++i) {
    const std::size_t j = (i + 1) % 4;
    const gp_XYZ normal = (corners[i] - corners[j]).Crossed(corners[(j + 1) % 4] - corners[j]);
    const gp_Pln plane{gp_Pnt(corners[j]), gp_Dir(normal)};
    ChFi2d_AnaFilletAlgo algorithm(sides[i], sides[j], plane);
    // CONTRACT: whether the fillet was found is not asked; the outline takes what it gives.
    algorithm.Perform(static_cast<double>(groove.cornerRadius));
    fillets[i] = algorithm.Result(sides[i], sides[j]);
  }
  BRepBuilderAPI_MakeWire outline;
  // A corner that does not fit can leave no side; the empty outline then ends in the failure below.
  const auto is_lost = [](const TopoDS_Edge& side) { return side.IsNull(); };
  if (std::any_of(sides.begin(), sides.end(), is_lost)) return sink.add(outline.Wire());
  for (std::size_t i = 0; i < 4; ++i) {
    outline.Add(sides[i]);
    if (!fillets[i].IsNull()) outline.Add(fillets[i]);  // a null edge would crash the builder
  }
  for (const TopoDS_Edge& side : sides) {
    double first = 0;
    double last = 0;
    const Handle(Geom_Curve) curve = BRep_Tool::Curve(side, first, last);
    addVertex(curve->Value(first), sink);
    addVertex(curve->Value(last), sink);
  }
  sink.add(outline.Wire());
  sink.add(vertexAt(groove.center));
}

void addRectangle(const xgeofeature::XFRectangle3D& rectangle, ShapeSink& sink) {
  const auto to_float = [](const gp_XYZ& v) {
    return cv::Vec3f(static_cast<float>(v.X()), static_cast<float>(v.Y()),
                     static_cast<float>(v.Z()));
  };
  const cv::Vec3f a =
      to_float(toTriple(rectangle.majorDir) * static_cast<double>(rectangle.halfLength));
  const cv::Vec3f b = to_float(acrossOf(rectangle.normal, rectangle.majorDir) *
                               static_cast<double>(rectangle.halfWidth));
  const std::array<cv::Vec3f, 4> corners = cornersAbout(cv::Vec3f(rectangle.center), a, b);
  BRepBuilderAPI_MakeWire outline;
  for (std::size_t i = 0; i < 4; ++i) {
    const gp_Pnt from = toPoint(corners[i].val);
    outline.Add(BRepBuilderAPI_MakeEdge(from, toPoint(corners[(i + 1) % 4].val)).Edge());
    addVertex(from, sink);
  }
  sink.add(outline.Wire());
}

}  // namespace zelmo::internal
