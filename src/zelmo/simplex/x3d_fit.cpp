// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/simplex/x3d_fit.h"

#include "zelmo/feature/internal/frame_members.h"
#include "zelmo/feature/internal/local_frame.h"

namespace x3dfit {

using namespace zelmo::internal;  // NOLINT(google-build-using-namespace): the kernels of this shell

void X3DFit::projection2Plane_tranformed(const std::vector<cv::Point3f>& points,
                                         double* const plane, std::vector<cv::Point2f>& out) {
  auto local =
      projectToLocal(PointView(points), plane, {NoAxisPoint::NoFrame, OppositeCross::AnyHalfTurn});
  if (local) out = std::move(local->points);
}

int X3DFit::Intersection3Planes(const cv::Vec3d* normals, const cv::Point3d* points, cv::Mat& out) {
  return storeIntersection(normals, points, out);
}

void X3DFit::getMatRByVector(const cv::Vec3d& from, const cv::Vec3d& to, cv::Mat& R) {
  storeRotation(from, to, R);
}

void X3DFit::alignBy3Plane(const cv::Vec3d* targetNormals, const cv::Point3d* targetPoints,
                           const cv::Vec3d* sourceNormals, const cv::Point3d* sourcePoints,
                           double* const rt) {
  storeAlignment(PlaneTriple::of(targetNormals, targetPoints),
                 PlaneTriple::of(sourceNormals, sourcePoints), OppositeCross::AnyHalfTurn, rt);
}

int X3DFit::convertMatrixRT(const double* const in, double* const out) {
  return storeInverse(in, out);
}

void X3DFit::projection2Plane(const std::vector<cv::Point3f>& points, double* const plane,
                              std::vector<cv::Point3f>& out) {
  projectOnPlane(PointView(points), plane, out);
}

}  // namespace x3dfit
