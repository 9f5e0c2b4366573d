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
#include "zelmo/internal/cloud_tree.h"
#include "zelmo/internal/triangle_search.h"

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

boost::shared_ptr<Cloud> cloudWith(const std::vector<pcl::PointXYZ>& points) {
  boost::shared_ptr<Cloud> cloud(new Cloud);
  for (const auto& p : points) cloud->push_back(p);
  return cloud;
}

cv::Vec3d at(const std::vector<float>& triples, int i) {
  return cv::Vec3f(&triples[static_cast<std::size_t>(3 * i)]);
}
void append(std::vector<float>& triples, const cv::Vec3f& v) {
  triples.insert(triples.end(), v.val, v.val + 3);
}

/// A wavy sheet of triangles over [0, 10] x [0, 10], as vertices and as corners.
struct Sheet {
  std::vector<float> vertices, normals, corners;
  std::vector<int> faces;

  int triangles() const { return static_cast<int>(faces.size() / 3); }
  cv::Vec3d vertex(int face, int k) const {
    return at(vertices, faces[static_cast<std::size_t>(3 * face + k)]);
  }
};

Sheet wavySheet(int cells, unsigned seed) {
  Sheet sheet;
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> jitter(-0.3F, 0.3F);
  const float width = 10.0F / static_cast<float>(cells);
  for (int i = 0; i <= cells; ++i) {
    for (int j = 0; j <= cells; ++j) {
      const float x = (static_cast<float>(i) + jitter(random)) * width;
      const float y = (static_cast<float>(j) + jitter(random)) * width;
      append(sheet.vertices, {x, y, std::sin(x) * 0.5F + y * 0.25F});
    }
  }
  for (int i = 0; i < cells; ++i) {
    for (int j = 0; j < cells; ++j) {
      const int corner = i * (cells + 1) + j, next = corner + cells + 1;
      sheet.faces.insert(sheet.faces.end(), {corner, corner + 1, next + 1});
      sheet.faces.insert(sheet.faces.end(), {corner, next + 1, next});
    }
  }
  for (int face = 0; face < sheet.triangles(); ++face) {
    const cv::Vec3d a = sheet.vertex(face, 0), b = sheet.vertex(face, 1), c = sheet.vertex(face, 2);
    append(sheet.normals, cv::normalize((b - a).cross(c - a)));
    for (const cv::Vec3d& corner : {a, b, c}) append(sheet.corners, corner);
  }
  return sheet;
}

/// The triangles reordered.
Sheet shuffled(const Sheet& sheet, unsigned seed) {
  std::vector<int> order(static_cast<std::size_t>(sheet.triangles()));
  std::iota(order.begin(), order.end(), 0);
  std::shuffle(order.begin(), order.end(), std::mt19937(seed));
  Sheet mixed{sheet.vertices, {}, {}, {}};
  for (const int i : order) {
    mixed.faces.insert(mixed.faces.end(), &sheet.faces[3 * i], &sheet.faces[3 * i] + 3);
    mixed.normals.insert(mixed.normals.end(), &sheet.normals[3 * i], &sheet.normals[3 * i] + 3);
    mixed.corners.insert(mixed.corners.end(), &sheet.corners[9 * i], &sheet.corners[9 * i] + 9);
  }
  return mixed;
}

/// Whether the foot of \p p on the plane of a face lies in the widened triangle, by areas: every
/// barycentric coordinate w of the plain triangle maps to one of the enlarged triangle, which is 1.75
/// times as large about the centroid.
bool liesOver(const Sheet& sheet, int face, const cv::Vec3d& p) {
  const cv::Vec3d n = at(sheet.normals, face);
  const cv::Vec3d a = sheet.vertex(face, 0), b = sheet.vertex(face, 1), c = sheet.vertex(face, 2);
  const cv::Vec3d foot = p - (p - a).dot(n) * n;
  const double whole = (b - a).cross(c - a).dot(n);
  const auto enlarged = [&](double part) { return (part / whole - 1.0 / 3.0) / 1.75 + 1.0 / 3.0; };
  const double v = enlarged((foot - a).cross(c - a).dot(n));  // of corner b
  const double u = enlarged((b - a).cross(foot - a).dot(n));  // of corner c
  return u >= -0.2 && u <= 1.2 && v >= -0.2 && v <= 1.2 && u + v <= 1.2;
}

