// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <TopoDS_Shape.hxx>

#include "nominal.h"

namespace inspect {

using Line3 = std::vector<cv::Vec3d>;

/// The lines that show a feature, from the library's display geometry: the end rings of a cylinder
/// or cone as far as its faces go, three great circles of a sphere, the rectangle around a plane.
/// \param eye towards whoever looks at it: a sphere's outline is the circle across it
std::vector<Line3> linesOf(const Ideal& feature, const Sector& sector, const cv::Vec3d& eye);

/// The circles, slots, rectangles and round grooves among a model's edges, by display geometry.
std::vector<Line3> outlineLinesOf(const TopoDS_Shape& model);

/// The edges of a model as poly lines.
std::vector<Line3> edgeLinesOf(const TopoDS_Shape& model);

}  // namespace inspect
