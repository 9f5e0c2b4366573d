// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <pcl/kdtree/kdtree_flann.h>
#include <pcl/point_cloud.h>
#include <pcl/point_types.h>
#include <zelmo/export.h>

#include "zelmo/internal/triangle_record.h"

namespace xgeofit {

/// Compensates single touch points for the probe radius: along their own normal, or along the normal
/// of the nearest face of a mesh that was given before.
///
/// A copy shares the cloud and the tree. One object serves one thread at a time.
class ZELMO_EXPORT XPointFit {
 public:
  boost::shared_ptr<pcl::PointCloud<pcl::PointXYZ>>
      cloud;                                 ///< centroids of the faces, in their order
  std::vector<zelmo::TriangleRecord> faces;  ///< the faces, in their order
  std::shared_ptr<pcl::KdTreeFLANN<pcl::PointXYZ>> tree;  ///< over the cloud

  /// Takes over the mesh whose faces compensate single points; replaces an earlier one.
  ///
  /// \param[in] vertices float[3 * vertexCount]: x, y, z per vertex
  /// \param[in] vertexCount number of vertices; a face that names another index is kept in its place,
  ///     but no search finds it
  /// \param[in] faceNormals float[3 * faceCount]: unit normal per face, used as given; with null no face
  ///     is found
  /// \param[in] faceIndices int[3 * faceCount]: three vertex indices per face
  /// \param[in] faceCount number of faces; 0 or less gives an empty mesh
  void setData(const float* vertices, const int& vertexCount, const float* faceNormals,
               const int* faceIndices, const int& faceCount);

  /// Moves one point by the radius against the normal of the nearest face.
  ///
  /// Of the ten faces with the nearest centroids, those count over which the point lies (each
  /// enlarged, so that a point just past an edge still counts), and of these the one whose plane is
  /// nearest wins. The measured normal plays no part.
  ///
  /// \param[in] point float[6]: position, normal; only the position is read
  /// \param[out] result float[6]: compensated position, normal of the face; unwritten on failure
  /// \param[in] radius radius of the probe's tip
  /// \return 0; -2 when no face is near (no mesh, or a position that is not finite); -3 when the point
  ///     lies over none of the ten; -4 when its foot is more than 30 units away. Each failure writes
  ///     its line on the standard output: "-2_123456789", "-3_123456789", "-4_123456789".
  int Fit(const float* const point, float* const result, const float& radius);

  /// Moves each point by the radius against its own normal. The mesh is not used.
  ///
  /// \param[in] records float[6 * count]: position, normal per point
  /// \param[in] count number of points; 0 or less means none
  /// \param[out] result float[6 * count]: compensated position, the same normal
  /// \param[in] radius radius of the probe's tip
  /// \return 0 in every case
  int Fit(const float* records, const int& count, float* result, const float& radius);
};

}  // namespace xgeofit
