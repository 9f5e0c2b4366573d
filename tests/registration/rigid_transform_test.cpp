// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/registration/rigid_transform.h"

#include <numeric>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "motions.h"

namespace xrigidtransform {
namespace {

using namespace zelmo::test;  // NOLINT(google-build-using-namespace): the helpers of all tests
using Points = std::vector<cv::Point3f>;
using Params = std::array<double, 6>;

cv::Vec3d wide(const cv::Point3f& p) { return {p.x, p.y, p.z}; }
cv::Point3f narrow(const cv::Vec3d& p) { return cv::Point3f(cv::Vec3f(p)); }

Points cloud(int count, unsigned seed, float at = 0, float depth = 40) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> u(-40, 40);
  Points points;
  for (int i = 0; i < count; ++i) {
    const float x = at + u(random), y = at + u(random);
    points.emplace_back(x, y, u(random) * depth / 40);
  }
  return points;
}

Points moved(Points points, const Motion& motion) {
  for (cv::Point3f& p : points) p = narrow(motion(wide(p)));
  return points;
}

Params start(const Points& first, const Points& second) {
  Params p = {};
  EXPECT_TRUE(XRigidTransform().getInitialValue(first, second, p.data()));
  return p;
}
Params polished(const Points& first, const Points& second) {
  Params p = {};
  EXPECT_TRUE(XRigidTransform().getRT(first, second, p.data()));
  return p;
}

/// The sum of the distances, or of their squares.
double misfit(const Points& first, const Points& second, const Motion& motion, double power) {
  double sum = 0;
  for (std::size_t i = 0; i < first.size(); ++i) {
    sum += std::pow(cv::norm(motion(wide(first[i])) - wide(second[i])), power);
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
      const Points first = cloud(count, 3), second = moved(first, motion);
      EXPECT_LT(gap(motionOf(start(first, second).data()), motion), 2e-4);
      EXPECT_LT(gap(motionOf(polished(first, second).data()), motion), 2e-4);
    }
  }
}

TEST(RigidTransform, StartIsTheMotionOfLeastSquares) {
  // Any small change makes the squares grow; a mirrored list gets the best rotation. 257 pairs are
  // one more than are taken at a time, and the last one weighs.
  std::mt19937 random(9);
  std::normal_distribution<float> noise(0, 2);
  for (const float mirror : {1.0F, -1.0F}) {
    Points first = cloud(257, 5), second = moved(first, kMotions[0]);
    second.back() += cv::Point3f(900, -700, 800);
    for (cv::Point3f& q : second) q += cv::Point3f(noise(random), noise(random), noise(random));
    for (cv::Point3f& q : first) q.x *= mirror;
    const Params p = start(first, second);
    const double best = misfit(first, second, motionOf(p.data()), 2);
    for (std::size_t k = 0; k < 6; ++k) {
      for (const double change : {-1.0, 1.0}) {
        Params changed = p;
        changed[k] += change * (k < 3 ? 1e-3 : 1e-2);
        EXPECT_GT(misfit(first, second, motionOf(changed.data()), 2), best) << k;
      }
    }
  }
}

TEST(RigidTransform, MeansAreSummedInFloat) {
  const Points first = cloud(1003, 3, 5000), second = moved(first, kMotions[0]);
  const auto mean = [](const Points& points) {
    return wide(std::accumulate(points.begin(), points.end(), cv::Point3f()) / 1003.0F);
  };
  // In double, the means would lie a thousandth away.
  const Params p = start(first, second);
  EXPECT_LT(cv::norm(motionOf(p.data())(mean(first)) - mean(second)), 1e-8);
}

