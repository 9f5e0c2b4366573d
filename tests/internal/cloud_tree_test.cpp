// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/cloud_tree.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <utility>

#include <boost/weak_ptr.hpp>
#include <gmock/gmock.h>

namespace zelmo::internal {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

// A lattice has many equal distances, so the order on a tie shows. Every tenth point is not finite.
boost::shared_ptr<Cloud> latticeWithHoles() {
  const auto cloud = makeCloud(9 * 9 * 9);
  std::vector<int> order(cloud->size());
  std::iota(order.begin(), order.end(), 0);
  std::shuffle(order.begin(), order.end(), std::mt19937(7));
  for (std::size_t i = 0; i < order.size(); ++i) {
    const int k = order[i];
    cloud->points[i] = {static_cast<float>(k % 9), static_cast<float>(k / 9 % 9),
                        static_cast<float>(k / 81)};
    if (i % 10 == 3) cloud->points[i].y = i % 20 == 3 ? kNan : kInf;
  }
  return cloud;
}

/// (squared distance, index) of every finite point, nearest first.
std::vector<std::pair<float, int>> byDistance(const Cloud& cloud, const float* query) {
  std::vector<std::pair<float, int>> all;
  for (std::size_t i = 0; i < cloud.size(); ++i) {
    const float x = cloud[i].x - query[0], y = cloud[i].y - query[1], z = cloud[i].z - query[2];
    const float squared = x * x + y * y + z * z;
    if (std::isfinite(squared)) all.emplace_back(squared, static_cast<int>(i));
  }
  std::sort(all.begin(), all.end());
  return all;
}

TEST(CloudTree, FindsWhatABruteForceFindsInTheSameOrder) {
  const auto cloud = latticeWithHoles();
  const auto tree = buildTree(cloud, NeighbourOrder::ByDistance);
  const float query[3] = {4.0F, 3.0F, 5.0F};
  const auto all = byDistance(*cloud, query);
  Neighbours found;
  for (const float radius : {0.5F, 1.0F, 2.5F, 100.0F, kInf}) {  // 1: points exactly on it are out
    SCOPED_TRACE(radius);
    searchRadius(tree.get(), query, radius, found);
    std::vector<int> expected;
    for (const auto& [squared, i] : all) {
      if (squared < radius * radius) expected.push_back(i);
    }
    EXPECT_EQ(found.indices, expected);
  }
  searchNearest(tree.get(), query, 40, found);
  ASSERT_EQ(found.indices.size(), 40U);
  for (std::size_t k = 0; k < 40; ++k) EXPECT_EQ(found.squared_distances[k], all[k].first) << k;
  searchNearest(tree.get(), query, 100000, found);
  EXPECT_EQ(found.indices.size(), all.size());
}

TEST(CloudTree, FindsNothingWhereNothingCanBeFound) {
  const auto lattice = latticeWithHoles();
  const auto hollow = makeCloud(3);
  for (auto& p : hollow->points) p.x = kNan;
  const auto full = buildTree(lattice, NeighbourOrder::AsFound);
  const auto empty = buildTree(makeCloud(0), NeighbourOrder::ByDistance);
  const auto all_nan = buildTree(hollow, NeighbourOrder::ByDistance);
  const float origin[3] = {0, 0, 0}, with_nan[3] = {0, kNan, 0}, with_inf[3] = {-kInf, 0, 0};
  const float beyond_float[3] = {3e30F, 0, 0};  // the squared distance overflows
  const struct {
    const char* name;
    const CloudTree* tree;
    const float* query;
    double radius;
    int wanted;
  } cases[] = {
      {"no tree", nullptr, origin, 5.0, 5},        {"empty cloud", empty.get(), origin, 5.0, 5},
      {"all NaN", all_nan.get(), origin, 5.0, 5},  {"NaN query", full.get(), with_nan, 5.0, 5},
      {"inf query", full.get(), with_inf, 5.0, 5}, {"far query", full.get(), beyond_float, 5.0, 5},
      {"zero", full.get(), origin, 0.0, 0},        {"negative", full.get(), origin, -5.0, -1},
      {"NaN radius", full.get(), origin, kNan, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Neighbours found{{1, 2}, {3.0F, 4.0F}};
    searchRadius(c.tree, c.query, c.radius, found);
    EXPECT_THAT(found.indices, IsEmpty());
    found = {{1, 2}, {3.0F, 4.0F}};
    searchNearest(c.tree, c.query, c.wanted, found);
    EXPECT_THAT(found.indices, IsEmpty());
    EXPECT_THAT(found.squared_distances, IsEmpty());
  }
}

TEST(CloudTree, KeepsItsCloudAlive) {
  auto cloud = cloudOf(PointView(std::vector<cv::Point3f>{{1, 2, 3}, {4, 5, 6}}));
  const boost::weak_ptr<Cloud> watched = cloud;
  auto tree = buildTree(cloud, NeighbourOrder::ByDistance);
  cloud.reset();
  EXPECT_FALSE(watched.expired());
  const float query[3] = {4, 5, 6};
  Neighbours found;
  searchNearest(tree.get(), query, 2, found);
  EXPECT_THAT(found.indices, ElementsAre(1, 0));
  tree.reset();
  EXPECT_TRUE(watched.expired());
}

}  // namespace
}  // namespace zelmo::internal
