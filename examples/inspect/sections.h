// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <vector>

#include "measure.h"

namespace inspect {

/// A point and a unit direction, or a normal, as the tolerances want them.
using Ray = std::array<double, 6>;
Ray rayFrom(const Telling& telling);

/// A slice of a cylinder across its measured axis.
struct Section {
  std::vector<float> points;
  std::array<double, 7> circle;  ///< fitted: centre, normal, radius

  int count() const { return static_cast<int>(points.size() / 3); }
};

/// Slices of equal thickness with their circles. None for what is no cylinder of a full turn; slices
/// with too few points are left out.
std::vector<Section> sectionsOf(const Measurement& one, const Scan& scan);

/// Three floats per section.
std::vector<float> centresOf(const std::vector<Section>& sections);

/// The points of a plane within 0.5 mm of the line through its middle, lengthwise, moved onto the
/// section that this line makes.
std::vector<float> lineIn(const Measurement& one, const Scan& scan);

/// The line fitted to the points. Its point is its first end.
/// \return false below three points
bool lineThrough(const std::vector<float>& points, Ray& line);

}  // namespace inspect