TEST(RigidTransform, PolishLeavesOutliersAside) {
  // Five wrong partners of 60 pull the least squares away, the sum of distances hardly. The last two
  // motions turn in the plane of the points, where one angle alone is left to give the first step.
  const Motion in_plane[] = {{turn(2, 0.4), {1, 2, 0}}, {turn(2, -0.4), {1, 2, 0}}};
  for (int kind = 0; kind < 6; ++kind) {
    const Motion& motion = kind < 4 ? kMotions[kind] : in_plane[kind - 4];
    const Points first = cloud(60, 21, 0, kind < 4 ? 40 : 0);
    Points second = moved(first, motion);
    for (std::size_t i = 0; i < 5; ++i) {
      second[11 * i] += cv::Point3f(30, 20, kind < 4 ? -25.0F : 0.0F);
    }
    const Params p = polished(first, second);
    EXPECT_GT(cv::norm(motionOf(start(first, second).data()).t - motion.t), 0.3);
    EXPECT_LE(misfit(first, second, motionOf(p.data()), 1),
              misfit(first, second, motion, 1) * 1.0001);
    EXPECT_LT(cv::norm(motionOf(p.data()).r - motion.r), 1e-3) << kind;
    XRigidTransform used;
    Params again = {};
    used.getRT(second, first, again.data());
    used.getRT(first, second, again.data());
    EXPECT_EQ(again, p) << "an object's history enters";
  }
}

TEST(RigidTransform, AStartWithoutATurnIsPolishedByTranslationsOnly) {
  // Symmetric points with one partner off along its own direction: no turn in the start. The sum of
  // distances would still fall with the translation towards the five good pairs.
  const Points first = {{10, 0, 0}, {-10, 0, 0}, {0, 10, 0}, {0, -10, 0}, {0, 0, 10}, {0, 0, -10}};
  Points second = first;
  second[4].z += 6;
  const Params p = start(first, second), q = polished(first, second);
  EXPECT_NEAR(p[5], 1, 1e-6);
  EXPECT_NEAR(q[5], 0, 1e-6);
  for (std::size_t k = 0; k < 3; ++k) EXPECT_EQ(q[k], p[k]);
}

TEST(RigidTransform, ListsOfDifferentLengthMispair) {
  const Points first = cloud(8, 2), second = moved(first, kMotions[0]);
  Points longer = second;
  longer.resize(13, {999, 999, 999});
  EXPECT_EQ(start(first, longer), start(first, second));
  // The descent pairs points 0 to 9 of the joint list with 10 to 19: it leaves the start.
  EXPECT_GT(gap(motionOf(polished(first, longer).data()), kMotions[0]), 1);
}

TEST(RigidTransform, EndsWhateverThePoints) {
  const Points first = {{1, 0, 0}, {0, 2, 0}, {0, 0, 3}, {4, 4, 4}}, same(4, {7, 7, 7});
  Points flat, line, huge;
  for (const cv::Point3f& p : first) {
    flat.emplace_back(p.x, p.y, 0);
    line.emplace_back(p.x, p.x, p.x);
    huge.push_back(p * 1e30F);
  }
  for (const Points& from : {first, same}) {
    for (const Points& to : {first, flat, line, same, huge}) {
      EXPECT_LT(offFromRotation(motionOf(polished(from, to).data()).r), 1e-12);  // all finite
    }
  }
  EXPECT_THAT(polished(first, first), testing::Each(testing::DoubleNear(0, 1e-6)));
  Params p = {1, 1, 1, 1, 1, 1};
  XRigidTransform fit;
  EXPECT_FALSE(fit.getInitialValue({}, first, p.data()));
  EXPECT_THAT(p, testing::Each(0));
  EXPECT_THAT(polished({}, {}), testing::Each(0));
  p = polished({{1, 2, 3}}, {{4, 6, 8}});
  EXPECT_LT(cv::norm(motionOf(p.data())({1, 2, 3}) - cv::Vec3d(4, 6, 8)), 1e-5);
  for (const float bad : {kNaN, std::numeric_limits<float>::infinity()}) {
    Points spoilt = first;
    spoilt[2].y = bad;
    EXPECT_TRUE(fit.getRT(first, spoilt, p.data()));
    EXPECT_LT(offFromRotation(motionOf(p.data()).r), 1e-12);
    EXPECT_TRUE(fit.getRT(spoilt, first, p.data()));
    EXPECT_TRUE(fit.getRT(first, moved(first, kMotions[0]), p.data()));  // as good as new
    EXPECT_LT(gap(motionOf(p.data()), kMotions[0]), 1e-4);
  }
}

}  // namespace
}  // namespace xrigidtransform
