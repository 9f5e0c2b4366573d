// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// How far fits by least squares end from the least-squares solution of the same float points, which
// is computed here in long double. Prints one row a set; circles stand here beside their siblings.
// Run it alone to read the table:
//     zelmo_simplex_test --gtest_filter='*Accuracy*'
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simplex/families.h"
#include "support/captured_output.h"
#include "support/parameter_names.h"
#include "support/reference_fits.h"
#include "zelmo/curvefit/circle_fit.h"

namespace zelmo::test {
namespace {

Real algebraicSphere(const Params& p, const Vec& q, const Vec& /*u*/, int /*which*/) {
  return q.dot(q) - p[6] * p[6];
}
Real algebraicCircle(const Params& p, const Vec& q, const Vec& u, int /*which*/) {
  return q.cross(u).dot(q.cross(u)) - p[6] * p[6];
}

Params solution(const Points& points, const Params& start, const Residual& residual,
                int per_point) {
  const auto count = static_cast<int>(points.size());
  if (residual == &algebraicCircle) {  // the direction stays: it is that of the fitted plane
    const Vec u = Vec(&start[3]).unit();
    const Vec x = u.cross({0.3L, 0.5L, 0.8L}).unit();
    const auto full = [&](const Params& p) {
      const Vec c = Vec(start.data()) + x * p[0] + u.cross(x) * p[1];
      return Params{c.x, c.y, c.z, u.x, u.y, u.z, p[2]};
    };
    return full(leastSquares({0, 0, start[6]}, count, [&](const Params& p, int i) {
      return residualOf(residual, full(p), Vec(points[i]), 0);
    }));
  }
  return leastSquares(start, per_point * count, [&](const Params& p, int i) {
    return residualOf(residual, p, Vec(points[i / per_point]), i % per_point);
  });
}

/// The worst of position (um; axes where they pass the middle of the points), direction and half
/// angle (urad), size (um; of a cone its radius at the middle).
Real errorOf(const Family& family, const Points& points, const Params& f, const Params& truth) {
  Vec middle;
  for (const auto& p : points) middle = middle + Vec(p) * (Real{1} / points.size());
  const Vec u = Vec(&f[3]).unit();
  const Vec v = Vec(&truth[3]).unit();
  const Vec shift = Vec(f.data()) - Vec(truth.data());
  if (family.name == kSphere.name) return 1e3L * std::max(shift.norm(), std::fabs(f[6] - truth[6]));
  const Vec from_f = middle - Vec(f.data());
  const Vec from_truth = middle - Vec(truth.data());
  const Vec apart = (from_f - u * from_f.dot(u)) - (from_truth - v * from_truth.dot(v));
  const bool flat = family.name == kPlane.name || family.name == kCircle.name;
  Real position =
      flat ? std::fabs(from_truth.dot(v) - from_f.dot(u) * (u.dot(v) < 0 ? -1 : 1)) : apart.norm();
  if (family.name == kCircle.name) position = shift.norm();
  const Real turned = 1e6L * u.cross(v).norm();
  Real size = 1e3L * std::fabs(f[6] - truth[6]);
  if (family.name == kCone.name) {  // a negative angle and one beyond a right angle: the same cone
    const Real tangent = std::fabs(std::tan(f[6]));
    size = std::max(1e6L * std::fabs(std::atan(tangent) - truth[6]),
                    1e3L * std::fabs(std::fabs(from_f.dot(u)) * tangent -
                                     std::fabs(from_truth.dot(v)) * std::tan(truth[6])));
  }
  return std::max({1e3L * position, turned, size});
}

Params fitOf(const Family& family, const Points& points, bool three_axes) {
  const auto count = static_cast<int>(points.size());
  if (family.name == kCircle.name) {
    float out[10] = {};
    xcurve3dfit::XCircle3DFit().Fit(points, out, xcurve3dfit::LeastSquare);
    return {out[0], out[1], out[2], out[3], out[4], out[5], out[9]};
  }
  double p[8] = {};
  standardOutputOf([&] {
    const float* at = &points[0].x;
    if (!three_axes) family.make().by_array(at, count, p, x3dfit::LeastSquare);
    if (three_axes && family.name == kCone.name)
      x3dfit::XConeFit().Fit2(at, count, p, x3dfit::LeastSquare);
    if (three_axes && family.name == kCylinder.name) x3dfit::XCylinderFit().Fit2(at, count, p);
  });
  return family.unified(p);
}

/// The stored solution. Cylinders and circles name the diameter; cones a point on the axis, the
/// distance from it to the surface, the full angle in degrees and an axis away from the apex.
Params storedSolution(const Family& family, const std::string& name) {
  std::ifstream in(referenceData("fits/" + name + ".fit"));
  Params q;
  for (double value = 0; in >> value;) q.push_back(value);
  if (family.name == kSphere.name) q.insert(q.begin() + 3, 3, 1);
  if (family.name == kCylinder.name || family.name == kCircle.name) q[6] /= 2;
  if (family.name == kCone.name) {
    const Real half = q[7] * std::acos(Real{-1}) / 360;
    (Vec(q.data()) - Vec(&q[3]).unit() * (q[6] / std::sin(half))).copyTo(q.data());
    q[6] = half;
  }
  q.resize(7);
  return q;
}

/// A scan whose least-squares solution is its nominal: the noise is freed of all that a change of the
/// parameters could take up. Full or a quarter around, of a size, at a distance from the origin.
Points scanOf(const Family& family, const Params& nominal, double size, double share) {
  constexpr std::size_t kCount = 150;
  RandomGeometry random(17);
  const Vec o = Vec(nominal.data());
  std::vector<Vec> feet;
  std::vector<Vec> out;
  std::vector<Real> noise;
  std::vector<std::vector<Real>> rows(kCount, std::vector<Real>(7));
  std::vector<std::vector<Real>> normal(7, std::vector<Real>(7, 0));
  std::vector<Real> taken(7, 0);
  for (std::size_t i = 0; i < kCount; ++i) {
    const bool cap = family.name == kSphere.name;
    const Real u = random.number(0, 1) * (cap ? 1.5L * share : 1);
    const Real v = random.number(0, 1) * share;
    feet.push_back(inSpace(family.at(u, v, 0), size, o));
    out.push_back(inSpace(family.at(u, v, 1), 1, {}) - inSpace(family.at(u, v, 0), 1, {}));
    noise.push_back(random.number(-1, 1) * 1e-3L * std::sqrt(size));
    for (std::size_t k = 0; k < 7; ++k) {
      Params ahead = nominal;
      Params behind = nominal;
      ahead[k] += 1e-6L;
      behind[k] -= 1e-6L;
      rows[i][k] = (residualOf(family.residual, ahead, feet[i], 0) -
                    residualOf(family.residual, behind, feet[i], 0)) /
                   2e-6L;
      taken[k] += rows[i][k] * noise[i];
    }
    for (std::size_t r = 0; r < 7; ++r)
      for (std::size_t c = 0; c < 7; ++c) normal[r][c] += rows[i][r] * rows[i][c];
  }
  Real trace = 0;
  for (std::size_t k = 0; k < 7; ++k) trace += normal[k][k];
  for (std::size_t k = 0; k < 7; ++k) normal[k][k] += 1e-15L * trace;
  solveInPlace(normal, taken);
  Points points;
  for (std::size_t i = 0; i < kCount; ++i) {
    for (std::size_t k = 0; k < 7; ++k) noise[i] -= rows[i][k] * taken[k];
    points.push_back((feet[i] + out[i] * noise[i]).rounded());
  }
  return points;
}

/// Why sets end further off than the goal. The list must be exact: no set that meets the goal.
struct Cause {
  const char* why;
  const char* sets;  // labels between blanks, or "all"
  double at_most;
};

constexpr double kLost = 1e12;  // another minimum, far from the feature

struct KindCase {
  const char* name;
  const Family* family;
  const char* folder;
  const char* prefix;  // of the reference sets
  Residual residual;   // what the method minimises
  bool three_axes;     // Fit2
  std::vector<Cause> causes;

