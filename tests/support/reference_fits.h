// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <fstream>
#include <string>
#include <vector>

#include "support/reference_data.h"

namespace zelmo::test {

/// The points of one reference set, rounded to the floats that a fit is given.
inline std::vector<float> referencePoints(const std::string& name) {
  std::ifstream in(referenceData("fits/" + name + ".ds"));
  std::size_t count = 0;
  in >> count;
  std::vector<float> points(3 * count);
  for (float& value : points) {
    double given = 0.0;
    in >> given;
    value = static_cast<float>(given);
  }
  return points;
}

}  // namespace zelmo::test
