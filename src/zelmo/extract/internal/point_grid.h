// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "zelmo/internal/array_view.h"

namespace zelmo::internal {

/// A ball of points: those whose squared distance from the center, in float, lies strictly below the
/// square of the radius, narrowed to float.
struct Ball {
  std::array<float, 3> center{};
  double radius = 0.0;

  float squaredRadius() const { return static_cast<float>(radius * radius); }

  /// Whether the ball can hold a point at all.
  bool isUsable() const;
};

/// Finite points sorted into the cells of a regular grid, coordinate by coordinate, so that a search
/// runs over short stretches of memory. Points outside the bulk of the cloud share the border cells.
class PointGrid {
 public:
  /// Positions from begin up to end.
  struct Run {
    int begin, end;
  };
  /// Readable positions behind the last one.
  static constexpr int kPadding = 8;

  PointGrid() = default;

  /// \param[in] points x, y, z of point i from points[stride * i] on
  /// \param[in] stride floats from one point to the next
  PointGrid(const float* points, int stride, int count);

  /// Number of points that were given, finite or not.
  int givenCount() const { return m_given; }

  const float* x() const { return m_x.data(); }
  const float* y() const { return m_y.data(); }
  const float* z() const { return m_z.data(); }

  /// The index that the point at a position had when it was given.
  const int* index() const { return m_index.data(); }

  /// Stretches that hold every point of \p ball, and others near it.
  std::vector<Run> runsNear(const Ball& ball) const;

 private:
  struct Axis {
    float low = 0;
    float cells_per_unit = 0;
    int cells = 1;

    /// Never falls when \p value grows.
    int cellOf(float value) const;
    double unitsPerCell() const { return 1.0 / cells_per_unit; }
    /// A lower bound of the distance from \p value to the points of a cell.
    double distanceTo(int cell, float value) const;
  };
  void chooseAxes(const float* points, int stride, int count);

  int m_given = 0;
  std::array<Axis, 3> m_axes;
  std::vector<int> m_start;  // first position of each cell, and the end behind the last one
  std::vector<float> m_x, m_y, m_z;
  std::vector<int> m_index;
};

}  // namespace zelmo::internal
