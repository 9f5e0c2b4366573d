// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/mesh/section.h"

#include <algorithm>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include "support/meshes.h"
#include "support/reference_data.h"

namespace xsection {
namespace {

using testing::ElementsAreArray;
using testing::IsEmpty;
using zelmo::test::Mesh;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
const double kNormals[4] = {0, 0, 1, 0};
const double* const kHorizontal = kNormals;

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

/// The same mesh with indices far apart, beyond what a table would hold.
Mesh sparse(const Mesh& mesh) {
  constexpr int kStride = 40;
  Mesh out = {std::vector<float>(mesh.vertices.size() * kStride, kNaN), mesh.faces};
  for (int& v : out.faces) {
    std::copy_n(&mesh.vertices[static_cast<std::size_t>(3 * v)], 3,
                &out.vertices[static_cast<std::size_t>(3 * v * kStride)]);
    v *= kStride;
  }
  return out;
}

std::vector<Segment> sorted(const std::vector<float>& floats) {
  std::vector<Segment> segments(floats.size() / 6);
  EXPECT_EQ(6 * segments.size(), floats.size());
  for (std::size_t i = 0; i < segments.size(); ++i) {
    std::copy_n(&floats[6 * i], 6, segments[i].begin());
  }
  std::sort(segments.begin(), segments.end());
  return segments;
}

/// The length of a section, whose segments all forms have to give.
double lengthOf(const Mesh& mesh, const double* plane) {
  const auto floats = section(mesh, plane);
  EXPECT_EQ(section(sparse(mesh), plane), floats);
  EXPECT_EQ(sorted(section(mesh, plane, true)), sorted(floats));
  double length = 0;
  for (std::size_t i = 0; i < floats.size(); i += 6) {
    length += cv::norm(cv::Vec3d(cv::Vec3f(&floats[i])) - cv::Vec3d(cv::Vec3f(&floats[i + 3])));
  }
  return length;
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

TEST(SectionOfTriangle, ALevelEdgeKeepsThePointsOfTheCutBefore) {
  // Edges of 200 that rise by 4e-5 are parallel to the plane within 1e-6, their ends off it.
  Mesh mesh = {{-100, 0, -2e-5F, 100, 0, 2e-5F, 100, 1, 2e-5F}, {0, 1, 2}};
  EXPECT_THAT(section(mesh, kHorizontal), ElementsAreArray({0, 0, 0, 0, 0, 0}));
  mesh.vertices.insert(mesh.vertices.end(), {0, 0, 1, 4, 0, -1, 0, 4, -3});
  mesh.faces = {3, 4, 5, 0, 1, 2};
  EXPECT_THAT(section(mesh, kHorizontal), ElementsAreArray({2, 0, 0, 0, 1, 0, 2, 0, 0, 0, 1, 0}));
}

TEST(Section, BadInputGivesNoSegmentOrOneThatSaysSo) {
  const Mesh crossing = {{0, 0, 1, 4, 0, -1, 0, 4, -3}, {0, 1, 2}};
  const double zero[4] = {0, 0, 0, 1}, not_a_number[4] = {kNaN, 0, 1, 0};
  EXPECT_THAT(section(crossing, zero), IsEmpty());
  EXPECT_THAT(section(crossing, not_a_number), IsEmpty());
  const float *const v = crossing.vertices.data(), *const no_vertices = nullptr;
  const int *const f = crossing.faces.data(), *const no_faces = nullptr;
  const double* const no_plane = nullptr;
  for (const auto& [plane, vertices, faces, count] :
       {std::tuple(kHorizontal, v, f, -5), std::tuple(no_plane, v, f, 1),
        std::tuple(kHorizontal, no_vertices, f, 1), std::tuple(kHorizontal, v, no_faces, 1)}) {
    XSection cutter;
    std::vector<float> plain(3, 1.0F), by_tasks(3, 1.0F), cloud(3, 1.0F);
    EXPECT_EQ(cutter.getSection(plane, vertices, faces, count, plain), 0);
    EXPECT_EQ(cutter.getSection2(plane, vertices, faces, count, by_tasks), 0);
    EXPECT_EQ(cutter.getSection(plane, faces == nullptr ? nullptr : vertices, count, cloud, 9.0),
              0);
    for (const auto& result : {plain, by_tasks, cloud}) EXPECT_THAT(result, IsEmpty());
  }
}

TEST(Section, OfALatticeCubeHasTheLengthOfItsOutline) {
  const Mesh cube = zelmo::test::latticeCube(6);
  const struct {
    double plane[4], length;
  } cases[] = {
      {{0, 0, 1, -2.5}, 24},    // between the vertices
      {{0, 0, 1, -2}, 2 * 24},  // an edge in the plane counts for both triangles beside it
      {{0, 0, 1, 0.5}, 0},
      // 36 squares in the plane give outline and diagonal twice, the sides their bottom edges.
      {{1, 0, 0, 0}, 36 * (4 + 2 * M_SQRT2) + 24},
      {{M_SQRT1_2, M_SQRT1_2, 0, -4.5 * M_SQRT2}, 2 * 3 * M_SQRT2 + 2 * 2 * 6},
  };
  for (const auto& c : cases) EXPECT_NEAR(lengthOf(cube, c.plane), c.length, 1e-4);
}

TEST(Section, OfReferenceMeshesHasTheKnownLength) {
  ZELMO_REQUIRE_REFERENCE_DATA("meshes/mesh_facts.csv");
  std::ifstream facts(zelmo::test::referenceData("meshes/mesh_facts.csv"));
  std::string line;
  std::getline(facts, line);
  int planes = 0;
  for (; std::getline(facts, line); ++planes) {
    if (planes % 2 != 0) continue;  // half of them, for the time they take
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
    const int axis = cells[15][0] - 'x';
    double plane[4] = {0, 0, 0, -std::stod(cells[16]) * kEnlarged};
    plane[axis] = 1;
    const double length = std::stod(cells[19]);
    EXPECT_NEAR(lengthOf(mesh, plane) / kEnlarged, length, 1e-6 * length);
  }
  EXPECT_EQ(planes, 48);
}

TEST(SectionOfCloud, KeepsPointsUpToTheTolerance) {
  const std::vector<float> cloud = {1,      2,    0.25F, 3, 4, 0.251F, 5,   6,
                                    -0.25F, kNaN, 0,     0, 0, 0,      kInf};
  std::vector<float> result(1);
  EXPECT_EQ(XSection().getSection(kHorizontal, cloud.data(), 5, result, 0.25), 0);
  EXPECT_THAT(result, ElementsAreArray({1.0F, 2.0F, 0.25F, 5.0F, 6.0F, -0.25F}));
  const double doubled[4] = {0, 0, 2, 0};  // the tolerance is in units of the normal's length
  EXPECT_EQ(XSection().getSection(doubled, cloud.data(), 5, result, 0.25), 0);
  EXPECT_THAT(result, IsEmpty());
}

}  // namespace
}  // namespace xsection
