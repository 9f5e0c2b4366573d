// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Sphere, cylinder and cone on the road from the scan to the report.
#include <algorithm>
#include <array>
#include <cmath>

#include <zelmo/lmfit/cone_fit_lm.h>
#include <zelmo/lmfit/cylinder_fit_lm.h>
#include <zelmo/lmfit/sphere_fit_lm.h>
#include <zelmo/measure/geo_tolerance.h>

#include "shapes.h"

namespace inspect {
namespace {

using xgeofeature::XFCone;
using xgeofeature::XFCylinder;
using xgeofeature::XFSphere;
using xgeofeature::XGeoFeatureExtract;
using xgeomeasure::XGeoTolrance;

/// The part of a vector that stands square to a unit axis.
cv::Vec3d across(const cv::Vec3d& v, const cv::Vec3d& axis) { return v - v.dot(axis) * axis; }

/// Runs one of the damped fits with its band filter.
template <typename Fit>
bool runFit(Fit& fit, const Gathered& gathered, double sigma) {
  const xfeaturefitfilter::FilterParam band(0.0F, static_cast<float>(sigma), 0.0F);
  return fit.Fit(gathered.points.data(), gathered.normals.data(), gathered.count(), band,
                 xfeaturefitfilter::FilterSigma) == 0;
}

/// The unit direction from an axis to the point.
cv::Vec3d awayFrom(const float* origin, const float* axis, const cv::Vec3d& point) {
  return unit(across(point - vec(origin), unit(vec(axis))));
}

double distanceFromAxis(const cv::Vec3d& point, const cv::Vec3d& origin, const cv::Vec3d& axis) {
  return cv::norm(across(point - origin, unit(axis)));
}

std::vector<double> deviationsOf(const XFCone& cone, const Gathered& gathered) {
  std::vector<double> values;
  for (std::size_t i = 0; i < gathered.points.size(); i += 3) {
    values.push_back(deviation(cone, vec(&gathered.points[i])));
  }
  return values;
}

}  // namespace

// Sphere.

void search(XGeoFeatureExtract& extract, const XFSphere& nominal) { extract.searchSphere(nominal); }

cv::Vec3d directionAt(const XFSphere& nominal, const cv::Vec3d& point) {
  return unit(point - vec(nominal.center));
}

cv::Vec3d radialAt(const XFSphere& /*nominal*/, const cv::Vec3d& /*point*/) { return {}; }

bool fit(const Gathered& gathered, double sigma, XFSphere& measured) {
  zelmolm::XSphereFitLM fitter;
  if (!runFit(fitter, gathered, sigma)) return false;
  fitter.getSphere(measured);
  return true;
}

double deviation(const XFSphere& measured, const cv::Vec3d& point) {
  return cv::norm(point - vec(measured.center)) - measured.radius;
}

double form(const XFSphere& measured, const Gathered& gathered, double sigma) {
  std::array<double, 4> sphere{measured.center[0], measured.center[1], measured.center[2],
                               measured.radius};
  return XGeoTolrance::calcSphericity(gathered.points.data(), gathered.count(), sphere.data(), true,
                                      sigma);
}

Difference compare(const XFSphere& nominal, XFSphere& measured) {
  return {cv::norm(vec(nominal.center) - vec(measured.center)), 0.0};
}

Telling tell(const XFSphere& sphere) { return {"sphere", vec(sphere.center), {}, sphere.radius}; }

// Cylinder.

void search(XGeoFeatureExtract& extract, const XFCylinder& nominal) {
  extract.searchCylinder(nominal);
}

cv::Vec3d directionAt(const XFCylinder& nominal, const cv::Vec3d& point) {
  const cv::Vec3d axis = unit(vec(nominal.axis)), from_center = point - vec(nominal.center);
  if (std::abs(from_center.dot(axis)) > 0.5 * nominal.height) return {};
  return unit(across(from_center, axis));
}

cv::Vec3d radialAt(const XFCylinder& nominal, const cv::Vec3d& point) {
  return awayFrom(nominal.center, nominal.axis, point);
}

bool fit(const Gathered& gathered, double sigma, XFCylinder& measured) {
  zelmolm::XCylinderFitLM fitter;
  if (!runFit(fitter, gathered, sigma)) return false;
  fitter.getCylinder(measured);
  return true;
}

double deviation(const XFCylinder& measured, const cv::Vec3d& point) {
  return cv::norm((point - vec(measured.center)).cross(vec(measured.axis))) - measured.radius;
}

double form(const XFCylinder& measured, const Gathered& gathered, double sigma) {
  std::array<double, 7> cylinder{};
  std::copy(measured.center, measured.center + 3, cylinder.begin());
  std::copy(measured.axis, measured.axis + 3, cylinder.begin() + 3);
  cylinder[6] = measured.radius;
  return XGeoTolrance::calcCylindricity(gathered.points.data(), gathered.count(), cylinder.data(),
                                        true, sigma);
}

Difference compare(const XFCylinder& nominal, XFCylinder& measured) {
  if (vec(nominal.axis).dot(vec(measured.axis)) < 0.0) measured.inv();
  return {distanceFromAxis(vec(nominal.center), vec(measured.center), vec(measured.axis)),
          angleBetween(vec(nominal.axis), vec(measured.axis))};
}

Telling tell(const XFCylinder& cylinder) {
  return {"cylinder", vec(cylinder.center), vec(cylinder.axis), cylinder.radius};
}

// Cone. Its axis runs from the wide end to the apex.

void search(XGeoFeatureExtract& extract, const XFCone& nominal) {
  // The library's search for a cone measures along an axis divided by the height, which finds little
  // on cones that are not 1 high. So the neighbourhood is taken and the band is tested here.
  xgeofeature::XFPoint middle;
  nominal.getCenterPoint(middle);
  const float radius = 1.1F * std::hypot(0.5F * nominal.height, nominal.baseRadius);
  extract.searchPoint(middle, radius);
  std::vector<int>& found = extract.indexResult;
  const auto outside = [&extract, &nominal](int index) {
    const auto& point = extract.cloud->points[static_cast<std::size_t>(index)];
    return !(std::abs(deviation(nominal, {point.x, point.y, point.z})) <= extract.maxDis);
  };
  found.erase(std::remove_if(found.begin(), found.end(), outside), found.end());
}

cv::Vec3d directionAt(const XFCone& nominal, const cv::Vec3d& point) {
  const cv::Vec3d axis = unit(vec(nominal.axis)), from_base = point - vec(nominal.base);
  const double along = from_base.dot(axis);
  if (along < 0.0 || along > nominal.height) return {};
  return std::cos(nominal.halfAngle) * unit(across(from_base, axis)) +
         std::sin(nominal.halfAngle) * axis;
}

cv::Vec3d radialAt(const XFCone& nominal, const cv::Vec3d& point) {
  return awayFrom(nominal.base, nominal.axis, point);
}

bool fit(const Gathered& gathered, double /*sigma*/, XFCone& measured) {
  // This fit has no filter of its own.
  zelmolm::XConeFitLM fitter;
  if (fitter.Fit(gathered.points.data(), gathered.normals.data(), gathered.count()) < 0) {
    return false;
  }
  fitter.getCone(measured);
  return true;
}

double deviation(const XFCone& measured, const cv::Vec3d& point) {
  const cv::Vec3d axis = unit(vec(measured.axis)), from_apex = point - vec(measured.apex);
  return cv::norm(across(from_apex, axis)) * std::cos(measured.halfAngle) +
         from_apex.dot(axis) * std::sin(measured.halfAngle);
}

double form(const XFCone& measured, const Gathered& gathered, double sigma) {
  std::vector<double> values = deviationsOf(measured, gathered);
  const Band band = bandOf(values, sigma);
  double smallest = 1e10, largest = -1e10;
  for (const double value : values) {
    if (!band.holds(value)) continue;
    smallest = std::min(smallest, value);
    largest = std::max(largest, value);
  }
  return largest - smallest;
}

Difference compare(const XFCone& nominal, XFCone& measured) {
  const cv::Vec3d middle = 0.5 * (vec(nominal.base) + vec(nominal.top));
  return {distanceFromAxis(middle, vec(measured.apex), vec(measured.axis)),
          angleBetween(vec(nominal.axis), vec(measured.axis))};
}

Telling tell(const XFCone& cone) {
  return {"cone", vec(cone.apex), vec(cone.axis), cone.halfAngle * 180.0 / CV_PI};
}

}  // namespace inspect
