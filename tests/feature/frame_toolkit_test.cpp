// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/feature/frame_toolkit.h"

#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "zelmo/feature/internal/local_frame.h"
#include "zelmo/feature/internal/plane_extent.h"

namespace zelmo::internal {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

double offFromIdentity(const cv::Matx33d& m) { return cv::norm(m - cv::Matx33d::eye()); }

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
}

TEST(RotationBetween, HoldsWhereRoundingPushesTheCosineBeyondOne) {
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
}

TEST(RotationBetween, EndsWithTheIdentityWhereThereIsNoDirection) {
  const cv::Vec3d x(1, 0, 0);
  for (const cv::Vec3d& v : {cv::Vec3d(0, 0, 0), cv::Vec3d(kNaN, 0, 0), cv::Vec3d(0, kInf, 0),
                             cv::Vec3d(1e-9, 0, 0), cv::Vec3d(1e-200, 1e-200, 0)}) {
    EXPECT_EQ(offFromIdentity(rotationBetween(v, x)), 0.0);
    EXPECT_EQ(offFromIdentity(rotationBetween(x, v)), 0.0);
    EXPECT_EQ(offFromIdentity(rotationBetween(v, v)), 0.0);
  }
}

TEST(IntersectionOfPlanes, SolvesFromADeterminantOfOneMillionthOn) {
  const cv::Point3d points[3] = {{1, 0, 0}, {0, 2, 0}, {0, 0, 3}};
  const cv::Vec3d exactly[3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1e-6}};
  const auto met = intersectionOfPlanes(exactly, points);
  ASSERT_TRUE(met);
  EXPECT_NEAR(met->at<double>(0), 1, 1e-12);
  EXPECT_NEAR(met->at<double>(1), 2, 1e-12);
  EXPECT_NEAR(met->at<double>(2), 3, 1e-9);
  const cv::Vec3d below[3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 0.999e-6}};
  EXPECT_FALSE(intersectionOfPlanes(below, points));
  const cv::Vec3d not_finite[3] = {{kNaN, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  EXPECT_FALSE(intersectionOfPlanes(not_finite, points));
}

TEST(AlignByPlanes, CarriesAFrameOntoAnother) {
  std::mt19937 random(11);
  for (int i = 0; i < 300; ++i) {
    const cv::Vec3d z = randomUnit(random);
    const cv::Vec3d x = unitOrZero(auxiliaryVector(z));
    const cv::Vec3d p = randomUnit(random) * 500.0;
    const auto to_frame =
        worldToFrame({p[0], p[1], p[2]}, x, z.cross(x), z, OppositeCross::AboutFirstNormal);
    ASSERT_TRUE(to_frame);
    EXPECT_LT(cv::norm(rotateDirection(*to_frame, z) - cv::Vec3d(0, 0, 1)), 1e-9);
    EXPECT_LT(cv::norm(rotateDirection(*to_frame, x) - cv::Vec3d(1, 0, 0)), 1e-9);
    const cv::Point3d origin = transformPoint(*to_frame, {p[0], p[1], p[2]});
    EXPECT_LT(cv::norm(origin), 1e-6);
    const Rigid back = rigidInverse(rigidInverse(to_frame->data()).data());
    for (std::size_t k = 0; k < 16; ++k) EXPECT_NEAR(back[k], (*to_frame)[k], 1e-9);
  }
}

TEST(AlignByPlanes, OnlyTheGuardedFormKeepsTheFirstNormalWhenTheCrossesAreOpposite) {
  // The first normals agree, the second ones are reversed.
  const cv::Vec3d first = unitOrZero({0.6, -0.64, 0.48});
  const cv::Vec3d second = unitOrZero(auxiliaryVector(first));
  const cv::Vec3d third = first.cross(second);
  const PlaneTriple target = PlaneTriple::through({0, 0, 0}, first, second, third);
  const PlaneTriple source = PlaneTriple::through({1, 2, 3}, first, -second, third);
  const auto guarded = alignByPlanes(target, source, OppositeCross::AboutFirstNormal);
  const auto plain = alignByPlanes(target, source, OppositeCross::AnyHalfTurn);
  ASSERT_TRUE(guarded && plain);
  EXPECT_LT(cv::norm(rotateDirection(*guarded, first) - first), 1e-9);
  EXPECT_LT(cv::norm(rotateDirection(*guarded, -second) - second), 1e-9);
  EXPECT_GT(cv::norm(rotateDirection(*plain, first) - first), 0.1);
}

TEST(AlignByPlanes, OfASetOntoItselfIsTheIdentity) {
  const PlaneTriple set = PlaneTriple::through({5, -7, 9}, {1, 0, 0}, {0, 1, 0}, {0, 0.6, 0.8});
  for (const auto rule : {OppositeCross::AnyHalfTurn, OppositeCross::AboutFirstNormal}) {
    const auto rigid = alignByPlanes(set, set, rule);
    ASSERT_TRUE(rigid);
    for (std::size_t k = 0; k < 16; ++k) EXPECT_NEAR((*rigid)[k], kIdentity[k], 1e-9);
  }
  const PlaneTriple no_point = PlaneTriple::through({0, 0, 0}, {1, 0, 0}, {1, 0, 0}, {0, 1, 0});
  EXPECT_FALSE(alignByPlanes(no_point, no_point, OppositeCross::AboutFirstNormal));
}

TEST(RotationAbout, AZeroAxisLeavesTheCosineOnTheDiagonal) {
  const cv::Matx33d m = rotationAbout({0, 0, 0}, inRadians(60, true));
  EXPECT_LT(cv::norm(m - 0.5 * cv::Matx33d::eye()), 1e-12);
}

TEST(PlaneExtent, TakesTheLongerSideForItsMajorDirection) {
  const double plane[4] = {0, 0, 1, -5};
  for (int degrees = 5; degrees < 180; degrees += 25) {
    const double angle = inRadians(degrees, true);
    const cv::Vec3d along(std::cos(angle), std::sin(angle), 0);
    const cv::Vec3d across(-along[1], along[0], 0);
    std::vector<cv::Point3f> points;
    for (const cv::Vec2d& k : {cv::Vec2d(1, 1), {-1, 1}, {-1, -1}, {1, -1}, {0.5, 0}}) {
      const cv::Vec3d p = k[0] * 7 * along + k[1] * 3 * across;
      points.emplace_back(cv::Vec3f(cv::Vec3d(2, 1, 8) + p));
    }
    const auto extent = planeExtent(PointView(points), plane);
    ASSERT_TRUE(extent);
    EXPECT_NEAR(extent->length, 14, 1e-4);
    EXPECT_NEAR(extent->width, 6, 1e-4);
    EXPECT_NEAR(std::abs(cv::Vec3d(cv::Vec3f(extent->major_dir.data())).dot(along)), 1, 1e-6);
    EXPECT_NEAR(cv::norm(cv::Vec3f(extent->center.data()) - cv::Vec3f(2, 1, 5)), 0, 1e-4);
  }
}

// A double to float to double round trip is behaviour: with g++ 12's straight-line vectoriser it is
// lost. 16777217 has no float.
TEST(RoundingToFloat, SurvivesTheOptimiser) {
  struct Probe {
    __attribute__((noinline)) static void shifted(const double* p, double lo, double* b) {
      const double a[3] = {static_cast<float>(p[0]), static_cast<float>(p[1]),
                           static_cast<float>(p[2])};
      for (int i = 0; i < 3; ++i) b[i] = a[i] + lo;
    }
  };
  const double p[3] = {16777217.0, 16777219.0, 0.1};
  double b[3];
  // Called through a pointer that could change, or the constants would be folded into the probe.
  void (*volatile shifted)(const double*, double, double*) = &Probe::shifted;
  shifted(p, 0.0, b);
  EXPECT_EQ(b[0], 16777216.0);
  EXPECT_EQ(b[1], 16777220.0);
  EXPECT_EQ(b[2], static_cast<double>(0.1F));
}

TEST(LocalFrame, FirstAxisStartsAtADifferenceOfOneHundredth) {
  const cv::Point3d origin(0, 0, 0);
  EXPECT_FALSE(firstAxis({{0.00999F, 0, 0}, {0, -0.00999F, 0}}, origin));
  const auto axis = firstAxis({{0.00999F, 0, 0}, {0, -0.0101F, 0}, {1, 0, 0}}, origin);
  ASSERT_TRUE(axis);
  EXPECT_LT(cv::norm(*axis - cv::Vec3d(0, -1, 0)), 1e-12);
}

TEST(LocalFrame, FallsBackOnAWorldAxisOnlyWhenAsked) {
  const std::vector<cv::Point3f> cluster = {{1, 1, 1}, {1, 1.001F, 1}};
  LocalFrameOptions options;
  EXPECT_FALSE(localFrame(cluster, {1, 1, 1}, {0, 0, 1}, options));
  options.no_axis_point = NoAxisPoint::FallbackAxis;
  const auto frame = localFrame(cluster, {1, 1, 1}, {0, 0, 1}, options);
  ASSERT_TRUE(frame);
  EXPECT_NEAR(cv::norm(toWorld(*frame, 1, 0) - cv::Point3d(2, 1, 1)), 0, 1e-12);
  EXPECT_FALSE(localFrame(cluster, {1, 1, 1}, {0, 0, 0}, options));
}

TEST(LocalFrame, KeepsDistancesOfProjectedPoints) {
  const std::vector<cv::Point3f> points = {{3, 1, 9}, {7, 1, -4}, {7, 4, 2}};
  const double plane[4] = {0, 0, -1, 5};
  const auto local = projectToLocal(PointView(points), plane, {});
  ASSERT_TRUE(local);
  ASSERT_EQ(local->points.size(), 3U);
  EXPECT_NEAR(cv::norm(local->points[0] - local->points[1]), 4, 1e-6);
  EXPECT_NEAR(cv::norm(local->points[2] - local->points[1]), 3, 1e-6);
  const cv::Point3d back = toWorld(local->frame, local->points[2].x, local->points[2].y);
  EXPECT_NEAR(cv::norm(back - cv::Point3d(7, 4, 5)), 0, 1e-6);
  EXPECT_FALSE(projectToLocal(PointView(), plane, {}));
}

TEST(BoundingRectangle, PassesOverWhatIsNotFinite) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(boundingRectangle({}).size.area(), 0);
  EXPECT_EQ(boundingRectangle({{nan, 1}}).size.area(), 0);
  const cv::RotatedRect box = boundingRectangle({{0, 0}, {4, 0}, {nan, 9}, {4, 2}, {0, 2}});
  EXPECT_NEAR(box.size.area(), 8, 1e-4);
}

}  // namespace
}  // namespace zelmo::internal
