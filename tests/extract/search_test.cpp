// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Each search against its definition, tried on every point of the cloud.
#include <filesystem>
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "scan.h"
#include "support/temporary_folder.h"
#include "zelmo/extract/feature_extract.h"

namespace zelmo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace xgeofeature;  // NOLINT: every record is named below

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

TEST_F(Search, NeighbourhoodIsThatOfTheTreeUpToItsBrink) {
  // Coordinates of full precision, so that roundings inside the tree have something to decide.
  std::mt19937 random(3);
  std::uniform_real_distribution<float> spread(-9.0F, 9.0F);
  Scan scan;
  for (int i = 0; i < 20000; ++i) scan.add(spread(random), spread(random), spread(random), 0, 0, 1);
  XGeoFeatureExtract extract;
  extract.setData(scan.data.data(), scan.count());
  for (int trial = 0; trial < 300; ++trial) {
    const XFPoint center(spread(random) * 1.5F, spread(random), spread(random));
    const pcl::PointXYZ query(center.x, center.y, center.z);
    std::vector<int> expected(1);
    std::vector<float> squared(1);
    // Every other radius is the distance of a point, which is just in or just out.
    extract.kdtree->nearestKSearch(query, 1 + 5 * trial, expected, squared);
    const float radius = trial % 2 == 0 ? std::sqrt(squared.back()) : std::abs(spread(random));
    extract.kdtree->radiusSearch(query, radius, expected, squared);
    extract.searchPoint(center, radius);
    ASSERT_EQ(extract.indexResult, expected) << trial;
  }
}

TEST_F(Search, CylinderKeepsTheWallBeyondItsEnds) {
  for (const float maxDis : {0.25F, 0.75F}) {
    s_extract->setMaxDis(maxDis);
    const XFCylinder cylinder(kOff, kTilted, 3.0F, 2.0F);
    s_extract->searchCylinder(cylinder);
    expectLike(cylinder.center, 1.1 * std::sqrt(1.0 + 9.0), [&](const float* p, const float* m) {
      const float cosine = dot(m, kTilted);
      return cosine >= -0.5F && cosine <= 0.5F &&
             std::abs(toLine(p, cylinder.center, kTilted) - 3.0) <= maxDis;
    });
  }
}

TEST_F(Search, CylinderTakesLimitsIn) {
  // Along z through a lattice point: distances, and cosines of normals along axes, hit the limits.
  Scan scan;
  scan.add(3.75F, 0, 0, 1, 0, 0);                      // radius + maxDis
  scan.add(0, 2.25F, 0.5F, 0.8660254F, 0, 0.5F);       // radius - maxDis, 60 degrees
  scan.add(0, -3, 0.75F, 0, -0.8660254F, -0.5F);       // 120 degrees
  scan.add(3.7500002F, 0, 0.25F, 1, 0, 0);             // out
  scan.add(0, 3, 0.125F, 0, 0.8660254F, 0.50000006F);  // out
  scan.add(0, 0, 0, 1, 0, 0);                          // on the axis
  XGeoFeatureExtract extract;
  extract.setData(scan.data.data(), scan.count());
  extract.setMaxDis(0.75F);
  const float base[3] = {0, 0, -2}, up[3] = {0, 0, 1};
  extract.searchCylinder(XFCylinder(base, up, 3.0F, 4.0F));
  EXPECT_THAT(extract.indexResult, ElementsAre(1, 2, 0));
}

TEST_F(Search, ConeScalesItsDistances) {
  const XFCone cone(kOff, kTilted, 3.0F, 1.5F, 2.0F);
  s_extract->searchCone(cone);
  float apex[3], scaled[3], middle[3];
  for (int i = 0; i < 3; ++i) {
    apex[i] = static_cast<float>(cone.top[i] + kTilted[i] * 2.0);
    scaled[i] = kTilted[i] / 2.0F;
    middle[i] = static_cast<float>((static_cast<double>(cone.base[i]) + cone.top[i]) * 0.5);
  }
  expectLike(middle, 1.1 * std::sqrt(1.0 + 9.0), [&](const float* p, const float*) {
    const double slant = XFPoint(p).Distance(XFPoint(apex));
    return std::abs(toLine(p, apex, scaled) - slant * 0.75) <= 0.75;
  });
}

TEST_F(Search, SphereLimitsItsBandByTheRadius) {
  for (const float radius : {2.0F, 6.0F}) {  // 0.2 times 2 is below maxDis
    s_extract->searchSphere(XFSphere(kOff, radius));
    expectLike(kOff, 1.1 * radius, [&](const float* p, const float* m) {
      const double r = XFPoint(p).Distance(XFPoint(kOff));
      const float out[3] = {p[0] - kOff[0], p[1] - kOff[1], p[2] - kOff[2]};
      return std::abs(r - radius) <= std::min(0.75, 0.2 * radius) && dot(m, out) >= 0.5 * r;
    });
  }
}

