// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/cloud_tree.h"

#include <algorithm>
#include <cmath>

#include <boost/make_shared.hpp>

namespace zelmo::internal {
namespace {

bool isFinite(const float* p) {
  return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
}

bool canSearch(const CloudTree* tree, const float* query) {
  return tree != nullptr && tree->getInputCloud() != nullptr && isFinite(query);
}

}  // namespace

boost::shared_ptr<Cloud> makeCloud(int count) {
  const auto size = static_cast<std::uint32_t>(std::max(count, 0));
  auto cloud = boost::make_shared<Cloud>();
  cloud->points.resize(size);
  cloud->width = size;
  cloud->height = 1;
  cloud->is_dense = false;
  return cloud;
}

boost::shared_ptr<Cloud> cloudOf(const PointView& points) {
  auto cloud = makeCloud(points.count());
  for (int i = 0; i < points.count(); ++i) {
    const float* p = points.at(i);
    cloud->points[static_cast<std::size_t>(i)] = {p[0], p[1], p[2]};
  }
  return cloud;
}

std::shared_ptr<const Cloud> asPclPointer(const boost::shared_ptr<Cloud>& cloud) {
  // The deleter holds the handle, and with it the cloud.
  return {cloud.get(), [cloud](const Cloud*) {}};
}

std::shared_ptr<CloudTree> buildTree(const boost::shared_ptr<Cloud>& cloud, NeighbourOrder order) {
  auto tree = std::make_shared<CloudTree>(order == NeighbourOrder::ByDistance);
  const bool any_finite = std::any_of(cloud->points.begin(), cloud->points.end(),
                                      [](const pcl::PointXYZ& p) { return isFinite(p.data); });
  if (any_finite) tree->setInputCloud(asPclPointer(cloud));
  return tree;
}

void searchRadius(const CloudTree* tree, const float* query, double radius, Neighbours& found) {
  found.indices.clear();
  found.squared_distances.clear();
  if (!canSearch(tree, query) || !(radius > 0.0)) return;
  tree->radiusSearch(pcl::PointXYZ(query[0], query[1], query[2]), radius, found.indices,
                     found.squared_distances, 0);
}

void searchNearest(const CloudTree* tree, const float* query, int wanted, Neighbours& found) {
  found.indices.clear();
  found.squared_distances.clear();
  if (!canSearch(tree, query) || wanted < 1) return;
  // The tree leaves entries for which it finds no finite distance as they are: -1 tells them.
  const auto size = std::min(static_cast<std::size_t>(wanted), tree->getInputCloud()->size());
  found.indices.assign(size, 0);
  found.squared_distances.assign(size, -1.0F);
  tree->nearestKSearch(pcl::PointXYZ(query[0], query[1], query[2]), static_cast<unsigned>(size),
                       found.indices, found.squared_distances);
  const auto unset =
      std::find(found.squared_distances.begin(), found.squared_distances.end(), -1.0F);
  found.indices.resize(static_cast<std::size_t>(unset - found.squared_distances.begin()));
  found.squared_distances.erase(unset, found.squared_distances.end());
}

}  // namespace zelmo::internal
