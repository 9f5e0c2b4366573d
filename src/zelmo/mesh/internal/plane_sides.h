// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "zelmo/internal/array_view.h"
#include "zelmo/internal/lanes.h"

/// \file
/// The sides of a plane on which vertices lie, for turning away the triangles that a plane misses.

namespace zelmo::internal {

/// A vertex nearer than this counts as in the plane, in units of the normal's length.
constexpr double kInPlane = 1e-5;

/// a x + b y + c z + d.
ZELMO_ALWAYS_INLINE double signedValue(const double* plane, double x, double y, double z) {
  return plane[0] * x + plane[1] * y + plane[2] * z + plane[3];
}

/// One bit for each side. A vertex in the plane, or one without a value, is on neither side.
ZELMO_ALWAYS_INLINE std::uint8_t sideOf(double value) {
  return static_cast<std::uint8_t>((value >= kInPlane ? 1 : 0) | (value <= -kInPlane ? 2 : 0));
}

/// The sides of the vertices that faces name, each found once however many faces share it. The table
/// grows with the indices it is shown.
class PlaneSides {
 public:
  /// \param[in] plane double[4], must outlive the object
  /// \param[in] vertices must outlive the object; its count may exceed what the host has
  /// \param[in] limit no table beyond this many vertices: sparse indices are not worth one
  PlaneSides(const double* plane, const PointView& vertices, std::int64_t limit);

  /// Makes the sides of all vertices of \p count faces known.
  /// \return false when the faces name vertices that the table can't hold; they must then not be
  ///     asked for
  bool cover(const int* faces, int count);

  /// Whether the plane passes all three vertices of a covered face on one side. Such a triangle has
  /// no segment.
  bool misses(const int* face) const {
    const std::uint8_t* side = m_sides.data();
    return (side[face[0]] & side[face[1]] & side[face[2]]) != 0;
  }

 private:
  const double* m_plane;
  PointView m_vertices;
  std::int64_t m_limit;
  std::vector<std::uint8_t> m_sides;
};

}  // namespace zelmo::internal
