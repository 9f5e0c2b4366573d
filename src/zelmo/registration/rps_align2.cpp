// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/registration/rps_align2.h"

#include <algorithm>
#include <array>
#include <memory>
#include <optional>

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/internal/array_view.h"
#include "zelmo/internal/cloud_tree.h"
#include "zelmo/internal/console.h"
#include "zelmo/internal/triangle_search.h"

namespace xrpsalign {

using namespace zelmo::internal;  // NOLINT(google-build-using-namespace): the kernels of this shell

namespace {

using zelmo::TriangleRecord;

constexpr int kBadIterations = -101;
constexpr int kStepFailed = -201;
constexpr float kReachSquared = 100.0F;

/// Where a reference point meets the data.
struct Partner {
  std::array<float, 3> position, normal;
};

Rigid product(const Rigid& a, const Rigid& b) {
  const cv::Matx44d result = cv::Matx44d(a.data()) * cv::Matx44d(b.data());
  Rigid out;
  std::copy(result.val, result.val + 16, out.begin());
  return out;
}

std::array<float, 3> moved(const Rigid& motion, const float* p) {
  const cv::Point3d q = transformPoint(motion, {p[0], p[1], p[2]});
  return {static_cast<float>(q.x), static_cast<float>(q.y), static_cast<float>(q.z)};
}

/// The data of the first pass, and where each pass stands.
class MovingCloud {
 public:
  explicit MovingCloud(const PointView& points) : m_points(points) { setTree(cloudOf(points)); }

  void moveTo(const Rigid& motion) {
    const auto cloud = makeCloud(m_points.count());
    for (int i = 0; i < m_points.count(); ++i) {
      const auto p = moved(motion, m_points.at(i));
      (*cloud)[static_cast<std::size_t>(i)] = {p[0], p[1], p[2]};
    }
    setTree(cloud);
  }

  std::optional<Partner> partnerOf(const float* query) const {
    Neighbours found;
    searchNearest(m_tree.get(), query, 1, found);
    if (found.indices.empty() || found.squared_distances[0] > kReachSquared) return std::nullopt;
    const pcl::PointXYZ& p = (*m_cloud)[static_cast<std::size_t>(found.indices[0])];
    return Partner{{p.x, p.y, p.z}, {-1, 0, 0}};
  }

 private:
  void setTree(const boost::shared_ptr<Cloud>& cloud) {
    m_cloud = cloud;
    m_tree = buildTree(cloud, NeighbourOrder::AsFound);
  }

  PointView m_points;
  boost::shared_ptr<Cloud> m_cloud;
  std::shared_ptr<CloudTree> m_tree;
};

/// The same for a mesh; the tree is over the centroids of the triangles.
class MovingMesh {
 public:
  MovingMesh(const MeshView& mesh, const float* normals) {
    const PointView face_normals(normals, mesh.faceCount());
    m_given.reserve(static_cast<std::size_t>(face_normals.count()));
    for (int i = 0; i < face_normals.count(); ++i) {
      const auto triangle = triangleOf(mesh, i, face_normals.at(i));
      if (triangle) m_given.push_back(*triangle);
    }
    m_triangles = m_given;
    setTree();
  }

  void moveTo(const Rigid& motion) {
    for (std::size_t i = 0; i < m_given.size(); ++i) {
      const TriangleRecord& from = m_given[i];
      const cv::Vec3d n = rotateDirection(motion, {from.normal[0], from.normal[1], from.normal[2]});
      const float normal[3] = {static_cast<float>(n[0]), static_cast<float>(n[1]),
                               static_cast<float>(n[2])};
      m_triangles[i] = triangleOf(moved(motion, from.a).data(), moved(motion, from.b).data(),
                                  moved(motion, from.c).data(), normal);
    }
    setTree();
  }

  std::optional<Partner> partnerOf(const float* query) const {
    constexpr int kCandidates = 30;
    Neighbours found;
    searchNearest(m_tree.get(), query, kCandidates, found);
    if (found.indices.empty()) {
      ConsoleText() << "-2_123456789\n";
      return std::nullopt;
    }
    const auto foot = nearestTriangle(m_triangles, found.indices, query, TriangleReach::HalfEdge);
    if (!foot) {
      ConsoleText() << "-3_123456789\n";
      return std::nullopt;
    }
    Partner partner;
    double squared_distance = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      partner.position[k] = static_cast<float>(foot->foot[k]);
      const double offset = static_cast<double>(partner.position[k]) - query[k];
      squared_distance += offset * offset;
    }
    if (squared_distance > kReachSquared) {
      ConsoleText() << "-4_123456789\n";
      return std::nullopt;
    }
    std::copy_n(m_triangles[static_cast<std::size_t>(foot->triangle)].normal, 3,
                partner.normal.begin());
    return partner;
  }

 private:
  void setTree() {
    const auto cloud = makeCloud(static_cast<int>(m_triangles.size()));
    for (std::size_t i = 0; i < m_triangles.size(); ++i) {
      const auto c = centroidOf(m_triangles[i]);
      (*cloud)[i] = {c[0], c[1], c[2]};
    }
    m_tree = buildTree(cloud, NeighbourOrder::AsFound);
  }

  std::vector<TriangleRecord> m_given, m_triangles;
  std::shared_ptr<CloudTree> m_tree;
};

/// One pass: partners where the data stands, then the alignment onto the reference points.
template <typename Data>
std::optional<Rigid> alignOnce(const Data& data, const std::vector<XRPSPoint>& first,
                               const std::vector<XRPSPoint>& second) {
  std::vector<XRPSPoint> found;
  for (std::size_t i = 0; i < first.size(); ++i) {
    const auto partner = data.partnerOf(second[i].point);
    if (!partner) return std::nullopt;
    found.emplace_back(partner->position.data(), partner->normal.data(), first[i].flagA,
                       first[i].flagB, first[i].flagC);
  }
  Rigid motion;
  XRPSAlign().alignByRPSPoint(found, second, motion.data());
  return motion;
}

template <typename Data>
int alignInPasses(Data& data, const std::vector<XRPSPoint>& first,
                  const std::vector<XRPSPoint>& second, double* rt, int iterations) {
  if (second.size() < first.size()) return kStepFailed;
  const std::vector<XRPSPoint> used(second.begin(),
                                    second.begin() + static_cast<std::ptrdiff_t>(first.size()));
  Rigid total = kIdentity;
  for (int pass = 1; pass <= iterations; ++pass) {
    if (pass > 1) data.moveTo(total);
    const auto motion = alignOnce(data, first, used);
    if (!motion) return kStepFailed;
    total = pass > 1 ? product(*motion, total) : *motion;
  }
  std::copy(total.begin(), total.end(), rt);
  return 0;
}

}  // namespace

int XRPSAlign2::alignByRPSPoint(const float* points, const int& count,
                                const std::vector<XRPSPoint>& first,
                                const std::vector<XRPSPoint>& second, double* const rt,
                                const int& iterations) {
  if (iterations < 1) return kBadIterations;
  MovingCloud data{PointView(points, count)};
  return alignInPasses(data, first, second, rt, iterations);
}

int XRPSAlign2::alignByRPSPoint(const float* vertices, const int& vertexCount, const float* normals,
                                const int* triangles, const int& triangleCount,
                                const std::vector<XRPSPoint>& first,
                                const std::vector<XRPSPoint>& second, double* const rt,
                                const int& iterations) {
  if (iterations < 1) return kBadIterations;
  MovingMesh data(MeshView(PointView(vertices, vertexCount), triangles, triangleCount), normals);
  return alignInPasses(data, first, second, rt, iterations);
}

}  // namespace xrpsalign
