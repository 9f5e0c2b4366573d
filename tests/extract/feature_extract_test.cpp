// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/extract/feature_extract.h"

#include <filesystem>
#include <functional>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "scan.h"
#include "support/captured_output.h"

namespace zelmo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace xgeofeature;  // NOLINT: every record is named below

XGeoFeatureExtract extractOf(const Scan& scan) {
  XGeoFeatureExtract extract;
  extract.setData(scan.data.data(), scan.count());
  return extract;
}

/// A square sheet with a square hole in its middle, its points moved out of their lattice.
Scan sheetWithHole(int side, int hole) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> jitter(-0.3, 0.3);
  Scan scan;
  for (int x = -side; x <= side; ++x) {
    for (int y = -side; y <= side; ++y) {
      if (std::max(std::abs(x), std::abs(y)) <= hole) continue;
      scan.add({x + jitter(random), y + jitter(random), 0.0}, {0, 0, 1});
    }
  }
  return scan;
}

/// Points of a flat scan whose 20 nearest, the point itself among them, leave a gap of more than a
/// quarter turn.
std::vector<int> rimOf(const Scan& scan) {
  std::vector<int> rim;
  for (int i = 0; i < scan.count(); ++i) {
    std::vector<std::pair<float, double>> near;  // distance, direction
    for (int k = 0; k < scan.count(); ++k) {
      const float x = scan.point(k)[0] - scan.point(i)[0], y = scan.point(k)[1] - scan.point(i)[1];
      if (k != i) near.emplace_back(x * x + y * y, std::atan2(y, x));
    }
    std::sort(near.begin(), near.end());
    std::vector<double> turns;
    for (std::size_t k = 0; k < 19; ++k) turns.push_back(near[k].second);
    std::sort(turns.begin(), turns.end());
    double gap = turns.front() + 2 * CV_PI - turns.back();
    for (std::size_t k = 1; k < turns.size(); ++k) gap = std::max(gap, turns[k] - turns[k - 1]);
    if (gap > CV_PI / 2) rim.push_back(i);
  }
  return rim;
}

TEST(XGeoFeatureExtract, TakesTheScanAsItIs) {
  const float data[] = {1, 2, 3, 4, 5, 6, kNan, 8, 9, 10, 11, 12};
  XGeoFeatureExtract extract;
  EXPECT_EQ(extract.cloud, nullptr);
  EXPECT_EQ(extract.kdtree, nullptr);
  EXPECT_EQ(extract.maxDis, 1.0F);
  extract.indexBoundary = {7};
  extract.indexResult = {8};
  extract.indexResult2 = {9};
  extract.setData(data, 2);
  extract.setMaxDis(0.25F);
  EXPECT_EQ(extract.maxDis, 0.25F);
  EXPECT_EQ(extract.cloud->width, 2U);
  EXPECT_EQ(extract.cloud->height, 1U);
  EXPECT_FALSE(extract.cloud->is_dense);
  EXPECT_EQ(extract.cloud->at(1).z, 9.0F);
  EXPECT_THAT(extract.normals, ElementsAre(4, 5, 6, 10, 11, 12));
  EXPECT_THAT(extract.indexBoundary, ElementsAre(7));
  EXPECT_THAT(extract.indexResult, ElementsAre(8));
  EXPECT_THAT(extract.indexResult2, ElementsAre(9));
}

TEST(XGeoFeatureExtract, FindsTheRimOfASheetAndOfItsHole) {
  const Scan scan = sheetWithHole(12, 3);
  XGeoFeatureExtract extract = extractOf(scan);
  const std::vector<int> rim = rimOf(scan);
  EXPECT_GT(rim.size(), 90U);
  const std::string line = "indexBoundary.size=" + std::to_string(rim.size()) + "\n";
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(standardOutputOf([&] { extract.searchBoundaryIndex(); }), line);
    EXPECT_EQ(extract.indexBoundary, rim);
  }
}

TEST(XGeoFeatureExtract, HasNoBoundaryWithoutPoints) {
  Scan hollow, single;
  for (int i = 0; i < 30; ++i) hollow.add(kNan, 0, 0, 0, 0, 1);
  single = hollow;
  single.add(1, 2, 3, 0, 0, 1);
  for (XGeoFeatureExtract extract :
       {XGeoFeatureExtract(), extractOf(Scan()), extractOf(hollow), extractOf(single)}) {
    extract.indexBoundary = {1, 2};
    EXPECT_EQ(standardOutputOf([&] { extract.searchBoundaryIndex(); }), "indexBoundary.size=0\n");
    EXPECT_THAT(extract.indexBoundary, IsEmpty());
  }
}

