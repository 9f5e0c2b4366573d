// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/triangle_search.h"

#include <algorithm>
#include <cmath>

#include <opencv2/core.hpp>

namespace zelmo::internal {
namespace {

constexpr double kFarthest = 100000.0;  // a plane this far off holds nothing
constexpr double kLowest = -0.2, kHighest = 1.2;

cv::Vec3d widened(const float* p) { return {p[0], p[1], p[2]}; }

/// Corner \p v of an enlarged triangle, the others being \p u and \p w.
cv::Vec3d movedCorner(const float* v, const float* u, const float* w, double k) {
  cv::Vec3d moved;
  for (int i = 0; i < 3; ++i) {
    const float along_u = static_cast<float>((1.0 + k) * v[i] - k * u[i]);
    const float along_w = static_cast<float>((1.0 + k) * v[i] - k * w[i]);
    const float sum = along_u + along_w;
    moved[i] = sum - v[i];
  }
  return moved;
}

bool holds(const TriangleRecord& triangle, const cv::Vec3d& foot, double k) {
  const cv::Vec3d corner = movedCorner(triangle.a, triangle.b, triangle.c, k);
  const cv::Vec3d e0 = movedCorner(triangle.c, triangle.a, triangle.b, k) - corner;
  const cv::Vec3d e1 = movedCorner(triangle.b, triangle.a, triangle.c, k) - corner;
  const cv::Vec3d e2 = foot - corner;
  const double d00 = e0.dot(e0), d01 = e0.dot(e1), d11 = e1.dot(e1);
  const double d02 = e0.dot(e2), d12 = e1.dot(e2);
  const double determinant = d00 * d11 - d01 * d01;
  const double u = (d11 * d02 - d01 * d12) / determinant;
  const double v = (d00 * d12 - d01 * d02) / determinant;
  return u >= kLowest && u <= kHighest && v >= kLowest && v <= kHighest && u + v <= kHighest;
}

bool namesTriangle(const std::vector<TriangleRecord>& triangles, int i) {
  return i >= 0 && static_cast<std::size_t>(i) < triangles.size();
}

}  // namespace

TriangleRecord triangleOf(const float* a, const float* b, const float* c, const float* normal) {
  TriangleRecord triangle{};
  std::copy_n(a, 3, triangle.a);
  std::copy_n(b, 3, triangle.b);
  std::copy_n(c, 3, triangle.c);
  std::copy_n(normal, 3, triangle.normal);
  triangle.d = -(normal[0] * a[0] + normal[1] * a[1] + normal[2] * a[2]);
  return triangle;
}

std::optional<TriangleRecord> triangleOf(const MeshView& mesh, int i, const float* normal) {
  if (!mesh.isInside(i)) return std::nullopt;
  const int* face = mesh.face(i);
  const PointView& vertices = mesh.vertices();
  return triangleOf(vertices.at(face[0]), vertices.at(face[1]), vertices.at(face[2]), normal);
}

std::array<float, 3> centroidOf(const TriangleRecord& triangle) {
  std::array<float, 3> centroid{};
  for (std::size_t i = 0; i < 3; ++i) {
    const float sum = triangle.a[i] + triangle.b[i] + triangle.c[i];
    centroid[i] = static_cast<float>(sum / 3.0);
  }
  return centroid;
}

std::optional<TriangleFoot> footInside(const TriangleRecord& triangle, const float* point,
                                       TriangleReach reach) {
  const cv::Vec3d p = widened(point), normal = widened(triangle.normal);
  const double signed_distance = normal.dot(p) + triangle.d;
  cv::Vec3d foot = p - signed_distance * normal;
  double distance = std::abs(signed_distance);
  if (reach == TriangleReach::HalfEdge) {
    for (int i = 0; i < 3; ++i) foot[i] = static_cast<float>(foot[i]);
    distance = static_cast<float>(distance);
  }
  const double k = reach == TriangleReach::HalfEdge ? 0.5 : 0.25;
  if (!holds(triangle, foot, k)) return std::nullopt;
  return TriangleFoot{0, distance, {foot[0], foot[1], foot[2]}};
}

std::optional<TriangleFoot> nearestTriangle(const std::vector<TriangleRecord>& triangles,
                                            const std::vector<int>& candidates, const float* point,
                                            TriangleReach reach) {
  // A repeated triangle can't beat itself, since only a smaller distance wins.
  std::optional<TriangleFoot> nearest;
  double best = kFarthest;
  for (const int i : candidates) {
    if (!namesTriangle(triangles, i)) continue;
    const auto foot = footInside(triangles[static_cast<std::size_t>(i)], point, reach);
    if (!foot || !(best > foot->distance)) continue;
    nearest = foot;
    nearest->triangle = i;
    best = foot->distance;
  }
  return nearest;
}

bool liesOverAny(const std::vector<TriangleRecord>& triangles, const std::vector<int>& candidates,
                 const float* point, TriangleReach reach) {
  return std::any_of(candidates.begin(), candidates.end(), [&](int i) {
    if (!namesTriangle(triangles, i)) return false;
    const auto foot = footInside(triangles[static_cast<std::size_t>(i)], point, reach);
    return foot && foot->distance < kFarthest;
  });
}

}  // namespace zelmo::internal
