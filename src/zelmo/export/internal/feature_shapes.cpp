// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/export/internal/feature_shapes.h"

#include <cmath>

#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_MakeVertex.hxx>
#include <BRepPrimAPI_MakeCone.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <TopoDS_Face.hxx>
#include <gp_Circ.hxx>
#include <gp_Lin.hxx>
#include <gp_Pln.hxx>

#include "zelmo/export/internal/occ_values.h"

namespace zelmo::internal {
namespace {

constexpr double kFullTurn = 2 * M_PI;

bool allFinite(const float* values, int count) {
  for (int i = 0; i < count; ++i) {
    if (!std::isfinite(values[i])) return false;
  }
  return true;
}

/// Triples and single numbers, in any order.
template <typename... Fields>
bool areFinite(const Fields&... fields) {
  const auto is_one_finite = [](const auto& field) {
    if constexpr (std::is_array_v<std::remove_reference_t<decltype(field)>>) {
      return allFinite(field, 3);
    } else {
      return std::isfinite(field);
    }
  };
  return (is_one_finite(fields) && ...);
}

bool isFinite(const xgeofeature::XFLine3D2& l) { return areFinite(l.center, l.dir, l.length); }
bool isFinite(const xgeofeature::XFPlane& p) {
  return areFinite(p.center, p.normal, p.majorDir, p.length, p.width);
}
bool isFinite(const xgeofeature::XFCircle3D& c) { return areFinite(c.center, c.normal, c.radius); }
bool isFinite(const xgeofeature::XFSphere& s) { return areFinite(s.center, s.radius); }
bool isFinite(const xgeofeature::XFCylinder& c) {
  return areFinite(c.base, c.axis, c.radius, c.height);
}
bool isFinite(const xgeofeature::XFCone& c) {
  return areFinite(c.base, c.axis, c.baseRadius, c.topRadius, c.height);
}
bool isFinite(const xgeofeature::XFOvalGroove3D& g) {
  return areFinite(g.center, g.normal, g.majorDir, g.halfStraight, g.radius);
}
bool isFinite(const xgeofeature::XFRoundGroove3D& g) {
  return areFinite(g.center, g.normal, g.majorDir, g.halfLength, g.halfWidth, g.cornerRadius);
}
bool isFinite(const xgeofeature::XFRectangle3D& r) {
  return areFinite(r.center, r.normal, r.majorDir, r.halfLength, r.halfWidth);
}

/// Adds the shape of one record, an overload for each class.
/// \return whether there was something to add
struct Adder {
  ShapeSink& sink;

  bool add(const xgeofeature::XFPoint& point) const {
    const float xyz[3] = {point.x, point.y, point.z};
    sink.add(vertexAt(xyz));
    return true;
  }

  bool add(const xgeofeature::XFLine3D2& line) const {
    sink.add(edgeOf(line));
    return true;
  }

  bool add(const xgeofeature::XFPlane& plane) const {
    const gp_Ax3 axes(toPoint(plane.center), toDirection(plane.normal),
                      toDirection(plane.majorDir));
    const double u = static_cast<double>(plane.length) / 2;
    const double v = static_cast<double>(plane.width) / 2;
    sink.add(BRepBuilderAPI_MakeFace(gp_Pln(axes), -u, u, -v, v).Face());
    return true;
  }

  bool add(const xgeofeature::XFCircle3D& circle) const {
    const gp_Circ curve(gp_Ax2(toPoint(circle.center), toDirection(circle.normal)),
                        static_cast<double>(circle.radius));
    sink.add(BRepBuilderAPI_MakeEdge(curve, 0.0, kFullTurn).Edge());
    sink.add(vertexAt(circle.center));
    return true;
  }

  bool add(const xgeofeature::XFSphere& sphere) const {
    sink.add(
        BRepPrimAPI_MakeSphere(toPoint(sphere.center), static_cast<double>(sphere.radius)).Shape());
    return true;
  }

  bool add(const xgeofeature::XFCylinder& cylinder) const {
    const gp_Ax2 axes(toPoint(cylinder.base), toDirection(cylinder.axis));
    sink.add(BRepPrimAPI_MakeCylinder(axes, static_cast<double>(cylinder.radius),
                                      static_cast<double>(cylinder.height), kFullTurn)
                 .Shape());
    return true;
  }

  bool add(const xgeofeature::XFCone& cone) const {
    const gp_Ax2 axes(toPoint(cone.base), toDirection(cone.axis));
    sink.add(BRepPrimAPI_MakeCone(axes, static_cast<double>(cone.baseRadius),
                                  static_cast<double>(cone.topRadius),
                                  static_cast<double>(cone.height), kFullTurn)
                 .Shape());
    return true;
  }

  bool add(const xgeofeature::XFOvalGroove3D& groove) const {
    addOvalGroove(groove, sink);
    return true;
  }

  bool add(const xgeofeature::XFRoundGroove3D& groove) const {
    addRoundGroove(groove, sink);
    return true;
  }

  bool add(const xgeofeature::XFRectangle3D& rectangle) const {
    addRectangle(rectangle, sink);
    return true;
  }

  bool add(const xgeofeature::XFPolyLine& line) const {
    const auto edge = interpolatedEdge(line);
    if (edge) sink.add(*edge);
    return edge.has_value();
  }
};

}  // namespace

bool isFinite(const xgeofeature::XFPoint& p) { return areFinite(p.x, p.y, p.z); }

bool isFinite(const xgeofeature::XFPolyLine& line) {
  for (const xgeofeature::XFPoint& point : line.points) {
    if (!isFinite(point)) return false;
  }
  return true;
}

ShapeOutcome addShape(const xgeofeature::XFBase* feature, ShapeSink& sink) {
  ShapeOutcome outcome = ShapeOutcome::Left;
  visitRecord(feature, [&](const auto& record) {
    if (!isFinite(record)) {
      outcome = ShapeOutcome::NotFinite;
    } else if (Adder{sink}.add(record)) {
      outcome = ShapeOutcome::Added;
    }
  });
  return outcome;
}

TopoDS_Vertex vertexAt(const float* point) {
  return BRepBuilderAPI_MakeVertex(toPoint(point)).Vertex();
}

TopoDS_Edge edgeOf(const xgeofeature::XFLine3D& line) {
  return straightEdge(toPoint(line.start), toPoint(line.end));
}

}  // namespace zelmo::internal
