// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/registration/rps_align.h"

#include <array>
#include <limits>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "motions.h"
#include "support/captured_output.h"

namespace xrpsalign {
namespace {

using zelmo::test::Motion;
using zelmo::test::motionOfRigid;
using zelmo::test::offFromRotation;
using zelmo::test::standardOutputOf;
using zelmo::test::turn;

constexpr float kNoNormal[3] = {0, 0, 1};

XRPSPoint rps(const cv::Vec3d& p, int flags) {
  const cv::Vec3f f(p);
  return {f.val, kNoNormal, static_cast<unsigned char>(flags), 0, 0};
}

Motion align(const std::vector<XRPSPoint>& first, const std::vector<XRPSPoint>& second) {
  double rt[16] = {};
  standardOutputOf([&] { EXPECT_EQ(XRPSAlign().alignByRPSPoint(first, second, rt), 0); });
  EXPECT_THAT(std::vector<double>(rt + 12, rt + 16), testing::ElementsAre(0, 0, 0, 1));
  return motionOfRigid(rt);
}

struct FlagCase {
  int flags;
  std::array<double, 3> weight;  // of the point's axes, beside five points of weight 1
};

constexpr double kHard = 1e8 + 1;

const FlagCase kFlags[] = {{0x00, {1, 1, 1}},
                           {0x03, {1, 1, 1}},
                           {0x80, {0, 1, 1}},
                           {0x20, {1, 0, 1}},
                           {0x08, {1, 1, 0}},
                           {0xA0, {0, 0, 1}},
                           {0x28, {1, 0, 0}},
                           {0x88, {0, 1, 0}},
                           {0xA8, {0, 0, 0}},
                           {0xAB, {0, 0, 0}},
                           {0xC0, {0, 1, 1}},
                           {0x30, {1, 0, 1}},
                           {0x0C, {1, 1, 0}},
                           {0x40, {kHard, 1, 1}},
                           {0x10, {1, kHard, 1}},
                           {0x04, {1, 1, kHard}},
                           {0x54, {kHard, kHard, kHard}},
                           {0x60, {kHard, 0, 1}},
                           {0x84, {0, 1, kHard}},
                           {0x18, {1, kHard, 0}},
                           // Three high bits and a low one: z counts all the same.
                           {0xE8, {0, 0, 1}},
                           {0xB8, {0, 0, 1}},
                           {0xAC, {0, 0, 1}},
                           {0xFC, {0, 0, 1}}};

TEST(RpsAlign, EachCodeWeighsTheAxes) {
  // Pairs that start without a turn, so only the translation moves: per axis it becomes the weighted
  // mean of the offsets.
  const cv::Vec3d at[6] = {{10, 0, 0},  {-10, 0, 0}, {0, 10, 0},
                           {0, -10, 0}, {0, 0, 10},  {0, 0, -10}};
  const cv::Vec3d common(0.3, -0.2, 0.5);
  for (const FlagCase& c : kFlags) {
    std::vector<XRPSPoint> first, second;
    for (int i = 0; i < 6; ++i) {
      first.push_back(rps(at[i], 0x54));  // the flags of the moved points play no part
      second.push_back(rps(at[i] + common, 0));
    }
    // A pair at the middle: its offset turns nothing.
    const cv::Vec3d offset(0.7, 0.9, -0.4);
    first.push_back(rps({0, 0, 0}, 0));
    second.push_back(rps(offset, c.flags));
    const Motion found = align(first, second);
    EXPECT_LT(cv::norm(found.r - cv::Matx33d::eye()), 1e-9);
    for (int k = 0; k < 3; ++k) {
      const double w = c.weight[static_cast<std::size_t>(k)];
      const double expected = (6 * common[k] + w * offset[k]) / (6 + w);
      EXPECT_NEAR(found.t[k], expected, 2e-5) << "flags " << c.flags << " axis " << k;
    }
  }
}

using Real = long double;

/// Squared deviations with the weights of one point and axis each, made smallest by Gauss-Newton in
/// long double.
class Oracle {
 public:
  Oracle(const std::vector<cv::Vec3d>& x, const std::vector<cv::Vec3d>& y,
         const std::vector<std::array<double, 3>>& weights)
      : m_x(x), m_y(y), m_weights(weights) {}

  Real value(const Motion& motion) const {
    Real sum = 0;
    for (std::size_t i = 0; i < m_x.size(); ++i) {
      for (int k = 0; k < 3; ++k) {
        Real e = static_cast<Real>(motion.t[k]) - m_y[i][k];
        for (int j = 0; j < 3; ++j) e += static_cast<Real>(motion.r(k, j)) * m_x[i][j];
        sum += m_weights[i][static_cast<std::size_t>(k)] * e * e;
      }
    }
    return sum;
  }

