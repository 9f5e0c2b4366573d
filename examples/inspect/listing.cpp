// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "listing.h"

#include <array>
#include <map>

#include <BRepAdaptor_Curve.hxx>
#include <BRepAdaptor_Surface.hxx>
#include <BRepTools.hxx>
#include <BRep_Tool.hxx>
#include <IntCurvesFace_ShapeIntersector.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <gp_Lin.hxx>
#include <zelmo/model/model_curve.h>
#include <zelmo/model/model_feature.h>

#include "nominal.h"
#include "numbers.h"

namespace inspect {
namespace {

constexpr std::size_t kNameWidth = 16;
constexpr int kMeasure = 10;  // width of a size

using xmodelfeature::ModelFeatureType;
using xmodelfeature::XModelFeature;

std::string triple(const cv::Vec3d& v, int decimals) {
  std::string text;
  for (int i = 0; i < 3; ++i) text += fixed(v[i], decimals, kMeasure);
  return text;
}

std::string count(std::size_t number, const std::string& what) {
  return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}
std::string count(int number, const std::string& what) {
  return count(static_cast<std::size_t>(number), what);
}

/// What heads the rows of one kind; nothing comes of a kind without rows.
std::string headOf(const char* kind, const char* point, const char* direction, const char* size) {
  return "\n" + padRight(kind, kNameWidth) + padLeft(point, 3 * kMeasure) +
         padLeft(direction, 3 * kMeasure) + "  " + size + "\n";
}

std::string rowOf(const std::string& name, const cv::Vec3d& point, const cv::Vec3d& direction,
                  const std::string& sizes) {
  return padRight(name, kNameWidth) + triple(point, 3) + triple(direction, 4) + sizes + "\n";
}

std::string numbered(const char* kind, std::size_t number) {
  return kind + (" " + std::to_string(number));
}

std::string size(double value) { return fixed(value, 3, kMeasure); }

// The heads and sizes of the kinds of solid features.
struct SolidKind {
  const char *head, *point, *direction, *size;
};

SolidKind kindOf(const xgeofeature::XFPlane& /*plane*/) {
  return {"planes", "centre", "outward normal", "  length     width"};
}
SolidKind kindOf(const xgeofeature::XFSphere& /*sphere*/) {
  return {"spheres", "centre", "", "  radius"};
}
SolidKind kindOf(const xgeofeature::XFCylinder& /*cylinder*/) {
  return {"cylinders", "centre", "axis", "  radius    height"};
}
SolidKind kindOf(const xgeofeature::XFCone& /*cone*/) {
  return {"cones", "apex", "axis", "   radii                height  half angle"};
}

std::string sizesOf(const xgeofeature::XFPlane& plane) {
  return size(plane.length) + size(plane.width);
}
std::string sizesOf(const xgeofeature::XFSphere& sphere) { return size(sphere.radius); }
std::string sizesOf(const xgeofeature::XFCylinder& cylinder) {
  return size(cylinder.radius) + size(cylinder.height);
}
std::string sizesOf(const xgeofeature::XFCone& cone) {
  return size(cone.baseRadius) + size(cone.topRadius) + size(cone.height) +
         fixed(cone.halfAngle * 180.0 / CV_PI, 3, 12);
}

std::string solidRow(const Nominal& feature, const std::string& sizes) {
  const Telling telling = tell(feature.ideal);
  std::string row =
      padRight(feature.name, kNameWidth) + triple(telling.point, 3) +
      (isSphere(feature.ideal) ? std::string(3 * kMeasure, ' ') : triple(telling.direction, 4)) +
      sizes + "  " + count(feature.faces, "face");
  if (feature.hollow) row += ", hollow";
  if (feature.sector.reach < CV_PI) {
    row += ", arc of " + fixed(360.0 * feature.sector.reach / CV_PI, 0, 0) + " degrees";
  }
  return row + (feature.trouble.empty() ? "" : ", " + feature.trouble) + "\n";
}

/// The features of one record type. Kinds of features that are no solids are told by their edges.
template <typename Record>
std::string solidsOf(const ModelContent& content) {
  std::string rows;
  for (const Nominal& feature : content.features) {
    if (const auto* record = std::get_if<Record>(&feature.ideal)) {
      rows += solidRow(feature, sizesOf(*record));
    }
  }
  const SolidKind kind = kindOf(Record());
  return rows.empty() ? rows : headOf(kind.head, kind.point, kind.direction, kind.size) + rows;
}

/// Whether a face stands across the axis, less than a radius beyond the end of the cylinder: a
/// drilled hole's tip reaches 0.6 of it.
bool isClosed(const TopoDS_Shape& model, const xgeofeature::XFCylinder& bore, double side) {
  const cv::Vec3d axis = side * unit(vec(bore.axis)), from = vec(bore.center);
  const gp_Lin line(gp_Pnt(from[0], from[1], from[2]), gp_Dir(axis[0], axis[1], axis[2]));
  IntCurvesFace_ShapeIntersector hit;
  hit.Load(model, 1e-6);
  hit.Perform(line, 0.0, 0.5 * bore.height + bore.radius);
  return hit.IsDone() && hit.NbPnt() > 0;
}

/// Round holes: hollow cylinders that go all the way round.
std::string holesOf(const TopoDS_Shape& model, const ModelContent& content, int& found) {
  std::string rows;
  for (const Nominal& feature : content.features) {
    const auto* bore = std::get_if<xgeofeature::XFCylinder>(&feature.ideal);
    const bool hole = bore != nullptr && feature.hollow && feature.sector.reach >= CV_PI;
    if (!hole || !feature.trouble.empty()) continue;
    const bool up = isClosed(model, *bore, 1.0), down = isClosed(model, *bore, -1.0);
    const char* ends = up && down   ? "  closed at both ends, "
                       : up || down ? "  blind, "
                                    : "  through, ";
    rows +=
        rowOf(numbered("hole", static_cast<std::size_t>(++found)), vec(bore->center),
              vec(bore->axis), size(2.0 * bore->radius) + size(bore->height) + ends + feature.name);
  }
  return rows.empty() ? rows : headOf("holes", "centre", "axis", "diameter    length") + rows;
}

std::string outlinesOf(const xmodelfeature::XModelCurve& curves) {
  std::string rows;
  std::size_t number = 0;
  for (const auto& slot : curves.ovalGrooves) {
    rows += rowOf(numbered("slot", ++number), vec(slot.center), vec(slot.normal),
                  size(2.0 * (slot.halfStraight + slot.radius)) + size(2.0 * slot.radius));
  }
  number = 0;
  for (const auto& rectangle : curves.rectangles) {
    rows += rowOf(numbered("rectangle", ++number), vec(rectangle.center), vec(rectangle.normal),
                  size(2.0 * rectangle.halfLength) + size(2.0 * rectangle.halfWidth));
  }
  number = 0;
  for (const auto& groove : curves.roundGrooves) {
    rows += rowOf(
        numbered("round groove", ++number), vec(groove.center), vec(groove.normal),
        size(2.0 * groove.halfLength) + size(2.0 * groove.halfWidth) + size(groove.cornerRadius));
  }
  if (rows.empty()) return rows;
  return headOf("inner outlines", "centre", "normal", "  length     width    corner") + rows;
}

std::string edgesOf(const xmodelfeature::XModelCurve& curves) {
  std::string lines, circles;
  std::size_t number = 0;
  for (const auto& line : curves.lines) {
    const cv::Vec3d from = vec(line.start), to = vec(line.end);
    lines += rowOf(numbered("line", ++number), 0.5 * (from + to), unit(to - from),
                   size(cv::norm(to - from)));
  }
  if (!lines.empty()) lines = headOf("lines", "middle", "direction", "  length") + lines;
  number = 0;
  for (const auto& circle : curves.circles) {
    circles += rowOf(numbered("circle", ++number), vec(circle.center), vec(circle.normal),
                     size(circle.radius));
  }
  if (!circles.empty()) circles = headOf("circles", "centre", "normal", "  radius") + circles;
  return lines + circles;
}

// What no class recognises, by what the model stores there, so that "nothing found" can be told from
// "nothing there".

const char* nameOf(GeomAbs_SurfaceType type) {
  constexpr std::array<const char*, 11> kNames = {
      "plane",  "cylinder", "cone",     "sphere", "torus", "Bezier surface",
      "spline", "revolved", "extruded", "offset", "other"};
  return kNames.at(static_cast<std::size_t>(type));
}

const char* nameOf(GeomAbs_CurveType type) {
  constexpr std::array<const char*, 9> kNames = {"line",      "circle",       "ellipse",
                                                 "hyperbola", "parabola",     "Bezier curve",
                                                 "spline",    "offset curve", "other"};
  return kNames.at(static_cast<std::size_t>(type));
}

struct Unrecognised {
  int all = 0, left = 0;
  std::map<std::string, int> kinds;

