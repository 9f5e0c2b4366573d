// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

#include "zelmo/feature/cone.h"
#include "zelmo/lmfit/zelmo_lm.h"

namespace zelmolm {

/// Fits a cone to measured points with normals.
class ZELMO_EXPORT XConeFitLM : public ZelmoLM {
 public:
  /// Fits all points from a start that sample consensus finds. There is no filter.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count]: measured normals, as nearly unit as possible; read by the
  ///     search for the start only
  /// \param[in] count number of points, at least 6
  /// \return the number of solver passes, 0 or more; -1: count below 6, null normals, no start found
  ///     (then no field changes), or a solver that failed (fewer than 7 points, values that are not
  ///     finite), the fields being stored all the same
  /// \note Distances are taken square to the axis, not to the mantle: the wider the cone, the farther
  ///     the result lies from the orthogonal fit of noisy points. The cone's radius is rounded to float
  ///     there; where the solver's first steps gain less than that rounding takes, it stops, up to a few
  ///     percent above the least sum of squares.
  int Fit(const float* points, const float* normals, const int& count);

  /// \param[out] cone all fields
  void getCone(xgeofeature::XFCone& cone);

  /// Distances from the axis less the cone's radius at the point's height.
  /// \param[in] p double[7]: apex, axis of any length, half angle in radians
  /// \param[out] hx double[n], one per point in the order of the points
  /// \param[in] m number of parameters, 7; not read
  /// \param[in] n number of points
  /// \param[in] adata float[3 * n]: the points
  static void Fit_Function(double* p, double* hx, int m, int n, void* adata);

  float apex[3] = {};    ///< x, y, z in the points' length unit, as all lengths here
  float axis[3] = {};    ///< unit, from base towards top, which is towards the apex
  float halfAngle = 0;   ///< radians
  float base[3] = {};    ///< far end of the points' extent
  float top[3] = {};     ///< near end; the apex when points lie on both sides of it
  float height = 0;      ///< distance of base and top
  float baseRadius = 0;  ///< radius of the cone at base
  float topRadius = 0;   ///< radius of the cone at top

 private:
  void getValue(const float* points, const float* normals, const int& count);
};

}  // namespace zelmolm
