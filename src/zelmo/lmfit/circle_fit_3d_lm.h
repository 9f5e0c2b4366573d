// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

#include "zelmo/lmfit/zelmo_lm.h"

namespace zelmolm {

/// Fits a circle in space to measured points: the largest one with no point inside, or the
/// least-squares one. Both work in a plane that is given or fitted.
///
/// A plane is fitted with the filter FilterProportionAngle, a share of 0.05 and a limit of 45 degrees;
/// its two lines on the standard output appear.
class ZELMO_EXPORT XCircleFit3DLM : public ZelmoLM {
 public:
  /// Seeks the largest circle with no measured point inside, as a plug gauge would: a start, and an
  /// exchange of the three points that bear it.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count]: measured normals; read only when \p fitPlane is set, and null
  ///     fails then
  /// \param[in] count number of points, at least 10
  /// \param[in] plane float[6]: a point and a unit normal; read only, and not at all when \p fitPlane
  ///     is set
  /// \param[in] fitPlane whether the plane is fitted to the points
  /// \return 0, or -1: count below 10, no plane, a plane fit that failed, points that span no frame
  ///     in the plane, no start (collinear or not finite), or an exchange in which more than 0.4 of
  ///     the points led to a circle that had to be passed over. After -1 the fields are as they
  ///     were.
  /// \note The circle may be smaller than the largest one, by up to a third on bores with few points or
  ///     a radius of 50 and more, and now and then points lie inside it; the documents tell when.
  int Fit(const float* points, const float* normals, const int& count, float* const plane,
          bool fitPlane);

  /// Fits the least-squares circle. \copydetails Fit
  /// \p count has to be at least 3, and there is no exchange that could fail.
  int Fit2(const float* points, const float* normals, const int& count, float* const plane,
           bool fitPlane);

  float center[3] = {};    ///< x, y, z in the points' length unit, in the plane
  float normal[3] = {};    ///< of the plane, as given or fitted
  float majorDir[3] = {};  ///< local X axis of the circle's frame, towards the first point
  float radius = 0;        ///< in the points' length unit
};

}  // namespace zelmolm
