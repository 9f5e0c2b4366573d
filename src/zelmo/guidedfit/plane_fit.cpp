// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/guidedfit/plane_fit.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "zelmo/feature/internal/derived_values.h"
#include "zelmo/guidedfit/internal/guided_limits.h"
#include "zelmo/internal/objective.h"
#include "zelmo/internal/regression.h"
#include "zelmo/internal/residuals.h"

namespace xgeofit {
namespace {

namespace in = zelmo::internal;

constexpr int kFailed = -1;
constexpr int kMinCount = 3;
constexpr double kStepDivisor = 100.0;
constexpr double kNoSquaredNormal = 1e-6;  // in the objective
constexpr double kNoNormal = 0.0001;       // of the result

ZELMO_MULTIVERSION double planeSquareSum(const in::PointView& points, const double* p) {
  return in::foldSquareSum(points, in::PlaneDeviation{p[0], p[1], p[2], p[3]});
}

/// Divides by the length of the normal and turns the plane the way most normals point.
void normaliseAndOrient(const in::PointView& normals, double* p) {
  const auto vote = in::voteOfNormals(normals, p);
  const double length = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
  double scale = kNoNormal > length ? 1.0 : 1.0 / length;
  if (vote.positive < vote.others) scale = -scale;
  for (int i = 0; i < 4; ++i) p[i] *= scale;
}

}  // namespace

XPlaneFit::XPlaneFit() : m_simplex(4, in::kGuidedIterations, &Distance_LeastSquare) {}

int XPlaneFit::Fit(const float* points, const float* normals, const int& count) {
  const in::PointView view(points, count);
  const auto seed = in::regressionPlane(view);
  if (view.count() < kMinCount || !seed) return kFailed;
  double p[4];
  float largest = 0;
  for (int i = 0; i < 4; ++i) {
    const float stored = static_cast<float>(i < 3 ? seed->normal[i] : seed->offset);
    if (i < 3) largest = std::max(largest, std::fabs(stored));
    p[i] = stored;
  }
  m_simplex.descend(&view, p, largest / kStepDivisor);
  normaliseAndOrient(in::PointView(normals, count), p);
  a = static_cast<float>(p[0]);
  b = static_cast<float>(p[1]);
  c = static_cast<float>(p[2]);
  d = static_cast<float>(p[3]);
  in::updatePlaneValues(*this, view, in::PointView(normals, count));
  return 0;
}

int XPlaneFit::Fit(const float* points, const float* normals, const int& count, const float& radius,
                   float* compensated, float* errors) {
  if (normals == nullptr || Fit(points, normals, count) < 0) return kFailed;
  float offset[3];
  double towards_tip = 0.0;
  for (int k = 0; k < 3; ++k) {
    offset[k] = normal[k] * radius;
    towards_tip += static_cast<double>(normals[k]) * normal[k];
  }
  // CONTRACT: the first normal alone tells on which side the tip was.
  if (towards_tip > 0.0) std::transform(offset, offset + 3, offset, std::negate<float>());
  for (int k = 0; k < 3; ++k) {
    center[k] += offset[k];
    for (int corner = 0; corner < 4; ++corner) corners[3 * corner + k] += offset[k];
  }
  d = -(center[0] * a + center[1] * b + center[2] * c);
  const in::PointView view(points, count);
  for (int i = 0; i < view.count(); ++i) {
    float moved[3];
    for (int k = 0; k < 3; ++k) moved[k] = view.at(i)[k] + offset[k];
    if (compensated != nullptr) std::copy_n(moved, 3, compensated + 3 * std::ptrdiff_t{i});
    if (errors == nullptr) continue;
    const float error =
        static_cast<float>(static_cast<double>(moved[0]) * a + static_cast<double>(moved[1]) * b +
                           static_cast<double>(moved[2]) * c + d);
    for (int k = 0; k < 3; ++k) errors[3 * std::ptrdiff_t{i} + k] = error * normal[k];
  }
  return 0;
}

double XPlaneFit::Distance_LeastSquare(const gsl_vector* v, void* params) {
  const auto p = in::valuesOf<4>(v);
  const double sum = planeSquareSum(*static_cast<const in::PointView*>(params), p.data());
  const double squared_length = p[0] * p[0] + p[1] * p[1] + p[2] * p[2];
  return kNoSquaredNormal > squared_length ? sum : sum / squared_length;
}

void XPlaneFit::getPlane(xgeofeature::XFPlane& plane) {
  plane = xgeofeature::XFPlane(center, normal, majorDir, length, width);
}

}  // namespace xgeofit
