// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/registration/rigid_transform.h"

#include <limits>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "motions.h"

namespace xrigidtransform {
namespace {

using zelmo::test::Motion;
using zelmo::test::motionOf;
using zelmo::test::offFromRotation;
using zelmo::test::turn;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

std::vector<cv::Point3f> cloud(int count, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> u(-40, 40);
  std::vector<cv::Point3f> points;
  for (int i = 0; i < count; ++i) points.emplace_back(u(random), u(random), u(random));
  return points;
}

std::vector<cv::Point3f> moved(const std::vector<cv::Point3f>& points, const Motion& motion) {
  std::vector<cv::Point3f> out;
  for (const cv::Point3f& p : points) out.push_back(motion.rounded(p));
  return out;
}

double distanceSum(const std::vector<cv::Point3f>& first, const std::vector<cv::Point3f>& second,
                   const Motion& motion) {
  double sum = 0;
  for (std::size_t i = 0; i < first.size(); ++i) {
    const cv::Vec3d y(second[i].x, second[i].y, second[i].z);
    sum += cv::norm(motion({first[i].x, first[i].y, first[i].z}) - y);
  }
  return sum;
}

const Motion kMotions[] = {
    {turn(2, 0.3) * turn(1, -0.2) * turn(0, 0.1), {5, -6, 7}},
    {turn(2, -2.9) * turn(1, 1.2) * turn(0, 2.8), {100, 50, -200}},
    {turn(2, 1.0) * turn(1, -1.5) * turn(0, -0.7), {0, 0, 0}},
    {turn(0, CV_PI / 2), {1, 2, 3}},
};

TEST(RigidTransform, FindsAKnownMotion) {
  for (const Motion& motion : kMotions) {
    for (const int count : {3, 4, 37, 1003}) {
      const auto first = cloud(count, 3);
      const auto second = moved(first, motion);
      XRigidTransform fit;
      double start[6], p[6];
      EXPECT_TRUE(fit.getInitialValue(first, second, start));
      EXPECT_TRUE(fit.getRT(first, second, p));
      for (const double* params : {start, p}) {
        const Motion found = motionOf(params);
        EXPECT_LT(offFromRotation(found.r), 1e-12);
        EXPECT_LT(cv::norm(found.r - motion.r), 1e-5);
        EXPECT_LT(cv::norm(found.t - motion.t), 2e-4);
      }
    }
  }
}

TEST(RigidTransform, StartIsTheMotionOfLeastSquares) {
  // Any small change of the motion makes the squares grow.
  auto first = cloud(64, 5);
  auto second = moved(first, kMotions[0]);
  std::mt19937 random(9);
  std::normal_distribution<float> noise(0, 2);
  for (cv::Point3f& q : second) q += cv::Point3f(noise(random), noise(random), noise(random));
  double p[6];
  XRigidTransform().getInitialValue(first, second, p);
  const auto squares = [&](const double* params) {
    double sum = 0;
    const Motion motion = motionOf(params);
    for (std::size_t i = 0; i < first.size(); ++i) {
      const cv::Vec3d e = motion({first[i].x, first[i].y, first[i].z}) -
                          cv::Vec3d(second[i].x, second[i].y, second[i].z);
      sum += e.dot(e);
    }
    return sum;
  };
  const double best = squares(p);
  for (int k = 0; k < 6; ++k) {
    for (const double sign : {-1.0, 1.0}) {
      double changed[6];
      std::copy_n(p, 6, changed);
      changed[k] += sign * (k < 3 ? 1e-4 : 1e-3);
      EXPECT_GT(squares(changed), best) << k;
    }
  }
}

TEST(RigidTransform, PolishLeavesOutliersAside) {
  // Five wrong partners of 60 pull the least squares away, the sum of distances hardly.
  for (const Motion& motion : kMotions) {
    const auto first = cloud(60, 21);
    auto second = moved(first, motion);
    for (std::size_t i = 0; i < 5; ++i) second[11 * i] += cv::Point3f(30, 20, -25);
    XRigidTransform fit;
    double start[6], p[6];
    fit.getInitialValue(first, second, start);
    fit.getRT(first, second, p);
    EXPECT_GT(cv::norm(motionOf(start).t - motion.t), 0.3);
    const double ideal = distanceSum(first, second, motion);
    EXPECT_LE(distanceSum(first, second, motionOf(p)), ideal * 1.0001);
    EXPECT_LT(cv::norm(motionOf(p).r - motion.r), 1e-3);
    double again[6];
    fit.getRT(first, second, again);
    EXPECT_TRUE(std::equal(p, p + 6, again)) << "an object's history enters";
  }
}

TEST(RigidTransform, IsARotationWhateverThePoints) {
  const std::vector<cv::Point3f> first = {{1, 0, 0}, {0, 2, 0}, {0, 0, 3}, {4, 4, 4}};
  std::vector<cv::Point3f> mirrored, flat, line, same(4, {7, 7, 7}), huge;
  for (const cv::Point3f& p : first) {
    mirrored.emplace_back(-p.x, p.y, p.z);
    flat.emplace_back(p.x, p.y, 0);
    line.emplace_back(p.x, p.x, p.x);
    huge.emplace_back(p.x * 1e30F, p.y * 1e30F, p.z * 1e30F);
  }
  XRigidTransform fit;
  double p[6];
  for (const auto& from : {first, same}) {
    for (const auto& to : {first, mirrored, flat, line, same, huge}) {
      EXPECT_TRUE(fit.getInitialValue(from, to, p));
      EXPECT_LT(offFromRotation(motionOf(p).r), 1e-12);
      EXPECT_TRUE(fit.getRT(from, to, p));
      EXPECT_LT(offFromRotation(motionOf(p).r), 1e-12);
    }
  }
  fit.getRT(first, first, p);
  for (const double v : p) EXPECT_NEAR(v, 0, 1e-6);
}

TEST(RigidTransform, AStartWithoutATurnIsPolishedByTranslationsOnly) {
  // Symmetric points with one partner off along its own direction: no turn in the start. The sum of
  // distances would still fall with the translation towards the six good pairs.
  std::vector<cv::Point3f> first = {{10, 0, 0},  {-10, 0, 0}, {0, 10, 0},
                                    {0, -10, 0}, {0, 0, 10},  {0, 0, -10}};
  auto second = first;
  second[4].z += 6;
  double start[6], p[6];
  XRigidTransform fit;
  fit.getInitialValue(first, second, start);
  fit.getRT(first, second, p);
  EXPECT_NEAR(start[5], 1, 1e-6);
  EXPECT_NEAR(p[5], 0, 1e-6);
  for (int k = 0; k < 3; ++k) EXPECT_EQ(p[k], start[k]);
}

TEST(RigidTransform, ListsOfDifferentLengthMispair) {
  const auto first = cloud(8, 2);
  const auto second = moved(first, kMotions[0]);
  XRigidTransform fit;
  double whole[6], p[6];
  fit.getInitialValue(first, second, whole);
  auto longer = second;
  longer.resize(13, {999, 999, 999});
  EXPECT_TRUE(fit.getInitialValue(first, longer, p));
  EXPECT_THAT(p, testing::ElementsAreArray(whole));
  // The descent pairs points 0 to 9 of the joint list with 10 to 19: it leaves the start.
  EXPECT_TRUE(fit.getRT(first, longer, p));
  EXPECT_GT(cv::norm(motionOf(p).t - motionOf(whole).t), 1);
}

TEST(RigidTransform, EmptyListsAndBadNumbers) {
  const auto first = cloud(4, 2);
  XRigidTransform fit;
  double p[6] = {1, 1, 1, 1, 1, 1};
  EXPECT_FALSE(fit.getInitialValue({}, first, p));
  EXPECT_THAT(p, testing::Each(0));
  EXPECT_TRUE(fit.getRT({}, {}, p));
  EXPECT_THAT(p, testing::Each(0));
  EXPECT_TRUE(fit.getRT({{1, 2, 3}}, {{4, 6, 8}}, p));
  EXPECT_NEAR(cv::norm(motionOf(p)(cv::Vec3d(1, 2, 3)) - cv::Vec3d(4, 6, 8)), 0, 1e-5);
  for (const float bad : {kNaN, std::numeric_limits<float>::infinity()}) {
    auto spoilt = first;
    spoilt[2].y = bad;
    EXPECT_TRUE(fit.getRT(first, spoilt, p));
    EXPECT_LT(offFromRotation(motionOf(p).r), 1e-12);
    EXPECT_TRUE(fit.getRT(spoilt, first, p));
    // The object is as good as new.
    EXPECT_TRUE(fit.getRT(first, moved(first, kMotions[0]), p));
    EXPECT_LT(cv::norm(motionOf(p).t - kMotions[0].t), 1e-4);
  }
}

}  // namespace
}  // namespace xrigidtransform
