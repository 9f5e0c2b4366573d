// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/display/curve3d.h"

#include "zelmo/display/internal/direction.h"
#include "zelmo/feature/internal/frame_members.h"
#include "zelmo/internal/console.h"

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
  AlignTrace trace;
  storeAlignment(PlaneTriple::of(targetNormals, targetPoints),
                 PlaneTriple::of(sourceNormals, sourcePoints), OppositeCross::AboutFirstNormal, rt,
                 &trace);
  ConsoleText() << "vec_model:\n"
                << targetNormals[0] << "\n"
                << targetNormals[1] << "\n"
                << targetNormals[2] << "\n"
                << "vec_test\n"
                << sourceNormals[0] << "\n"
                << sourceNormals[1] << "\n"
                << sourceNormals[2] << "\n"
                << "R1" << trace.r1 << "\n"
                << "R2" << trace.r2 << "\n"
                << "R" << trace.r << "\n";
}

int XCurve3D::convertMatrixRT(const double* const in, double* const out) {
  return storeInverse(in, out);
}

void XCurve3D::projection2Plane(const std::vector<cv::Point3f>& points, double* const plane,
                                std::vector<cv::Point3f>& out) {
  projectOnPlane(PointView(points), plane, out);
}

bool XCurve3D::frameToSpace(const cv::Vec3d& center, const cv::Vec3d& normal,
                            const cv::Vec3d& majorDir, double* const rt) {
  const cv::Point3d there(center[0], center[1], center[2]);
  const cv::Vec3d target[3] = {majorDir, unitOrZero(normal.cross(majorDir)), normal};
  const cv::Point3d target_points[3] = {there, there, there};
  const cv::Vec3d source[3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  const cv::Point3d source_points[3];
  alignBy3Plane(target, target_points, source, source_points, rt);
  return isDirection(target[1]);
}

void XCurve3D::getMatrixR(const cv::Vec3d& axis, const double& angle, cv::Mat& R, bool degrees) {
  R = cv::Mat(rotationAbout(axis, inRadians(angle, degrees)));
}

}  // namespace xgeometry