  friend void PrintTo(const KindCase& c, std::ostream* out) { *out << c.name; }
};

class Accuracy : public testing::TestWithParam<KindCase> {
 protected:
  void add(const std::string& label, const Points& points, const Params& start) {
    constexpr double kGoal = 0.1;  // um, urad
    const KindCase& c = GetParam();
    const Params fitted = fitOf(*c.family, points, c.three_axes);
    const bool own_plane = c.residual == &algebraicCircle;
    const Params truth = solution(points, own_plane ? fitted : start, c.residual,
                                  c.residual == c.family->residual ? c.family->residuals : 1);
    const auto error = static_cast<double>(errorOf(*c.family, points, fitted, truth));
    const Cause* cause = nullptr;
    for (const Cause& each : c.causes) {
      const std::string sets = " " + std::string(each.sets) + " ";
      if (sets == " all " || sets.find(" " + label + " ") != std::string::npos) cause = &each;
    }
    std::printf("%-16s %-8s %10.3g  %s\n", c.name, label.c_str(), error, cause ? cause->why : "");
    EXPECT_LT(error, cause ? cause->at_most : kGoal) << label;
    const bool named = cause != nullptr && std::string(cause->sets) != "all";
    EXPECT_TRUE(!named || error > kGoal) << label << " meets the goal";
    m_errors.push_back(error);
  }
  void TearDown() override {
    if (m_errors.empty()) return;
    std::sort(m_errors.begin(), m_errors.end());
    std::printf("%-16s median %.3g, largest %.3g um or urad of %d\n", GetParam().name,
                m_errors[m_errors.size() / 2], m_errors.back(), static_cast<int>(m_errors.size()));
  }

