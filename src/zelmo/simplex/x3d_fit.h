// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <opencv2/core.hpp>
#include <zelmo/export.h>

/// Room [simplex](docs/rooms/simplex.md): fits of solids by descent.
namespace x3dfit {

/// Base of the fits by direct minimisation: no data, no virtual operations, only routines on planes
/// and rigid transforms. A transform is double[16], a row-major 4 by 4 on column vectors.
class ZELMO_EXPORT X3DFit {
 public:
  /// Maps points into the local frame of a plane: origin at the mean of the projected points, X
  /// towards the first projected point that is at least 0.01 off it in some coordinate.
  ///
  /// \param[in] points in space
  /// \param[in] plane double[4]: a, b, c, d with |(a, b, c)| = 1
  /// \param[out] out x and y of each point; stays as it is when there is no frame (no point off the
  ///     mean, a zero or non-finite normal)
  void projection2Plane_tranformed(const std::vector<cv::Point3f>& points, double* const plane,
                                   std::vector<cv::Point2f>& out);

 protected:
  /// The point where three planes meet.
  ///
  /// \param[in] normals cv::Vec3d[3]
  /// \param[in] points cv::Point3d[3], one on each plane
  /// \param[out] out 3 by 1 matrix of doubles
  /// \return 1 if \p out was written; 0 if the determinant of the normals lies strictly between
  ///     -1e-6 and 1e-6 or is NaN, and \p out stays as it is
  int Intersection3Planes(const cv::Vec3d* normals, const cv::Point3d* points, cv::Mat& out);

  /// The rotation that carries the direction \p from onto \p to.
  ///
  /// \param[in] from a direction of any length
  /// \param[in] to a direction of any length
  /// \param[out] R 3 by 3 matrix of doubles; the identity for a zero or non-finite vector
  void getMatRByVector(const cv::Vec3d& from, const cv::Vec3d& to, cv::Mat& R);

  /// The rigid transform that carries three source planes onto three target planes. When the second
  /// rotation is a half-turn, its axis is the one getMatRByVector picks.
  ///
  /// \param[in] targetNormals cv::Vec3d[3]
  /// \param[in] targetPoints cv::Point3d[3]
  /// \param[in] sourceNormals cv::Vec3d[3]
  /// \param[in] sourcePoints cv::Point3d[3]
  /// \param[out] rt double[16]; stays as it is when the source planes have no single point. Target
  ///     planes that have none give some rotation.
  void alignBy3Plane(const cv::Vec3d* targetNormals, const cv::Point3d* targetPoints,
                     const cv::Vec3d* sourceNormals, const cv::Point3d* sourcePoints,
                     double* const rt);

  /// Inverse of a rigid transform.
  ///
  /// \param[in] in double[16]; nothing tests that it is rigid
  /// \param[out] out double[16]; may be \p in
  /// \return 1
  int convertMatrixRT(const double* const in, double* const out);

  /// The feet of points on a plane, computed in double and stored in float.
  ///
  /// \param[in] points in space
  /// \param[in] plane double[4]: a, b, c, d; nothing tests that |(a, b, c)| = 1
  /// \param[out] out one foot per point; may be \p points
  void projection2Plane(const std::vector<cv::Point3f>& points, double* const plane,
                        std::vector<cv::Point3f>& out);
};

}  // namespace x3dfit
