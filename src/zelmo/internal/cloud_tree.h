// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <pcl/kdtree/kdtree_flann.h>
#include <pcl/point_cloud.h>
#include <pcl/point_types.h>

#include "zelmo/internal/array_view.h"

/// \file
/// A cloud and its search tree, safe where PCL ends the process: on a cloud without one finite
/// point and on a query that is not finite nothing is found.
/// Callers: feature extraction, point elimination, poly line fit, point fit, RPS alignment.

namespace zelmo::internal {

using Cloud = pcl::PointCloud<pcl::PointXYZ>;
using CloudTree = pcl::KdTreeFLANN<pcl::PointXYZ, flann::L2_Simple<float>>;

/// A cloud of \p count points at the origin: width \p count, height 1, not dense. A negative
/// \p count counts as 0.
boost::shared_ptr<Cloud> makeCloud(int count);

/// A cloud of the points of \p points, in their order.
boost::shared_ptr<Cloud> cloudOf(const PointView& points);

/// \p cloud as the pointer that PCL's interfaces take; it keeps the cloud alive.
std::shared_ptr<const Cloud> asPclPointer(const boost::shared_ptr<Cloud>& cloud);

enum class NeighbourOrder {
  ByDistance,  ///< growing squared float distance, the lower index first on a tie
  AsFound,     ///< the order of a radius search is the tree's own
};

/// Builds the tree over the finite points of \p cloud; its indices are the cloud's.
/// \return never null; without one finite point a tree that has no input cloud
std::shared_ptr<CloudTree> buildTree(const boost::shared_ptr<Cloud>& cloud, NeighbourOrder order);

struct Neighbours {
  std::vector<int> indices;
  std::vector<float> squared_distances;
};

/// All points strictly nearer to \p query than \p radius: those whose squared distance, in float, is
/// below the square of \p radius, narrowed to float.
/// \param[in] tree may be null
/// \param[in] query float[3]
/// \param[out] found empty when \p tree is null or empty, \p query is not finite, or \p radius is
///     not greater than 0
void searchRadius(const CloudTree* tree, const float* query, double radius, Neighbours& found);

/// The \p wanted nearest points, nearest first; all of them when the tree holds fewer.
/// \param[out] found empty when \p tree is null or empty, \p query is not finite, or \p wanted is
///     below 1; a point so far off that its squared distance is no finite float is left out
void searchNearest(const CloudTree* tree, const float* query, int wanted, Neighbours& found);

}  // namespace zelmo::internal
