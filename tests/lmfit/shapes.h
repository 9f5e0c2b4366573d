// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/least_squares.h"
#include "support/long_double_geometry.h"
#include "zelmo/lmfit/cylinder_fit_lm.h"
#include "zelmo/lmfit/plane_fit_lm.h"
#include "zelmo/lmfit/sphere_fit_lm.h"

/// \file
/// Each shape with its truth, its points and its long double fit, so that one suite serves them all.

namespace zelmo::test {

struct SurfacePoint {
  Vec point, normal;
};

/// Points and normals as the fits take them.
struct Scan {
  std::vector<float> points, normals;
  int count() const { return static_cast<int>(points.size() / 3); }
  void add(const SurfacePoint& s) {
    for (const Real value : {s.point.x, s.point.y, s.point.z}) {
      points.push_back(static_cast<float>(value));
    }
    for (const Real value : {s.normal.x, s.normal.y, s.normal.z}) {
      normals.push_back(static_cast<float>(value));
    }
  }
};

inline Real angleBetweenAxes(const Vec& a, const Vec& b) {
  return std::asin(std::min<Real>(1, a.unit().cross(b.unit()).norm()));
}

// Storing a coordinate of up to 128 in a float costs half of this, and a unit component half of that.
constexpr double kFloatLength = 7.7e-6;
constexpr double kFloatDirection = 1.2e-7;

struct PlaneShape {
  using Fit = zelmolm::XPlaneFitLM;
  static constexpr int kMinimum = 3;
  static constexpr int kSolverFailure = -1;
  static constexpr float kAngleLimit = 20.0F;
  static std::vector<Real> truth() { return {0.6L, -0.64L, 0.48L, -12.5L}; }
  static SurfacePoint at(RandomGeometry& random) {
    const Vec n(0.6L, -0.64L, 0.48L);
    const Vec v = random.point(40);
    return {v - n * (v.dot(n) - 12.5L), n};
  }
  /// What, added to the normal, turns it 45 degrees off.
  static Vec tiltOf(const SurfacePoint& s) { return s.normal.cross(Vec(1, 0, 0)).unit(); }
  static Real residual(const std::vector<Real>& p, const float* q) { return planeResidual(p, q); }
  static void expectNear(const Fit& fit, const std::vector<Real>& p) {
    const Real length = Vec(p.data()).norm();
    const Vec normal(fit.normal);
    EXPECT_LT(angleBetweenAxes(normal, Vec(p.data())), 2 * kFloatDirection);
    EXPECT_NEAR(static_cast<double>(fit.d),
                static_cast<double>(p[3] / length * (normal.dot(Vec(p.data())) > 0 ? 1 : -1)),
                kFloatLength);
  }
};

struct SphereShape {
  using Fit = zelmolm::XSphereFitLM;
  static constexpr int kMinimum = 4;
  static constexpr int kSolverFailure = -2;
  static constexpr float kAngleLimit = 20.0F;
  static std::vector<Real> truth() { return {10, -20, 30, 25}; }
  static SurfacePoint at(RandomGeometry& random) {
    const Vec n = random.direction();
    return {Vec(10, -20, 30) + n * 25, n};
  }
  static Vec tiltOf(const SurfacePoint& s) { return s.normal.cross(Vec(1, 2, 3)).unit(); }
  static Real residual(const std::vector<Real>& p, const float* q) { return sphereResidual(p, q); }
  static void expectNear(const Fit& fit, const std::vector<Real>& p) {
    EXPECT_LT(static_cast<double>((Vec(fit.center) - Vec(p.data())).norm()), kFloatLength);
    EXPECT_NEAR(fit.radius, static_cast<double>(p[3]), kFloatLength);
  }
};

struct CylinderShape {
  using Fit = zelmolm::XCylinderFitLM;
  static constexpr int kMinimum = 6;
  static constexpr int kSolverFailure = -2;
  // Measured from the axis.
  static constexpr float kAngleLimit = 70.0F;
  static Vec axis() { return {0.36L, 0.48L, 0.8L}; }
  static std::vector<Real> truth() { return {10, -20, 30, 0.36L, 0.48L, 0.8L, 15}; }
  static SurfacePoint at(RandomGeometry& random) {
    const Vec n = random.directionSquareTo(axis());
    return {Vec(10, -20, 30) + axis() * random.number(-30, 30) + n * 15, n};
  }
  static Vec tiltOf(const SurfacePoint& /*s*/) { return axis(); }
  static Real residual(const std::vector<Real>& p, const float* q) {
    return cylinderResidual(p, q);
  }
  static void expectNear(const Fit& fit, const std::vector<Real>& p) {
    const Vec u(fit.axis);
    // The solver's difference Jacobian leaves this much where outliers of 2 mm stay in.
    EXPECT_LT(static_cast<double>(angleBetweenAxes(u, Vec(&p[3]))), 5 * kFloatDirection);
    const Vec off = Vec(fit.center) - Vec(p.data());
    EXPECT_LT(static_cast<double>(off.cross(Vec(&p[3]).unit()).norm()), 1.5 * kFloatLength);
    EXPECT_NEAR(fit.radius, static_cast<double>(p[6]), kFloatLength);
  }
};

}  // namespace zelmo::test
