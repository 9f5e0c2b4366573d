// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

#include "zelmo/feature/circle.h"
#include "zelmo/simplex/simplex_state.h"

namespace xgeofit {

/// The least-squares circle of points in the plane, by simplex from the algebraic circle.
class ZELMO_EXPORT XCircle2DFit {
 public:
  float cx = 0;  ///< x of the center, in the points' length unit
  float cy = 0;  ///< y of the center
  float r = 0;   ///< radius

  XCircle2DFit();

  /// Fits the circle.
  ///
  /// \param[in] points float[2 * count]: x, y per point
  /// \param[in] count number of points
  /// \return false below 3 points, and when the points give no algebraic circle to start from
  ///     (collinear, coincident or not finite); the fields then stay as they were
  bool Fit(const float* points, const int& count);

 private:
  static double Distance_LeastSquare(const gsl_vector* v, void* params);

  zelmo::internal::SimplexState m_simplex;
};

/// A circle through touch points on a bore or a boss, in a plane that the host gives, compensated
/// for the radius of the probe's tip.
///
/// All forms read the plane as float[6], point and unit normal, and return 0, or -1 below 3 points,
/// for a plane that is null or whose normal gives no frame, for points that are not finite or have no
/// circle, and where
/// neither normals nor caller tell the side; the fields then stay as they were and the arrays are not
/// written, but for the projected points of points without a circle.
class ZELMO_EXPORT XCircle3DFit {
 public:
  float center[3] = {};    ///< x, y, z in the points' length unit, as all lengths here
  float normal[3] = {};    ///< of the plane
  float majorDir[3] = {};  ///< towards the first point that is off the centroid
  float radius = 0;        ///< of the compensated circle in the forms with a probe radius

  /// Fits the circle of the points, projected on the plane.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count], not read
  /// \param[in] count number of points
  /// \param[in] plane float[6]: point, unit normal
  /// \param[out] projected float[3 * count]: the points on the plane; may be null
  /// \return 0; -1 as the class says
  int Fit(const float* points, const float* normals, const int& count, float* const plane,
          float* projected);

  /// The same, then compensated: the first point's normal tells whether the circle was touched from
  /// inside (it looks towards the axis, the radius grows) or from outside.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count]; only the first is read
  /// \param[in] count number of points
  /// \param[in] plane float[6]: point, unit normal
  /// \param[in] radius radius of the probe's tip
  /// \param[out] compensated float[3 * count], or null: projected points moved by the radius
  /// \param[out] errors float[3 * count], or null: radial deviations from the compensated circle
  /// \return 0; -1 as the class says, and for null \p normals
  int Fit(const float* points, const float* normals, const int& count, float* const plane,
          const float& radius, float* compensated, float* errors);

  /// The same, with the side told by the caller instead of by a normal.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count], not read; may be null
  /// \param[in] count number of points
  /// \param[in] plane float[6]: point, unit normal
  /// \param[in] radius radius of the probe's tip
  /// \param[out] compensated float[3 * count], or null; as above
  /// \param[out] errors float[3 * count], or null; as above
  /// \param[in] outward true: the radius grows
  /// \return 0; -1 as the class says
  int Fit(const float* points, const float* normals, const int& count, float* const plane,
          const float& radius, float* compensated, float* errors, bool outward);

  /// The circle in which a plane cuts the probe's tip around one point. majorDir is some direction
  /// square to the plane's normal.
  ///
  /// \param[in] point float[3]: center of the tip
  /// \param[in] normal float[3], not read
  /// \param[in] plane float[6]: point, unit normal
  /// \param[in] radius radius of the tip
  /// \return 0, or -1 when the plane does not cut the tip, for a null \p point or \p plane, and for
  ///     numbers that are not finite: the fields then stay as they were
  int Fit_SinglePoint(const float* const point, const float* const normal, float* const plane,
                      const float& radius);

  /// The result of the last successful fit.
  ///
  /// \param[out] circle all fields
  void getCircle(xgeofeature::XFCircle3D& circle);
};

}  // namespace xgeofit
