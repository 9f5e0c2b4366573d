// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/mesh/trim.h"

#include <algorithm>
#include <limits>
#include <set>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include "support/meshes.h"
#include "zelmo/feature/circle.h"
#include "zelmo/feature/oval_groove.h"
#include "zelmo/mesh/trim_with_curve.h"

namespace vorn::quil::xtirm {
namespace {

using testing::ElementsAre;
using testing::FloatNear;
using testing::IsEmpty;
using testing::Pointwise;
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
  /// How far a point lies outside the outline; negative inside.
  double clearance(const float* p) const {
    const cv::Vec3d q = local(p);
    return std::hypot(std::max(0.0, std::fabs(q[0]) - half), q[1]) - radius;
  }
};

/// A new triangle: its face, its corners and its normal.
struct Record {
  int face;
  std::array<cv::Vec3f, 4> v;
  bool operator==(const Record& other) const { return face == other.face && v == other.v; }
};

/// The new triangles, those of one face in the order in which they were added.
std::vector<Record> recordsOf(const ModifyFaceData& data) {
  std::vector<Record> records;
  EXPECT_EQ(data.newVertices.size(), 9 * data.sourceFaces.size());
  EXPECT_EQ(data.newNormals.size(), 3 * data.sourceFaces.size());
  for (std::size_t i = 0; i < data.sourceFaces.size(); ++i) {
    const float *v = &data.newVertices[9 * i], *n = &data.newNormals[3 * i];
    records.push_back(
        {data.sourceFaces[i], {cv::Vec3f(v), cv::Vec3f(v + 3), cv::Vec3f(v + 6), cv::Vec3f(n)}});
  }
  std::stable_sort(records.begin(), records.end(),
                   [](const Record& a, const Record& b) { return a.face < b.face; });
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

/// Area of a triangle along \p z.
double areaAlong(const cv::Vec3d& z, const float* a, const float* b, const float* c) {
  return std::fabs((at(b) - at(a)).cross(at(c) - at(a)).dot(z)) / 2;
}
double areaAlong(const cv::Vec3d& z, const Mesh& mesh) {
  double sum = 0;
  for (int i = 0; i < mesh.faceCount(); ++i) {
    sum += areaAlong(z, mesh.corner(i, 0), mesh.corner(i, 1), mesh.corner(i, 2));
  }
  return sum;
}

/// Checks the two triangles of a wall of height 2.5.
void checkWall(const Trim& trim, const Record& upper, const Record& lower, double tolerance) {
  const cv::Vec3f p = upper.v[0], q = upper.v[1], drop(trim.pose.z * 2.5), low_p = p - drop;
  EXPECT_LT(cv::norm(upper.v[2], low_p) + cv::norm(lower.v[0], low_p), 1e-4);
  EXPECT_LT(cv::norm(lower.v[1], q) + cv::norm(lower.v[2], q - drop), 1e-4);
  EXPECT_NEAR(trim.clearance(p.val), 0, tolerance);
  const cv::Vec3d outward = trim.local(p.val), along = cv::Vec3d(q) - cv::Vec3d(p);
  for (const cv::Vec3d n : {upper.v[3], lower.v[3]}) {
    EXPECT_LT(n.dot(trim.pose.x * outward[0] + trim.pose.y * outward[1]), 0) << "not to the axis";
    if (cv::norm(along) < 1e-3) continue;
    EXPECT_NEAR(cv::norm(n), 1, 1e-5);
    EXPECT_LT(std::fabs(n.dot(cv::normalize(along))) + std::fabs(n.dot(trim.pose.z)), 2e-2);
  }
}

/// Checks the triangles that a trim adds. \return the straight pieces of the cut
std::vector<std::array<cv::Vec3f, 2>> checkNew(const Trim& trim, const Mesh& mesh,
                                               double tolerance) {
  const std::vector<float> normals = mesh.normals();
  const std::vector<Record> all = recordsOf(trim.run(mesh, 2.5F, true));
  std::vector<Record> parts;
  std::vector<std::array<cv::Vec3f, 2>> pieces;
  for (std::size_t i = 0; i < all.size(); ++i) {
    const Record& r = all[i];
    SCOPED_TRACE(r.face);
    if (r.v[3] != cv::Vec3f(&normals[static_cast<std::size_t>(3 * r.face)])) {
      checkWall(trim, r, all.at(++i), tolerance);
      pieces.push_back({r.v[0], r.v[1]});
      continue;
    }
    parts.push_back(r);
    for (std::size_t k = 0; k < 3; ++k) {
      const cv::Vec3d p = trim.local(r.v[k].val);
      // The height of a junction comes from the cut points beside it, so it leaves the face a bit.
      if (std::hypot(std::fabs(p[0]) - trim.half, std::fabs(p[1]) - trim.radius) < 1e-3) continue;
      const cv::Vec3d offset = at(r.v[k].val) - at(mesh.corner(r.face, 0));
      EXPECT_NEAR(offset.dot(cv::Vec3d(r.v[3])), 0, tolerance);
    }
  }
  for (int round = 0; round < 2; ++round) EXPECT_EQ(recordsOf(trim.run(mesh)), parts);
  return pieces;
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
                               Trim{pose, {42.33F, 40.22F, 0}, 7.1F, 6.13F, true},
                               Trim{pose, {40.3F, 16.6F, 0}, 0, 8.5F, false}}) {
        const double tolerance = trim.is_slot ? 2e-3 : 2e-4;
        const auto pieces = checkNew(trim, mesh, tolerance);
        const Mesh left = applied(mesh, trim.run(mesh));
        for (int i = 0; i < 3 * left.faceCount(); ++i) {
          EXPECT_GT(trim.clearance(left.corner(i / 3, i % 3)), -tolerance) << i;
        }
        const double area = areaAlong(pose.z, mesh) - areaAlong(pose.z, left);
        const double ideal = CV_PI * trim.radius * trim.radius + 4.0 * trim.half * trim.radius;
        EXPECT_LT(area, ideal * 1.0001);
        EXPECT_GT(area, ideal * 0.98);
        const cv::Vec3f center = pose.toWorld(trim.center);
        double enclosed = 0;
        for (const auto& [p, q] : pieces) enclosed += areaAlong(pose.z, center.val, p.val, q.val);
        EXPECT_NEAR(area, enclosed, 1e-3);  // the walls go round without a gap
        mesh = left;
      }
    }
  }
}

