// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/extract/poly_line_fit.h"

#include <cmath>
#include <utility>

#include "zelmo/extract/internal/nominal_shapes.h"
#include "zelmo/extract/internal/search_index.h"
#include "zelmo/extract/internal/tube_section.h"

namespace xpolylinefit {

namespace zi = zelmo::internal;
using xgeofeature::XFCylinder;
using xgeofeature::XFPoint;

namespace {

constexpr int kFewest = 10;  // points of a section
constexpr int kMet = 0, kNoStart = -1, kEnd = -2;
constexpr double kSamePoint = 1e-6;

double sectionBand(float radius) {
  const double band = 0.7 * radius;
  return band < 0.5 ? 1.5 * band : band;
}

std::vector<float> pointsAt(const pcl::PointCloud<pcl::PointXYZ>& cloud,
                            const std::vector<int>& indices) {
  std::vector<float> points;
  points.reserve(3 * indices.size());
  for (const int i : indices) {
    const pcl::PointXYZ& p = cloud.at(static_cast<std::size_t>(i));
    points.insert(points.end(), {p.x, p.y, p.z});
  }
  return points;
}

XFPoint pointOf(const cv::Vec3f& v) { return {v[0], v[1], v[2]}; }

XFCylinder sectionOf(const zi::TubeCursor& cursor) {
  return {cursor.at.val, cursor.axis.val, cursor.radius, cursor.length};
}

/// The foot of \p q on the axis of \p section, in float.
XFPoint footOn(const XFCylinder& section, const XFPoint& q) {
  const float* c = section.center;
  const float* axis = section.axis;
  if (std::abs(c[0] - q.x) < kSamePoint && std::abs(c[1] - q.y) < kSamePoint &&
      std::abs(c[2] - q.z) < kSamePoint) {
    return XFPoint(c);
  }
  const float t = axis[0] * (c[0] - q.x) + axis[1] * (c[1] - q.y) + axis[2] * (c[2] - q.z);
  return {c[0] - t * axis[0], c[1] - t * axis[1], c[2] - t * axis[2]};
}

}  // namespace

void XPolyLineFit::setData(const float* data, const int& count) {
  zi::ScanData scan = zi::scanOf(data, count);
  cloud = std::move(scan.cloud);
  normals = std::move(scan.normals);
  kdtree = std::move(scan.tree);
  m_index = std::move(scan.index);
}

int XPolyLineFit::Fit(const float* const start, const float* const direction, const float& step,
                      const float& radius) {
  points.clear();
  if (start == nullptr || direction == nullptr) return kNoStart;
  std::vector<int> section;
  searchCylinder(XFCylinder(start, direction, radius, step), section);
  if (section.size() < kFewest) return kNoStart;
  auto tube = zi::startTube(pointsAt(*cloud, section), start, direction, step, radius);
  if (!tube) return kNoStart;
  points.push_back(pointOf(tube->begin));
  points.push_back(pointOf(tube->cursor.at));
  const std::size_t most_points = cloud->size();
  for (bool first = true; points.size() < most_points; first = false) {
    const XFCylinder cylinder = sectionOf(tube->cursor);
    if (!first && meetsItself(cylinder)) return kMet;
    searchCylinder(cylinder, section);
    if (section.size() < kFewest) return kEnd;
    if (!zi::advance(tube->cursor, pointsAt(*cloud, section))) return kEnd;
    points.push_back(pointOf(tube->cursor.at));
  }
  return kEnd;
}

void XPolyLineFit::getPolyLine(xgeofeature::XFPolyLine& out) { out = *this; }

void XPolyLineFit::searchCylinder(const XFCylinder& cylinder, std::vector<int>& indices) {
  const double half = cylinder.height / 2.0;
  const double reach =
      std::sqrt(half * half + static_cast<double>(cylinder.radius) * cylinder.radius);
  indices = zi::searchShape({cloud, normals, kdtree, m_index.get()},
                            zi::ballAround(cylinder.center, reach),
                            zi::shapeOf(cylinder, sectionBand(cylinder.radius)));
}

/// Whether \p section has come back to a point of the line other than the last three; if to the
/// first one, that becomes the last one as well.
bool XPolyLineFit::meetsItself(const XFCylinder& section) {
  XFPoint center;
  section.getCenterPoint(center);
  for (int i = static_cast<int>(points.size()) - 4; i >= 0; --i) {
    const XFPoint q = points[static_cast<std::size_t>(i)];
    const XFPoint foot = footOn(section, q);
    if (!(q.Distance(foot) <= section.radius) || !(center.Distance(foot) <= section.height / 2.0)) {
      continue;
    }
    if (i == 0) points.push_back(q);
    return true;
  }
  return false;
}

}  // namespace xpolylinefit