TEST_F(Search, FlatOutlinesShareTheirRectangle) {
  const auto across = acrossOf(kTilted, kAlong);
  const auto expect_rectangle = [&](double half_length, double half_width) {
    const double reach = 1.1 * std::sqrt(half_length * half_length + half_width * half_width);
    expectLike(kOff, reach, [&](const float* p, const float* m) {
      return toPlane(p, kOff, kTilted) <= 0.2 && toLine(p, kOff, kAlong) <= 1.1 * half_width &&
             toLine(p, kOff, across.data()) <= 1.1 * half_length && dot(m, kTilted) >= 0.5F;
    });
  };
  s_extract->setMaxDis(0.01F);  // not used
  s_extract->searchOvalGroove(XFOvalGroove3D(kOff, kTilted, kAlong, 3.0F, 2.0F));
  expect_rectangle(5.0, 2.0);
  s_extract->searchRectangle(XFRectangle3D(kOff, kTilted, kAlong, 4.5F, 3.0F));
  expect_rectangle(4.5, 3.0);
  s_extract->searchRoundGroove(XFRoundGroove3D(kOff, kTilted, kAlong, 2.5F, 5.5F, 1.0F));
  expect_rectangle(2.5, 5.5);
}

TEST_F(Search, CircleKeepsBoundaryPointsNearItsPlane) {
  XGeoFeatureExtract own = *s_extract;
  for (int i = 0; i < s_scan->count(); i += 3) own.indexBoundary.push_back(i);
  for (const float radius : {5.0F, 40.0F}) {  // the limits are 0.5 and 3
    own.searchCircle(XFCircle3D(kOff, kTilted, radius));
    const double limit = radius < 30.0F ? 0.5 : 3.0;
    auto expected = bruteForce(*s_scan, kOff, radius + 4.0, [&](const float* p, const float*) {
      return toPlane(p, kOff, kTilted) <= limit;
    });
    std::sort(expected.begin(), expected.end());
    expected.erase(std::remove_if(expected.begin(), expected.end(), [](int i) { return i % 3; }),
                   expected.end());
    EXPECT_GT(expected.size(), 100U);
    EXPECT_EQ(own.indexResult, expected);
  }
  own.indexBoundary.clear();
  own.searchCircle(XFCircle3D(kOff, kTilted, 5.0F));
  EXPECT_THAT(own.indexResult, IsEmpty());
}

TEST_F(Search, CirclePassesOverStrayBoundaryIndices) {
  Scan scan;
  for (int i = 0; i < 8; ++i) scan.add(static_cast<float>(i), 0, 0, 0, 0, 1);
  XGeoFeatureExtract extract;
  extract.setData(scan.data.data(), scan.count());
  const float center[3] = {0, 0, 0}, up[3] = {0, 0, 1};
  const XFCircle3D circle(center, up, 1.0F);
  for (int round = 0; round < 2; ++round) {
    extract.indexBoundary = {-3, 1, 1, 4, 2, 7, 900};  // 2 is out of order, 7 out of reach
    extract.searchCircle(circle);
    EXPECT_THAT(extract.indexResult, ElementsAre(1, 4));
    extract.indexBoundary = {-3, 900, 1};
    extract.searchCircle(circle);
    EXPECT_THAT(extract.indexResult, IsEmpty());
    // The second round asks the tree.
    extract.cloud = boost::shared_ptr<pcl::PointCloud<pcl::PointXYZ>>(
        new pcl::PointCloud<pcl::PointXYZ>(*extract.cloud));
  }
}

class SearchInFolder : public Search {
 protected:
  void SetUp() override {
    Search::SetUp();
    m_before = std::filesystem::current_path();
    std::filesystem::current_path(m_folder.path());
  }
  void TearDown() override { std::filesystem::current_path(m_before); }

  TemporaryFolder m_folder;
  std::filesystem::path m_before;
};

/// The ring around kOff in the plane of kTilted as the searches with a circle define it.
std::vector<int> ringAround(const Scan& scan, float inner, float outer) {
  const XFPlane plane(kOff, kTilted);
  return bruteForce(scan, kOff, outer, [&](const float* p, const float* m) {
    const float off = plane.a * p[0] + plane.b * p[1] + plane.c * p[2] + plane.d;
    const double squared = XFPoint(p).SqrDistance(XFPoint(kOff));
    return std::abs(off) <= 0.75F && squared >= static_cast<double>(inner) * inner &&
           squared <= static_cast<double>(outer) * outer && std::abs(dot(m, kTilted)) >= 0.5F;
  });
}

