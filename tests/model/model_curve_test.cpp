// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/model/model_curve.h"

#include <cmath>

#include <Standard_NoSuchObject.hxx>
#include <gmock/gmock.h>

#include "support/cad_outlines.h"
#include "support/cad_shapes.h"
#include "zelmo/model/model_feature.h"

namespace xmodelfeature {
namespace {

using namespace zelmo::test;  // NOLINT(google-build-using-namespace): builders of shapes
using testing::ElementsAre;
using testing::FloatNear;
using testing::Pointwise;
using testing::SizeIs;

/// A peak that makes the edge longer than its chord of 10 by \p excess.
TopoDS_Edge peakOf(double excess) {
  const double leg = 5 + excess / 2;
  return polyEdge({{0, 0, 0}, {5, std::sqrt(leg * leg - 25), 0}, {10, 0, 0}});
}

TopoDS_Edge splineArc(double radius, double degrees) {
  const gp_Circ circle(gp_Ax2(gp_Pnt(1, 2, 3), gp_Dir(1, 3, 2)), radius);
  return splineEdge(BRepBuilderAPI_MakeEdge(circle, 0, degrees * kDegree).Edge());
}

TopoDS_Edge edgeWithoutCurve() {
  TopoDS_Edge edge;
  BRep_Builder().MakeEdge(edge);
  return edge;
}

TEST(XModelFeatureEdge, BaseInfoAndTheCurveTestsDiffer) {
  const gp_Elips ellipse(gp_Ax2(gp_Pnt(0, 0, 0), gp_Dir(0, 0, 1)), 5, 4);
  const struct {
    const char* name;
    TopoDS_Edge edge;
    ModelFeatureType base;
    int is_line, is_circle;
  } cases[] = {
      {"line", lineEdge(0, 0, 3, 4), ModelLine, 0, -1},
      {"arc", arcEdge(1, 2, 3, 90, 30), ModelCircle, -1, 0},
      {"straight spline", polyEdge({{0, 0, 0}, {3, 4, 0}}), ModelUnknown, 0, -1},
      // Its only inner pole lies on the curve, and three points always lie on a circle.
      {"spline hardly longer than its chord", peakOf(0.0099), ModelCircle, 0, 0},
      {"spline longer than its chord", peakOf(0.0101), ModelCircle, -1, 0},
      {"spline that turns both ways", polyEdge({{0, 0, 0}, {3, 2, 0}, {5, -1, 0}, {8, 0, 0}}),
       ModelUnknown, -1, -1},
      {"spline arc", splineArc(7, 270), ModelCircle, -1, 0},
      {"smallest spline arc", splineArc(0.0501, 90), ModelCircle, 0, 0},
      {"spline arc too small", splineArc(0.0499, 90), ModelCircle, 0, -1},
      {"ellipse", BRepBuilderAPI_MakeEdge(ellipse, 0.0, 2.0).Edge(), ModelUnknown, -1, -1},
      {"no curve", edgeWithoutCurve(), ModelUnknown, -1, -1},
      {"null", TopoDS_Edge(), ModelUnknown, -1, -1},
  };
  const XModelCurve curves;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ModelFeatureType type = ModelPlane;
    std::vector<float> data = {99.0F};
    XModelFeature::getBaseEdgeInfo(c.edge, type, data);
    EXPECT_EQ(type, c.base);
    EXPECT_THAT(data, SizeIs(c.base == ModelLine ? 6 : c.base == ModelCircle ? 10 : 0));
    XFLine3D line;
    XFCircle3D circle;
    EXPECT_EQ(curves.isLine(c.edge, line), c.is_line);
    EXPECT_EQ(curves.isCircle(c.edge, circle), c.is_circle);
    EXPECT_TRUE(c.base != ModelCircle || c.is_circle != 0 || circle == XFCircle3D(data));
  }
}

// Neither a circle's own X axis nor an edge's orientation plays a part.
TEST(XModelFeatureEdge, NumbersOfALineAndOfASplineArc) {
  ModelFeatureType type = ModelUnknown;
  std::vector<float> data;
  XModelFeature::getBaseEdgeInfo(TopoDS::Edge(lineEdge(1, 2, 3, 4).Reversed()), type, data);
  EXPECT_THAT(data, ElementsAre(1, 2, 0, 3, 4, 0));
  XModelFeature::getBaseEdgeInfo(splineArc(7, 80), type, data);
  const float part = (data.at(3) < 0 ? -1.0F : 1.0F) / std::sqrt(14.0F);
  const float across = std::sqrt(0.9F);  // the component 3 is the largest
  EXPECT_THAT(data, Pointwise(FloatNear(1e-4F), {1.0F, 2.0F, 3.0F, part, 3 * part, 2 * part, across,
                                                 -across / 3, 0.0F, 7.0F}));
}

// ---- the lists --------------------------------------------------------------------------------

Edges movedBy(const Edges& edges, double x, double y) {
  gp_Trsf shift;
  shift.SetTranslation(gp_Vec(x, y, 0));
  Edges moved;
  for (const TopoDS_Edge& edge : edges) moved.push_back(TopoDS::Edge(edge.Moved(shift)));
  return moved;
}

/// Lines, circles, slots, round grooves, rectangles.
std::vector<std::size_t> sizesOf(const XModelCurve& c) {
  return {c.lines.size(), c.circles.size(), c.ovalGrooves.size(), c.roundGrooves.size(),
          c.rectangles.size()};
}

// A plate with one hole of each kind and a round bore.
TEST(XModelCurve, ListsEachHoleOnceAndNeverTheOuterOutline) {
  const TopoDS_Shape plate = plateWith(200, 100,
                                       {movedBy(slotEdges(20, 5), -100, 0),
                                        movedBy(rectangleEdges(12, 8), 0, 50),
                                        movedBy(roundEdges(20, 8, 3, 3), 100, 0),
                                        {arcEdge(0, -50, 6, 0, 360)}})
                                 .Moved(tiltedPose());
  XModelCurve curves;
  curves.setData(plate);
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(curves.getCurveData(plate), 0);
    ASSERT_THAT(sizesOf(curves), ElementsAre(4 + 2 + 4 + 4, 2 + 4 + 1, 1, 1, 1));
  }
  EXPECT_NEAR(curves.ovalGrooves[0].halfStraight, 20.0F, 1e-4);
  EXPECT_NEAR(curves.roundGrooves[0].cornerRadius, 3.0F, 1e-4);
  const gp_Pnt center = gp_Pnt(0, 50, 0).Transformed(tiltedPose());
  EXPECT_NEAR(curves.rectangles[0].center[0], center.X(), 1e-4);

