// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/model/internal/edge_analysis.h"

#include <algorithm>
#include <cmath>

#include <BRep_Tool.hxx>
#include <GeomAPI_ProjectPointOnCurve.hxx>
#include <Geom_Circle.hxx>
#include <Geom_Line.hxx>
#include <Standard_Failure.hxx>
#include <TopoDS.hxx>
#include <gce_MakeCirc.hxx>

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/model/internal/occ_vectors.h"

namespace zelmo::internal {

using namespace xmodelfeature;  // NOLINT(google-build-using-namespace): the enumerators of one enum

namespace {

constexpr double kSameArcRadius = 0.01;

std::optional<gp_Pnt> footOn(const EdgeCurve& edge, const gp_Pnt& point) {
  const GeomAPI_ProjectPointOnCurve feet(point, edge.curve, edge.first, edge.last);
  if (feet.NbPoints() < 1) return std::nullopt;
  return feet.NearestPoint();
}

}  // namespace

EdgeCurve::EdgeCurve(const TopoDS_Edge& edge) {
  if (!edge.IsNull()) curve = BRep_Tool::Curve(TopoDS::Edge(edge), first, last);
}

bool EdgeCurve::isLine() const { return curve->DynamicType() == STANDARD_TYPE(Geom_Line); }
bool EdgeCurve::isCircle() const { return curve->DynamicType() == STANDARD_TYPE(Geom_Circle); }
bool EdgeCurve::isSpline() const {
  return curve->DynamicType() == STANDARD_TYPE(Geom_BSplineCurve);
}

gp_Circ EdgeCurve::circle() const { return Handle(Geom_Circle)::DownCast(curve)->Circ(); }

std::optional<gp_Circ> circleThrough(const gp_Pnt& p1, const gp_Pnt& p2, const gp_Pnt& p3) {
  // The maker leaves its own status unset where the distance of two different points underflows.
  constexpr double kUnderflows = 1e-100;
  for (const gp_XYZ& d : {p2.XYZ() - p1.XYZ(), p3.XYZ() - p2.XYZ(), p1.XYZ() - p3.XYZ()}) {
    const double reach = std::max({std::fabs(d.X()), std::fabs(d.Y()), std::fabs(d.Z())});
    if (reach != 0 && reach < kUnderflows) return std::nullopt;
  }
  try {
    const gce_MakeCirc circle(p1, p2, p3);
    if (circle.IsDone()) return circle.Value();
  } catch (const Standard_Failure&) {  // NOLINT(bugprone-empty-catch): coincident points throw
  }
  return std::nullopt;
}

std::optional<gp_Circ> arcOfSpline(const EdgeCurve& edge) {
  const auto spline = Handle(Geom_BSplineCurve)::DownCast(edge.curve);
  try {
    const auto foot1 = footOn(edge, spline->Pole(2));
    const auto foot2 = footOn(edge, spline->Pole(spline->NbPoles() - 1));
    if (!foot1 || !foot2) return std::nullopt;
    const auto circle1 = circleThrough(edge.start(), edge.end(), *foot1);
    const auto circle2 = circleThrough(edge.start(), edge.end(), *foot2);
    if (!circle1 || !circle2) return std::nullopt;
    const double difference = std::fabs(circle1->Radius() - circle2->Radius());
    if (difference < kSameArcRadius) return circle1;
  } catch (const Standard_Failure&) {  // NOLINT(bugprone-empty-catch): a projection without a foot
  }
  return std::nullopt;
}

void writeCircle(const gp_Circ& circle, std::vector<float>& data) {
  const gp_XYZ n = circle.Axis().Direction().XYZ();
  // CONTRACT: the major direction comes from the normal, not from the circle's own X direction.
  const cv::Vec3d major = perpendicularTo(cv::Vec3d(n.X(), n.Y(), n.Z()));
  FloatRow(data) << circle.Location().XYZ() << n << major[0] << major[1] << major[2]
                 << circle.Radius();
}

ModelFeatureType classifyEdge(const TopoDS_Edge& edge, std::vector<float>& data) {
  data.clear();
  const EdgeCurve curve(edge);
  if (curve.isNull()) return ModelUnknown;
  if (curve.isLine()) {
    FloatRow(data) << curve.start().XYZ() << curve.end().XYZ();
    return ModelLine;
  }
  std::optional<gp_Circ> circle;
  if (curve.isCircle()) circle = curve.circle();
  if (curve.isSpline()) circle = arcOfSpline(curve);
  if (!circle) return ModelUnknown;
  writeCircle(*circle, data);
  return ModelCircle;
}

}  // namespace zelmo::internal
