// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/mesh/section.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "failing_allocation.h"
#include "support/meshes.h"
#include "support/reference_data.h"

namespace xsection {
namespace {

using testing::ElementsAreArray;
using testing::IsEmpty;
using zelmo::test::Mesh;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr double kHorizontal[4] = {0, 0, 1, 0};

using Segment = std::array<float, 6>;

std::vector<float> section(const Mesh& mesh, const double* plane) {
  std::vector<float> result(7, 1.0F);  // to be emptied
  EXPECT_EQ(XSection().getSection(plane, mesh.vertices.data(), mesh.faces.data(), mesh.faceCount(),
                                  result),
            0);
  return result;
}

std::vector<float> sectionByTasks(const Mesh& mesh, const double* plane) {
  std::vector<float> result(7, 1.0F);
  EXPECT_EQ(XSection().getSection2(plane, mesh.vertices.data(), mesh.faces.data(), mesh.faceCount(),
                                   result),
            0);
  return result;
}

std::multiset<Segment> asSet(const std::vector<float>& floats) {
  std::multiset<Segment> segments;
  for (std::size_t i = 0; i + 6 <= floats.size(); i += 6) {
    Segment s;
    std::copy_n(floats.begin() + static_cast<std::ptrdiff_t>(i), 6, s.begin());
    segments.insert(s);
  }
  return segments;
}

double lengthOf(const Segment& s) {
  return std::hypot(static_cast<double>(s[0]) - s[3], static_cast<double>(s[1]) - s[4],
                    static_cast<double>(s[2]) - s[5]);
}

Mesh triangle(const std::array<float, 9>& corners) {
  return {{corners.begin(), corners.end()}, {0, 1, 2}};
}

struct TriangleCase {
  const char* name;
  std::array<float, 3> heights;
  std::vector<float> segments;
};

// Corners (0, 0), (4, 0), (0, 4) at these heights over the plane z = 0.
const TriangleCase kTriangles[] = {
    {"Above", {1, 1, 1}, {}},
    {"Below", {-1, -2, -3}, {}},
    {"AllInPlane",
     {0, 9e-6F, -9e-6F},
     {0, 0, 0, 4, 0, 9e-6F, 0, 0, 0, 0, 4, -9e-6F, 4, 0, 9e-6F, 0, 4, -9e-6F}},
    {"Edge01", {0, 9e-6F, 1}, {0, 0, 0, 4, 0, 9e-6F}},
    {"Edge02", {0, 1, 9e-6F}, {0, 0, 0, 0, 4, 9e-6F}},
    {"Edge12", {-1, 0, 9e-6F}, {4, 0, 0, 0, 4, 9e-6F}},
    {"ThroughCorner0", {9e-6F, 1, -1}, {0, 0, 9e-6F, 2, 2, 0}},
    {"ThroughCorner1", {1, 9e-6F, -1}, {4, 0, 9e-6F, 0, 2, 0}},
    {"ThroughCorner2", {-3, 1, 9e-6F}, {0, 4, 9e-6F, 3, 0, 0}},
    {"Corner0Alone", {1, -1, -3}, {2, 0, 0, 0, 1, 0}},
    {"Corner1Alone", {-1, 1, -1}, {2, 0, 0, 2, 2, 0}},
    {"Corner2Alone", {-1, -1, 1}, {0, 2, 0, 2, 2, 0}},
    {"TouchesExactly", {0, 1, 1}, {0, 0, 0, 0, 0, 0}},
    {"TouchesNearly", {9e-6F, 1, 1}, {}},
};

TEST(SectionOfTriangle, FollowsTheCaseOfItsCorners) {
  for (const TriangleCase& c : kTriangles) {
    const Mesh mesh = triangle({0, 0, c.heights[0], 4, 0, c.heights[1], 0, 4, c.heights[2]});
    EXPECT_THAT(section(mesh, kHorizontal), ElementsAreArray(c.segments)) << c.name;
    EXPECT_THAT(sectionByTasks(mesh, kHorizontal), ElementsAreArray(c.segments)) << c.name;
  }
}

TEST(SectionOfTriangle, ACornerAtExactlyTheToleranceIsOffThePlane) {
  const Mesh mesh = triangle({0, 0, 1, 4, 0, 1, 0, 0, -3});
  const double at_tolerance[4] = {0, 0, 1e-5, 0};
  EXPECT_THAT(section(mesh, at_tolerance), ElementsAreArray({0, 0, 0, 3, 0, 0}));
  const double below[4] = {0, 0, 0.99e-5, 0};
  EXPECT_THAT(section(mesh, below), ElementsAreArray({0, 0, 1, 4, 0, 1}));
}

TEST(SectionOfTriangle, ALevelEdgeKeepsThePointsOfTheCutBefore) {
  // Edges of 200 that rise by 4e-5 are parallel to the plane within 1e-6, their ends off it.
  Mesh mesh = triangle({-100, 0, -2e-5F, 100, 0, 2e-5F, 100, 1, 2e-5F});
  EXPECT_THAT(section(mesh, kHorizontal), ElementsAreArray({0, 0, 0, 0, 0, 0}));
  EXPECT_THAT(sectionByTasks(mesh, kHorizontal), ElementsAreArray({0, 0, 0, 0, 0, 0}));
  mesh.vertices.insert(mesh.vertices.end(), {0, 0, 1, 4, 0, -1, 0, 4, -3});
  mesh.faces = {3, 4, 5, 0, 1, 2};
  EXPECT_THAT(section(mesh, kHorizontal), ElementsAreArray({2, 0, 0, 0, 1, 0, 2, 0, 0, 0, 1, 0}));
}

TEST(SectionOfTriangle, BadNumbersGiveNoSegmentOrOneThatSaysSo) {
  const double zero[4] = {0, 0, 0, 1};
  EXPECT_THAT(section(triangle({0, 0, 1, 4, 0, -1, 0, 4, -3}), zero), IsEmpty());
  EXPECT_THAT(section(triangle({kNaN, 0, kNaN, 4, 0, -1, 0, 4, 1}), kHorizontal), IsEmpty());
  const double not_a_number[4] = {kNaN, 0, 1, 0};
  EXPECT_THAT(section(triangle({0, 0, 1, 4, 0, -1, 0, 4, -3}), not_a_number), IsEmpty());
  const float inf = std::numeric_limits<float>::infinity();
  EXPECT_LE(section(triangle({0, 0, inf, 4, 0, -1e30F, 0, 4, 1e30F}), kHorizontal).size(), 6U);
  // No area: a segment of length zero where the doubled edge meets the plane.
  EXPECT_THAT(section(triangle({1, 0, 1, 1, 0, -1, 1, 0, -1}), kHorizontal),
              ElementsAreArray({1, 0, 0, 1, 0, 0}));
}

TEST(Section, NothingInNothingOut) {
  std::vector<float> result;
  const float vertices[9] = {};
  const int faces[3] = {0, 1, 2};
  XSection cutter;
  for (const int count : {0, -5}) {
    result.assign(3, 1.0F);
    EXPECT_EQ(cutter.getSection(kHorizontal, vertices, faces, count, result), 0);
    EXPECT_THAT(result, IsEmpty());
    result.assign(3, 1.0F);
    EXPECT_EQ(cutter.getSection2(kHorizontal, vertices, faces, count, result), 0);
    EXPECT_THAT(result, IsEmpty());
    result.assign(3, 1.0F);
    EXPECT_EQ(cutter.getSection(kHorizontal, vertices, count, result, 1.0), 0);
    EXPECT_THAT(result, IsEmpty());
  }
  EXPECT_EQ(cutter.getSection(nullptr, vertices, faces, 1, result), 0);
  EXPECT_EQ(cutter.getSection2(kHorizontal, nullptr, faces, 1, result), 0);
  EXPECT_EQ(cutter.getSection2(kHorizontal, vertices, nullptr, 1, result), 0);
  EXPECT_EQ(cutter.getSection(nullptr, vertices, 3, result, 1.0), 0);
  EXPECT_THAT(result, IsEmpty());
}

struct LatticeCase {
  const char* name;
  std::array<double, 4> plane;
  double length;
};

// Sections of the cube [0, 6]^3. An edge in the plane counts for both triangles beside it.
const LatticeCase kLattice[] = {
    {"BetweenVertices", {0, 0, 1, -2.5}, 24},
    {"AlongEdges", {0, 0, 1, -2}, 2 * 24},
    // Each of 36 squares gives its outline and its diagonal twice; the sides add their bottom edges.
    {"InFaces", {1, 0, 0, 0}, 36 * (4 + 2 * M_SQRT2) + 24},
    {"ThroughVertices", {M_SQRT1_2, M_SQRT1_2, 0, -4.5 * M_SQRT2}, 2 * 3 * M_SQRT2 + 2 * 2 * 6},
    {"Misses", {0, 0, 1, 0.5}, 0},
};

TEST(Section, OfALatticeCubeHasTheLengthOfItsOutline) {
  const Mesh cube = zelmo::test::latticeCube(6);
  for (const LatticeCase& c : kLattice) {
    const auto segments = asSet(section(cube, c.plane.data()));
    const double length =
        std::accumulate(segments.begin(), segments.end(), 0.0,
                        [](double sum, const Segment& s) { return sum + lengthOf(s); });
    EXPECT_NEAR(length, c.length, 1e-4) << c.name;
    EXPECT_EQ(asSet(sectionByTasks(cube, c.plane.data())), segments) << c.name;
  }
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

/// Loops and open chains of segments whose ends coincide within \p tolerance.
struct Chains {
  int loops = 0, open = 0;
};
Chains chainsOf(const std::multiset<Segment>& segments, double tolerance) {
  using Cell = std::array<long, 3>;
  std::vector<std::array<float, 3>> nodes;
  std::multimap<Cell, int> cells;
  const auto node = [&](const float* p) {
    Cell cell;
    for (std::size_t k = 0; k < 3; ++k) cell[k] = std::lround(std::floor(p[k] / (4 * tolerance)));
    for (long i = -1; i <= 1; ++i) {
      for (long j = -1; j <= 1; ++j) {
        for (long k = -1; k <= 1; ++k) {
          const auto range = cells.equal_range({cell[0] + i, cell[1] + j, cell[2] + k});
          for (auto it = range.first; it != range.second; ++it) {
            const auto& q = nodes[static_cast<std::size_t>(it->second)];
            if (std::hypot(q[0] - p[0], q[1] - p[1], q[2] - p[2]) < tolerance) return it->second;
          }
        }
      }
    }
    nodes.push_back({p[0], p[1], p[2]});
    cells.emplace(cell, static_cast<int>(nodes.size()) - 1);
    return static_cast<int>(nodes.size()) - 1;
  };
  std::vector<std::pair<int, int>> edges;
  for (const Segment& s : segments) edges.emplace_back(node(s.data()), node(s.data() + 3));
  std::vector<int> parent(nodes.size()), degree(nodes.size());
  std::iota(parent.begin(), parent.end(), 0);
  const auto root = [&](int i) {
    while (parent[static_cast<std::size_t>(i)] != i) i = parent[static_cast<std::size_t>(i)];
    return i;
  };
  for (const auto& [a, b] : edges) {
    if (a == b) continue;
    ++degree[static_cast<std::size_t>(a)];
    ++degree[static_cast<std::size_t>(b)];
    parent[static_cast<std::size_t>(root(a))] = root(b);
  }
  std::set<int> all, open;
  for (int i = 0; i < static_cast<int>(nodes.size()); ++i) {
    if (degree[static_cast<std::size_t>(i)] == 0) continue;
    all.insert(root(i));
    if (degree[static_cast<std::size_t>(i)] == 1) open.insert(root(i));
  }
  return {static_cast<int>(all.size() - open.size()), static_cast<int>(open.size())};
}

TEST(Section, OfReferenceMeshesHasTheKnownLengthAndLoops) {
  ZELMO_REQUIRE_REFERENCE_DATA("meshes/mesh_facts.csv");
  std::ifstream facts(zelmo::test::referenceData("meshes/mesh_facts.csv"));
  std::string line;
  std::getline(facts, line);
  int planes = 0;
  while (std::getline(facts, line)) {
    std::vector<std::string> cells;
    std::istringstream row(line);
    for (std::string cell; std::getline(row, cell, ',');) cells.push_back(cell);
    ASSERT_EQ(cells.size(), 21U);
    const std::string file = cells[0].substr(cells[0].find('/') + 1);
    Mesh mesh = zelmo::test::readMesh(zelmo::test::referenceData("meshes/" + file));
    // Some are in metres: enlarged without rounding until the tolerance of the plane is small.
    constexpr double kEnlarged = 1024;
    for (float& c : mesh.vertices) c *= static_cast<float>(kEnlarged);
    ASSERT_EQ(mesh.faceCount(), std::stoi(cells[2])) << file;
    const double size = kEnlarged * (std::stod(cells[12]) - std::stod(cells[9]));
    double plane[4] = {0, 0, 0, -std::stod(cells[16]) * kEnlarged};
    plane[cells[15][0] - 'x'] = 1;
    const auto segments = asSet(section(mesh, plane));
    EXPECT_EQ(asSet(sectionByTasks(mesh, plane)), segments) << line;
    double length = 0;
    for (const Segment& s : segments) length += lengthOf(s);
    EXPECT_NEAR(length / kEnlarged, std::stod(cells[19]), 1e-6 * std::stod(cells[19])) << line;
    const Chains chains = chainsOf(segments, 2e-6 * size);
    EXPECT_EQ(chains.loops, std::stoi(cells[17])) << line;
    EXPECT_EQ(chains.open, std::stoi(cells[18])) << line;
    ++planes;
  }
  EXPECT_EQ(planes, 48);
}

TEST(Section, AFailingTaskIsWaitedForAndItsExceptionHandedOn) {
  // All in the plane: a segment of 18 floats each, more than the memory that is left.
  const Mesh mesh = zelmo::test::heightField(100, 100, 1.0F, [](float, float) { return 0.0F; });
  XSection cutter;
  std::vector<float> result;
  const auto cut = [&] {
    cutter.getSection2(kHorizontal, mesh.vertices.data(), mesh.faces.data(), mesh.faceCount(),
                       result);
  };
  {
    const zelmo::test::FailingAllocation failing(1 << 16);
    EXPECT_THROW(cut(), std::bad_alloc);
  }
  cut();
  EXPECT_EQ(result.size(), 18U * 20000U);
}

TEST(SectionOfCloud, KeepsPointsUpToTheTolerance) {
  const float inf = std::numeric_limits<float>::infinity();
  const std::vector<float> cloud = {1, 2, 0.25F, 3, 4, 0.251F, 5, 6, -0.25F, kNaN, 0, 0, 0, 0, inf};
  std::vector<float> result(1);
  XSection cutter;
  EXPECT_EQ(cutter.getSection(kHorizontal, cloud.data(), 5, result, 0.25), 0);
  EXPECT_THAT(result, ElementsAreArray({1.0F, 2.0F, 0.25F, 5.0F, 6.0F, -0.25F}));
  // The tolerance is in units of the normal's length.
  const double doubled[4] = {0, 0, 2, 0};
  EXPECT_EQ(cutter.getSection(doubled, cloud.data(), 5, result, 0.25), 0);
  EXPECT_THAT(result, IsEmpty());
  EXPECT_EQ(cutter.getSection(kHorizontal, cloud.data(), 5, result, -1.0), 0);
  EXPECT_THAT(result, IsEmpty());
}

}  // namespace
}  // namespace xsection