// One triangle at a time against the circle of radius 5 about the origin, or the slot of half 10 and
// radius 5. (3, 4), (4, 3), (5, 0) and their mirror images lie on the circle.
struct FaceCase {
  const char* name;
  std::string corners;  // x, y of each
  int walls;            // wall triangles; -1 where the face stays as it is
  std::string parts;    // x, y of the corners of each new triangle
  cv::Vec2f slope = {0, 0};
  double junction_height = 0;
};

void checkFaces(const std::vector<FaceCase>& cases, bool is_slot) {
  const Trim trim = {kWorld, {0, 0, 0}, is_slot ? 10.0F : 0.0F, 5, is_slot};
  for (const FaceCase& c : cases) {
    SCOPED_TRACE(c.name);
    const auto raised = [&](const std::string& text, bool with_junction) {
      std::istringstream flat(text);
      std::vector<float> out;
      for (float x = 0, y = 0; flat >> x >> y;) {
        const bool is_junction = with_junction && std::fabs(x) == 10 && y == 5;
        const float z = is_junction ? static_cast<float>(c.junction_height) : c.slope.dot({x, y});
        out.insert(out.end(), {x, y, z});
      }
      return out;
    };
    const auto expected = raised(c.parts, is_slot);
    for (int turn = 0; turn < 3; ++turn) {  // the lone vertex may stand anywhere
      const Mesh mesh = {raised(c.corners, false), {turn, (turn + 1) % 3, (turn + 2) % 3}};
      const ModifyFaceData change = trim.run(mesh);
      EXPECT_EQ(change.removedFaces.size(), c.walls < 0 ? 0U : 1U);
      EXPECT_THAT(change.newVertices, Pointwise(FloatNear(2e-5F), expected));
      const std::size_t walls = trim.run(mesh, 1, true).sourceFaces.size() - expected.size() / 9;
      EXPECT_EQ(walls, static_cast<std::size_t>(std::max(0, c.walls)));
    }
  }
}

