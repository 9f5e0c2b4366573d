// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/mesh/trim.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <random>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include "failing_allocation.h"
#include "support/meshes.h"
#include "support/reference_data.h"
#include "zelmo/feature/circle.h"
#include "zelmo/feature/oval_groove.h"
#include "zelmo/feature/plane.h"
#include "zelmo/mesh/trim_with_curve.h"

namespace vorn::quil::xtirm {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using xgeofeature::XFCircle3D;
using xgeofeature::XFOvalGroove3D;
using zelmo::test::Mesh;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

cv::Vec3d at(const float* p) { return {p[0], p[1], p[2]}; }

// A right-handed frame in a generic pose, and the float triples of a curve in it.
struct Pose {
  cv::Vec3d origin, x, y, z;
  cv::Vec3d toWorld(const cv::Vec3d& p) const { return origin + x * p[0] + y * p[1] + z * p[2]; }
  cv::Vec3d toLocal(const cv::Vec3d& p) const {
    const cv::Vec3d d = p - origin;
    return {d.dot(x), d.dot(y), d.dot(z)};
  }
};
const Pose kWorld = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
const Pose kTilted = {{30, -20, 50}, {0.6, 0.64, 0.48}, {0.8, -0.48, -0.36}, {0, 0.6, -0.8}};

Mesh posed(Mesh mesh, const Pose& pose) {
  for (std::size_t i = 0; i < mesh.vertices.size(); i += 3) {
    const cv::Vec3f p(pose.toWorld(at(&mesh.vertices[i])));
    std::copy_n(p.val, 3, &mesh.vertices[i]);
  }
  return mesh;
}

XFCircle3D circleIn(const Pose& pose, const cv::Vec3d& center, float radius) {
  const cv::Vec3f c(pose.toWorld(center)), n(pose.z), m(pose.x);
  return {c.val, n.val, m.val, radius};
}
XFOvalGroove3D slotIn(const Pose& pose, const cv::Vec3d& center, float half, float radius) {
  const cv::Vec3f c(pose.toWorld(center)), n(pose.z), m(pose.x);
  return {c.val, n.val, m.val, half, radius};
}

/// One trim of either kind; the circle is a slot without straight sides.
struct Trim {
  Pose pose;
  cv::Vec3d center;  // in the pose
  float half, radius;
  bool is_slot;

  ModifyFaceData run(const Mesh& mesh, bool walls, float height = 1.0F) const {
    ModifyFaceData result;
    result.removedFaces = {-7};
    const auto normals = mesh.normals();
    XFCircle3D circle = circleIn(pose, center, radius);
    XFOvalGroove3D slot = slotIn(pose, center, half, radius);
    XTrimWithCurve trim;
    const int code =
        is_slot
            ? trim.trimWithOvalSlot(&slot, mesh.vertices.data(), mesh.vertexCount(), normals.data(),
                                    mesh.faces.data(), mesh.faceCount(), result, height, walls)
            : trim.trimWithCircle(&circle, mesh.vertices.data(), mesh.vertexCount(), normals.data(),
                                  mesh.faces.data(), mesh.faceCount(), result, height, walls);
    EXPECT_EQ(code, 0);
    return result;
  }

  /// How far a point lies outside the outline; negative inside.
  double clearance(const cv::Vec3d& world) const {
    const cv::Vec3d p = pose.toLocal(world) - center;
    const double past = std::max(0.0, std::fabs(p[0]) - half);
    return std::hypot(past, p[1]) - radius;
  }

