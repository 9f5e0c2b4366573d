// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/extract/point_eliminate.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "zelmo/internal/cloud_tree.h"
#include "zelmo/internal/task_crew.h"
#include "zelmo/internal/triangle_search.h"

namespace xgeofeature {

namespace zi = zelmo::internal;

namespace {

constexpr int kTasks = 4;
constexpr int kNeighbours = 10;
constexpr int kNoWork = -1;
constexpr int kDropped = -1;
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

boost::shared_ptr<zi::Cloud> centroidsOf(const std::vector<zelmo::TriangleRecord>& triangles) {
  auto centroids = zi::makeCloud(static_cast<int>(triangles.size()));
  for (std::size_t i = 0; i < triangles.size(); ++i) {
    const auto centroid = zi::centroidOf(triangles[i]);
    centroids->points[i] = {centroid[0], centroid[1], centroid[2]};
  }
  return centroids;
}

zelmo::TriangleRecord unreadable() {
  const float nowhere[3] = {kNan, kNan, kNan};
  return zi::triangleOf(nowhere, nowhere, nowhere, nowhere);
}

/// Unsets the tree, however the call ends.
class TreeOfCall {
 public:
  TreeOfCall(std::shared_ptr<zi::CloudTree>& field, const boost::shared_ptr<zi::Cloud>& cloud)
      : m_field(field) {
    m_field = zi::buildTree(cloud, zi::NeighbourOrder::AsFound);
  }
  TreeOfCall(const TreeOfCall&) = delete;
  TreeOfCall& operator=(const TreeOfCall&) = delete;
  ~TreeOfCall() { m_field.reset(); }

 private:
  std::shared_ptr<zi::CloudTree>& m_field;
};

}  // namespace

int XGeoFeaturePointEliminate::getGeoFeaturePointIndices(const boost::shared_ptr<Cloud>&,
                                                         const std::vector<float>&,
                                                         const std::vector<int>&,
                                                         const std::vector<TopoDS_Face>&,
                                                         std::vector<int>&) {
  // CONTRACT: faces are not triangulated; nothing is read or written.
  return kNoWork;
}

int XGeoFeaturePointEliminate::getGeoFeaturePointIndices(
    const boost::shared_ptr<Cloud>& cloud, const std::vector<float>& normals,
    const std::vector<int>& indices, const float* corners, const int& triangleCount,
    const float* triangleNormals, std::vector<int>& result) {
  const zi::PointView corner(corners, 3 * std::max(triangleCount, 0));
  const zi::PointView normal(triangleNormals, triangleCount);
  triangles.clear();
  for (int i = 0; i < normal.count() && !corner.empty(); ++i) {
    triangles.push_back(
        zi::triangleOf(corner.at(3 * i), corner.at(3 * i + 1), corner.at(3 * i + 2), normal.at(i)));
  }
  copyCandidates(cloud, normals, indices);
  eliminate(indices, result);
  return 0;
}

int XGeoFeaturePointEliminate::getGeoFeaturePointIndices(
    const boost::shared_ptr<Cloud>& cloud, const std::vector<float>& normals,
    const std::vector<int>& indices, const float* vertices, const int& vertexCount,
    const float* triangleNormals, const int* vertexIndices, const int& triangleCount,
    std::vector<int>& result) {
  const zi::MeshView mesh(zi::PointView(vertices, vertexCount), vertexIndices, triangleCount);
  const zi::PointView normal(triangleNormals, mesh.faceCount());
  triangles.clear();
  for (int i = 0; i < normal.count(); ++i) {
    triangles.push_back(zi::triangleOf(mesh, i, normal.at(i)).value_or(unreadable()));
  }
  copyCandidates(cloud, normals, indices);
  eliminate(indices, result);
  return 0;
}

void XGeoFeaturePointEliminate::copyCandidates(const boost::shared_ptr<Cloud>& cloud,
                                               const std::vector<float>& normals,
                                               const std::vector<int>& indices) {
  const std::size_t cloud_size = cloud != nullptr ? cloud->size() : 0;
  cloudPoints = zi::makeCloud(static_cast<int>(indices.size()));
  pointNormals.assign(3 * indices.size(), kNan);
  for (std::size_t i = 0; i < indices.size(); ++i) {
    const auto candidate = static_cast<std::size_t>(indices[i]);  // a negative one becomes huge
    if (candidate >= cloud_size) {
      cloudPoints->points[i] = {kNan, kNan, kNan};
      continue;
    }
    cloudPoints->points[i] = cloud->points[candidate];
    if (3 * candidate + 3 <= normals.size()) {
      std::copy_n(&normals[3 * candidate], 3, &pointNormals[3 * i]);
    }
  }
}

void XGeoFeaturePointEliminate::eliminate(const std::vector<int>& indices,
                                          std::vector<int>& result) {
  cloudCentroids = centroidsOf(triangles);
  const TreeOfCall tree(kdtree, cloudCentroids);
  const int total = static_cast<int>(indices.size());
  int next = 0;
  std::vector<int> flags(indices.size(), kDropped);
  zi::runTasks(kTasks,
               [&](int) { Thread_Manage(total, &next, kdtree.get(), kNeighbours, flags.data()); });
  std::vector<int> kept;
  for (const int flag : flags) {
    if (flag >= 0) kept.push_back(indices[static_cast<std::size_t>(flag)]);
  }
  result = std::move(kept);
}

void XGeoFeaturePointEliminate::Thread_Manage(const int& total, int* next, Tree* tree,
                                              int neighbours, int* flags) {
  std::vector<int> found(static_cast<std::size_t>(neighbours));
  while (const auto item = zi::takeItem(mtx, *next, total)) {
    Thread_func2(*item, tree, neighbours, found, flags);
  }
}

void XGeoFeaturePointEliminate::Thread_func2(const int& index, Tree* tree, int neighbours,
                                             std::vector<int>& found, int* flags) {
  if (index < 0 || static_cast<std::size_t>(index) >= cloudPoints->size()) return;
  const float* point = cloudPoints->points[static_cast<std::size_t>(index)].data;
  zi::Neighbours near{std::move(found), {}};
  zi::searchNearest(tree, point, neighbours, near);
  const bool stays =
      zi::liesOverAny(triangles, near.indices, point, zi::TriangleReach::QuarterEdge);
  flags[index] = stays ? index : kDropped;
  found = std::move(near.indices);
}

}  // namespace xgeofeature
