// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/captured_output.h"
#include "support/least_squares.h"
#include "support/long_double_geometry.h"
#include "zelmo/lmfit/cylinder_fit_lm.h"
#include "zelmo/lmfit/plane_fit_lm.h"
#include "zelmo/lmfit/sphere_fit_lm.h"

/// \file
/// Each shape with its truth, its points and its long double residual, so that one suite serves them
/// all.

namespace zelmo::test {

using xfeaturefitfilter::FilterMethod;
using xfeaturefitfilter::FilterParam;
using Params = std::vector<Real>;

struct SurfacePoint {
  Vec point, normal;
};

/// Points and normals as the fits take them.
struct Scan {
  std::vector<float> points, normals;
  int count() const { return static_cast<int>(points.size() / 3); }
  const float* point(int i) const { return &points[3 * static_cast<std::size_t>(i)]; }
  const float* normal(int i) const { return &normals[3 * static_cast<std::size_t>(i)]; }
  void add(const SurfacePoint& s) {
    for (const Real v : {s.point.x, s.point.y, s.point.z}) points.push_back(static_cast<float>(v));
    for (const Real v : {s.normal.x, s.normal.y, s.normal.z})
      normals.push_back(static_cast<float>(v));
  }
  Vec middle() const {
    Vec sum;
    for (int i = 0; i < count(); ++i) sum = sum + Vec(point(i));
    return sum * (Real(1) / count());
  }
  /// The long double fit of some of the points.
  template <typename Residual>
  Params solved(const Params& start, const std::vector<int>& kept, Residual residual) const {
    return leastSquares(start, static_cast<int>(kept.size()), [&](const Params& p, int i) {
      return residual(p, point(kept[static_cast<std::size_t>(i)]));
    });
  }
  std::vector<int> all() const {
    std::vector<int> indices(static_cast<std::size_t>(count()));
    for (int i = 0; i < count(); ++i) indices[static_cast<std::size_t>(i)] = i;
    return indices;
  }
};

/// What a call with a filter gave: its code and its lines.
struct Outcome {
  int code = 99;
  std::string printed;
};

template <typename Fit>
Outcome fitScan(Fit& fit, const Scan& scan, const FilterParam& param, int method, int count) {
  Outcome outcome;
  outcome.printed = standardOutputOf([&] {
    outcome.code = fit.Fit(scan.points.data(), scan.normals.data(), count, param,
                           static_cast<FilterMethod>(method));
  });
  return outcome;
}
template <typename Fit>
Outcome fitScan(Fit& fit, const Scan& scan, const FilterParam& param, int method) {
  return fitScan(fit, scan, param, method, scan.count());
}

/// Whether figures are asked for: the environment has ZELMO_PRINT_FIGURES.
inline bool printsFigures() { return std::getenv("ZELMO_PRINT_FIGURES") != nullptr; }

inline Real angleBetweenAxes(const Vec& a, const Vec& b) {
  return std::asin(std::min<Real>(1, a.unit().cross(b.unit()).norm()));
}

/// How far a fit lies from parameters: the larger of the distances of place and size, the angle.
struct Apart {
  Real length = 0, angle = 0;
};

// Storing a coordinate of up to 128 in a float costs half of this, and a unit component half of that.
constexpr double kFloatLength = 7.7e-6;
constexpr double kFloatDirection = 1.2e-7;

struct PlaneShape {
  using Fit = zelmolm::XPlaneFitLM;
  static constexpr int kMinimum = 3, kSolverFailure = -1;
  static constexpr float kAngleLimit = 20.0F;
  static Params truth() { return {0.6L, -0.64L, 0.48L, -12.5L}; }
  static SurfacePoint at(RandomGeometry& random) {
    const Vec n(0.6L, -0.64L, 0.48L);
    const Vec v = random.point(40);
    return {v - n * (v.dot(n) - 12.5L), n};
  }
  /// Square to the normal: added to it, it turns it 45 degrees off.
  static Vec tiltOf(const SurfacePoint& s) { return s.normal.cross(Vec(1, 0, 0)).unit(); }
  static Params fieldsOf(const Fit& f) { return {f.a, f.b, f.c, f.d}; }
  static Real residual(const Params& p, const float* q) { return planeResidual(p, q); }
  static bool passesAngle(const Params& p, const Scan& scan, int i, Real cosine) {
    return std::fabs(Vec(scan.normal(i)).dot(Vec(p.data()).unit())) >= cosine;
  }
  static Apart apart(const Fit& fit, const Params& p, const Vec& middle) {
    const Vec u = Vec(p.data()).unit();
    const Real side = Vec(fit.normal).dot(u) > 0 ? 1 : -1;
    const Real height = (u.dot(middle) + p[3] / Vec(p.data()).norm()) * side;
    return {gap(Vec(fit.normal).dot(middle) + static_cast<Real>(fit.d), height),
            angleBetweenAxes(Vec(fit.normal), u)};
  }
};

struct SphereShape {
  using Fit = zelmolm::XSphereFitLM;
  static constexpr int kMinimum = 4, kSolverFailure = -2;
  static constexpr float kAngleLimit = 20.0F;
  static Params truth() { return {10, -20, 30, 25}; }
  static SurfacePoint at(RandomGeometry& random) {
    const Vec n = random.direction();
    return {Vec(10, -20, 30) + n * 25, n};
  }
  static Vec tiltOf(const SurfacePoint& s) { return s.normal.cross(Vec(1, 2, 3)).unit(); }
  static Params fieldsOf(const Fit& f) { return {f.center[0], f.center[1], f.center[2], f.radius}; }
  static Real residual(const Params& p, const float* q) { return sphereResidual(p, q); }
  static bool passesAngle(const Params& p, const Scan& scan, int i, Real cosine) {
    const Vec out = (Vec(scan.point(i)) - Vec(p.data())).unit();
    return std::fabs(Vec(scan.normal(i)).dot(out)) >= cosine;
  }
  static Apart apart(const Fit& fit, const Params& p, const Vec& /*middle*/) {
    return {std::max((Vec(fit.center) - Vec(p.data())).norm(), gap(fit.radius, p[3])), 0};
  }
};

struct CylinderShape {
  using Fit = zelmolm::XCylinderFitLM;
  static constexpr int kMinimum = 6, kSolverFailure = -2;
  static constexpr float kAngleLimit = 70.0F;  // measured from the axis
  static Vec axis() { return {0.36L, 0.48L, 0.8L}; }
  static Params truth() { return {10, -20, 30, 0.36L, 0.48L, 0.8L, 15}; }
  static SurfacePoint at(RandomGeometry& random) {
    const Vec n = random.directionSquareTo(axis());
    return {Vec(10, -20, 30) + axis() * random.number(-30, 30) + n * 15, n};
  }
  static Vec tiltOf(const SurfacePoint& /*s*/) { return axis(); }
  static Params fieldsOf(const Fit& f) {
    return {f.center[0], f.center[1], f.center[2], f.axis[0], f.axis[1], f.axis[2], f.radius};
  }
  static Real residual(const Params& p, const float* q) { return cylinderResidual(p, q); }
  static bool passesAngle(const Params& p, const Scan& scan, int i, Real cosine) {
    return std::fabs(Vec(scan.normal(i)).dot(Vec(&p[3]).unit())) <= cosine;
  }
  static Apart apart(const Fit& fit, const Params& p, const Vec& middle) {
    const auto foot = [&](const Vec& on_axis, const Vec& u) {
      return on_axis + u * (middle - on_axis).dot(u);
    };
    const Vec here = foot(Vec(fit.center), Vec(fit.axis).unit());
    const Vec there = foot(Vec(p.data()), Vec(&p[3]).unit());
    return {std::max((here - there).norm(), gap(fit.radius, p[6])),
            angleBetweenAxes(Vec(fit.axis), Vec(&p[3]))};
  }
};

}  // namespace zelmo::test
