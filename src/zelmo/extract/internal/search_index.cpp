// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/extract/internal/search_index.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zelmo::internal {
namespace {

// The tree adds up and takes away squares of cuts, one level after the other, to tell which branch
// is out of reach. What that may round off, beside the square of the radius.
constexpr float kRoundingOfTree = 4e-6F;

/// Whether rounding in the tree may have lost a point at this distance.
bool isAtTheBrink(float squared_distance, const Ball& ball) {
  return !(squared_distance < ball.squaredRadius() * (1.0F - kRoundingOfTree));
}

std::vector<int> indicesInTree(const ScanView& scan, const Ball& ball) {
  Neighbours found;
  searchRadius(scan.tree.get(), ball.center.data(), ball.radius, found);
  return std::move(found.indices);
}

/// Drops what the tree itself does not find.
void keepWhatTheTreeFinds(const ScanView& scan, const Ball& ball, std::vector<FoundKey>& keys) {
  std::vector<int> known = indicesInTree(scan, ball);
  std::sort(known.begin(), known.end());
  const auto is_unknown = [&](FoundKey key) {
    return !std::binary_search(known.begin(), known.end(), indexOf(key));
  };
  keys.erase(std::remove_if(keys.begin(), keys.end(), is_unknown), keys.end());
}

template <typename Shape>
std::vector<int> searchByTree(const ScanView& scan, const Ball& ball, const Shape& shape) {
  std::vector<int> kept;
  if (scan.cloud == nullptr) return kept;
  for (const int i : indicesInTree(scan, ball)) {
    const pcl::PointXYZ& p = scan.cloud->at(static_cast<std::size_t>(i));
    const auto third = 3 * static_cast<std::size_t>(i) + 2;
    const float* normal = &scan.normals.at(third) - 2;
    if (shape.inside(p.x, p.y, p.z) != 0 && shape.normalFits(normal, p.data)) kept.push_back(i);
  }
  return kept;
}

template <typename Shape>
std::vector<FoundKey> searchByGrid(const ScanView& scan, const Ball& ball, const Shape& shape) {
  std::vector<FoundKey> keys = findShape(scan.index->grid, ball, shape, scan.normals.data());
  if (std::any_of(keys.begin(), keys.end(),
                  [&](FoundKey key) { return isAtTheBrink(squaredDistanceOf(key), ball); })) {
    keepWhatTheTreeFinds(scan, ball, keys);
  }
  return keys;
}

}  // namespace

ScanData scanOf(const float* data, int count) {
  const int size = data != nullptr ? std::max(count, 0) : 0;
  ScanData scan;
  scan.cloud = makeCloud(size);
  scan.normals.resize(3 * static_cast<std::size_t>(size));
  const float* record = data;
  float* normal = scan.normals.data();
  for (pcl::PointXYZ& point : scan.cloud->points) {
    std::copy_n(record, 3, point.data);
    std::copy_n(record + 3, 3, normal);
    record += 6;
    normal += 3;
  }
  scan.tree = buildTree(scan.cloud, NeighbourOrder::ByDistance);
  scan.index =
      std::make_shared<SearchIndex>(SearchIndex{scan.cloud, scan.tree, PointGrid(data, 6, size)});
  return scan;
}

bool ScanView::hasGrid() const {
  return index != nullptr && cloud != nullptr && tree != nullptr && index->cloud == cloud &&
         index->tree == tree &&
         cloud->size() == static_cast<std::size_t>(index->grid.givenCount()) &&
         normals.size() >= 3 * cloud->size();
}

template <typename Shape>
std::vector<int> searchShape(const ScanView& scan, const Ball& ball, const Shape& shape) {
  if (!scan.hasGrid()) return searchByTree(scan, ball, shape);
  return sortedIndices(searchByGrid(scan, ball, shape));
}

template <typename Shape>
std::vector<int> searchShapeByIndex(const ScanView& scan, const Ball& ball, const Shape& shape) {
  std::vector<int> indices;
  if (scan.hasGrid()) {
    const std::vector<FoundKey> keys = searchByGrid(scan, ball, shape);
    indices.resize(keys.size());
    std::transform(keys.begin(), keys.end(), indices.begin(), indexOf);
  } else {
    indices = searchByTree(scan, ball, shape);
  }
  std::sort(indices.begin(), indices.end());
  return indices;
}

template std::vector<int> searchShapeByIndex(const ScanView&, const Ball&, const SlabShape&);
template std::vector<int> searchShape(const ScanView&, const Ball&, const Everything&);
template std::vector<int> searchShape(const ScanView&, const Ball&,
                                      const RectangleShape<PlaneInFloat>&);
template std::vector<int> searchShape(const ScanView&, const Ball&,
                                      const RectangleShape<PlaneInDouble>&);
template std::vector<int> searchShape(const ScanView&, const Ball&, const CylinderShape&);
template std::vector<int> searchShape(const ScanView&, const Ball&, const WallShape&);
template std::vector<int> searchShape(const ScanView&, const Ball&, const SphereShape&);
template std::vector<int> searchShape(const ScanView&, const Ball&, const ConeShape&);
template std::vector<int> searchShape(const ScanView&, const Ball&, const RingShape&);
template std::vector<int> searchShape(const ScanView&, const Ball&, const RodShape&);

}  // namespace zelmo::internal
