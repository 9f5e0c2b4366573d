// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/extract/internal/shape_search.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "zelmo/internal/lanes.h"

namespace zelmo::internal {

float squaredDistanceOf(FoundKey key) {
  const auto bits = static_cast<std::uint32_t>(key >> 32U);
  float squared = 0;
  std::memcpy(&squared, &bits, sizeof squared);
  return squared;
}

namespace {

static_assert(PointGrid::kPadding >= kLanes, "a block of lanes may start at the last position");

FoundKey keyOf(float squared_distance, int index) {
  std::uint32_t bits = 0;
  std::memcpy(&bits, &squared_distance, sizeof bits);
  return static_cast<FoundKey>(bits) << 32U | static_cast<std::uint32_t>(index);
}

/// Points inside the shape whose normals are still to be looked at. Normals lie all over memory: they
/// are called for while the chunk fills.
template <typename Shape>
class Chunk {
 public:
  Chunk(const Shape& shape, const float* normals, std::vector<FoundKey>& found)
      : m_shape(shape), m_normals(normals), m_found(found) {}

  ZELMO_ALWAYS_INLINE void add(const PointGrid::Entry& entry, float squared_distance) {
    if (Shape::kReadsNormals) __builtin_prefetch(normalOf(entry));
    m_entry[m_size] = &entry;
    m_squared[m_size++] = squared_distance;
  }
  /// Makes room for a block of lanes.
  ZELMO_ALWAYS_INLINE void flushWhenFull() {
    if (m_size > kCapacity - kLanes) flush();
  }
  ZELMO_ALWAYS_INLINE void flush() {
    for (int i = 0; i < m_size; ++i) {
      const PointGrid::Entry& entry = *m_entry[i];
      const float p[3] = {entry.x, entry.y, entry.z};
      if (m_shape.normalFits(normalOf(entry), p)) {
        m_found.push_back(keyOf(m_squared[i], entry.index));
      }
    }
    m_size = 0;
  }

 private:
  static constexpr int kCapacity = 256;

  ZELMO_ALWAYS_INLINE const float* normalOf(const PointGrid::Entry& entry) const {
    return m_normals + 3 * static_cast<std::ptrdiff_t>(entry.index);
  }

  const Shape& m_shape;
  const float* m_normals;
  std::vector<FoundKey>& m_found;
  int m_size = 0;
  const PointGrid::Entry* m_entry[kCapacity];
  float m_squared[kCapacity];
};

template <typename Shape>
ZELMO_ALWAYS_INLINE std::vector<FoundKey> findInLanes(const PointGrid& grid, const Ball& ball,
                                                      const Shape& given_shape,
                                                      const float* normals) {
  const Shape shape = given_shape;
  const float cx = ball.center[0], cy = ball.center[1], cz = ball.center[2];
  const float limit = ball.squaredRadius();
  std::vector<FoundKey> found;
  Chunk<Shape> chunk(shape, normals, found);
  for (const PointGrid::Run& run : grid.runsNear(ball)) {
    for (int at = run.begin; at < run.end; at += kLanes) {
      const PointGrid::Entry* entry = grid.entries() + at;
      float x[kLanes], y[kLanes], z[kLanes], squared[kLanes];
      int in_ball[kLanes], inside[kLanes];
      int any = 0;
      ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) {
        x[k] = entry[k].x;
        y[k] = entry[k].y;
        z[k] = entry[k].z;
        const float dx = x[k] - cx, dy = y[k] - cy, dz = z[k] - cz;
        squared[k] = dx * dx + dy * dy + dz * dz;
        in_ball[k] = static_cast<int>(squared[k] < limit);
        any |= in_ball[k];
      }
      if (any == 0) continue;
      ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) {
        inside[k] = in_ball[k] & shape.inside(x[k], y[k], z[k]);
      }
      const int used = std::min(kLanes, run.end - at);
      for (int k = 0; k < used; ++k) {
        if (inside[k] != 0) chunk.add(entry[k], squared[k]);
      }
      chunk.flushWhenFull();
    }
  }
  chunk.flush();
  return found;
}

constexpr std::size_t kFewKeys = 48;     // fewer are sorted by comparison
constexpr std::size_t kManyKeys = 1024;  // from here on digits are faster than buckets
constexpr int kDigitBits = 11;

