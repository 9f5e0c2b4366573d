// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/curvefit/round_groove_fit.h"

#include "zelmo/curvefit/internal/outline_fit.h"
#include "zelmo/internal/planar_residuals.h"

namespace xcurve3dfit {

using namespace zelmo::internal;  // NOLINT(google-build-using-namespace): the kernels of this shell

namespace {

ZELMO_MULTIVERSION double evaluate(const PlanarView& points,
                                   const RoundedRectangleResidual& outline, OutlineScore score) {
  return outlineScore(points, outline, score);
}

struct Shape {
  static constexpr int kFewestPoints = 12;
  static constexpr std::size_t kSizes = 3;

  static std::array<double, kSizes> start(const BoundingStart& box) {
    return {box.half_long, box.half_short, box.half_short * 0.5};
  }
  static double score(const PlanarView& points, const double* p, OutlineScore score) {
    return evaluate(points, {TurnedFrame::at(p[0], p[1], p[5]), p[2], p[3], p[4]}, score);
  }
  static bool accepts(const double* sizes) {
    return sizes[0] >= sizes[1] && sizes[1] > sizes[2] && sizes[2] > 0;
  }
};

}  // namespace

bool XRoundGroove3DFit::fitView(const PointView& points, float* out, FitMethod method) {
  if (!fitOutline<Shape>(points, method, out)) return false;
  storeOutline(out, center, normal, majorDir, {&halfLength, &halfWidth, &cornerRadius});
  return true;
}

bool XRoundGroove3DFit::Fit(const std::vector<cv::Point3f>& points, float* out, FitMethod method) {
  return fitView(PointView(points), out, method);
}

bool XRoundGroove3DFit::Fit(const float* points, const int& count, float* out, FitMethod method) {
  return fitView(PointView(points, count), out, method);
}

bool XRoundGroove3DFit::Fit(const float* points, const float* normals, const int& count, float* out,
                            FitMethod method) {
  return Fit(points, count, out, method) && orientNormal(PointView(normals, count), normal, out);
}

void XRoundGroove3DFit::getRoundGroove(xgeofeature::XFRoundGroove3D& record) const {
  record =
      xgeofeature::XFRoundGroove3D(center, normal, majorDir, halfLength, halfWidth, cornerRadius);
}

}  // namespace xcurve3dfit
