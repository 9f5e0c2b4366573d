// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

#include "zelmo/feature/oval_groove.h"
#include "zelmo/simplex/simplex_state.h"

namespace xgeofit {

/// The least-squares stadium of points on its two end arcs, in the plane, by simplex from the
/// bounding rectangle.
class ZELMO_EXPORT XOvalGroove2DFit {
 public:
  float cx = 0;            ///< x of the center, in the points' length unit, as all lengths here
  float cy = 0;            ///< y of the center
  float halfStraight = 0;  ///< half the length of a straight side
  float radius = 0;        ///< of the end arcs
  float angle = 0;         ///< direction of the straight sides, in radians

  XOvalGroove2DFit();

  /// Fits the stadium.
  ///
  /// \param[in] end1 float[2 * count1]: x, y of the points on one end arc
  /// \param[in] count1 number of points on the first arc
  /// \param[in] end2 float[2 * count2]: x, y of the points on the other, in any order of the ends
  /// \param[in] count2 number of points on the second arc
  /// \return 0, or -1 when either count is below 3 or an array is null: the fields then stay as they
  ///     were. Where a coordinate is not finite the start is the result, the rectangle around the
  ///     other points.
  int Fit(const float* end1, const int& count1, const float* end2, const int& count2);

 private:
  static double Distance_LeastSquare(const gsl_vector* v, void* params);

  zelmo::internal::SimplexState m_simplex;
};

/// A slot through touch points on its two end arcs, in a plane that the host gives, compensated for
/// the radius of the probe's tip.
///
/// All forms read float[3 * count1] points on one end and float[3 * count2] on the other, and the
/// plane as float[6], point and unit normal. They return 0, or -1 when either count is below 3, the
/// plane is null or its normal gives no frame, a point is not finite, or neither normals nor caller
/// tell the side of the probe; the fields then stay as they were and no array is written.
class ZELMO_EXPORT XOvalGroove3DFit {
 public:
  float center[3] = {};      ///< x, y, z in the points' length unit, as all lengths here
  float normal[3] = {};      ///< of the plane
  float majorDir[3] = {};    ///< along the straight sides
  float halfStraight = 0;    ///< half the length of a straight side
  float radius = 0;          ///< of the end arcs; compensated in the forms with a probe radius
  float arcCenter1[3] = {};  ///< center - majorDir * halfStraight; set by the compensated forms
  float arcCenter2[3] = {};  ///< center + majorDir * halfStraight

  /// Fits the outline of the points, projected on the plane.
  ///
  /// \param[in] points1 float[3 * count1]: x, y, z per point of end 1
  /// \param[in] normals1 float[3 * count1], not read; may be null
  /// \param[in] count1 number of points of end 1
  /// \param[in] points2 float[3 * count2]: x, y, z per point of end 2
  /// \param[in] normals2 float[3 * count2], not read; may be null
  /// \param[in] count2 number of points of end 2
  /// \param[in] plane float[6]: point, unit normal
  /// \param[out] projected float[3 * (count1 + count2)]: the points on the plane, end 1 first; may be
  ///     null
  /// \return 0; -1 as the class says
  int Fit(const float* points1, const float* normals1, const int& count1, const float* points2,
          const float* normals2, const int& count2, float* const plane, float* projected);

  /// The same, then compensated: the first normal of end 1 tells whether the slot was touched from
  /// inside (it looks towards the line through the center along the plane's normal, the radius
  /// grows) or from outside.
  ///
  /// \param[in] points1 float[3 * count1]: x, y, z per point of end 1
  /// \param[in] normals1 float[3 * count1]; only the first is read
  /// \param[in] count1 number of points of end 1
  /// \param[in] points2 float[3 * count2]: x, y, z per point of end 2
  /// \param[in] normals2 float[3 * count2], not read; may be null
  /// \param[in] count2 number of points of end 2
  /// \param[in] plane float[6]: point, unit normal
  /// \param[in] radius radius of the probe's tip
  /// \param[out] compensated float[3 * (count1 + count2)], or null: projected points moved by the
  ///     radius away from, or towards, the nearer arc center; end 1 first
  /// \param[out] errors float[3 * (count1 + count2)], or null: deviations from the compensated arc
  /// \return 0; -1 as the class says, and for null \p normals1
  int Fit(const float* points1, const float* normals1, const int& count1, const float* points2,
          const float* normals2, const int& count2, float* const plane, const float& radius,
          float* compensated, float* errors);

  /// The same, with the side told by the caller instead of by a normal.
  ///
  /// \param[in] points1 float[3 * count1]: x, y, z per point of end 1
  /// \param[in] normals1 float[3 * count1], not read; may be null
  /// \param[in] count1 number of points of end 1
  /// \param[in] points2 float[3 * count2]: x, y, z per point of end 2
  /// \param[in] normals2 float[3 * count2], not read; may be null
  /// \param[in] count2 number of points of end 2
  /// \param[in] plane float[6]: point, unit normal
  /// \param[in] radius radius of the probe's tip
  /// \param[out] compensated float[3 * (count1 + count2)], or null; as above
  /// \param[out] errors float[3 * (count1 + count2)], or null; as above
  /// \param[in] outward true: the radius grows
  /// \return 0; -1 as the class says
  int Fit(const float* points1, const float* normals1, const int& count1, const float* points2,
          const float* normals2, const int& count2, float* const plane, const float& radius,
          float* compensated, float* errors, bool outward);

  /// The result of the last successful fit.
  ///
  /// \param[out] groove all fields
  void getOvalGroove(xgeofeature::XFOvalGroove3D& groove);
};

}  // namespace xgeofit
