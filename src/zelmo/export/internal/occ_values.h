// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <BRepBuilderAPI_MakeEdge.hxx>
#include <TopoDS_Edge.hxx>
#include <gp.hxx>
#include <gp_Dir.hxx>
#include <gp_Lin.hxx>
#include <gp_Pnt.hxx>
#include <gp_Vec.hxx>

namespace zelmo::internal {

inline gp_Pnt toPoint(const float* v) {
  return {static_cast<double>(v[0]), static_cast<double>(v[1]), static_cast<double>(v[2])};
}

inline gp_XYZ toTriple(const float* v) { return toPoint(v).XYZ(); }

/// \throw Standard_ConstructionError for a vector of length 0
inline gp_Dir toDirection(const float* v) { return gp_Dir(toTriple(v)); }

/// \p v made unit; a zero vector stays zero.
inline gp_XYZ unitOrZero(const gp_XYZ& v) {
  const double norm = v.Modulus();
  return v * (norm == 0 ? 0.0 : 1.0 / norm);
}

/// \throw Standard_ConstructionError when the ends coincide
inline TopoDS_Edge straightEdge(const gp_Pnt& from, const gp_Pnt& to) {
  const gp_Lin line(from, gp_Dir(gp_Vec(from, to)));
  return BRepBuilderAPI_MakeEdge(line, 0.0, from.Distance(to)).Edge();
}

}  // namespace zelmo::internal
