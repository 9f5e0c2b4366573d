// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "outward.h"

#include <BRepAdaptor_Surface.hxx>
#include <BRepTools.hxx>
#include <TopExp_Explorer.hxx>
#include <zelmo/model/read_model.h>

namespace inspect {

double sideOf(const TopoDS_Face& face) {
  return face.Orientation() == TopAbs_REVERSED ? -1.0 : 1.0;
}

bool isAnalytic(const TopoDS_Face& face) {
  return BRepAdaptor_Surface(face).GetType() == GeomAbs_Plane;
}

OutwardNormal outwardOf(const TopoDS_Face& face) {
  const BRepAdaptor_Surface surface(face);
  double u_low = 0.0, u_high = 0.0, v_low = 0.0, v_high = 0.0;
  BRepTools::UVBounds(face, u_low, u_high, v_low, v_high);
  OutwardNormal outward;
  gp_Vec du, dv;
  surface.D1(0.5 * (u_low + u_high), 0.5 * (v_low + v_high), outward.point, du, dv);
  outward.normal = du.Crossed(dv) * sideOf(face);
  return outward;
}

std::vector<gp_Pnt> gridOn(const TopoDS_Face& face) {
  constexpr int kSteps = 8;
  const BRepAdaptor_Surface surface(face);
  double u_low = 0.0, u_high = 0.0, v_low = 0.0, v_high = 0.0;
  BRepTools::UVBounds(face, u_low, u_high, v_low, v_high);
  std::vector<gp_Pnt> points;
  for (int i = 0; i <= kSteps; ++i) {
    for (int k = 0; k <= kSteps; ++k) {
      points.push_back(surface.Value(u_low + (u_high - u_low) * i / kSteps,
                                     v_low + (v_high - v_low) * k / kSteps));
    }
  }
  return points;
}

double signOfSolid(const TopoDS_Shape& model) {
  if (!TopExp_Explorer(model, TopAbs_SOLID).More()) return 1.0;
  return xmodelfeature::XReadModel::getVolume(model) < 0.0 ? -1.0 : 1.0;
}

}  // namespace inspect