TEST(TrimOfFace, FollowsTheClassesOfACircleAndASlot) {
  const std::string in = "-3.59193301 -3.47821951 ", far = "4.58620365e9 -4.7361408e9 ";
  checkFaces({{"TwoOutsideOneOn", "5 0 9 0 8 1", -1, ""},
              {"OnByASquareOf9.5e-7", "2.99999952 4.00000048 2 0 1 1", 0, ""},
              {"OutsideByASquareOf1.4e-6", "3.00000024 4 2 0 1 1", 2, "3 4 3 4 3 4"},
              {"AllOn", "5 0 3 4 -4 3", 0, ""},
              {"OneOutside", "13 0 1 4 0 0", 2, "13 0 4 3 5 0", {2, -1}},
              {"FirstDiagonal", "0 0 10 0 0 20", 2, "10 0 0 20 0 5 10 0 5 0 0 5"},
              {"SecondDiagonal", "0 0 20 0 0 10", 2, "20 0 0 10 5 0 0 10 5 0 0 5"},
              {"OneOfEach", "1 0 3 4 9 0", 2, "9 0 3 4 5 0", {2, -1}},
              // An edge so long that it seems to pass by ends at the corner inside.
              {"OneOfEachUncut", in + "3 4 " + far, 2, far + "3 4 " + in},
              {"TwoOutsideUncut", in + far + "20 0", 2, far + "20 0 " + in + "20 0 " + in + in}},
             false);
  checkFaces({{"AllInsideOrOnTheOutline", "-15 0 15 0 3 5", 0, ""},
              {"OneOutsideAboveASide", "0 9 -4 1 4 1", 2, "0 9 -2 5 2 5"},
              {"LongerDiagonal", "0 0 0 8 -40 40", 2, "0 8 -40 40 0 5 -40 40 0 5 -5 5"},
              {"AtAnArcAcrossTheOther", "-8 0 36 6 36 -6", 2, "36 6 36 -6 14 3 36 -6 14 3 14 -3"},
              {"OneOutsideRoundAJunction", "11 8 14.5 1 7 2", 4, "11 8 13 4 10 5 11 8 9 5 10 5"},
              {"TwoOutsideRoundAJunction",
               "9 3 9 9 20 3",
               4,
               "9 5 9 9 10 5 14 3 20 3 10 5 9 9 20 3 10 5",
               {2, -1},
               13 + (25 - 13) / (1 + std::hypot(4, 2))},
              {"SpansBelow0.001AreVertical", "0 9 0.0008 3 4 1", 2, "0 9 0.0004 5 2 5"},
              {"WiderOnesAreNot", "0 9 0.06 3 4 1", 2, "0 9 0.04 5 2 5"},
              {"CutPointsTooNear", "0 5.0005 -0.0004 4.9 0.0004 4.9", -1, ""}},
             true);
}

TEST(TrimOfFace, WallWithoutAreaTakesTheReferenceNormalAsItStands) {
  // From (5, 0) to (3, 4) of the circle; below 0.0001 of twice the area the reference normal stands.
  for (const auto& [z, height, length] : {std::tuple(12.0F, 0.0F, std::hypot(5, 12.0 / 13 - 12)),
                                          {0.0F, 2e-5F, 5.0},
                                          {0.0F, 3e-5F, 1.0}}) {
    const Mesh mesh = {{9, 3, z, 3, 4, z, 5, 0, z}, {0, 2, 1}};
    const ModifyFaceData change = Trim{kWorld, {0, 0, 0}, 0, 5, false}.run(mesh, height, true);
    EXPECT_THAT(change.sourceFaces, ElementsAre(0, 0));
    EXPECT_NEAR(cv::norm(at(change.newNormals.data())), length, 1e-4) << height;
  }
}

