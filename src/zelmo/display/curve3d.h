// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <opencv2/core.hpp>
#include <zelmo/export.h>

namespace xgeometry {

/// Base of the flat outlines: no data, no virtual operations, only routines on planes and rigid
/// transforms. A transform is double[16], a row-major 4 by 4 on column vectors.
class ZELMO_EXPORT XCurve3D {
 protected:
  /// \copydoc x3dfit::X3DFit::Intersection3Planes
  int Intersection3Planes(const cv::Vec3d* normals, const cv::Point3d* points, cv::Mat& out);

  /// \copydoc x3dfit::X3DFit::getMatRByVector
  void getMatRByVector(const cv::Vec3d& from, const cv::Vec3d& to, cv::Mat& R);

  /// The rigid transform that carries three source planes onto three target planes. When the second
  /// rotation is a half-turn, its axis is the first normal, so that normal stays where it is.
  ///
  /// Writes its steps on the standard output: "vec_model:" and the three target normals, "vec_test"
  /// and the three source normals, a line each, then R1, R2 and R, each label followed at once by
  /// its matrix.
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

  /// \copydoc x3dfit::X3DFit::convertMatrixRT
  int convertMatrixRT(const double* const in, double* const out);

  /// \copydoc x3dfit::X3DFit::projection2Plane
  void projection2Plane(const std::vector<cv::Point3f>& points, double* const plane,
                        std::vector<cv::Point3f>& out);

 private:
  static void getMatrixR(const cv::Vec3d& axis, const double& angle, cv::Mat& R, bool degrees);
};

}  // namespace xgeometry
