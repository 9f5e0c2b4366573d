// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/guidedfit/point_fit.h"

#include <algorithm>
#include <limits>

#include "zelmo/internal/cloud_tree.h"
#include "zelmo/internal/console.h"
#include "zelmo/internal/triangle_search.h"

namespace xgeofit {
namespace {

namespace in = zelmo::internal;

constexpr int kNearestFaces = 10;
constexpr double kFarthestFootSquared = 900.0;

constexpr int kNoNeighbour = -2;
constexpr int kOverNoFace = -3;
constexpr int kTooFar = -4;

int report(int code) {
  in::ConsoleText() << code << "_123456789\n";
  return code;
}

}  // namespace

void XPointFit::setData(const float* vertices, const int& vertexCount, const float* faceNormals,
                        const int* faceIndices, const int& faceCount) {
  const in::MeshView mesh(in::PointView(vertices, vertexCount), faceIndices, faceCount);
  const in::PointView normals(faceNormals, mesh.faceCount());
  faces.assign(static_cast<std::size_t>(mesh.faceCount()), zelmo::TriangleRecord{});
  cloud = in::makeCloud(mesh.faceCount());
  for (int i = 0; i < mesh.faceCount(); ++i) {
    auto& centroid = cloud->points[static_cast<std::size_t>(i)];
    // The tree passes over points that are not finite.
    centroid.x = centroid.y = centroid.z = std::numeric_limits<float>::quiet_NaN();
    const auto face = normals.empty() ? std::nullopt : in::triangleOf(mesh, i, normals.at(i));
    if (!face) continue;
    faces[static_cast<std::size_t>(i)] = *face;
    const auto middle = in::centroidOf(*face);
    centroid.x = middle[0];
    centroid.y = middle[1];
    centroid.z = middle[2];
  }
  tree = in::buildTree(cloud, in::NeighbourOrder::AsFound);
}

int XPointFit::Fit(const float* const point, float* const result, const float& radius) {
  in::Neighbours near;
  in::searchNearest(tree.get(), point, kNearestFaces, near);
  if (near.indices.empty()) return report(kNoNeighbour);
  const auto found = in::nearestTriangle(faces, near.indices, point, in::TriangleReach::HalfEdge);
  if (!found) return report(kOverNoFace);
  double squared_distance = 0;
  for (std::size_t k = 0; k < 3; ++k) {
    const double difference = point[k] - found->foot[k];
    squared_distance += difference * difference;
  }
  if (squared_distance > kFarthestFootSquared) return report(kTooFar);
  const float* normal = faces[static_cast<std::size_t>(found->triangle)].normal;
  for (int k = 0; k < 3; ++k) {
    result[k] = static_cast<float>(point[k] - static_cast<double>(radius) * normal[k]);
    result[3 + k] = normal[k];
  }
  return 0;
}

int XPointFit::Fit(const float* records, const int& count, float* result, const float& radius) {
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    const float* in = records + 6 * i;
    float* out = result + 6 * i;
    for (int k = 0; k < 3; ++k) {
      const float offset = in[3 + k] * radius;
      out[k] = in[k] - offset;
      out[3 + k] = in[3 + k];
    }
  }
  return 0;
}

}  // namespace xgeofit
