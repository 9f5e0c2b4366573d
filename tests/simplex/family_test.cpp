// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// What all five fits promise alike, one row a class.
#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/captured_output.h"
#include "support/parameter_names.h"
#include "zelmo/simplex/cone_fit.h"
#include "zelmo/simplex/cylinder_fit.h"
#include "zelmo/simplex/line_fit.h"
#include "zelmo/simplex/plane_fit.h"
#include "zelmo/simplex/sphere_fit.h"

namespace zelmo::test {
namespace {

using x3dfit::FitMethod;
using Points = std::vector<cv::Point3f>;
using Params = std::vector<double>;

constexpr FitMethod kUnknown = static_cast<FitMethod>(9);

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

const cv::Vec3d kOrigin(210, -340, 150);
const cv::Vec3d kX(0.8, 0.0, -0.6);
const cv::Vec3d kY(0.36, 0.8, 0.48);
const cv::Vec3d kZ = kX.cross(kY);

cv::Vec3d offsetFrom(const cv::Point3f& p, const double* q) {
  return {p.x - q[0], p.y - q[1], p.z - q[2]};
}
double across(const cv::Point3f& p, const double* line) {
  return cv::norm(offsetFrom(p, line).cross(cv::normalize(cv::Vec3d(line + 3))));
}

struct Family {
  const char* name;
  std::function<Fitter()> make;
  std::size_t params;
  int fewest_points;  // below it Fit returns false
  bool has_chebyshev;
  /// A point of the feature from two numbers in [0, 1], off it by a signed distance.
  std::function<cv::Vec3d(double, double, double)> surface;
  /// Distance of a point to a fitted feature.
  std::function<double(const cv::Point3f&, const double*)> distance;

