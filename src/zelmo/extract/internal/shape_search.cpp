// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/extract/internal/shape_search.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "zelmo/internal/lanes.h"

namespace zelmo::internal {
namespace {

static_assert(PointGrid::kPadding >= kLanes, "a block of lanes may start at the last position");

FoundKey keyOf(float squared_distance, int index) {
  std::uint32_t bits = 0;
  std::memcpy(&bits, &squared_distance, sizeof bits);
  return static_cast<FoundKey>(bits) << 32U | static_cast<std::uint32_t>(index);
}

template <typename Shape>
ZELMO_ALWAYS_INLINE std::vector<FoundKey> findInLanes(const PointGrid& grid, const Ball& ball,
                                                      const Shape& given_shape,
                                                      const float* normals) {
  const Shape shape = given_shape;
  const float cx = ball.center[0], cy = ball.center[1], cz = ball.center[2];
  const float limit = ball.squaredRadius();
  std::vector<FoundKey> found;
  for (const PointGrid::Run& run : grid.runsNear(ball)) {
    for (int at = run.begin; at < run.end; at += kLanes) {
      const float* x = grid.x() + at;
      const float* y = grid.y() + at;
      const float* z = grid.z() + at;
      float squared[kLanes];
      int inside[kLanes];
      ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) {
        const float dx = x[k] - cx, dy = y[k] - cy, dz = z[k] - cz;
        squared[k] = dx * dx + dy * dy + dz * dz;
        inside[k] = static_cast<int>(squared[k] < limit) & shape.inside(x[k], y[k], z[k]);
      }
      const int used = std::min(kLanes, run.end - at);
      for (int k = 0; k < used; ++k) {
        if (inside[k] == 0) continue;
        const int index = grid.index()[at + k];
        const float p[3] = {x[k], y[k], z[k]};
        if (!shape.normalFits(normals + 3 * static_cast<std::ptrdiff_t>(index), p)) continue;
        found.push_back(keyOf(squared[k], index));
      }
    }
  }
  return found;
}

}  // namespace

float squaredDistanceOf(FoundKey key) {
  const auto bits = static_cast<std::uint32_t>(key >> 32U);
  float squared = 0;
  std::memcpy(&squared, &bits, sizeof squared);
  return squared;
}

#define ZELMO_FIND_SHAPE(Shape)                                                                  \
  ZELMO_MULTIVERSION std::vector<FoundKey> findShape(const PointGrid& grid, const Ball& ball,    \
                                                     const Shape& shape, const float* normals) { \
    return findInLanes(grid, ball, shape, normals);                                              \
  }
ZELMO_FIND_SHAPE(Everything)
ZELMO_FIND_SHAPE(RectangleShape<PlaneInFloat>)
ZELMO_FIND_SHAPE(RectangleShape<PlaneInDouble>)
ZELMO_FIND_SHAPE(CylinderShape)
ZELMO_FIND_SHAPE(WallShape)
ZELMO_FIND_SHAPE(SphereShape)
ZELMO_FIND_SHAPE(ConeShape)
ZELMO_FIND_SHAPE(RingShape)
ZELMO_FIND_SHAPE(RodShape)
#undef ZELMO_FIND_SHAPE

std::vector<int> sortedIndices(const std::vector<FoundKey>& keys) {
  std::vector<int> indices(keys.size());
  if (keys.empty()) return indices;
  // Spread over buckets by the distance first; what is left to sort in a bucket is short.
  const auto [least, greatest] = std::minmax_element(keys.begin(), keys.end());
  const float first = squaredDistanceOf(*least), last = squaredDistanceOf(*greatest);
  const std::size_t bucket_count = keys.size() / 4 + 1;
  const float spread = static_cast<float>(bucket_count) / (last - first);
  const float per_unit = std::isfinite(spread) ? spread : 0.0F;
  const auto bucket_of = [=](FoundKey key) {
    const auto bucket = static_cast<std::size_t>((squaredDistanceOf(key) - first) * per_unit);
    return std::min(bucket, bucket_count - 1);
  };
  std::vector<std::uint32_t> end(bucket_count + 1, 0);
  for (const FoundKey key : keys) ++end[bucket_of(key) + 1];
  for (std::size_t b = 0; b < bucket_count; ++b) end[b + 1] += end[b];
  std::vector<FoundKey> sorted(keys.size());
  for (const FoundKey key : keys) sorted[end[bucket_of(key)]++] = key;
  std::uint32_t begin = 0;
  for (std::size_t b = 0; b < bucket_count; ++b) {
    std::sort(sorted.begin() + begin, sorted.begin() + end[b]);
    begin = end[b];
  }
  std::transform(sorted.begin(), sorted.end(), indices.begin(), indexOf);
  return indices;
}

}  // namespace zelmo::internal
