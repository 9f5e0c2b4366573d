// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "zelmo/internal/array_view.h"
#include "zelmo/internal/triangle_record.h"

/// \file
/// Which of a few triangles a point lies over: the triangles are enlarged about their centroids, the
/// foot of the point on each plane is tested, and the plane nearest to the point wins.
/// Callers: point elimination, point fit, RPS alignment against a mesh.

namespace zelmo::internal {

/// Fills a record; d is computed in float.
TriangleRecord triangleOf(const float* a, const float* b, const float* c, const float* normal);

/// The record of face \p i of a mesh, with \p normal (float[3]); nothing when the face names a vertex
/// that is not there.
std::optional<TriangleRecord> triangleOf(const MeshView& mesh, int i, const float* normal);

/// The sum of the corners in float, divided by 3.0 in double, stored in float.
std::array<float, 3> centroidOf(const TriangleRecord& triangle);

/// How a triangle and the foot on its plane are taken. In both cases a corner v with the others u
/// and w moves to [(1 + k) v - k u] + [(1 + k) v - k w] - v, the brackets rounded to float.
enum class TriangleReach {
  QuarterEdge,  ///< k = 0.25, the foot stays in double: point elimination
  HalfEdge,     ///< k = 0.5, the foot is stored in float before the test: point fit, RPS alignment
};

/// Where a point lies over a triangle.
struct TriangleFoot {
  int triangle;     ///< index of the triangle
  double distance;  ///< absolute distance of the point from its plane; float in HalfEdge
  std::array<double, 3> foot;
};

/// The foot of \p point on the plane of \p triangle, when it lies in the enlarged triangle: its
/// barycentric coordinates u and v against the edges from corner a reach from -0.2 to 1.2 and their
/// sum to 1.2, limits included. A degenerate triangle holds no foot.
std::optional<TriangleFoot> footInside(const TriangleRecord& triangle, const float* point,
                                       TriangleReach reach);

/// Of the triangles that \p candidates name, in this order, the one that holds the foot of
/// \p point and has the smallest distance below 100000; the earlier one on a tie.
/// \param[in] candidates indices into \p triangles; repeated ones and those outside are passed over
std::optional<TriangleFoot> nearestTriangle(const std::vector<TriangleRecord>& triangles,
                                            const std::vector<int>& candidates, const float* point,
                                            TriangleReach reach);

/// Whether nearestTriangle would find one.
bool liesOverAny(const std::vector<TriangleRecord>& triangles, const std::vector<int>& candidates,
                 const float* point, TriangleReach reach);

}  // namespace zelmo::internal
