// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/lmfit/internal/axis_values.h"

#include <cmath>

namespace zelmo::internal {

void storePointAndAxis(const double* params, float* point, float* axis) {
  constexpr double kNoAxis = 0.0001;
  const double* u = params + 3;
  const float norm = static_cast<float>(std::sqrt(u[0] * u[0] + u[1] * u[1] + u[2] * u[2]));
  const float scale = kNoAxis > norm ? 1.0F : 1.0F / norm;
  for (int i = 0; i < 3; ++i) {
    point[i] = static_cast<float>(params[i]);
    axis[i] = static_cast<float>(u[i] * scale);
  }
}

}  // namespace zelmo::internal
