// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <opencv2/core/types.hpp>

namespace zelmo::internal {

/// Interleaved x, y, z floats that somebody else owns. Together with MeshView the only place that
/// multiplies an index by 3.
class PointView {
 public:
  /// Floats of one point.
  static constexpr int kFloats = 3;

  PointView() = default;

  /// \param[in] data float[3 * count], may be null when \p count is 0 or less
  /// \param[in] count number of points; 0 or less, or a null \p data, means none
  PointView(const float* data, int count)
      : m_data(data), m_count(data != nullptr && count > 0 ? count : 0) {}

  explicit PointView(const std::vector<cv::Point3f>& points)
      : PointView(points.empty() ? nullptr : &points.front().x, static_cast<int>(points.size())) {}

  const float* data() const { return m_data; }
  int count() const { return m_count; }
  bool empty() const { return m_count == 0; }

  /// The three floats of point \p i.
  const float* at(int i) const { return m_data + 3 * static_cast<std::ptrdiff_t>(i); }

  /// Point \p i widened to double.
  cv::Point3d point(int i) const {
    const float* p = at(i);
    return {p[0], p[1], p[2]};
  }
  cv::Vec3d vector(int i) const {
    const float* p = at(i);
    return {p[0], p[1], p[2]};
  }

 private:
  const float* m_data = nullptr;
  int m_count = 0;
};

/// Interleaved x, y floats that somebody else owns.
class PlanarView {
 public:
  /// Floats of one point.
  static constexpr int kFloats = 2;

  /// \param[in] data float[2 * count], may be null when \p count is 0 or less
  PlanarView(const float* data, int count)
      : m_data(data), m_count(data != nullptr && count > 0 ? count : 0) {}
  explicit PlanarView(const std::vector<cv::Point2f>& points)
      : PlanarView(points.empty() ? nullptr : &points.front().x, static_cast<int>(points.size())) {}

  const float* data() const { return m_data; }
  int count() const { return m_count; }
  bool empty() const { return m_count == 0; }

  /// The two floats of point \p i.
  const float* at(int i) const { return m_data + kFloats * static_cast<std::ptrdiff_t>(i); }

 private:
  const float* m_data = nullptr;
  int m_count = 0;
};

/// Triangles over interleaved vertices: three vertex indices per face. Indices are taken as given;
/// isInside tells whether a face may be read.
class MeshView {
 public:
  MeshView() = default;
  MeshView(PointView vertices, const int* faces, int face_count)
      : m_vertices(vertices),
        m_faces(faces),
        m_face_count(faces != nullptr && face_count > 0 ? face_count : 0) {}

  const PointView& vertices() const { return m_vertices; }
  int faceCount() const { return m_face_count; }

  /// The three vertex indices of face \p i.
  const int* face(int i) const { return m_faces + 3 * static_cast<std::ptrdiff_t>(i); }

  /// Whether all three indices of face \p i name a vertex.
  bool isInside(int i) const {
    const int* f = face(i);
    const auto names_vertex = [this](int v) { return v >= 0 && v < m_vertices.count(); };
    return names_vertex(f[0]) && names_vertex(f[1]) && names_vertex(f[2]);
  }

 private:
  PointView m_vertices;
  const int* m_faces = nullptr;
  int m_face_count = 0;
};

/// Copies a view into the vector form.
inline std::vector<cv::Point3f> toPointVector(const PointView& view) {
  std::vector<cv::Point3f> points(static_cast<std::size_t>(view.count()));
  for (int i = 0; i < view.count(); ++i) {
    const float* p = view.at(i);
    points[static_cast<std::size_t>(i)] = {p[0], p[1], p[2]};
  }
  return points;
}

}  // namespace zelmo::internal