  /// Whether a side and an arc meet here.
  bool isJunction(const cv::Vec3d& world) const {
    const cv::Vec3d p = pose.toLocal(world) - center;
    return std::hypot(std::fabs(p[0]) - half, std::fabs(p[1]) - radius) < 1e-3;
  }
};

using Triangle = std::array<cv::Vec3d, 3>;

std::vector<Triangle> trianglesOf(const std::vector<float>& vertices) {
  std::vector<Triangle> out;
  for (std::size_t i = 0; i + 9 <= vertices.size(); i += 9) {
    out.push_back({at(&vertices[i]), at(&vertices[i + 3]), at(&vertices[i + 6])});
  }
  return out;
}

/// Area of a triangle seen along the pose's z.
double flatArea(const Pose& pose, const Triangle& t) {
  return 0.5 * std::fabs((t[1] - t[0]).cross(t[2] - t[0]).dot(pose.z));
}

using Record = std::array<float, 13>;

/// The new triangles with their normals and sources, in an order of their own.
std::multiset<Record> recordsOf(const ModifyFaceData& data) {
  std::multiset<Record> records;
  for (std::size_t i = 0; i < data.sourceFaces.size(); ++i) {
    Record r;
    std::copy_n(&data.newVertices[9 * i], 9, r.begin());
    std::copy_n(&data.newNormals[3 * i], 3, r.begin() + 9);
    r[12] = static_cast<float>(data.sourceFaces[i]);
    records.insert(r);
  }
  return records;
}

std::vector<Record> difference(const std::multiset<Record>& a, const std::multiset<Record>& b) {
  std::vector<Record> out;
  std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(out));
  return out;
}