/// Tries the ten triangles with the nearest centroids, found by sorting all.
bool stays(const Sheet& sheet, const pcl::PointXYZ& point) {
  const cv::Vec3d p(point.x, point.y, point.z);
  std::vector<std::pair<double, int>> by_distance;
  for (int face = 0; face < sheet.triangles(); ++face) {
    const cv::Vec3d sum = sheet.vertex(face, 0) + sheet.vertex(face, 1) + sheet.vertex(face, 2);
    by_distance.emplace_back(cv::norm(sum / 3.0 - p), face);
  }
  std::sort(by_distance.begin(), by_distance.end());
  by_distance.resize(std::min<std::size_t>(by_distance.size(), 10));
  return std::any_of(by_distance.begin(), by_distance.end(),
                     [&](const auto& near) { return liesOver(sheet, near.second, p); });
}

class EliminateOverASheet : public testing::Test {
 protected:
  EliminateOverASheet() : m_sheet(wavySheet(9, 2)) {
    std::mt19937 random(8);
    std::uniform_real_distribution<float> place(-3.0F, 13.0F);
    std::vector<pcl::PointXYZ> points;
    for (int i = 0; i < 3000; ++i) points.emplace_back(place(random), place(random), place(random));
    m_cloud = cloudWith(points);
    m_normals.assign(3 * points.size(), 0.5F);
    for (int i = 2990; i > 10; i -= 2) m_candidates.push_back(i);
  }
  std::vector<int> staying(const Sheet& sheet) {
    std::vector<int> result = {1, 2, 3};
    EXPECT_EQ(m_eliminate.getGeoFeaturePointIndices(m_cloud, m_normals, m_candidates,
                                                    sheet.corners.data(), sheet.triangles(),
                                                    sheet.normals.data(), result),
              0);
    return result;
  }
  /// The same by one task, which is this one.
  std::vector<int> stayingOneByOne() const {
    const auto tree =
        internal::buildTree(m_eliminate.cloudCentroids, internal::NeighbourOrder::AsFound);
    std::vector<int> kept;
    for (const int i : m_candidates) {
      const float* p = m_cloud->at(static_cast<std::size_t>(i)).data;
      internal::Neighbours near;
      internal::searchNearest(tree.get(), p, 10, near);
      if (internal::liesOverAny(m_eliminate.triangles, near.indices, p,
                                internal::TriangleReach::QuarterEdge)) {
        kept.push_back(i);
      }
    }
    return kept;
  }

  Sheet m_sheet;
  boost::shared_ptr<Cloud> m_cloud;
  std::vector<float> m_normals;
  std::vector<int> m_candidates;
  XGeoFeaturePointEliminate m_eliminate;
};

