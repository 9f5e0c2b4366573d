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

#include "zelmo/feature/circle.h"
#include "zelmo/feature/cone.h"
#include "zelmo/feature/cylinder.h"
#include "zelmo/feature/oval_groove.h"
#include "zelmo/feature/plane.h"
#include "zelmo/feature/point.h"
#include "zelmo/feature/rectangle.h"
#include "zelmo/feature/round_groove.h"
#include "zelmo/feature/sphere.h"

namespace zelmo::internal {
struct SearchIndex;
}

namespace xgeofeature {

/// Picks out of a scanned cloud the points that belong to a nominal feature.
///
/// setData takes the scan once; then each search gives indices into it. A search looks at the
/// neighbourhood of the nominal feature: the points strictly nearer to a center than a radius, in
/// float, nearest first and the lower index first on a tie. It keeps those that pass its tests, in
/// this order. Tests that say "at most" and "at least" include equality. Nothing is fitted.
///
/// Before setData, on an empty cloud, around a center that is not finite and for a nominal whose
/// radius is not greater than 0 or not a number a search finds nothing. Points that are not finite
/// are never found, and a normal that is not finite fails every test of normals. Normals are taken
/// to be of unit length.
///
/// One object serves one thread at a time. A copy shares the cloud and the tree; a later setData of
/// either leaves the other's alone.
///
/// The fields are the host's to read; a host that replaces \ref cloud, \ref normals or \ref kdtree
/// by others, of whatever size, gets a search by that tree, which ends in std::out_of_range when
/// the tree names a point that is not there. Coordinates changed in place are not seen before the
/// next setData.
class ZELMO_EXPORT XGeoFeatureExtract {
 public:
  /// All points in input order; null before setData.
  boost::shared_ptr<pcl::PointCloud<pcl::PointXYZ>> cloud;
  /// Three floats per point, in the same order.
  std::vector<float> normals;
  /// Ascending indices of the boundary points, as of the last searchBoundaryIndex.
  std::vector<int> indexBoundary;
  /// Result of the last search.
  std::vector<int> indexResult;
  /// Second result of the searches with a ring.
  std::vector<int> indexResult2;
  /// Tree over cloud; null before setData.
  std::shared_ptr<pcl::KdTreeFLANN<pcl::PointXYZ, flann::L2_Simple<float>>> kdtree;
  /// Half width of the band around the nominal surface.
  float maxDis = 1.0F;

  XGeoFeatureExtract() = default;

  /// Copies the points and builds the tree. The index lists keep what they hold.
  ///
  /// \param[in] data float[6 * count]: x, y, z, nx, ny, nz per point
  /// \param[in] count number of points; 0 or less, or a null \p data, means none
  void setData(const float* data, const int& count);

  /// Sets maxDis; no result changes before the next search.
  void setMaxDis(const float& distance);

  /// Finds the boundary points of the cloud into indexBoundary and writes their number to the
  /// standard output: the line "indexBoundary.size=" with it.
  ///
  /// A point counts when its 20 nearest neighbours, seen along a normal estimated from the points
  /// themselves, leave a gap of more than a quarter turn. The host's normals are not used.
  void searchBoundaryIndex();

  /// Points of a rectangular piece of a plane.
  ///
  /// Kept are points of the ball through the corners that lie at most maxDis off the equation's
  /// plane, at most width / 2 off the line through the center along majorDir and at most length / 2
  /// off the line across it, with normals at most 60 degrees off (a, b, c).
  /// \note A normal that points to the other side does not fit.
  void searchPlane(const XFPlane& plane);

 private:
  std::shared_ptr<const zelmo::internal::SearchIndex> m_index;
};

}  // namespace xgeofeature
