// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/curvefit/oval_groove_fit.h"

#include "zelmo/curvefit/internal/outline_frame.h"
#include "zelmo/internal/planar_residuals.h"
#include "zelmo/simplex/simplex_state.h"

namespace xcurve3dfit {

using namespace zelmo::internal;  // NOLINT(google-build-using-namespace): the kernels of this shell

namespace {

constexpr std::size_t kDimension = 5;
constexpr int kMaxIterations = 10000;
constexpr int kFewestPoints = 8;

ZELMO_MULTIVERSION double evaluate(const PlanarView& points, const StadiumResidual& outline,
                                   OutlineScore score) {
  return outlineScore(points, outline, score);
}

double objective(const gsl_vector* v, void* params) {
  const auto& data = *static_cast<const OutlineData*>(params);
  const auto p = valuesOf<kDimension>(v);
  return evaluate(data.points, {TurnedFrame::at(p[0], p[1], p[4]), p[2], p[3]}, data.score);
}

}  // namespace

bool XOvalGroove3DFit::fitView(const PointView& points, float* out, FitMethod method) {
  if (points.count() < kFewestPoints) return false;
  const auto flat = flatten(points);
  if (!flat) return false;
  const BoundingStart box = boundingStart(flat->points);
  const double a = box.half_long - box.half_short;
  const double r = box.half_short;
  double p[kDimension] = {box.cx, box.cy, a, r, box.angle};
  const double steps[kDimension] = {a / 100.0, r / 100.0, a / 100.0, r / 100.0, kAngleStep};
  const OutlineData data{PlanarView(flat->points), scoreOf(method)};
  SimplexState(kDimension, kMaxIterations, objective).descend(&data, p, steps);
  placeOutline(*flat, p[0], p[1], p[4], out);
  out[9] = static_cast<float>(p[2]);
  out[10] = static_cast<float>(p[3]);
  if (!(p[2] > 0 && p[3] > 0)) return false;
  storeOutline(out, center, normal, majorDir);
  halfStraight = out[9];
  radius = out[10];
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
  if (!Fit(points, count, out, method)) return false;
  orientNormal(PointView(normals, count), normal, out);
  return true;
}

void XOvalGroove3DFit::getOvalGroove(xgeofeature::XFOvalGroove3D& record) const {
  record = xgeofeature::XFOvalGroove3D(center, normal, majorDir, halfStraight, radius);
}

}  // namespace xcurve3dfit
