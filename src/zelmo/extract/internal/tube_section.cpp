// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/extract/internal/tube_section.h"

#include <algorithm>
#include <cmath>

#include "zelmo/internal/array_view.h"
#include "zelmo/internal/axis_extent.h"
#include "zelmo/internal/damped_solver.h"
#include "zelmo/lmfit/cylinder_fit_lm.h"

namespace zelmo::internal {
namespace {

constexpr double kRadiusMargin = 1.03;    // of the fitted radius, for the next section
constexpr double kGrowth = 1.03;          // a section filled beyond this leaves the length as it is
constexpr double kShrinkage = 0.85;       // of the length after a section that was not filled
constexpr float kShortestAxis = 0.0001F;  // a shorter axis is not scaled
constexpr int kMaxPasses = 10000;

bool isFinite(const cv::Vec3f& v) {
  return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
}

float widened(float radius) { return static_cast<float>(radius * kRadiusMargin); }

/// Residuals of axis and radius; the held point stands behind the points.
void heldAxisResiduals(double* p, double* hx, int, int n, void* adata) {
  const float* held = static_cast<const float*>(adata) + 3 * static_cast<std::ptrdiff_t>(n);
  double cylinder[7] = {held[0], held[1], held[2], p[0], p[1], p[2], p[3]};
  zelmolm::XCylinderFitLM::Fit_Function(cylinder, hx, 7, n, adata);
}

/// The fitted axis, turned to the side of \p before, and the radius.
struct HeldFit {
  cv::Vec3f axis;
  float radius;
};

HeldFit fitHeld(const TubeCursor& cursor, const std::vector<float>& points) {
  std::vector<float> data = points;
  data.insert(data.end(), cursor.at.val, cursor.at.val + 3);
  double p[4] = {cursor.axis[0], cursor.axis[1], cursor.axis[2], cursor.radius};
  const double options[5] = {0.001, 1e-15, 1e-15, 1e-20, 1e-6};
  const int count = static_cast<int>(points.size() / 3);
  dlevmar_dif(heldAxisResiduals, p, nullptr, 4, count, kMaxPasses, options, nullptr, nullptr,
              nullptr, data.data());
  const auto length = static_cast<float>(std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]));
  const float scale = length < kShortestAxis ? 1.0F : 1.0F / length;
  HeldFit fit{};
  for (int i = 0; i < 3; ++i) fit.axis[i] = static_cast<float>(p[i] * scale);
  if (fit.axis.dot(cursor.axis) < 0.0F) fit.axis = -fit.axis;
  fit.radius = static_cast<float>(p[3]);
  return fit;
}

/// How far the points reach from \p origin along \p axis, on the longer side.
float reachAlong(const std::vector<float>& points, const cv::Vec3f& origin, const cv::Vec3f& axis) {
  const PointView view(points.data(), static_cast<int>(points.size() / 3));
  const AxisExtent extent =
      axisExtent(view, origin, cv::Vec3d(axis[0], axis[1], axis[2]), OffsetRounding::None);
  return static_cast<float>(std::max(std::abs(extent.low), std::abs(extent.high)));
}

/// The length of the next section after one of \p length that was filled up to \p reach.
float nextLength(float length, float reach) {
  if (!(reach <= kGrowth * length)) return length;
  return std::max(static_cast<float>(kShrinkage * length), reach);
}

}  // namespace

cv::Vec3f TubeCursor::ahead(float distance) const {
  cv::Vec3f point;
  for (int i = 0; i < 3; ++i) {
    point[i] = static_cast<float>(at[i] + static_cast<double>(axis[i]) * distance);
  }
  return point;
}

std::optional<TubeStart> startTube(const std::vector<float>& points, const float* start,
                                   const float* direction, float step, float radius) {
  const float seed[7] = {start[0],     start[1],     start[2], direction[0],
                         direction[1], direction[2], radius};
  zelmolm::XCylinderFitLM fit;
  fit.Fit(points.data(), nullptr, static_cast<int>(points.size() / 3), seed);
  TubeStart tube;
  TubeCursor& cursor = tube.cursor;
  cursor.radius = widened(fit.radius);
  cursor.length = step < fit.height ? step : fit.height;
  cursor.axis = cv::Vec3f(fit.axis);
  if (cursor.axis.dot(cv::Vec3f(direction)) >= 0.0F) {
    tube.begin = cv::Vec3f(fit.base);
  } else {
    cursor.axis = -cursor.axis;
    tube.begin = cv::Vec3f(fit.top);
  }
  cursor.at = tube.begin;
  cursor.at = cursor.ahead(cursor.length);
  if (!isFinite(tube.begin) || !isFinite(cursor.at)) return std::nullopt;
  return tube;
}

bool advance(TubeCursor& cursor, const std::vector<float>& points) {
  const HeldFit fit = fitHeld(cursor, points);
  const float reach = reachAlong(points, cursor.at, fit.axis);
  const float step = std::min(reach, cursor.length);
  cursor.length = nextLength(cursor.length, reach);
  cursor.radius = widened(fit.radius);
  cursor.axis = fit.axis;
  const cv::Vec3f before = cursor.at;
  cursor.at = cursor.ahead(step);
  return step > 0.0F && isFinite(cursor.at) && cursor.at != before;
}

}  // namespace zelmo::internal
