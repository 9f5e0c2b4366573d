// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "zelmo/curvefit/internal/outline_frame.h"
#include "zelmo/simplex/simplex_state.h"

/// \file
/// The fit of an outline with sides. A shape of it says
///
///     static constexpr int kFewestPoints;
///     static constexpr std::size_t kSizes;
///     static std::array<double, kSizes> start(const BoundingStart& box);
///     static double score(const PlanarView& points, const double* p, OutlineScore score);
///     static bool accepts(const double* sizes);
///
/// where p holds the center, the sizes and the angle of the long axis, in this order.

namespace zelmo::internal {

constexpr int kOutlineIterations = 10000;

template <typename Shape>
double outlineObjective(const gsl_vector* v, void* params) {
  const auto& data = *static_cast<const OutlineData*>(params);
  return Shape::score(data.points, valuesOf<Shape::kSizes + 3>(v).data(), data.score);
}

/// \param[out] out center, normal, major direction and the sizes; stays as it is with too few points
///     or one that is not finite
/// \return whether there is a fit whose sizes the shape accepts
template <typename Shape>
bool fitOutline(const PointView& points, xcurve3dfit::FitMethod method, float* out) {
  constexpr std::size_t kSizes = Shape::kSizes;
  constexpr double kStepShare = 100.0;
  constexpr double kAngleStep = 0.001;
  if (points.count() < Shape::kFewestPoints) return false;
  const auto flat = flatten(points);
  if (!flat) return false;
  const BoundingStart box = boundingStart(flat->points);
  const std::array<double, kSizes> start = Shape::start(box);
  std::array<double, kSizes + 3> p = {box.cx, box.cy};
  std::array<double, kSizes + 3> steps = {start[0] / kStepShare, start[1] / kStepShare};
  for (std::size_t i = 0; i < kSizes; ++i) {
    p[2 + i] = start[i];
    steps[2 + i] = start[i] / kStepShare;
  }
  p.back() = box.angle;
  steps.back() = kAngleStep;
  const OutlineData data{PlanarView(flat->points), scoreOf(method)};
  SimplexState(p.size(), kOutlineIterations, outlineObjective<Shape>)
      .descend(&data, p.data(), steps.data());
  placeOutline(*flat, p[0], p[1], p.back(), out);
  for (std::size_t i = 0; i < kSizes; ++i) out[9 + i] = static_cast<float>(p[2 + i]);
  return Shape::accepts(&p[2]);
}

}  // namespace zelmo::internal