  const XModelCurve empty;
  int rectangle_edges = 0;
  for (TopExp_Explorer walk(plate, TopAbs_EDGE); walk.More(); walk.Next()) {
    XFRectangle3D rectangle;
    const TopoDS_Edge& edge = TopoDS::Edge(walk.Current());
    rectangle_edges += curves.isRectangle(edge, rectangle) == 0;
    EXPECT_EQ(empty.isRectangle(edge, rectangle), -1);
  }
  EXPECT_EQ(rectangle_edges, 4);
}

TEST(XModelCurve, EdgesThatTheModelDoesNotHave) {
  XModelCurve curves;
  const TopoDS_Wire wire = wireOf(slotEdges(20, 5));  // it bounds no face
  curves.setData(TopoDS_Shape());
  curves.setData(wire);
  EXPECT_EQ(curves.getCurveData(wire), 0);
  EXPECT_THAT(sizesOf(curves), ElementsAre(2, 2, 0, 0, 0));
  XFOvalGroove3D groove;
  EXPECT_EQ(curves.isOvalGroove(TopoDS_Edge(), groove), -1);
  EXPECT_THROW(curves.isOvalGroove(lineEdge(0, 0, 1, 0), groove), Standard_NoSuchObject);
}

// ---- poly lines -------------------------------------------------------------------------------