TEST_F(EliminateOverASheet, KeepsWhatLiesOverTheTenNearestInAnyOrderOfTriangles) {
  std::vector<int> expected;
  for (const int i : m_candidates) {
    if (stays(m_sheet, m_cloud->at(static_cast<std::size_t>(i)))) expected.push_back(i);
  }
  ASSERT_GT(expected.size(), 300U);
  ASSERT_LT(expected.size() + 300, m_candidates.size());
  for (unsigned seed = 0; seed < 4; ++seed) {
    const Sheet mixed = shuffled(m_sheet, seed);
    EXPECT_EQ(staying(mixed), expected);
    EXPECT_EQ(stayingOneByOne(), expected);
    std::vector<int> result;
    EXPECT_EQ(m_eliminate.getGeoFeaturePointIndices(
                  m_cloud, m_normals, m_candidates, mixed.vertices.data(), 100,
                  mixed.normals.data(), mixed.faces.data(), mixed.triangles(), result),
              0);
    EXPECT_EQ(result, expected);
  }
  EXPECT_EQ(m_eliminate.triangles.size(), 162U);
  EXPECT_EQ(m_eliminate.cloudCentroids->size(), 162U);
  EXPECT_EQ(m_eliminate.cloudPoints->size(), m_candidates.size());
  EXPECT_EQ(m_eliminate.cloudPoints->at(1).x, m_cloud->at(2988).x);
  EXPECT_EQ(m_eliminate.pointNormals, std::vector<float>(3 * m_candidates.size(), 0.5F));
  EXPECT_EQ(m_eliminate.kdtree, nullptr);
}

TEST_F(EliminateOverASheet, WaitsForAllTasksWhenOneThrows) {
  const auto candidates = m_candidates;
  const std::vector<int> expected = staying(m_sheet);
  while (m_candidates.size() < 20000) {
    m_candidates.insert(m_candidates.end(), candidates.begin(), candidates.end());
  }
  g_owner = std::this_thread::get_id();
  for (const int refused : {1, 2, 4, 100, 5000}) {
    SCOPED_TRACE(refused);
    std::vector<int> result = {1, 2, 3};
    g_allocations = 0;
    g_refused = refused;
    EXPECT_THROW(m_eliminate.getGeoFeaturePointIndices(m_cloud, m_normals, m_candidates,
                                                       m_sheet.corners.data(), m_sheet.triangles(),
                                                       m_sheet.normals.data(), result),
                 std::bad_alloc);
    const int at_return = g_allocations;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(g_allocations, at_return);
    g_refused = 0;
    EXPECT_GE(at_return, refused);
    EXPECT_EQ(m_eliminate.kdtree, nullptr);
    EXPECT_THAT(result, ElementsAre(1, 2, 3));
  }
  m_candidates = candidates;
  EXPECT_EQ(staying(m_sheet), expected);
}

TEST(XGeoFeaturePointEliminate, DoesNoWorkForFaces) {
  XGeoFeaturePointEliminate eliminate;
  std::vector<int> result = {5};
  EXPECT_EQ(eliminate.getGeoFeaturePointIndices(cloudWith({{0, 0, 0}}), {0, 0, 1}, {0},
                                                std::vector<TopoDS_Face>(2), result),
            -1);
  EXPECT_THAT(result, ElementsAre(5));
}

class EliminateOverOneTriangle : public testing::Test {
 protected:
  // One corner at the origin, edges of 8 along x and y; enlarged, the corner is at (-2, -2) and the
  // edges are 14 long.
  std::vector<float> m_corners = {0, 0, 0, 8, 0, 0, 0, 8, 0};
  std::vector<float> m_up = {0, 0, 1};
  XGeoFeaturePointEliminate m_eliminate;

  std::vector<int> staying(const std::vector<pcl::PointXYZ>& points, std::vector<int> indices) {
    const int count = static_cast<int>(m_corners.size() / 9);
    std::vector<int> result = {1, 2};
    EXPECT_EQ(m_eliminate.getGeoFeaturePointIndices(cloudWith(points),
                                                    std::vector<float>(3 * points.size()), indices,
                                                    m_corners.data(), count, m_up.data(), result),
              0);
    return result;
  }
};

TEST_F(EliminateOverOneTriangle, KeepsPointsAtAnyHeightBelowItsLimit) {
  EXPECT_THAT(staying({{2, 2, 0},         // on the plane
                       {8, 0, 5},         // over a corner
                       {-4.79F, 4, -70},  // -0.2 of the enlarged triangle is -4.8
                       {-4.81F, 4, -70},
                       {4, -4.79F, 70},
                       {4, -4.81F, 70},
                       {6.396F, 6.396F, 1},  // a sum of 1.2 is at 12.8
                       {6.404F, 6.404F, 1},
                       {2, 2, 99999},
                       {2, 2, -100000},
                       {kNan, 2, 0},
                       {2, kInf, 0},
                       {2, 2, 3e38F}},
                      {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}),
              ElementsAre(0, 1, 2, 4, 6, 8));
}

