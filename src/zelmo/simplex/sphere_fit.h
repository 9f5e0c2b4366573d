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

/// Fits a sphere to measured points.
///
/// Reusable for any number of fits; one object serves one thread at a time, different objects may
/// run at once. A copy shares the original's minimiser, and both may be used in turn.
class ZELMO_EXPORT XSphereFit : public X3DFit {
 public:
  XSphereFit();

  /// Fits the sphere that \p method asks for: the algebraic one, or a descent from it.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] count number of points; 0 or less means none
  /// \param[in,out] params double[4]: center x, y, z and radius, in the points' length unit. With
  ///     fewer than 4 points it is the start of the descent, and under LeastSquare it stays as it
  ///     is.
  /// \param[in] method LeastSquare: algebraic least squares, without iteration. Chebyshev: smallest
  ///     largest distance. Any other value: smallest sum of absolute distances.
  /// \return true in every case. Coplanar points give the mean and the radius 0 where the system is
  ///     exactly singular, or a sphere without meaning. Where the distances are not finite at the
  ///     start (a NaN or infinite coordinate, a NaN radius) the start is the result.
  /// \note Nothing keeps a descent from a negative radius.
  bool Fit(const float* points, const int& count, double* const params, FitMethod method);

  /// The same for points in a vector.
  ///
  /// \param[in] points the measured points; their number is that of the vector
  /// \param[in,out] params double[4] as above
  /// \param[in] method as above
  /// \return as above
  bool Fit(const std::vector<cv::Point3f>& points, double* const params, FitMethod method);

 private:
  static double Distance_LeastAbsDev(const gsl_vector* v, void* params);
  static double Chebyshev_MaxDistance(const gsl_vector* v, void* params);

  bool leastSquareFit(const zelmo::internal::PointView& points, double* p);
  bool fitView(const zelmo::internal::PointView& points, double* p, FitMethod method);

  zelmo::internal::SimplexState m_simplex;
};

}  // namespace x3dfit
