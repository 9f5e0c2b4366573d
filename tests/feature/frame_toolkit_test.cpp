// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/feature/frame_toolkit.h"

#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "zelmo/feature/internal/local_frame.h"

namespace zelmo::internal {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

double offFromIdentity(const cv::Matx33d& m) { return cv::norm(m - cv::Matx33d::eye()); }
double offFromIdentity(const Rigid& m) {
  return cv::norm(cv::Matx44d(m.data()) - cv::Matx44d::eye());
}

cv::Vec3d randomUnit(std::mt19937& random) {
  std::normal_distribution<double> normal;
  return unitOrZero({normal(random), normal(random), normal(random)});
}

TEST(RotationBetween, CarriesOneDirectionOntoTheOther) {
  std::mt19937 random(7);
  for (int i = 0; i < 1000; ++i) {
    const cv::Vec3d from = randomUnit(random) * 3.0;
    // Every third pair is nearly parallel, every third nearly opposite.
    const cv::Vec3d any = randomUnit(random);
    const cv::Vec3d to = i % 3 == 0 ? any : (i % 3 == 1 ? 1.0 : -1.0) * from + 1e-5 * any;
    const cv::Matx33d r = rotationBetween(from, to);
    EXPECT_LT(cv::norm(unitOrZero(r * from) - unitOrZero(to)), 2e-6);
    EXPECT_LT(offFromIdentity(r * r.t()), 1e-9);
    EXPECT_NEAR(cv::determinant(r), 1.0, 1e-9);
  }
  // Rounding pushes the cosine beyond one.
  const cv::Vec3d from(1000, -9000, -5000), to = from + cv::Vec3d(-2, 8, 3) * 1e-8;
  EXPECT_LT(offFromIdentity(rotationBetween(from, to)), 1e-6);
}

TEST(RotationBetween, ParallelAndOppositeVectorsTakeTwoQuarterTurns) {
  for (const cv::Vec3d& v : {cv::Vec3d(1, 0, 0), cv::Vec3d(0, -2, 0), cv::Vec3d(1, 1, 1)}) {
    EXPECT_LT(offFromIdentity(rotationBetween(v, v)), 1e-12);
    const cv::Matx33d half_turn = rotationBetween(v, -v);
    EXPECT_LT(cv::norm(half_turn * v + v), 1e-12);
    EXPECT_LT(offFromIdentity(half_turn * half_turn), 1e-12);
  }
  // Where there is no direction they end with the identity.
  const cv::Vec3d x(1, 0, 0);
  for (const cv::Vec3d& v : {cv::Vec3d(0, 0, 0), cv::Vec3d(kNaN, 0, 0), cv::Vec3d(1e-9, 0, 0)}) {
    EXPECT_EQ(offFromIdentity(rotationBetween(v, x)), 0.0);
    EXPECT_EQ(offFromIdentity(rotationBetween(x, v)), 0.0);
  }
}

TEST(IntersectionOfPlanes, SolvesFromADeterminantOfOneMillionthOn) {
  const cv::Point3d points[3] = {{1, 0, 0}, {0, 2, 0}, {0, 0, 3}};
  const auto meet = [&points](const cv::Vec3d& x, double z) {
    const cv::Vec3d normals[3] = {x, {0, 1, 0}, {0, 0, z}};
    return intersectionOfPlanes(normals, points);
  };
  EXPECT_TRUE(meet({1, 0, 0}, 1e-6));
  EXPECT_FALSE(meet({1, 0, 0}, 0.999e-6));
  EXPECT_FALSE(meet({kNaN, 0, 0}, 1));
}

TEST(AlignByPlanes, CarriesAFrameOntoAnother) {
  std::mt19937 random(11);
  for (int i = 0; i < 300; ++i) {
    const cv::Vec3d z = randomUnit(random), x = unitOrZero(auxiliaryVector(z));
    const cv::Point3d p = randomUnit(random) * 500.0;
    const auto to_frame = worldToFrame(p, x, z.cross(x), z, OppositeCross::AboutFirstNormal);
    ASSERT_TRUE(to_frame);
    EXPECT_LT(cv::norm(rotateDirection(*to_frame, z) - cv::Vec3d(0, 0, 1)), 1e-9);
    EXPECT_LT(cv::norm(rotateDirection(*to_frame, x) - cv::Vec3d(1, 0, 0)), 1e-9);
    EXPECT_LT(cv::norm(transformPoint(*to_frame, p)), 1e-6);
    EXPECT_LT(cv::norm(transformPoint(rigidInverse(to_frame->data()), {}) - p), 1e-6);
  }
  const PlaneTriple set = PlaneTriple::through({5, -7, 9}, {1, 0, 0}, {0, 1, 0}, {0, 0.6, 0.8});
  const PlaneTriple no_point = PlaneTriple::through({0, 0, 0}, {1, 0, 0}, {1, 0, 0}, {0, 1, 0});
  for (const auto rule : {OppositeCross::AnyHalfTurn, OppositeCross::AboutFirstNormal}) {
    EXPECT_LT(offFromIdentity(alignByPlanes(set, set, rule).value()), 1e-9);
    EXPECT_FALSE(alignByPlanes(no_point, no_point, rule));
  }
}

__attribute__((noinline)) void shift(const double* p, double by, double* out) {
  const double a[3] = {static_cast<float>(p[0]), static_cast<float>(p[1]),
                       static_cast<float>(p[2])};
  for (int i = 0; i < 3; ++i) out[i] = a[i] + by;
}

// A double to float to double round trip is behaviour: with g++ 12's straight-line vectoriser it is
// lost. 16777217 has no float.
TEST(RoundingToFloat, SurvivesTheOptimiser) {
  const double p[3] = {16777217.0, 16777219.0, 0.1};
  double out[3];
  // Called through a pointer that could change, or the constants would be folded into the probe.
  void (*volatile call)(const double*, double, double*) = &shift;
  call(p, 0.0, out);
  EXPECT_EQ(out[0], 16777216.0);
  EXPECT_EQ(out[1], 16777220.0);
  EXPECT_EQ(out[2], static_cast<double>(0.1F));
}

TEST(LocalFrame, TakesItsFirstAxisFromOneHundredthOnOrFromTheWorldIfAsked) {
  EXPECT_FALSE(firstAxis({{0.00999F, 0, 0}, {0, -0.00999F, 0.00999F}}, {}));
  const auto axis = firstAxis({{0.00999F, 0, 0}, {0, -0.0101F, 0}, {1, 0, 0}}, {});
  ASSERT_TRUE(axis);
  EXPECT_LT(cv::norm(*axis - cv::Vec3d(0, -1, 0)), 1e-12);
  EXPECT_TRUE(firstAxis({{0, 0, 0.0101F}}, {}));

  const std::vector<cv::Point3f> cluster = {{1, 1, 1}, {1, 1.001F, 1}};
  const LocalFrameOptions fallback{NoAxisPoint::FallbackAxis, OppositeCross::AboutFirstNormal};
  EXPECT_FALSE(localFrame(cluster, {1, 1, 1}, {0, 0, 1}, {}));
  EXPECT_FALSE(localFrame(cluster, {1, 1, 1}, {0, 0, 0}, fallback));
  const auto frame = localFrame(cluster, {1, 1, 1}, {0, 0, 1}, fallback);
  ASSERT_TRUE(frame);
  EXPECT_NEAR(cv::norm(toWorld(*frame, 1, 0) - cv::Point3d(2, 1, 1)), 0, 1e-12);
  const double plane[4] = {0, 0, -1, 5};
  EXPECT_FALSE(projectToLocal(PointView(), plane, {}));
}

TEST(BoundingRectangle, PassesOverWhatIsNotFinite) {
  EXPECT_EQ(boundingRectangle({}).size.area(), 0);
  EXPECT_EQ(boundingRectangle({{NAN, 1}}).size.area(), 0);
  const cv::RotatedRect box = boundingRectangle({{0, 0}, {4, 0}, {NAN, 9}, {4, 2}, {0, 2}});
  EXPECT_NEAR(box.size.area(), 8, 1e-4);
}

}  // namespace
}  // namespace zelmo::internal
