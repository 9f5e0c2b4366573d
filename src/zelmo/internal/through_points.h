// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <optional>

namespace zelmo::internal {

/// How the squared lengths of the points are formed.
enum class SquareSums {
  InFloat,   ///< squares, their sums and differences in float: XGeoConstructor, XGeoFConstructor
  InDouble,  ///< spline face recognition
};

struct SphereThrough {
  std::array<float, 3> center;
  float radius;  ///< from the center as rounded to float to the first point
};

/// The sphere through four points.
/// \param[in] points float[12]
/// \return nothing when the determinant of the differences of neighbours lies strictly between -1e-6
///     and 1e-6 (four coplanar points), or when the center is not finite
std::optional<SphereThrough> sphereThrough(const float* points, SquareSums squares);

}  // namespace zelmo::internal
