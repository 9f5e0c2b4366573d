// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
// Listing of shapes that no reader would make: surfaces, curves, outlines and ranges out of the bytes,
// put together without a check.
#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepGProp.hxx>
#include <BRepTools.hxx>
#include <BRep_Builder.hxx>
#include <GProp_GProps.hxx>
#include <Geom2d_Line.hxx>
#include <GeomConvert.hxx>
#include <Geom_BSplineCurve.hxx>
#include <Geom_BSplineSurface.hxx>
#include <Geom_Circle.hxx>
#include <Geom_ConicalSurface.hxx>
#include <Geom_CylindricalSurface.hxx>
#include <Geom_Ellipse.hxx>
#include <Geom_Line.hxx>
#include <Geom_OffsetSurface.hxx>
#include <Geom_Plane.hxx>
#include <Geom_RectangularTrimmedSurface.hxx>
#include <Geom_SphericalSurface.hxx>
#include <Geom_ToroidalSurface.hxx>
#include <Geom_TrimmedCurve.hxx>
#include <TColStd_Array1OfInteger.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TColgp_Array1OfPnt.hxx>
#include <TColgp_Array2OfPnt.hxx>
#include <TopoDS_Compound.hxx>
#include <gp_Ax3.hxx>
#include <gp_Cylinder.hxx>

#include "child_process.h"
#include "fuzz_target.h"
#include "listing.h"
#include "measured_points.h"
#include "support/cad_outlines.h"

namespace zelmo::fuzz {
namespace {

class ShapeSource {
 public:
  explicit ShapeSource(ByteSource& bytes) : m_bytes(bytes) {}

  TopoDS_Shape compound() {
    TopoDS_Compound all;
    m_builder.MakeCompound(all);
    const int parts = 1 + m_bytes.below(4);
    for (int i = 0; i < parts; ++i) {
      try {
        m_builder.Add(all, part());
      } catch (const Standard_Failure&) {  // a part that OpenCASCADE does not build
      }
    }
    return all;
  }

 private:
  TopoDS_Shape part() {
    switch (m_bytes.below(8)) {
      case 0:
        return edge();
      case 1:
        return wire();
      case 2:
        return plate();
      case 3:
        return bareFace();
      default:
        return boundedFace();
    }
  }

  double number() { return m_bytes.wideReal(); }
  double size() { return m_bytes.flag() ? number() : (m_bytes.byte() + 1) / 8.0; }
  gp_Pnt point() {
    const double x = number(), y = number();
    return {x, y, number()};
  }
  gp_Dir direction() {
    const cv::Vec3d d = detail::direction(m_bytes);
    return {d[0], d[1], d[2]};
  }
  gp_Ax3 frame() {
    const gp_Pnt at = point();
    if (m_bytes.flag()) return {at, gp_Dir(0, 0, 1), gp_Dir(1, 0, 0)};
    return {at, direction()};
  }

  /// Increasing knots whose first and last one are clamped.
  void knots(int poles, int degree, TColStd_Array1OfReal& values, TColStd_Array1OfInteger& times) {
    const int spans = poles - degree;
    double at = 0;
    for (int i = 1; i <= spans + 1; ++i) {
      values(i) = at;
      times(i) = i == 1 || i == spans + 1 ? degree + 1 : 1;
      at += m_bytes.flag() ? 1 : 1e-3 + m_bytes.byte();
    }
  }

  Handle(Geom_Surface) splineSurface() {
    const int degree = 1 + m_bytes.below(2), poles = degree + 1 + m_bytes.below(2);
    TColgp_Array2OfPnt net(1, poles, 1, poles);
    for (int i = 1; i <= poles; ++i) {
      for (int j = 1; j <= poles; ++j) net(i, j) = point();
    }
    TColStd_Array1OfReal values(1, poles - degree + 1);
    TColStd_Array1OfInteger times(1, poles - degree + 1);
    knots(poles, degree, values, times);
    return new Geom_BSplineSurface(net, values, values, times, times, degree, degree);
  }

  Handle(Geom_Surface) elementary() {
    const gp_Ax3 at = frame();
    const double first = size(), second = size();
    switch (m_bytes.below(5)) {
      case 0:
        return new Geom_Plane(at);
      case 1:
        return new Geom_CylindricalSurface(at, first);
      case 2:
        return new Geom_ConicalSurface(at, m_bytes.byte() * (1.5 / 256) + 0.01, first);
      case 3:
        return new Geom_SphericalSurface(at, first);
      default:
        return new Geom_ToroidalSurface(at, first + second, second);
    }
  }

  Handle(Geom_Surface) surface() {
    const int kind = m_bytes.below(8);
    if (kind == 0) return splineSurface();
    const Handle(Geom_Surface) basis = elementary();
    if (kind > 3) return basis;
    if (kind == 1) return new Geom_OffsetSurface(basis, size());
    const Handle(Geom_Surface) patch =
        new Geom_RectangularTrimmedSurface(basis, 0.0, turn(), 0.0, 1.0 + m_bytes.below(8));
    return kind == 2 ? patch : GeomConvert::SurfaceToBSplineSurface(patch);
  }

  double turn() { return (1 + m_bytes.below(16)) * (CV_2PI / 16); }

