// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/mesh/internal/face_change.h"

#include <algorithm>
#include <cassert>

namespace zelmo::internal {

cv::Vec3f wallNormal(const cv::Vec3f& a, const cv::Vec3f& b, const cv::Vec3f& c,
                     const cv::Vec3f& given) {
  constexpr double kNoArea = 0.0001;  // of twice the area
  const cv::Vec3d corner(a);
  const cv::Vec3d cross = (cv::Vec3d(b) - corner).cross(cv::Vec3d(c) - corner);
  const double length = cv::norm(cross);
  if (length < kNoArea) return given;
  const double sign = cross.dot(cv::Vec3d(given)) < 0 ? -1.0 : 1.0;
  return cv::Vec3f(cross * (sign / length));
}

void FaceChange::add(const cv::Vec3f& a, const cv::Vec3f& b, const cv::Vec3f& c,
                     const cv::Vec3f& normal) {
  assert(m_triangles < kMostTriangles);
  float* vertex = m_vertices.data() + 9 * m_triangles;
  for (const cv::Vec3f* p : {&a, &b, &c}) vertex = std::copy_n(p->val, 3, vertex);
  std::copy_n(normal.val, 3, m_normals.data() + 3 * m_triangles);
  ++m_triangles;
}

void FaceChange::addWall(const cv::Vec3f& p, const cv::Vec3f& q, const CutWall& wall) {
  constexpr double kNoLength = 1e-6;
  const cv::Vec3f foot_p = p - wall.offset;
  const cv::Vec3f foot_q = q - wall.offset;
  const cv::Vec3d n(wall.normal);
  const cv::Vec3d d = cv::Vec3d(foot_p) - cv::Vec3d(wall.center);
  const double length = cv::norm(d);
  // CONTRACT: the height of d over the curve's plane is divided by the length of d.
  const double along = d.dot(n) / (length < kNoLength ? 1.0 : length);
  const cv::Vec3f inward(n * along - d);
  add(p, q, foot_p, wallNormal(p, q, foot_p, inward));
  add(foot_p, q, foot_q, wallNormal(foot_p, q, foot_q, inward));
}

void FaceChange::appendTo(vorn::quil::xtirm::ModifyFaceData& result, int face) const {
  if (m_removed) result.removedFaces.push_back(face);
  result.newVertices.insert(result.newVertices.end(), m_vertices.begin(),
                            m_vertices.begin() + static_cast<std::ptrdiff_t>(9 * m_triangles));
  result.newNormals.insert(result.newNormals.end(), m_normals.begin(),
                           m_normals.begin() + static_cast<std::ptrdiff_t>(3 * m_triangles));
  result.sourceFaces.insert(result.sourceFaces.end(), m_triangles, face);
}

}  // namespace zelmo::internal
