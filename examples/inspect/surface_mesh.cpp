// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "surface_mesh.h"

#include <cmath>

#include <BRepBndLib.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRep_Tool.hxx>
#include <Bnd_Box.hxx>
#include <Poly_Triangulation.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>

#include "failure.h"
#include "outward.h"

namespace inspect {

cv::Vec3d SurfaceMesh::corner(int triangle, int which) const {
  const std::size_t at = 3 * static_cast<std::size_t>(triangle) + static_cast<std::size_t>(which);
  const float* vertex = &vertices[3 * static_cast<std::size_t>(triangles[at])];
  return {vertex[0], vertex[1], vertex[2]};
}

double diagonalOf(const TopoDS_Shape& model) {
  Bnd_Box box;
  BRepBndLib::Add(model, box);
  return box.IsVoid() ? 1.0 : std::sqrt(box.SquareExtent());
}

SurfaceMesh meshOf(const TopoDS_Shape& model, double sag, double angle) {
  const BRepMesh_IncrementalMesh mesher(model, sag, Standard_False, angle);
  const double sign = signOfSolid(model);
  SurfaceMesh mesh;
  int face_number = 0;
  for (TopExp_Explorer walk(model, TopAbs_FACE); walk.More(); walk.Next(), ++face_number) {
    const TopoDS_Face& face = TopoDS::Face(walk.Current());
    TopLoc_Location location;
    const Handle(Poly_Triangulation) patch = BRep_Tool::Triangulation(face, location);
    if (patch.IsNull()) continue;
    const int first = static_cast<int>(mesh.vertices.size() / 3);
    for (int i = 1; i <= patch->NbNodes(); ++i) {
      const gp_Pnt node = patch->Node(i).Transformed(location.Transformation());
      for (const double value : {node.X(), node.Y(), node.Z()}) {
        mesh.vertices.push_back(static_cast<float>(value));
      }
    }
    for (int i = 1; i <= patch->NbTriangles(); ++i) {
      int a = 0, b = 0, c = 0;
      patch->Triangle(i).Get(a, b, c);
      if (sign * sideOf(face) < 0.0) std::swap(b, c);
      for (const int node : {a, b, c}) mesh.triangles.push_back(first + node - 1);
      mesh.faces.push_back(face_number);
    }
  }
  if (mesh.count() == 0) throw Failure(kBadModel, "no face of the model could be meshed");
  return mesh;
}

}  // namespace inspect