  /// The smallest value near \p start.
  Real smallest(const Motion& start) const {
    Real r[9], t[3];
    for (int k = 0; k < 9; ++k) r[k] = start.r.val[k];
    for (int k = 0; k < 3; ++k) t[k] = start.t[k];
    Real value = 0;
    for (int pass = 0; pass < 60; ++pass) {
      Real a[6][7] = {};
      value = 0;
      for (std::size_t i = 0; i < m_x.size(); ++i) {
        Real q[3];
        for (int k = 0; k < 3; ++k) {
          q[k] = r[3 * k] * m_x[i][0] + r[3 * k + 1] * m_x[i][1] + r[3 * k + 2] * m_x[i][2];
        }
        const Real jacobian[3][6] = {
            {0, q[2], -q[1], 1, 0, 0}, {-q[2], 0, q[0], 0, 1, 0}, {q[1], -q[0], 0, 0, 0, 1}};
        for (int k = 0; k < 3; ++k) {
          const Real w = m_weights[i][static_cast<std::size_t>(k)];
          const Real e = q[k] + t[k] - m_y[i][k];
          value += w * e * e;
          for (int row = 0; row < 6; ++row) {
            for (int col = 0; col < 6; ++col)
              a[row][col] += w * jacobian[k][row] * jacobian[k][col];
            a[row][6] -= w * jacobian[k][row] * e;
          }
        }
      }
      for (int row = 0; row < 6; ++row)
        a[row][row] += 1e-12L * a[row][row] + 1e-13L;  // a free axis stays
      solve(a);
      turnBy(a[0][6], a[1][6], a[2][6], r);
      for (int k = 0; k < 3; ++k) t[k] += a[3 + k][6];
    }
    return value;
  }

 private:
  static void solve(Real (&a)[6][7]) {
    for (int col = 0; col < 6; ++col) {
      int pivot = col;
      for (int row = col + 1; row < 6; ++row) {
        if (std::fabs(a[row][col]) > std::fabs(a[pivot][col])) pivot = row;
      }
      std::swap(a[col], a[pivot]);
      for (int row = 0; row < 6; ++row) {
        if (row == col) continue;
        const Real factor = a[row][col] / a[col][col];
        for (int k = col; k < 7; ++k) a[row][k] -= factor * a[col][k];
      }
    }
    for (int row = 0; row < 6; ++row) a[row][6] /= a[row][row];
  }
  static void turnBy(Real x, Real y, Real z, Real (&r)[9]) {
    const Real angle = std::sqrt(x * x + y * y + z * z);
    if (angle == 0) return;
    const Real u[3] = {x / angle, y / angle, z / angle};
    const Real c = std::cos(angle), s = std::sin(angle);
    const Real m[9] = {u[0] * u[0] * (1 - c) + c,        u[0] * u[1] * (1 - c) - u[2] * s,
                       u[0] * u[2] * (1 - c) + u[1] * s, u[0] * u[1] * (1 - c) + u[2] * s,
                       u[1] * u[1] * (1 - c) + c,        u[1] * u[2] * (1 - c) - u[0] * s,
                       u[0] * u[2] * (1 - c) - u[1] * s, u[1] * u[2] * (1 - c) + u[0] * s,
                       u[2] * u[2] * (1 - c) + c};
    Real out[9];
    for (int row = 0; row < 3; ++row) {
      for (int col = 0; col < 3; ++col) {
        out[3 * row + col] =
            m[3 * row] * r[col] + m[3 * row + 1] * r[3 + col] + m[3 * row + 2] * r[6 + col];
      }
    }
    std::copy(out, out + 9, r);
  }

