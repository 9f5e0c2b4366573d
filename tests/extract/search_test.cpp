// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Each search against its definition, tried on every point of the cloud.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "scan.h"
#include "zelmo/extract/feature_extract.h"

namespace zelmo::test {
namespace {

using testing::IsEmpty;
using xgeofeature::XFPlane;
using xgeofeature::XGeoFeatureExtract;

constexpr float kTilted[3] = {0.48F, 0.6F, 0.64F};
constexpr float kAlong[3] = {0.8F, 0.0F, -0.6F};  // square to it
constexpr float kOff[3] = {0.25F, -0.5F, 1.0F};

class Search : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    s_scan = new Scan(cubeScan(60000, 8.0F, 11));
    s_extract = new XGeoFeatureExtract;
    s_extract->setData(s_scan->data.data(), s_scan->count());
  }
  static void TearDownTestSuite() {
    delete s_extract;
    delete s_scan;
  }
  void SetUp() override { s_extract->setMaxDis(0.75F); }

  /// Compares the last result, which must be some but not all of the neighbourhood.
  template <typename Keeps>
  static void expectLike(const float* center, double radius, const Keeps& keeps) {
    const auto all = bruteForce(*s_scan, center, radius, [](auto...) { return true; });
    const auto expected = bruteForce(*s_scan, center, radius, keeps);
    EXPECT_GT(expected.size(), 20U);
    EXPECT_LT(expected.size(), all.size());
    EXPECT_EQ(s_extract->indexResult, expected);
  }

  static Scan* s_scan;
  static XGeoFeatureExtract* s_extract;
};
Scan* Search::s_scan = nullptr;
XGeoFeatureExtract* Search::s_extract = nullptr;

TEST_F(Search, PlaneKeepsOneSideOfARectangle) {
  const auto across = acrossOf(kTilted, kAlong);
  for (const float length : {3.0F, 9.0F, 30.0F}) {
    const XFPlane plane(kOff, kTilted, kAlong, length, 6.0F);
    s_extract->searchPlane(plane);
    expectLike(kOff, std::sqrt(length * length / 4.0 + 9.0), [&](const float* p, const float* m) {
      const float off = plane.a * p[0] + plane.b * p[1] + plane.c * p[2] + plane.d;
      return std::abs(off) <= 0.75F && toLine(p, kOff, kAlong) <= 3.0 &&
             toLine(p, kOff, across.data()) <= length / 2.0 && dot(m, kTilted) >= 0.5F;
    });
  }
}

TEST_F(Search, IsThatOfTheTreeWhenTheHostReplacesTheFields) {
  XGeoFeatureExtract own = *s_extract;
  const XFPlane plane(kOff, kTilted, kAlong, 9.0F, 6.0F);
  own.searchPlane(plane);
  const auto expected = own.indexResult;
  own.cloud = boost::shared_ptr<pcl::PointCloud<pcl::PointXYZ>>(
      new pcl::PointCloud<pcl::PointXYZ>(*own.cloud));
  own.searchPlane(plane);
  EXPECT_EQ(own.indexResult, expected);
  own.cloud->resize(10);
  EXPECT_THROW(own.searchPlane(plane), std::out_of_range);
  own = *s_extract;
  own.normals.resize(9);
  EXPECT_THROW(own.searchPlane(plane), std::out_of_range);
  own = *s_extract;
  own.kdtree.reset();
  own.searchPlane(plane);
  EXPECT_THAT(own.indexResult, IsEmpty());
}

}  // namespace
}  // namespace zelmo::test
