// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <opencv2/core/types.hpp>
#include <zelmo/export.h>

#include "zelmo/simplex/fit_method.h"
#include "zelmo/simplex/simplex_state.h"
#include "zelmo/simplex/x3d_fit.h"

namespace zelmo::internal {
class PointView;
}  // namespace zelmo::internal

namespace x3dfit {

/// Fits a straight line in space to measured points.
///
/// Reusable for any number of fits; one object serves one thread at a time, different objects may
/// run at once. A copy shares the original's minimiser, and both may be used in turn.
class ZELMO_EXPORT XLine3DFit : public X3DFit {
 public:
  XLine3DFit();

  /// Fits the line that \p method asks for, by a descent from the axis of largest spread.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] count number of points
  /// \param[out] params double[6]: a point on the line in the points' length unit, then the unit
  ///     direction
  /// \param[in] method LeastSquare: smallest sum of squared distances. LeastAbsDev: smallest sum of
  ///     distances. Any other value, Chebyshev among them: the objective of the object's last fit,
  ///     LeastAbsDev on a fresh object.
  /// \return false with fewer than 3 points, params and object untouched; else true. Where the
  ///     distances are not finite at the start (a NaN or infinite coordinate) the start is the
  ///     result.
  /// \note A point within 0.01 of the line's point in each coordinate counts as lying on the line,
  ///     which can shift a result by about a micrometre. Points that suggest no line (spread over a
  ///     sphere, say) can shrink the direction until it is shorter than 1e-6: it is then left as it
  ///     is, not unit.
  bool Fit(const float* points, const int& count, double* const params, FitMethod method);

  /// The same for points in a vector.
  ///
  /// \param[in] points the measured points; their number is that of the vector
  /// \param[out] params double[6] as above
  /// \param[in] method as above
  /// \return as above
  bool Fit(const std::vector<cv::Point3f>& points, double* const params, FitMethod method);

  /// The two ends of a fitted segment: the feet of the extreme points.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] count number of points; below 3 nothing is written. One with a NaN is passed over.
  /// \param[in] params double[6]: a point and the unit direction, as Fit gives them
  /// \param[out] start float[3]: the end against the direction
  /// \param[out] end float[3]: the end along the direction
  void getStart_End_Point(const float* points, const int& count, double* const params,
                          float* const start, float* const end);

 private:
  static double Distance_LeastSquare(const gsl_vector* v, void* params);
  static double Distance_LeastAbsDev(const gsl_vector* v, void* params);

  bool getInitialValue(const zelmo::internal::PointView& points, double* p);
  bool fitView(const zelmo::internal::PointView& points, double* p, FitMethod method);

  zelmo::internal::SimplexState m_simplex;
};

}  // namespace x3dfit
