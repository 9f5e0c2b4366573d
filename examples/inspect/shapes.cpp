// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// What the kinds of features share, and the plane.
#include "shapes.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <zelmo/lmfit/plane_fit_lm.h>
#include <zelmo/measure/geo_tolerance.h>

namespace inspect {

using xgeofeature::XFPlane;

double angleBetween(const cv::Vec3d& a, const cv::Vec3d& b) {
  return std::atan2(cv::norm(a.cross(b)), a.dot(b)) * 180.0 / CV_PI;
}

cv::Vec3d unit(const cv::Vec3d& v) {
  const double length = cv::norm(v);
  return length > 0.0 ? v / length : cv::Vec3d();
}

Band bandOf(const std::vector<double>& values, double sigma) {
  const auto count = static_cast<double>(values.size());
  double sum = 0.0, squares = 0.0;
  for (const double value : values) sum += value;
  const double mean = sum / count;
  for (const double value : values) squares += (value - mean) * (value - mean);
  const double half = sigma * std::sqrt(squares / count);
  return {mean - half, mean + half};
}

void search(xgeofeature::XGeoFeatureExtract& extract, const XFPlane& nominal) {
  extract.searchPlane(nominal);
}

cv::Vec3d directionAt(const XFPlane& nominal, const cv::Vec3d& /*point*/) {
  return vec(nominal.normal);
}

cv::Vec3d radialAt(const XFPlane& /*nominal*/, const cv::Vec3d& /*point*/) { return {}; }

bool fit(const Gathered& gathered, double sigma, XFPlane& measured) {
  zelmolm::XPlaneFitLM fitter;
  const xfeaturefitfilter::FilterParam band(0.0F, static_cast<float>(sigma), 0.0F);
  if (fitter.Fit(gathered.points.data(), gathered.normals.data(), gathered.count(), band,
                 xfeaturefitfilter::FilterSigma) != 0) {
    return false;
  }
  fitter.getPlane(measured);
  return true;
}

double deviation(const XFPlane& measured, const cv::Vec3d& point) {
  return vec(measured.normal).dot(point) - vec(measured.normal).dot(vec(measured.center));
}

double form(const XFPlane& measured, const Gathered& gathered, double sigma) {
  std::array<double, 6> plane{};
  std::copy(measured.center, measured.center + 3, plane.begin());
  std::copy(measured.normal, measured.normal + 3, plane.begin() + 3);
  return xgeomeasure::XGeoTolrance::calcFlatness(gathered.points.data(), gathered.count(),
                                                 plane.data(), true, sigma);
}

Difference compare(const XFPlane& nominal, XFPlane& measured) {
  return {-deviation(measured, vec(nominal.center)),
          angleBetween(vec(nominal.normal), vec(measured.normal))};
}

Telling tell(const XFPlane& plane) {
  return {"plane", vec(plane.center), vec(plane.normal), vec(plane.normal).dot(vec(plane.center))};
}

}  // namespace inspect
