// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/mesh/internal/plane_sides.h"

#include <algorithm>

namespace zelmo::internal {
namespace {

struct IndexRange {
  int smallest, largest;
};

ZELMO_MULTIVERSION IndexRange indexRange(const int* indices, int count) {
  int smallest = indices[0];
  int largest = indices[0];
  for (int i = 1; i < count; ++i) {
    smallest = indices[i] < smallest ? indices[i] : smallest;
    largest = indices[i] > largest ? indices[i] : largest;
  }
  return {smallest, largest};
}

ZELMO_MULTIVERSION void findSides(const double* plane, const float* p, int count,
                                  std::uint8_t* sides) {
  int i = 0;
  for (; i + kLanes <= count; i += kLanes, p += 3 * kLanes) {
    double value[kLanes];
    ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) {
      value[k] = signedValue(plane, p[3 * k], p[3 * k + 1], p[3 * k + 2]);
    }
    for (int k = 0; k < kLanes; ++k) sides[i + k] = sideOf(value[k]);
  }
  for (; i < count; ++i, p += 3) sides[i] = sideOf(signedValue(plane, p[0], p[1], p[2]));
}

}  // namespace

PlaneSides::PlaneSides(const double* plane, const PointView& vertices, std::int64_t limit)
    : m_plane(plane), m_vertices(vertices), m_limit(limit) {}

bool PlaneSides::cover(const int* faces, int count) {
  if (count <= 0) return true;
  const IndexRange range = indexRange(faces, 3 * count);
  if (range.smallest < 0 || range.largest >= m_limit) return false;
  const int known = static_cast<int>(m_sides.size());
  if (range.largest < known) return true;
  const int wanted = range.largest + 1;
  m_sides.resize(static_cast<std::size_t>(wanted));
  findSides(m_plane, m_vertices.at(known), wanted - known, m_sides.data() + known);
  return true;
}

}  // namespace zelmo::internal
