// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/damped_solver.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include <boost/property_tree/json_parser.hpp>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include "support/captured_output.h"
#include "support/long_double_geometry.h"
#include "support/reference_data.h"
#include "support/solver_models.h"

namespace zelmo::internal {
namespace {

using boost::property_tree::ptree;
using test::Vec;

double number(const ptree& node) { return std::strtod(node.data().c_str(), nullptr); }

std::vector<double> numbers(const ptree& node) {
  std::vector<double> values;
  for (const auto& entry : node) values.push_back(number(entry.second));
  return values;
}

void expectNear(double ours, double stored, double slack, const std::string& what) {
  EXPECT_TRUE(std::fabs(ours - stored) <= slack || (std::isnan(ours) && std::isnan(stored)))
      << what << ": " << ours << ", stored " << stored;
}

// A stored call and what our solver makes of it.
struct Replay {
  explicit Replay(const std::string& name) {
    const auto path = test::referenceData("damped_solver/" + name + ".json");
    boost::property_tree::read_json(path.string(), stored);
    m = stored.get<int>("m");
    n = stored.get<int>("n");
    p = numbers(stored.get_child("p0"));
    stored_p = numbers(stored.get_child("p"));
    stored_info = numbers(stored.get_child("info"));
    for (const auto& row : stored.get_child("points")) {
      for (const double value : numbers(row.second)) traced.points.push_back(value);
    }
    x = numbers(stored.get_child("x"));
    options = numbers(stored.get_child("opts"));
    problem = stored.get<std::string>("problem");
    traced.model = test::solverModel(problem);
    if (const auto& fault = stored.get_child("fault"); !fault.empty()) {
      traced.first_fault = fault.get<long>("first_call");
      traced.last_fault = fault.get<long>("last_call");
      traced.fault_value = number(fault.get_child("value"));
      traced.fault_entries = fault.get<int>("entries");
    }
  }

  void run() {
    info.fill(-777);  // which the stored ones have where nothing was touched
    result = dlevmar_dif(test::TracedModel::call, p.data(), x.empty() ? nullptr : x.data(), m, n,
                         stored.get<int>("itmax"), options.empty() ? nullptr : options.data(),
                         info.data(), nullptr, nullptr, &traced);
  }

