// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// The frame routines and private statistics of XGeoTolrance, and the statistics kernel in float.
#include <array>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "zelmo/internal/deviation_statistics.h"
#include "zelmo/measure/geo_tolerance.h"

using testing::DoubleEq;
using testing::Each;
using testing::ElementsAre;
using testing::Pointwise;

namespace {

using T = xgeomeasure::XGeoTolrance;
using Points = std::vector<cv::Point3f>;
using FeatureStatistics = void (*)(const Points&, double*, double*, std::vector<double>&);

// Names of private members are open to an explicit instantiation.
FeatureStatistics g_plane, g_line, g_cylinder, g_sphere;
template <FeatureStatistics& Slot, FeatureStatistics Member>
struct Open {
  Open() { Slot = Member; }
  static Open instance;
};
template <FeatureStatistics& Slot, FeatureStatistics Member>
Open<Slot, Member> Open<Slot, Member>::instance;
template struct Open<g_plane, &T::calcStatistics_PlanePoint2Plane>;
template struct Open<g_line, &T::calcStatistics_LinePoint2Line>;
template struct Open<g_cylinder, &T::calcStatistics_CylinderPoint2Cylinder>;
template struct Open<g_sphere, &T::calcStatistics_SpherePoint2Sphere>;

TEST(ToleranceStatistics, GiveDeviationsInPointOrderAndFourFigures) {
  // The same deviations 0, 0, 6 from four features.
  struct Case {
    const char* what;
    FeatureStatistics statistics;
    Points points;
    std::array<double, 7> feature;
  };
  const Case cases[] = {
      {"plane", g_plane, {{1, 0, 2}, {2, 0, 2}, {3, 0, 8}}, {0, 0, 2, 0, 0, 1, 0}},
      {"line", g_line, {{1, 0, 0}, {2, 0, 0}, {3, 0, 6}}, {0, 0, 0, 1, 0, 0, 0}},
      {"cylinder", g_cylinder, {{0, 2, 0}, {3, 0, 2}, {3, 8, 0}}, {0, 0, 0, 1, 0, 0, 2}},
      {"sphere", g_sphere, {{0, 2, 0}, {0, 0, 2}, {0, -8, 0}}, {0, 0, 0, 2, 0, 0, 0}},
  };
  for (Case c : cases) {
    SCOPED_TRACE(c.what);
    std::array<double, 4> figures = {9, 9, 9, 9};
    std::vector<double> deviations = {7};
    c.statistics({c.points[0], c.points[1]}, c.feature.data(), figures.data(), deviations);
    EXPECT_THAT(figures, Each(9));
    EXPECT_THAT(deviations, ElementsAre(7));
    c.statistics(c.points, c.feature.data(), figures.data(), deviations);
    EXPECT_THAT(figures, ElementsAre(6, 0, 2, 8));
    EXPECT_THAT(deviations, ElementsAre(0, 0, 6));
  }
}

namespace kernel = zelmo::internal;

// Ten deviations about 1 that no float holds: stored they are all 1, as are mean and extremes' gap.
TEST(DeviationStatistics, InFloatAreTakenFromTheRoundedDeviations) {
  std::vector<float> flat;
  for (int i = 0; i < 10; ++i) {
    flat.insert(flat.end(), {0.0F, 0.0F, static_cast<float>(i % 2)});
  }
  const kernel::PointView points(flat.data(), 10);
  const kernel::PlaneDeviation plane{0, 0, 1e-9, 1.0};
  float stored[10];
  const auto in_float = kernel::deviationStatistics(points, plane, stored);
  EXPECT_THAT(stored, Each(1.0F));
  EXPECT_EQ(in_float.mean, 1.0);
  EXPECT_EQ(in_float.variance, 0.0);
  EXPECT_EQ(in_float.extremes.largest, 1.0 + 1e-9);
  double exact[10];
  const auto in_double = kernel::deviationStatistics(points, plane, exact);
  EXPECT_GT(in_double.mean, 1.0);
  EXPECT_NEAR(in_double.variance, 0.25e-18, 1e-21);
}

TEST(ToleranceFrames, FollowTheGuardedAlignment) {
  // Crosses that point opposite ways: the turn is about the first normal, which stays.
  const cv::Vec3d target[3] = {{0.6, -0.64, 0.48}, {0.8, 0.48, -0.36}, {0, 0.6, 0.8}};
  const cv::Vec3d source[3] = {target[0], -target[1], target[2]};
  const cv::Point3d at[3] = {{1, 2, 3}, {1, 2, 3}, {1, 2, 3}}, to[3] = {};
  std::array<double, 16> rt{}, inverse{}, untouched{};
  T::alignBy3Plane(target, to, source, at, rt.data());
  const cv::Matx44d map(rt.data());
  EXPECT_LT(cv::norm(map * cv::Vec4d(0.6, -0.64, 0.48, 0) - cv::Vec4d(0.6, -0.64, 0.48, 0)), 1e-9);
  EXPECT_LT(cv::norm(map * cv::Vec4d(1, 2, 3, 1) - cv::Vec4d(0, 0, 0, 1)), 1e-9);
  EXPECT_EQ(T::convertMatrixRT(rt.data(), inverse.data()), 1);
  EXPECT_LT(cv::norm(cv::Matx44d(inverse.data()) * map - cv::Matx44d::eye()), 1e-9);

  const cv::Vec3d parallel[3] = {target[0], target[0], target[2]};
  T::alignBy3Plane(target, to, parallel, at, untouched.data());
  EXPECT_THAT(untouched, Each(0));
  cv::Mat met(1, 1, CV_8U, 77), turn;
  EXPECT_EQ(T::Intersection3Planes(parallel, at, met), 0);
  EXPECT_EQ(met.type(), CV_8U);
  EXPECT_EQ(T::Intersection3Planes(target, at, met), 1);
  EXPECT_LT(cv::norm(met - cv::Mat(cv::Vec3d(1, 2, 3))), 1e-9);
  T::getMatRByVector(target[0], target[1], turn);
  EXPECT_LT(cv::norm(turn * cv::Mat(target[0]) - cv::Mat(target[1])), 1e-9);
}

TEST(ToleranceFrames, MapProjectionsAndGiveTheMatrix) {
  double plane[4] = {0, 0, 1, -5};
  const Points points = {{3, 1, 9}, {7, 1, -4}, {7, 4, 2}};
  Points feet;
  T::projection2Plane(points, plane, feet);
  EXPECT_THAT(feet, ElementsAre(cv::Point3f(3, 1, 5), cv::Point3f(7, 1, 5), cv::Point3f(7, 4, 5)));
  std::vector<cv::Point2f> flat;
  std::array<double, 16> rt{};
  T::projection2Plane_tranformed(points, plane, flat, rt.data());
  ASSERT_EQ(flat.size(), 3U);
  for (std::size_t i = 0; i < 3; ++i) {
    const cv::Vec4d local = cv::Matx44d(rt.data()) * cv::Vec4d(feet[i].x, feet[i].y, feet[i].z, 1);
    EXPECT_NEAR(local[0], flat[i].x, 1e-6);
    EXPECT_NEAR(local[1], flat[i].y, 1e-6);
    EXPECT_NEAR(local[2], 0, 1e-9);
  }
  T::projection2Plane_tranformed(points, plane, flat, nullptr);
  EXPECT_EQ(flat.size(), 3U);
  rt.fill(4);
  T::projection2Plane_tranformed({{1, 1, 1}, {1, 1, 2}}, plane, flat, rt.data());
  EXPECT_TRUE(flat.empty());
  EXPECT_THAT(rt, Each(4));
}

}  // namespace
