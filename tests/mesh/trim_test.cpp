// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/mesh/trim.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <map>
#include <set>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include "chains.h"
#include "support/meshes.h"
#include "support/reference_data.h"
#include "zelmo/feature/circle.h"
#include "zelmo/feature/oval_groove.h"
#include "zelmo/mesh/trim_with_curve.h"

namespace vorn::quil::xtirm {
namespace {

using testing::ElementsAre;
using testing::FloatNear;
using testing::IsEmpty;
using testing::Pointwise;
using zelmo::test::chainsOf;
using zelmo::test::Mesh;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kShortForm = -5;  // for a wall's height

cv::Vec3d at(const float* p) { return {p[0], p[1], p[2]}; }

struct Pose {
  cv::Vec3d origin, x, y, z;
  cv::Vec3d toWorld(const cv::Vec3d& p) const { return origin + x * p[0] + y * p[1] + z * p[2]; }
  cv::Vec3d toLocal(const cv::Vec3d& p) const {
    return {(p - origin).dot(x), (p - origin).dot(y), (p - origin).dot(z)};
  }
};
const Pose kWorld = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
const Pose kTilted = {{30, -20, 50}, {0.6, 0.64, 0.48}, {0.8, -0.48, -0.36}, {0, 0.6, -0.8}};

/// One trim of either kind; the circle is a slot without straight sides.
struct Trim {
  Pose pose;
  cv::Vec3f center;  // in the pose
  float half, radius;
  bool is_slot;
  enum Curve { Right, Wrong, None } curve = Right;

  int run(const Mesh& mesh, const std::vector<float>& normals, ModifyFaceData& result, float height,
          bool walls) const {
    const cv::Vec3f c(pose.toWorld(center)), z(pose.z), x(pose.x);
    xgeofeature::XFCircle3D circle(c.val, z.val, x.val, radius);
    xgeofeature::XFOvalGroove3D slot(c.val, z.val, x.val, half, radius);
    xgeofeature::XFBase* given = &circle;
    if (is_slot == (curve == Right)) given = &slot;
    if (curve == None) given = nullptr;
    XTrimWithCurve trim;
    const float *v = mesh.vertices.data(), *n = normals.data();
    const int *f = mesh.faces.data(), vertices = mesh.vertexCount(), faces = mesh.faceCount();
    const auto cut = [&](auto... wall) {
      return is_slot ? trim.trimWithOvalSlot(given, v, vertices, n, f, faces, result, wall...)
                     : trim.trimWithCircle(given, v, vertices, n, f, faces, result, wall...);
    };
    return height == kShortForm ? cut() : cut(height, walls);
  }
  ModifyFaceData run(const Mesh& mesh, float height = 0, bool walls = false) const {
    ModifyFaceData result = {{1}, {1}, {1}, {1}};  // to be cleared
    EXPECT_EQ(run(mesh, mesh.normals(), result, height, walls), 0);
    return result;
  }

