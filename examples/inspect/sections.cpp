// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "sections.h"

#include <algorithm>
#include <cmath>

#include <zelmo/lmfit/circle_fit_3d_lm.h>
#include <zelmo/simplex/line_fit.h>

namespace inspect {
namespace {

constexpr int kMostSlices = 8, kFewestSlices = 3;
constexpr int kEnough = 25;         // points of a slice, where there are so many
constexpr int kFewest = 8;          // points of a slice
constexpr double kHalfStrip = 0.5;  // mm

void append(std::vector<float>& points, const cv::Vec3d& point) {
  for (int i = 0; i < 3; ++i) points.push_back(static_cast<float>(point[i]));
}

/// Fits the slice's circle in a plane across the axis.
bool fitCircle(const cv::Vec3d& middle, const cv::Vec3d& axis, Section& section) {
  std::vector<float> plane;
  append(plane, middle);
  append(plane, axis);
  zelmolm::XCircleFit3DLM fit;
  if (section.count() < kFewest ||
      fit.Fit2(section.points.data(), nullptr, section.count(), plane.data(), false) != 0) {
    return false;
  }
  std::copy(fit.center, fit.center + 3, section.circle.begin());
  std::copy(fit.normal, fit.normal + 3, section.circle.begin() + 3);
  section.circle[6] = fit.radius;
  return std::isfinite(section.circle[0] + section.circle[6]);
}

}  // namespace

Ray rayFrom(const Telling& telling) {
  Ray ray{};
  for (int i = 0; i < 3; ++i) {
    ray[static_cast<std::size_t>(i)] = telling.point[i];
    ray[static_cast<std::size_t>(i) + 3] = telling.direction[i];
  }
  return ray;
}

std::vector<Section> sectionsOf(const Measurement& one, const Scan& scan) {
  const auto* cylinder = std::get_if<xgeofeature::XFCylinder>(&one.measured);
  if (cylinder == nullptr || one.nominal.sector.reach < CV_PI) return {};
  const cv::Vec3d axis = unit(vec(cylinder->axis)), centre = vec(cylinder->center);
  const Gathered gathered = gatherUsed(scan, one.points);
  double low = 1e30, high = -1e30;
  for (std::size_t i = 0; i < gathered.points.size(); i += 3) {
    const double along = (vec(&gathered.points[i]) - centre).dot(axis);
    low = std::min(low, along);
    high = std::max(high, along);
  }
  const int count = std::clamp(gathered.count() / kEnough, kFewestSlices, kMostSlices);
  std::vector<Section> slices(static_cast<std::size_t>(count)), sections;
  const double thickness = (high - low) / count;
  for (std::size_t i = 0; i < gathered.points.size(); i += 3) {
    const double along = (vec(&gathered.points[i]) - centre).dot(axis);
    const int slice = std::min(static_cast<int>((along - low) / thickness), count - 1);
    append(slices[static_cast<std::size_t>(slice)].points, vec(&gathered.points[i]));
  }
  for (int i = 0; i < count; ++i) {
    Section& slice = slices[static_cast<std::size_t>(i)];
    const cv::Vec3d middle = centre + (low + (i + 0.5) * thickness) * axis;
    if (fitCircle(middle, axis, slice)) sections.push_back(slice);
  }
  return sections;
}

std::vector<float> centresOf(const std::vector<Section>& sections) {
  std::vector<float> points;
  for (const Section& section : sections) {
    append(points, {section.circle[0], section.circle[1], section.circle[2]});
  }
  return points;
}

std::vector<float> lineIn(const Measurement& one, const Scan& scan) {
  const auto* nominal = std::get_if<xgeofeature::XFPlane>(&one.nominal.ideal);
  if (nominal == nullptr) return {};
  const cv::Vec3d middle = vec(nominal->center);
  const cv::Vec3d across = unit(vec(nominal->normal).cross(vec(nominal->majorDir)));
  const Gathered gathered = gatherUsed(scan, one.points);
  std::vector<float> points;
  for (std::size_t i = 0; i < gathered.points.size(); i += 3) {
    const cv::Vec3d point = vec(&gathered.points[i]);
    const double aside = (point - middle).dot(across);
    if (std::abs(aside) <= kHalfStrip) append(points, point - aside * across);
  }
  return points;
}

bool lineThrough(const std::vector<float>& points, Ray& line) {
  const int count = static_cast<int>(points.size() / 3);
  x3dfit::XLine3DFit fit;
  if (!fit.Fit(points.data(), count, line.data(), x3dfit::LeastSquare)) return false;
  float start[3] = {}, end[3] = {};
  fit.getStart_End_Point(points.data(), count, line.data(), start, end);
  std::copy(start, start + 3, line.begin());
  return true;
}

}  // namespace inspect
