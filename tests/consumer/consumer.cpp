// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <cstdio>

#include <zelmo/zelmo.h>

// The smallest host: it fits a plane to the corners of a square at z = 5.
int main() {
  const float points[] = {0, 0, 5, 10, 0, 5, 10, 10, 5, 0, 10, 5};
  double plane[4] = {};
  x3dfit::XPlaneFit().Fit(points, 4, plane, x3dfit::LeastSquare);

  const bool right = std::abs(std::abs(plane[2]) - 1.0) < 1e-9 &&
                     std::abs(std::abs(plane[3]) - 5.0) < 1e-9 && plane[2] * plane[3] < 0.0;
  std::printf("LibZelmo %s: %g %g %g %g: %s\n", zelmo::version(), plane[0], plane[1], plane[2],
              plane[3], right ? "right" : "WRONG");
  return right ? 0 : 1;
}
