// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/extract/feature_extract.h"

#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "scan.h"
#include "support/captured_output.h"

namespace zelmo::test {
namespace {

using testing::ElementsAre;
using xgeofeature::XFPoint;
using xgeofeature::XGeoFeatureExtract;

/// A square sheet with a square hole in its middle, its points moved out of their lattice.
Scan sheetWithHole(int side, int hole) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> jitter(-0.3, 0.3);
  Scan scan;
  for (int x = -side; x <= side; ++x) {
    for (int y = -side; y <= side; ++y) {
      if (std::max(std::abs(x), std::abs(y)) <= hole) continue;
      scan.add(cv::Vec3d(x + jitter(random), y + jitter(random), 0), {0, 0, 1});
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
  extract.indexResult = {7};
  extract.setData(data, 2);
  EXPECT_EQ(extract.cloud->width, 2U);
  EXPECT_EQ(extract.cloud->height, 1U);
  EXPECT_FALSE(extract.cloud->is_dense);
  EXPECT_EQ(extract.cloud->at(1).z, 9.0F);
  EXPECT_THAT(extract.normals, ElementsAre(4, 5, 6, 10, 11, 12));
  EXPECT_THAT(extract.indexResult, ElementsAre(7));
}

TEST(XGeoFeatureExtract, FindsTheRimOfASheetAndOfItsHole) {
  const Scan sheet = sheetWithHole(12, 3);
  const std::vector<int> rim = rimOf(sheet);
  EXPECT_GT(rim.size(), 90U);
  XGeoFeatureExtract extract;
  for (const int missed : {0, 10}) {  // pixels that the scanner put into one place
    Scan scan;
    std::vector<int> place, expected, found;
    for (int i = 0; i < sheet.count(); ++i) {
      place.push_back(scan.count());
      scan.add(cv::Vec3f(sheet.point(i)), {0, 0, 1});
      for (int k = 0; std::abs(i - 300) < 150 && k < missed; ++k) scan.add({0, 0, -100}, {0, 0, 1});
    }
    for (const int i : rim) expected.push_back(place[static_cast<std::size_t>(i)]);
    extract.setData(scan.data.data(), scan.count());
    const auto printed = standardOutputOf([&] { extract.searchBoundaryIndex(); });
    const std::vector<int>& all = extract.indexBoundary;
    EXPECT_EQ(printed, "indexBoundary.size=" + std::to_string(all.size()) + "\n");
    std::copy_if(all.begin(), all.end(), std::back_inserter(found),
                 [&](int i) { return scan.point(i)[2] == 0; });
    EXPECT_EQ(found, expected);
    const int in_heap = static_cast<int>(all.size() - found.size());
    EXPECT_EQ(in_heap == 0 ? 0 : scan.count() - sheet.count(), in_heap) << "unlike answers";
  }
}

TEST(XGeoFeatureExtract, CopiesKeepTheirScanWhenTheOtherTakesANewOne) {
  const Scan scan = sheetWithHole(5, -1);
  auto first = std::make_unique<XGeoFeatureExtract>();
  first->setData(scan.data.data(), scan.count());
  XGeoFeatureExtract copy(*first);
  EXPECT_EQ(copy.kdtree, first->kdtree);
  first->setData(nullptr, 0);
  first.reset();
  copy.searchPoint(XFPoint(0, 0, 0), 20);
  EXPECT_EQ(copy.indexResult.size(), 121U);
}

}  // namespace
}  // namespace zelmo::test
