// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <BRepBuilderAPI_MakeEdge.hxx>
#include <GC_MakeSegment.hxx>
#include <GeomAPI_Interpolate.hxx>
#include <Geom_BSplineCurve.hxx>
#include <TColStd_HArray1OfBoolean.hxx>
#include <TColgp_Array1OfVec.hxx>
#include <TColgp_HArray1OfPnt.hxx>

#include "zelmo/export/internal/feature_shapes.h"
#include "zelmo/export/internal/occ_values.h"

namespace zelmo::internal {
namespace {

constexpr int kFewestCurvePoints = 4;
constexpr int kMostCurvePoints = 15000;
constexpr double kSamePoint = 1e-6;

gp_Pnt toPoint(const xgeofeature::XFPoint& p) {
  return {static_cast<double>(p.x), static_cast<double>(p.y), static_cast<double>(p.z)};
}

}  // namespace

std::vector<int> curvePoints(int count) {
  std::vector<int> chosen;
  if (count <= kMostCurvePoints) {
    for (int i = 0; i < count; ++i) chosen.push_back(i);
    return chosen;
  }
  chosen.reserve(kMostCurvePoints);
  chosen.push_back(0);
  const double step = count / static_cast<double>(kMostCurvePoints);
  double position = 0;
  for (int k = 1; k < kMostCurvePoints - 1; ++k) {
    position += step;
    chosen.push_back(static_cast<int>(position));
  }
  chosen.push_back(count - 1);
  return chosen;
}

std::optional<TopoDS_Edge> interpolatedEdge(const xgeofeature::XFPolyLine& line) {
  const int count = static_cast<int>(line.points.size());
  if (count < kFewestCurvePoints) return std::nullopt;
  const std::vector<int> chosen = curvePoints(count);
  const int chosen_count = static_cast<int>(chosen.size());
  const Handle(TColgp_HArray1OfPnt) points = new TColgp_HArray1OfPnt(1, chosen_count);
  for (int i = 0; i < chosen_count; ++i) {
    const auto index = static_cast<std::size_t>(chosen[static_cast<std::size_t>(i)]);
    points->SetValue(i + 1, toPoint(line.points[index]));
  }
  GeomAPI_Interpolate interpolation(points, Standard_False, kSamePoint);
  const TColgp_Array1OfVec tangents(1, chosen_count);
  const Handle(TColStd_HArray1OfBoolean) has_tangent =
      new TColStd_HArray1OfBoolean(1, chosen_count, Standard_False);
  interpolation.Load(tangents, has_tangent);
  interpolation.Perform();
  if (!interpolation.IsDone()) return std::nullopt;
  return BRepBuilderAPI_MakeEdge(interpolation.Curve()).Edge();
}

void addSegments(const xgeofeature::XFPolyLine& line, ShapeSink& sink) {
  for (std::size_t i = 1; i < line.points.size(); ++i) {
    const GC_MakeSegment segment(toPoint(line.points[i - 1]), toPoint(line.points[i]));
    sink.add(BRepBuilderAPI_MakeEdge(segment.Value()).Edge());
  }
}

}  // namespace zelmo::internal
