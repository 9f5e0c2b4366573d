// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <fstream>
#include <string>

#include "support/features.h"
#include "support/reference_data.h"

namespace zelmo::test {

/// A reference set: its points, rounded to the floats that a fit is given, and its stored solution.
struct ReferenceSet {
  std::string name;
  Points points;
  Params solution;
};

/// \param[in] name of folder and set, as in Plane/pla1
/// \return a set without points where there is none
inline ReferenceSet referenceSet(Kind kind, const std::string& name) {
  ReferenceSet set{name, {}, {}};
  std::ifstream points(referenceData("fits/" + name + ".ds"));
  std::size_t count = 0;
  points >> count;
  for (double x = 0, y = 0, z = 0; set.points.size() < count && points >> x >> y >> z;) {
    set.points.push_back(Vec(x, y, z).rounded());
  }
  std::ifstream solution(referenceData("fits/" + name + ".fit"));
  Params& q = set.solution;
  for (Real value = 0; solution >> value;) q.push_back(value);
  // Round features name the diameter; a cone a point on the axis, its distance from the surface, the
  // full angle in degrees and an axis away from the apex.
  if (kind == Kind::Sphere) q.insert(q.begin() + 3, 3, 1);
  q.resize(std::max<std::size_t>(q.size(), 8));
  if (kind == Kind::Cone) {
    const Real half = q[7] * std::acos(Real{-1}) / 360;
    (Vec(q.data()) - directionOf(q) * (q[6] / std::sin(half))).copyTo(q.data());
    q[6] = half;
  } else {
    q[6] /= 2;
  }
  q.resize(7);
  return set;
}

}  // namespace zelmo::test