TEST_F(EliminateOverOneTriangle, LeavesOutCandidatesOutsideTheCloud) {
  const std::vector<pcl::PointXYZ> points = {{1, 1, 1}, {2, 2, 2}};
  EXPECT_THAT(staying(points, {}), IsEmpty());
  EXPECT_THAT(staying(points, {-1, 1, 2, 1, 1000000, 0, -2147483647}), ElementsAre(1, 1, 0));
  std::vector<int> in_place = {0, 7, 1};
  m_eliminate.getGeoFeaturePointIndices(cloudWith(points), {}, in_place, m_corners.data(), 1,
                                        m_up.data(), in_place);
  EXPECT_THAT(in_place, ElementsAre(0, 1));
  m_eliminate.getGeoFeaturePointIndices(nullptr, {}, {0, 1}, m_corners.data(), 1, m_up.data(),
                                        in_place);
  EXPECT_THAT(in_place, IsEmpty());
}

TEST_F(EliminateOverOneTriangle, HoldsNothingWhereThereIsNoTriangle) {
  const auto cloud = cloudWith({{1, 1, 1}});
  const auto kept = [&](const float* vertices, int vertex_count, const float* normals,
                        const int* faces, int face_count) {
    std::vector<int> result = {3, 3};
    EXPECT_EQ(m_eliminate.getGeoFeaturePointIndices(cloud, {}, {0}, vertices, vertex_count, normals,
                                                    faces, face_count, result),
              0);
    return result.size();
  };
  const float *v = m_corners.data(), *up = m_up.data();
  const int outside[3] = {0, 1, 3}, inside[3] = {0, 1, 2};
  EXPECT_EQ(kept(v, 3, up, inside, 1), 1U);
  for (const int none : {0, -4}) EXPECT_EQ(kept(v, 3, up, inside, none), 0U);
  EXPECT_EQ(kept(nullptr, 3, up, inside, 1), 0U);
  EXPECT_EQ(kept(v, 3, up, nullptr, 1), 0U);
  EXPECT_EQ(kept(v, 3, nullptr, inside, 1), 0U);
  EXPECT_EQ(kept(v, 3, up, outside, 1), 0U);
  EXPECT_EQ(kept(v, 2, up, inside, 1), 0U);
  std::vector<int> result = {3};
  EXPECT_EQ(m_eliminate.getGeoFeaturePointIndices(cloud, {}, {0}, nullptr, 1, up, result), 0);
  EXPECT_THAT(result, IsEmpty());
}

TEST_F(EliminateOverOneTriangle, PassesOverDegenerateAndDuplicateTriangles) {
  const std::vector<float> degenerate = {1,    1, 0, 1, 1, 0, 1, 1, 0,   // a point
                                         0,    0, 0, 2, 2, 0, 1, 1, 0,   // a line
                                         kNan, 0, 0, 1, 0, 0, 0, 1, 0};  // nowhere
  const auto plain = m_corners;
  m_corners = degenerate;
  m_up = {0, 0, 1, 0, 0, 1, 0, 0, 1};
  EXPECT_THAT(staying({{1, 1, 1}}, {0}), IsEmpty());
  for (int i = 0; i < 2; ++i) {
    m_corners.insert(m_corners.end(), plain.begin(), plain.end());
    m_up.insert(m_up.end(), {0, 0, 1});
  }
  EXPECT_THAT(staying({{1, 1, 1}}, {0}), ElementsAre(0));
}

}  // namespace
}  // namespace zelmo::test
