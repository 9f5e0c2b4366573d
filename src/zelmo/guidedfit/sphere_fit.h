// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

#include "zelmo/feature/sphere.h"
#include "zelmo/simplex/simplex_state.h"

namespace xgeofit {

/// The least-squares sphere of touch points, compensated for the radius of the probe's tip.
///
/// All forms return 0, or -1 below 4 points and where neither normals nor caller tell the side of
/// the probe: the fields then stay as they were and no array is written. Coplanar points have no
/// sphere to start from, and points that are not finite none at all: 0 comes back with fields that are
/// not to be used. A copy shares the original's minimiser; one object serves one thread at a time.
class ZELMO_EXPORT XSphereFit {
 public:
  float center[3] = {};  ///< x, y, z in the points' length unit
  float radius = 0;      ///< of the compensated sphere in the forms with a probe radius

  XSphereFit();

  /// Fits the sphere.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count], not read; may be null
  /// \param[in] count number of points, at least 4
  /// \return 0; -1 below 4 points
  int Fit(const float* points, const float* normals, const int& count);

  /// The same, then compensated: the first point's normal tells whether the sphere was touched from
  /// inside (it looks towards the center, the radius grows) or from outside.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count]; only the first is read
  /// \param[in] count number of points
  /// \param[in] radius radius of the probe's tip
  /// \param[out] compensated float[3 * count], or null: points moved by the radius
  /// \param[out] errors float[3 * count], or null: radial deviations from the compensated sphere
  /// \return 0; -1 below 4 points and for null \p normals
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
  /// \return 0; -1 below 4 points
  int Fit(const float* points, const float* normals, const int& count, const float& radius,
          float* compensated, float* errors, bool outward);

  /// The result of the last successful fit.
  ///
  /// \param[out] sphere center and radius
  void getSphere(xgeofeature::XFSphere& sphere);

 private:
  static double Distance_LeastSquare(const gsl_vector* v, void* params);

  zelmo::internal::SimplexState m_simplex;
};

}  // namespace xgeofit