/// Sorts into as many buckets as there are keys, by equal steps of the squared distance, over which
/// points of a surface spread evenly; then by comparison within each. Few branches are mispredicted.
void sortByBuckets(std::vector<FoundKey>& keys) {
  const auto [least, greatest] = std::minmax_element(keys.begin(), keys.end());
  const float first = squaredDistanceOf(*least);
  const float per_unit =
      static_cast<float>(keys.size() - 1) / (squaredDistanceOf(*greatest) - first);
  if (!std::isfinite(per_unit)) {
    std::sort(keys.begin(), keys.end());
    return;
  }
  const auto bucket_of = [=](FoundKey key) {
    return static_cast<std::uint32_t>((squaredDistanceOf(key) - first) * per_unit);
  };
  std::array<std::uint32_t, kManyKeys + 1> start{};
  for (const FoundKey key : keys) ++start[bucket_of(key) + 1];
  for (std::size_t b = 1; b <= keys.size(); ++b) start[b] += start[b - 1];
  std::vector<FoundKey> moved(keys.size());
  for (const FoundKey key : keys) moved[start[bucket_of(key)]++] = key;
  // Filling has moved each start to the end of its bucket.
  std::uint32_t begin = 0;
  for (std::size_t b = 0; b < keys.size(); begin = start[b++]) {
    if (start[b] - begin > 1) std::sort(moved.begin() + begin, moved.begin() + start[b]);
  }
  keys.swap(moved);
}

/// Sorts by the upper halves of the keys alone, one digit after the other; equal ones keep their
/// order.
void sortByDistance(std::vector<FoundKey>& keys) {
  const auto [least, greatest] = std::minmax_element(keys.begin(), keys.end());
  const auto first = static_cast<std::uint32_t>(*least >> 32U);
  const auto span = static_cast<std::uint32_t>(*greatest >> 32U) - first;
  std::vector<FoundKey> moved(keys.size());
  for (unsigned shift = 0; shift < 32 && span >> shift != 0; shift += kDigitBits) {
    const auto digit_of = [=](FoundKey key) {
      const auto offset = static_cast<std::uint32_t>(key >> 32U) - first;
      return (offset >> shift) & ((1U << kDigitBits) - 1U);
    };
    std::array<std::uint32_t, (1U << kDigitBits) + 1> start{};
    for (const FoundKey key : keys) ++start[digit_of(key) + 1];
    for (std::size_t d = 1; d < start.size(); ++d) start[d] += start[d - 1];
    for (const FoundKey key : keys) moved[start[digit_of(key)]++] = key;
    keys.swap(moved);
  }
}

/// Sorts runs of keys with equal upper halves.
void sortTies(std::vector<FoundKey>& keys) {
  for (auto begin = keys.begin(); begin != keys.end();) {
    auto end = begin + 1;
    while (end != keys.end() && *end >> 32U == *begin >> 32U) ++end;
    if (end - begin > 1) std::sort(begin, end);
    begin = end;
  }
}

}  // namespace

#define ZELMO_FIND_SHAPE(Shape)                                                                  \
  ZELMO_MULTIVERSION std::vector<FoundKey> findShape(const PointGrid& grid, const Ball& ball,    \
                                                     const Shape& shape, const float* normals) { \
    return findInLanes(grid, ball, shape, normals);                                              \
  }
ZELMO_FIND_SHAPE(Everything)
ZELMO_FIND_SHAPE(SlabShape)
ZELMO_FIND_SHAPE(RectangleShape<PlaneInFloat>)
ZELMO_FIND_SHAPE(RectangleShape<PlaneInDouble>)
ZELMO_FIND_SHAPE(CylinderShape)
ZELMO_FIND_SHAPE(WallShape)
ZELMO_FIND_SHAPE(SphereShape)
ZELMO_FIND_SHAPE(ConeShape)
ZELMO_FIND_SHAPE(RingShape)
ZELMO_FIND_SHAPE(RodShape)
#undef ZELMO_FIND_SHAPE

std::vector<int> sortedIndices(std::vector<FoundKey> keys) {
  if (keys.size() < kFewKeys) {
    std::sort(keys.begin(), keys.end());
  } else if (keys.size() < kManyKeys) {
    sortByBuckets(keys);
  } else {
    sortByDistance(keys);
    sortTies(keys);
  }
  std::vector<int> indices(keys.size());
  std::transform(keys.begin(), keys.end(), indices.begin(), indexOf);
  return indices;
}

}  // namespace zelmo::internal
