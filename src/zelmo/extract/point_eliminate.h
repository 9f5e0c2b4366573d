// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include <TopoDS_Face.hxx>
#include <boost/shared_ptr.hpp>
#include <pcl/kdtree/kdtree_flann.h>
#include <pcl/point_cloud.h>
#include <pcl/point_types.h>
#include <zelmo/export.h>

#include "zelmo/internal/triangle_record.h"

namespace xgeofeature {

/// Narrows a list of cloud points down to those that lie over a triangulated nominal surface.
///
/// A candidate stays when its foot on the plane of one of the ten triangles with the nearest
/// centroids falls into that triangle, or beyond it by little: the triangle is first enlarged, each
/// corner moving outwards along both its edges by a quarter of the edge, and barycentric coordinates
/// from -0.2 to 1.2, with a sum up to 1.2, are accepted in the enlarged one. How high the point lies
/// over the triangle does not matter below 100000, and its normal plays no part.
///
/// Four tasks share the work of a call and have ended when it returns, also when one of them fails
/// (out of memory) or can't be started (std::system_error): the exception then comes out of the call,
/// and the result stays as it was. One object serves one call at a time. It can't be copied.
/// \note A point near a large triangle with ten or more small ones around may be missed. Triangles
///     whose centroids coincide are all looked at for each candidate.
class ZELMO_EXPORT XGeoFeaturePointEliminate {
 public:
  /// Positions without normals.
  using Cloud = pcl::PointCloud<pcl::PointXYZ>;
  /// Looks up the nearest positions of a cloud, by squared distance.
  using Tree = pcl::KdTreeFLANN<pcl::PointXYZ, flann::L2_Simple<float>>;

  /// The candidates of the last call, in the order of its list; not a number for one outside the
  /// cloud.
  boost::shared_ptr<Cloud> cloudPoints;
  /// The centroid of each triangle of the last call.
  boost::shared_ptr<Cloud> cloudCentroids;
  /// Three floats per candidate.
  std::vector<float> pointNormals;
  /// The surface of the last call. A triangle that names a vertex that is not there consists of
  /// floats that are not a number.
  std::vector<zelmo::TriangleRecord> triangles;
  /// Tree over cloudCentroids; null between calls.
  std::shared_ptr<Tree> kdtree;
  /// Guards the counter that hands out the work.
  std::mutex mtx;

  XGeoFeaturePointEliminate() = default;

  /// Does no work: nothing is read, and \p result stays as it is.
  /// \return -1 in every case
  int getGeoFeaturePointIndices(const boost::shared_ptr<Cloud>& cloud,
                                const std::vector<float>& normals, const std::vector<int>& indices,
                                const std::vector<TopoDS_Face>& faces, std::vector<int>& result);

  /// Triangles as corners.
  ///
  /// \param[in] cloud the scan; null counts as empty
  /// \param[in] normals three floats per cloud point
  /// \param[in] indices the candidates; those outside the cloud are left out of the result
  /// \param[in] corners float[9 * triangleCount]: three corners of x, y, z per triangle
  /// \param[in] triangleCount number of triangles; 0 or less means none
  /// \param[in] triangleNormals float[3 * triangleCount]: a unit normal per triangle
  /// \param[out] result the candidates that stay, in the order of \p indices; may be the same vector
  /// \return 0 in every case, also when none stays
  int getGeoFeaturePointIndices(const boost::shared_ptr<Cloud>& cloud,
                                const std::vector<float>& normals, const std::vector<int>& indices,
                                const float* corners, const int& triangleCount,
                                const float* triangleNormals, std::vector<int>& result);

  /// Triangles as indices of vertices.
  ///
  /// \param[in] cloud the scan; null counts as empty
  /// \param[in] normals three floats per cloud point
  /// \param[in] indices the candidates; those outside the cloud are left out of the result
  /// \param[in] vertices float[3 * vertexCount]: x, y, z per vertex
  /// \param[in] vertexCount number of vertices
  /// \param[in] triangleNormals float[3 * triangleCount]: a unit normal per triangle
  /// \param[in] vertexIndices int[3 * triangleCount]; a triangle with an index outside the vertices
  ///     holds no point
  /// \param[in] triangleCount number of triangles; 0 or less means none
  /// \param[out] result the candidates that stay, in the order of \p indices; may be the same vector
  /// \return 0 in every case, also when none stays
  int getGeoFeaturePointIndices(const boost::shared_ptr<Cloud>& cloud,
                                const std::vector<float>& normals, const std::vector<int>& indices,
                                const float* vertices, const int& vertexCount,
                                const float* triangleNormals, const int* vertexIndices,
                                const int& triangleCount, std::vector<int>& result);

 private:
  void copyCandidates(const boost::shared_ptr<Cloud>& cloud, const std::vector<float>& normals,
                      const std::vector<int>& indices);
  void eliminate(const std::vector<int>& indices, std::vector<int>& result);
  void Thread_Manage(const int& total, int* next, Tree* tree, int neighbours, int* flags);
  void Thread_func2(const int& index, Tree* tree, int neighbours, std::vector<int>& found,
                    int* flags);
};

}  // namespace xgeofeature
