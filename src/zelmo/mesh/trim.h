// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <opencv2/core/mat.hpp>
#include <zelmo/export.h>

/// Room [mesh](docs/rooms/mesh.md): holes and slots cut out of triangle meshes.
namespace vorn::quil::xtirm {

/// What a trim takes out of a mesh and what it adds. The host applies it: a trim never edits the
/// host's mesh. The first three vectors run in step.
struct ModifyFaceData {
  std::vector<float> newVertices;  ///< nine floats per new triangle: x, y, z of its three vertices
  std::vector<float> newNormals;   ///< three floats per new triangle: its face normal
  std::vector<int> sourceFaces;    ///< one per new triangle: the input face it came from
  std::vector<int> removedFaces;   ///< the input faces to be taken out
};

/// Rigid transforms of the trimming operations. Has no state; safe from any thread. Transforms are
/// row-major 4 by 4 matrices that act on column vectors, with the last row 0, 0, 0, 1.
class ZELMO_EXPORT XTrim {
 public:
  /// The inverse of a rigid transform, by transposition; nothing tests that it is rigid.
  ///
  /// \param[in] m double[16]
  /// \param[out] inverse double[16]; may be \p m
  /// \return 0
  static int convertMatrixRT(const double* const m, double* const inverse);

  /// The rigid transform that carries three points onto three others in the sense of least squares.
  ///
  /// \param[in] from float[9]: three points of x, y, z
  /// \param[in] to float[9]: the points that they go to
  /// \param[out] m double[16]
  /// \return 0
  /// \note A mirrored \p to still gives a rotation. For collinear points the turn about their line
  ///     is some turn.
  static int getRTDirect2(const float* const from, const float* const to, double* m);

  /// The rotation that a correlation matrix of point pairs asks for.
  ///
  /// \param[in] h 3 by 3 of doubles or floats: sum of (from - mean)(to - mean)^T
  /// \param[out] r the rotation, of the type of \p h, with determinant 1; the identity for an \p h
  ///     that is not finite
  /// \throws cv::Exception for an \p h that is empty, not square or of another type
  static void getMatR_svd(const cv::Mat& h, cv::Mat& r);

  /// A point carried by a transform.
  ///
  /// \param[in] p float[3]: x, y, z
  /// \param[in] m double[16]
  /// \param[out] out float[3]; may be \p p
  void transformPoint(const float* const p, const double* const m, float* const out);

  /// The first two coordinates of a point carried by a transform; its height is lost.
  ///
  /// \param[in] p float[3]
  /// \param[in] m double[16]
  /// \param[out] out float[2]: x, y; may be \p p
  void transformPoint2(const float* const p, const double* const m, float* const out);

  /// A point of the plane z = 0 carried by a transform.
  ///
  /// \param[in] p float[2]: x, y
  /// \param[in] m double[16]
  /// \param[out] out float[3]: x, y, z; may be \p p where that has room for it
  void transformPoint3(const float* const p, const double* const m, float* const out);
};

}  // namespace vorn::quil::xtirm
