// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The six features that the tests of accuracy and of what the fits promise alike have in common:
// where their points lie, their distances in long double, and their fits behind one face.
#include <functional>
#include <memory>
#include <vector>

#include "support/best_score.h"
#include "zelmo/simplex/cone_fit.h"
#include "zelmo/simplex/cylinder_fit.h"
#include "zelmo/simplex/line_fit.h"
#include "zelmo/simplex/plane_fit.h"
#include "zelmo/simplex/sphere_fit.h"

namespace zelmo::test {

using x3dfit::FitMethod;
using Points = std::vector<cv::Point3f>;
using Raw = std::vector<double>;   // as the fits write them
using Params = std::vector<Real>;  // a point, a direction, a size: radius or half angle

const Vec kX = {0.8L, 0.0L, -0.6L};
const Vec kY = {0.36L, 0.8L, 0.48L};
const Vec kZ = kX.cross(kY);

/// One fit object behind a class-free face.
struct Fitter {
  std::function<bool(const Points&, double*, FitMethod)> by_vector;
  std::function<bool(const float*, int, double*, FitMethod)> by_array;
  std::function<Fitter()> copy;
};
template <typename Fit>
Fitter wrap(const std::shared_ptr<Fit>& fit) {
  return {[fit](const Points& points, double* p, FitMethod m) { return fit->Fit(points, p, m); },
          [fit](const float* points, int n, double* p, FitMethod m) {
            return fit->Fit(points, n, p, m);
          },
          [fit] { return wrap(std::make_shared<Fit>(*fit)); }};
}
template <typename Fit>
Fitter fresh() {
  return wrap(std::make_shared<Fit>());
}

/// Residual number \p which of a point at \p q from the feature's point, \p u its unit direction.
using Residual = Real (*)(const Params& p, const Vec& q, const Vec& u, int which);

struct Family {
  const char* name;
  std::function<Fitter()> make;
  std::size_t params;
  int fewest_points;  // below it Fit returns false
  bool has_chebyshev;
  /// A point of the feature of about unit size from two numbers in [0, 1], off it by e, in local axes.
  Vec (*at)(Real u, Real v, Real e);
  Real size;  // of the feature's parameters, at unit size
  /// What a fit by least squares minimises; a line and a circle have several residuals a point.
  int residuals;
  Residual residual;
  Params (*unified)(const double* raw);
  double gap = 1;  // percent that a descent may stall above the best score, and why more
  const char* cause = "";

  friend void PrintTo(const Family& family, std::ostream* out) { *out << family.name; }
};

inline Vec round(Real across, Real v, Real along) {
  const Real turn = 6.2L * v;
  return {across * std::cos(turn), across * std::sin(turn), along};
}
inline Params sevenOf(const double* p) { return {p, p + 7}; }
constexpr Real kHalfAngle = 0.1L;

inline const Family kPlane = {
    "Plane",
    fresh<x3dfit::XPlaneFit>,
    4,
    0,
    true,
    [](Real u, Real v, Real e) { return Vec(4 * u, 3 * v, e); },
    0,
    1,
    [](const Params&, const Vec& q, const Vec& u, int) { return q.dot(u); },
    [](const double* p) {
      return Params{-p[3] * p[0], -p[3] * p[1], -p[3] * p[2], p[0], p[1], p[2], 0};
    }};
// Off the line along y only: there lies the first residual.
inline const Family kLine = {
    "Line",
    fresh<x3dfit::XLine3DFit>,
    6,
    3,
    false,
    [](Real u, Real, Real e) { return Vec(0, e, 4 * u); },
    0,
    2,
    [](const Params&, const Vec& q, const Vec& u, int k) {
      const Vec n = (kY - u * u.dot(kY)).unit();
      return q.dot(k == 0 ? n : u.cross(n));
    },
    [](const double* p) { return Params{p[0], p[1], p[2], p[3], p[4], p[5], 0}; }};
inline const Family kSphere = {
    "Sphere",
    fresh<x3dfit::XSphereFit>,
    4,
    0,
    true,
    [](Real u, Real v, Real e) {
      return round((1 + e) * std::sin(2 * u), v, (1 + e) * std::cos(2 * u));
    },
    1,
    1,
    [](const Params& p, const Vec& q, const Vec&, int) { return q.norm() - p[6]; },
    [](const double* p) { return Params{p[0], p[1], p[2], 1, 1, 1, p[3]}; }};
inline const Family kCylinder = {
    "Cylinder",
    fresh<x3dfit::XCylinderFit>,
    8,
    0,
    true,
    [](Real u, Real v, Real e) { return round(1 + e, v, 4 * u); },
    1,
    1,
    [](const Params& p, const Vec& q, const Vec& u, int) { return q.cross(u).norm() - p[6]; },
    sevenOf};
inline const Family kCone = {"Cone",
                             fresh<x3dfit::XConeFit>,
                             7,
                             0,
                             false,
                             [](Real u, Real v, Real e) {
                               return round((1 + 4 * u) * std::tan(kHalfAngle) + e, v, 1 + 4 * u);
                             },
                             kHalfAngle,
                             1,
                             [](const Params& p, const Vec& q, const Vec& u, int) {
                               return q.cross(u).norm() - std::fabs(q.dot(u)) * std::tan(p[6]);
                             },
                             sevenOf,
                             1e9,
                             "(starts with the apex among the points: another minimum)"};

/// Flat in space; its fit stands a room higher and is wrapped where it is needed.
inline const Family kCircle = {"Circle",
                               nullptr,
                               10,
                               4,
                               true,
                               [](Real, Real v, Real e) { return round(1 + e, v, 0); },
                               1,
                               2,
                               [](const Params& p, const Vec& q, const Vec& u, int k) {
                                 return k == 0 ? q.cross(u).norm() - p[6] : q.dot(u);
                               },
                               sevenOf};

/// The feature at \p size, its point at \p origin.
inline Params nominalOf(const Family& family, double size, const Vec& origin) {
  const bool angle = family.size == kHalfAngle;
  return {origin.x, origin.y, origin.z, kZ.x, kZ.y, kZ.z, angle ? kHalfAngle : family.size * size};
}
inline Vec inSpace(const Vec& local, double size, const Vec& origin) {
  return origin + (kX * local.x + kY * local.y + kZ * local.z) * size;
}
inline Real residualOf(const Residual& residual, const Params& p, const Vec& point, int which) {
  return residual(p, point - Vec(p.data()), Vec(&p[3]).unit(), which);
}

}  // namespace zelmo::test