 private:
  std::vector<double> m_errors;
};

TEST_P(Accuracy, OfReferenceSets) {
  const KindCase& c = GetParam();
  ZELMO_REQUIRE_REFERENCE_DATA(std::string("fits/") + c.folder);
  for (int set = 1; set <= 10; ++set) {
    const std::string label = c.prefix + std::to_string(set);
    const std::string name = std::string(c.folder) + "/" + label;
    if (!std::filesystem::exists(referenceData("fits/" + name + ".ds"))) continue;
    if (label == "cir2d9") continue;  // three points: the fit asks for four
    const auto floats = referencePoints(name);
    Points points;
    for (std::size_t i = 0; i < floats.size(); i += 3)
      points.emplace_back(floats[i], floats[i + 1], floats[i + 2]);
    add(label, points, storedSolution(*c.family, name));
  }
}

TEST_P(Accuracy, OfScansWithAKnownSolution) {
  const KindCase& c = GetParam();
  const Family& family = *c.family;
  for (const double size : {1.0, 20.0, 500.0}) {
    for (const double share : {1.0, 0.25}) {
      for (const double from_origin : {0.0, 1000.0}) {
        const std::string label = std::to_string(static_cast<int>(size)) + (share < 1 ? "q" : "") +
                                  "@" + std::to_string(static_cast<int>(from_origin));
        const Params nominal = nominalOf(family, size, Vec(1, -0.7L, 0.4L) * from_origin);
        const Points points = scanOf(family, nominal, size, share);
        if (from_origin == 0 && size < 500 && share == 1) {  // elsewhere the floats' rounding shows
          const Params solved = solution(points, nominal, family.residual, family.residuals);
          EXPECT_LT(errorOf(family, points, nominal, solved), 0.03) << label;
        }
        add(label, points, nominal);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Class, Accuracy,
    testing::Values(
        KindCase{"Plane", &kPlane, "Plane", "pla", kPlane.residual, false, {}},
        KindCase{"Line", &kLine, "Line3d", "lin", kLine.residual, false, {}},
        KindCase{"SphereAlgebraic", &kSphere, "Sphere", "sph", algebraicSphere, false, {}},
        KindCase{"Sphere",
                 &kSphere,
                 "Sphere",
                 "sph",
                 kSphere.residual,
                 false,
                 {{"algebraic minimum of a noisy cap",
                   "sph1 sph3 sph4 sph5 1q@0 1q@1000 20q@0 20q@1000 500q@0 500q@1000", 80}}},
        KindCase{"CylinderFit",
                 &kCylinder,
                 "Cylinder",
                 "cyl",
                 kCylinder.residual,
                 false,
                 {{"the start axis lies across", "cyl3 cyl8 cyl9 cyl10", kLost}}},
        KindCase{"CylinderFit2",
                 &kCylinder,
                 "Cylinder",
                 "cyl",
                 kCylinder.residual,
                 true,
                 {{"start radius 4 to 60 times too small", "cyl3 cyl8 cyl9 cyl10", kLost}}},
        KindCase{"ConeFit",
                 &kCone,
                 "Cone",
                 "con",
                 kCone.residual,
                 false,
                 {{"the start apex lies among the points",
                   "con1 con2 con3 con4 con6 con8 con9 con10 1q@0 1q@1000 20@0 20@1000 20q@0 "
                   "20q@1000 500q@0 500q@1000",
                   kLost}}},
        KindCase{"ConeFit2",
                 &kCone,
                 "Cone",
                 "con",
                 kCone.residual,
                 true,
                 {{"the start apex lies among the points",
                   "con2 con3 con4 con6 con8 con9 con10 1q@0 20@0 20@1000 20q@0 20q@1000 500q@0 "
                   "500q@1000",
                   kLost}}},
        KindCase{"CircleAlgebraic", &kCircle, "Circle2d", "cir2d", algebraicCircle, false, {}},
        KindCase{"CircleInSpaceAlg", &kCircle, "Circle3d", "cir", algebraicCircle, false, {}},
        KindCase{"Circle",
                 &kCircle,
                 "Circle2d",
                 "cir2d",
                 kCircle.residual,
                 false,
                 {{"algebraic minimum of a noisy arc", "cir2d1 cir2d3 cir2d5", 13},
                  {"plane of least absolute distances", "1@1000 1q@1000 20@1000 20q@1000", 13}}},
        KindCase{"CircleInSpace",
                 &kCircle,
                 "Circle3d",
                 "cir",
                 kCircle.residual,
                 false,
                 {{"plane of least absolute distances",
                   "cir7 cir10 1@1000 1q@1000 20@1000 20q@1000", 32}}}),
    caseName<KindCase>);

}  // namespace
}  // namespace zelmo::test