  void add(const std::string& kind) {
    ++left;
    ++kinds[kind];
  }
  std::string text() const {
    std::string text = std::to_string(left) + " not recognised";
    const char* before = " (";
    for (const auto& [kind, number] : kinds) {
      text += before + std::to_string(number) + " " + kind;
      before = ", ";
    }
    return text + (kinds.empty() ? "" : ")");
  }
};

Unrecognised facesLeft(const TopoDS_Shape& model) {
  Unrecognised faces;
  for (TopExp_Explorer walk(model, TopAbs_FACE); walk.More(); walk.Next()) {
    const TopoDS_Face& face = TopoDS::Face(walk.Current());
    ModelFeatureType type = xmodelfeature::ModelUnknown;
    std::vector<float> data;
    XModelFeature::getFaceInfo(face, type, data);
    ++faces.all;
    if (type == xmodelfeature::ModelUnknown) faces.add(nameOf(BRepAdaptor_Surface(face).GetType()));
  }
  return faces;
}

struct EdgeCounts : Unrecognised {
  int lines = 0, circles = 0;
};

EdgeCounts edgesLeft(const TopoDS_Shape& model, const xmodelfeature::XModelCurve& curves) {
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
    } else {
      counts.add(nameOf(BRepAdaptor_Curve(edge).GetType()));
    }
  }
  return counts;
}