TEST_F(SearchInFolder, CircleTakesTheWallOfABoreAndARing) {
  const XFCircle3D circle(kOff, kTilted, 3.0F);
  s_extract->indexResult2 = {1, 2, 3};
  s_extract->searchCircle(circle, 0.5F, 2.25F, 1.0F, 1.5F, false);
  EXPECT_THAT(s_extract->indexResult2, IsEmpty());
  EXPECT_EQ(contentOf(m_folder.path() / "_20190125.txt"), "0.5 2.25 \n");

  float top[3], base[3];
  for (int i = 0; i < 3; ++i) {
    top[i] = kOff[i] - 0.5F * kTilted[i];
    base[i] = top[i] - 2.25F * kTilted[i];
  }
  const XFCylinder wall(base, top, 3.0F);
  expectLike(wall.center, 1.1 * std::sqrt(wall.height * wall.height / 4.0 + 9.0),
             [&](const float* p, const float* m) {
               double along = 0;
               for (int i = 0; i < 3; ++i) {
                 along += (static_cast<double>(p[i]) - wall.center[i]) * wall.axis[i];
               }
               return std::abs(dot(m, wall.axis)) <= 0.5F &&
                      std::abs(toLine(p, wall.center, wall.axis) - 3.0) <= 0.375 &&
                      std::abs(along) <= 1.125;
             });
  const auto without_ring = s_extract->indexResult;
  s_extract->searchCircle(circle, 0.5F, 2.25F, 1.0F, 1.5F, true);
  EXPECT_EQ(s_extract->indexResult, without_ring);
  EXPECT_EQ(s_extract->indexResult2, ringAround(*s_scan, 4.0F, 5.5F));
  EXPECT_GT(s_extract->indexResult2.size(), 100U);
}

TEST_F(SearchInFolder, CircleDoesNotNeedItsTraceFile) {
  const XFCircle3D circle(kOff, kTilted, 3.0F);
  s_extract->searchCircle(circle, 0.5F, 2.25F, 1.0F, 1.5F, false);
  const auto expected = s_extract->indexResult;
  std::filesystem::remove("_20190125.txt");
  std::filesystem::create_directory("_20190125.txt");  // in the way
  s_extract->searchCircle(circle, 0.5F, 2.25F, 1.0F, 1.5F, false);
  EXPECT_EQ(s_extract->indexResult, expected);
}

TEST_F(SearchInFolder, CircleWithoutDepthHasNoWall) {
  Scan scan = cubeScan(3000, 1.0F, 5);  // around the origin, where a cylinder without ends would be
  XGeoFeatureExtract extract;
  extract.setData(scan.data.data(), scan.count());
  extract.setMaxDis(10.0F);
  const float at[3] = {0.25F, 0.25F, 0.0F}, up[3] = {0, 0, 1};
  for (const float depth : {0.0F, -1.0F, kNan, kInf}) {
    extract.indexResult = {4};
    extract.searchCircle(XFCircle3D(at, up, 1.0F), 0.0F, depth, 0, 0, false);
    EXPECT_THAT(extract.indexResult, IsEmpty()) << depth;
  }
}

TEST_F(Search, Circle2TakesARingByTheGapOfTheOther) {
  const XFCircle3D circle(kOff, kTilted, 3.0F);
  const struct {
    float half, gap, inner;
  } cases[] = {{1.0F, 2.0F, 2.0F},   // the gap is at most the radius: radius - half
               {1.0F, 3.0F, 2.0F},   // equal counts as at most
               {1.0F, 3.5F, 0.0F},   // beyond: everything inside
               {4.0F, 1.0F, 1.0F}};  // the square of -1
  for (const auto& c : cases) {
    s_extract->searchCircle2(circle, c.half, c.gap, 0.75F, true);
    EXPECT_EQ(s_extract->indexResult, ringAround(*s_scan, c.inner, 3.0F + c.half)) << c.gap;
    EXPECT_EQ(s_extract->indexResult2, ringAround(*s_scan, 3.0F + c.gap, 3.75F + c.gap)) << c.gap;
    EXPECT_GT(s_extract->indexResult.size(), 100U);
  }
  s_extract->searchCircle2(circle, 1.0F, 2.0F, 0.75F, false);
  EXPECT_THAT(s_extract->indexResult2, IsEmpty());
}

