// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <climits>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/captured_output.h"
#include "support/features.h"
#include "zelmo/lmfit/cylinder_fit_lm.h"
#include "zelmo/lmfit/plane_fit_lm.h"
#include "zelmo/lmfit/sphere_fit_lm.h"

/// \file
/// The three fits with filters, so that one suite serves them all, and scans for them.

namespace zelmo::test {

using xfeaturefitfilter::FilterMethod;
using xfeaturefitfilter::FilterParam;

struct PlaneShape {
  using Fit = zelmolm::XPlaneFitLM;
  static constexpr Kind kind = Kind::Plane;
  static constexpr int minimum = 3, solver_failure = -1;
  static constexpr float angle_limit = 20;
  static Params fieldsOf(const Fit& f) {
    const Vec n(f.normal);
    return paramsOf(n * (-f.d / n.dot(n)), n);
  }
};
struct SphereShape {
  using Fit = zelmolm::XSphereFitLM;
  static constexpr Kind kind = Kind::Sphere;
  static constexpr int minimum = 4, solver_failure = -2;
  static constexpr float angle_limit = 20;
  static Params fieldsOf(const Fit& f) { return paramsOf(Vec(f.center), {1, 1, 1}, f.radius); }
};
struct CylinderShape {
  using Fit = zelmolm::XCylinderFitLM;
  static constexpr Kind kind = Kind::Cylinder;
  static constexpr int minimum = 6, solver_failure = -2;
  static constexpr float angle_limit = 70;  // measured from the axis
  static Params fieldsOf(const Fit& f) { return paramsOf(Vec(f.center), Vec(f.axis), f.radius); }
};
using Shapes = testing::Types<PlaneShape, SphereShape, CylinderShape>;

/// Points and normals as the fits take them.
struct Scan {
  Points points, normals;
  int count() const { return static_cast<int>(points.size()); }
  const float* at() const { return &points[0].x; }
  const float* normalsAt() const { return &normals[0].x; }
  void add(const Vec& point, const Vec& normal) {
    points.push_back(point.rounded());
    normals.push_back(normal.rounded());
  }
};

constexpr Real kSize = 15;
const Vec kOrigin = {10, -20, 30};
inline Params truthOf(Kind kind) { return nominalOf(kind, kSize, kOrigin); }

/// The feature of that size at that origin, with its normals.
inline Scan soundScan(Kind kind, int count, Real noise = 0) {
  RandomGeometry random(17);
  Scan scan;
  const auto off = [&](int) { return noise * random.number(-1, 1); };
  for (const auto& p : scanOf(random, kind, count, kSize, kOrigin, off)) {
    scan.add(Vec(p), normalAt(kind, truthOf(kind), Vec(p)));
  }
  return scan;
}

/// A normal that no filter by angle lets pass.
inline Vec tilted(Kind kind, const Vec& normal) {
  return kind == Kind::Cylinder ? kZ : normal.cross(Vec(1, 2, 3)).unit();
}

/// What a call with a filter gave: its code and its lines.
struct Outcome {
  int code = 99;
  std::string printed;
};

constexpr int kAll = INT_MIN;
template <typename Fit>
Outcome fitScan(Fit& fit, const Scan& scan, const FilterParam& param, int method,
                int count = kAll) {
  Outcome outcome;
  outcome.printed = standardOutputOf([&] {
    outcome.code = fit.Fit(scan.at(), scan.normalsAt(), count == kAll ? scan.count() : count, param,
                           static_cast<FilterMethod>(method));
  });
  return outcome;
}

// Storing a coordinate of up to 128 in a float costs half of this, and a unit component half of that.
constexpr double kFloatLength = 7.7e-6;
constexpr double kFloatDirection = 1.2e-7;

/// A row of figures, where they are asked for: the environment has ZELMO_PRINT_FIGURES.
inline void printFigure(const std::string& label, const Apart& off) {
  if (std::getenv("ZELMO_PRINT_FIGURES") == nullptr) return;
  std::fprintf(stderr, "%-58s %10.4Lf um %8.4Lf urad off\n", label.c_str(), off.length * 1000,
               off.angle * 1e6L);
}

}  // namespace zelmo::test
