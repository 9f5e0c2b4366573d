// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Start and first steps of every descent, as they reach GSL: on flat objectives the end depends on
// them. The function here stands before GSL's own in this program.
#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include <dlfcn.h>
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

// A ring of two heights, longer along (1, 1, 0) than across.
std::vector<cv::Point3f> someRing() {
  std::vector<cv::Point3f> points;
  for (int i = 0; i < 24; ++i) {
    const double u = 9 * std::cos(0.27 * i);
    const double w = 4 * std::sin(0.27 * i);
    points.emplace_back(static_cast<float>(30 + u - w), static_cast<float>(u + w),
                        static_cast<float>(i % 3 == 0 ? 1 : 2));
  }
  return points;
}

/// The last descent of a fit; an earlier one is that of its plane.
template <typename Out, typename Fit, typename Method>
Begun begunBy(Fit object, Method method) {
  Out out[12] = {};
  g_begun.clear();
  standardOutputOf([&] { object.Fit(someRing(), out, method); });
  return g_begun.back();
}

double largest(const Values& v) {
  return std::max({std::fabs(v[3]), std::fabs(v[4]), std::fabs(v[5])});
}

TEST(FirstSteps, FollowTheStart) {
  constexpr auto kSolid = x3dfit::LeastAbsDev;
  constexpr auto kOutline = xcurve3dfit::LeastAbsDev;
  const Begun oval = begunBy<float>(xcurve3dfit::XOvalGroove3DFit(), kOutline);
  const Begun rectangle = begunBy<float>(xcurve3dfit::XRectangle3DFit(), kOutline);
  const Begun round = begunBy<float>(xcurve3dfit::XRoundGroove3DFit(), kOutline);
  const auto sided = [](const Values& s) {
    return Values{s[2] / 100, s[3] / 100, s[2] / 100, s[3] / 100, 0.001};
  };
  const struct {
    const char* name;
    Begun begun;
    Values (*steps)(const Values& start);
  } rows[] = {
      {"plane", begunBy<double>(x3dfit::XPlaneFit(), kSolid),
       [](const Values& s) {
         return Values(4, std::max({s[0], s[1], s[2]}) / 100);
       }},
      {"sphere", begunBy<double>(x3dfit::XSphereFit(), kSolid),
       [](const Values& s) { return Values(4, s[3] / 100); }},
      {"line", begunBy<double>(x3dfit::XLine3DFit(), kSolid),
       [](const Values& s) { return Values(6, largest(s) / 10); }},
      {"cylinder", begunBy<double>(x3dfit::XCylinderFit(), kSolid),
       [](const Values& s) { return Values(7, s[6] / 10); }},
      {"cone", begunBy<double>(x3dfit::XConeFit(), kSolid),
       [](const Values& s) { return Values(7, largest(s) / 10); }},
      {"circle", begunBy<float>(xcurve3dfit::XCircle3DFit(), kOutline),
       [](const Values& s) { return Values(3, s[2] / 50); }},
      {"oval groove", oval, sided},
      {"rectangle", rectangle, sided},
      {"round groove", round,
       [](const Values& s) {
         return Values{s[2] / 100, s[3] / 100, s[2] / 100, s[3] / 100, s[4] / 100, 0.001};
       }},
  };
  for (const auto& row : rows) EXPECT_EQ(row.begun.step, row.steps(row.begun.start)) << row.name;
  EXPECT_EQ(round.start[4], round.start[3] / 2);                      // corner radius
  EXPECT_EQ(oval.start[3], rectangle.start[3]);                       // end radius
  EXPECT_EQ(oval.start[2], rectangle.start[2] - rectangle.start[3]);  // half straight
}

TEST(KeepBestAxis, TakesTheFirstOfEqualsAndNoNan) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  // Values from the three axes, and which of them is kept.
  const double rows[][4] = {{2, 1, 1, 1}, {1, 1, 1, 0}, {kNan, 1, 1, 0}, {3, kNan, 2, 2}};
  for (const auto& row : rows) {
    double params[8] = {};
    internal::keepBestAxis(params, [&row](int axis, double* p) {
      p[0] = axis;
      return row[axis];
    });
    EXPECT_EQ(params[0], row[3]);
  }
}

}  // namespace
}  // namespace zelmo::test
