// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "zelmo/extract/internal/point_grid.h"
#include "zelmo/extract/internal/shape_filter.h"

namespace zelmo::internal {

/// A point found: the bits of its squared distance from the ball's center, in float, above its
/// index. Keys grow with the distance, and with the index on a tie.
using FoundKey = std::uint64_t;

inline int indexOf(FoundKey key) { return static_cast<int>(key & 0xffffffffU); }
float squaredDistanceOf(FoundKey key);

/// The points of a ball that are inside a shape and whose normals fit it, in no order.
/// \param[in] normals three floats for each point that the grid was given
std::vector<FoundKey> findShape(const PointGrid& grid, const Ball& ball, const Everything& shape,
                                const float* normals);
std::vector<FoundKey> findShape(const PointGrid& grid, const Ball& ball, const SlabShape& shape,
                                const float* normals);
std::vector<FoundKey> findShape(const PointGrid& grid, const Ball& ball,
                                const RectangleShape<PlaneInFloat>& shape, const float* normals);
std::vector<FoundKey> findShape(const PointGrid& grid, const Ball& ball,
                                const RectangleShape<PlaneInDouble>& shape, const float* normals);
std::vector<FoundKey> findShape(const PointGrid& grid, const Ball& ball, const CylinderShape& shape,
                                const float* normals);
std::vector<FoundKey> findShape(const PointGrid& grid, const Ball& ball, const WallShape& shape,
                                const float* normals);
std::vector<FoundKey> findShape(const PointGrid& grid, const Ball& ball, const SphereShape& shape,
                                const float* normals);
std::vector<FoundKey> findShape(const PointGrid& grid, const Ball& ball, const ConeShape& shape,
                                const float* normals);
std::vector<FoundKey> findShape(const PointGrid& grid, const Ball& ball, const RingShape& shape,
                                const float* normals);
std::vector<FoundKey> findShape(const PointGrid& grid, const Ball& ball, const RodShape& shape,
                                const float* normals);

/// The indices of \p keys in the order of the keys.
std::vector<int> sortedIndices(std::vector<FoundKey> keys);

}  // namespace zelmo::internal
