// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

#include <opencv2/core/types.hpp>

#include "surface_mesh.h"
#include "svg.h"

namespace inspect {

/// A parallel projection of a mesh onto a sheet, with what hides what in it.
class View {
 public:
  /// \param towards_eye from the part to whoever looks at it; z is up on the sheet
  /// \param sheet the part of the sheet, in pixels, that the mesh fills
  View(const SurfaceMesh& mesh, const cv::Vec3d& towards_eye, const cv::Rect2d& sheet);

  /// The height on the sheet of a mesh that is drawn so wide.
  static double heightFor(const SurfaceMesh& mesh, const cv::Vec3d& towards_eye, double width);

  cv::Point2d at(const cv::Vec3d& point) const;
  const cv::Vec3d& eye() const { return m_frame.eye; }
  const cv::Vec3d& right() const { return m_frame.right; }
  const cv::Vec3d& up() const { return m_frame.up; }

  /// The triangles of which something is seen, in an order in which each may be painted over those
  /// before it.
  std::vector<int> paintOrder() const;

  /// The triangle that is seen at a pixel, or -1. Pixels are those of the sheet.
  int triangleAt(int column, int row) const;
  int columns() const { return m_columns; }
  int rows() const { return m_rows; }
  /// The middle of a pixel on the sheet.
  cv::Point2d middleOf(int column, int row) const;

  /// The stretches of a line in space that are seen, or those that are hidden.
  std::vector<Path2> stretches(const std::vector<cv::Vec3d>& line, bool seen) const;

 private:
  struct Layer {
    float depth;
    int triangle;
  };

  /// The directions of the sheet, and the mesh's extent along them.
  struct Frame {
    Frame(const SurfaceMesh& mesh, const cv::Vec3d& towards_eye);
    cv::Vec3d eye, right, up;
    double low_u = 1e300, high_u = -1e300, low_v = 1e300, high_v = -1e300;
    double wide() const { return std::max(high_u - low_u, 1e-9); }
    double high() const { return std::max(high_v - low_v, 1e-9); }
  };

  void rasterise(int triangle);
  /// Per triangle 1 where some pixel shows it.
  std::vector<char> seenTriangles() const;
  /// Pairs of seen triangles of which the second lies right before the first at some pixel.
  std::set<std::pair<int, int>> neighboursInDepth(const std::vector<char>& is_seen) const;
  bool isSeen(const cv::Vec3d& point) const;
  std::size_t cell(int column, int row) const {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(m_columns) +
           static_cast<std::size_t>(column);
  }

  const SurfaceMesh& m_mesh;
  Frame m_frame;
  double m_scale = 1.0, m_bias = 0.0;
  cv::Point2d m_origin;  ///< of the sheet's part
  cv::Point2d m_shift;   ///< where the origin of the space lies on the sheet
  int m_columns = 0, m_rows = 0;
  std::vector<std::vector<Layer>> m_layers;  ///< per pixel, the farthest first
};

}  // namespace inspect