  TopoDS_Face bareFace() {
    TopoDS_Face face;
    const int kind = m_bytes.below(4);
    m_builder.MakeFace(face);
    if (kind > 0) m_builder.MakeFace(face, surface(), size() * 1e-6);
    if (kind > 1) m_builder.Add(face, wire());
    if (m_bytes.flag()) face.Orientation(TopAbs_REVERSED);
    return face;
  }

  /// A patch as a modeller makes it, at times with one more outline, or with bounds that miss.
  TopoDS_Face boundedFace() {
    const Handle(Geom_Surface) basis = surface();
    double u0 = 0, u1 = 1, v0 = 0, v1 = 1;
    basis->Bounds(u0, u1, v0, v1);
    const auto bound = [this](double given, double instead) {
      return std::abs(given) > 1e50 || m_bytes.below(4) == 3 ? instead : given;
    };
    u0 = bound(u0, 0), u1 = bound(u1, turn());
    v0 = bound(v0, 0), v1 = bound(v1, 1 + m_bytes.below(8));
    TopoDS_Face face = BRepBuilderAPI_MakeFace(basis, u0, u1, v0, v1, 1e-7).Face();
    if (m_bytes.below(4) == 3) m_builder.Add(face, wire());
    return face;
  }

  /// A plate with holes of the kinds that are recognised, sides and corners as the bytes have them.
  TopoDS_Face plate() {
    const double length = size(), width = size(), radius = size();
    test::Edges hole;
    switch (m_bytes.below(4)) {
      case 0:
        hole = test::slotEdges(length, radius);
        break;
      case 1:
        hole = test::rectangleEdges(length, width);
        break;
      case 2:
        hole = test::roundEdges(length, width, radius, m_bytes.flag() ? radius : size());
        break;
      default:
        hole = {test::arcEdge(number(), number(), radius, 0, 360)};
    }
    if (m_bytes.below(4) == 3) hole.push_back(edge());
    if (m_bytes.below(4) == 3) hole.erase(hole.begin());
    return test::plateWith(4 * length + 4, 4 * width + 4, {hole});
  }

  Handle(Geom_Curve) curve() {
    const gp_Ax3 at = frame();
    const double first = size(), second = size();
    switch (m_bytes.below(6)) {
      case 0:
        return new Geom_Line(at.Location(), at.Direction());
      case 1:
        return new Geom_Circle(at.Ax2(), first);
      case 2:
        return new Geom_Ellipse(at.Ax2(), first + second, first);
      case 3:
        return new Geom_TrimmedCurve(new Geom_Circle(at.Ax2(), first), 0, turn());
      case 4:
        return new Geom_TrimmedCurve(new Geom_Line(at.Axis()), 0, second);
      default: {
        const int degree = 1 + m_bytes.below(2), poles = degree + 1 + m_bytes.below(4);
        TColgp_Array1OfPnt net(1, poles);
        for (int i = 1; i <= poles; ++i) net(i) = point();
        TColStd_Array1OfReal values(1, poles - degree + 1);
        TColStd_Array1OfInteger times(1, poles - degree + 1);
        knots(poles, degree, values, times);
        return new Geom_BSplineCurve(net, values, times, degree);
      }
    }
  }

  /// An edge with a curve or none, a range that fits or not, ends or none.
  TopoDS_Edge edge() {
    TopoDS_Edge made;
    const int kind = m_bytes.below(8);
    if (kind == 0) {
      m_builder.MakeEdge(made);
      return made;
    }
    const Handle(Geom_Curve) line = curve();
    m_builder.MakeEdge(made, line, 1e-7);
    if (kind < 4) {
      const double from = number();
      m_builder.Range(made, from, kind == 1 ? number() : from + size());
    }
    if (m_bytes.flag()) made.Reverse();
    return made;
  }

  TopoDS_Wire wire() {
    test::Edges edges;
    const int count = m_bytes.below(9);
    for (int i = 0; i < count; ++i) {
      if (!edges.empty() && m_bytes.below(8) == 7) {
        edges.push_back(edges.front());
      } else {
        edges.push_back(edge());
      }
    }
    return test::wireOf(edges);
  }

  ByteSource& m_bytes;
  BRep_Builder m_builder;
};

/// What OpenCASCADE does to a shape on its own: bounds of faces, areas, volume. It dies of some that
/// are no valid boundary representation, and no reader would make these.
bool surveyed(const TopoDS_Shape& shape) {
  for (TopExp_Explorer walk(shape, TopAbs_FACE); walk.More(); walk.Next()) {
    double u0 = 0, u1 = 0, v0 = 0, v1 = 0;
    try {
      BRepTools::UVBounds(TopoDS::Face(walk.Current()), u0, u1, v0, v1);
    } catch (const Standard_Failure&) {  // the listing meets it as well
    }
  }
  GProp_GProps properties;
  try {
    BRepGProp::SurfaceProperties(shape, properties);
    BRepGProp::VolumeProperties(shape, properties);
  } catch (const Standard_Failure&) {
  }
  return true;
}

void run(ByteSource& bytes, Transcript& out) {
  bytes.chooseNumbers();
  const bool is_null = bytes.byte() == 255;
  const TopoDS_Shape shape = is_null ? TopoDS_Shape() : ShapeSource(bytes).compound();
  if (is_null || holdsInChild([&] { return surveyed(shape); })) listAll(shape, out);
}

}  // namespace
}  // namespace zelmo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return zelmo::fuzz::runTwice(data, size, &zelmo::fuzz::run);
}
