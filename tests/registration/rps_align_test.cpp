// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/registration/rps_align.h"

#include <array>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "motions.h"
#include "support/captured_output.h"
#include "support/least_squares.h"

namespace xrpsalign {
namespace {

using namespace zelmo::test;  // NOLINT(google-build-using-namespace): the helpers of all tests
using Points = std::vector<XRPSPoint>;

Motion align(const Points& first, const Points& second, std::string* printed = nullptr) {
  double rt[16] = {};
  const std::string text =
      standardOutputOf([&] { EXPECT_EQ(XRPSAlign().alignByRPSPoint(first, second, rt), 0); });
  if (printed != nullptr) *printed = text;
  EXPECT_THAT(std::vector<double>(rt + 12, rt + 16), testing::ElementsAre(0, 0, 0, 1));
  return motionOfRigid(rt);
}

const cv::Vec3d kAxisTips[6] = {{10, 0, 0},  {-10, 0, 0}, {0, 10, 0},
                                {0, -10, 0}, {0, 0, 10},  {0, 0, -10}};

TEST(RpsAlign, EachCodeWeighsTheAxes) {
  // Pairs that start without a turn, so only the translation moves: per axis it becomes the weighted
  // mean of the offsets, the seventh pair standing in the middle, where its offset turns nothing.
  const cv::Vec3d common(0.3, -0.2, 0.5), offset(0.7, 0.9, -0.4);
  constexpr int kHard = 100000001;
  // The flags and the weights of x, y and z. With three high bits and a low one z counts all the same.
  const int rows[][4] = {
      {0x00, 1, 1, 1},     {0x03, 1, 1, 1},     {0x80, 0, 1, 1},     {0x20, 1, 0, 1},
      {0x08, 1, 1, 0},     {0xA0, 0, 0, 1},     {0x28, 1, 0, 0},     {0x88, 0, 1, 0},
      {0xA8, 0, 0, 0},     {0xAB, 0, 0, 0},     {0xC0, 0, 1, 1},     {0x30, 1, 0, 1},
      {0x0C, 1, 1, 0},     {0xE8, 0, 0, 1},     {0xB8, 0, 0, 1},     {0xAC, 0, 0, 1},
      {0xFC, 0, 0, 1},     {0x40, kHard, 1, 1}, {0x10, 1, kHard, 1}, {0x04, 1, 1, kHard},
      {0x60, kHard, 0, 1}, {0x84, 0, 1, kHard}, {0x18, 1, kHard, 0}};
  for (const auto& [flags, wx, wy, wz] : rows) {
    const cv::Vec3d weights(wx, wy, wz);
    Points first = {rps({0, 0, 0}, 0)}, second = {rps(offset, flags)};
    for (const cv::Vec3d& at : kAxisTips) {
      first.push_back(rps(at, 0x54));  // the flags of the moved points play no part
      second.push_back(rps(at + common, 0));
    }
    const Motion found = align(first, second);
    EXPECT_LT(cv::norm(found.r - cv::Matx33d::eye()), 1e-9);
    const cv::Vec3d sums = 6 * common + weights.mul(offset);
    for (int k = 0; k < 3; ++k) {
      EXPECT_NEAR(found.t[k], sums[k] / (6 + weights[k]), 2e-5)
          << "flags " << flags << " axis " << k;
    }
  }
}

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

void checkPattern(const PatternCase& c) {
  const cv::Vec3d at[6] = {{5, 5, 0},   {80, 8, 0},  {40, 55, 0},
                           {10, 0, 12}, {75, 0, 15}, {0, 30, 10}};
  std::mt19937 random(17);
  std::normal_distribution<double> noise(0, 0.05);
  for (const Motion& motion :
       {Motion{turn(2, 0.3) * turn(1, -0.2) * turn(0, 0.1), {12, -30, 7}},
        Motion{turn(2, -2.0) * turn(1, 0.7) * turn(0, 1.1), {-300, 10, 55}}}) {
    Points first, second;
    for (std::size_t i = 0; i < 6; ++i) {
      const cv::Vec3d measured(at[i] + cv::Vec3d(noise(random), noise(random), noise(random)));
      first.push_back(rps(motion.inverse()(measured), 0));
      second.push_back(rps(at[i], c.flags[i]));
    }
    const Motion found = align(first, second);
    EXPECT_LT(offFromRotation(found.r), 1e-12);
    // Weighted deviations after three small turns and a shift more, solved in long double.
    const auto residual = [&](const std::vector<Real>& p, int i) {
      const auto pair = static_cast<std::size_t>(i / 3), axis = static_cast<std::size_t>(i % 3);
      Real q[3];
      for (int k = 0; k < 3; ++k) {
        q[k] = found.t[k];
        for (int j = 0; j < 3; ++j) q[k] += static_cast<Real>(found.r(k, j)) * first[pair].point[j];
      }
      for (std::size_t k = 0; k < 3; ++k) {
        const Real cosine = std::cos(p[k]), sine = std::sin(p[k]);
        const Real u = q[(k + 1) % 3], v = q[(k + 2) % 3];
        q[(k + 1) % 3] = cosine * u - sine * v;
        q[(k + 2) % 3] = sine * u + cosine * v;
      }
      const int code = (second[pair].flagA >> (6 - 2 * axis)) & 3;
      const Real weight = (code >= 2 ? 0 : 1) + (code == 1 ? 1e8L : 0);
      return std::sqrt(weight) * (q[axis] + p[3 + axis] - second[pair].point[axis]);
    };
    const auto value = [&](const std::vector<Real>& p) {
      Real sum = 0;
      for (int i = 0; i < 18; ++i) sum += residual(p, i) * residual(p, i);
      return sum;
    };
    const std::vector<Real> none(6, 0);
    EXPECT_LE(value(none), value(leastSquares(none, 18, residual)) * (1 + c.excess) + 1e-6L);
  }
}

TEST(RpsAlign, ReachesTheOptimumOfEachPattern) {
  for (const PatternCase& c : kPatterns) {
    SCOPED_TRACE(c.name);
    checkPattern(c);
  }
}

TEST(RpsAlign, PrintsItsNumberOfSteps) {
  Points first = {rps({0, 0, 0}, 0), rps({9, 0, 0}, 0), rps({0, 9, 0}, 0)};
  const Points second = {rps({1, 0, 0}, 0), rps({1, 9, 0}, 0), rps({-8, 0.5, 0}, 0)};
  const std::string label = "迭代次数：";
  std::string printed;
  align(first, second, &printed);
  ASSERT_THAT(printed, testing::StartsWith(label));
  const int steps = std::stoi(printed.substr(label.size()));
  EXPECT_GT(steps, 20);
  EXPECT_LE(steps, 10000);
  EXPECT_EQ(printed, label + std::to_string(steps) + "\n");
  first[1].point[2] = kNaN;
  align(first, second, &printed);
  EXPECT_EQ(printed, label + "0\n");
  EXPECT_EQ(gap(align({}, {}, &printed), {cv::Matx33d::eye(), {}}), 0);
  EXPECT_EQ(printed, label + "0\n");
}

TEST(RpsAlign, EndsWhateverThePoints) {
  const Points one = {rps({1, 2, 3}, 0x54)}, other = {rps({4, 6, 8}, 0x54)};
  EXPECT_LT(cv::norm(align(one, other)({1, 2, 3}) - cv::Vec3d(4, 6, 8)), 1e-5);
  Points box, mirrored, same(4, one[0]), out;
  for (const cv::Vec3d& p : {cv::Vec3d(0, 0, 0), {9, 0, 0}, {0, 8, 0}, {0, 0, 7}}) {
    box.push_back(rps(p, 0x54));
    mirrored.push_back(rps({-p[0], p[1], p[2]}, 0x54));
    out.push_back(rps(p, 0xA8));
  }
  for (const Points& second : {box, mirrored, same, out, one, Points{}}) {
    EXPECT_LT(offFromRotation(align(box, second).r), 1e-12);
    EXPECT_LT(offFromRotation(align(second, box).r), 1e-12);
  }
  // The descent pairs the halves of both lists put together: the start, which is exact, is left.
  Points longer = box;
  longer.resize(7, one[0]);
  EXPECT_GT(gap(align(box, longer), {cv::Matx33d::eye(), {}}), 0.1);
}

}  // namespace
}  // namespace xrpsalign