TEST(Trim, CodesOfWrongCurvesAndWalls) {
  const Mesh mesh = sheet(kWorld, 20, 0);
  const struct {
    Trim::Curve curve;
    float height;
    bool walls;
    int code;
  } cases[] = {{Trim::Wrong, -1, true, -1},     {Trim::None, 1, true, -1},
               {Trim::Right, -1e-6F, true, -2}, {Trim::Right, 0, true, 0},
               {Trim::Right, -1, false, 0},     {Trim::Right, kShortForm, false, 0}};
  for (const bool is_slot : {false, true}) {
    Trim trim = {kWorld, {30, 30, 0}, 5, 8, is_slot};
    ModifyFaceData result;
    for (const auto& c : cases) {
      trim.curve = c.curve;
      result.removedFaces = {-7};
      EXPECT_EQ(trim.run(mesh, mesh.normals(), result, c.height, c.walls), c.code) << c.height;
      EXPECT_EQ(result.removedFaces.size() == 1, c.code != 0);  // untouched
    }
    EXPECT_EQ(recordsOf(result), recordsOf(trim.run(mesh, 1, true)));  // the short form's
  }
}

TEST(Trim, KeepsFacesThatItCannotJudge) {
  // Face 0 crosses the curve; the others have an index out of range or a corner without a place.
  const Mesh mesh = {{0, 0, 0, 9, 0, 0, 0, 9, 0, kNaN, 0, 0, 1, INFINITY, 0},
                     {0, 1, 2, 0, 1, 5, -1, 0, 1, 0, 3, 1, 3, 3, 3, 0, 4, 1}};
  const Mesh few = {{0, 0, 0, 9, 0, 0}, mesh.faces};
  for (const bool is_slot : {false, true}) {
    Trim trim = {kWorld, {0, 0, 0}, 1, 5, is_slot};
    EXPECT_THAT(trim.run(mesh).removedFaces, ElementsAre(0));
    EXPECT_THAT(trim.run(few).removedFaces, IsEmpty());
    EXPECT_THAT(trim.run(Mesh{mesh.vertices, {}}).removedFaces, IsEmpty());
    ModifyFaceData result;
    EXPECT_EQ(trim.run(mesh, {}, result, 1, true), 0);
    EXPECT_THAT(result.removedFaces, IsEmpty());
    trim.center[1] = kNaN;
    EXPECT_THAT(trim.run(mesh).removedFaces, IsEmpty());
  }
}

TEST(TrimTransform, FindsTheMotionOfThreePoints) {
  const float from[9] = {1, 0, 0, 0, 2, 0, 0, 0, 3};
  float to[9];
  for (int i = 0; i < 9; ++i) to[i] = cv::Vec3f(kTilted.toWorld(at(from + i / 3 * 3)))[i % 3];
  double m[16], back[16];
  EXPECT_EQ(XTrim::getRTDirect2(from, to, m), 0);
  EXPECT_THAT(std::vector<double>(m + 12, m + 16), ElementsAre(0, 0, 0, 1));
  EXPECT_EQ(XTrim::convertMatrixRT(m, back), 0);
  XTrim trim;
  for (int i = 0; i < 9; i += 3) {
    float out[3], flat[2];
    trim.transformPoint(from + i, m, out);
    EXPECT_LT(cv::norm(at(out) - at(to + i)), 1e-5);
    trim.transformPoint(out, back, out);
    EXPECT_LT(cv::norm(at(out) - at(from + i)), 1e-5);
    // Into the plane z = 0 and out of it: the height is lost.
    trim.transformPoint2(to + i, back, flat);
    trim.transformPoint3(flat, m, out);
    EXPECT_LT(cv::norm(at(out) - kTilted.toWorld({from[i], from[i + 1], 0})), 1e-5);
  }
}

TEST(TrimTransform, RotationIsProperOrRefused) {
  cv::Mat r;
  EXPECT_THROW(XTrim::getMatR_svd(cv::Mat(), r), cv::Exception);
  // Without rank, and with a column whose squares underflow on the way: still a rotation.
  const cv::Matx33d graded(0, 0x1.a8de8a9bbf4e1p-60, 0, 0, 0x1.ae7a33bd9bf7ep-26, 0,
                           -0x1.4628fb1f1228fp-81, 0x1.4262d31aca759p-69, -0x1.63fd0de647cd5p+3);
  XTrim::getMatR_svd(cv::Mat(graded), r);
  EXPECT_NEAR(cv::determinant(r), 1, 1e-9);
  XTrim::getMatR_svd(cv::Mat::diag(cv::Mat(cv::Vec3f(2, 3, -1))), r);
  EXPECT_NEAR(cv::determinant(r), 1, 1e-6);
}

}  // namespace
}  // namespace vorn::quil::xtirm
