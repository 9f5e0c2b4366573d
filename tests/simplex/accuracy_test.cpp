// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// How far fits by least squares end from the least-squares solution of the same float points, which
// is computed here in long double. Prints one row a set; circles stand here beside their siblings.
// Run it alone to read the table:
//     zelmo_simplex_test --gtest_filter='*Accuracy*'
#include <cstdio>

#include <gtest/gtest.h>

#include "simplex/fits.h"
#include "support/parameter_names.h"
#include "support/reference_fits.h"
#include "zelmo/curvefit/circle_fit.h"

namespace zelmo::test {
namespace {

template <typename Fit, Kind kKind>
Params fit(const Points& points) {
  Raw p(8);
  standardOutputOf([&] { Fit().Fit(points, p.data(), x3dfit::LeastSquare); });
  return unified(kKind, p);
}
Params cylinderFit2(const Points& points) {
  Raw p(8);
  x3dfit::XCylinderFit().Fit2(&points[0].x, static_cast<int>(points.size()), p.data());
  return unified(Kind::Cylinder, p);
}
Params coneFit2(const Points& points) {
  Raw p(8);
  x3dfit::XConeFit().Fit2(&points[0].x, static_cast<int>(points.size()), p.data(),
                          x3dfit::LeastSquare);
  return unified(Kind::Cone, p);
}
Params circleFit(const Points& points) {
  xcurve3dfit::XCircle3DFit circle;
  float out[10] = {};
  circle.Fit(points, out, xcurve3dfit::LeastSquare);
  return paramsOf(Vec(circle.center), Vec(circle.normal), circle.radius);
}

struct Case {
  const char* name;
  Kind kind;
  std::vector<const char*> sets;  // folder of the reference sets and how they begin
  Params (*fit)(const Points&);
  bool algebraic = false;  // what is minimised: squared lengths less the squared radius

  friend void PrintTo(const Case& c, std::ostream* out) { *out << c.name; }
};

const Case kCases[] = {
    {"Plane", Kind::Plane, {"Plane/pla"}, fit<x3dfit::XPlaneFit, Kind::Plane>},
    {"Line", Kind::Line, {"Line3d/lin"}, fit<x3dfit::XLine3DFit, Kind::Line>},
    {"SphereAlgebraic", Kind::Sphere, {"Sphere/sph"}, fit<x3dfit::XSphereFit, Kind::Sphere>, true},
    {"Sphere", Kind::Sphere, {"Sphere/sph"}, fit<x3dfit::XSphereFit, Kind::Sphere>},
    {"CylinderFit", Kind::Cylinder, {"Cylinder/cyl"}, fit<x3dfit::XCylinderFit, Kind::Cylinder>},
    {"CylinderFit2", Kind::Cylinder, {"Cylinder/cyl"}, cylinderFit2},
    {"ConeFit", Kind::Cone, {"Cone/con"}, fit<x3dfit::XConeFit, Kind::Cone>},
    {"ConeFit2", Kind::Cone, {"Cone/con"}, coneFit2},
    {"CircleAlgebraic", Kind::Circle, {"Circle2d/cir2d", "Circle3d/cir"}, circleFit, true},
    {"Circle", Kind::Circle, {"Circle2d/cir2d", "Circle3d/cir"}, circleFit},
};

/// Why sets end further off than the goal. The list must be exact: no set that meets the goal.
constexpr double kGoal = 0.1;   // um, urad
constexpr double kLost = 1e12;  // another minimum, far from the feature
const struct {
  const char *name, *why;
  double at_most;
  std::string sets;
} kCauses[] = {
    {"Sphere", "algebraic minimum of a noisy cap", 80,
     " sph1 sph3 sph4 sph5 1q@0 1q@1000 20q@0 20q@1000 500q@0 500q@1000 "},
    {"CylinderFit", "the start axis lies across", kLost, " cyl3 cyl8 cyl9 cyl10 "},
    {"CylinderFit2", "start radius 4 to 60 times too small", kLost, " cyl3 cyl8 cyl9 cyl10 "},
    {"ConeFit", "the start apex lies among the points", kLost,
     " con1 con2 con3 con4 con6 con8 con9 con10 1q@0 1q@1000 20@0 20@1000 20q@0 20q@1000 500@0 "
     "500q@0 500q@1000 "},
    {"ConeFit2", "the start apex lies among the points", kLost,
     " con2 con3 con4 con6 con8 con9 con10 20@1000 20q@0 20q@1000 500q@0 500q@1000 "},
    {"Circle", "algebraic minimum of a noisy arc", 13, " cir2d1 cir2d3 cir2d5 "},
    {"Circle", "plane of least absolute distances", 32, " cir7 cir10 1@1000 1q@1000 20q@1000 "},
};

class Accuracy : public testing::TestWithParam<Case> {
 protected:
  void add(const std::string& label, const Points& points, const Params& start) {
    const Case& c = GetParam();
    const Params fitted = c.fit(points);
    const Params truth = solution(points, start, fitted);
    const Apart off = apart(c.kind, fitted, truth, middleOf(points));
    const auto error = static_cast<double>(std::max(1e3L * off.length, 1e6L * off.angle));
    const char* why = "";
    double at_most = kGoal;
    for (const auto& cause : kCauses) {
      if (cause.name != std::string(c.name)) continue;
      if (cause.sets.find(" " + label + " ") == std::string::npos) continue;
      why = cause.why;
      at_most = cause.at_most;
      EXPECT_GT(error, kGoal) << label << " meets the goal";
    }
    std::printf("%-16s %-8s %10.3g  %s\n", c.name, label.c_str(), error, why);
    EXPECT_LT(error, at_most) << label;
    m_errors.push_back(error);
  }
  static Params solution(const Points& points, const Params& start, const Params& fitted) {
    if (!GetParam().algebraic) return solved(GetParam().kind, start, points);
    const auto residual = [](Real from, Real radius) { return from * from - radius * radius; };
    if (GetParam().kind == Kind::Circle) return solvedInPlane(fitted, points, residual);
    return leastSquares(start, static_cast<int>(points.size()), [&](const Params& p, int i) {
      const Vec q(points[static_cast<std::size_t>(i)]);
      return residual((q - Vec(p.data())).norm(), p[6]);
    });
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
  ZELMO_REQUIRE_REFERENCE_DATA("fits");
  for (const std::string prefix : GetParam().sets) {
    for (int i = 1; i <= 10; ++i) {
      const ReferenceSet set = referenceSet(GetParam().kind, prefix + std::to_string(i));
      if (set.points.size() <= 3) continue;  // or there is none: a circle asks for four
      add(set.name.substr(set.name.find('/') + 1), set.points, set.solution);
    }
  }
}

// Full or a quarter around, of a size, at a distance from the origin.
TEST_P(Accuracy, OfScans) {
  for (const int size : {1, 20, 500}) {
    for (const double share : {1.0, 0.25}) {
      for (const int from_origin : {0, 1000}) {
        RandomGeometry random(17);
        const Vec origin = Vec(1, -0.7L, 0.4L) * from_origin;
        const auto noise = [&](int) {
          return random.number(-1, 1) * 1e-3L * std::sqrt(Real(size));
        };
        const std::string label =
            std::to_string(size) + (share < 1 ? "q@" : "@") + std::to_string(from_origin);
        add(label, scanOf(random, GetParam().kind, 150, size, origin, noise, share),
            nominalOf(GetParam().kind, size, origin));
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Class, Accuracy, testing::ValuesIn(kCases), caseName<Case>);

}  // namespace
}  // namespace zelmo::test
