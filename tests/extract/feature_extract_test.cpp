// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/extract/feature_extract.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "scan.h"
#include "support/captured_output.h"

namespace zelmo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using xgeofeature::XFPlane;
using xgeofeature::XGeoFeatureExtract;

XGeoFeatureExtract extractOf(const Scan& scan) {
  XGeoFeatureExtract extract;
  extract.setData(scan.data.data(), scan.count());
  return extract;
}

// A square sheet of points with a square hole of side 2 * hole + 1 in its middle.
Scan sheetWithHole(int side, int hole) {
  Scan scan;
  for (int x = -side; x <= side; ++x) {
    for (int y = -side; y <= side; ++y) {
      if (std::max(std::abs(x), std::abs(y)) <= hole) continue;
      scan.add(static_cast<float>(x), static_cast<float>(y), 0, 0, 0, 1);
    }
  }
  return scan;
}

TEST(XGeoFeatureExtract, TakesTheScanAsItIs) {
  Scan scan;
  scan.add(1, 2, 3, 4, 5, 6);
  scan.add(kNan, 8, 9, 10, 11, 12);
  XGeoFeatureExtract extract;
  EXPECT_EQ(extract.cloud, nullptr);
  EXPECT_EQ(extract.kdtree, nullptr);
  EXPECT_EQ(extract.maxDis, 1.0F);
  extract.indexBoundary = {7};
  extract.indexResult = {8};
  extract.indexResult2 = {9};
  extract.setData(scan.data.data(), 2);
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
  std::vector<int> rim;
  for (int i = 0; i < scan.count(); ++i) {
    const float x = std::abs(scan.point(i)[0]), y = std::abs(scan.point(i)[1]);
    // Corners of the hole look out on a quarter turn only, which is no gap wide enough.
    if (x == 12 || y == 12 || (std::max(x, y) == 4 && x + y < 8)) rim.push_back(i);
  }
  const std::string line = "indexBoundary.size=" + std::to_string(rim.size()) + "\n";
  EXPECT_EQ(standardOutputOf([&] { extract.searchBoundaryIndex(); }), line);
  EXPECT_EQ(extract.indexBoundary, rim);
  EXPECT_EQ(standardOutputOf([&] { extract.searchBoundaryIndex(); }), line);
  EXPECT_EQ(extract.indexBoundary, rim);
}

TEST(XGeoFeatureExtract, HasNoBoundaryWithoutPoints) {
  Scan hollow;
  for (int i = 0; i < 30; ++i) hollow.add(kNan, 0, 0, 0, 0, 1);
  XGeoFeatureExtract before, empty = extractOf(Scan()), all_nan = extractOf(hollow);
  for (XGeoFeatureExtract* extract : {&before, &empty, &all_nan}) {
    extract->indexBoundary = {1, 2};
    EXPECT_EQ(standardOutputOf([&] { extract->searchBoundaryIndex(); }), "indexBoundary.size=0\n");
    EXPECT_THAT(extract->indexBoundary, IsEmpty());
  }
  Scan few;
  for (int i = 0; i < 3; ++i) few.add(static_cast<float>(i), kNan, 0, 0, 0, 1);
  few.add(1, 2, 3, 0, 0, 1);
  XGeoFeatureExtract single = extractOf(few);
  standardOutputOf([&] { single.searchBoundaryIndex(); });
  EXPECT_THAT(single.indexBoundary, IsEmpty());
}

TEST(XGeoFeatureExtract, CopiesKeepTheirScanWhenTheOtherTakesANewOne) {
  const float center[3] = {0, 0, 0}, up[3] = {0, 0, 1}, right[3] = {1, 0, 0};
  const XFPlane plane(center, up, right, 4, 4);
  auto first = std::make_unique<XGeoFeatureExtract>(extractOf(sheetWithHole(5, -1)));
  XGeoFeatureExtract copy(*first), assigned;
  assigned = *first;
  EXPECT_EQ(copy.kdtree, first->kdtree);
  EXPECT_EQ(copy.cloud, first->cloud);
  first->setData(nullptr, 5);
  first->searchPlane(plane);
  EXPECT_THAT(first->indexResult, IsEmpty());
  first.reset();
  copy.searchPlane(plane);
  assigned.searchPlane(plane);
  EXPECT_EQ(copy.indexResult.size(), 21U);  // 5 by 5 less the corners, which lie on the ball
  EXPECT_EQ(assigned.indexResult, copy.indexResult);
}

}  // namespace
}  // namespace zelmo::test
