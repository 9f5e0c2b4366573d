// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

#include "zelmo/feature/plane.h"
#include "zelmo/simplex/simplex_state.h"

/// Room [guidedfit](docs/rooms/guidedfit.md): touch points, compensated for the probe.
namespace xgeofit {

/// The least-squares plane of touch points, turned the way their normals point, bounded by a
/// rectangle and compensated for the radius of the probe's tip.
///
/// A copy shares the original's minimiser; one object serves one thread at a time.
class ZELMO_EXPORT XPlaneFit {
 public:
  float a = 0;             ///< a x + b y + c z + d = 0, (a, b, c) unit
  float b = 0;             ///< y of the unit normal
  float c = 0;             ///< z of the unit normal
  float d = 0;             ///< in the points' length unit, as all lengths here
  float center[3] = {};    ///< of the bounding rectangle
  float normal[3] = {};    ///< (a, b, c)
  float majorDir[3] = {};  ///< unit, along the longer side
  float length = 0;        ///< longer side
  float width = 0;         ///< shorter side
  float corners[12] = {};  ///< rectangle of the same center and sides, parallel to the local frame

  XPlaneFit();

  /// Fits the plane.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count]: measured normals; most of them lie on the side that the
  ///     plane's normal shows. Null leaves the side to the fit.
  /// \param[in] count number of points
  /// \return 0, or -1 below 3 points: the fields then stay as they were. Points that are not finite
  ///     give fields that are not to be used.
  int Fit(const float* points, const float* normals, const int& count);

  /// The same, then moved by the probe radius, away from the side that the first normal shows.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count]: as above, but not null; the first tells the side of the
  ///     tip
  /// \param[in] count number of points
  /// \param[in] radius radius of the probe's tip
  /// \param[out] compensated float[3 * count], or null: the points, moved with the plane
  /// \param[out] errors float[3 * count], or null: deviations from the moved plane, along its normal
  /// \return 0, or -1 below 3 points and without normals: the fields and arrays then stay as they
  ///     were
  int Fit(const float* points, const float* normals, const int& count, const float& radius,
          float* compensated, float* errors);

  /// \param[out] plane the bounded plane; its d is the one through the center
  void getPlane(xgeofeature::XFPlane& plane);

 private:
  static double Distance_LeastSquare(const gsl_vector* v, void* params);

  zelmo::internal::SimplexState m_simplex;
};

}  // namespace xgeofit