struct OutlineCounts {
  int all = 0, circles = 0, slots = 0, rectangles = 0, grooves = 0;
};

/// What the inner outlines of the faces are; one that two faces share counts for each.
OutlineCounts outlinesIn(const TopoDS_Shape& model, const xmodelfeature::XModelCurve& curves) {
  OutlineCounts counts;
  for (TopExp_Explorer face(model, TopAbs_FACE); face.More(); face.Next()) {
    const TopoDS_Wire outer = BRepTools::OuterWire(TopoDS::Face(face.Current()));
    for (TopExp_Explorer walk(face.Current(), TopAbs_WIRE); walk.More(); walk.Next()) {
      const TopoDS_Wire& wire = TopoDS::Wire(walk.Current());
      if (wire.IsSame(outer)) continue;
      ++counts.all;
      xmodelfeature::XFOvalGroove3D slot;
      xmodelfeature::XFRectangle3D rectangle;
      xmodelfeature::XFRoundGroove3D groove;
      bool circular = true;
      for (TopExp_Explorer edge(wire, TopAbs_EDGE); edge.More() && circular; edge.Next()) {
        xmodelfeature::XFCircle3D circle;
        circular = curves.isCircle(TopoDS::Edge(edge.Current()), circle) == 0;
      }
      if (circular) {
        ++counts.circles;
      } else if (XModelFeature::isOvalGroove(wire, slot)) {
        ++counts.slots;
      } else if (XModelFeature::isRectangle(wire, rectangle)) {
        ++counts.rectangles;
      } else if (XModelFeature::isRoundGroove(wire, groove)) {
        ++counts.grooves;
      }
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
  int holes = 0;
  std::string text =
      solidsOf<xgeofeature::XFPlane>(content) + solidsOf<xgeofeature::XFSphere>(content) +
      solidsOf<xgeofeature::XFCylinder>(content) + solidsOf<xgeofeature::XFCone>(content) +
      holesOf(model, content, holes) + outlinesOf(curves) + edgesOf(curves);
  if (!text.empty()) text.erase(0, 1);

  const Unrecognised faces = facesLeft(model);
  const EdgeCounts edges = edgesLeft(model, curves);
  const OutlineCounts outlines = outlinesIn(model, curves);
  text += "\n" + count(faces.all, "face") + ": " + std::to_string(faces.all - faces.left) +
          " make up " + count(content.planes, "plane") + ", " + count(content.spheres, "sphere") +
          ", " + count(content.cylinders, "cylinder") + ", " + count(content.cones, "cone") + "; " +
          faces.text() + "\n";
  text += count(edges.all, "edge") + ": " + std::to_string(edges.lines) + " straight, " +
          std::to_string(edges.circles) + " circular; " + edges.text() + "\n";
  text += count(outlines.all, "inner outline") + ": " + count(outlines.circles, "circle") + ", " +
          count(outlines.slots, "slot") + ", " + count(outlines.rectangles, "rectangle") + ", " +
          count(outlines.grooves, "round groove") + ", " +
          std::to_string(outlines.all - outlines.circles - outlines.slots - outlines.rectangles -
                         outlines.grooves) +
          " not recognised\n" + count(holes, "round hole") + "\n";
  return text;
}

}  // namespace inspect
