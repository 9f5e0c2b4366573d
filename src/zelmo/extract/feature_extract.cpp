// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/extract/feature_extract.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <locale>
#include <utility>

#include "zelmo/extract/internal/boundary_index.h"
#include "zelmo/extract/internal/nominal_shapes.h"
#include "zelmo/extract/internal/search_index.h"
#include "zelmo/internal/console.h"
#include "zelmo/measure/feature_constructor.h"

namespace xgeofeature {

using namespace zelmo::internal;  // NOLINT: the shells of this file do little but call kernels

namespace {

constexpr double kAroundEdge = 4.0;        // how far beyond a circle its edge is looked for
constexpr double kEdgeBand = 3.0;          // the most that an edge may lie off the circle's plane
constexpr double kEdgeBandOfRadius = 0.1;  // the same as a part of the radius
constexpr const char* kTraceFile = "_20190125.txt";
constexpr int kBadParameter = -2, kNoPoints = -1;

/// Sums in float, in the order of the indices. There must be some.
XFPoint meanOf(const pcl::PointCloud<pcl::PointXYZ>& cloud, const std::vector<int>& indices) {
  XFPoint sum(0.0F, 0.0F, 0.0F);
  for (const int i : indices) {
    const pcl::PointXYZ& p = cloud.at(static_cast<std::size_t>(i));
    sum.x += p.x;
    sum.y += p.y;
    sum.z += p.z;
  }
  const auto count = static_cast<float>(indices.size());
  return {sum.x / count, sum.y / count, sum.z / count};
}

/// The cosine of an angle of 0 to 90 degrees; at 90 exactly 0, so that a normal square to the nominal
/// one is still taken.
double cosineOf(float degrees) { return degrees == 90.0F ? 0.0 : std::cos(degrees / 180.0 * M_PI); }

}  // namespace

template <typename Ball, typename Shape>
void XGeoFeatureExtract::find(const Ball& ball, const Shape& shape, std::vector<int>& found) const {
  found.clear();  // also when the search throws
  found = searchShape({cloud, normals, kdtree, m_index.get()}, ball, shape);
}

void XGeoFeatureExtract::findRing(const XFCircle3D& circle, float inner, float outer,
                                  std::vector<int>& found) const {
  find(ballAround(circle.center, outer), ringOf(circle, inner, outer, maxDis), found);
}

void XGeoFeatureExtract::setData(const float* data, const int& count) {
  ScanData scan = scanOf(data, count);
  cloud = std::move(scan.cloud);
  normals = std::move(scan.normals);
  kdtree = std::move(scan.tree);
  m_index = std::move(scan.index);
}

void XGeoFeatureExtract::setMaxDis(const float& distance) { maxDis = distance; }

void XGeoFeatureExtract::searchBoundaryIndex() {
  indexBoundary = boundaryIndices(cloud);
  ConsoleText() << "indexBoundary.size=" << static_cast<int>(indexBoundary.size()) << '\n';
}

void XGeoFeatureExtract::searchPlane(const XFPlane& plane) {
  find(ballAround(plane), shapeOf(plane, maxDis), indexResult);
}

void XGeoFeatureExtract::searchCylinder(const XFCylinder& cylinder) {
  find(ballAround(cylinder), shapeOf(cylinder, maxDis), indexResult);
}

void XGeoFeatureExtract::searchCone(const XFCone& cone) {
  find(ballAround(cone), shapeOf(cone, maxDis), indexResult);
}

void XGeoFeatureExtract::searchSphere(const XFSphere& sphere) {
  find(ballAround(sphere), shapeOf(sphere, maxDis), indexResult);
}

void XGeoFeatureExtract::searchCircle(const XFCircle3D& circle) {
  indexResult.clear();
  const double limit = std::min(kEdgeBand, kEdgeBandOfRadius * circle.radius);
  const SlabShape slab = {PlaneInDouble::through(circle.center, circle.normal, limit)};
  const std::vector<int> near =
      searchShapeByIndex({cloud, normals, kdtree, m_index.get()},
                         ballAround(circle.center, circle.radius + kAroundEdge), slab);
  std::set_intersection(near.begin(), near.end(), indexBoundary.begin(), indexBoundary.end(),
                        std::back_inserter(indexResult));
}

void XGeoFeatureExtract::searchCircle(const XFCircle3D& circle, const float& gap,
                                      const float& depth, const float& ringGap,
                                      const float& ringWidth, bool withRing) {
  std::ofstream trace;  // stays open until the search ends
  trace.imbue(std::locale::classic());
  trace.open(kTraceFile);
  trace << gap << ' ' << depth << ' ' << std::endl;
  indexResult.clear();
  indexResult2.clear();
  const BoreWall wall = BoreWall::below(circle, gap, depth, maxDis);
  if (wall.cylinder.height > 0.0F) find(ballAround(wall.cylinder), wall.shape, indexResult);
  if (!withRing) return;
  const float inner = circle.radius + ringGap;
  findRing(circle, inner, inner + ringWidth, indexResult2);
}

void XGeoFeatureExtract::searchCircle2(const XFCircle3D& circle, const float& ringHalf,
                                       const float& ringGap, const float& ringWidth,
                                       bool withRing) {
  indexResult2.clear();
  // CONTRACT: the gap of the outer ring, not the half width, decides on the inner limit.
  const float inner_limit = ringGap <= circle.radius ? circle.radius - ringHalf : 0.0F;
  findRing(circle, inner_limit, circle.radius + ringHalf, indexResult);
  if (!withRing) return;
  const float inner = circle.radius + ringGap;
  findRing(circle, inner, inner + ringWidth, indexResult2);
}

void XGeoFeatureExtract::searchOvalGroove(const XFOvalGroove3D& groove) {
  const auto outline = FlatOutline::of(groove);
  find(ballAround(outline), shapeOf(outline), indexResult);
}

void XGeoFeatureExtract::searchRectangle(const XFRectangle3D& rectangle) {
  const auto outline = FlatOutline::of(rectangle);
  find(ballAround(outline), shapeOf(outline), indexResult);
}

void XGeoFeatureExtract::searchRoundGroove(const XFRoundGroove3D& groove) {
  const auto outline = FlatOutline::of(groove);
  find(ballAround(outline), shapeOf(outline), indexResult);
}

void XGeoFeatureExtract::searchPoint(const XFPoint& point, const float& radius) {
  const float center[3] = {point.x, point.y, point.z};
  find(ballAround(center, radius), Everything(), indexResult);
}

int XGeoFeatureExtract::searchPoint(const XFPoint& point, const float& radius, XFPoint& out) {
  if (!(radius > 0.0F)) return kBadParameter;
  // CONTRACT: the points found are not handed out.
  indexResult.clear();
  const float center[3] = {point.x, point.y, point.z};
  std::vector<int> near;
  find(ballAround(center, radius), Everything(), near);
  if (near.empty()) return kNoPoints;
  out = meanOf(*cloud, near);
  return 0;
}

int XGeoFeatureExtract::searchPoint(const XFPointN& nominal, const float& radius,
                                    const float& thickness, const float& angleDegrees,
                                    XFPoint& out) {
  if (!(radius > 0.0F) || !(thickness > 0.0F) || !(angleDegrees >= 0.0F && angleDegrees <= 90.0F)) {
    return kBadParameter;
  }
  const float reach = std::sqrt(thickness * thickness + radius * radius);
  find(ballAround(nominal.point, reach),
       rodAlong(nominal, radius, thickness, cosineOf(angleDegrees)), indexResult);
  if (indexResult.empty()) return kNoPoints;
  const XFPoint mean = meanOf(*cloud, indexResult);
  XGeoFConstructor::getProjectionPoint(mean, XFLine3D2(nominal.point, nominal.normal, 1.0F), out);
  return 0;
}

}  // namespace xgeofeature
