// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/display/curve3d.h"

#include "zelmo/display/internal/outline_frame.h"
#include "zelmo/feature/internal/frame_members.h"

namespace xgeometry {

using namespace zelmo::internal;  // NOLINT(google-build-using-namespace): the kernels of this shell

int XCurve3D::Intersection3Planes(const cv::Vec3d* normals, const cv::Point3d* points,
                                  cv::Mat& out) {
  return storeIntersection(normals, points, out);
}

void XCurve3D::getMatRByVector(const cv::Vec3d& from, const cv::Vec3d& to, cv::Mat& R) {
  storeRotation(from, to, R);
}

void XCurve3D::alignBy3Plane(const cv::Vec3d* targetNormals, const cv::Point3d* targetPoints,
                             const cv::Vec3d* sourceNormals, const cv::Point3d* sourcePoints,
                             double* const rt) {
  alignAndPrint(PlaneTriple::of(targetNormals, targetPoints),
                PlaneTriple::of(sourceNormals, sourcePoints), rt);
}

int XCurve3D::convertMatrixRT(const double* const in, double* const out) {
  return storeInverse(in, out);
}

void XCurve3D::projection2Plane(const std::vector<cv::Point3f>& points, double* const plane,
                                std::vector<cv::Point3f>& out) {
  projectOnPlane(PointView(points), plane, out);
}

void XCurve3D::getMatrixR(const cv::Vec3d& axis, const double& angle, cv::Mat& R, bool degrees) {
  R = cv::Mat(rotationAbout(axis, inRadians(angle, degrees)));
}

}  // namespace xgeometry