  cv::Vec3d local(const float* p) const { return pose.toLocal(at(p)) - cv::Vec3d(center); }
  /// How far a local point lies outside the outline; negative inside.
  double clearance(const cv::Vec3d& p) const {
    return std::hypot(std::max(0.0, std::fabs(p[0]) - half), p[1]) - radius;
  }
};

using Record = std::vector<float>;

/// The new triangles of each face, with their normals, in the order in which they were added.
std::map<int, std::vector<Record>> recordsOf(const ModifyFaceData& data) {
  std::map<int, std::vector<Record>> records;
  EXPECT_EQ(data.newVertices.size(), 9 * data.sourceFaces.size());
  EXPECT_EQ(data.newNormals.size(), 3 * data.sourceFaces.size());
  for (std::size_t i = 0; i < data.sourceFaces.size(); ++i) {
    Record r(&data.newVertices[9 * i], &data.newVertices[9 * i] + 9);
    r.insert(r.end(), &data.newNormals[3 * i], &data.newNormals[3 * i] + 3);
    records[data.sourceFaces[i]].push_back(r);
  }
  return records;
}

/// What the host makes of a mesh and a trim.
Mesh applied(const Mesh& mesh, const ModifyFaceData& change) {
  const std::set<int> removed(change.removedFaces.begin(), change.removedFaces.end());
  EXPECT_EQ(removed.size(), change.removedFaces.size());
  Mesh out = {mesh.vertices, {}};
  for (int i = 0; i < mesh.faceCount(); ++i) {
    const int* f = &mesh.faces[static_cast<std::size_t>(3 * i)];
    if (removed.count(i) == 0) out.faces.insert(out.faces.end(), f, f + 3);
  }
  out.vertices.insert(out.vertices.end(), change.newVertices.begin(), change.newVertices.end());
  for (int v = mesh.vertexCount(); v < out.vertexCount(); ++v) out.faces.push_back(v);
  return out;
}

/// Area along z of a polygon.
double flatArea(const std::vector<cv::Vec3d>& p) {
  double sum = 0;
  for (std::size_t i = 0; i < p.size(); ++i) sum += 0.5 * p[i].cross(p[(i + 1) % p.size()])[2];
  return std::fabs(sum);
}

using Pieces = std::vector<std::array<float, 6>>;  // of a cut, straight ones

/// Checks the two triangles of a wall of height 2.5.
void checkWall(const Trim& trim, const Record& upper, const Record& lower, double tolerance) {
  const cv::Vec3d p = at(&upper[0]), q = at(&upper[3]), drop = trim.pose.z * 2.5;
  EXPECT_LT(cv::norm(at(&upper[6]) - (p - drop)) + cv::norm(at(&lower[6]) - (q - drop)), 1e-4);
  EXPECT_TRUE(std::equal(&lower[0], &lower[3], &upper[6]));
  EXPECT_TRUE(std::equal(&lower[3], &lower[6], &upper[3]));
  const cv::Vec3d from_axis = trim.local(&upper[0]);
  EXPECT_NEAR(trim.clearance(from_axis), 0, tolerance);
  for (const Record* r : {&upper, &lower}) {
    const cv::Vec3d n = at(&(*r)[9]);
    EXPECT_LT(n.dot(trim.pose.x * from_axis[0] + trim.pose.y * from_axis[1]), 0)
        << "not to the axis";
    if (cv::norm(q - p) < 1e-3) continue;
    EXPECT_NEAR(cv::norm(n), 1, 1e-5);
    EXPECT_LT(std::fabs(n.dot(cv::normalize(q - p))) + std::fabs(n.dot(trim.pose.z)), 2e-2);
  }
}

/// Checks a trim face by face. \return the area taken out, along z
double checkTrim(const Trim& trim, const Mesh& mesh, double tolerance, Pieces& pieces) {
  const ModifyFaceData change = trim.run(mesh), walled = trim.run(mesh, 2.5F, true);
  auto parts = recordsOf(change), parts_and_walls = recordsOf(walled);
  EXPECT_EQ(recordsOf(trim.run(mesh)), parts);
  const std::set<int> removed(change.removedFaces.begin(), change.removedFaces.end());
  EXPECT_EQ(std::set<int>(walled.removedFaces.begin(), walled.removedFaces.end()), removed);
  const auto normals = mesh.normals();
  double taken_out = 0;
  for (int i = 0; i < mesh.faceCount(); ++i) {
    SCOPED_TRACE(i);
    std::vector<cv::Vec3d> c, inside, cut;
    for (int k = 0; k < 3; ++k) c.push_back(trim.local(mesh.corner(i, k)));
    double kept = removed.count(i) == 0 ? flatArea(c) : 0;
    for (const Record& r : parts[i]) {
      EXPECT_EQ(removed.count(i), 1U);
      EXPECT_TRUE(std::equal(&r[9], &r[9] + 3, &normals[static_cast<std::size_t>(3 * i)]));
      kept += flatArea({trim.local(&r[0]), trim.local(&r[3]), trim.local(&r[6])});
      for (std::size_t k = 0; k < 9; k += 3) {
        const cv::Vec3d p = trim.local(&r[k]);
        EXPECT_GT(trim.clearance(p), -tolerance);
        // The height of a junction comes from the cut points beside it, so it leaves the face a bit.
        if (std::hypot(std::fabs(p[0]) - trim.half, std::fabs(p[1]) - trim.radius) < 1e-3) continue;
        EXPECT_NEAR((at(&r[k]) - at(mesh.corner(i, 0))).dot(at(&r[9])), 0, tolerance);
      }
    }
    const auto& walls = parts_and_walls[i];
    for (std::size_t w = parts[i].size(); w + 1 < walls.size(); w += 2) {
      checkWall(trim, walls[w], walls[w + 1], tolerance);
      pieces.emplace_back();
      std::copy_n(walls[w].begin(), 6, pieces.back().begin());
      if (cut.empty()) cut.push_back(trim.local(&walls[w][0]));
      cut.push_back(trim.local(&walls[w][3]));
    }
    // What was taken out of the face: its corners inside, in its turn, and the cut.
    const auto is_inside = [&](std::size_t k) { return trim.clearance(c[k % 3]) < 0; };
    const std::size_t first = is_inside(0) ? is_inside(2) && !is_inside(1) ? 2 : 0 : 1;
    for (std::size_t k = first; k < first + 3; ++k) {
      if (is_inside(k)) inside.push_back(c[k % 3]);
    }
    if (inside.size() == 2) std::reverse(cut.begin(), cut.end());
    inside.insert(inside.end(), cut.begin(), cut.end());
    taken_out += flatArea(c) - kept;
    // A corner that all but lies on the outline may leave its face as it is.
    const auto near = [&](const cv::Vec3d& p) { return std::fabs(trim.clearance(p)) < tolerance; };
    if (std::any_of(c.begin(), c.end(), near)) continue;
    EXPECT_TRUE(removed.count(i) == 1 || inside.empty());
    EXPECT_NEAR(kept + flatArea(inside), flatArea(c), tolerance * cv::norm(c[1] - c[0]));
  }
  return taken_out;
}

Mesh sheet(const Pose& pose, int squares, double bend) {
  Mesh mesh = zelmo::test::heightField(
      squares, squares, 60.0F / static_cast<float>(squares),
      [bend](float x, float y) { return bend * std::sin(x * 0.2) * std::cos(y * 0.15); });
  for (std::size_t i = 0; i < mesh.vertices.size(); i += 3) {
    const cv::Vec3f p(pose.toWorld(at(&mesh.vertices[i])));
    std::copy_n(p.val, 3, &mesh.vertices[i]);
  }
  return mesh;
}

TEST(TrimOfSheet, LeavesTheSheetWithoutTheHolesAndClosesThemByWalls) {
  for (const Pose& pose : {kWorld, kTilted}) {
    for (const int squares : {37, 160}) {
      SCOPED_TRACE(testing::Message() << pose.z << " squares " << squares);
      Mesh mesh = sheet(pose, squares, squares == 37 ? 0 : 5);
      // One after the other: the host applies one trim before the next.
      for (const Trim& trim : {Trim{pose, {15.2F, 15.4F, 0}, 0, 9.03F, false},
                               Trim{pose, {42.31F, 40.27F, 0}, 7.1F, 6.13F, true},
                               Trim{pose, {40.3F, 16.6F, 0}, 0, 8.5F, false}}) {
        Pieces pieces;
        const double area = checkTrim(trim, mesh, trim.is_slot ? 2e-3 : 2e-4, pieces);
        const double ideal = CV_PI * trim.radius * trim.radius + 4.0 * trim.half * trim.radius;
        EXPECT_LT(area, ideal * 1.0001);
        EXPECT_GT(area, ideal * 0.98);
        const auto chains = chainsOf(pieces, 2e-3);
        EXPECT_EQ(chains.loops, 1U);
        EXPECT_EQ(chains.open, 0U);
        mesh = applied(mesh, trim.run(mesh));
      }
    }
  }
}

TEST(TrimOfReferenceMesh, LeavesEachFaceWithoutTheHole) {
  ZELMO_REQUIRE_REFERENCE_DATA("meshes/plate_holes.STL");
  for (const auto& [file, scale, trim] :
       {std::tuple("plate_holes.STL", 1, Trim{kWorld, {100, 152, 5}, 0, 40, false}),
        std::tuple("plate_holes.STL", 1, Trim{kWorld, {100, 152, 5}, 40, 20, true}),
        std::tuple("bunny.off", 1024, Trim{kWorld, {-20, 110, 0}, 0, 15, false}),
        std::tuple("busted.STL", 1, Trim{kWorld, {0.1F, 24, -5}, 1, 0.9F, true}),
        std::tuple("soup.stl", 8, Trim{kTilted, {-22, -16, 0}, 0, 3, false}),
        std::tuple("unit_sphere.STL", 16, Trim{kWorld, {0.5F, 0.3F, 0}, 3, 4, true})}) {
    SCOPED_TRACE(file);
    Mesh mesh = zelmo::test::readMesh(zelmo::test::referenceData("meshes/" + std::string(file)));
    for (float& v : mesh.vertices) v *= static_cast<float>(scale);
    Pieces pieces;
    EXPECT_GT(checkTrim(trim, mesh, 2e-3, pieces), 0);
    // All but the soup are closed, and so are their cuts.
    EXPECT_EQ(chainsOf(pieces, 2e-3).open == 0, std::string(file) != "soup.stl");
  }
}

// One triangle at a time against the circle of radius 5 about the origin, or the slot of half 10 and
// radius 5. (3, 4), (4, 3), (5, 0) and their mirror images lie on the circle.
struct FaceCase {
  const char* name;
  const char* corners;  // x, y of each
  int walls;            // wall triangles; -1 where the face stays as it is
  const char* parts;    // x, y of the corners of each new triangle
  cv::Vec2f slope = {0, 0};
  double junction_height = 0;
};

std::vector<float> numbers(const char* text) {
  std::istringstream in(text);
  return {std::istream_iterator<float>(in), {}};
}

void checkFaces(const std::vector<FaceCase>& cases, bool is_slot) {
  const Trim trim = {kWorld, {0, 0, 0}, is_slot ? 10.0F : 0.0F, 5, is_slot};
  for (const FaceCase& c : cases) {
    SCOPED_TRACE(c.name);
    const auto raised = [&](const std::vector<float>& flat, bool with_junction) {
      std::vector<float> out;
      for (std::size_t k = 0; k + 1 < flat.size(); k += 2) {
        const bool is_junction = with_junction && std::fabs(flat[k]) == 10 && flat[k + 1] == 5;
        const float z = c.slope.dot({flat[k], flat[k + 1]});
        out.insert(out.end(),
                   {flat[k], flat[k + 1], is_junction ? static_cast<float>(c.junction_height) : z});
      }
      return out;
    };
    const auto expected = raised(numbers(c.parts), is_slot);
    for (int turn = 0; turn < 3; ++turn) {  // the lone vertex may stand anywhere
      const Mesh mesh = {raised(numbers(c.corners), false), {turn, (turn + 1) % 3, (turn + 2) % 3}};
      const ModifyFaceData change = trim.run(mesh);
      EXPECT_EQ(change.removedFaces.size(), c.walls < 0 ? 0U : 1U);
      EXPECT_THAT(change.newVertices, Pointwise(FloatNear(2e-5F), expected));
      const std::size_t walls = trim.run(mesh, 1, true).sourceFaces.size() - expected.size() / 9;
      EXPECT_EQ(walls, static_cast<std::size_t>(std::max(0, c.walls)));
    }
  }
}

TEST(TrimOfFace, FollowsTheClassesOfACircle) {
  checkFaces({{"AllOutside", "8 0 9 0 8 1", -1, ""},
              {"TwoOutsideOneOn", "5 0 9 0 8 1", -1, ""},
              {"AllInside", "1 0 2 0 1 1", 0, ""},
              {"TwoInsideOneOn", "5 0 2 0 1 1", 0, ""},
              {"OnByASquareOf9.5e-7", "2.99999952 4.00000048 2 0 1 1", 0, ""},
              {"OutsideByASquareOf1.4e-6", "3.00000024 4 2 0 1 1", 2, "3 4 3 4 3 4"},
              {"OneInsideTwoOn", "5 0 2 0 4 3", 0, ""},
              {"AllOn", "5 0 3 4 -4 3", 0, ""},
              {"OneOutside", "13 0 1 4 0 0", 2, "13 0 4 3 5 0", {2, -1}},
              {"FirstDiagonal", "0 0 10 0 0 20", 2, "10 0 0 20 0 5 10 0 5 0 0 5"},
              {"SecondDiagonal", "0 0 20 0 0 10", 2, "20 0 0 10 5 0 0 10 5 0 0 5"},
              {"DiagonalInThePlane", "0 0 10 0 0 20", 2, "10 0 0 20 0 5 10 0 5 0 0 5", {9, 0}},
              {"OneOfEach", "1 0 3 4 9 0", 2, "9 0 3 4 5 0", {2, -1}},
              {"OneOfEachMirrored", "3 4 1 0 9 0", 2, "9 0 3 4 5 0"}},
             false);
}

TEST(TrimOfFace, FollowsTheClassesOfASlot) {
  checkFaces({{"AllOutside", "18 0 19 0 18 1", -1, ""},
              {"AllInsideOrOnTheOutline", "-15 0 15 0 3 5", 0, ""},
              {"OneOutsideAboveASide", "0 9 -4 1 4 1", 2, "0 9 -2 5 2 5"},
              {"LongerDiagonal", "0 0 0 8 -40 40", 2, "0 8 -40 40 0 5 -40 40 0 5 -5 5"},
              {"AtAnArc", "12 0 22 5 22 -5", 2, "22 5 22 -5 14.8 1.4 22 -5 14.8 1.4 14.8 -1.4"},
              {"OneOutsideRoundAJunction", "11 8 14.5 1 7 2", 4, "11 8 13 4 10 5 11 8 9 5 10 5"},
              {"TwoOutsideRoundAJunction",
               "9 3 9 9 20 3",
               4,
               "9 5 9 9 10 5 14 3 20 3 10 5 9 9 20 3 10 5",
               {2, -1},
               13 + (25 - 13) / (1 + std::hypot(4, 2))},
              {"TwoOutsideRoundTheOppositeJunction", "-9 -3 -9 -9 -20 -3", 4,
               "-9 -5 -9 -9 -10 -5 -14 -3 -20 -3 -10 -5 -9 -9 -20 -3 -10 -5"},
              {"CornerOnAnArc", "22 5 13 4 10 2", 2, "22 5 13 4 14 3"},
              {"JunctionAtTheCut", "9 3 11 7 20 3", 2, "11 7 20 3 10 5 20 3 10 5 14 3"},
              {"SpansBelow0.001AreVertical", "0 9 0.0008 3 4 1", 2, "0 9 0.0004 5 2 5"},
              {"WiderOnesAreNot", "0 9 0.06 3 4 1", 2, "0 9 0.04 5 2 5"},
              {"NoCrossingOfOneEdge", "14.9997 0 15.0006 0 20 3", -1, ""},
              {"CutPointsTooNear", "0 5.0005 -0.0004 4.9 0.0004 4.9", -1, ""}},
             true);
}

TEST(TrimOfFace, WallWithoutAreaTakesTheReferenceNormalAsItStands) {
  struct Case {
    float radius, z, height;
    double length;  // of the normal
  };
  // From (5, 0) to (3, 4) of the circle; below 0.0001 of twice the area the reference normal stands.
  for (const Case& c : {Case{5, 12, 0, std::hypot(5, 12.0 / 13 - 12)}, Case{5, 0, 2e-5F, 5},
                        Case{5, 0, 3e-5F, 1}, Case{0, 1, 1, 0}}) {
    Mesh mesh = {{9, 3, c.z, 3, 4, c.z, 5, 0, c.z}, {0, 2, 1}};
    if (c.radius == 0) mesh.vertices = {9, 3, c.z, 5e-5F, 0, c.z, 0, 0, c.z};
    const ModifyFaceData change =
        Trim{kWorld, {0, 0, 0}, 0, c.radius, false}.run(mesh, c.height, true);
    EXPECT_THAT(change.removedFaces, IsEmpty());
    EXPECT_THAT(change.sourceFaces, ElementsAre(0, 0));
    EXPECT_NEAR(cv::norm(at(change.newNormals.data())), c.length, 1e-4) << c.height;
  }
}

TEST(Trim, CodesOfWrongCurvesAndWalls) {
  const Mesh mesh = sheet(kWorld, 20, 0);
  for (const bool is_slot : {false, true}) {
    Trim trim = {kWorld, {30, 30, 0}, 5, 8, is_slot};
    ModifyFaceData result;
    const auto run = [&](Trim::Curve curve, float height, bool walls) {
      trim.curve = curve;
      result.removedFaces = {-7};
      return trim.run(mesh, mesh.normals(), result, height, walls);
    };
    EXPECT_EQ(run(Trim::Wrong, -1, true), -1);
    EXPECT_EQ(run(Trim::None, 1, true), -1);
    EXPECT_EQ(run(Trim::Right, -1e-6F, true), -2);
    EXPECT_THAT(result.removedFaces, ElementsAre(-7));
    EXPECT_EQ(run(Trim::Right, 0, true), 0);
    EXPECT_EQ(run(Trim::Right, -1, false), 0);
    EXPECT_EQ(run(Trim::Right, kShortForm, false), 0);  // walls of height 1
    EXPECT_EQ(recordsOf(result), recordsOf(trim.run(mesh, 1, true)));
  }
}

TEST(Trim, KeepsFacesThatItCannotJudge) {
  // Face 0 crosses the curve; the others have an index out of range or a corner without a place.
  const Mesh mesh = {{0, 0, 0, 9, 0, 0, 0, 9, 0, kNaN, 0, 0, 1, INFINITY, 0},
                     {0, 1, 2, 0, 1, 5, -1, 0, 1, 0, 3, 1, 3, 3, 3, 0, 4, 1}};
  Mesh few = mesh, no_faces = mesh, no_vertices = mesh;
  few.vertices.resize(6);
  no_faces.faces.clear();
  no_vertices.vertices.clear();
  for (const bool is_slot : {false, true}) {
    Trim trim = {kWorld, {0, 0, 0}, 1, 5, is_slot};
    EXPECT_THAT(trim.run(mesh).removedFaces, ElementsAre(0));
    for (const Mesh& empty : {few, no_faces, no_vertices}) {
      EXPECT_THAT(trim.run(empty).removedFaces, IsEmpty());
    }
    ModifyFaceData result;
    EXPECT_EQ(trim.run(mesh, {}, result, 1, true), 0);
    EXPECT_THAT(result.removedFaces, IsEmpty());
    trim.center[1] = kNaN;
    EXPECT_THAT(trim.run(mesh).removedFaces, IsEmpty());
    Trim{kWorld, {1e30F, 0, 0}, -1, 1e30F, is_slot}.run(mesh);
    Trim{{{}, {}, {}, {}}, {0, 0, 0}, 1, 5, is_slot}.run(mesh);
  }
}

TEST(TrimTransform, FindsTheMotionOfThreePoints) {
  const float from[9] = {1, 0, 0, 0, 2, 0, 0, 0, 3};
  float to[9];
  for (int i = 0; i < 9; i += 3)
    std::copy_n(cv::Vec3f(kTilted.toWorld(at(from + i))).val, 3, to + i);
  double m[16], back[16];
  EXPECT_EQ(XTrim::getRTDirect2(from, to, m), 0);
  EXPECT_THAT(std::vector<double>(m + 12, m + 16), ElementsAre(0, 0, 0, 1));
  EXPECT_EQ(XTrim::convertMatrixRT(m, back), 0);
  XTrim trim;
  for (int i = 0; i < 9; i += 3) {
    float out[3], flat[2], lifted[3];
    trim.transformPoint(from + i, m, out);
    EXPECT_LT(cv::norm(at(out) - at(to + i)), 1e-5);
    trim.transformPoint(out, back, out);
    EXPECT_LT(cv::norm(at(out) - at(from + i)), 1e-5);
    // Into the plane z = 0 of the first frame and out of it: the height is lost.
    trim.transformPoint2(to + i, back, flat);
    trim.transformPoint3(flat, m, lifted);
    EXPECT_LT(cv::norm(at(lifted) - kTilted.toWorld({from[i], from[i + 1], 0})), 1e-5);
  }
}

TEST(TrimTransform, IsARotationWhateverThePoints) {
  const float from[9] = {1, 0, 0, 0, 2, 0, 0, 0, 3};
  for (const std::array<float, 9>& to : {std::array<float, 9>{-1, 0, 0, 0, 2, 0, 0, 0, 3},
                                         {1, 1, 1, 2, 2, 2, 5, 5, 5},
                                         {4, 4, 4, 4, 4, 4, 4, 4, 4},
                                         {1e30F, 0, 0, 0, 1e30F, 0, 0, 0, 1e30F},
                                         {kNaN}}) {
    double m[16] = {};
    EXPECT_EQ(XTrim::getRTDirect2(from, to.data(), m), 0);
    const cv::Matx33d r(m[0], m[1], m[2], m[4], m[5], m[6], m[8], m[9], m[10]);
    EXPECT_LT(cv::norm(r * r.t() - cv::Matx33d::eye()), 1e-12);
    EXPECT_NEAR(cv::determinant(r), 1, 1e-12);
    EXPECT_EQ(m[15], 1);
  }
  cv::Mat r;
  EXPECT_THROW(XTrim::getMatR_svd(cv::Mat(), r), cv::Exception);
  XTrim::getMatR_svd(cv::Mat::diag(cv::Mat(cv::Vec3f(2, 3, -1))), r);
  EXPECT_NEAR(cv::determinant(r), 1, 1e-6);
}

}  // namespace
}  // namespace vorn::quil::xtirm
