// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "made_part.h"

#include <cmath>
#include <initializer_list>

#include <BRepAlgoAPI_Cut.hxx>
#include <BRepAlgoAPI_Fuse.hxx>
#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_MakePolygon.hxx>
#include <BRepBuilderAPI_MakeWire.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCone.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakePrism.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <GC_MakeArcOfCircle.hxx>
#include <STEPControl_Writer.hxx>
#include <TopTools_ListOfShape.hxx>
#include <gp_Ax2.hxx>
#include <gp_Circ.hxx>

#include "cad_files.h"
#include "failure.h"

namespace inspect {
namespace {

gp_Ax2 upwardAt(double x, double y, double z) { return {gp_Pnt(x, y, z), gp::DZ()}; }

TopoDS_Shape box(const gp_Pnt& low, const gp_Pnt& high) {
  return BRepPrimAPI_MakeBox(low, high).Shape();
}

TopoDS_Shape wedge(const std::initializer_list<gp_Pnt>& outline, const gp_Vec& depth) {
  BRepBuilderAPI_MakePolygon polygon;
  for (const gp_Pnt& corner : outline) polygon.Add(corner);
  polygon.Close();
  return BRepPrimAPI_MakePrism(BRepBuilderAPI_MakeFace(polygon.Wire()).Face(), depth).Shape();
}

/// A rectangle with rounded corners in the plane through \p center across \p up, extruded. A corner
/// radius of half the width makes it a slot.
TopoDS_Shape roundedPrism(const gp_Pnt& center, const gp_Dir& along, const gp_Dir& up,
                          double half_length, double half_width, double radius, double depth) {
  const gp_Vec x(along), y(up.Crossed(along));
  const double straight_x = half_length - radius, straight_y = half_width - radius;
  BRepBuilderAPI_MakeWire outline;
  // Quarter turns, counter-clockwise: the straight side that ends in the corner, then its arc.
  const double sx[] = {1.0, -1.0, -1.0, 1.0}, sy[] = {1.0, 1.0, -1.0, -1.0};
  for (int i = 0; i < 4; ++i) {
    const bool upright = i % 2 == 0;  // this side runs along y
    const gp_Pnt corner = center.Translated(x * (sx[i] * straight_x) + y * (sy[i] * straight_y));
    const gp_Vec side = upright ? x * (sx[i] * radius) : y * (sy[i] * radius);
    const gp_Vec next = upright ? y * (sy[i] * radius) : x * (sx[i] * radius);
    const gp_Vec back = upright ? y * (-2.0 * sy[i] * straight_y) : x * (-2.0 * sx[i] * straight_x);
    const gp_Pnt arc_start = corner.Translated(side), arc_end = corner.Translated(next);
    if (back.Magnitude() > 1e-9) {
      outline.Add(BRepBuilderAPI_MakeEdge(arc_start.Translated(back), arc_start).Edge());
    }
    const gp_Pnt middle = corner.Translated((side + next) / std::sqrt(2.0));
    outline.Add(
        BRepBuilderAPI_MakeEdge(GC_MakeArcOfCircle(arc_start, middle, arc_end).Value()).Edge());
  }
  const TopoDS_Face base = BRepBuilderAPI_MakeFace(outline.Wire(), Standard_True).Face();
  return BRepPrimAPI_MakePrism(base, gp_Vec(up) * depth).Shape();
}

TopoDS_Shape combined(BRepAlgoAPI_BooleanOperation& operation, const TopoDS_Shape& part,
                      const TopTools_ListOfShape& tools) {
  TopTools_ListOfShape parts;
  parts.Append(part);
  operation.SetArguments(parts);
  operation.SetTools(tools);
  operation.Build();
  if (!operation.IsDone()) throw Failure(kUnexpected, "the part could not be made");
  return operation.Shape();
}

}  // namespace

TopoDS_Shape makePart() {
  TopTools_ListOfShape removed;
  // A step, a slope of 3 in 4, a corner cut at a compound angle, a groove across the underside.
  removed.Append(box({90, -1, 25}, {121, 81, 41}));
  removed.Append(wedge({{-4, -1, 25}, {20, -1, 43}, {-4, -1, 43}}, {0, 82, 0}));
  removed.Append(wedge({{90, -12, 31}, {126, 60, 31}, {126, -12, -5}}, {12, -6, 12}));
  removed.Append(box({30, -1, -1}, {42, 81, 6}));
  // A bore, a blind hole with a flat bottom and a counterbore, a slot.
  removed.Append(BRepPrimAPI_MakeCylinder(upwardAt(60, 55, -1), 12, 42).Shape());
  removed.Append(BRepPrimAPI_MakeCylinder(upwardAt(105, 60, 10), 7, 16).Shape());
  removed.Append(BRepPrimAPI_MakeCylinder(upwardAt(105, 60, 20), 10, 6).Shape());
  removed.Append(roundedPrism({40, 20, 28}, gp::DX(), gp::DZ(), 18, 6, 6, 13));
  // Two pockets from the sides, with sharp and with round corners. The lower wall of the second lies
  // in the plane of the groove's ceiling and faces the other way. The library knows an outline with
  // round corners in faces that are stored forward, as the back of a box is.
  removed.Append(box({20, -1, 8}, {50, 10, 24}));
  removed.Append(roundedPrism({79, 68, 14}, gp::DX(), gp::DY(), 17, 8, 3, 13));
  BRepAlgoAPI_Cut cut;
  const TopoDS_Shape block = combined(cut, box({0, 0, 0}, {120, 80, 40}), removed);

  TopTools_ListOfShape added;
  added.Append(BRepPrimAPI_MakeCylinder(upwardAt(32, 58, 35), 8, 20).Shape());
  added.Append(BRepPrimAPI_MakeCone(upwardAt(76, 22, 40), 11, 7, 14).Shape());
  added.Append(BRepPrimAPI_MakeSphere(gp_Pnt(79, 66, 44), 9).Shape());
  BRepAlgoAPI_Fuse fuse;
  return combined(fuse, block, added);
}

void writeStep(const TopoDS_Shape& shape, const std::string& path) {
  STEPControl_Writer writer;
  const bool written = writer.Transfer(shape, STEPControl_AsIs) == IFSelect_RetDone &&
                       writer.Write(path.c_str()) == IFSelect_RetDone;
  if (!written || !endsAsItShould(path, ModelKind::Step)) {
    throw Failure(kBadOutput, "part.step could not be written whole");
  }
}

}  // namespace inspect
