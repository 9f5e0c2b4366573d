// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

#include <opencv2/core/matx.hpp>

namespace zelmo::internal {

/// Where a trace stands: the way to go, the radius and length of the next section and the point where
/// it begins.
struct TubeCursor {
  cv::Vec3f axis;
  float radius = 0;
  float length = 0;
  cv::Vec3f at;

  /// Length times axis from at, in float.
  cv::Vec3f ahead(float distance) const;
};

/// The first section of a trace, fitted as a whole.
struct TubeStart {
  cv::Vec3f begin;
  TubeCursor cursor;
};

/// \param[in] points x, y, z of the section's points
/// \return nothing when the fit leaves values that are not finite
std::optional<TubeStart> startTube(const std::vector<float>& points, const float* start,
                                   const float* direction, float step, float radius);

/// Fits axis and radius of a section with its begin held, and moves the cursor along.
/// \return false when the line does not advance; the cursor is then of no use
bool advance(TubeCursor& cursor, const std::vector<float>& points);

}  // namespace zelmo::internal
