// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "outline_shapes.h"

#include <algorithm>
#include <cmath>

#include <zelmo/curvefit/oval_groove_fit.h>
#include <zelmo/curvefit/rectangle_fit.h>
#include <zelmo/curvefit/round_groove_fit.h>
#include <zelmo/lmfit/circle_fit_3d_lm.h>

namespace inspect {
namespace {

using xgeofeature::XFCircle3D;
using xgeofeature::XFOvalGroove3D;
using xgeofeature::XFRectangle3D;
using xgeofeature::XFRoundGroove3D;

GrownBox box(const char* kind, const float* center, const float* normal, const float* along,
             double half_length, double half_width, double radius) {
  return {kind, vec(center), unit(vec(normal)), unit(vec(along)), half_length, half_width, radius};
}
GrownBox boxFrom(const XFCircle3D& circle) {
  return box("circle", circle.center, circle.normal, circle.majorDir, 0.0, 0.0, circle.radius);
}
GrownBox boxFrom(const XFOvalGroove3D& slot) {
  return box("slot", slot.center, slot.normal, slot.majorDir, slot.halfStraight, 0.0, slot.radius);
}
GrownBox boxFrom(const XFRectangle3D& r) {
  return box("rectangle", r.center, r.normal, r.majorDir, r.halfLength, r.halfWidth, 0.0);
}
GrownBox boxFrom(const XFRoundGroove3D& groove) {
  const double radius = groove.cornerRadius;
  return box("round groove", groove.center, groove.normal, groove.majorDir,
             groove.halfLength - radius, groove.halfWidth - radius, radius);
}

// The points lie in the plane that the circle's fit is given, and that the other fits find.
bool fitIn(const std::vector<float>& points, std::vector<float>& plane, XFCircle3D& measured) {
  zelmolm::XCircleFit3DLM fit;
  const int count = static_cast<int>(points.size() / 3);
  if (fit.Fit2(points.data(), nullptr, count, plane.data(), false) != 0) return false;
  measured = XFCircle3D(fit.center, fit.normal, fit.majorDir, fit.radius);
  return true;
}

template <typename Fit>
bool fitBySimplex(Fit& fit, const std::vector<float>& points) {
  float values[12] = {};
  return fit.Fit(points.data(), static_cast<int>(points.size() / 3), values,
                 xcurve3dfit::LeastSquare);
}
bool fitIn(const std::vector<float>& points, std::vector<float>& /*plane*/,
           XFOvalGroove3D& measured) {
  xcurve3dfit::XOvalGroove3DFit fit;
  if (!fitBySimplex(fit, points)) return false;
  fit.getOvalGroove(measured);
  return true;
}
bool fitIn(const std::vector<float>& points, std::vector<float>& /*plane*/,
           XFRectangle3D& measured) {
  xcurve3dfit::XRectangle3DFit fit;
  if (!fitBySimplex(fit, points)) return false;
  fit.getRectangle(measured);
  return true;
}
bool fitIn(const std::vector<float>& points, std::vector<float>& /*plane*/,
           XFRoundGroove3D& measured) {
  xcurve3dfit::XRoundGroove3DFit fit;
  if (!fitBySimplex(fit, points)) return false;
  fit.getRoundGroove(measured);
  return true;
}

void append(std::vector<float>& values, const cv::Vec3d& v) {
  for (int i = 0; i < 3; ++i) values.push_back(static_cast<float>(v[i]));
}

using xgeofeature::XGeoFeatureExtract;
void searchAround(XGeoFeatureExtract& extract, const XFCircle3D& circle) {
  constexpr float kRing = 3.0F;  // mm of the surface, inside or outside the circle
  extract.searchCircle2(circle, std::min(kRing, 0.9F * circle.radius), 0.0F, 0.0F, false);
}
void searchAround(XGeoFeatureExtract& extract, const XFOvalGroove3D& slot) {
  extract.searchOvalGroove(slot);
}
void searchAround(XGeoFeatureExtract& extract, const XFRectangle3D& rectangle) {
  extract.searchRectangle(rectangle);
}
void searchAround(XGeoFeatureExtract& extract, const XFRoundGroove3D& groove) {
  extract.searchRoundGroove(groove);
}

}  // namespace

double GrownBox::distance(const cv::Vec3d& point) const {
  const double u = std::abs((point - center).dot(along)) - half_length;
  const double v = std::abs((point - center).dot(across())) - half_width;
  return std::hypot(std::max(u, 0.0), std::max(v, 0.0)) + std::min(std::max(u, v), 0.0) - radius;
}

cv::Vec3d GrownBox::outward(const cv::Vec3d& point) const {
  const double x = (point - center).dot(along), y = (point - center).dot(across());
  const double u = std::abs(x) - half_length, v = std::abs(y) - half_width;
  const cv::Vec3d right = std::copysign(1.0, x) * along, up = std::copysign(1.0, y) * across();
  if (u > 0.0 && v > 0.0) return unit(u * right + v * up);
  return u > v ? right : up;
}

GrownBox boxOf(const Outline& outline) {
  return std::visit([](const auto& record) { return boxFrom(record); }, outline);
}

bool fitOutline(const Gathered& gathered, const cv::Vec3d& point, const cv::Vec3d& normal,
                Outline& measured) {
  std::vector<float> points, plane;
  for (std::size_t i = 0; i < gathered.points.size(); i += 3) {
    const cv::Vec3d own = vec(&gathered.points[i]);
    append(points, own - (own - point).dot(normal) * normal);
  }
  append(plane, point);
  append(plane, normal);
  return std::visit([&](auto& record) { return fitIn(points, plane, record); }, measured);
}

void searchSurface(XGeoFeatureExtract& extract, const Outline& nominal) {
  std::visit([&](const auto& record) { searchAround(extract, record); }, nominal);
}

}  // namespace inspect
