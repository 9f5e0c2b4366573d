// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/extract/internal/boundary_index.h"

#include <algorithm>

#include <pcl/common/point_tests.h>
#include <pcl/features/boundary.h>
#include <pcl/features/normal_3d.h>
#include <pcl/search/kdtree.h>

namespace zelmo::internal {
namespace {

constexpr int kNeighbours = 20;
constexpr auto kWidestGap = static_cast<float>(M_PI / 2);

}  // namespace

std::vector<int> boundaryIndices(const boost::shared_ptr<Cloud>& cloud) {
  std::vector<int> boundary;
  if (cloud == nullptr || std::none_of(cloud->begin(), cloud->end(), [](const pcl::PointXYZ& p) {
        return pcl::isXYZFinite(p);
      })) {
    return boundary;
  }
  const auto points = asPclPointer(cloud);
  const auto normal_tree = std::make_shared<pcl::search::KdTree<pcl::PointXYZ>>();
  normal_tree->setInputCloud(points);
  const auto normals = std::make_shared<pcl::PointCloud<pcl::Normal>>();
  pcl::NormalEstimation<pcl::PointXYZ, pcl::Normal> normal_estimation;
  normal_estimation.setInputCloud(points);
  normal_estimation.setSearchMethod(normal_tree);
  normal_estimation.setKSearch(kNeighbours);
  normal_estimation.compute(*normals);

  pcl::PointCloud<pcl::Boundary> flags;
  pcl::BoundaryEstimation<pcl::PointXYZ, pcl::Normal, pcl::Boundary> boundary_estimation;
  boundary_estimation.setInputCloud(points);
  boundary_estimation.setInputNormals(normals);
  boundary_estimation.setSearchMethod(std::make_shared<pcl::search::KdTree<pcl::PointXYZ>>());
  boundary_estimation.setKSearch(kNeighbours);
  boundary_estimation.setAngleThreshold(kWidestGap);
  boundary_estimation.compute(flags);

  const std::size_t flagged = std::min(cloud->size(), flags.size());
  for (std::size_t i = 0; i < flagged; ++i) {
    if (flags[i].boundary_point != 0) boundary.push_back(static_cast<int>(i));
  }
  return boundary;
}

}  // namespace zelmo::internal