  std::vector<cv::Vec3d> m_x, m_y;
  std::vector<std::array<double, 3>> m_weights;
};

struct PatternCase {
  const char* name;
  std::array<int, 6> flags;
  double excess;  // the share of the optimum's value by which the descent may stop short
};

// Codes of three points on a face across z, two on one across y, one on one across x. Where few
// locating axes stand against many soft ones the simplex is long and thin and stops a little early.
const PatternCase kPatterns[] = {
    {"ThreeTwoOne", {0x04, 0x04, 0x04, 0x10, 0x10, 0x40}, 0.001},
    {"ThreeTwoOneRestOut", {0xA4, 0xA4, 0xA4, 0x98, 0x98, 0x68}, 0.001},
    {"AllFree", {0, 0, 0, 0, 0, 0}, 0.001},
    {"AllLocating", {0x54, 0x54, 0x54, 0x54, 0x54, 0x54}, 0.001},
    {"OneLocatingPoint", {0x54, 0, 0, 0, 0, 0}, 0.06},
    {"OnlyZLocates", {0x04, 0x04, 0x04, 0, 0, 0}, 0.06},
    {"OnePointOut", {0x04, 0xA8, 0x04, 0x10, 0, 0x40}, 0.06},
};

class RpsPattern : public testing::TestWithParam<PatternCase> {};

TEST_P(RpsPattern, ReachesTheOptimumOfItsWeights) {
  const cv::Vec3d at[6] = {{5, 5, 0},   {80, 8, 0},  {40, 55, 0},
                           {10, 0, 12}, {75, 0, 15}, {0, 30, 10}};
  std::mt19937 random(17);
  std::normal_distribution<double> noise(0, 0.05);
  for (const Motion& motion :
       {Motion{turn(2, 0.3) * turn(1, -0.2) * turn(0, 0.1), {12, -30, 7}},
        Motion{turn(2, -2.0) * turn(1, 0.7) * turn(0, 1.1), {-300, 10, 55}}}) {
    std::vector<XRPSPoint> first, second;
    std::vector<cv::Vec3d> x, y;
    std::vector<std::array<double, 3>> weights;
    for (std::size_t i = 0; i < 6; ++i) {
      const int flags = GetParam().flags[i];
      const cv::Vec3d measured =
          motion.inverse()(at[i] + cv::Vec3d(noise(random), noise(random), noise(random)));
      first.push_back(rps(measured, 0));
      second.push_back(rps(at[i], flags));
      x.emplace_back(first[i].point[0], first[i].point[1], first[i].point[2]);
      y.push_back(at[i]);
      std::array<double, 3> w;
      for (std::size_t k = 0; k < 3; ++k) {
        const int code = (flags >> (6 - 2 * k)) & 3;
        w[k] = (code >= 2 ? 0 : 1) + (code == 1 ? 1e8 : 0);
      }
      weights.push_back(w);
    }
    const Motion found = align(first, second);
    EXPECT_LT(offFromRotation(found.r), 1e-12);
    const Oracle oracle(x, y, weights);
    const Real best = oracle.smallest(found);
    EXPECT_LE(oracle.value(found), best * (1 + GetParam().excess) + 1e-6L)
        << GetParam().name << " best " << best;
  }
}

INSTANTIATE_TEST_SUITE_P(, RpsPattern, testing::ValuesIn(kPatterns),
                         [](const auto& test) { return test.param.name; });

TEST(RpsAlign, PrintsItsNumberOfSteps) {
  std::vector<XRPSPoint> first = {rps({0, 0, 0}, 0), rps({9, 0, 0}, 0), rps({0, 9, 0}, 0)};
  std::vector<XRPSPoint> second = {rps({1, 0, 0}, 0), rps({1, 9, 0}, 0), rps({-8, 0.5, 0}, 0)};
  XRPSAlign align;
  double rt[16];
  const std::string printed = standardOutputOf([&] { align.alignByRPSPoint(first, second, rt); });
  const std::string label = "迭代次数：";
  ASSERT_THAT(printed, testing::StartsWith(label));
  EXPECT_EQ(printed.back(), '\n');
  const int steps = std::stoi(printed.substr(label.size()));
  EXPECT_GT(steps, 20);
  EXPECT_LE(steps, 10000);
  EXPECT_EQ(printed, label + std::to_string(steps) + "\n");
  first[1].point[2] = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(standardOutputOf([&] { align.alignByRPSPoint(first, second, rt); }), label + "0\n");
}

TEST(RpsAlign, EndsWhateverThePoints) {
  const auto identity = align({}, {});
  EXPECT_EQ(cv::norm(identity.r - cv::Matx33d::eye()) + cv::norm(identity.t), 0);
  const std::vector<XRPSPoint> one = {rps({1, 2, 3}, 0x54)};
  const std::vector<XRPSPoint> other = {rps({4, 6, 8}, 0x54)};
  EXPECT_LT(cv::norm(align(one, other)({1, 2, 3}) - cv::Vec3d(4, 6, 8)), 1e-5);
  std::vector<XRPSPoint> box, mirrored, same(4, one[0]), out;
  for (const cv::Vec3d& p : {cv::Vec3d(0, 0, 0), {9, 0, 0}, {0, 8, 0}, {0, 0, 7}}) {
    box.push_back(rps(p, 0x54));
    mirrored.push_back(rps({-p[0], p[1], p[2]}, 0x54));
    out.push_back(rps(p, 0xA8));
  }
  for (const auto& second : {box, mirrored, same, out, one, std::vector<XRPSPoint>{}}) {
    EXPECT_LT(offFromRotation(align(box, second).r), 1e-12);
    EXPECT_LT(offFromRotation(align(second, box).r), 1e-12);
  }
}

TEST(RpsPoint, KeepsWhatItIsGiven) {
  const float p[3] = {1, 2, 3}, n[3] = {4, 5, 6};
  const XRPSPoint point(p, n, 7, 8, 9);
  const XRPSPoint copy = point;
  EXPECT_THAT(copy.point, testing::ElementsAre(1, 2, 3));
  EXPECT_THAT(copy.normal, testing::ElementsAre(4, 5, 6));
  EXPECT_EQ(copy.flagA, 7);
  EXPECT_EQ(copy.flagB, 8);
  EXPECT_EQ(copy.flagC, 9);
}

}  // namespace
}  // namespace xrpsalign
