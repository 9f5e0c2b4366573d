// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cmath>
#include <limits>

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include "support/cad_outlines.h"
#include "support/cad_shapes.h"
#include "support/rows.h"
#include "zelmo/model/model_feature.h"

namespace xmodelfeature {
namespace {

using namespace zelmo::test;  // NOLINT(google-build-using-namespace): builders of outlines
using testing::FloatNear;
using testing::Pointwise;

/// What the pose of the tests makes of a local point (gp_Pnt) or direction (gp_Vec).
template <typename Local>
std::array<float, 3> posed(Local p) {
  p.Transform(tiltedPose());
  return {static_cast<float>(p.X()), static_cast<float>(p.Y()), static_cast<float>(p.Z())};
}

double sineToPosed(const float (&v)[3], double x, double y, double z) {
  const gp_Vec d = gp_Vec(x, y, z).Transformed(tiltedPose());
  return d.Crossed(gp_Vec(v[0], v[1], v[2])).Magnitude();
}

Edges joined(const std::vector<Edges>& parts) {
  Edges edges;
  for (const Edges& part : parts) edges.insert(edges.end(), part.begin(), part.end());
  return edges;
}

/// A slot of half straight length 20 and radius 5 with its arcs as given.
Edges slotWith(const Edges& right, const Edges& left) {
  const Edges e = slotEdges(20, 5);
  return joined({{e[0]}, right, {e[2]}, left});
}

const Edges kRightArc = {arcEdge(20, 0, 5, -90, 90)}, kLeftArc = {arcEdge(-20, 0, 5, 90, 270)};
const Edges kSplitLeftArc = {arcEdge(-20, 0, 5, 90, 180), arcEdge(-20, 0, 5, 180, 270)};
Edges splitRightArc(double at = 0) {
  return {arcEdge(20, 0, 5, -90, at), arcEdge(20, 0, 5, at, 90)};
}

enum Kind { None, Slot, Rectangle, Round };

struct OutlineCase {
  const char* name;
  Edges edges;
  Kind kind = None;
};

/// All three questions are asked of an outline: what it is, its center, how far its directions are
/// from those of the pose, and its sizes; nothing when it is none.
std::vector<float> answerOf(const TopoDS_Wire& wire) {
  XFOvalGroove3D s;
  XFRectangle3D r;
  XFRoundGroove3D g;
  std::vector<float> answer;
  const auto take = [&answer](Kind kind, const auto& record, auto... sizes) {
    EXPECT_THAT(answer, testing::IsEmpty()) << "two answers";
    answer = rowOf(kind, record.center, sineToPosed(record.majorDir, 1, 0, 0),
                   sineToPosed(record.normal, 0, 0, 1), sizes...);
  };
  if (XModelFeature::isOvalGroove(wire, s)) take(Slot, s, s.halfStraight, s.radius);
  if (XModelFeature::isRectangle(wire, r)) take(Rectangle, r, r.halfLength, r.halfWidth);
  if (XModelFeature::isRoundGroove(wire, g)) {
    take(Round, g, g.halfLength, g.halfWidth, g.cornerRadius);
  }
  return answer;
}

int kindOf(const TopoDS_Wire& wire) {
  const auto answer = answerOf(wire);
  return answer.empty() ? None : static_cast<int>(answer[0]);
}

// Slots of half straight length 20 and radius 5, rectangles of 20 by 5, round ones of 20 by 8 by 3.
TEST(XModelFeatureOutline, HolesByTheirRecordsInEveryOrder) {
  const Edges slot = slotEdges(20, 5), split = slotWith(splitRightArc(), kSplitLeftArc);
  const Edges rectangle = rectangleEdges(20, 5), round = roundEdges(20, 8, 3, 3);
  Edges round_splines = round;  // also its lines
  for (TopoDS_Edge& edge : round_splines) edge = splineEdge(edge);
  const OutlineCase outlines[] = {
      {"line first", slot, Slot},
      {"arc first", startingAt(slot, 1), Slot},
      {"slot walked back", walkedBack(slot), Slot},
      {"both arcs in two, arc first", startingAt(split, 1), Slot},
      {"both in two, started within one", startingAt(split, 2), Slot},
      {"spline arcs", slotWith({splineEdge(kRightArc[0])}, {splineEdge(kLeftArc[0])}), Slot},
      {"rectangle walked back", startingAt(walkedBack(rectangle), 3), Rectangle},
      {"round, arc first", startingAt(round, 1), Round},
      {"round, walked back", walkedBack(round), Round},
      {"round of splines", round_splines, Round}};
  const auto center = posed(gp_Pnt(0, 0, 0));
  for (const OutlineCase& c : outlines) {
    SCOPED_TRACE(c.name);
    const TopoDS_Wire wire = wireOf(c.edges, tiltedPose());
    std::vector<float> expected = rowOf(c.kind, center, 0, 0, 20, 5);
    if (c.kind == Round) expected = rowOf(c.kind, center, 0, 0, 20, 8, 3);
    EXPECT_THAT(answerOf(wire), Pointwise(FloatNear(2e-4F), expected));
    // A wire reversed as a whole has its edges in the other order, which only slots and rectangles stand.
    const TopoDS_Wire reversed = TopoDS::Wire(wire.Reversed());
    EXPECT_EQ(kindOf(reversed), c.kind == Round ? None : c.kind);
  }
}

/// Slots with long sides, whose ends may differ in their radii.
Edges unevenSlot(double r) {
  return {lineEdge(-500, -r, 500, -5), arcEdge(500, 0, 5, -90, 90), lineEdge(500, 5, -500, r),
          arcEdge(-500, 0, r, 90, 270)};
}
Edges slotOfPieces(double r) {
  return {arcEdge(500, 0, 5, -90, 90), lineEdge(500, 5, -500, 5.003),
          arcEdge(-500, 0, 5.009, 90, 180), arcEdge(-500, 0, r, 180, 270),
          lineEdge(-500, -5.006, 500, -5)};
}
Edges leaningRectangle(double by) {
  return {lineEdge(-20, -5, 20, -5), lineEdge(20, -5, 20 + by, 5),
          lineEdge(20 + by, 5, -20 + by, 5), lineEdge(-20 + by, 5, -20, -5)};
}
/// The round one of 20 by 8 by 3 with another edge in the place of one of its own.
Edges roundWith(std::size_t place, const TopoDS_Edge& edge) {
  Edges edges = roundEdges(20, 8, 3, 3);
  edges[place] = edge;
  return edges;
}
TEST(XModelFeatureOutline, WhatCountsAndWhatDoesNot) {
  const double d = std::sqrt(64.0 - 25.0);  // where a circle of radius 8 is 10 wide
  const double angle = std::atan2(5, d) / kDegree;
  const Edges slot = slotEdges(20, 5), rectangle = rectangleEdges(20, 5);
  const Edges round = roundEdges(20, 8, 3, 3);
  const Edges two_radii =
      slotWith({arcEdge(20, 0, 5, -90, 0), arcEdge(19.98, 0, 5.02, 0, 90)}, kLeftArc);
  Edges open = rectangle, unordered = round;
  open[3] = lineEdge(-20, 5, -20, -4);
  std::reverse(unordered.begin(), unordered.end());
  const OutlineCase outlines[] = {
      {"double-D bore",
       {lineEdge(-d, -5, d, -5), arcEdge(0, 0, 8, -angle, angle), lineEdge(d, 5, -d, 5),
        arcEdge(0, 0, 8, 180 - angle, 180 + angle)}},
      {"half a slot", {slot[0], slot[1], slot[2]}},
      {"line in two",
       {lineEdge(-20, -5, 0, -5), lineEdge(0, -5, 20, -5), slot[1], slot[2], slot[3]}},
      // The point where two pieces meet counts as the middle of the arc.
      {"arc in uneven pieces", slotWith(splitRightArc(10), kLeftArc)},
      {"pieces of two radii", two_radii},
      {"ends of almost one radius", unevenSlot(5.009), Slot},
      {"ends of two radii", unevenSlot(5.02)},
      // A joined piece of the second end is held against the radius of the first.
      {"pieces of almost one radius", slotOfPieces(5.0095), Slot},
      {"pieces like each other, but not like the first end", slotOfPieces(5.012)},
      {"nothing asks for a closed rectangle", open, Rectangle},
      {"leaning a little", leaningRectangle(0.0009), Rectangle},
      {"leaning", leaningRectangle(0.0011)},
      {"spline side", {splineEdge(slot[0]), rectangle[1], rectangle[2], rectangle[3]}},
      {"almost one corner radius", roundEdges(200, 80, 3, 3.005), Round},
      {"one corner of another radius", roundEdges(200, 80, 3, 3.02)},
      {"small gap", roundWith(0, lineEdge(-17 + 0.0099, -8, 17, -8)), Round},
      {"gap", roundWith(0, lineEdge(-17 + 0.0101, -8, 17, -8))},
      {"edges in the wrong order", unordered},
      {"no edges", {}}};
  for (const OutlineCase& c : outlines) EXPECT_EQ(kindOf(wireOf(c.edges)), c.kind) << c.name;
  EXPECT_EQ(kindOf(TopoDS_Wire()), None);
}

// With the corners p0 to p3 counter-clockwise, (p2 - p1) x (p0 - p1) points up, and p0 - p1 wins a tie.
TEST(XModelFeatureOutline, NormalAndDirectionOfASquare) {
  XFRectangle3D rectangle;
  ASSERT_TRUE(XModelFeature::isRectangle(wireOf(rectangleEdges(5, 5)), rectangle));
  EXPECT_FLOAT_EQ(rectangle.normal[2], 1.0F);
  EXPECT_FLOAT_EQ(rectangle.majorDir[0], -1.0F);
}

// ---- plane merging ----------------------------------------------------------------------------

/// A patch of the plane through the tilted pose's origin: middle, size and direction in that plane.
XFPlane patchAt(double x, double y, double length, double width, double degrees) {
  const gp_Vec along(std::cos(degrees * kDegree), std::sin(degrees * kDegree), 0);
  const double known_by = x;  // in the place of d
  return XFPlane(rowOf(0, 0, 0, known_by, posed(gp_Pnt(x, y, 0)), posed(gp_Vec(0, 0, 1)),
                       posed(along), length, width, std::array<float, 12>{}));
}

TEST(XModelFeatureGetPlane, SmallestRectangleAroundAllPatches) {
  // Along a line at 30 degrees: patches of width 4 from -6 to 25 on it; the last is turned by a quarter.
  const double c = std::cos(30 * kDegree), s = std::sin(30 * kDegree);
  std::vector<XFPlane> planes = {patchAt(0, 0, 12, 4, 30), patchAt(10 * c, 10 * s, 6, 4, 30),
                                 patchAt(24 * c, 24 * s, 4, 2, 120)};
  planes[0].faces.resize(2);
  XFPlane merged;
  XModelFeature::getPlane(planes, merged);
  EXPECT_THAT(rowOf(merged.length, merged.width), Pointwise(FloatNear(1e-3F), {31.0F, 4.0F}));
  EXPECT_THAT(merged.center, Pointwise(FloatNear(1e-3F), posed(gp_Pnt(9.5 * c, 9.5 * s, 0))));
  EXPECT_NEAR(sineToPosed(merged.majorDir, c, s, 0), 0, 1e-3);
  EXPECT_EQ(merged.faces.size(), 2U);
  EXPECT_EQ(rowOf(merged.d, merged.normal), rowOf(planes[0].d, planes[0].normal));
  // The corners run around the rectangle: opposite ones lie farthest apart.
  for (const float* corner : {merged.corners + 0, merged.corners + 3}) {
    EXPECT_NEAR(cv::norm(cv::Vec3f(corner) - cv::Vec3f(corner + 6)), std::hypot(31, 4), 1e-3);
  }
}

TEST(XModelFeatureGetPlane, NoneOneAndPatchesWithoutAFrame) {
  XFPlane merged = patchAt(7, 0, 12, 4, 0);
  XModelFeature::getPlane({}, merged);
  EXPECT_EQ(merged.d, 7.0F) << "left alone";
  XFPlane single = patchAt(3, 0, 10, 5, 20), no_normal = patchAt(5, 0, 10, 5, 0);
  single.corners[5] = 42.0F;
  XFPlane endless = no_normal;
  no_normal.normal[1] = std::numeric_limits<float>::quiet_NaN();
  endless.length = std::numeric_limits<float>::infinity();
  for (const auto& planes :
       {std::vector<XFPlane>{single}, {no_normal, single}, {endless, single}}) {
    XModelFeature::getPlane(planes, merged);
    EXPECT_EQ(rowOf(merged.d, merged.length, merged.corners),
              rowOf(planes[0].d, planes[0].length, planes[0].corners));
  }
}

}  // namespace
}  // namespace xmodelfeature
