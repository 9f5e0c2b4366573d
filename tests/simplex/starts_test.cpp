// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Start and first steps of every descent, as they reach GSL: on flat objectives the end depends on
// them. The function here stands before GSL's own in this program.
#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gsl/gsl_multimin.h>
#include <gtest/gtest.h>

#include "support/captured_output.h"
#include "zelmo/curvefit/circle_fit.h"
#include "zelmo/curvefit/oval_groove_fit.h"
#include "zelmo/curvefit/rectangle_fit.h"
#include "zelmo/curvefit/round_groove_fit.h"
#include "zelmo/internal/axis_candidates.h"
#include "zelmo/simplex/cone_fit.h"
#include "zelmo/simplex/cylinder_fit.h"
#include "zelmo/simplex/line_fit.h"
#include "zelmo/simplex/plane_fit.h"
#include "zelmo/simplex/principal_axes.h"
#include "zelmo/simplex/sphere_fit.h"

namespace {

using Values = std::vector<double>;
struct Begun {
  Values start, step;
};
thread_local std::vector<Begun> g_begun;  // other tests fit on several threads

Values valuesOf(const gsl_vector* v) {
  Values values;
  for (std::size_t i = 0; i < v->size; ++i) values.push_back(gsl_vector_get(v, i));
  return values;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int gsl_multimin_fminimizer_set(
    gsl_multimin_fminimizer* minimiser, gsl_multimin_function* function, const gsl_vector* start,
    const gsl_vector* step) {
  g_begun.push_back({valuesOf(start), valuesOf(step)});
  using Set = decltype(&gsl_multimin_fminimizer_set);
  return reinterpret_cast<Set>(dlsym(RTLD_NEXT, "gsl_multimin_fminimizer_set"))(minimiser, function,
                                                                                start, step);
}

namespace zelmo::test {
namespace {

using testing::DoubleNear;
using testing::Pointwise;

// A ring of two heights, longer along (1, 1, 0) than across.
std::vector<cv::Point3f> someRing() {
  std::vector<cv::Point3f> points;
  for (int i = 0; i < 24; ++i) {
    const double t = 0.27 * i;
    const double u = 9 * std::cos(t);
    const double w = 4 * std::sin(t);
    points.emplace_back(static_cast<float>(30 + u - w), static_cast<float>(u + w),
                        static_cast<float>(i % 3 == 0 ? 1 : 2));
  }
  return points;
}

/// Runs a fit and gives its last descents, the earlier ones (a plane) left out.
std::vector<Begun> begunBy(const std::function<void(const std::vector<cv::Point3f>&)>& fit,
                           std::size_t last) {
  g_begun.clear();
  standardOutputOf([&] { fit(someRing()); });
  return {g_begun.end() - static_cast<std::ptrdiff_t>(std::min(last, g_begun.size())),
          g_begun.end()};
}

double largest(const Values& v, std::size_t from) {
  return std::max({std::fabs(v[from]), std::fabs(v[from + 1]), std::fabs(v[from + 2])});
}

TEST(FirstSteps, OfTheSolidsFollowTheirStart) {
  double p[8] = {};
  const auto of = [&p](auto object, x3dfit::FitMethod method) {
    const auto begun = begunBy([&](const auto& points) { object.Fit(points, p, method); }, 1).at(0);
    EXPECT_THAT(begun.step, testing::Each(begun.step[0]));
    return begun;
  };
  const auto plane = of(x3dfit::XPlaneFit(), x3dfit::LeastAbsDev);
  EXPECT_EQ(plane.step[0], std::max({plane.start[0], plane.start[1], plane.start[2]}) / 100);
  const auto sphere = of(x3dfit::XSphereFit(), x3dfit::Chebyshev);
  EXPECT_EQ(sphere.step[0], sphere.start[3] / 100);
  const auto line = of(x3dfit::XLine3DFit(), x3dfit::LeastSquare);
  EXPECT_EQ(line.step[0], largest(line.start, 3) / 10);
  const auto cylinder = of(x3dfit::XCylinderFit(), x3dfit::LeastSquare);
  EXPECT_EQ(cylinder.step[0], cylinder.start[6] / 10);
  const auto cone = of(x3dfit::XConeFit(), x3dfit::LeastSquare);
  EXPECT_EQ(cone.step[0], largest(cone.start, 3) / 10);
}

TEST(FirstSteps, OfFit2BeginAtEachPrincipalAxis) {
  const auto points = someRing();
  cv::Mat values;
  cv::Mat vectors;
  cv::Point3f center;
  x3dfit::computePrincipalAxes(points, values, vectors, center);
  double p[8] = {};
  const auto cylinders =
      begunBy([&p](const auto& given) { x3dfit::XCylinderFit().Fit2(&given[0].x, 24, p); }, 3);
  const auto cones = begunBy(
      [&p](const auto& given) { x3dfit::XConeFit().Fit2(&given[0].x, 24, p, x3dfit::Chebyshev); },
      3);
  ASSERT_EQ(cylinders.size() + cones.size(), 6U);
  for (int axis = 0; axis < 3; ++axis) {
    const double* d = vectors.ptr<double>(axis);
    const double radius = std::sqrt(values.at<double>(axis) / 24);
    const Values start = {center.x, center.y, center.z, d[0], d[1], d[2], radius};
    EXPECT_THAT(cylinders[axis].start, Pointwise(DoubleNear(1e-12), start));
    EXPECT_THAT(cylinders[axis].step, testing::Each(DoubleNear(radius / 50, 1e-12)));
    double reach[2] = {1e10, -1e10};
    double across = 0;
    for (const auto& q : points) {
      const cv::Vec3d e(q.x - center.x, q.y - center.y, q.z - center.z);
      reach[0] = std::min(reach[0], e.dot(cv::Vec3d(d)));
      reach[1] = std::max(reach[1], e.dot(cv::Vec3d(d)));
      across = std::max(across, cv::norm(e.cross(cv::Vec3d(d))));
    }
    EXPECT_NEAR(cones[axis].start[6], std::atan2(across, (reach[1] - reach[0]) / 2), 1e-5);
    EXPECT_THAT(cones[axis].step, testing::Each(DoubleNear(largest(start, 3) / 10, 1e-12)));
  }
}

TEST(FirstSteps, OfTheOutlinesAreSharesOfTheirSizes) {
  float out[12] = {};
  const auto of = [&out](auto object) {
    return begunBy([&](const auto& points) { object.Fit(points, out, xcurve3dfit::LeastAbsDev); },
                   1)
        .at(0);
  };
  const auto circle = of(xcurve3dfit::XCircle3DFit());
  EXPECT_THAT(circle.step, testing::Each(circle.start[2] / 50));
  const Begun sided[] = {of(xcurve3dfit::XOvalGroove3DFit()), of(xcurve3dfit::XRectangle3DFit()),
                         of(xcurve3dfit::XRoundGroove3DFit())};
  for (const auto& [s, step] : sided) {
    Values expected = {s[2] / 100, s[3] / 100, s[2] / 100, s[3] / 100};
    if (s.size() == 6) expected.push_back(s[4] / 100);
    expected.push_back(0.001);
    EXPECT_EQ(step, expected);
  }
  EXPECT_EQ(sided[2].start[4], sided[2].start[3] / 2);                  // corner radius
  EXPECT_EQ(sided[0].start[3], sided[1].start[3]);                      // end radius
  EXPECT_EQ(sided[0].start[2], sided[1].start[2] - sided[1].start[3]);  // half straight
}

TEST(KeepBestAxis, TakesTheFirstOfEqualsAndNoNan) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  const std::array<std::array<double, 4>, 4> rows = {
      {{2, 1, 1, 1}, {1, 1, 1, 0}, {kNan, 1, 1, 0}, {3, kNan, 2, 2}}};
  for (const auto& row : rows) {
    double params[8] = {};
    internal::keepBestAxis(params, [&row](int axis, double* p) {
      p[0] = axis;
      return row[static_cast<std::size_t>(axis)];
    });
    EXPECT_EQ(params[0], row[3]);
  }
}

}  // namespace
}  // namespace zelmo::test
