// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/simplex/x3d_fit.h"

#include <algorithm>

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/feature/internal/local_frame.h"

namespace x3dfit {

using namespace zelmo::internal;  // NOLINT(google-build-using-namespace): the kernels of this shell

void X3DFit::projection2Plane_tranformed(const std::vector<cv::Point3f>& points,
                                         double* const plane, std::vector<cv::Point2f>& out) {
  std::vector<cv::Point3f> projected;
  projectOnPlane(PointView(points), plane, projected);
  const auto frame = localFrame(projected, meanOf(projected), {plane[0], plane[1], plane[2]},
                                {NoAxisPoint::NoFrame, OppositeCross::AnyHalfTurn});
  if (frame) out = toLocal(projected, *frame);
}

int X3DFit::Intersection3Planes(const cv::Vec3d* normals, const cv::Point3d* points, cv::Mat& out) {
  const auto point = intersectionOfPlanes(normals, points);
  if (!point) return 0;
  out = *point;
  return 1;
}

void X3DFit::getMatRByVector(const cv::Vec3d& from, const cv::Vec3d& to, cv::Mat& R) {
  R = cv::Mat(rotationBetween(from, to));
}

void X3DFit::alignBy3Plane(const cv::Vec3d* targetNormals, const cv::Point3d* targetPoints,
                           const cv::Vec3d* sourceNormals, const cv::Point3d* sourcePoints,
                           double* const rt) {
  const auto rigid =
      alignByPlanes(PlaneTriple::of(targetNormals, targetPoints),
                    PlaneTriple::of(sourceNormals, sourcePoints), OppositeCross::AnyHalfTurn);
  if (rigid) std::copy(rigid->begin(), rigid->end(), rt);
}

int X3DFit::convertMatrixRT(const double* const in, double* const out) {
  const Rigid inverse = rigidInverse(in);
  std::copy(inverse.begin(), inverse.end(), out);
  return 1;
}

void X3DFit::projection2Plane(const std::vector<cv::Point3f>& points, double* const plane,
                              std::vector<cv::Point3f>& out) {
  projectOnPlane(PointView(points), plane, out);
}

}  // namespace x3dfit
