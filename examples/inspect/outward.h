// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <TopoDS_Face.hxx>
#include <TopoDS_Shape.hxx>
#include <gp_Pnt.hxx>
#include <gp_Vec.hxx>

namespace inspect {

/// +1 where the surface's own normal points out of the material that the face bounds, -1 where the
/// face is reversed.
double sideOf(const TopoDS_Face& face);

/// Whether the model stores the face as a plane, and not as a spline that happens to be flat.
bool isAnalytic(const TopoDS_Face& face);

/// A point in the middle of a face's bounds, with the normal that points out of the material: by
/// the surface's own normal, turned where the face is reversed.
struct OutwardNormal {
  gp_Pnt point;
  gp_Vec normal;  ///< of any length; zero where the surface has none there
};
OutwardNormal outwardOf(const TopoDS_Face& face);

/// Points spread over a face's bounds, its ends among them.
std::vector<gp_Pnt> gridOn(const TopoDS_Face& face);

/// -1 for a model that stands inside out, so that its faces bound a negative volume; +1 otherwise.
double signOfSolid(const TopoDS_Shape& model);

}  // namespace inspect
