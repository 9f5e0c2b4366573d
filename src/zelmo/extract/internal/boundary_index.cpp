// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/extract/internal/boundary_index.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <unordered_map>

#include <pcl/common/point_tests.h>
#include <pcl/features/boundary.h>
#include <pcl/features/normal_3d.h>
#include <pcl/search/kdtree.h>

namespace zelmo::internal {
namespace {

constexpr int kNeighbours = 20;
constexpr auto kWidestGap = static_cast<float>(M_PI / 2);

struct BitsHash {
  std::size_t operator()(const std::array<std::uint32_t, 3>& bits) const {
    std::uint64_t hash = bits[0];
    for (const std::uint32_t b : {bits[1], bits[2]}) hash = hash * 0x9E3779B97F4A7C15U + b;
    return static_cast<std::size_t>(hash ^ (hash >> 32));
  }
};

/// Which points stand for themselves, and which for another at the same place. Equal points have
/// equal neighbours. Scanners put pixels that they missed into one place, and there each look for
/// neighbours walks over all of them.
struct Places {
  pcl::IndicesPtr first = std::make_shared<pcl::Indices>();  ///< the first point of each place
  std::vector<std::size_t> place;                            ///< of each point: position in first

  explicit Places(const Cloud& cloud) {
    std::unordered_map<std::array<std::uint32_t, 3>, std::size_t, BitsHash> found;
    found.reserve(cloud.size());
    place.reserve(cloud.size());
    for (const pcl::PointXYZ& p : cloud) {
      std::array<std::uint32_t, 3> bits;
      std::memcpy(bits.data(), p.data, sizeof bits);
      const auto [at, is_new] = found.try_emplace(bits, first->size());
      if (is_new) first->push_back(static_cast<int>(place.size()));
      place.push_back(at->second);
    }
  }
};

}  // namespace

std::vector<int> boundaryIndices(const boost::shared_ptr<Cloud>& cloud) {
  std::vector<int> boundary;
  if (cloud == nullptr || std::none_of(cloud->begin(), cloud->end(), [](const pcl::PointXYZ& p) {
        return pcl::isXYZFinite(p);
      })) {
    return boundary;
  }
  const auto points = asPclPointer(cloud);
  const Places places(*cloud);
  const auto normal_tree = std::make_shared<pcl::search::KdTree<pcl::PointXYZ>>();
  normal_tree->setInputCloud(points);
  pcl::PointCloud<pcl::Normal> normal_of_place;
  pcl::NormalEstimation<pcl::PointXYZ, pcl::Normal> normal_estimation;
  normal_estimation.setInputCloud(points);
  normal_estimation.setIndices(places.first);
  normal_estimation.setSearchMethod(normal_tree);
  normal_estimation.setKSearch(kNeighbours);
  normal_estimation.compute(normal_of_place);
  if (normal_of_place.size() != places.first->size()) return boundary;
  const auto normals = std::make_shared<pcl::PointCloud<pcl::Normal>>();
  normals->reserve(cloud->size());
  for (const std::size_t place : places.place) normals->push_back(normal_of_place[place]);

  pcl::PointCloud<pcl::Boundary> flag_of_place;
  pcl::BoundaryEstimation<pcl::PointXYZ, pcl::Normal, pcl::Boundary> boundary_estimation;
  boundary_estimation.setInputCloud(points);
  boundary_estimation.setIndices(places.first);
  boundary_estimation.setInputNormals(normals);
  boundary_estimation.setSearchMethod(std::make_shared<pcl::search::KdTree<pcl::PointXYZ>>());
  boundary_estimation.setKSearch(kNeighbours);
  boundary_estimation.setAngleThreshold(kWidestGap);
  boundary_estimation.compute(flag_of_place);
  if (flag_of_place.size() != places.first->size()) return boundary;

  for (std::size_t i = 0; i < places.place.size(); ++i) {
    if (flag_of_place[places.place[i]].boundary_point != 0) boundary.push_back(static_cast<int>(i));
  }
  return boundary;
}

}  // namespace zelmo::internal
