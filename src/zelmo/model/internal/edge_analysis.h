// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

#include <Geom_BSplineCurve.hxx>
#include <TopoDS_Edge.hxx>
#include <gp_Circ.hxx>
#include <gp_Pnt.hxx>

#include "zelmo/model/model_feature_type.h"

/// \file
/// What single edges are.

namespace zelmo::internal {

/// The curve of an edge in space with its bounds; a null curve when the edge is null or has none.
struct EdgeCurve {
  explicit EdgeCurve(const TopoDS_Edge& edge);

  bool isNull() const { return curve.IsNull(); }
  bool isLine() const;
  bool isCircle() const;
  bool isSpline() const;

  gp_Pnt at(double t) const { return curve->Value(t); }
  gp_Pnt start() const { return at(first); }
  gp_Pnt end() const { return at(last); }
  gp_Pnt middle() const { return at((first + last) * 0.5); }

  /// The circle of a curve for which isCircle holds.
  gp_Circ circle() const;

  Handle(Geom_Curve) curve;
  double first = 0.0;
  double last = 0.0;
};

/// The circle through three points. Nothing when there is none, also where OpenCASCADE throws instead
/// of telling so.
std::optional<gp_Circ> circleThrough(const gp_Pnt& p1, const gp_Pnt& p2, const gp_Pnt& p3);

/// The circle that a spline edge is an arc of, told by two circles through its ends and the feet of
/// two poles on it. Nothing when either circle can't be built or their radii differ by 0.01 or more.
std::optional<gp_Circ> arcOfSpline(const EdgeCurve& edge);

/// Appends center, normal, major direction and radius.
void writeCircle(const gp_Circ& circle, std::vector<float>& data);

/// What \p edge is.
/// \param[out] data emptied, then the floats of the record that belongs to the answer
xmodelfeature::ModelFeatureType classifyEdge(const TopoDS_Edge& edge, std::vector<float>& data);

}  // namespace zelmo::internal