TEST_F(Search, ReversedNormalsFitARingButNoPlane) {
  Scan scan;
  scan.add(1, 0, 0, 0, 0, -1);
  XGeoFeatureExtract extract;
  extract.setData(scan.data.data(), scan.count());
  const float center[3] = {0, 0, 0}, up[3] = {0, 0, 1}, right[3] = {1, 0, 0};
  extract.searchPlane(XFPlane(center, up, right, 4, 4));
  EXPECT_THAT(extract.indexResult, IsEmpty());
  extract.searchCircle2(XFCircle3D(center, up, 1.0F), 0.5F, 0, 0, false);
  EXPECT_THAT(extract.indexResult, ElementsAre(0));
}

TEST_F(Search, PointAveragesItsNeighbourhood) {
  const auto near = bruteForce(*s_scan, kOff, 1.5, [](auto...) { return true; });
  float sum[3] = {};
  for (const int i : near) {
    for (int k = 0; k < 3; ++k) sum[k] += s_scan->point(i)[k];
  }
  XFPoint mean(7, 8, 9);
  s_extract->indexResult = {1};
  EXPECT_EQ(s_extract->searchPoint(XFPoint(kOff), 1.5F, mean), 0);
  EXPECT_THAT(s_extract->indexResult, IsEmpty());
  const auto count = static_cast<float>(near.size());
  EXPECT_EQ(mean.x, sum[0] / count);
  EXPECT_EQ(mean.y, sum[1] / count);
  EXPECT_EQ(mean.z, sum[2] / count);

  s_extract->indexResult = {1};
  for (const float radius : {0.0F, -1.0F, kNan}) {
    EXPECT_EQ(s_extract->searchPoint(XFPoint(kOff), radius, mean), -2);
  }
  EXPECT_THAT(s_extract->indexResult, ElementsAre(1));
  EXPECT_EQ(s_extract->searchPoint(XFPoint(100, 0, 0), 1.5F, mean), -1);
  EXPECT_EQ(s_extract->searchPoint(XFPoint(kNan, 0, 0), 1.5F, mean), -1);
  EXPECT_THAT(s_extract->indexResult, IsEmpty());
  EXPECT_EQ(mean.x, sum[0] / count);
}

TEST_F(Search, PointAlongANormalEndsOnIt) {
  const XFPointN nominal(kOff, kTilted);
  XFPoint found;
  ASSERT_EQ(s_extract->searchPoint(nominal, 1.5F, 2.0F, 60.0F, found), 0);
  expectLike(kOff, std::sqrt(2.0F * 2.0F + 1.5F * 1.5F), [&](const float* p, const float* m) {
    return dot(m, kTilted) >= std::cos(60.0 / 180.0 * M_PI) && toPlane(p, kOff, kTilted) <= 2.0 &&
           toLine(p, kOff, kTilted) <= 1.5;
  });
  double along = 0;  // of the mean of the points found
  for (const int i : s_extract->indexResult) {
    for (int k = 0; k < 3; ++k) {
      along += (s_scan->point(i)[k] - kOff[k]) * kTilted[k] /
               static_cast<double>(s_extract->indexResult.size());
    }
  }
  EXPECT_NEAR(found.x, kOff[0] + along * kTilted[0], 1e-5);
  EXPECT_NEAR(found.y, kOff[1] + along * kTilted[1], 1e-5);
  EXPECT_NEAR(found.z, kOff[2] + along * kTilted[2], 1e-5);
}

TEST_F(Search, PointAlongANormalTellsItsFailures) {
  Scan scan;
  scan.add(0.25F, 0, 0.5F, 0, 0, 1);
  scan.add(0, 0.25F, -0.5F, 1, 0, 0);
  scan.add(0.125F, 0, 0, 0.6F, 0, -0.8F);
  XGeoFeatureExtract extract;
  extract.setData(scan.data.data(), scan.count());
  const XFPointN nominal(0, 0, 0, 0, 0, 1);
  XFPoint out(7, 8, 9);
  EXPECT_EQ(extract.searchPoint(nominal, 1, 1, 90, out), 0);
  EXPECT_THAT(extract.indexResult, ElementsAre(0, 1));
  EXPECT_EQ(extract.searchPoint(nominal, 1, 1, 0, out), 0);
  EXPECT_THAT(extract.indexResult, ElementsAre(0));
  EXPECT_EQ(out.z, 0.5F);
  const float bad[][3] = {{0, 1, 45},    {-1, 1, 45}, {kNan, 1, 45}, {1, 0, 45},  {1, -2, 45},
                          {1, kNan, 45}, {1, 1, -1},  {1, 1, 90.5F}, {1, 1, kNan}};
  for (const auto& b : bad) {
    EXPECT_EQ(extract.searchPoint(nominal, b[0], b[1], b[2], out), -2) << b[0] << b[1] << b[2];
  }
  EXPECT_THAT(extract.indexResult, ElementsAre(0));
  EXPECT_EQ(extract.searchPoint(nominal, 0.125F, 0.125F, 45, out), -1);
  EXPECT_THAT(extract.indexResult, IsEmpty());
  EXPECT_EQ(out.z, 0.5F);
}

