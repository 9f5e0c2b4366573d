// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <functional>
#include <limits>

#include <BRepBuilderAPI_NurbsConvert.hxx>
#include <gmock/gmock.h>

#include "support/cad_outlines.h"
#include "support/cad_shapes.h"
#include "zelmo/model/model_feature.h"

namespace xmodelfeature {
namespace {

using namespace zelmo::test;  // NOLINT(google-build-using-namespace): builders of outlines
using testing::FloatNear;
using testing::Pointwise;

/// What the pose of the tests makes of a local point or direction.
std::vector<float> posed(double x, double y, double z) {
  const gp_Pnt p = gp_Pnt(x, y, z).Transformed(tiltedPose());
  return {static_cast<float>(p.X()), static_cast<float>(p.Y()), static_cast<float>(p.Z())};
}

double cosineWithPosed(const float (&v)[3], double x, double y, double z) {
  const gp_Vec d = gp_Vec(x, y, z).Transformed(tiltedPose());
  return d.Dot(gp_Vec(v[0], v[1], v[2]));
}

Edges joined(const std::vector<Edges>& parts) {
  Edges edges;
  for (const Edges& part : parts) edges.insert(edges.end(), part.begin(), part.end());
  return edges;
}

TopoDS_Edge splineEdge(const TopoDS_Edge& edge) {
  return TopoDS::Edge(BRepBuilderAPI_NurbsConvert(edge, true).Shape().Oriented(edge.Orientation()));
}

/// A slot of half straight length 20 and radius 5 with its arcs as given.
Edges slotWith(const Edges& right, const Edges& left) {
  const Edges e = slotEdges(20, 5);
  return joined({{e[0]}, right, {e[2]}, left});
}

Edges rightArc() { return {arcEdge(20, 0, 5, -90, 90)}; }
Edges leftArc() { return {arcEdge(-20, 0, 5, 90, 270)}; }
Edges splitRightArc(double at = 0) {
  return {arcEdge(20, 0, 5, -90, at), arcEdge(20, 0, 5, at, 90)};
}
Edges splitLeftArc() { return {arcEdge(-20, 0, 5, 90, 180), arcEdge(-20, 0, 5, 180, 270)}; }

TEST(XModelFeatureOvalGroove, SlotsInEveryOrder) {
  const Edges whole = slotEdges(20, 5);
  const struct {
    const char* name;
    Edges edges;
  } slots[] = {
      {"line first", whole},
      {"arc first", startingAt(whole, 1)},
      {"second line first", startingAt(whole, 2)},
      {"walked back", walkedBack(whole)},
      {"one arc in two", slotWith(splitRightArc(), leftArc())},
      {"the other arc in two", slotWith(rightArc(), splitLeftArc())},
      {"both arcs in two", slotWith(splitRightArc(), splitLeftArc())},
      {"both arcs in two, arc first", startingAt(slotWith(splitRightArc(), splitLeftArc()), 1)},
      {"started within an arc", startingAt(slotWith(splitRightArc(), leftArc()), 2)},
      {"both in two, started within one", startingAt(slotWith(splitRightArc(), splitLeftArc()), 2)},
      {"both in two, walked back", walkedBack(slotWith(splitRightArc(), splitLeftArc()))},
      {"spline arcs", slotWith({splineEdge(rightArc()[0])}, {splineEdge(leftArc()[0])})},
  };
  for (const auto& slot : slots) {
    SCOPED_TRACE(slot.name);
    XFOvalGroove3D groove;
    ASSERT_TRUE(XModelFeature::isOvalGroove(wireOf(slot.edges, tiltedPose()), groove));
    EXPECT_THAT(groove.center, Pointwise(FloatNear(2e-4F), posed(0, 0, 0)));
    EXPECT_NEAR(groove.halfStraight, 20.0F, 2e-4);
    EXPECT_NEAR(groove.radius, 5.0F, 2e-4);
    EXPECT_NEAR(std::fabs(cosineWithPosed(groove.majorDir, 1, 0, 0)), 1.0, 1e-6);
    EXPECT_NEAR(std::fabs(cosineWithPosed(groove.normal, 0, 0, 1)), 1.0, 1e-6);
  }
}

TEST(XModelFeatureOvalGroove, OtherOutlinesAreNone) {
  const double d = std::sqrt(64.0 - 25.0);  // where a circle of radius 8 is 10 wide
  const double angle = std::atan2(5, d) / kDegree;
  const Edges whole = slotEdges(20, 5);
  const gp_Elips ellipse(gp_Ax2(gp_Pnt(20, 0, 0), gp_Dir(0, 0, 1), gp_Dir(0, 1, 0)), 5, 4);
  const TopoDS_Edge half_ellipse =
      BRepBuilderAPI_MakeEdge(ellipse, 180 * kDegree, 360 * kDegree).Edge();
  const struct {
    const char* name;
    Edges edges;
  } outlines[] = {
      {"double-D bore",
       {lineEdge(-d, -5, d, -5), arcEdge(0, 0, 8, -angle, angle), lineEdge(d, 5, -d, 5),
        arcEdge(0, 0, 8, 180 - angle, 180 + angle)}},
      {"rectangle", rectangleEdges(20, 5)},
      {"rounded rectangle", roundEdges(20, 10, 3, 3)},
      {"half", {whole[0], whole[1], whole[2]}},
      {"half-elliptic end", {whole[0], half_ellipse, whole[2], whole[3]}},
      {"line in two",
       {lineEdge(-20, -5, 0, -5), lineEdge(0, -5, 20, -5), whole[1], whole[2], whole[3]}},
      {"spline line", {splineEdge(whole[0]), whole[1], whole[2], whole[3]}},
      // The point where two pieces meet counts as the middle of the arc.
      {"arc in uneven pieces", slotWith(splitRightArc(10), leftArc())},
      {"pieces of two radii",
       slotWith({arcEdge(20, 0, 5, -90, 0), arcEdge(19.98, 0, 5.02, 0, 90)}, leftArc())},
      {"tail of another radius",
       startingAt(slotWith({arcEdge(20, 0, 5, -90, 0), arcEdge(19.98, 0, 5.02, 0, 90)}, leftArc()),
                  2)},
      {"tail far away",
       startingAt(slotWith({arcEdge(20, 0, 5, -90, 0), arcEdge(60, 0, 5, 0, 90)}, leftArc()), 2)},
      {"seven edges", joined({{whole[0], arcEdge(20, 0, 5, -90, -45), arcEdge(20, 0, 5, -45, 0),
                               arcEdge(20, 0, 5, 0, 90), whole[2]},
                              splitLeftArc()})},
      {"arc gone", slotWith(splitRightArc(), {})},
      // An arc that comes sixth, after patterns that no slot has.
      {"five lines", joined({rectangleEdges(20, 5), {whole[0], whole[1]}})},
      {"three lines, two of them in a row",
       {whole[0], whole[1], whole[2], whole[3], whole[0], whole[1]}},
      {"oblique",
       {lineEdge(-20, -5, 20, -5), whole[1], lineEdge(20, 5, -18, 5),
        arcEdge(-19, 0, std::hypot(1, 5), std::atan2(5, 1) / kDegree,
                std::atan2(-5, -1) / kDegree + 360)}},
  };
  for (const auto& outline : outlines) {
    SCOPED_TRACE(outline.name);
    XFOvalGroove3D groove;
    EXPECT_FALSE(XModelFeature::isOvalGroove(wireOf(outline.edges, tiltedPose()), groove));
  }
  XFOvalGroove3D groove;
  EXPECT_FALSE(XModelFeature::isOvalGroove(TopoDS_Wire(), groove));
}

// The ends of a long slot may differ in radius by a hundredth.
TEST(XModelFeatureOvalGroove, EndsOfAlmostOneRadius) {
  const auto with_radii = [](double r0, double r1) {
    const double h = 500;
    XFOvalGroove3D groove;
    return XModelFeature::isOvalGroove(
        wireOf({lineEdge(-h, -r0, h, -r1), arcEdge(h, 0, r1, -90, 90), lineEdge(h, r1, -h, r0),
                arcEdge(-h, 0, r0, 90, 270)}),
        groove);
  };
  EXPECT_TRUE(with_radii(5, 5.009));
  EXPECT_TRUE(with_radii(5.009, 5));
  EXPECT_FALSE(with_radii(5, 5.02));
  EXPECT_FALSE(with_radii(5.02, 5));
}

TEST(XModelFeatureRectangle, LongerSideAndNormal) {
  const Edges along = rectangleEdges(20, 5);
  for (const Edges& edges :
       {along, startingAt(along, 1), walkedBack(along), startingAt(walkedBack(along), 3)}) {
    XFRectangle3D rectangle;
    ASSERT_TRUE(XModelFeature::isRectangle(wireOf(edges, tiltedPose()), rectangle));
    EXPECT_THAT(rectangle.center, Pointwise(FloatNear(2e-5F), posed(0, 0, 0)));
    EXPECT_NEAR(rectangle.halfLength, 20.0F, 1e-5);
    EXPECT_NEAR(rectangle.halfWidth, 5.0F, 1e-5);
    EXPECT_NEAR(std::fabs(cosineWithPosed(rectangle.majorDir, 1, 0, 0)), 1.0, 1e-6);
    EXPECT_NEAR(std::fabs(cosineWithPosed(rectangle.normal, 0, 0, 1)), 1.0, 1e-6);
  }
  // With the corners p0 to p3 counter-clockwise, (p2 - p1) x (p0 - p1) points up.
  XFRectangle3D rectangle;
  ASSERT_TRUE(XModelFeature::isRectangle(wireOf(along), rectangle));
  EXPECT_FLOAT_EQ(rectangle.normal[2], 1.0F);
  ASSERT_TRUE(XModelFeature::isRectangle(wireOf(rectangleEdges(5, 5)), rectangle));
  EXPECT_FLOAT_EQ(std::fabs(rectangle.majorDir[0]), 1.0F) << "p0 - p1 wins a tie";
}

TEST(XModelFeatureRectangle, OnlyDirectionsOfFourLines) {
  XFRectangle3D rectangle;
  Edges open = rectangleEdges(20, 5);
  open[3] = lineEdge(-20, 5, -20, -4);
  EXPECT_TRUE(XModelFeature::isRectangle(wireOf(open), rectangle))
      << "nothing asks for a closed one";

  const auto leaning = [](double by) {
    return Edges{lineEdge(-20, -5, 20, -5), lineEdge(20, -5, 20 + by, 5),
                 lineEdge(20 + by, 5, -20 + by, 5), lineEdge(-20 + by, 5, -20, -5)};
  };
  EXPECT_TRUE(XModelFeature::isRectangle(wireOf(leaning(0.0009)), rectangle));
  EXPECT_FALSE(XModelFeature::isRectangle(wireOf(leaning(0.0011)), rectangle));

  const Edges whole = rectangleEdges(20, 5);
  EXPECT_FALSE(XModelFeature::isRectangle(wireOf({whole[0], whole[1], whole[2]}), rectangle));
  EXPECT_FALSE(XModelFeature::isRectangle(wireOf(joined({whole, {whole[0]}})), rectangle));
  EXPECT_FALSE(XModelFeature::isRectangle(
      wireOf({splineEdge(whole[0]), whole[1], whole[2], whole[3]}), rectangle));
  EXPECT_FALSE(XModelFeature::isRectangle(wireOf(slotEdges(20, 5)), rectangle));
  EXPECT_FALSE(XModelFeature::isRectangle(TopoDS_Wire(), rectangle));
}

TEST(XModelFeatureRoundGroove, EitherStartAndBothWays) {
  const Edges whole = roundEdges(20, 8, 3, 3);
  Edges splines = whole;
  for (TopoDS_Edge& edge : splines) edge = splineEdge(edge);  // a spline line counts as a line here
  for (const Edges& edges :
       {whole, startingAt(whole, 1), startingAt(whole, 2), walkedBack(whole), splines}) {
    XFRoundGroove3D groove;
    ASSERT_TRUE(XModelFeature::isRoundGroove(wireOf(edges, tiltedPose()), groove));
    EXPECT_THAT(groove.center, Pointwise(FloatNear(2e-5F), posed(0, 0, 0)));
    EXPECT_NEAR(groove.halfLength, 20.0F, 1e-4);
    EXPECT_NEAR(groove.halfWidth, 8.0F, 1e-4);
    EXPECT_NEAR(groove.cornerRadius, 3.0F, 1e-4);
    EXPECT_NEAR(std::fabs(cosineWithPosed(groove.majorDir, 1, 0, 0)), 1.0, 1e-6);
    EXPECT_NEAR(std::fabs(cosineWithPosed(groove.normal, 0, 0, 1)), 1.0, 1e-6);
  }
}

TEST(XModelFeatureRoundGroove, OtherOutlinesAreNone) {
  const Edges whole = roundEdges(20, 8, 3, 3);
  Edges swapped = whole;
  std::swap(swapped[1], swapped[5]);
  Edges unordered = whole;
  std::reverse(unordered.begin(), unordered.end());
  Edges dented = whole;  // arcs that turn inwards: the middles lie elsewhere
  dented[1] = arcEdge(20, -8, 3, 180, 90);
  const std::pair<const char*, Edges> outlines[] = {
      {"one corner of another radius", roundEdges(200, 80, 3, 3.02)},
      {"arcs swapped", swapped},
      {"edges in the wrong order", unordered},
      {"dented", dented},
      {"nine edges", joined({whole, {whole[0]}})},
      {"seven edges", Edges(whole.begin(), whole.end() - 1)},
      {"two rectangles", joined({rectangleEdges(20, 8), rectangleEdges(20, 8)})},
      {"slot", slotEdges(20, 5)}};
  for (const auto& [name, edges] : outlines) {
    XFRoundGroove3D groove;
    EXPECT_FALSE(XModelFeature::isRoundGroove(wireOf(edges), groove)) << name;
  }
  XFRoundGroove3D groove;
  EXPECT_TRUE(XModelFeature::isRoundGroove(wireOf(roundEdges(200, 80, 3, 3.005)), groove));
  EXPECT_FALSE(XModelFeature::isRoundGroove(TopoDS_Wire(), groove));
}

// ---- plane merging ----------------------------------------------------------------------------

/// A patch of the plane through the tilted pose's origin: middle, size and direction in that plane.
XFPlane patchAt(double x, double y, double length, double width, double degrees) {
  XFPlane plane;
  const auto center = posed(x, y, 0);
  const gp_Vec normal = gp_Vec(0, 0, 1).Transformed(tiltedPose());
  const gp_Vec major =
      gp_Vec(std::cos(degrees * kDegree), std::sin(degrees * kDegree), 0).Transformed(tiltedPose());
  for (int i = 0; i < 3; ++i) {
    plane.center[i] = center[static_cast<std::size_t>(i)];
    plane.normal[i] = static_cast<float>(normal.Coord(i + 1));
    plane.majorDir[i] = static_cast<float>(major.Coord(i + 1));
  }
  plane.length = static_cast<float>(length);
  plane.width = static_cast<float>(width);
  plane.d = static_cast<float>(x);  // something to know it by
  return plane;
}

TEST(XModelFeatureGetPlane, SmallestRectangleAroundAllPatches) {
  // Along a line at 30 degrees: patches of width 4 from -6 to 25 on it; the last is turned by a quarter.
  const double c = std::cos(30 * kDegree), s = std::sin(30 * kDegree);
  std::vector<XFPlane> planes = {patchAt(0, 0, 12, 4, 30), patchAt(10 * c, 10 * s, 6, 4, 30),
                                 patchAt(24 * c, 24 * s, 4, 2, 120)};
  planes[0].faces.resize(2);
  XFPlane merged;
  XModelFeature::getPlane(planes, merged);
  EXPECT_NEAR(merged.length, 31.0F, 1e-3);
  EXPECT_NEAR(merged.width, 4.0F, 1e-3);
  EXPECT_THAT(merged.center, Pointwise(FloatNear(1e-3F), posed(9.5 * c, 9.5 * s, 0)));
  EXPECT_NEAR(std::fabs(cosineWithPosed(merged.majorDir, c, s, 0)), 1.0, 1e-6);
  EXPECT_EQ(merged.faces.size(), 2U);
  EXPECT_EQ(merged.d, planes[0].d);
  EXPECT_THAT(merged.normal, testing::ElementsAreArray(planes[0].normal));
  // The corners run around the rectangle: neighbours are a side apart, in turn long and short.
  const auto side = [&merged](int i) {
    const float *p = merged.corners + 3 * i, *q = merged.corners + 3 * ((i + 1) % 4);
    return std::hypot(p[0] - q[0], p[1] - q[1], p[2] - q[2]);
  };
  EXPECT_NEAR(side(0) + side(1), 35.0, 1e-3);
  EXPECT_NEAR(std::max(side(0), side(1)), 31.0, 1e-3);
  EXPECT_NEAR(side(0), side(2), 1e-3);
  EXPECT_NEAR(side(1), side(3), 1e-3);
}

TEST(XModelFeatureGetPlane, NoneOneAndPatchesWithoutAFrame) {
  XFPlane merged = patchAt(7, 0, 12, 4, 0);
  XModelFeature::getPlane({}, merged);
  EXPECT_EQ(merged.d, 7.0F) << "left alone";
  XFPlane single = patchAt(3, 0, 10, 5, 20);
  single.corners[5] = 42.0F;
  XModelFeature::getPlane({single}, merged);
  EXPECT_EQ(merged.d, 3.0F);
  EXPECT_EQ(merged.corners[5], 42.0F) << "a copy keeps its corners";

  const XFPlane tiny = patchAt(4, 0, 0.005, 0.005, 0);
  XModelFeature::getPlane({tiny, tiny}, merged);
  EXPECT_EQ(merged.length, tiny.length);
  XFPlane broken = patchAt(5, 0, 10, 5, 0);
  broken.normal[1] = std::numeric_limits<float>::quiet_NaN();
  XModelFeature::getPlane({broken, single}, merged);
  EXPECT_EQ(merged.d, 5.0F);
  broken = patchAt(6, 0, 10, 5, 0);
  broken.length = std::numeric_limits<float>::infinity();
  XModelFeature::getPlane({broken, single}, merged);
  EXPECT_EQ(merged.d, 6.0F);
}

}  // namespace
}  // namespace xmodelfeature
