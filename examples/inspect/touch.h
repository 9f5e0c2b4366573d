// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include <TopoDS_Shape.hxx>

#include "outlines.h"

namespace inspect {

/// A feature that was touched: the fit to the centres of the probe's tip, moved by its radius.
struct Touched {
  std::string name;
  int points;
  bool done;
  double nominal;   ///< radius, or a plane's distance from the origin; 0 for single points
  double measured;  ///< likewise, compensated
  double distance;  ///< mm, as in the table of the features
  double angle;     ///< degrees
  double worst;     ///< mm: largest distance of a compensated point from the nominal surface
  std::vector<float> centres, compensated;  ///< three floats per point
};

/// Simulates touches on the model with a tip of the radius and fits them by the guided fits: planes,
/// spheres and cylinders, circles across full cylinders, the ends of slots, and single points
/// compensated by the nearest triangle of the model. Cones have no such fit; arcs of much less than
/// half a turn are left out.
std::vector<Touched> touchModel(const TopoDS_Shape& model, const ModelContent& content,
                                const std::vector<NominalOutline>& outlines,
                                const Options& options);

std::string touchTable(const std::vector<Touched>& touched, double radius);

/// The text of touches.csv: every touch, before and after compensation.
std::string touchRows(const std::vector<Touched>& touched);

/// The text of probe.csv: the table with all digits.
std::string probeRows(const std::vector<Touched>& touched);

}  // namespace inspect