using SearchCall = std::function<void(XGeoFeatureExtract&)>;

/// Every search with sizes and directions of one value.
std::vector<SearchCall> allSearches(const float* at, const float* direction, float size) {
  return {
      [=](auto& e) { e.searchPlane(XFPlane(at, direction, direction, size, size)); },
      [=](auto& e) { e.searchCylinder(XFCylinder(at, direction, size, size)); },
      [=](auto& e) { e.searchCone(XFCone(at, direction, size, size, size)); },
      [=](auto& e) { e.searchSphere(XFSphere(at, size)); },
      [=](auto& e) { e.searchCircle(XFCircle3D(at, direction, size)); },
      [=](auto& e) {
        e.searchCircle(XFCircle3D(at, direction, size), size, size, size, size, true);
      },
      [=](auto& e) { e.searchCircle2(XFCircle3D(at, direction, size), size, size, size, true); },
      [=](auto& e) { e.searchOvalGroove(XFOvalGroove3D(at, direction, direction, size, size)); },
      [=](auto& e) { e.searchRectangle(XFRectangle3D(at, direction, direction, size, size)); },
      [=](auto& e) {
        e.searchRoundGroove(XFRoundGroove3D(at, direction, direction, size, size, size));
      },
      [=](auto& e) { e.searchPoint(XFPoint(at), size); },
      [=](auto& e) {
        XFPoint out;
        e.searchPoint(XFPoint(at), size, out);
      },
      [=](auto& e) {
        XFPoint out;
        e.searchPoint(XFPointN(at, direction), size, size, 90, out);
      },
  };
}

TEST_F(SearchInFolder, FindsNothingWithoutPoints) {
  Scan hollow;
  for (int i = 0; i < 30; ++i) hollow.add(0, kNan, 0, 0, 0, 1);
  XGeoFeatureExtract before, empty, all_nan;
  empty.setData(nullptr, -1);
  all_nan.setData(hollow.data.data(), hollow.count());
  for (XGeoFeatureExtract* extract : {&before, &empty, &all_nan}) {
    extract->indexBoundary = {0, 1, 2};
    for (const auto& search : allSearches(kOff, kTilted, 5.0F)) {
      extract->indexResult = {1};
      search(*extract);
      EXPECT_THAT(extract->indexResult, IsEmpty());
      EXPECT_THAT(extract->indexResult2, IsEmpty());
    }
  }
}

TEST_F(SearchInFolder, SurvivesDegenerateNominals) {
  Scan scan = cubeScan(500, 8.0F, 4);
  for (const float far : {1e30F, 3e38F}) scan.add(far, -far, far, 0, 0, 1);
  XGeoFeatureExtract extract;
  extract.setData(scan.data.data(), scan.count());
  for (int i = 0; i < scan.count(); ++i) extract.indexBoundary.push_back(i);
  const float nowhere[3] = {kNan, 0, 0}, far[3] = {3e38F, 0, 1e30F}, none[3] = {0, 0, 0};
  for (const float* at : {kOff, nowhere, far}) {
    for (const float* direction : {kTilted, nowhere, far, none}) {
      for (const float size : {0.0F, -3.0F, 5.0F, 1e6F, 1e30F, kInf, kNan}) {
        for (const auto& search : allSearches(at, direction, size)) {
          search(extract);
          const auto& found = extract.indexResult;
          EXPECT_TRUE(std::all_of(found.begin(), found.end(),
                                  [&](int i) { return i >= 0 && i < scan.count(); }));
          if (at == nowhere) {
            EXPECT_THAT(found, IsEmpty());
          }
        }
      }
    }
  }
}

TEST_F(Search, ConeWithoutATaperOrATopFindsNothing) {
  const float radii[][2] = {{3, 3}, {3, 0}, {0, 0}};
  for (const auto& r : radii) {
    s_extract->indexResult = {1};
    s_extract->searchCone(XFCone(kOff, kTilted, r[0], r[1], 2.0F));
    EXPECT_THAT(s_extract->indexResult, IsEmpty()) << r[0] << r[1];
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
