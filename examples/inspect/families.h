// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "outlines.h"

namespace inspect {

/// One feature, fitted in one way.
struct FamilyResult {
  std::string feature, fit;
  int points;
  bool done;        ///< the fit gave a result
  double size;      ///< radius, or a cone's half angle in degrees
  double distance;  ///< mm and degrees from the nominal feature, as in the tables of features
  double angle;
  double deviation;  ///< mm: root of the mean square of the points' distances
  double spread;     ///< mm: largest minus smallest
};

/// Fits the points used for spheres, full cylinders, cones and circles again, by the damped fit and by
/// the simplex for several scores. Of many points every so manyth is taken, the same for every fit.
std::vector<FamilyResult> compareFamilies(const std::vector<Measurement>& measurements,
                                          const std::vector<OutlineMeasurement>& outlines,
                                          const Scan& scan, double sigma);

std::string familyTable(const std::vector<FamilyResult>& results);

/// The text of families.csv.
std::string familyRows(const std::vector<FamilyResult>& results);

}  // namespace inspect
