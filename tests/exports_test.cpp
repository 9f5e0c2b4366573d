// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Links only the shared library: a class without its export mark fails to link here.
#include <iostream>

#include <gtest/gtest.h>
#include <zelmo/zelmo.h>

TEST(SharedLibrary, IsOfTheVersionItsHeadersName) { EXPECT_STREQ(zelmo::version(), ZELMO_VERSION); }

TEST(SharedLibrary, FeatureRecordsKeepTheirClassAcrossIt) {
  const float xyz[3] = {1, 2, 3};
  xgeofeature::XFCircle3D circle(xyz, xyz, 4);
  xgeofeature::XFPoint point(xyz);
  xgeofeature::XFBase* const records[] = {&circle, &point};
  EXPECT_EQ(records[0]->getFeatureType(), xgeofeature::GeoCircle);
  EXPECT_NE(dynamic_cast<xgeofeature::XFPoint*>(records[1]), nullptr);
  // A writer that knows the class of the host's own record tries to build it, and fails.
  xgeofeature::XFCircle3D no_normal;
  EXPECT_ANY_THROW(xexportfiles::XExportFiles::Export2DFeature(&no_normal, L"no file"));
  EXPECT_EQ(xexportfiles::XExportFiles::Export3DFeature(records[1], L"no file"), -1);
}

TEST(SharedLibrary, ExportsMeasurement) {
  const float axes[6] = {0, 0, 0, 1, 0, 0};
  float out[3] = {};
  EXPECT_EQ(xgeomeasure::XGeoDimension::calcDistance_Point2Line(axes + 3, axes), 0.0);
  EXPECT_EQ(xgeomeasure::XGeoConstructor::Projection_Point_Line(axes, axes, out), 0);
  double sphere[4] = {0, 0, 0, 1};
  EXPECT_EQ(xgeomeasure::XGeoTolrance::calcSphericity(nullptr, 0, sphere, false, 0), -1.0);
  xgeofeature::XFPoint average;
  xgeofeature::XDistanceAttributes distance;
  EXPECT_EQ(xgeofeature::XGeoFConstructor::getPointAverage({}, average), -1);
  EXPECT_EQ(xgeofeature::XGeoDimension::Distance(average, average, distance), 0);
}

TEST(SharedLibrary, ExportsTheDampedFits) {
  const xfeaturefitfilter::FilterParam limits(45, 2, 0.1F);
  const auto none = xfeaturefitfilter::FilterNone;
  EXPECT_EQ(zelmolm::XPlaneFitLM().Fit(nullptr, nullptr, 0, limits, none), -1);
  EXPECT_EQ(zelmolm::XSphereFitLM().Fit(nullptr, nullptr, 0, limits, none), -1);
  EXPECT_EQ(zelmolm::XCylinderFitLM().Fit(nullptr, nullptr, 0, limits, none), -1);
  EXPECT_EQ(zelmolm::XConeFitLM().Fit(nullptr, nullptr, 0), -1);
  EXPECT_EQ(zelmolm::XCircleFit3DLM().Fit(nullptr, nullptr, 0, nullptr, false), -1);
}

TEST(SharedLibrary, SurvivesAStandardOutputThatThrows) {
  struct Closed : std::streambuf {
  } closed;  // takes nothing
  std::streambuf* const host = std::cout.rdbuf(&closed);
  std::cout.exceptions(std::ios::badbit);
  xgeofeature::XGeoFeatureExtract().searchBoundaryIndex();  // prints a count
  EXPECT_TRUE(std::cout.bad());
  std::cout.exceptions(std::ios::goodbit);
  std::cout.rdbuf(host);
}
