// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/curvefit/oval_groove_fit.h"

#include "zelmo/curvefit/internal/outline_fit.h"
#include "zelmo/internal/planar_residuals.h"

namespace xcurve3dfit {

using namespace zelmo::internal;  // NOLINT(google-build-using-namespace): the kernels of this shell

namespace {

ZELMO_MULTIVERSION double evaluate(const PlanarView& points, const StadiumResidual& outline,
                                   OutlineScore score) {
  return outlineScore(points, outline, score);
}

struct Shape {
  static constexpr int kFewestPoints = 8;
  static constexpr std::size_t kSizes = 2;

  static std::array<double, kSizes> start(const BoundingStart& box) {
    return {box.half_long - box.half_short, box.half_short};
  }
  static double score(const PlanarView& points, const double* p, OutlineScore score) {
    return evaluate(points, {TurnedFrame::at(p[0], p[1], p[4]), p[2], p[3]}, score);
  }
  static bool accepts(const double* sizes) { return sizes[0] > 0 && sizes[1] > 0; }
};

}  // namespace

bool XOvalGroove3DFit::fitView(const PointView& points, float* out, FitMethod method) {
  if (!fitOutline<Shape>(points, method, out)) return false;
  storeOutline(out, center, normal, majorDir, {&halfStraight, &radius});
  return true;
}

bool XOvalGroove3DFit::Fit(const std::vector<cv::Point3f>& points, float* out, FitMethod method) {
  return fitView(PointView(points), out, method);
}

bool XOvalGroove3DFit::Fit(const float* points, const int& count, float* out, FitMethod method) {
  return fitView(PointView(points, count), out, method);
}

bool XOvalGroove3DFit::Fit(const float* points, const float* normals, const int& count, float* out,
                           FitMethod method) {
  return Fit(points, count, out, method) && orientNormal(PointView(normals, count), normal, out);
}

void XOvalGroove3DFit::getOvalGroove(xgeofeature::XFOvalGroove3D& record) const {
  record = xgeofeature::XFOvalGroove3D(center, normal, majorDir, halfStraight, radius);
}

}  // namespace xcurve3dfit
