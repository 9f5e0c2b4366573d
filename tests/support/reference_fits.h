// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cmath>
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

using LongVector = std::array<long double, 3>;

inline long double dot(const LongVector& a, const LongVector& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// The least-squares plane of float points in long double: mean, and unit normal by cyclic Jacobi
/// rotations of the 3 by 3 scatter.
struct LongPlane {
  LongVector mean{};
  LongVector normal{};
};

inline LongPlane longPlane(const std::vector<float>& points) {
  LongPlane plane;
  const std::size_t count = points.size() / 3;
  for (std::size_t i = 0; i < points.size(); ++i) plane.mean[i % 3] += points[i];
  for (long double& m : plane.mean) m /= static_cast<long double>(count);
  long double a[3][3] = {};
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t r = 0; r < 3; ++r) {
      for (std::size_t c = 0; c < 3; ++c) {
        a[r][c] += (points[3 * i + r] - plane.mean[r]) * (points[3 * i + c] - plane.mean[c]);
      }
    }
  }
  long double v[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  for (int sweep = 0; sweep < 60; ++sweep) {
    for (int p = 0; p < 2; ++p) {
      for (int q = p + 1; q < 3; ++q) {
        if (a[p][q] == 0) continue;
        const long double angle = 0.5L * std::atan2(2 * a[p][q], a[q][q] - a[p][p]);
        const long double c = std::cos(angle);
        const long double s = std::sin(angle);
        for (auto& row : a) {
          const long double rp = row[p];
          row[p] = c * rp - s * row[q];
          row[q] = s * rp + c * row[q];
        }
        for (int k = 0; k < 3; ++k) {
          const long double pk = a[p][k];
          a[p][k] = c * pk - s * a[q][k];
          a[q][k] = s * pk + c * a[q][k];
        }
        for (auto& row : v) {
          const long double rp = row[p];
          row[p] = c * rp - s * row[q];
          row[q] = s * rp + c * row[q];
        }
      }
    }
  }
  int least = 0;
  for (int k = 1; k < 3; ++k) least = a[k][k] < a[least][least] ? k : least;
  for (std::size_t k = 0; k < 3; ++k) plane.normal[k] = v[k][least];
  return plane;
}

}  // namespace zelmo::test
