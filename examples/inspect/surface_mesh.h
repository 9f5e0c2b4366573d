// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include <TopoDS_Shape.hxx>
#include <opencv2/core/matx.hpp>

namespace inspect {

/// A surface as triangles.
struct SurfaceMesh {
  std::vector<float> vertices;  ///< x, y, z per vertex
  std::vector<int> triangles;   ///< three vertices per triangle, counter-clockwise from outside
  std::vector<int> faces;       ///< per triangle the face of the model, in the order of a walk over
                                ///< them; empty for a mesh from a file

  int count() const { return static_cast<int>(triangles.size() / 3); }
  cv::Vec3d corner(int triangle, int which) const;
};

/// The mesh of a model.
/// \param sag mm: largest distance of a curved face from its triangles
/// \param angle rad: largest angle between neighbouring triangles of one face
SurfaceMesh meshOf(const TopoDS_Shape& model, double sag, double angle);

/// The length of the diagonal of a model's bounding box.
double diagonalOf(const TopoDS_Shape& model);

/// Whether the file is an STL or OFF file, by its extension.
bool isMeshFile(const std::string& path);

/// Reads an STL file, binary or text, or an OFF file. Throws Failure with kBadModel that says what is
/// wrong with it.
SurfaceMesh readMesh(const std::string& path);

/// Reads the content of a mesh file; \p name stands in messages.
SurfaceMesh parseMesh(const std::string& content, const std::string& name);

}  // namespace inspect