TEST(XGeoFeatureExtract, CopiesKeepTheirScanWhenTheOtherTakesANewOne) {
  const XFPoint origin(0, 0, 0);
  auto first = std::make_unique<XGeoFeatureExtract>(extractOf(sheetWithHole(5, -1)));
  XGeoFeatureExtract copy(*first), assigned;
  assigned = *first;
  EXPECT_EQ(copy.kdtree, first->kdtree);
  EXPECT_EQ(copy.cloud, first->cloud);
  first->setData(nullptr, 5);
  first->searchPoint(origin, 20);
  EXPECT_THAT(first->indexResult, IsEmpty());
  first.reset();
  copy.searchPoint(origin, 20);
  assigned.searchPoint(origin, 20);
  EXPECT_EQ(copy.indexResult.size(), 121U);
  EXPECT_EQ(assigned.indexResult, copy.indexResult);
}

using SurfacePoint = std::pair<cv::Vec3d, cv::Vec3d>;  // with its normal

/// What a line from (r0, z0) to (r1, z1) leaves when it turns about the z axis.
auto turned(double r0, double z0, double r1, double z1) {
  return [=](double u, double v) {
    const double c = std::cos(2 * CV_PI * u), s = std::sin(2 * CV_PI * u), r = r0 + v * (r1 - r0);
    return SurfacePoint({r * c, r * s, z0 + v * (z1 - z0)},
                        cv::normalize(cv::Vec3d(c * (z1 - z0), s * (z1 - z0), r0 - r1)));
  };
}
auto sheet(double length, double width) {
  return [=](double u, double v) {
    return SurfacePoint({length * (u - 0.5), width * (v - 0.5), 0}, {0, 0, 1});
  };
}

TEST(XGeoFeatureExtract, TellsAFeaturesPointsFromOutliers) {
  static const float o[3] = {0, 0, 0}, z[3] = {0, 0, 1}, x[3] = {1, 0, 0}, low[3] = {0, 0, -5};
  using E = XGeoFeatureExtract;
  const auto ball = [](double u, double v) {
    const double h = 2 * v - 1, across = std::sqrt(1 - h * h), turn = 2 * CV_PI * u;
    const cv::Vec3d n(across * std::cos(turn), across * std::sin(turn), h);
    return SurfacePoint(8 * n, n);
  };
  XFPoint mean;
  const struct {
    const char* name;
    std::function<SurfacePoint(double, double)> surface;
    std::function<void(E&)> search;
  } cases[] = {
      {"plane", sheet(20, 12), [](E& e) { e.searchPlane(XFPlane(o, z, x, 20, 12)); }},
      {"cylinder", turned(6, -5, 6, 5), [](E& e) { e.searchCylinder(XFCylinder(low, z, 6, 10)); }},
      {"sphere", ball, [](E& e) { e.searchSphere(XFSphere(o, 8)); }},
      // The one height at which the scaled distances of a cone are true: the cosine of 30 degrees.
      {"cone", turned(1, 0, 0.5, 0.8660254),
       [](E& e) { e.searchCone(XFCone(o, z, 1, 0.5F, 0.8660254F)); }},
      {"ring", turned(5, 0, 7, 0),
       [](E& e) { e.searchCircle2(XFCircle3D(o, z, 6), 1, 0, 0, false); }},
      {"bore wall", turned(6, -5, 6, -1),
       [](E& e) { e.searchCircle(XFCircle3D(o, z, 6), 1, 4, 0, 0, false); }},
      {"oval", sheet(18, 8), [](E& e) { e.searchOvalGroove(XFOvalGroove3D(o, z, x, 5, 4)); }},
      {"rectangle", sheet(18, 8), [](E& e) { e.searchRectangle(XFRectangle3D(o, z, x, 9, 4)); }},
      {"round", sheet(18, 8), [](E& e) { e.searchRoundGroove(XFRoundGroove3D(o, z, x, 9, 4, 1)); }},
      {"point", turned(2, 0, 0, 0),
       [&](E& e) { e.searchPoint(XFPointN(o, z), 2, 0.1F, 30, mean); }}};
  constexpr int kTrue = 9800, kOutliers = 200;
  for (const auto& c : cases) {
    std::mt19937 random(17);
    std::uniform_real_distribution<double> unit(0, 1), box(-10, 10);
    std::normal_distribution<double> noise(0, 0.01), bell;
    Scan scan;
    for (int i = 0; i < kTrue; ++i) {
      const auto [p, n] = c.surface(unit(random), unit(random));
      scan.add(p + n * noise(random), n);
    }
    for (int i = 0; i < kOutliers; ++i) {
      scan.add({box(random), box(random), box(random)},
               cv::normalize(cv::Vec3d(bell(random), bell(random), bell(random))));
    }
    XGeoFeatureExtract extract = extractOf(scan);
    extract.setMaxDis(0.1F);
    c.search(extract);
    const auto& found = extract.indexResult;
    const auto right = static_cast<double>(
        std::count_if(found.begin(), found.end(), [](int i) { return i < kTrue; }));
    EXPECT_GE(right / kTrue, 0.99) << c.name;                              // recall
    EXPECT_GE(right / static_cast<double>(found.size()), 0.99) << c.name;  // precision
  }
  EXPECT_NEAR(mean.z, 0, 0.001);
  std::filesystem::remove("_20190125.txt");  // left by the bore wall's search
}

}  // namespace
}  // namespace zelmo::test
