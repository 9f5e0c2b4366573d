// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

#include <BRep_Builder.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Vertex.hxx>

#include "zelmo/export/internal/record_cast.h"

/// \file
/// Shapes for records that have none of their own. Numbers are widened to double. OpenCASCADE throws
/// what it throws for a record that it can't build, as for a normal of length 0.

namespace zelmo::internal {

/// A compound under way.
class ShapeSink {
 public:
  ShapeSink(TopoDS_Compound& compound, BRep_Builder& builder)
      : m_compound(compound), m_builder(builder) {}

  void add(const TopoDS_Shape& shape) { m_builder.Add(m_compound, shape); }

 private:
  TopoDS_Compound& m_compound;
  BRep_Builder& m_builder;
};

/// What became of a record.
enum class ShapeOutcome {
  Added,
  Left,       ///< nothing to add: null, a foreign class, a poly line that gives no curve
  NotFinite,  ///< a number that is NaN or infinite: nothing was added
};

/// Adds the shape of a record.
ShapeOutcome addShape(const xgeofeature::XFBase* feature, ShapeSink& sink);

TopoDS_Vertex vertexAt(const float* point);

/// The straight segment of a line record.
TopoDS_Edge edgeOf(const xgeofeature::XFLine3D& line);

/// Two arcs, two straight sides, vertices at the arcs' ends and at the center.
void addOvalGroove(const xgeofeature::XFOvalGroove3D& groove, ShapeSink& sink);

/// Vertices at the ends of the straight sides, the outline, a vertex at the center.
void addRoundGroove(const xgeofeature::XFRoundGroove3D& groove, ShapeSink& sink);

/// Vertices at the corners and the outline.
void addRectangle(const xgeofeature::XFRectangle3D& rectangle, ShapeSink& sink);

/// Which points of a poly line an interpolated curve takes: all up to 15000, otherwise 15000 of them
/// at equal steps with the first and the last.
std::vector<int> curvePoints(int count);

/// The interpolated curve through a poly line.
/// \return nothing for fewer than 4 points, and when the interpolation fails
std::optional<TopoDS_Edge> interpolatedEdge(const xgeofeature::XFPolyLine& line);

/// The straight segments between neighbours of a poly line. Neighbours that coincide throw.
void addSegments(const xgeofeature::XFPolyLine& line, ShapeSink& sink);

/// Whether every number that the shape of a record is made from is finite.
bool isFinite(const xgeofeature::XFPoint& point);
bool isFinite(const xgeofeature::XFPolyLine& line);

}  // namespace zelmo::internal
