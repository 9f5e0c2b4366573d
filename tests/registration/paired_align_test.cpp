// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// The alignments of paired points: XRigidTransform and XRPSAlign.
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "motions.h"
#include "support/captured_output.h"
#include "zelmo/registration/rigid_transform.h"

namespace zelmo::test {
namespace {

using xrigidtransform::XRigidTransform;
using xrpsalign::XRPSAlign;
using Points = std::vector<cv::Point3f>;
using RpsPoints = std::vector<xrpsalign::XRPSPoint>;
using Params = std::array<double, 6>;

cv::Vec3d wide(const cv::Point3f& p) { return {p.x, p.y, p.z}; }

Points cloud(int count, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> u(-40, 40);
  Points points;
  for (int i = 0; i < count; ++i) {
    const float x = u(random), y = u(random);
    points.emplace_back(x, y, u(random));
  }
  return points;
}

Points moved(Points points, const Motion& motion) {
  for (cv::Point3f& p : points) p = cv::Point3f(cv::Vec3f(motion(wide(p))));
  return points;
}

Motion start(const Points& first, const Points& second) {
  Params p = {};
  EXPECT_TRUE(XRigidTransform().getInitialValue(first, second, p.data()));
  return motionOf(p.data());
}
Motion polished(const Points& first, const Points& second) {
  Params p = {};
  EXPECT_TRUE(XRigidTransform().getRT(first, second, p.data()));
  return motionOf(p.data());
}
Motion aligned(const RpsPoints& first, const RpsPoints& second, std::string* printed = nullptr) {
  double rt[16] = {};
  const std::string text =
      standardOutputOf([&] { EXPECT_EQ(XRPSAlign().alignByRPSPoint(first, second, rt), 0); });
  if (printed != nullptr) *printed = text;
  EXPECT_THAT(std::vector<double>(rt + 12, rt + 16), testing::ElementsAre(0, 0, 0, 1));
  return motionOfRigid(rt);
}
Motion alignedFreely(const Points& first, const Points& second) {
  RpsPoints a, b;
  for (const cv::Point3f& p : first) a.push_back(rps(wide(p), 0x54));
  for (const cv::Point3f& p : second) b.push_back(rps(wide(p), 0));
  return aligned(a, b);
}
constexpr Motion (*kFits[])(const Points&, const Points&) = {start, polished, alignedFreely};

const Motion kMotions[] = {
    {turn(2, 0.3) * turn(1, -0.2) * turn(0, 0.1), {5, -6, 7}},
    {turn(2, -2.9) * turn(1, 1.2) * turn(0, 2.8), {100, 50, -200}},
    {turn(2, 1.0) * turn(1, -1.5) * turn(0, -0.7), {0, 0, 0}},
    {turn(0, CV_PI / 2), {1, 2, 3}},
};
const Motion kNone = {cv::Matx33d::eye(), {}};

/// The sum of the distances, or of their squares.
double misfit(const Points& first, const Points& second, const Motion& motion, double power) {
  double sum = 0;
  for (std::size_t i = 0; i < first.size(); ++i) {
    sum += std::pow(cv::norm(motion(wide(first[i])) - wide(second[i])), power);
  }
  return sum;
}

TEST(PairedAlign, FindsAKnownMotion) {
  for (const Motion& motion : kMotions) {
    for (const int count : {3, 4, 1003}) {
      const Points first = cloud(count, 3), second = moved(first, motion);
      for (const auto fit : kFits) EXPECT_LT(gap(fit(first, second), motion), 2e-4) << count;
    }
  }
}

TEST(PairedAlign, MispairsListsOfDifferentLength) {
  // The start takes the first pairs. A descent pairs the halves of the joint list: it leaves the start.
  const Points first = cloud(8, 2), second = moved(first, kMotions[0]);
  Points longer = second;
  longer.resize(13, {999, 999, 999});
  EXPECT_EQ(gap(start(first, longer), start(first, second)), 0);
  EXPECT_GT(gap(polished(first, longer), kMotions[0]), 1);
  EXPECT_GT(gap(alignedFreely(first, longer), kMotions[0]), 1);
}

TEST(PairedAlign, EndsWhateverThePoints) {
  const Points first = {{1, 0, 0}, {0, 2, 0}, {0, 0, 3}, {4, 4, 4}}, same(4, {7, 7, 7});
  Points line, huge, spoilt = first;
  spoilt[2].y = kNaN;
  for (const cv::Point3f& p : first) {
    line.emplace_back(p.x, p.x, p.x);
    huge.push_back(p * 1e30F);
  }
  for (const auto fit : kFits) {
    for (const Points& from : {first, same, spoilt}) {
      for (const Points& to : {first, line, same, huge, spoilt}) {
        EXPECT_LT(offFromRotation(fit(from, to).r), 1e-12);
      }
    }
    EXPECT_LT(gap(fit(first, first), kNone), 1e-5);
    EXPECT_LT(cv::norm(fit({{1, 2, 3}}, {{4, 6, 8}})({1, 2, 3}) - cv::Vec3d(4, 6, 8)), 1e-5);
  }
}

TEST(RigidTransform, StartIsTheMotionOfLeastSquares) {
  // A mirrored list gets the best rotation. 257 pairs are one more than are taken at a time, and the
  // last one weighs.
  std::mt19937 random(9);
  std::normal_distribution<float> noise(0, 2);
  for (const float mirror : {1.0F, -1.0F}) {
    Points first = cloud(257, 5), second = moved(first, kMotions[0]);
    second.back() += cv::Point3f(900, -700, 800);
    for (cv::Point3f& q : second) q += cv::Point3f(noise(random), noise(random), noise(random));
    for (cv::Point3f& q : first) q.x *= mirror;
    const Motion found = start(first, second);
    for (int k = 0; k < 12; ++k) {  // any small change makes it worse
      Motion change = {k < 6 ? turn(k / 2, k % 2 == 0 ? 1e-3 : -1e-3) : cv::Matx33d::eye(), {}};
      if (k >= 6) change.t[k / 2 - 3] = k % 2 == 0 ? 1e-2 : -1e-2;
      EXPECT_GT(misfit(first, second, change.after(found), 2), misfit(first, second, found, 2))
          << k;
    }
  }
}

TEST(RigidTransform, PolishLeavesOutliersAside) {
  // Five wrong partners of 60 pull the least squares away, the sum of distances hardly.
  XRigidTransform used;
  for (const Motion& motion : kMotions) {
    const Points first = cloud(60, 21);
    Points second = moved(first, motion);
    for (std::size_t i = 0; i < 5; ++i) second[11 * i] += cv::Point3f(30, 20, -25);
    const Motion found = polished(first, second);
    EXPECT_GT(cv::norm(start(first, second).t - motion.t), 0.3);
    EXPECT_LE(misfit(first, second, found, 1), misfit(first, second, motion, 1) * 1.0001);
    EXPECT_LT(cv::norm(found.r - motion.r), 1e-3);
    Params again;
    used.getRT(first, second, again.data());
    EXPECT_EQ(gap(motionOf(again.data()), found), 0) << "an object's history enters";
  }
}

TEST(RigidTransform, AStartWithoutATurnIsPolishedByTranslationsOnly) {
  // Symmetric points with one partner off along its own direction: no turn in the start. The sum of
  // distances would still fall with the translation towards the five good pairs.
  const Points first = {{10, 0, 0}, {-10, 0, 0}, {0, 10, 0}, {0, -10, 0}, {0, 0, 10}, {0, 0, -10}};
  Points second = first;
  second[4].z += 6;
  const Motion before = start(first, second), after = polished(first, second);
  EXPECT_NEAR(before.t[2], 1, 1e-6);
  EXPECT_NEAR(after.t[2], 0, 1e-6);
  EXPECT_EQ(before.r, after.r);
}

TEST(RigidTransform, AnswersWithoutPoints) {
  Params p = {1, 1, 1, 1, 1, 1};
  EXPECT_FALSE(XRigidTransform().getInitialValue({}, cloud(4, 1), p.data()));
  EXPECT_THAT(p, testing::Each(0));
  EXPECT_EQ(gap(polished({}, {}), kNone), 0);
}

TEST(RpsAlign, EachCodeWeighsTheAxes) {
  // Pairs that start without a turn, so only the translation moves: per axis it becomes the weighted
  // mean of the offsets, the seventh pair standing in the middle, where its offset turns nothing.
  const cv::Vec3d common(0.3, -0.2, 0.5), offset(0.7, 0.9, -0.4);
  constexpr int kHard = 100000001;
  // The flags and the weights of x, y and z. With three high bits and a low one z counts all the same.
  const int rows[][4] = {{0x03, 1, 1, 1},     {0x80, 0, 1, 1},    {0x28, 1, 0, 0},
                         {0xA8, 0, 0, 0},     {0xAB, 0, 0, 0},    {0xC0, 0, 1, 1},
                         {0x30, 1, 0, 1},     {0xE8, 0, 0, 1},    {0xB8, 0, 0, 1},
                         {0xAC, 0, 0, 1},     {0xFC, 0, 0, 1},    {0x40, kHard, 1, 1},
                         {0x18, 1, kHard, 0}, {0x84, 0, 1, kHard}};
  for (const auto& [flags, wx, wy, wz] : rows) {
    const cv::Vec3d weights(wx, wy, wz);
    RpsPoints first = {rps({0, 0, 0}, 0)}, second = {rps(offset, flags)};
    for (int i = 0; i < 6; ++i) {
      cv::Vec3d tip;
      tip[i / 2] = i % 2 == 0 ? 10 : -10;
      first.push_back(rps(tip, 0x54));  // the flags of the moved points play no part
      second.push_back(rps(tip + common, 0));
    }
    const Motion found = aligned(first, second);
    EXPECT_LT(cv::norm(found.r - cv::Matx33d::eye()), 1e-9);
    const cv::Vec3d sums = 6 * common + weights.mul(offset);
    for (int k = 0; k < 3; ++k) {
      EXPECT_NEAR(found.t[k], sums[k] / (6 + weights[k]), 2e-5) << flags << " axis " << k;
    }
  }
}

TEST(RpsAlign, PrintsItsNumberOfSteps) {
  RpsPoints first = {rps({0, 0, 0}, 0), rps({9, 0, 0}, 0), rps({0, 9, 0}, 0)};
  const RpsPoints second = {rps({1, 0, 0}, 0), rps({1, 9, 0}, 0), rps({-8, 0.5, 0}, 0)};
  const std::string label = "迭代次数：";
  std::string printed;
  aligned(first, second, &printed);
  ASSERT_THAT(printed, testing::StartsWith(label));
  const int steps = std::stoi(printed.substr(label.size()));
  EXPECT_GT(steps, 20);
  EXPECT_LE(steps, 10000);
  EXPECT_EQ(printed, label + std::to_string(steps) + "\n");
  first[1].point[2] = kNaN;
  aligned(first, second, &printed);
  EXPECT_EQ(printed, label + "0\n");
  EXPECT_EQ(gap(aligned({}, {}), kNone), 0);
}

}  // namespace
}  // namespace zelmo::test
