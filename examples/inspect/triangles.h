// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <TopoDS_Face.hxx>
#include <TopoDS_Shape.hxx>

namespace inspect {

/// Triangulates a model, finely enough for the scan of it that is simulated; once.
void triangulate(const TopoDS_Shape& model);

/// The surface of some faces as the library takes it.
struct Triangles {
  std::vector<float> corners;  ///< nine per triangle
  std::vector<float> normals;  ///< three per triangle, unit, out of the material

  int count() const { return static_cast<int>(normals.size() / 3); }
};

/// The triangles of faces of a triangulated model, cut until they are of about one size: the library
/// looks for a point's triangle among the ten with the nearest centroids.
///
/// \param sign -1 for a model that stands inside out
/// \param sides how many of a triangle's longest sides go along a square of the faces' area
Triangles trianglesOf(const std::vector<TopoDS_Face>& faces, double sign, int sides);

}  // namespace inspect
