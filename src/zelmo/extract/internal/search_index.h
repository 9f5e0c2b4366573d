// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include "zelmo/extract/internal/shape_search.h"
#include "zelmo/internal/cloud_tree.h"

namespace zelmo::internal {

/// What setData keeps beside cloud and tree to make searches fast.
struct SearchIndex {
  boost::shared_ptr<Cloud> cloud;
  std::shared_ptr<CloudTree> tree;
  PointGrid grid;
};

/// A scan, taken apart: cloud, normals, tree and grid.
struct ScanData {
  boost::shared_ptr<Cloud> cloud;
  std::vector<float> normals;
  std::shared_ptr<CloudTree> tree;
  std::shared_ptr<const SearchIndex> index;
};

/// \param[in] data float[6 * count]: x, y, z, nx, ny, nz per point; may be null, which gives no points
ScanData scanOf(const float* data, int count);

/// A scan that somebody else holds, as a search sees it.
struct ScanView {
  const boost::shared_ptr<Cloud>& cloud;
  const std::vector<float>& normals;
  const std::shared_ptr<CloudTree>& tree;
  const SearchIndex* index;

  /// Whether the grid still belongs to the cloud and the tree, and every point has its normal. A host
  /// may have replaced the public fields; then the tree is asked itself.
  bool hasGrid() const;
};

/// The points of the sorted radius search of the tree in \p ball that are inside \p shape and whose
/// normals fit it, in the order of that search: nearest first, the lower index first on a tie.
/// \return nothing without a cloud or a tree, for a center that is not finite and a radius that is
///     not greater than 0
template <typename Shape>
std::vector<int> searchShape(const ScanView& scan, const Ball& ball, const Shape& shape);

/// The same points in ascending order.
template <typename Shape>
std::vector<int> searchShapeByIndex(const ScanView& scan, const Ball& ball, const Shape& shape);

}  // namespace zelmo::internal