  ptree stored;
  std::string problem;
  int m = 0, n = 0, result = 0;
  std::vector<double> p, x, options, stored_p, stored_info;
  std::array<double, 10> info{};
  test::TracedModel traced;
};

// The points of evaluation show faults that the end of a convergent solve hides: a wrong update,
// renewal, damping or stop rule.
void expectStoredTrace(const Replay& replay) {
  const auto& trace = replay.stored.get_child("trace");
  const auto stable = std::min<std::size_t>(
      replay.stored.get<std::size_t>("stability.stable_calls_1e_6"), trace.size());
  ASSERT_GE(replay.traced.trace.size(), stable);
  auto row = trace.begin();
  for (std::size_t call = 0; call < stable && !testing::Test::HasFailure(); ++call, ++row) {
    const auto at = numbers(row->second.front().second);
    double largest = 0.0;
    for (const double value : at) largest = std::max(largest, std::fabs(value));
    for (std::size_t i = 0; i < at.size(); ++i) {
      expectNear(replay.traced.trace[call][i], at[i], 1e-6 * (std::fabs(at[i]) + 1e-6 * largest),
                 "call " + std::to_string(call) + " parameter " + std::to_string(i));
    }
  }
}

void expectStoredInfo(const Replay& replay) {
  const auto& stored = replay.stored;
  const auto expect_info = [&](std::size_t i, double slack) {
    expectNear(replay.info[i], replay.stored_info[i], slack, "info " + std::to_string(i));
  };
  const auto part = [&](double share, std::size_t i) {
    return share * std::fabs(replay.stored_info[i]);
  };
  expect_info(0, part(1e-9, 0));
  expect_info(1, std::max(part(1e-9, 1), part(1e-17, 0)));
  EXPECT_EQ(replay.traced.calls, stored.get<long>("func_calls") > 0 ? replay.info[7] : 0);
  if (stored.get<bool>("stability.k_exact")) {
    EXPECT_EQ(replay.result, stored.get<int>("return"));
    expect_info(2, part(1e-5, 2));
    expect_info(3, part(1e-5, 3));
    // Damping ratio: unspecified before there was a Jacobian.
    if (replay.stored_info[8] > 0) expect_info(4, part(1e-12, 4));
    for (std::size_t count = 5; count < 10; ++count) expect_info(count, 0);
  } else {
    expect_info(6, 0);
    // The sums of a big problem run in an order of their own, so its count is one more draw.
    const bool is_small = replay.n * replay.m <= 4096;
    EXPECT_GE(replay.result, is_small ? stored.get<int>("stability.k_min") : 15);
    EXPECT_LE(replay.result, is_small ? stored.get<int>("stability.k_max") : 150);
  }
}

// Shapes are compared by what does not depend on the free length of an axis or on the free point
// along it, within the spread that the solution has over builds of linear algebra libraries.
void expectStoredShape(const Replay& replay) {
  const double *p = replay.p.data(), *q = replay.stored_p.data();
  const auto turn = [&](int at) { return Vec(p + at).unit().cross(Vec(q + at).unit()).norm(); };
  if (replay.problem == "plane") {
    EXPECT_LT(turn(0), 1e-11);
    EXPECT_LT(test::gap(p[3] / Vec(p).norm(), q[3] / Vec(q).norm()), 3e-10);
  } else if (replay.problem == "cylinder" || replay.problem == "cone") {
    const bool is_cone = replay.problem == "cone";
    const Vec off = Vec(p) - Vec(q);
    EXPECT_LT(turn(3), is_cone ? 7e-9 : 1e-9);
    EXPECT_LT((is_cone ? off : off.cross(Vec(q + 3).unit())).norm(), is_cone ? 7e-7 : 2e-7);
    EXPECT_NEAR(p[6], q[6], is_cone ? 6e-9 : 3e-8);
  } else {
    for (std::size_t i = 0; i < replay.p.size(); ++i) {
      EXPECT_NEAR(p[i], q[i], std::max(4e-8, 1e-5 * std::fabs(q[i]))) << "parameter " << i;
    }
  }
}

TEST(DampedSolver, DoesWhatIsStored) {
  ZELMO_REQUIRE_REFERENCE_DATA("damped_solver");
  for (const char* name : {"circle_good_20",  "circle_nltm_2",
                           "cone_bad_500",    "cyl_147",
                           "cyl_good_5000",   "cyl_nonunit_100",
                           "if_central",      "if_delta_0_p0",
                           "if_itmax_0_nan",  "if_opts_null_huge_trial",
                           "if_zeroseed_1e4", "if_zeroseed_1e6",
                           "nan_call1",       "nan_fd_all",
                           "nan_fd_last",     "nan_trial1",
                           "osborne2_std",    "plane_good_200",
                           "rosenbrock_far",  "sphere_bad_30"}) {
    SCOPED_TRACE(name);
    Replay replay(name);
    EXPECT_EQ(test::standardOutputOf([&] { replay.run(); }), "");
    expectStoredTrace(replay);
    expectStoredInfo(replay);
    expectStoredShape(replay);
  }
}

// y = a + b t + c t^2 on n points: the answer and its covariance have a closed form.
struct Parabola {
  explicit Parabola(int n) : y(static_cast<std::size_t>(n)) {
    std::mt19937 random(5);
    std::normal_distribution<double> noise(0.0, 0.01);
    for (int i = 0; i < n; ++i) {
      y[static_cast<std::size_t>(i)] = 2 - at(i) + 0.5 * at(i) * at(i) + noise(random);
    }
  }
  double at(int i) const { return 4.0 * i / static_cast<double>(y.size()) - 2.0; }
  static void model(double* p, double* hx, int /*m*/, int n, void* adata) {
    const auto& self = *static_cast<const Parabola*>(adata);
    for (int i = 0; i < n; ++i) {
      const double t = self.at(i);
      hx[i] = p[0] + p[1] * t + p[2] * t * t;
    }
  }
  std::vector<double> y;
};

void expectParabolaOf(int n) {
  Parabola data(n);
  cv::Matx33d a = cv::Matx33d::zeros();
  cv::Vec3d b(0, 0, 0);
  double squares = 0.0;
  for (int i = 0; i < n; ++i) {
    const cv::Vec3d row(1, data.at(i), data.at(i) * data.at(i));
    const double y = data.y[static_cast<std::size_t>(i)];
    a += row * row.t();
    b += row * y;
    squares += y * y;
  }
  const cv::Vec3d expected = a.solve(b, cv::DECOMP_LU);
  double p[3] = {0.5, 0.5, 0.25}, info[10], covar[9];
  EXPECT_GE(dlevmar_dif(Parabola::model, p, data.y.data(), 3, n, 100, nullptr, info, nullptr, covar,
                        &data),
            0);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(p[i], expected[i], 1e-9);
  const double error = squares - b.dot(expected);
  EXPECT_NEAR(info[1], error, 1e-13 * squares);
  const cv::Matx33d covariance = a.inv() * (info[1] / (n - 3));
  for (int i = 0; i < 9; ++i) {
    EXPECT_NEAR(covar[i], covariance.val[i], 1e-4 * std::fabs(covariance.val[0]));
  }
}

// Row counts around the padding, the blocks and the two orders of summation.
TEST(DampedSolver, SolvesAParabolaWithItsCovariance) {
  for (const int n : {7, 8, 341, 342, 1365, 1366, 1536, 1539}) {
    SCOPED_TRACE(n);
    expectParabolaOf(n);
  }
}

TEST(DampedSolver, TouchesNothingWithoutEnoughMeasurements) {
  for (const auto& [m, n] : {std::pair{3, 2}, {3, -1}, {0, 5}}) {
    double p[3] = {9, 8, 7}, info[10] = {-777};
    EXPECT_EQ(dlevmar_dif(nullptr, p, nullptr, m, n, 9, nullptr, info, nullptr, nullptr, nullptr),
              -1);
    EXPECT_EQ(p[0], 9);
    EXPECT_EQ(info[0], -777);
  }
}

}  // namespace
}  // namespace zelmo::internal
