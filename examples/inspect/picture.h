// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include <TopoDS_Shape.hxx>

#include "measure.h"
#include "output_folder.h"
#include "scan.h"
#include "surface_mesh.h"
#include "svg.h"
#include "view.h"

namespace inspect {

using Colour = cv::Vec3d;  // red, green, blue from 0 to 255

/// "#rrggbb"
std::string hexOf(const Colour& colour);

/// Paints what is seen of a mesh, lit from above.
/// \param colours one per face of the model
/// \param contrast how much darker a face is that is turned away from the light
void paintFaces(Svg& svg, const View& view, const SurfaceMesh& mesh,
                const std::vector<Colour>& colours, double contrast);

/// Draws the part with its measured features into features.svg, coloured by their kind, and into
/// deviations.svg, coloured by how far their points stand out of the nominal surface.
void drawPictures(const TopoDS_Shape& model, const std::vector<Measurement>& measurements,
                  const Scan& scan, const OutputFolder& folder);

}  // namespace inspect
