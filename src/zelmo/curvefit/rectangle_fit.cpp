// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/curvefit/rectangle_fit.h"

#include "zelmo/curvefit/internal/outline_fit.h"
#include "zelmo/internal/planar_residuals.h"

namespace xcurve3dfit {

using namespace zelmo::internal;  // NOLINT(google-build-using-namespace): the kernels of this shell

namespace {

ZELMO_MULTIVERSION double evaluate(const PlanarView& points, const RectangleDistance& outline,
                                   OutlineScore score) {
  return outlineScore(points, outline, score);
}

struct Shape {
  static constexpr int kFewestPoints = 4;
  static constexpr std::size_t kSizes = 2;

  static std::array<double, kSizes> start(const BoundingStart& box) {
    return {box.half_long, box.half_short};
  }
  static double score(const PlanarView& points, const double* p, OutlineScore score) {
    return evaluate(points, {TurnedFrame::at(p[0], p[1], p[4]), p[2], p[3]}, score);
  }
  // CONTRACT: unlike the grooves, no sizes are tested.
  static bool accepts(const double* /*sizes*/) { return true; }
};

}  // namespace

bool XRectangle3DFit::fitView(const PointView& points, float* out, FitMethod method) {
  if (!fitOutline<Shape>(points, method, out)) return false;
  storeOutline(out, center, normal, majorDir, {&halfLength, &halfWidth});
  return true;
}

bool XRectangle3DFit::Fit(const std::vector<cv::Point3f>& points, float* out, FitMethod method) {
  return fitView(PointView(points), out, method);
}

bool XRectangle3DFit::Fit(const float* points, const int& count, float* out, FitMethod method) {
  return fitView(PointView(points, count), out, method);
}

bool XRectangle3DFit::Fit(const float* points, const float* normals, const int& count, float* out,
                          FitMethod method) {
  return Fit(points, count, out, method) && orientNormal(PointView(normals, count), normal, out);
}

void XRectangle3DFit::getRectangle(xgeofeature::XFRectangle3D& record) const {
  record = xgeofeature::XFRectangle3D(center, normal, majorDir, halfLength, halfWidth);
}

}  // namespace xcurve3dfit
