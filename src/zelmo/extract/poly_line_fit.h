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

#include "zelmo/feature/cylinder.h"
#include "zelmo/feature/poly_line.h"

namespace zelmo::internal {
struct SearchIndex;
}

/// Room [extract](docs/rooms/extract.md): the center line of a tube.
namespace xpolylinefit {

/// Traces a tube, a bent pipe or wire, through a scanned cloud, section by section; its base part
/// is the line found.
///
/// setData comes first; then Fit may be called for several lines in the same cloud. One object
/// serves one thread at a time. A copy has a line of its own and shares the cloud and the tree; a
/// later setData of either leaves the other's alone.
class ZELMO_EXPORT XPolyLineFit : public xgeofeature::XFPolyLine {
 public:
  /// All points in input order; null before setData.
  boost::shared_ptr<pcl::PointCloud<pcl::PointXYZ>> cloud;
  /// Three floats per point, in the same order.
  std::vector<float> normals;
  /// Tree over cloud; null before setData.
  std::shared_ptr<pcl::KdTreeFLANN<pcl::PointXYZ, flann::L2_Simple<float>>> kdtree;

  XPolyLineFit() = default;

  /// Copies the points and builds the tree; the line stays.
  ///
  /// \param[in] data float[6 * count]: x, y, z, nx, ny, nz per point
  /// \param[in] count number of points; 0 or less, or a null \p data, means none
  void setData(const float* data, const int& count);

  /// Traces the tube that leads from \p start in \p direction.
  ///
  /// A section takes the points near a short cylinder along the line so far: within 0.7 times the
  /// radius of its wall (1.05 times where 0.7 times the radius is below 0.5), with normals at least
  /// 60 degrees off its axis. The first section is fitted as a whole, a later one with its start
  /// held; the line advances along the fitted axis by the section's length, which adapts to how far
  /// the section is filled.
  ///
  /// \param[in] start float[3]: a point on the tube's center line
  /// \param[in] direction float[3]: the rough unit direction to go
  /// \param[in] step the longest step at the start; it may grow by 3 percent per step
  /// \param[in] radius of the tube
  /// \return 0: the line came back to its own course; when to its first point, that is repeated as
  ///     the last one. -1: the first section holds fewer than 10 points, or its fit gives no finite
  ///     line, or a null argument; the line is empty. -2: the ordinary end of an open tube: a later
  ///     section holds fewer than 10 points, or the line does not advance (a step not greater than
  ///     0), or has as many points as the cloud; the points found so far stay.
  /// \note A small \p step makes many points, each with a search and a fit of its own: the time grows with
  ///     the length of the tube over the step.
  /// \note The last point of an open tube lies in its last section, not at its very end. Whether the
  ///     fit of a section succeeded is not tested: the walk goes on with what it left.
  int Fit(const float* const start, const float* const direction, const float& step,
          const float& radius);

  /// \param[out] out the points found
  void getPolyLine(xgeofeature::XFPolyLine& out);

 private:
  void searchCylinder(const xgeofeature::XFCylinder& cylinder, std::vector<int>& indices);
  bool meetsItself(const xgeofeature::XFCylinder& section);

  std::shared_ptr<const zelmo::internal::SearchIndex> m_index;
};

}  // namespace xpolylinefit
