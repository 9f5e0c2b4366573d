// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "nominal.h"

namespace inspect {

/// What can be required of a feature.
enum class Characteristic {
  Flatness,
  Sphericity,
  Cylindricity,
  Conicity,
  Straightness,  ///< of a cylinder's axis, or of a line in a plane
  Circularity,   ///< of a cylinder's sections
  Parallelism,
  Perpendicularity,
  Concentricity,
  Coaxiality,
  Position,  ///< of a sphere's centre or a cylinder's axis
  Distance,
  Angle,  ///< between two features; of a cone between opposite sides
  Diameter,
};

const char* nameOf(Characteristic what);

/// Whether the measured value is to be near a nominal one, instead of at most the tolerance.
bool isDimension(Characteristic what);

/// One line of a drawing.
struct Requirement {
  Characteristic what;
  int feature;     ///< its number in the list of features
  int datum;       ///< likewise; -1 for none
  double nominal;  ///< mm or degrees; 0 unless it is a dimension
  double tolerance;
  std::string note;
};

/// What the drawing of the made part asks for.
std::vector<Requirement> planOfMadePart(const std::vector<Nominal>& features, double tolerance);

/// What can be asked of a part without a drawing: the form of every feature, diameters, and the
/// orientation and distance of the others towards the three largest planes that stand square to each
/// other; coaxiality of cylinders on one axis.
///
/// \param tolerance mm; for distances and diameters to either side
std::vector<Requirement> planFrom(const std::vector<Nominal>& features, double tolerance);

}  // namespace inspect