std::vector<XFPoint> pointsOf(const TopoDS_Edge& edge) {
  std::vector<XFModelEdge> edges(3);
  XModelCurve().getCurveSplitData(edge, edges);
  if (edges.size() != 1) return {};
  EXPECT_TRUE(edges[0].edge.IsSame(edge));
  return edges[0].points;
}

TEST(XModelCurveSplit, OneRecordForEveryEdgeInEveryFace) {
  std::vector<XFModelEdge> edges(99);
  XModelCurve().getCurveSplitData(BRepPrimAPI_MakeBox(1, 2, 3).Shape(), edges);
  EXPECT_THAT(edges, SizeIs(24));
  for (const XFModelEdge& edge : edges) EXPECT_THAT(edge.points, SizeIs(2));
  XModelCurve().getCurveSplitData(together({edgeWithoutCurve(), lineEdge(0, 0, 1, 1)}), edges);
  ASSERT_THAT(edges, SizeIs(1));
  EXPECT_EQ(edges[0].points[1].y, 1.0F);
  XModelCurve().getCurveSplitData(TopoDS_Shape(), edges);
  EXPECT_THAT(edges, SizeIs(0));
}

TEST(XModelCurveSplit, ArcsWithinTheirChordError) {
  // The middle of a full circle lies opposite its ends: twice the angle of 180 counts as radians.
  const auto of_full_circle = static_cast<std::size_t>(180 / std::acos(1 - 0.05 / 10) + 1) + 1;
  const struct {
    double radius, degrees;
    std::size_t points;
  } arcs[] = {
      // floor(angle / (2 acos(1 - d / r)) + 1) chords, d = 0.05 or a quarter of a radius below 0.05
      {10, 120, 12},
      {0.049, 358, 6},
      {2, 20, 5},
      {10, 360, of_full_circle},
      {1e30, 90, (1 << 20) + 1}};
  for (const auto& arc : arcs) {
    SCOPED_TRACE(arc.radius);
    const auto points = pointsOf(arcEdge(0, 0, arc.radius, 0, arc.degrees));
    ASSERT_THAT(points, SizeIs(arc.points));
    if (arc.radius == 1e30) continue;
    const double step = arc.degrees * kDegree / static_cast<double>(points.size() - 1);
    EXPECT_LE(arc.radius * (1 - std::cos(step / 2)), arc.radius < 0.05 ? arc.radius / 4 : 0.05);
    for (std::size_t i = 0; i < points.size(); ++i) {
      EXPECT_NEAR(points[i].x, arc.radius * std::cos(static_cast<double>(i) * step), 1e-4);
      EXPECT_NEAR(points[i].y, arc.radius * std::sin(static_cast<double>(i) * step), 1e-4);
    }
  }
}

TEST(XModelCurveSplit, OtherCurvesAreHalvedWhereTheyBend) {
  const gp_Elips ellipse(gp::XOY(), 50, 20), large(gp::XOY(), 5e4, 4e4);
  const auto points = pointsOf(BRepBuilderAPI_MakeEdge(ellipse, 0.0, 3.0).Edge());
  ASSERT_GT(points.size(), 10U);
  ASSERT_LE(points.size(), 129U);
  for (std::size_t i = 1; i < points.size(); ++i) {
    const XFPoint &p = points[i], &q = points[i - 1];
    EXPECT_NEAR(std::hypot(p.x / 50, p.y / 20), 1.0, 1e-6);
    EXPECT_LT(p.x, q.x);
    // The ellipse's own point between the two lies about 0.05 off their middle at most.
    const double t = (std::acos(p.x / 50.0) + std::acos(q.x / 50.0)) / 2;
    const double x = (p.x + q.x) / 2 - 50 * std::cos(t), y = (p.y + q.y) / 2 - 20 * std::sin(t);
    EXPECT_LT(std::hypot(x, y), 0.06);
  }
  EXPECT_THAT(pointsOf(BRepBuilderAPI_MakeEdge(large, 0.0, 3.0).Edge()), SizeIs(129));
  EXPECT_THAT(pointsOf(BRepBuilderAPI_MakeEdge(ellipse).Edge()), SizeIs(2)) << "ends coincide";
}

}  // namespace
}  // namespace xmodelfeature
