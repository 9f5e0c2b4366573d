// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <variant>
#include <vector>

#include <opencv2/core.hpp>
#include <zelmo/extract/feature_extract.h>
#include <zelmo/feature/cone.h>
#include <zelmo/feature/cylinder.h>
#include <zelmo/feature/plane.h>
#include <zelmo/feature/sphere.h>

namespace inspect {

/// An ideal feature, as the model gives it or as a fit finds it.
using Ideal = std::variant<xgeofeature::XFPlane, xgeofeature::XFSphere, xgeofeature::XFCylinder,
                           xgeofeature::XFCone>;

/// Points and normals of one feature, as the fits want them.
struct Gathered {
  std::vector<float> points, normals;
  int count() const { return static_cast<int>(points.size() / 3); }
};

/// How far a measured feature is from the nominal one.
struct Difference {
  double distance = 0.0;  ///< mm
  double angle = 0.0;     ///< degrees between normals or axes; 0 for a sphere
};

/// What a feature is told by: a point of it, its direction, its size.
struct Telling {
  const char* kind;
  cv::Vec3d point;      ///< centre, or a cone's apex
  cv::Vec3d direction;  ///< normal or axis; zero for a sphere
  double size;  ///< radius, a cone's half angle in degrees, a plane's distance from the origin
};

// What differs from one kind of feature to the next on the road from the scan to the report, by
// overloads on the record.

/// Picks the feature's points out of the scan; the indices stand in the object.
void search(xgeofeature::XGeoFeatureExtract& extract, const xgeofeature::XFPlane& nominal);
void search(xgeofeature::XGeoFeatureExtract& extract, const xgeofeature::XFSphere& nominal);
void search(xgeofeature::XGeoFeatureExtract& extract, const xgeofeature::XFCylinder& nominal);
void search(xgeofeature::XGeoFeatureExtract& extract, const xgeofeature::XFCone& nominal);

/// The nominal direction of the surface at a point, of unit length: a plane's normal, or the
/// direction away from the axis or centre. Zero where the feature has ended.
cv::Vec3d directionAt(const xgeofeature::XFPlane& nominal, const cv::Vec3d& point);
cv::Vec3d directionAt(const xgeofeature::XFSphere& nominal, const cv::Vec3d& point);
cv::Vec3d directionAt(const xgeofeature::XFCylinder& nominal, const cv::Vec3d& point);
cv::Vec3d directionAt(const xgeofeature::XFCone& nominal, const cv::Vec3d& point);

/// The direction of a point away from a cylinder's or cone's axis, of unit length; zero for the
/// kinds without an axis.
cv::Vec3d radialAt(const xgeofeature::XFPlane& nominal, const cv::Vec3d& point);
cv::Vec3d radialAt(const xgeofeature::XFSphere& nominal, const cv::Vec3d& point);
cv::Vec3d radialAt(const xgeofeature::XFCylinder& nominal, const cv::Vec3d& point);
cv::Vec3d radialAt(const xgeofeature::XFCone& nominal, const cv::Vec3d& point);

/// Fits the feature to the points, dropping those outside \p sigma standard deviations once; the cone's
/// fit drops none.
/// \return false where the fit fails
bool fit(const Gathered& gathered, double sigma, xgeofeature::XFPlane& measured);
bool fit(const Gathered& gathered, double sigma, xgeofeature::XFSphere& measured);
bool fit(const Gathered& gathered, double sigma, xgeofeature::XFCylinder& measured);
bool fit(const Gathered& gathered, double sigma, xgeofeature::XFCone& measured);

/// Signed distance of a point from the feature's surface.
double deviation(const xgeofeature::XFPlane& measured, const cv::Vec3d& point);
double deviation(const xgeofeature::XFSphere& measured, const cv::Vec3d& point);
double deviation(const xgeofeature::XFCylinder& measured, const cv::Vec3d& point);
double deviation(const xgeofeature::XFCone& measured, const cv::Vec3d& point);

/// The form tolerance: flatness, sphericity, cylindricity, and for the cone, for which the library
/// has no tolerance, the same band of the deviations.
double form(const xgeofeature::XFPlane& measured, const Gathered& gathered, double sigma);
double form(const xgeofeature::XFSphere& measured, const Gathered& gathered, double sigma);
double form(const xgeofeature::XFCylinder& measured, const Gathered& gathered, double sigma);
double form(const xgeofeature::XFCone& measured, const Gathered& gathered, double sigma);

/// A plane's distance is signed and taken at the nominal centre: positive where the measured plane
/// stands out of the material. A sphere's is that of the centres, a cylinder's and a cone's that of
/// the measured axis from the nominal centre. A cylinder's measured axis is turned to run as the
/// nominal one does.
Difference compare(const xgeofeature::XFPlane& nominal, xgeofeature::XFPlane& measured);
Difference compare(const xgeofeature::XFSphere& nominal, xgeofeature::XFSphere& measured);
Difference compare(const xgeofeature::XFCylinder& nominal, xgeofeature::XFCylinder& measured);
Difference compare(const xgeofeature::XFCone& nominal, xgeofeature::XFCone& measured);

Telling tell(const xgeofeature::XFPlane& plane);
Telling tell(const xgeofeature::XFSphere& sphere);
Telling tell(const xgeofeature::XFCylinder& cylinder);
Telling tell(const xgeofeature::XFCone& cone);
inline Telling tell(const Ideal& ideal) {
  return std::visit([](const auto& record) { return tell(record); }, ideal);
}

/// A sphere has no direction, and is the only kind without.
inline bool isSphere(const Ideal& ideal) { return cv::norm(tell(ideal).direction) == 0.0; }

// Shared by the kinds.

inline cv::Vec3d vec(const float* v) { return {v[0], v[1], v[2]}; }

/// The vector brought to unit length; zero stays zero.
cv::Vec3d unit(const cv::Vec3d& v);

/// Degrees between two directions, from 0 to 180.
double angleBetween(const cv::Vec3d& a, const cv::Vec3d& b);

/// The values within mean plus or minus a number of standard deviations.
struct Band {
  double low, high;
  bool holds(double value) const { return !(low > value) && !(value > high); }
};
Band bandOf(const std::vector<double>& values, double sigma);

}  // namespace inspect
