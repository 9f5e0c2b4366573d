// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <utility>

#include <gmock/gmock.h>

#include "zelmo/internal/cloud_tree.h"
#include "zelmo/internal/through_points.h"
#include "zelmo/internal/triangle_search.h"

namespace zelmo::internal {
namespace {

using testing::ElementsAre;
using testing::FloatEq;
using testing::IsEmpty;
using testing::Pointwise;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

// Points of a lattice have many equal distances, so the order on a tie shows. Every tenth is not finite.
boost::shared_ptr<Cloud> latticeWithHoles() {
  const auto cloud = makeCloud(700);
  std::mt19937 random(7);
  const auto coordinate = [&random] { return static_cast<float>(random() % 9); };
  for (std::size_t i = 0; i < cloud->size(); ++i) {
    cloud->points[i] = {coordinate(), coordinate(), coordinate()};
    if (i % 10 == 3) cloud->points[i].y = i % 20 == 3 ? kNan : kInf;
  }
  return cloud;
}

TEST(CloudTree, FindsWhatABruteForceFindsInTheSameOrder) {
  const auto cloud = latticeWithHoles();
  const auto tree = buildTree(cloud, NeighbourOrder::ByDistance);
  const float query[3] = {4, 3, 5};
  std::vector<std::pair<float, int>> all;  // squared distance and index of every finite point
  for (std::size_t i = 0; i < cloud->size(); ++i) {
    const auto& p = cloud->points[i];
    const float squared =
        std::pow(p.x - 4, 2.0F) + std::pow(p.y - 3, 2.0F) + std::pow(p.z - 5, 2.0F);
    if (std::isfinite(squared)) all.emplace_back(squared, static_cast<int>(i));
  }
  std::sort(all.begin(), all.end());
  Neighbours found;
  for (const float radius : {1.0F, 2.5F, kInf}) {  // 1: points exactly on it are out
    searchRadius(tree.get(), query, radius, found);
    std::vector<int> expected;
    for (const auto& [squared, i] : all) {
      if (squared < radius * radius) expected.push_back(i);
    }
    EXPECT_EQ(found.indices, expected) << radius;
  }
  searchNearest(tree.get(), query, 40, found);
  ASSERT_EQ(found.indices.size(), 40U);
  for (std::size_t k = 0; k < 40; ++k) EXPECT_EQ(found.squared_distances[k], all[k].first) << k;
  searchNearest(tree.get(), query, 100000, found);
  EXPECT_EQ(found.indices.size(), all.size());
}

TEST(CloudTree, FindsNothingWhereNothingCanBeFound) {
  const auto hollow = makeCloud(3);
  for (auto& p : hollow->points) p.x = kNan;
  const auto full = buildTree(latticeWithHoles(), NeighbourOrder::AsFound);
  const auto empty = buildTree(makeCloud(0), NeighbourOrder::ByDistance);
  const auto all_nan = buildTree(hollow, NeighbourOrder::ByDistance);
  const struct {
    const char* name;
    const CloudTree* tree;
    float query_x;
    double radius;
    int wanted;
  } cases[] = {{"no tree", nullptr, 0, 5, 5},         {"empty cloud", empty.get(), 0, 5, 5},
               {"all NaN", all_nan.get(), 0, 5, 5},   {"NaN query", full.get(), kNan, 5, 5},
               {"infinite", full.get(), -kInf, 5, 5}, {"negative", full.get(), 0, -5, -1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const float query[3] = {c.query_x, 0, 0};
    Neighbours found{{1, 2}, {3.0F, 4.0F}};
    searchRadius(c.tree, query, c.radius, found);
    EXPECT_THAT(found.indices, IsEmpty());
    found = {{1, 2}, {3.0F, 4.0F}};
    searchNearest(c.tree, query, c.wanted, found);
    EXPECT_THAT(found.indices, IsEmpty());
    EXPECT_THAT(found.squared_distances, IsEmpty());
  }
}

// The right triangle (0,0) (b, 0) (0, c) at the height z.
TriangleRecord rightTriangle(float b, float c, float z) {
  const float corners[] = {0, 0, z, b, 0, z, 0, c, z}, up[3] = {0, 0, 1};
  return triangleOf(corners, corners + 3, corners + 6, up);
}

// Enlarged by k the triangle (0,0) (8,0) (0,8) has its corner a at (-8k, -8k) and edges of 8 (1 + 3k).
// u runs along c (y), v along b (x), each from -0.2 to 1.2, their sum to 1.2.
TEST(TriangleSearch, EndsWhereTheTwoTolerancesEnd) {
  const TriangleRecord triangle = rightTriangle(8, 8, 2);
  const struct {
    double u, v;
    bool inside;
  } places[] = {{-0.199, 0.5, true},  {-0.201, 0.5, false}, {0.5, -0.199, true},
                {0.5, -0.201, false}, {0.6, 0.599, true},   {0.6, 0.601, false},
                {1.199, 0.0, true},   {1.201, -0.1, false}, {-0.1, 1.201, false}};
  for (const auto reach : {TriangleReach::QuarterEdge, TriangleReach::HalfEdge}) {
    const double k = reach == TriangleReach::QuarterEdge ? 0.25 : 0.5;
    const double corner = -8 * k, edge = 8 * (1 + 3 * k);
    for (const auto& place : places) {
      SCOPED_TRACE(testing::Message() << k << ' ' << place.u << ", " << place.v);
      const float p[3] = {static_cast<float>(corner + place.v * edge),
                          static_cast<float>(corner + place.u * edge), 5.0F};
      const auto foot = footInside(triangle, p, reach);
      ASSERT_EQ(foot.has_value(), place.inside);
      if (!foot) continue;
      EXPECT_EQ(foot->distance, 3.0);
      EXPECT_EQ(foot->foot, (std::array<double, 3>{p[0], p[1], 2.0}));
    }
  }
}

TEST(TriangleSearch, TakesTheNearestPlaneAndTheEarlierOnATie) {
  const std::vector<TriangleRecord> triangles = {
      rightTriangle(8, 8, 0),    rightTriangle(8, 8, 4),
      rightTriangle(8, 8, 4),    rightTriangle(1, 1, 5),  // nearest, but the point is not over it
      rightTriangle(8, 8, 2e5F),                          // beyond the farthest plane that counts
      rightTriangle(0, 0, 5),    rightTriangle(8, 0, 5)   // degenerate: a point and a line
  };
  const float p[3] = {3, 3, 5};
  const auto nearest = [&](const std::vector<int>& candidates) {
    const auto foot = nearestTriangle(triangles, candidates, p, TriangleReach::QuarterEdge);
    EXPECT_EQ(foot.has_value(), liesOverAny(triangles, candidates, p, TriangleReach::QuarterEdge));
    return foot ? foot->triangle : -1;
  };
  EXPECT_EQ(nearest({0, 1, 2, 3}), 1);
  EXPECT_EQ(nearest({0, 2, 0, 2, 1}), 2);
  EXPECT_EQ(nearest({-1, 7, 1000, 0}), 0);
  EXPECT_EQ(nearest({3}), -1);
  EXPECT_EQ(nearest({4}), -1);
  EXPECT_EQ(nearest({5, 6}), -1);
  EXPECT_EQ(nearest({}), -1);
  for (const float bad : {std::numeric_limits<float>::quiet_NaN(), HUGE_VALF, 3e38F}) {
    for (const auto& q : {std::array<float, 3>{bad, 3, 1}, {3, bad, 1}, {3, 3, bad}}) {
      EXPECT_FALSE(nearestTriangle(triangles, {0}, q.data(), TriangleReach::HalfEdge)) << bad;
      EXPECT_FALSE(liesOverAny(triangles, {0}, q.data(), TriangleReach::QuarterEdge)) << bad;
    }
  }
}

TEST(TriangleSearch, RecordsCentroidAndPlaneOfFacesThatExist) {
  const float vertices[] = {1, 2, 1, 5, 2, 1, 2, 9, 8, 0, 0, 0};
  const int faces[] = {2, 0, 1, 0, 1, 4, -1, 0, 1};
  const MeshView mesh(PointView(vertices, 4), faces, 3);
  const float normal[3] = {0.6F, 0.0F, 0.8F};
  const auto triangle = triangleOf(mesh, 0, normal);
  ASSERT_TRUE(triangle);
  EXPECT_EQ(triangle->c[0], 5.0F);
  EXPECT_FLOAT_EQ(triangle->d, -(0.6F * 2.0F + 0.8F * 8.0F));
  EXPECT_THAT(centroidOf(*triangle), Pointwise(FloatEq(), {8 / 3.0F, 13 / 3.0F, 10 / 3.0F}));
  EXPECT_FALSE(triangleOf(mesh, 1, normal));
  EXPECT_FALSE(triangleOf(mesh, 2, normal));
}

TEST(SphereThrough, FailsOnPointsThatHaveNone) {
  const float flat[12] = {1, 1, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0};
  EXPECT_FALSE(sphereThrough(flat, SquareSums::InDouble));
  const float huge[12] = {1e30F, 1, 1, 0, 1e30F, 1, 0, 0, 1e30F, 0, 0, 0};
  EXPECT_FALSE(sphereThrough(huge, SquareSums::InFloat));
}

}  // namespace
}  // namespace zelmo::internal
