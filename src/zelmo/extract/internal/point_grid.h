// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <memory>
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

  /// A point and the index that it had when it was given.
  struct Entry {
    float x, y, z;
    int index;
  };
  const Entry* entries() const { return m_entries.get(); }

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
  std::unique_ptr<Entry[]> m_entries;  // not zeroed first, which a vector would do
};

}  // namespace zelmo::internal
