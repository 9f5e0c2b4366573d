// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>

#include "zelmo/feature/frame_toolkit.h"

namespace zelmo::internal {

/// Writes the points of a local plane, one after the other, into a host's buffer.
class PointWriter {
 public:
  /// \param[in] space_from_local carries local points to space
  /// \param[out] out three floats for each point to come
  PointWriter(const Rigid& space_from_local, float* out)
      : m_space_from_local(space_from_local), m_out(out) {}

  /// The local point (x, y, 0), moved by \p offset in space.
  void add(double x, double y, const cv::Vec3d& offset = {}) {
    const cv::Point3d p = transformPoint(m_space_from_local, {x, y, 0});
    *m_out++ = static_cast<float>(p.x + offset[0]);
    *m_out++ = static_cast<float>(p.y + offset[1]);
    *m_out++ = static_cast<float>(p.z + offset[2]);
  }

  /// Points begin to end - 1 of \p count on the circle about the local (x, y).
  // CONTRACT: the step is a turn through count, also where count / 4 points make a quarter.
  void addArc(double x, double y, double radius, int begin, int end, int count,
              const cv::Vec3d& offset = {}) {
    const double step = 2 * CV_PI / count;
    for (int i = begin; i < end; ++i) {
      add(x + radius * std::cos(i * step), y + radius * std::sin(i * step), offset);
    }
  }

 private:
  Rigid m_space_from_local;
  float* m_out;
};

}  // namespace zelmo::internal
