// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

#include "zelmo/feature/cylinder.h"
#include "zelmo/simplex/simplex_state.h"

namespace xgeofit {

/// The least-squares cylinder of touch points, compensated for the radius of the probe's tip.
///
/// Each of the three principal axes of the points is tried as a start, so that short wide cylinders
/// are found as well. All forms return 0, or -1 below 6 points and where neither normals nor caller
/// tell the side of the probe: the fields then stay as they were and no array is written. Points that
/// are not finite or lie on a line give 0 and fields that are not to be used. A copy
/// shares the original's minimiser; one object serves one thread at a time, different objects may
/// run at once.
class ZELMO_EXPORT XCylinderFit {
 public:
  float center[3] = {};  ///< half way between base and top, in the points' length unit
  float axis[3] = {};    ///< unit, from base to top
  float radius = 0;      ///< of the compensated cylinder in the forms with a probe radius
  float height = 0;      ///< extent of the points along the axis
  float base[3] = {};    ///< end of the extent against the axis, on it
  float top[3] = {};     ///< end of the extent along the axis, on it

  XCylinderFit();

  /// Fits the cylinder.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count], not read; may be null
  /// \param[in] count number of points, at least 6
  /// \return 0; -1 below 6 points
  int Fit(const float* points, const float* normals, const int& count);

  /// The same, then compensated: the first point's normal tells whether the cylinder was touched
  /// from inside (it looks towards the axis, the radius grows) or from outside.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count]; only the first is read
  /// \param[in] count number of points
  /// \param[in] radius radius of the probe's tip
  /// \param[out] compensated float[3 * count], or null: each point's place on the compensated surface
  /// \param[out] errors float[3 * count], or null: radial deviations from the compensated cylinder
  /// \return 0; -1 below 6 points and for null \p normals
  int Fit(const float* points, const float* normals, const int& count, const float& radius,
          float* compensated, float* errors);

  /// The same, with the side told by the caller instead of by a normal.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count], not read; may be null
  /// \param[in] count number of points
  /// \param[in] radius radius of the probe's tip
  /// \param[out] compensated float[3 * count], or null; as above
  /// \param[out] errors float[3 * count], or null; as above
  /// \param[in] outward true: the radius grows
  /// \return 0; -1 below 6 points
  int Fit(const float* points, const float* normals, const int& count, const float& radius,
          float* compensated, float* errors, bool outward);

  /// The result of the last successful fit.
  ///
  /// \param[out] cylinder all fields
  void getCylinder(xgeofeature::XFCylinder& cylinder);

 private:
  static double Distance_LeastSquare(const gsl_vector* v, void* params);

  zelmo::internal::SimplexState m_simplex;
};

}  // namespace xgeofit
