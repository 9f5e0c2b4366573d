// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <opencv2/core.hpp>
#include <zelmo/export.h>

/// Room [display](docs/rooms/display.md): features sampled into lists of points for drawing.
namespace xgeometry {

/// Base of the solids: no data, no virtual operations, only routines on planes and rigid transforms.
/// A transform is double[16], a row-major 4 by 4 on column vectors. Silent.
class ZELMO_EXPORT XGeometry3D {
 protected:
  /// \copydoc x3dfit::X3DFit::Intersection3Planes
  int Intersection3Planes(const cv::Vec3d* normals, const cv::Point3d* points, cv::Mat& out);

  /// \copydoc x3dfit::X3DFit::getMatRByVector
  void getMatRByVector(const cv::Vec3d& from, const cv::Vec3d& to, cv::Mat& R);

  /// \copydoc x3dfit::X3DFit::alignBy3Plane
  void alignBy3Plane(const cv::Vec3d* targetNormals, const cv::Point3d* targetPoints,
                     const cv::Vec3d* sourceNormals, const cv::Point3d* sourcePoints,
                     double* const rt);

  /// \copydoc x3dfit::X3DFit::convertMatrixRT
  int convertMatrixRT(const double* const in, double* const out);

  /// \copydoc x3dfit::X3DFit::projection2Plane
  void projection2Plane(const std::vector<cv::Point3f>& points, double* const plane,
                        std::vector<cv::Point3f>& out);
};

}  // namespace xgeometry
