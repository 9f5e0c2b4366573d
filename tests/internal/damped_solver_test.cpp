// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/damped_solver.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <boost/property_tree/json_parser.hpp>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include "support/captured_output.h"
#include "support/reference_data.h"
#include "support/solver_models.h"

namespace zelmo::internal {
namespace {

using boost::property_tree::ptree;

constexpr double kUnset = -777;

double number(const ptree& node) { return std::strtod(node.data().c_str(), nullptr); }
double number(const ptree& node, const char* path) { return number(node.get_child(path)); }

std::vector<double> numbers(const ptree& node) {
  std::vector<double> values;
  for (const auto& entry : node) values.push_back(number(entry.second));
  return values;
}

bool sameOrBothNaN(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

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
    traced.model = test::solverModel(stored.get<std::string>("problem"));
    if (const auto& fault = stored.get_child("fault"); !fault.empty()) {
      traced.first_fault = fault.get<long>("first_call");
      traced.last_fault = fault.get<long>("last_call");
      traced.fault_value = number(fault, "value");
      traced.fault_entries = fault.get<int>("entries");
    }
  }

  void run() {
    info.fill(kUnset);
    result = dlevmar_dif(test::TracedModel::call, p.data(), x.empty() ? nullptr : x.data(), m, n,
                         stored.get<int>("itmax"), options.empty() ? nullptr : options.data(),
                         info.data(), nullptr, nullptr, &traced);
  }

