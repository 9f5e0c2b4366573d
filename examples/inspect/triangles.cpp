// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "triangles.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <BRepMesh_IncrementalMesh.hxx>
#include <BRep_Tool.hxx>
#include <Poly_Triangulation.hxx>

#include "outward.h"
#include "shapes.h"
#include "surface_mesh.h"

namespace inspect {
namespace {

constexpr double kMeshShare = 5e-4;    // deflection of the mesh against the part's diagonal
constexpr double kMeshAngle = 0.3;     // rad
constexpr std::size_t kMost = 200000;  // triangles of one feature

using Triangle = std::array<cv::Vec3d, 3>;

cv::Vec3d crossOf(const Triangle& t) { return (t[1] - t[0]).cross(t[2] - t[0]); }

void addFace(const TopoDS_Face& face, double sign, std::vector<Triangle>& triangles) {
  TopLoc_Location location;
  const Handle(Poly_Triangulation) mesh = BRep_Tool::Triangulation(face, location);
  if (mesh.IsNull()) return;
  for (int i = 1; i <= mesh->NbTriangles(); ++i) {
    int corner[3] = {};
    mesh->Triangle(i).Get(corner[0], corner[1], corner[2]);
    if (sign * sideOf(face) < 0.0) std::swap(corner[1], corner[2]);
    Triangle triangle;
    for (std::size_t k = 0; k < 3; ++k) {
      const gp_Pnt point = mesh->Node(corner[k]).Transformed(location.Transformation());
      triangle[k] = {point.X(), point.Y(), point.Z()};
    }
    if (cv::norm(crossOf(triangle)) > 1e-12) triangles.push_back(triangle);
  }
}

/// Halves triangles across their longest sides until none of these is longer than the limit.
void cut(std::vector<Triangle>& triangles, double limit) {
  for (std::size_t i = 0; i < triangles.size();) {
    Triangle& own = triangles[i];
    std::size_t longest = 0;
    const auto side = [&own](std::size_t k) { return cv::norm(own[(k + 1) % 3] - own[k]); };
    for (const std::size_t k : {1U, 2U}) {
      if (side(k) > side(longest)) longest = k;
    }
    if (side(longest) <= limit || triangles.size() >= kMost) {
      ++i;
      continue;
    }
    const std::size_t next = (longest + 1) % 3;
    Triangle other = own;
    own[next] = other[longest] = 0.5 * (own[longest] + own[next]);
    triangles.push_back(other);
  }
}

}  // namespace

void triangulate(const TopoDS_Shape& model) {
  const BRepMesh_IncrementalMesh mesher(model, kMeshShare * diagonalOf(model), Standard_False,
                                        kMeshAngle);
}

Triangles trianglesOf(const std::vector<TopoDS_Face>& faces, double sign, int sides) {
  std::vector<Triangle> triangles;
  for (const TopoDS_Face& face : faces) addFace(face, sign, triangles);
  double area = 0.0;
  for (const Triangle& triangle : triangles) area += 0.5 * cv::norm(crossOf(triangle));
  cut(triangles, std::sqrt(area) / sides);
  Triangles result;
  for (const Triangle& triangle : triangles) {
    const cv::Vec3d normal = unit(crossOf(triangle));
    for (const cv::Vec3d& corner : triangle) {
      for (int i = 0; i < 3; ++i) result.corners.push_back(static_cast<float>(corner[i]));
    }
    for (int i = 0; i < 3; ++i) result.normals.push_back(static_cast<float>(normal[i]));
  }
  return result;
}

}  // namespace inspect
