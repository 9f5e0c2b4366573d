// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/curvefit/circle_fit.h"

#include "zelmo/curvefit/internal/outline_frame.h"
#include "zelmo/internal/planar_residuals.h"
#include "zelmo/internal/regression.h"
#include "zelmo/simplex/simplex_state.h"

namespace xcurve3dfit {

using namespace zelmo::internal;  // NOLINT(google-build-using-namespace): the kernels of this shell

namespace {

constexpr std::size_t kDimension = 3;
constexpr int kMaxIterations = 10000;
constexpr int kFewestPoints = 4;

/// The largest circle with no point inside: the smallest distance is pushed to 0 from either side,
/// and of two circles that agree in it the larger one wins.
double emptiestInside(double smallest, double r) {
  const double gap = smallest >= 0 ? smallest + 1 : 1 - smallest;
  return gap * kWrongSide + (r > 0 ? -r : (1 - r) * 1e10);
}

struct Negated {
  CircleDeviation circle;
  ZELMO_ALWAYS_INLINE double operator()(double x, double y) const { return -circle(x, y); }
};

ZELMO_MULTIVERSION double smallestOf(const PlanarView& points, const CircleDeviation& circle) {
  return -laneMax(points, Negated{circle}, -1e50);
}
ZELMO_MULTIVERSION double evaluate(const PlanarView& points, const CircleDeviation& circle,
                                   OutlineScore score) {
  return outlineScore(points, circle, score);
}

double objective(const gsl_vector* v, void* params) {
  const auto& data = *static_cast<const OutlineData*>(params);
  const auto p = valuesOf<kDimension>(v);
  const CircleDeviation circle{p[0], p[1], p[2]};
  if (data.score == OutlineScore::EmptiestInside) {
    return emptiestInside(smallestOf(data.points, circle), circle.r);
  }
  return evaluate(data.points, circle, data.score);
}

/// CONTRACT: 6 and above, and negative values, seek the largest empty circle.
OutlineScore scoreOfCircle(FitMethod method) {
  const bool is_named = method >= LeastSquare && method <= ChebyshevCircumscribed;
  return is_named ? scoreOf(method) : OutlineScore::EmptiestInside;
}

/// \param[out] p double[3]: center and radius in the plane
bool fitCircle(const std::vector<cv::Point2f>& points, double* p, FitMethod method) {
  const auto start = algebraicCircle(PlanarView(points));
  if (!start) return false;
  p[0] = start->cx;
  p[1] = start->cy;
  p[2] = start->radius;
  if (method == LeastSquare) return true;
  const OutlineData data{PlanarView(points), scoreOfCircle(method)};
  SimplexState(kDimension, kMaxIterations, objective).descend(&data, p, p[2] / 50.0);
  return true;
}

}  // namespace

bool XCircle3DFit::fitView(const PointView& points, float* out, FitMethod method) {
  if (points.count() < kFewestPoints) return false;
  const auto flat = flatten(points);
  double p[kDimension];
  if (!flat || !fitCircle(flat->points, p, method)) return false;
  placeOutline(*flat, p[0], p[1], 0.0, out);
  out[9] = static_cast<float>(p[2]);
  storeOutline(out, center, normal, majorDir, {&radius});
  return true;
}

bool XCircle3DFit::Fit(const std::vector<cv::Point3f>& points, float* out, FitMethod method) {
  return fitView(PointView(points), out, method);
}

bool XCircle3DFit::Fit(const float* points, const int& count, float* out, FitMethod method) {
  return fitView(PointView(points, count), out, method);
}

bool XCircle3DFit::Fit(const float* points, const float* normals, const int& count, float* out,
                       FitMethod method) {
  return Fit(points, count, out, method) && orientNormal(PointView(normals, count), normal, out);
}

void XCircle3DFit::getCircle(xgeofeature::XFCircle3D& record) const {
  record = xgeofeature::XFCircle3D(center, normal, majorDir, radius);
}

}  // namespace xcurve3dfit
