// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/display/geometry3d.h"

#include "zelmo/display/internal/frame_members.h"

namespace xgeometry {

using namespace zelmo::internal;  // NOLINT(google-build-using-namespace): the kernels of this shell

int XGeometry3D::Intersection3Planes(const cv::Vec3d* normals, const cv::Point3d* points,
                                     cv::Mat& out) {
  return storeIntersection(normals, points, out);
}

void XGeometry3D::getMatRByVector(const cv::Vec3d& from, const cv::Vec3d& to, cv::Mat& R) {
  R = cv::Mat(rotationBetween(from, to));
}

void XGeometry3D::alignBy3Plane(const cv::Vec3d* targetNormals, const cv::Point3d* targetPoints,
                                const cv::Vec3d* sourceNormals, const cv::Point3d* sourcePoints,
                                double* const rt) {
  storeRigid(alignByPlanes(planeTriple(targetNormals, targetPoints),
                           planeTriple(sourceNormals, sourcePoints), OppositeCross::AnyHalfTurn),
             rt);
}

int XGeometry3D::convertMatrixRT(const double* const in, double* const out) {
  storeRigid(rigidInverse(in), out);
  return 1;
}

void XGeometry3D::projection2Plane(const std::vector<cv::Point3f>& points, double* const plane,
                                   std::vector<cv::Point3f>& out) {
  projectOnPlane(PointView(points), plane, out);
}

}  // namespace xgeometry