/// Checks a trim of a sheet that is a function of the curve's plane and covers the curve.
void checkSheet(const Trim& trim, const Mesh& mesh, double tolerance) {
  const ModifyFaceData parts = trim.run(mesh, false);
  const ModifyFaceData walled = trim.run(mesh, true, 2.5F);
  ASSERT_EQ(parts.newVertices.size(), 9 * parts.sourceFaces.size());
  ASSERT_EQ(parts.newNormals.size(), 3 * parts.sourceFaces.size());
  ASSERT_FALSE(parts.sourceFaces.empty());
  EXPECT_EQ(recordsOf(trim.run(mesh, false)), recordsOf(parts));

  const std::set<int> removed(parts.removedFaces.begin(), parts.removedFaces.end());
  EXPECT_EQ(removed.size(), parts.removedFaces.size());
  EXPECT_EQ(std::set<int>(walled.removedFaces.begin(), walled.removedFaces.end()), removed);
  double area_before = 0, area_after = 0;
  for (int i = 0; i < mesh.faceCount(); ++i) {
    const Triangle t = {at(mesh.corner(i, 0)), at(mesh.corner(i, 1)), at(mesh.corner(i, 2))};
    area_before += flatArea(trim.pose, t);
    if (removed.count(i) != 0) continue;
    area_after += flatArea(trim.pose, t);
    for (const cv::Vec3d& p : t) EXPECT_GT(trim.clearance(p), -tolerance) << "kept face " << i;
  }
  const auto normals = mesh.normals();
  const auto triangles = trianglesOf(parts.newVertices);
  for (std::size_t i = 0; i < triangles.size(); ++i) {
    const int source = parts.sourceFaces[i];
    EXPECT_EQ(removed.count(source), 1U);
    area_after += flatArea(trim.pose, triangles[i]);
    const cv::Vec3d n = at(&normals[static_cast<std::size_t>(3 * source)]);
    EXPECT_EQ(at(&parts.newNormals[3 * i]), n);
    for (const cv::Vec3d& p : triangles[i]) {
      EXPECT_GT(trim.clearance(p), -tolerance);
      // The height of a junction comes from the cut points beside it, so it leaves the face a bit.
      const double off_face = trim.is_slot && trim.isJunction(p) ? 0.02 : tolerance;
      EXPECT_NEAR((p - at(mesh.corner(source, 0))).dot(n), 0, off_face);
    }
  }

  // The walls: rectangles between the cut and the cut lowered, closed round the hole.
  const auto walls = difference(recordsOf(walled), recordsOf(parts));
  ASSERT_EQ(walls.size(), walled.sourceFaces.size() - parts.sourceFaces.size());
  std::vector<std::pair<double, cv::Vec3d>> cut;  // by angle
  double wall_area = 0, cut_length = 0;
  for (const Record& r : walls) {
    const Triangle t = {at(&r[0]), at(&r[3]), at(&r[6])};
    const cv::Vec3d n = at(&r[9]);
    const cv::Vec3d middle = (t[0] + t[1] + t[2]) * (1.0 / 3) - trim.pose.toWorld(trim.center);
    EXPECT_LT(n.dot(middle - trim.pose.z * middle.dot(trim.pose.z)), 0) << "not towards the axis";
    const cv::Vec3d cross = (t[1] - t[0]).cross(t[2] - t[0]);
    wall_area += 0.5 * cv::norm(cross);
    // The first of the two triangles has the cut as its first edge.
    if (cv::norm(t[2] - (t[0] - trim.pose.z * 2.5)) > tolerance) continue;
    const cv::Vec3d edge = t[1] - t[0];
    cut_length += cv::norm(edge - trim.pose.z * edge.dot(trim.pose.z));
    for (int k = 0; k < 2; ++k) {
      const cv::Vec3d p = trim.pose.toLocal(t[static_cast<std::size_t>(k)]) - trim.center;
      EXPECT_NEAR(trim.clearance(t[static_cast<std::size_t>(k)]), 0, tolerance);
      cut.emplace_back(std::atan2(p[1], p[0]), p);
    }
  }
  EXPECT_NEAR(wall_area, 2.5 * cut_length, 1e-3 * wall_area);
  std::sort(cut.begin(), cut.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  double hole = 0;
  for (std::size_t i = 0; i < cut.size(); ++i) {
    const cv::Vec3d& p = cut[i].second;
    const cv::Vec3d& q = cut[(i + 1) % cut.size()].second;
    hole += 0.5 * (p[0] * q[1] - p[1] * q[0]);
  }
  EXPECT_NEAR(area_after + hole, area_before, 2e-5 * area_before);
  const double ideal = CV_PI * trim.radius * trim.radius + 4.0 * trim.half * trim.radius;
  EXPECT_LE(hole, ideal * 1.0001);
  EXPECT_GT(hole, ideal * 0.99);
}

Mesh sheet(const Pose& pose, int squares, double bend) {
  const float step = 60.0F / static_cast<float>(squares);
  return posed(zelmo::test::heightField(squares, squares, step,
                                        [bend](float x, float y) {
                                          return bend * std::sin(x * 0.2) * std::cos(y * 0.15);
                                        }),
               pose);
}

TEST(TrimOfSheet, LeavesTheSheetWithoutTheHole) {
  for (const Pose& pose : {kWorld, kTilted}) {
    for (const double bend : {0.0, 6.0}) {
      for (const int squares : {37, 160}) {
        SCOPED_TRACE(testing::Message() << pose.z << " bend " << bend << " squares " << squares);
        const Mesh mesh = sheet(pose, squares, bend);
        checkSheet({pose, {29.3, 31.17, 0}, 0, 11.7F, false}, mesh, 2e-4);
        checkSheet({pose, {29.3, 31.17, 0}, 9.2F, 6.4F, true}, mesh, 2e-3);
      }
    }
  }
}

TEST(TrimOfSheet, SeveralHolesOneAfterAnother) {
  // The host applies one trim before the next.
  Mesh mesh = sheet(kTilted, 60, 4.0);
  for (const Trim& trim : {Trim{kTilted, {15.2, 15.4, 0}, 0, 8.03F, false},
                           Trim{kTilted, {42.31, 40.27, 0}, 7.1F, 5.13F, true},
                           Trim{kTilted, {40.3, 16.6, 0}, 0, 6.5F, false}}) {
    checkSheet(trim, mesh, 2e-3);
    const ModifyFaceData change = trim.run(mesh, false);
    const std::set<int> removed(change.removedFaces.begin(), change.removedFaces.end());
    Mesh next;
    next.vertices = mesh.vertices;
    for (int i = 0; i < mesh.faceCount(); ++i) {
      const auto begin = mesh.faces.begin() + 3 * i;
      if (removed.count(i) == 0) next.faces.insert(next.faces.end(), begin, begin + 3);
    }
    for (std::size_t i = 0; i < change.newVertices.size(); i += 3) {
      next.faces.push_back(next.vertexCount());
      next.vertices.insert(next.vertices.end(), &change.newVertices[i], &change.newVertices[i] + 3);
    }
    mesh = next;
  }
}

TEST(TrimOfReferenceMesh, LeavesNothingInside) {
  ZELMO_REQUIRE_REFERENCE_DATA("meshes/plate_holes.STL");
  struct Case {
    const char* file;
    double scale;
    Trim trim;
  };
  for (const Case& c : {Case{"plate_holes.STL", 1, {kWorld, {100, 152, 5}, 0, 40, false}},
                        Case{"plate_holes.STL", 1, {kWorld, {100, 152, 5}, 40, 20, true}},
                        Case{"bunny.off", 1024, {kWorld, {-20, 110, 0}, 0, 15, false}},
                        Case{"busted.STL", 1, {kWorld, {0.1, 24, -5}, 1, 0.9F, true}},
                        Case{"soup.stl", 8, {kTilted, {-30, 30, -30}, 0, 60, false}},
                        Case{"unit_sphere.STL", 16, {kWorld, {0.5, 0.3, 0}, 3, 4, true}}}) {
    SCOPED_TRACE(c.file);
    Mesh mesh = zelmo::test::readMesh(zelmo::test::referenceData(std::string("meshes/") + c.file));
    for (float& v : mesh.vertices) v *= static_cast<float>(c.scale);
    const ModifyFaceData change = c.trim.run(mesh, false);
    EXPECT_FALSE(change.removedFaces.empty());
    EXPECT_EQ(recordsOf(c.trim.run(mesh, false)), recordsOf(change));
    const std::set<int> removed(change.removedFaces.begin(), change.removedFaces.end());
    for (int i = 0; i < mesh.faceCount(); ++i) {
      double nearest = 1e9, farthest = -1e9;
      for (int k = 0; k < 3; ++k) {
        const double d = c.trim.clearance(at(mesh.corner(i, k)));
        nearest = std::min(nearest, d);
        farthest = std::max(farthest, d);
      }
      // Kept faces have no corner inside, removed ones have one that is not outside.
      if (removed.count(i) == 0) {
        EXPECT_GT(nearest, -2e-3) << i;
      } else {
        EXPECT_LT(nearest, 2e-3) << i;
      }
      if (farthest < -2e-3) {
        EXPECT_EQ(std::count(change.sourceFaces.begin(), change.sourceFaces.end(), i), 0);
      }
    }
    for (const Triangle& t : trianglesOf(change.newVertices)) {
      for (const cv::Vec3d& p : t) EXPECT_GT(c.trim.clearance(p), -2e-3);
    }
  }
}

// One triangle at a time against the circle of radius 5 about the origin, or the slot of half 10 and
// radius 5. (3, 4), (4, 3), (5, 0) and their mirror images lie on the circle.
struct FaceCase {
  const char* name;
  std::array<float, 6> corners;
  bool removed;
  std::vector<float> parts;  // x, y of the corners of the new triangles
  int walls;                 // wall triangles
};

void checkFaces(const std::vector<FaceCase>& cases, bool is_slot) {
  const Trim trim = {kWorld, {0, 0, 0}, is_slot ? 10.0F : 0.0F, 5, is_slot};
  for (const FaceCase& c : cases) {
    SCOPED_TRACE(c.name);
    for (int turn = 0; turn < 3; ++turn) {  // the lone vertex may stand anywhere
      Mesh mesh;
      for (std::size_t k = 0; k < 3; ++k) {
        mesh.vertices.insert(mesh.vertices.end(), {c.corners[2 * k], c.corners[2 * k + 1], 0.5F});
      }
      mesh.faces = {turn, (turn + 1) % 3, (turn + 2) % 3};
      const ModifyFaceData parts = trim.run(mesh, false);
      EXPECT_EQ(parts.removedFaces.size(), c.removed ? 1U : 0U);
      std::vector<float> flat;
      for (std::size_t i = 0; i < parts.newVertices.size(); ++i) {
        if (i % 3 == 2) {
          EXPECT_NEAR(parts.newVertices[i], 0.5F, 1e-6);
        } else {
          flat.push_back(parts.newVertices[i]);
        }
      }
      EXPECT_THAT(flat, testing::Pointwise(testing::FloatNear(1e-5F), c.parts));
      const ModifyFaceData walled = trim.run(mesh, true);
      EXPECT_EQ(static_cast<int>(walled.sourceFaces.size() - parts.sourceFaces.size()), c.walls);
    }
  }
}

TEST(TrimOfFace, FollowsTheClassesOfACircle) {
  checkFaces({{"AllOutside", {8, 0, 9, 0, 8, 1}, false, {}, 0},
              {"TwoOutsideOneOn", {5, 0, 9, 0, 8, 1}, false, {}, 0},
              {"AllInside", {1, 0, 2, 0, 1, 1}, true, {}, 0},
              {"TwoInsideOneOn", {5, 0, 2, 0, 1, 1}, true, {}, 0},
              {"OneInsideTwoOn", {5, 0, 2, 0, 4, 3}, true, {}, 0},
              {"AllOn", {5, 0, 3, 4, -4, 3}, true, {}, 0},
              {"OneOutsideTwoOn", {9, 3, 4, 3, 5, 0}, false, {}, 2},
              {"OneOutside",
               {10, 0, 0, 0.5F, 0, -0.5F},
               true,
               {10, 0, 4.99373039F, 0.25031348F, 4.99373039F, -0.25031348F},
               2},
              {"TwoOutsideFirstDiagonal",
               {0, 0, 10, 0, 0, 20},
               true,
               {10, 0, 0, 20, 0, 5, 10, 0, 5, 0, 0, 5},
               2},
              {"TwoOutsideSecondDiagonal",
               {0, 0, 20, 0, 0, 10},
               true,
               {20, 0, 0, 10, 5, 0, 0, 10, 5, 0, 0, 5},
               2},
              {"OneOfEach", {1, 0, 3, 4, 9, 0}, true, {9, 0, 3, 4, 5, 0}, 2},
              {"OneOfEachMirrored", {3, 4, 1, 0, 9, 0}, true, {9, 0, 3, 4, 5, 0}, 2}},
             false);
}

TEST(TrimOfFace, FollowsTheClassesOfASlot) {
  checkFaces({{"AllOutside", {18, 0, 19, 0, 18, 1}, false, {}, 0},
              {"AllInsideOrOnTheOutline", {-15, 0, 15, 0, 3, 5}, true, {}, 0},
              {"OneOutsideAboveASide", {0, 9, -4, 1, 4, 1}, true, {0, 9, -2, 5, 2, 5}, 2},
              {"TwoOutsideBelowASide",
               {0, -1, -4, -9, 4, -9},
               true,
               {-4, -9, 4, -9, -2, -5, 4, -9, -2, -5, 2, -5},
               2},
              {"TwoOutsideWithTheLongerDiagonal",
               {0, 0, 0, 8, -40, 40},
               true,
               {0, 8, -40, 40, 0, 5, -40, 40, 0, 5, -5, 5},
               2},
              {"TwoOutsideAtAnArc",
               {12, 0, 22, 5, 22, -5},
               true,
               {22, 5, 22, -5, 14.8F, 1.4F, 22, -5, 14.8F, 1.4F, 14.8F, -1.4F},
               2},
              {"OneOutsideRoundAJunction",
               {11, 8, 14.5F, 1, 7, 2},
               true,
               {11, 8, 13, 4, 10, 5, 11, 8, 9, 5, 10, 5},
               4},
              {"TwoOutsideRoundAJunction",
               {9, 3, 9, 9, 20, 3},
               true,
               {9, 5, 9, 9, 10, 5, 14, 3, 20, 3, 10, 5, 9, 9, 20, 3, 10, 5},
               4},
              {"TwoOutsideRoundTheOppositeJunction",
               {-9, -3, -9, -9, -20, -3},
               true,
               {-9, -5, -9, -9, -10, -5, -14, -3, -20, -3, -10, -5, -9, -9, -20, -3, -10, -5},
               4},
              {"JunctionAtTheCut",
               {9, 3, 11, 7, 20, 3},
               true,
               {11, 7, 20, 3, 10, 5, 20, 3, 10, 5, 14, 3},
               2},
              {"CutPointsTooNear", {0, 5.0005F, -0.0004F, 4.9F, 0.0004F, 4.9F}, false, {}, 0}},
             true);
}

TEST(TrimOfFace, InterpolatesTheHeightsOfCutAndJunction) {
  // Heights are 2 x - y, so every new vertex must have that height as well, but for the junction,
  // whose height lies between those of the cut points beside it.
  for (const bool is_slot : {false, true}) {
    const Trim trim = {kWorld, {0, 0, 0}, is_slot ? 10.0F : 0.0F, 5, is_slot};
    Mesh mesh;
    for (const cv::Vec2f& p :
         {cv::Vec2f(9, 3), cv::Vec2f(9, 9), cv::Vec2f(20, 3), cv::Vec2f(1, 2)}) {
      mesh.vertices.insert(mesh.vertices.end(), {p[0], p[1], 2 * p[0] - p[1]});
    }
    mesh.faces = {0, 1, 2, 1, 2, 3};
    for (const Triangle& t : trianglesOf(trim.run(mesh, false).newVertices)) {
      for (const cv::Vec3d& p : t) {
        const bool is_junction = is_slot && cv::norm(cv::Vec2d(p[0] - 10, p[1] - 5)) < 1e-4;
        const double from_p = 1.0, from_q = std::hypot(4, 2);  // to (9, 5) and (14, 3)
        const double at_junction = 13 + (25 - 13) * from_p / (from_p + from_q);
        if (is_junction && std::fabs(p[2] - at_junction) < 1e-4) continue;
        EXPECT_NEAR(p[2], 2 * p[0] - p[1], is_junction ? 3.0 : 1e-4) << p;
      }
    }
  }
}

TEST(TrimOfFace, WallWithoutAreaTakesTheReferenceNormalAsItStands) {
  // A wall of height 0 at (5, 0, 12) and (3, 4, 12): d has the length 13 and the height 12.
  const Trim trim = {kWorld, {0, 0, 0}, 0, 5, false};
  const Mesh mesh = {{9, 3, 12, 3, 4, 12, 5, 0, 12}, {0, 2, 1}};
  const ModifyFaceData change = trim.run(mesh, true, 0.0F);
  EXPECT_THAT(change.removedFaces, IsEmpty());
  EXPECT_THAT(change.sourceFaces, ElementsAre(0, 0));
  const float up = 12.0F / 13.0F - 12.0F;
  EXPECT_THAT(change.newNormals, testing::Pointwise(testing::FloatNear(1e-5F),
                                                    std::vector<float>{-5, 0, up, -5, 0, up}));
  EXPECT_THAT(change.newVertices, ElementsAreArray({5, 0, 12, 3, 4, 12, 5, 0, 12,  //
                                                    5, 0, 12, 3, 4, 12, 3, 4, 12}));
}

TEST(Trim, CodesOfWrongCurvesAndWalls) {
  const Mesh mesh = sheet(kWorld, 20, 0);
  const auto normals = mesh.normals();
  XFCircle3D circle = circleIn(kWorld, {30, 30, 0}, 8);
  XFOvalGroove3D slot = slotIn(kWorld, {30, 30, 0}, 5, 4);
  XTrimWithCurve trim;
  ModifyFaceData result;
  const auto run = [&](xgeofeature::XFBase* curve, bool as_slot, float height, bool walls) {
    result.removedFaces = {-7};
    return as_slot ? trim.trimWithOvalSlot(curve, mesh.vertices.data(), mesh.vertexCount(),
                                           normals.data(), mesh.faces.data(), mesh.faceCount(),
                                           result, height, walls)
                   : trim.trimWithCircle(curve, mesh.vertices.data(), mesh.vertexCount(),
                                         normals.data(), mesh.faces.data(), mesh.faceCount(),
                                         result, height, walls);
  };
  for (const bool as_slot : {false, true}) {
    xgeofeature::XFBase* right = as_slot ? static_cast<xgeofeature::XFBase*>(&slot) : &circle;
    xgeofeature::XFBase* wrong = as_slot ? static_cast<xgeofeature::XFBase*>(&circle) : &slot;
    for (xgeofeature::XFBase* curve : {wrong, static_cast<xgeofeature::XFBase*>(nullptr)}) {
      EXPECT_EQ(run(curve, as_slot, -1, true), -1);
      EXPECT_THAT(result.removedFaces, ElementsAre(-7));
    }
    EXPECT_EQ(run(right, as_slot, -1e-6F, true), -2);
    EXPECT_THAT(result.removedFaces, ElementsAre(-7));
    EXPECT_EQ(run(right, as_slot, -1, false), 0);
    EXPECT_THAT(result.removedFaces, testing::Contains(testing::Ge(0)));
    EXPECT_THAT(result.removedFaces, testing::Not(testing::Contains(-7)));
    EXPECT_EQ(run(right, as_slot, 0, true), 0);
  }
  // The short forms: walls of height 1.
  const auto full = Trim{kWorld, {30, 30, 0}, 0, 8, false}.run(mesh, true, 1.0F);
  EXPECT_EQ(trim.trimWithCircle(&circle, mesh.vertices.data(), mesh.vertexCount(), normals.data(),
                                mesh.faces.data(), mesh.faceCount(), result),
            0);
  EXPECT_EQ(recordsOf(result), recordsOf(full));
  const auto full_slot = Trim{kWorld, {30, 30, 0}, 5, 4, true}.run(mesh, true, 1.0F);
  EXPECT_EQ(trim.trimWithOvalSlot(&slot, mesh.vertices.data(), mesh.vertexCount(), normals.data(),
                                  mesh.faces.data(), mesh.faceCount(), result),
            0);
  EXPECT_EQ(recordsOf(result), recordsOf(full_slot));
}

TEST(Trim, KeepsFacesThatItCannotJudge) {
  // Face 0 crosses the curve; the others have an index out of range or a corner without a place.
  const Mesh mesh = {{0, 0, 0, 9, 0, 0, 0, 9, 0, kNaN, 0, 0, 1, INFINITY, 0},
                     {0, 1, 2, 0, 1, 5, -1, 0, 1, 0, 3, 1, 3, 3, 3, 0, 4, 1}};
  for (const bool is_slot : {false, true}) {
    const Trim trim = {kWorld, {0, 0, 0}, 0, 5, is_slot};
    EXPECT_THAT(Trim(trim).run({{mesh.vertices}, {0, 1, 2}}, false).removedFaces, ElementsAre(0));
    const std::vector<float> normals(18, 1.0F);
    XTrimWithCurve cutter;
    ModifyFaceData result;
    XFCircle3D circle = circleIn(kWorld, {0, 0, 0}, 5);
    XFOvalGroove3D slot = slotIn(kWorld, {0, 0, 0}, 1, 5);
    const auto run = [&](const float* vertices, int vertex_count, const float* n, const int* faces,
                         int face_count) {
      result = {};
      const int code = is_slot ? cutter.trimWithOvalSlot(&slot, vertices, vertex_count, n, faces,
                                                         face_count, result)
                               : cutter.trimWithCircle(&circle, vertices, vertex_count, n, faces,
                                                       face_count, result);
      EXPECT_EQ(code, 0);
      return result.removedFaces;
    };
    const float* v = mesh.vertices.data();
    const int* f = mesh.faces.data();
    EXPECT_THAT(run(v, 5, normals.data(), f, 6), ElementsAre(0));
    EXPECT_THAT(run(v, 2, normals.data(), f, 6), IsEmpty());
    EXPECT_THAT(run(v, 5, normals.data(), f, 0), IsEmpty());
    EXPECT_THAT(run(v, 5, normals.data(), f, -3), IsEmpty());
    EXPECT_THAT(run(nullptr, 5, normals.data(), f, 6), IsEmpty());
    EXPECT_THAT(run(v, 5, nullptr, f, 6), IsEmpty());
    EXPECT_THAT(run(v, 5, normals.data(), nullptr, 6), IsEmpty());
    circle.center[1] = slot.center[1] = kNaN;
    EXPECT_THAT(run(v, 5, normals.data(), f, 6), IsEmpty());
    circle = circleIn(kWorld, {1e30, 0, 0}, 1e30F);
    slot = slotIn({{0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}}, {1e30, 0, 0}, -1, -1);
    run(v, 5, normals.data(), f, 6);
  }
}

TEST(Trim, AFailingTaskIsWaitedForAndItsExceptionHandedOn) {
  const Mesh mesh = sheet(kWorld, 400, 0);
  const auto normals = mesh.normals();
  XFCircle3D circle = circleIn(kWorld, {30, 30, 0}, 25);
  XTrimWithCurve trim;
  ModifyFaceData result;
  const auto cut = [&] {
    trim.trimWithCircle(&circle, mesh.vertices.data(), mesh.vertexCount(), normals.data(),
                        mesh.faces.data(), mesh.faceCount(), result);
  };
  {
    const zelmo::test::FailingAllocation failing(1 << 14);
    EXPECT_THROW(cut(), std::bad_alloc);
  }
  cut();  // no lock was left behind
  EXPECT_EQ(recordsOf(result), recordsOf(Trim{kWorld, {30, 30, 0}, 0, 25, false}.run(mesh, true)));
}

TEST(TrimTransform, FindsTheMotionOfThreePoints) {
  const float from[9] = {1, 0, 0, 0, 2, 0, 0, 0, 3};
  float to[9];
  for (int i = 0; i < 3; ++i) {
    const cv::Vec3f p(kTilted.toWorld(at(from + 3 * i)));
    std::copy_n(p.val, 3, to + 3 * i);
  }
  double m[16], back[16];
  EXPECT_EQ(XTrim::getRTDirect2(from, to, m), 0);
  EXPECT_THAT(std::vector<double>(m + 12, m + 16), ElementsAre(0, 0, 0, 1));
  EXPECT_EQ(XTrim::convertMatrixRT(m, back), 0);
  XTrim trim;
  for (int i = 0; i < 3; ++i) {
    float out[3], flat[2], lifted[3];
    trim.transformPoint(from + 3 * i, m, out);
    EXPECT_LT(cv::norm(at(out) - at(to + 3 * i)), 1e-5);
    trim.transformPoint(out, back, out);
    EXPECT_LT(cv::norm(at(out) - at(from + 3 * i)), 1e-5);
    // Into the plane z = 0 of the first frame and out of it: the height is lost.
    trim.transformPoint2(to + 3 * i, back, flat);
    EXPECT_NEAR(flat[0], from[3 * i], 1e-5);
    EXPECT_NEAR(flat[1], from[3 * i + 1], 1e-5);
    trim.transformPoint3(flat, m, lifted);
    EXPECT_LT(cv::norm(at(lifted) - kTilted.toWorld({flat[0], flat[1], 0})), 1e-5);
  }
}

TEST(TrimTransform, IsARotationWhateverThePoints) {
  const float from[9] = {1, 0, 0, 0, 2, 0, 0, 0, 3};
  const std::array<float, 9> targets[] = {{-1, 0, 0, 0, 2, 0, 0, 0, 3},  // mirrored
                                          {1, 1, 1, 2, 2, 2, 5, 5, 5},   // collinear
                                          {4, 4, 4, 4, 4, 4, 4, 4, 4},   // coincident
                                          {0, 1, 0, 2, 0, 0, 0, 0, -3},
                                          {1e30F, 0, 0, 0, 1e30F, 0, 0, 0, 1e30F}};
  for (const auto& to : targets) {
    double m[16] = {};
    EXPECT_EQ(XTrim::getRTDirect2(from, to.data(), m), 0);
    const cv::Matx33d r(m[0], m[1], m[2], m[4], m[5], m[6], m[8], m[9], m[10]);
    EXPECT_LT(cv::norm(r * r.t() - cv::Matx33d::eye()), 1e-12);
    EXPECT_NEAR(cv::determinant(r), 1, 1e-12);
  }
  double m[16] = {};
  const float nan_to[9] = {kNaN};
  EXPECT_EQ(XTrim::getRTDirect2(from, nan_to, m), 0);
  EXPECT_EQ(m[0], 1);
  EXPECT_EQ(m[15], 1);
  cv::Mat r;
  EXPECT_THROW(XTrim::getMatR_svd(cv::Mat(), r), cv::Exception);
  XTrim::getMatR_svd(cv::Mat::diag(cv::Mat(cv::Vec3f(2, 3, -1))), r);
  EXPECT_NEAR(cv::determinant(r), 1, 1e-6);
}

}  // namespace
}  // namespace vorn::quil::xtirm
