// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "listing.h"

#include <BRep_Tool.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <zelmo/model/model_curve.h>

#include "nominal.h"
#include "numbers.h"

namespace inspect {
namespace {

constexpr std::size_t kNameWidth = 16;

std::string triple(const cv::Vec3d& v, int decimals) {
  std::string text;
  for (int i = 0; i < 3; ++i) text += fixed(v[i], decimals, 10);
  return text;
}

std::string count(int number, const std::string& what) {
  return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

// What is said of a feature after its centre and direction.
std::string sizesOf(const xgeofeature::XFPlane& plane) {
  return fixed(plane.length, 3, 10) + " x" + fixed(plane.width, 3, 9);
}
std::string sizesOf(const xgeofeature::XFSphere& sphere) {
  return "  radius" + fixed(sphere.radius, 3, 9);
}
std::string sizesOf(const xgeofeature::XFCylinder& cylinder) {
  return "  radius" + fixed(cylinder.radius, 3, 9) + "  height" + fixed(cylinder.height, 3, 9);
}
std::string sizesOf(const xgeofeature::XFCone& cone) {
  return "  radii" + fixed(cone.baseRadius, 3, 9) + fixed(cone.topRadius, 3, 9) + "  height" +
         fixed(cone.height, 3, 9);
}

std::string lineOf(const Nominal& feature) {
  const Telling telling = tell(feature.ideal);
  const std::string sizes =
      std::visit([](const auto& record) { return sizesOf(record); }, feature.ideal);
  const std::string direction =
      isSphere(feature.ideal) ? std::string(30, ' ') : triple(telling.direction, 4);
  return padRight(feature.name, kNameWidth) + triple(telling.point, 3) + direction + sizes + "  " +
         count(feature.faces, "face") + (feature.hollow ? ", hollow" : "") +
         (feature.trouble.empty() ? "" : ", " + feature.trouble) + "\n";
}

/// A flat outline, whatever its kind: centre, normal, length and width over all.
template <typename Record>
std::string outlineLine(const char* name, std::size_t number, const Record& record, double length,
                        double width) {
  return padRight(name + (" " + std::to_string(number)), kNameWidth) +
         triple(vec(record.center), 3) + triple(vec(record.normal), 4) + fixed(length, 3, 10) +
         " x" + fixed(width, 3, 9) + "\n";
}

std::string outlinesOf(const xmodelfeature::XModelCurve& curves) {
  std::string text;
  std::size_t number = 0;
  for (const auto& slot : curves.ovalGrooves) {
    text += outlineLine("slot", ++number, slot, 2.0 * (slot.halfStraight + slot.radius),
                        2.0 * slot.radius);
  }
  number = 0;
  for (const auto& rectangle : curves.rectangles) {
    text += outlineLine("rectangle", ++number, rectangle, 2.0 * rectangle.halfLength,
                        2.0 * rectangle.halfWidth);
  }
  number = 0;
  for (const auto& groove : curves.roundGrooves) {
    text += outlineLine("round groove", ++number, groove, 2.0 * groove.halfLength,
                        2.0 * groove.halfWidth);
  }
  return text;
}

struct EdgeCounts {
  int all = 0, lines = 0, circles = 0;
};

EdgeCounts edgesOf(const TopoDS_Shape& model, const xmodelfeature::XModelCurve& curves) {
  TopTools_IndexedMapOfShape edges;
  TopExp::MapShapes(model, TopAbs_EDGE, edges);
  EdgeCounts counts;
  for (int i = 1; i <= edges.Extent(); ++i) {
    const TopoDS_Edge& edge = TopoDS::Edge(edges(i));
    if (BRep_Tool::Degenerated(edge)) continue;
    ++counts.all;
    xmodelfeature::XFLine3D line;
    xmodelfeature::XFCircle3D circle;
    if (curves.isLine(edge, line) == 0) {
      ++counts.lines;
    } else if (curves.isCircle(edge, circle) == 0) {
      ++counts.circles;
    }
  }
  return counts;
}

}  // namespace

std::string listOf(const TopoDS_Shape& model) {
  const ModelContent content = contentOf(model);
  xmodelfeature::XModelCurve curves;
  curves.setData(model);
  curves.getCurveData(model);
  const EdgeCounts edges = edgesOf(model, curves);

  std::string text = padRight("feature", kNameWidth) + padLeft("centre or apex", 30) +
                     padLeft("direction", 30) + padLeft("size", 10) + "\n";
  for (const Nominal& feature : content.features) text += lineOf(feature);
  text += outlinesOf(curves);
  text += "\n" + count(content.faces, "face") + ": " + count(content.planes, "plane") + ", " +
          count(content.spheres, "sphere") + ", " + count(content.cylinders, "cylinder") + ", " +
          count(content.cones, "cone") + "; " + count(content.unrecognised_faces, "face") +
          " of no such kind\n";
  text += count(edges.all, "edge") + ": " + std::to_string(edges.lines) + " straight, " +
          std::to_string(edges.circles) + " circular, " +
          std::to_string(edges.all - edges.lines - edges.circles) + " of no such kind\n";
  text += "inner outlines: " + count(static_cast<int>(curves.ovalGrooves.size()), "slot") + ", " +
          count(static_cast<int>(curves.rectangles.size()), "rectangle") + ", " +
          count(static_cast<int>(curves.roundGrooves.size()), "round groove") + "\n";
  return text;
}

}  // namespace inspect
