// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <opencv2/core/types.hpp>
#include <zelmo/export.h>

#include "zelmo/curvefit/curve_fit.h"
#include "zelmo/curvefit/fit_method.h"
#include "zelmo/feature/oval_groove.h"

namespace zelmo::internal {
class PointView;
}  // namespace zelmo::internal

namespace xcurve3dfit {

/// Fits a stadium outline, two straight sides and two half circles, to measured points in space.
///
/// The plane is always that of the least sum of absolute distances; the outline is then fitted in it.
/// An object holds its last successful result and nothing else; one object serves one thread at a
/// time, different objects may run at once.
class ZELMO_EXPORT XOvalGroove3DFit : public XCurve3DFit {
 public:
  float center[3] = {};    ///< x, y, z in the points' length unit, as all lengths here
  float normal[3] = {};    ///< unit normal of the plane
  float majorDir[3] = {};  ///< unit, along the straight sides
  float halfStraight = 0;  ///< half the length of a straight side
  float radius = 0;        ///< of the half circles, half the width of the outline

  /// Fits the outline that \p method asks for.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] count number of points
  /// \param[out] out float[11]: center, normal, majorDir (along the straight sides),
  ///     halfStraight, radius; lengths in the points' unit
  /// \param[in] method as named in FitMethod; MaximumInscribed and any other value minimise the sum of
  ///     absolute distances. Below the long axis the distance to a straight side is negative outside,
  ///     which the one-sided methods take as it is.
  /// \return true when halfStraight and radius came out above 0; else false, with \p out written and
  ///     the object unchanged. With fewer than 8 points or a point that is not finite false, and \p out
  ///     is unchanged, too. A descent that stops short is not reported.
  bool Fit(const float* points, const int& count, float* out, FitMethod method);

  /// The same for points in a vector.
  ///
  /// \param[in] points the measured points; their number is that of the vector
  /// \param[out] out float[11] as above
  /// \param[in] method as above
  /// \return as above
  bool Fit(const std::vector<cv::Point3f>& points, float* out, FitMethod method);

  /// The same, with the fitted normal turned to the side on which more measured normals lie.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count]; null leaves the fitted normal; a normal across the fitted one counts against it, and a tie
  ///     leaves it
  /// \param[in] count number of points and of normals
  /// \param[out] out float[11] as above
  /// \param[in] method as above
  /// \return as above
  bool Fit(const float* points, const float* normals, const int& count, float* out,
           FitMethod method);

  /// The result of the last successful fit.
  void getOvalGroove(xgeofeature::XFOvalGroove3D& record) const;

 private:
  bool fitView(const zelmo::internal::PointView& points, float* out, FitMethod method);
};

}  // namespace xcurve3dfit
