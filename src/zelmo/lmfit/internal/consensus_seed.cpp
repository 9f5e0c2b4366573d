// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/lmfit/internal/consensus_seed.h"

#include <algorithm>

#include <pcl/ModelCoefficients.h>
#include <pcl/PointIndices.h>
#include <pcl/point_cloud.h>
#include <pcl/point_types.h>
#include <pcl/sample_consensus/method_types.h>
#include <pcl/sample_consensus/model_types.h>
#include <pcl/segmentation/sac_segmentation.h>

namespace zelmo::internal {
namespace {

constexpr double kDistanceThreshold = 2.0;
constexpr int kMaxIterations = 10000;
constexpr double kNormalWeight = 0.1;
constexpr double kLeastOpening = 1e-6;
constexpr double kMostOpening = 1.57;

template <typename Point, typename Assign>
auto cloudFrom(const PointView& view, Assign assign) {
  auto cloud = std::make_shared<pcl::PointCloud<Point>>();
  cloud->points.resize(static_cast<std::size_t>(view.count()));
  for (int i = 0; i < view.count(); ++i) {
    assign(cloud->points[static_cast<std::size_t>(i)], view.at(i));
  }
  cloud->width = static_cast<std::uint32_t>(view.count());
  cloud->height = 1;
  cloud->is_dense = false;
  return cloud;
}

}  // namespace

std::optional<AxisSeed> consensusSeed(ConsensusModel model, const PointView& points,
                                      const PointView& normals) {
  if (points.empty() || normals.count() != points.count()) return std::nullopt;
  const auto cloud = cloudFrom<pcl::PointXYZ>(points, [](pcl::PointXYZ& to, const float* from) {
    to = pcl::PointXYZ(from[0], from[1], from[2]);
  });
  const auto directions = cloudFrom<pcl::Normal>(normals, [](pcl::Normal& to, const float* from) {
    to = pcl::Normal(from[0], from[1], from[2]);
  });

  pcl::SACSegmentationFromNormals<pcl::PointXYZ, pcl::Normal> segmentation;
  segmentation.setOptimizeCoefficients(true);
  segmentation.setMethodType(pcl::SAC_RANSAC);
  segmentation.setDistanceThreshold(kDistanceThreshold);
  segmentation.setMaxIterations(kMaxIterations);
  segmentation.setNormalDistanceWeight(kNormalWeight);
  if (model == ConsensusModel::Cylinder) {
    segmentation.setModelType(pcl::SACMODEL_CYLINDER);
  } else {
    segmentation.setModelType(pcl::SACMODEL_CONE);
    segmentation.setMinMaxOpeningAngle(kLeastOpening, kMostOpening);
  }
  segmentation.setInputCloud(cloud);
  segmentation.setInputNormals(directions);
  pcl::PointIndices inliers;
  pcl::ModelCoefficients coefficients;
  segmentation.segment(inliers, coefficients);

  AxisSeed seed;
  if (coefficients.values.size() < seed.size()) return std::nullopt;
  std::copy_n(coefficients.values.begin(), seed.size(), seed.begin());
  return seed;
}

}  // namespace zelmo::internal
