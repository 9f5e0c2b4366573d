// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/extract/point_eliminate.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <new>
#include <numeric>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "scan.h"
#include "support/meshes.h"

namespace {

// Lists of ten neighbours that other threads than the owner make while one is to be refused, counted
// from 1. (Inside the search of the tree itself, a parallel region, a refusal would end the process.)
constexpr std::size_t kListOfNeighbours = 10 * sizeof(int);
std::atomic<int> g_allocations{0}, g_refused{0};
std::thread::id g_owner;

}  // namespace

// Kept out of line, or the compiler takes the halves of a pair for a mismatch.
__attribute__((noinline)) void* operator new(std::size_t size) {
  const bool is_counted =
      g_refused > 0 && size == kListOfNeighbours && std::this_thread::get_id() != g_owner;
  void* memory = is_counted && ++g_allocations == g_refused ? nullptr : std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
__attribute__((noinline)) void operator delete(void* memory) noexcept { std::free(memory); }
__attribute__((noinline)) void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

namespace zelmo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using xgeofeature::XGeoFeaturePointEliminate;
using Cloud = pcl::PointCloud<pcl::PointXYZ>;
using Points = std::vector<pcl::PointXYZ>;

boost::shared_ptr<Cloud> cloudWith(const Points& points) {
  boost::shared_ptr<Cloud> cloud(new Cloud);
  for (const auto& p : points) cloud->push_back(p);
  return cloud;
}

/// Three corners for each face.
std::vector<float> cornersOf(const Mesh& mesh) {
  std::vector<float> corners;
  for (int i = 0; i < 3 * mesh.faceCount(); ++i) {
    const float* p = mesh.corner(i / 3, i % 3);
    corners.insert(corners.end(), p, p + 3);
  }
  return corners;
}

/// Whether the foot of \p p on the plane of a face lies in the widened triangle, by areas: every
/// barycentric coordinate w of the plain triangle maps to one of the enlarged triangle, which is 1.75
/// times as large about the centroid.
bool liesOver(const Mesh& mesh, int face, const cv::Vec3d& p) {
  const cv::Vec3d a = cv::Vec3f(mesh.corner(face, 0)), b = cv::Vec3f(mesh.corner(face, 1));
  const cv::Vec3d c = cv::Vec3f(mesh.corner(face, 2)), n = cv::normalize((b - a).cross(c - a));
  const cv::Vec3d foot = p - (p - a).dot(n) * n;
  const double whole = (b - a).cross(c - a).dot(n);
  const auto enlarged = [&](double part) { return (part / whole - 1.0 / 3.0) / 1.75 + 1.0 / 3.0; };
  const double v = enlarged((foot - a).cross(c - a).dot(n));  // of corner b
  const double u = enlarged((b - a).cross(foot - a).dot(n));  // of corner c
  return u >= -0.2 && u <= 1.2 && v >= -0.2 && v <= 1.2 && u + v <= 1.2;
}

/// Tries the ten triangles with the nearest centroids, found by sorting all.
bool stays(const Mesh& mesh, const cv::Vec3d& p) {
  std::vector<std::pair<double, int>> by_distance;
  for (int face = 0; face < mesh.faceCount(); ++face) {
    cv::Vec3d sum;
    for (int k = 0; k < 3; ++k) sum += cv::Vec3d(cv::Vec3f(mesh.corner(face, k)));
    by_distance.emplace_back(cv::norm(sum / 3.0 - p), face);
  }
  std::sort(by_distance.begin(), by_distance.end());
  return std::any_of(by_distance.begin(), by_distance.begin() + 10,
                     [&](const auto& near) { return liesOver(mesh, near.second, p); });
}

class EliminateOverASheet : public testing::Test {
 protected:
  EliminateOverASheet() {
    std::mt19937 random(8);
    std::uniform_real_distribution<float> place(-3.0F, 13.0F);
    for (int i = 0; i < 3000; ++i) {
      m_cloud->push_back({place(random), place(random), place(random)});
    }
    for (int i = 2990; i > 10; i -= 2) m_candidates.push_back(i);
  }
  int eliminate(const Mesh& mesh, std::vector<int>& result) {
    return m_eliminate.getGeoFeaturePointIndices(m_cloud, m_normals, m_candidates,
                                                 cornersOf(mesh).data(), mesh.faceCount(),
                                                 mesh.normals().data(), result);
  }

  const Mesh m_sheet =
      heightField(9, 9, 10.0F / 9, [](float x, float y) { return std::sin(x) * 0.5F + y * 0.25F; });
  boost::shared_ptr<Cloud> m_cloud = cloudWith({});
  std::vector<float> m_normals = std::vector<float>(9000, 0.5F);
  std::vector<int> m_candidates;
  XGeoFeaturePointEliminate m_eliminate;
};

TEST_F(EliminateOverASheet, KeepsWhatLiesOverTheTenNearestInAnyOrderOfTriangles) {
  std::vector<int> expected;
  for (const int i : m_candidates) {
    const auto& p = m_cloud->at(static_cast<std::size_t>(i));
    if (stays(m_sheet, {p.x, p.y, p.z})) expected.push_back(i);
  }
  ASSERT_GT(expected.size(), 300U);
  ASSERT_LT(expected.size() + 300, m_candidates.size());
  for (const int shift : {0, 201}) {
    Mesh mixed = m_sheet;
    std::rotate(mixed.faces.begin(), mixed.faces.begin() + shift, mixed.faces.end());
    std::vector<int> by_corners = {1, 2, 3}, by_indices;
    EXPECT_EQ(eliminate(mixed, by_corners), 0);
    EXPECT_EQ(by_corners, expected);
    EXPECT_EQ(m_eliminate.getGeoFeaturePointIndices(
                  m_cloud, m_normals, m_candidates, mixed.vertices.data(), mixed.vertexCount(),
                  mixed.normals().data(), mixed.faces.data(), mixed.faceCount(), by_indices),
              0);
    EXPECT_EQ(by_indices, expected);
  }
  EXPECT_EQ(m_eliminate.cloudCentroids->size(), 162U);
  EXPECT_EQ(m_eliminate.cloudPoints->size(), m_candidates.size());
  EXPECT_EQ(m_eliminate.cloudPoints->at(1).x, m_cloud->at(2988).x);
  EXPECT_EQ(m_eliminate.pointNormals, std::vector<float>(3 * m_candidates.size(), 0.5F));
  EXPECT_EQ(m_eliminate.kdtree, nullptr);
}

TEST_F(EliminateOverASheet, WaitsForAllTasksWhenOneThrows) {
  const auto candidates = m_candidates;
  while (m_candidates.size() < 20000) {
    m_candidates.insert(m_candidates.end(), candidates.begin(), candidates.end());
  }
  g_owner = std::this_thread::get_id();
  std::vector<int> result = {1, 2, 3};
  for (const int refused : {1, 4, 5000}) {
    SCOPED_TRACE(refused);
    g_allocations = 0;
    g_refused = refused;
    EXPECT_THROW(eliminate(m_sheet, result), std::bad_alloc);
    const int at_return = g_allocations;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(g_allocations, at_return);
    g_refused = 0;
    EXPECT_GE(at_return, refused);
    EXPECT_EQ(m_eliminate.kdtree, nullptr);
    EXPECT_THAT(result, ElementsAre(1, 2, 3));
  }
  EXPECT_EQ(eliminate(m_sheet, result), 0);
  EXPECT_GT(result.size(), 3000U);
}

TEST(XGeoFeaturePointEliminate, DoesNoWorkForFaces) {
  XGeoFeaturePointEliminate eliminate;
  std::vector<int> result = {5};
  EXPECT_EQ(eliminate.getGeoFeaturePointIndices(cloudWith({{0, 0, 0}}), {0, 0, 1}, {0},
                                                std::vector<TopoDS_Face>(2), result),
            -1);
  EXPECT_THAT(result, ElementsAre(5));
}

// One corner at the origin, edges of 8 along x and y; enlarged, the corner is at (-2, -2) and the
// edges are 14 long.
const float kTriangle[9] = {0, 0, 0, 8, 0, 0, 0, 8, 0}, kUp[3] = {0, 0, 1};

std::vector<int> staying(const boost::shared_ptr<Cloud>& cloud, std::vector<int> indices) {
  EXPECT_EQ(XGeoFeaturePointEliminate().getGeoFeaturePointIndices(cloud, {}, indices, kTriangle, 1,
                                                                  kUp, indices),
            0);
  return indices;
}

TEST(EliminateOverOneTriangle, KeepsPointsAtAnyHeightBelowItsLimit) {
  const auto cloud = cloudWith({{8, 0, 5},         // over a corner
                                {-4.79F, 4, -70},  // -0.2 of the enlarged triangle is -4.8
                                {-4.81F, 4, -70},
                                {6.396F, 6.396F, 1},  // a sum of 1.2 is at 12.8
                                {6.404F, 6.404F, 1},
                                {2, 2, 99999},
                                {2, 2, -100000},
                                {kNan, 2, 0}});
  EXPECT_THAT(staying(cloud, {0, 1, 2, 3, 4, 5, 6, 7}), ElementsAre(0, 1, 3, 5));
  EXPECT_THAT(staying(cloud, {-1, 1, 8, 1, 1000000, 0, -2147483647}), ElementsAre(1, 1, 0));
  EXPECT_THAT(staying(nullptr, {0, 1}), IsEmpty());
}

TEST(EliminateOverOneTriangle, HoldsNothingWhereThereIsNoTriangle) {
  const float *v = kTriangle, *up = kUp;
  const int outside[3] = {0, 1, 3}, inside[3] = {0, 1, 2};
  XGeoFeaturePointEliminate eliminate;
  for (const auto& [vertices, normals, faces, face_count] : {std::tuple(v, up, inside, 1),
                                                             {v, up, inside, -4},
                                                             {v, up, outside, 1},
                                                             {v, nullptr, inside, 1},
                                                             {nullptr, up, inside, 1}}) {
    std::vector<int> result = {3, 3};
    EXPECT_EQ(eliminate.getGeoFeaturePointIndices(cloudWith({{1, 1, 1}}), {}, {0}, vertices, 3,
                                                  normals, faces, face_count, result),
              0);
    EXPECT_EQ(result.size(), vertices == v && normals == up && faces == inside && face_count == 1);
  }
}

}  // namespace
}  // namespace zelmo::test
