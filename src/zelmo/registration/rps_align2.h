// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <zelmo/export.h>

#include "zelmo/registration/rps_align.h"

namespace xrpsalign {

/// Aligns a measured cloud or mesh to reference points whose measured partners are not known: they
/// are looked up near the reference points, the data is aligned to them by XRPSAlign and moved, and
/// so on. Has no state; each call owns its cloud, tree and alignment.
class ZELMO_EXPORT XRPSAlign2 {
 public:
  /// Aligns a cloud: the partner of a reference point is the nearest point of the cloud.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] count number of points
  /// \param[in] first as many reference points as are looked up; only their flags are read, for the
  ///     host's use
  /// \param[in] second the fixed reference points, at least as many; their positions are looked up,
  ///     their flagA rules the alignment. The first ones count when there are more.
  /// \param[out] rt double[16]: row-major 4 by 4 on column vectors that carries the data onto
  ///     \p second; written only on success
  /// \param[in] iterations how often partners are looked up
  /// \return 0: done. -101: \p iterations is below 1. -201: in some pass a reference point has no
  ///     partner within 10 units, its position is not finite, or \p second is shorter than \p first.
  /// \note Each pass prints the line of XRPSAlign. Without reference points the result is the
  ///     identity.
  int alignByRPSPoint(const float* points, const int& count, const std::vector<XRPSPoint>& first,
                      const std::vector<XRPSPoint>& second, double* const rt,
                      const int& iterations);

  /// Aligns a mesh: the partner of a reference point is its foot on the nearest of the 30 faces with
  /// the nearest centroids. A face counts when it holds the foot after it is enlarged about its
  /// centroid by 2.5, with a further tolerance of 0.2 in barycentric coordinates.
  ///
  /// \param[in] vertices float[3 * vertexCount]: x, y, z per vertex
  /// \param[in] vertexCount number of vertices
  /// \param[in] normals float[3 * triangleCount]: one unit normal per triangle
  /// \param[in] triangles int[3 * triangleCount]: three vertex indices per triangle. A triangle with
  ///     an index out of range is left out.
  /// \param[in] triangleCount number of triangles; a null array means none
  /// \param[in] first as in the other form
  /// \param[in] second as in the other form
  /// \param[out] rt as in the other form
  /// \param[in] iterations as in the other form
  /// \return 0: done. -101: \p iterations is below 1. -201: in some pass a reference point has no
  ///     partner, or \p second is shorter than \p first. Which kind it was stands in a line on the
  ///     standard output: "-2_123456789" for no triangles or a position that is not finite,
  ///     "-3_123456789" when no triangle holds the foot, "-4_123456789" when the foot lies more
  ///     than 10 units away.
  int alignByRPSPoint(const float* vertices, const int& vertexCount, const float* normals,
                      const int* triangles, const int& triangleCount,
                      const std::vector<XRPSPoint>& first, const std::vector<XRPSPoint>& second,
                      double* const rt, const int& iterations);
};

}  // namespace xrpsalign
