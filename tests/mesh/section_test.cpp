// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/mesh/section.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <random>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "chains.h"
#include "support/meshes.h"
#include "support/reference_data.h"

namespace xsection {
namespace {

using testing::ElementsAreArray;
using testing::IsEmpty;
using zelmo::test::Mesh;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr double kHorizontal[4] = {0, 0, 1, 0};

using Segment = std::array<float, 6>;

std::vector<float> section(const Mesh& mesh, const double* plane, bool by_tasks = false) {
  std::vector<float> result(7, 1.0F);  // to be emptied
  XSection cutter;
  const float* v = mesh.vertices.data();
  const int* f = mesh.faces.data();
  EXPECT_EQ(by_tasks ? cutter.getSection2(plane, v, f, mesh.faceCount(), result)
                     : cutter.getSection(plane, v, f, mesh.faceCount(), result),
            0);
  return result;
}

/// The segments of a section, which both forms have to give.
std::multiset<Segment> segmentsOf(const Mesh& mesh, const double* plane) {
  std::multiset<Segment> sets[2];
  for (const bool by_tasks : {false, true}) {
    const auto floats = section(mesh, plane, by_tasks);
    EXPECT_EQ(floats.size() % 6, 0U);
    for (std::size_t i = 0; i + 6 <= floats.size(); i += 6) {
      Segment s;
      std::copy_n(&floats[i], 6, s.begin());
      sets[by_tasks ? 1 : 0].insert(s);
    }
  }
  EXPECT_EQ(sets[0], sets[1]);
  return sets[0];
}

double totalLength(const std::multiset<Segment>& segments) {
  return std::accumulate(segments.begin(), segments.end(), 0.0, [](double sum, const Segment& s) {
    return sum + cv::norm(cv::Vec3d(s[0], s[1], s[2]) - cv::Vec3d(s[3], s[4], s[5]));
  });
}

TEST(SectionOfTriangle, FollowsTheCaseOfItsCorners) {
  struct Case {
    std::array<float, 3> heights;  // of (0, 0), (4, 0), (0, 4) over the plane
    std::vector<float> segments;
    double scale = 1;  // of the plane's normal
  };
  for (
      const Case& c :
      {Case{{1, 1, 1}, {}}, Case{{-1, -2, -3}, {}},
       Case{{0, 9e-6F, -9e-6F},
            {0, 0, 0, 4, 0, 9e-6F, 0, 0, 0, 0, 4, -9e-6F, 4, 0, 9e-6F, 0, 4, -9e-6F}},
       Case{{-5e-6F, -9e-6F, -1}, {0, 0, -5e-6F, 4, 0, -9e-6F}},
       Case{{0, 1, 9e-6F}, {0, 0, 0, 0, 4, 9e-6F}}, Case{{-1, 0, 9e-6F}, {4, 0, 0, 0, 4, 9e-6F}},
       Case{{9e-6F, 1, -1}, {0, 0, 9e-6F, 2, 2, 0}}, Case{{1, 9e-6F, -1}, {4, 0, 9e-6F, 0, 2, 0}},
       Case{{-3, 1, 9e-6F}, {0, 4, 9e-6F, 3, 0, 0}}, Case{{1, -1, -3}, {2, 0, 0, 0, 1, 0}},
       // Touches exactly and nearly; corners at the tolerance are off the plane, below it they are not.
       Case{{0, 1, 1}, {0, 0, 0, 0, 0, 0}}, Case{{9e-6F, 1, 1}, {}}, Case{{kNaN, -1, 1}, {}},
       Case{{1, 1, -3}, {0, 1, 0, 3, 1, 0}, 1e-5}, Case{{1, 1, -3}, {0, 0, 1, 4, 0, 1}, 0.99e-5}}) {
    SCOPED_TRACE(testing::PrintToString(c.heights));
    const double plane[4] = {0, 0, c.scale, 0};
    const Mesh mesh = {{0, 0, c.heights[0], 4, 0, c.heights[1], 0, 4, c.heights[2]}, {0, 1, 2}};
    EXPECT_THAT(section(mesh, plane), ElementsAreArray(c.segments));
    EXPECT_THAT(section(mesh, plane, true), ElementsAreArray(c.segments));
  }
}

TEST(SectionOfTriangle, CutPointsAreRoundedOnceAfterEdgesInFloat) {
  // Edges in float, everything else in long double, in the order of the edges 01, 02, 12.
  using Real = long double;
  std::mt19937 random(7);
  std::uniform_real_distribution<float> u(-90, 90);
  const double plane[4] = {0.36, -0.48, 0.8, 3.25};
  for (int triangle = 0; triangle < 500; ++triangle) {
    Mesh mesh = {{}, {0, 1, 2}};
    for (int i = 0; i < 9; ++i) mesh.vertices.push_back(u(random));
    std::vector<float> expected;
    for (const auto& [from, to] : {std::pair(0, 1), std::pair(0, 2), std::pair(1, 2)}) {
      const float* p = mesh.corner(0, from);
      const float* q = mesh.corner(0, to);
      Real at_p = plane[3], at_q = plane[3], rise = 0;
      for (int k = 0; k < 3; ++k) {
        at_p += static_cast<Real>(plane[k]) * p[k];
        at_q += static_cast<Real>(plane[k]) * q[k];
        rise += static_cast<Real>(plane[k]) * (q[k] - p[k]);
      }
      if (at_p * at_q > 0) continue;
      for (int k = 0; k < 3; ++k) {
        expected.push_back(static_cast<float>(p[k] - at_p / rise * (q[k] - p[k])));
      }
    }
    EXPECT_THAT(section(mesh, plane), ElementsAreArray(expected));
  }
}

TEST(SectionOfTriangle, ALevelEdgeKeepsThePointsOfTheCutBefore) {
  // Edges of 200 that rise by 4e-5 are parallel to the plane within 1e-6, their ends off it.
  Mesh mesh = {{-100, 0, -2e-5F, 100, 0, 2e-5F, 100, 1, 2e-5F}, {0, 1, 2}};
  EXPECT_THAT(section(mesh, kHorizontal), ElementsAreArray({0, 0, 0, 0, 0, 0}));
  EXPECT_THAT(section(mesh, kHorizontal, true), ElementsAreArray({0, 0, 0, 0, 0, 0}));
  mesh.vertices.insert(mesh.vertices.end(), {0, 0, 1, 4, 0, -1, 0, 4, -3});
  mesh.faces = {3, 4, 5, 0, 1, 2};
  EXPECT_THAT(section(mesh, kHorizontal), ElementsAreArray({2, 0, 0, 0, 1, 0, 2, 0, 0, 0, 1, 0}));
}

TEST(Section, BadInputGivesNoSegmentOrOneThatSaysSo) {
  const Mesh crossing = {{0, 0, 1, 4, 0, -1, 0, 4, -3}, {0, 1, 2}};
  const double zero[4] = {0, 0, 0, 1}, not_a_number[4] = {kNaN, 0, 1, 0};
  EXPECT_THAT(section(crossing, zero), IsEmpty());
  EXPECT_THAT(section(crossing, not_a_number), IsEmpty());
  const Mesh huge = {{0, 0, kInf, 4, 0, -1e30F, 0, 4, 1e30F}, {0, 1, 2}};
  EXPECT_LE(section(huge, kHorizontal).size(), 6U);
  // No area: a segment of length zero where the doubled edge meets the plane.
  EXPECT_THAT(section({{1, 0, 1, 1, 0, -1, 1, 0, -1}, {0, 1, 2}}, kHorizontal),
              ElementsAreArray({1, 0, 0, 1, 0, 0}));
  XSection cutter;
  const auto expect_nothing = [&](const double* plane, const float* v, const int* f, int count) {
    std::vector<float> plain(3, 1.0F), by_tasks(3, 1.0F), cloud(3, 1.0F);
    EXPECT_EQ(cutter.getSection(plane, v, f, count, plain), 0);
    EXPECT_EQ(cutter.getSection2(plane, v, f, count, by_tasks), 0);
    EXPECT_EQ(cutter.getSection(plane, f == nullptr ? nullptr : v, count, cloud, 9.0), 0);
    for (const auto& result : {plain, by_tasks, cloud}) EXPECT_THAT(result, IsEmpty());
  };
  const float* const v = crossing.vertices.data();
  const int* const f = crossing.faces.data();
  for (const int count : {0, -5}) expect_nothing(kHorizontal, v, f, count);
  expect_nothing(nullptr, v, f, 1);
  expect_nothing(kHorizontal, nullptr, f, 1);
  expect_nothing(kHorizontal, v, nullptr, 1);
}

TEST(Section, OfALatticeCubeHasTheLengthOfItsOutline) {
  // An edge in the plane counts for both triangles beside it.
  const Mesh cube = zelmo::test::latticeCube(6);
  const double between[4] = {0, 0, 1, -2.5}, along[4] = {0, 0, 1, -2}, misses[4] = {0, 0, 1, 0.5};
  EXPECT_NEAR(totalLength(segmentsOf(cube, between)), 24, 1e-4);
  EXPECT_NEAR(totalLength(segmentsOf(cube, along)), 2 * 24, 1e-4);
  EXPECT_TRUE(segmentsOf(cube, misses).empty());
  // 36 squares in the plane give outline and diagonal twice, the sides their bottom edges.
  const double in_faces[4] = {1, 0, 0, 0}, diagonal[4] = {M_SQRT1_2, M_SQRT1_2, 0, -4.5 * M_SQRT2};
  EXPECT_NEAR(totalLength(segmentsOf(cube, in_faces)), 36 * (4 + 2 * M_SQRT2) + 24, 1e-4);
  EXPECT_NEAR(totalLength(segmentsOf(cube, diagonal)), 2 * 3 * M_SQRT2 + 2 * 2 * 6, 1e-4);
}

TEST(Section, DoesNotDependOnHowVerticesAreNumbered) {
  // Twice the same squares: once packed, once with indices far apart, beyond what a table would hold.
  const Mesh packed = zelmo::test::heightField(
      60, 60, 1.0F, [](float x, float y) { return std::sin(x * 0.3F) + std::cos(y * 0.2F); });
  constexpr int kStride = 40;
  Mesh sparse;
  sparse.vertices.assign(packed.vertices.size() * kStride, kNaN);
  for (int v = 0; v < packed.vertexCount(); ++v) {
    std::copy_n(&packed.vertices[static_cast<std::size_t>(3 * v)], 3,
                &sparse.vertices[static_cast<std::size_t>(3 * v * kStride)]);
  }
  for (const int f : packed.faces) sparse.faces.push_back(kStride * f);
  const double plane[4] = {0.1, 0.2, 0.9, -7};
  const auto expected = section(packed, plane);
  EXPECT_GT(expected.size(), 100U);
  EXPECT_EQ(section(sparse, plane), expected);
}

TEST(Section, OfReferenceMeshesHasTheKnownLengthAndLoops) {
  ZELMO_REQUIRE_REFERENCE_DATA("meshes/mesh_facts.csv");
  std::ifstream facts(zelmo::test::referenceData("meshes/mesh_facts.csv"));
  std::string line;
  std::getline(facts, line);
  int planes = 0;
  for (; std::getline(facts, line); ++planes) {
    SCOPED_TRACE(line);
    std::vector<std::string> cells;
    std::istringstream row(line);
    for (std::string cell; std::getline(row, cell, ',');) cells.push_back(cell);
    ASSERT_EQ(cells.size(), 21U);
    const std::string file = cells[0].substr(cells[0].find('/') + 1);
    Mesh mesh = zelmo::test::readMesh(zelmo::test::referenceData("meshes/" + file));
    ASSERT_EQ(mesh.faceCount(), std::stoi(cells[2]));
    // Some are in metres: enlarged without rounding until the tolerance of the plane is small.
    constexpr double kEnlarged = 1024;
    for (float& c : mesh.vertices) c *= static_cast<float>(kEnlarged);
    const double size = kEnlarged * (std::stod(cells[12]) - std::stod(cells[9]));
    const auto axis = static_cast<std::size_t>(cells[15][0] - 'x');
    double plane[4] = {0, 0, 0, -std::stod(cells[16]) * kEnlarged};
    plane[axis] = 1;
    const auto segments = segmentsOf(mesh, plane);
    EXPECT_NEAR(totalLength(segments) / kEnlarged, std::stod(cells[19]),
                1e-6 * std::stod(cells[19]));
    const auto chains = zelmo::test::chainsOf(segments, 2e-6 * size);
    EXPECT_EQ(chains.loops, std::stoul(cells[17]));
    EXPECT_EQ(chains.open, std::stoul(cells[18]));
    // Through a vertex, along an edge, in a face.
    const int face = 97 * planes % mesh.faceCount();
    const cv::Vec3d a(cv::Vec3f(mesh.corner(face, 0)));
    const cv::Vec3d edge = cv::Vec3d(cv::Vec3f(mesh.corner(face, 1))) - a;
    const cv::Vec3d n = edge.cross(cv::Vec3d(cv::Vec3f(mesh.corner(face, 2))) - a);
    plane[3] = -a[static_cast<int>(axis)];
    EXPECT_FALSE(segmentsOf(mesh, plane).empty());
    for (const cv::Vec3d& normal : {cv::normalize(n), cv::normalize(n.cross(edge))}) {
      const double through[4] = {normal[0], normal[1], normal[2], -normal.dot(a)};
      EXPECT_FALSE(segmentsOf(mesh, through).empty());
    }
  }
  EXPECT_EQ(planes, 48);
}

TEST(SectionOfCloud, KeepsPointsUpToTheTolerance) {
  const std::vector<float> cloud = {1,      2,    0.25F, 3, 4, 0.251F, 5,   6,
                                    -0.25F, kNaN, 0,     0, 0, 0,      kInf};
  XSection cutter;
  const double doubled[4] = {0, 0, 2, 0};  // the tolerance is in units of the normal's length
  for (const auto& [plane, tolerance, kept] :
       {std::tuple(kHorizontal, 0.25, std::vector<float>{1, 2, 0.25F, 5, 6, -0.25F}),
        std::tuple(doubled, 0.25, std::vector<float>{}),
        std::tuple(kHorizontal, -1.0, std::vector<float>{})}) {
    std::vector<float> result(1);
    EXPECT_EQ(cutter.getSection(plane, cloud.data(), 5, result, tolerance), 0);
    EXPECT_EQ(result, kept);
  }
}

}  // namespace
}  // namespace xsection