  friend void PrintTo(const Family& family, std::ostream* out) { *out << family.name; }
};

const Family kFamilies[] = {
    {"Plane", fresh<x3dfit::XPlaneFit>, 4, 0, true,
     [](double u, double v, double e) { return kX * 60 * u + kY * 40 * v + kZ * e; },
     [](const cv::Point3f& p, const double* q) {
       return std::fabs(q[0] * p.x + q[1] * p.y + q[2] * p.z + q[3]);
     }},
    {"Line", fresh<x3dfit::XLine3DFit>, 6, 3, false,
     [](double u, double, double e) { return kX * (60 * u) + kY * e; }, across},
    {"Sphere", fresh<x3dfit::XSphereFit>, 4, 0, true,
     [](double u, double v, double e) {
       const double r = 25 + e;
       return kX * (r * std::sin(2 * u) * std::cos(6.2 * v)) +
              kY * (r * std::sin(2 * u) * std::sin(6.2 * v)) + kZ * (r * std::cos(2 * u));
     },
     [](const cv::Point3f& p, const double* q) {
       return std::fabs(cv::norm(offsetFrom(p, q)) - q[3]);
     }},
    {"Cylinder", fresh<x3dfit::XCylinderFit>, 8, 0, true,
     [](double u, double v, double e) {
       return kX * ((12 + e) * std::cos(6.2 * v)) + kY * ((12 + e) * std::sin(6.2 * v)) +
              kZ * (70 * u);
     },
     [](const cv::Point3f& p, const double* q) { return std::fabs(across(p, q) - q[6]); }},
    {"Cone", fresh<x3dfit::XConeFit>, 7, 0, false,
     [](double u, double v, double e) {
       const double along = 10 + 30 * u;
       const double r = 0.3 * along + e;
       return kX * (r * std::cos(6.2 * v)) + kY * (r * std::sin(6.2 * v)) + kZ * along;
     },
     [](const cv::Point3f& p, const double* q) {
       const double along = offsetFrom(p, q).dot(cv::normalize(cv::Vec3d(q + 3)));
       return std::fabs(across(p, q) - std::fabs(along) * std::tan(q[6]));
     }},
};

Points scan(const Family& family, int count, const std::function<double(int)>& deviation) {
  std::mt19937 engine(5);
  std::uniform_real_distribution<double> unit(0, 1);
  Points points;
  for (int i = 0; i < count; ++i) {
    const double u = unit(engine);
    const cv::Vec3d p = kOrigin + family.surface(u, unit(engine), deviation(i));
    points.emplace_back(static_cast<float>(p[0]), static_cast<float>(p[1]),
                        static_cast<float>(p[2]));
  }
  return points;
}

double scoreOf(const Family& family, const Points& points, const Params& params, int method) {
  double score = 0;
  for (const auto& p : points) {
    const double e = family.distance(p, params.data());
    score = method == 0 ? score + e * e : method == 1 ? score + e : std::max(score, e);
  }
  return score;
}

class SimplexFamily : public testing::TestWithParam<Family> {
 protected:
  Params fit(const Points& points, FitMethod method) {
    Params params(GetParam().params);
    standardOutputOf(
        [&] { EXPECT_TRUE(GetParam().make().by_vector(points, params.data(), method)); });
    return params;
  }
};

TEST_P(SimplexFamily, RecoversAnExactFeatureFarFromTheOrigin) {
  const Points points = scan(GetParam(), 200, [](int) { return 0.0; });
  for (const FitMethod method : {x3dfit::LeastSquare, x3dfit::LeastAbsDev, x3dfit::Chebyshev}) {
    SCOPED_TRACE(method);
    // From an apex inside the points the sum of absolute distances has minima far from the cone.
    if (method != x3dfit::LeastSquare && std::string(GetParam().name) == "Cone") continue;
    // Floats near 340 are known to 1.5e-5. The simplex may stall a little above the optimum of a
    // score with edges; a wrong axis or radius would leave tenths.
    EXPECT_LT(scoreOf(GetParam(), points, fit(points, method), 2), 1e-2);
  }
}

// Five points of a hundred are far off on one side, which every method weighs in its own way: the
// result of a method must have the best score in its own measure, and not by rounding alone.
TEST_P(SimplexFamily, EachMethodIsTheBestAtItsOwnScore) {
  const Points points =
      scan(GetParam(), 100, [](int i) { return i % 20 == 3 ? 0.4 : 0.01 * std::sin(3.7 * i); });
  const int methods = GetParam().has_chebyshev ? 3 : 2;
  for (int own = 0; own < methods; ++own) {
    const double best = scoreOf(GetParam(), points, fit(points, static_cast<FitMethod>(own)), own);
    for (int other = 0; other < methods; ++other) {
      if (other == own) continue;
      // From an apex inside the points the descents of a cone stall short of their optimum.
      if (own == 1 && std::string(GetParam().name) == "Cone") continue;
      SCOPED_TRACE(testing::Message() << own << " against " << other);
      const auto rival = fit(points, static_cast<FitMethod>(other));
      EXPECT_LT(best, 0.99 * scoreOf(GetParam(), points, rival, own));
    }
  }
  EXPECT_EQ(fit(points, kUnknown), fit(points, x3dfit::LeastAbsDev));
}

class WithoutChebyshev : public SimplexFamily {};

TEST_P(WithoutChebyshev, KeepsTheObjectiveOfTheLastFit) {
  const Points points = scan(GetParam(), 60, [](int i) { return i % 20 == 3 ? 0.4 : 0.0; });
  EXPECT_EQ(fit(points, x3dfit::Chebyshev), fit(points, x3dfit::LeastAbsDev));
  const Fitter used = GetParam().make();
  Params params(GetParam().params);
  standardOutputOf([&] {
    used.by_vector(points, params.data(), x3dfit::LeastSquare);
    used.by_vector(points, params.data(), x3dfit::Chebyshev);
  });
  EXPECT_EQ(params, fit(points, x3dfit::LeastSquare));
}

TEST_P(SimplexFamily, ArraysVectorsAndCopiesAgree) {
  const Points points = scan(GetParam(), 50, [](int i) { return 0.02 * std::sin(5.1 * i); });
  const Points other = scan(GetParam(), 20, [](int i) { return 0.3 * std::cos(2.1 * i); });
  const Params expected = fit(points, x3dfit::LeastAbsDev);
  Params params(GetParam().params);
  Fitter first = GetParam().make();
  const Fitter second = first.copy();
  standardOutputOf([&] { first.by_vector(other, params.data(), x3dfit::LeastSquare); });
  first = {};  // the original goes, its minimiser stays with the copies
  const Fitter third = second.copy();
  for (const Fitter* fit : {&second, &third, &second}) {
    standardOutputOf(
        [&] { EXPECT_TRUE(fit->by_array(&points[0].x, 50, params.data(), x3dfit::LeastAbsDev)); });
    EXPECT_EQ(params, expected);
  }
}

TEST_P(SimplexFamily, EndsOnBadInputWithTheDocumentedReturn) {
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  constexpr float kInf = std::numeric_limits<float>::infinity();
  const Points odd[] = {
      Points(9, {1, 2, 3}),
      {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {3, 3, 3}, {4, 4, 4}, {5, 5, 5}},
      {{0, 0, 0}, {1, 0, 0}, {2, 5, 0}, {0, 3, 0}, {7, 1, 0}, {4, 4, 0}},
      {{0, 0, 0}, {1e30F, 0, 0}, {0, 1e30F, 0}, {1, 1, 1e30F}, {2, 2, 1}, {3, 1, 2}},
      {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {kInf, 1, 1}, {1, -kInf, 2}, {2, 2, 2}},
      {{kNan, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1}, {2, 2, 5}, {3, 4, 5}},
  };
  const Fitter fit = GetParam().make();
  std::vector<std::string> wrong;  // printed after the capture
  standardOutputOf([&] {
    for (const int method : {0, 1, 2, 3, -1}) {
      for (std::size_t row = 0; row < std::size(odd); ++row) {
        Params params(GetParam().params, 1.0);
        if (!fit.by_vector(odd[row], params.data(), static_cast<FitMethod>(method))) {
          wrong.push_back("row " + std::to_string(row) + " method " + std::to_string(method));
        }
      }
      for (const int count : {-7, 0, 1, 2, 3}) {
        Params params(GetParam().params, 1.0);
        const bool enough = std::max(count, 0) >= GetParam().fewest_points;
        const bool result =
            fit.by_array(&odd[2][0].x, count, params.data(), static_cast<FitMethod>(method));
        if (result != enough || (!enough && params != Params(GetParam().params, 1.0))) {
          wrong.push_back("count " + std::to_string(count) + " method " + std::to_string(method));
        }
      }
    }
  });
  EXPECT_THAT(wrong, testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Class, WithoutChebyshev, testing::Values(kFamilies[1], kFamilies[4]),
                         caseName<Family>);
INSTANTIATE_TEST_SUITE_P(Class, SimplexFamily, testing::ValuesIn(kFamilies), caseName<Family>);

}  // namespace
}  // namespace zelmo::test