  ptree stored;
  int m = 0, n = 0, result = 0;
  std::vector<double> p, x, options, stored_p, stored_info;
  std::array<double, 10> info{};
  test::TracedModel traced;
};

class DampedSolverReplay : public testing::TestWithParam<const char*> {};

// The points of evaluation show faults that the end of a convergent solve hides: a wrong update,
// renewal, damping or stop rule.
void expectStoredTrace(const Replay& replay) {
  const auto& trace = replay.stored.get_child("trace");
  const auto stable = std::min<std::size_t>(
      replay.stored.get<std::size_t>("stability.stable_calls_1e_6"), trace.size());
  ASSERT_GE(replay.traced.trace.size(), stable);
  auto row = trace.begin();
  for (std::size_t call = 0; call < stable; ++call, ++row) {
    const auto at = numbers(row->second.front().second);
    double largest = 0.0;
    for (const double value : at) largest = std::max(largest, std::fabs(value));
    for (std::size_t i = 0; i < at.size(); ++i) {
      const double ours = replay.traced.trace[call][i];
      if (sameOrBothNaN(ours, at[i])) continue;
      ASSERT_NEAR(ours, at[i], 1e-6 * (std::fabs(at[i]) + 1e-6 * largest))
          << "call " << call << " parameter " << i;
    }
  }
}

void expectStoredCounts(const Replay& replay) {
  EXPECT_EQ(replay.result, replay.stored.get<int>("return"));
  // Damping ratio: unspecified before there was a Jacobian.
  const bool has_ratio = replay.stored_info[8] > 0;
  for (const std::size_t i : {2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u}) {
    if (i == 4 && !has_ratio) continue;
    const double stored = replay.stored_info[i];
    if (sameOrBothNaN(replay.info[i], stored)) continue;
    const bool is_count = i >= 5;
    const double slack = is_count ? 0.0
                         : i == 4 ? 1e-12 * std::fabs(stored)
                                  : 1e-5 * std::fabs(stored);
    EXPECT_NEAR(replay.info[i], stored, slack) << "info " << i;
  }
}

cv::Vec3d unitAt(const std::vector<double>& p, std::size_t at) {
  const cv::Vec3d v(p[at], p[at + 1], p[at + 2]);
  return v / cv::norm(v);
}

double angleBetween(const cv::Vec3d& a, const cv::Vec3d& b) { return cv::norm(a.cross(b)); }

// Shapes are compared by what does not depend on the free length of an axis or on the free point
// along it, within the spread that the solution has over builds of linear algebra libraries.
void expectStoredShape(const Replay& replay) {
  const auto& p = replay.p;
  const auto& q = replay.stored_p;
  const auto problem = replay.stored.get<std::string>("problem");
  if (problem == "plane") {
    const double length = cv::norm(cv::Vec3d(p[0], p[1], p[2]));
    const double stored_length = cv::norm(cv::Vec3d(q[0], q[1], q[2]));
    EXPECT_LT(angleBetween(unitAt(p, 0), unitAt(q, 0)), 1e-11);
    EXPECT_NEAR(p[3] / length, q[3] / stored_length, 3e-10);
  } else if (problem == "cylinder" || problem == "cone") {
    const bool is_cone = problem == "cone";
    const cv::Vec3d off(p[0] - q[0], p[1] - q[1], p[2] - q[2]);
    const double apart = is_cone ? cv::norm(off) : cv::norm(off.cross(unitAt(q, 3)));
    EXPECT_LT(angleBetween(unitAt(p, 3), unitAt(q, 3)), is_cone ? 7e-9 : 1e-9);
    EXPECT_LT(apart, is_cone ? 7e-7 : 2e-7);
    EXPECT_NEAR(p[6], q[6], is_cone ? 6e-9 : 3e-8);
  } else {
    for (std::size_t i = 0; i < p.size(); ++i) {
      EXPECT_NEAR(p[i], q[i], std::max(4e-8, 1e-5 * std::fabs(q[i]))) << "parameter " << i;
    }
  }
}

TEST_P(DampedSolverReplay, DoesWhatIsStored) {
  ZELMO_REQUIRE_REFERENCE_DATA("damped_solver");
  Replay replay(GetParam());
  EXPECT_EQ(test::standardOutputOf([&] { replay.run(); }), "");
  EXPECT_EQ(replay.traced.calls, replay.stored.get<long>("func_calls") > 0 ? replay.info[7] : 0);

  expectStoredTrace(replay);
  expectStoredShape(replay);
  if (replay.stored.get<bool>("stability.k_exact")) {
    expectStoredCounts(replay);
  } else {
    EXPECT_EQ(replay.info[6], replay.stored_info[6]);
    // The sums of a big problem run in an order of their own, so its count is one more draw.
    const bool is_small = replay.n * replay.m <= 4096;
    EXPECT_GE(replay.result, is_small ? replay.stored.get<int>("stability.k_min") : 15);
    EXPECT_LE(replay.result, is_small ? replay.stored.get<int>("stability.k_max") : 150);
  }
  for (const std::size_t i : {0u, 1u}) {
    if (sameOrBothNaN(replay.info[i], replay.stored_info[i])) continue;
    const double at_rounding = 1e-11 * std::fabs(replay.stored_info[0]) * (i == 1 ? 1e-6 : 1.0);
    EXPECT_NEAR(replay.info[i], replay.stored_info[i],
                std::max(1e-9 * std::fabs(replay.stored_info[i]), at_rounding));
  }
}

INSTANTIATE_TEST_SUITE_P(Stored, DampedSolverReplay,
                         testing::Values("circle_good_20", "circle_nltm_2", "cone_bad_500",
                                         "cyl_147", "cyl_good_5000", "cyl_nonunit_100",
                                         "if_central", "if_delta_0_p0", "if_itmax_0_nan",
                                         "if_opts_null_huge_trial", "if_zeroseed_1e4",
                                         "if_zeroseed_1e6", "nan_call1", "nan_fd_all",
                                         "nan_fd_last", "nan_trial1", "osborne2_std",
                                         "plane_good_200", "rosenbrock_far", "sphere_bad_30"),
                         [](const auto& param) { return std::string(param.param); });

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

// Row counts around the padding, the blocks and the two orders of summation.
class DampedSolverRows : public testing::TestWithParam<int> {};

TEST_P(DampedSolverRows, SolvesAParabolaWithItsCovariance) {
  const int n = GetParam();
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

INSTANTIATE_TEST_SUITE_P(Count, DampedSolverRows,
                         testing::Values(7, 8, 9, 341, 342, 1365, 1366, 1536, 1539, 2003));

TEST(DampedSolver, TouchesNothingWithoutEnoughMeasurements) {
  Parabola data(7);
  for (const auto& [m, n] : {std::pair{3, 2}, {3, 0}, {3, -1}, {0, 5}, {-1, 5}}) {
    double p[3] = {9, 8, 7};
    double info[10] = {kUnset};
    EXPECT_EQ(
        dlevmar_dif(Parabola::model, p, nullptr, m, n, 100, nullptr, info, nullptr, nullptr, &data),
        -1);
    EXPECT_EQ(p[0], 9);
    EXPECT_EQ(info[0], kUnset);
  }
}

// Two parameters that do the same leave J^T J singular: the damping makes it solvable, and the
// covariance is that of the pseudoinverse, which shares between them.
TEST(DampedSolver, CarriesTwoParametersThatDoTheSame) {
  Parabola data(50);
  const auto twice = [](double* p, double* hx, int /*m*/, int n, void* adata) {
    double q[3] = {p[0] + p[3], p[1], p[2]};
    Parabola::model(q, hx, 3, n, adata);
  };
  double p[4] = {0.5, 0.5, 0.25, 0.75}, q[3] = {1.25, 0.5, 0.25}, covar[16], single[9];
  EXPECT_GE(
      dlevmar_dif(twice, p, data.y.data(), 4, 50, 100, nullptr, nullptr, nullptr, covar, &data), 0);
  dlevmar_dif(Parabola::model, q, data.y.data(), 3, 50, 100, nullptr, nullptr, nullptr, single,
              &data);
  EXPECT_NEAR(p[0] + p[3], q[0], 1e-9);
  EXPECT_NEAR(p[3] - p[0], 0.25, 1e-6);
  for (const std::size_t i : {0U, 3U, 12U, 15U}) {
    EXPECT_NEAR(covar[i], single[0] / 4, 1e-4 * single[0]);
  }
}

}  // namespace
}  // namespace zelmo::internal
