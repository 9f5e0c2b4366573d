// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>

#include <opencv2/core/matx.hpp>

#include "zelmo/mesh/trim.h"

/// \file
/// What a trim does to one face of a mesh, collected before it goes into the common result.

namespace zelmo::internal {

/// A wall along a cut: it hangs from the cut edge by an offset along the curve's normal.
struct CutWall {
  cv::Vec3f center;  ///< of the curve
  cv::Vec3f normal;  ///< of the curve
  cv::Vec3f offset;  ///< from the foot of the wall up to the cut edge
};

/// The face normal of a new wall triangle: the triangle's own unit normal, turned to agree with
/// \p given; \p given as it stands when twice the triangle's area is below 0.0001.
cv::Vec3f wallNormal(const cv::Vec3f& a, const cv::Vec3f& b, const cv::Vec3f& c,
                     const cv::Vec3f& given);

/// The changes at one face. Holds up to three parts of the face and four wall triangles.
class FaceChange {
 public:
  /// \param[in] normal float[3]: the face's normal, which its parts inherit
  explicit FaceChange(const float* normal) : m_normal(normal[0], normal[1], normal[2]) {}

  void remove() { m_removed = true; }

  /// A part of the face that stays.
  void addPart(const cv::Vec3f& a, const cv::Vec3f& b, const cv::Vec3f& c) {
    add(a, b, c, m_normal);
  }

  /// The two triangles of a wall that hangs from the edge p q.
  void addWall(const cv::Vec3f& p, const cv::Vec3f& q, const CutWall& wall);

  bool isEmpty() const { return !m_removed && m_triangles == 0; }

  /// Appends everything, with \p face as the source.
  void appendTo(vorn::quil::xtirm::ModifyFaceData& result, int face) const;

 private:
  static constexpr std::size_t kMostTriangles = 7;

  void add(const cv::Vec3f& a, const cv::Vec3f& b, const cv::Vec3f& c, const cv::Vec3f& normal);

  cv::Vec3f m_normal;
  bool m_removed = false;
  std::size_t m_triangles = 0;
  std::array<float, 9 * kMostTriangles> m_vertices;
  std::array<float, 3 * kMostTriangles> m_normals;
};

}  // namespace zelmo::internal
