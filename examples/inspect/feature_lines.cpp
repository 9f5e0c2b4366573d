// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "feature_lines.h"

#include <cmath>

#include <BRep_Tool.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedDataMapOfShapeListOfShape.hxx>
#include <TopoDS.hxx>
#include <zelmo/display/outlines.h>
#include <zelmo/display/solids.h>
#include <zelmo/model/model_curve.h>

namespace inspect {
namespace {

constexpr int kRing = 96;  // points of a full turn

Line3 lineOf(const std::vector<float>& points, bool closed) {
  Line3 line;
  for (std::size_t i = 0; i + 2 < points.size(); i += 3) line.push_back(vec(&points[i]));
  if (closed && !line.empty()) line.push_back(line.front());
  return line;
}

/// The parts of a ring that lie in the sector.
template <typename Record>
void addRing(const std::vector<float>& ring, const Record& record, const Sector& sector,
             std::vector<Line3>& lines) {
  const Line3 whole = lineOf(ring, true);
  Line3 part;
  for (const cv::Vec3d& point : whole) {
    if (sector.holds(radialAt(record, point))) {
      part.push_back(point);
      continue;
    }
    if (part.size() > 1) lines.push_back(part);
    part.clear();
  }
  if (part.size() > 1) lines.push_back(part);
}

std::vector<Line3> linesOf(const xgeofeature::XFPlane& plane, const Sector& /*sector*/,
                           const cv::Vec3d& /*eye*/) {
  std::vector<float> corners(12);
  xgeometry::XRectangle3D(plane.center, plane.normal, plane.majorDir, 0.5F * plane.length,
                          0.5F * plane.width)
      .getDisplayData(corners.data());
  return {lineOf(corners, true)};
}

std::vector<Line3> linesOf(const xgeofeature::XFSphere& sphere, const Sector& /*sector*/,
                           const cv::Vec3d& eye) {
  std::vector<Line3> lines;
  std::vector<float> ring(3 * kRing);
  const float normal[] = {static_cast<float>(eye[0]), static_cast<float>(eye[1]),
                          static_cast<float>(eye[2])};
  const float level[] = {0.0F, 0.0F, 1.0F};
  for (const float* direction : {normal, level}) {
    xgeometry::XCicle3D(sphere.center, direction, direction, sphere.radius)
        .getDisplayData2(sphere.center, direction, sphere.radius, kRing, ring.data());
    lines.push_back(lineOf(ring, true));
  }
  return lines;
}

std::vector<Line3> linesOf(const xgeofeature::XFCylinder& cylinder, const Sector& sector,
                           const cv::Vec3d& /*eye*/) {
  std::vector<Line3> lines;
  std::vector<float> first(3 * kRing), second(3 * kRing);
  const cv::Vec3d axis = unit(vec(cylinder.axis));
  const cv::Vec3d base = vec(cylinder.center) - 0.5 * cylinder.height * axis;
  const float from[] = {static_cast<float>(base[0]), static_cast<float>(base[1]),
                        static_cast<float>(base[2])};
  const float along[] = {static_cast<float>(axis[0]), static_cast<float>(axis[1]),
                         static_cast<float>(axis[2])};
  xgeometry::XCylinder(from, along, cylinder.height, cylinder.radius)
      .getDisplayData(kRing, first.data(), second.data());
  addRing(first, cylinder, sector, lines);
  addRing(second, cylinder, sector, lines);
  return lines;
}

std::vector<Line3> linesOf(const xgeofeature::XFCone& cone, const Sector& sector,
                           const cv::Vec3d& /*eye*/) {
  std::vector<Line3> lines;
  std::vector<float> first(3 * kRing), second(3 * kRing);
  xgeometry::XCone(cone.base, cone.axis, cone.height, cone.baseRadius, cone.topRadius)
      .getDisplayData(kRing, first.data(), second.data());
  addRing(first, cone, sector, lines);
  addRing(second, cone, sector, lines);
  return lines;
}

}  // namespace

std::vector<Line3> linesOf(const Ideal& feature, const Sector& sector, const cv::Vec3d& eye) {
  if (const auto* plane = std::get_if<xgeofeature::XFPlane>(&feature)) {
    return linesOf(*plane, sector, eye);
  }
  if (const auto* sphere = std::get_if<xgeofeature::XFSphere>(&feature)) {
    return linesOf(*sphere, sector, eye);
  }
  if (const auto* cylinder = std::get_if<xgeofeature::XFCylinder>(&feature)) {
    return linesOf(*cylinder, sector, eye);
  }
  if (const auto* cone = std::get_if<xgeofeature::XFCone>(&feature)) {
    return linesOf(*cone, sector, eye);
  }
  return {};
}

std::vector<Line3> outlineLinesOf(const TopoDS_Shape& model) {
  xmodelfeature::XModelCurve curves;
  curves.setData(model);
  curves.getCurveData(model);
  std::vector<Line3> lines;
  for (const auto& slot : curves.ovalGrooves) {
    std::vector<float> points(static_cast<std::size_t>(3 * (kRing + 4)));
    xgeometry::XOvalGroove3D(slot.center, slot.normal, slot.majorDir, slot.halfStraight,
                             slot.radius)
        .getDisplayData(kRing, points.data());
    lines.push_back(lineOf(points, true));
  }
  for (const auto& groove : curves.roundGrooves) {
    std::vector<float> points(static_cast<std::size_t>(3 * (kRing + 8)));
    xgeometry::XRoundGroove3D(groove.center, groove.normal, groove.majorDir, groove.halfLength,
                              groove.halfWidth, groove.cornerRadius)
        .getDisplayData(kRing, points.data());
    lines.push_back(lineOf(points, true));
  }
  for (const auto& rectangle : curves.rectangles) {
    std::vector<float> points(12);
    xgeometry::XRectangle3D(rectangle.center, rectangle.normal, rectangle.majorDir,
                            rectangle.halfLength, rectangle.halfWidth)
        .getDisplayData(points.data());
    lines.push_back(lineOf(points, true));
  }
  return lines;
}

std::vector<Line3> edgeLinesOf(const TopoDS_Shape& model) {
  TopTools_IndexedDataMapOfShapeListOfShape faces;
  TopExp::MapShapesAndAncestors(model, TopAbs_EDGE, TopAbs_FACE, faces);
  // Where a round face meets itself it has an edge that nobody sees.
  const auto is_seam = [&faces](const TopoDS_Edge& edge) {
    const int place = faces.FindIndex(edge);
    return place > 0 && BRep_Tool::IsClosed(edge, TopoDS::Face(faces(place).First()));
  };
  xmodelfeature::XModelCurve curves;
  std::vector<xmodelfeature::XFModelEdge> edges;
  curves.getCurveSplitData(model, edges);
  std::vector<Line3> lines;
  for (const auto& edge : edges) {
    if (edge.points.empty() || is_seam(edge.edge)) continue;
    // A full circle comes with more points than a drawing needs.
    constexpr std::size_t kMost = 200;
    const std::size_t stride = edge.points.size() / kMost + 1;
    Line3 line;
    for (std::size_t i = 0; i < edge.points.size(); i += stride) {
      line.emplace_back(edge.points[i].x, edge.points[i].y, edge.points[i].z);
    }
    const auto& last = edge.points.back();
    line.emplace_back(last.x, last.y, last.z);
    lines.push_back(line);
  }
  return lines;
}

}  // namespace inspect
