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

/// Fits a plane a x + b y + c z + d = 0 to measured points.
///
/// Reusable for any number of fits; one object serves one thread at a time, different objects may
/// run at once. A copy shares the original's minimiser, and both may be used in turn.
class ZELMO_EXPORT XPlaneFit : public X3DFit {
 public:
  XPlaneFit();

  /// Fits the plane that \p method asks for: the regression plane, or a descent from it.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point, in the caller's length unit
  /// \param[in] count number of points; 0 or less means none
  /// \param[in,out] params double[4]: a, b, c without unit and |(a, b, c)| = 1, d in the length
  ///     unit. With fewer than 3 points it is the start of the descent, and under LeastSquare it
  ///     stays as it is.
  /// \param[in] method LeastSquare: orthogonal regression, without iteration. Chebyshev: smallest
  ///     largest distance. Any other value: smallest sum of absolute distances.
  /// \return true in every case; a descent that stops short is not reported. Where the distances are
  ///     not finite at the start (a NaN or infinite coordinate) the start is the result.
  /// \note Nothing orients the normal: its sign is the one the decomposition gives. A normal with no
  ///     positive component makes the first step zero or negative; a zero step ends the descent
  ///     where it starts.
  bool Fit(const float* points, const int& count, double* const params, FitMethod method);

  /// The same for points in a vector.
  ///
  /// \param[in] points the measured points; their number is that of the vector
  /// \param[in,out] params double[4] as above
  /// \param[in] method as above
  /// \return as above
  bool Fit(const std::vector<cv::Point3f>& points, double* const params, FitMethod method);

  /// Corners of a rectangle around the points in a plane: center and size are those of the smallest
  /// rectangle in any direction, the sides are parallel to the plane's local axes.
  ///
  /// X of the local frame points to the first projected point at least 0.01 off the mean in some
  /// coordinate; where no point is, it is an axis of the world turned into the plane.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] count number of points; none give four corners at the world's origin
  /// \param[in] params double[4]: a, b, c, d with |(a, b, c)| = 1
  /// \param[out] corners float[12]: four points in the local order (+, +), (-, +), (-, -), (+, -);
  ///     stays as it is for a zero or non-finite normal or a point that is not finite
  void getFourCorner(const float* points, const int& count, double* const params,
                     float* const corners);

  /// The same for points in a vector.
  ///
  /// \param[in] points the measured points; their number is that of the vector
  /// \param[in] params double[4] as above
  /// \param[out] corners float[12] as above
  void getFourCorner(const std::vector<cv::Point3f>& points, double* const params,
                     float* const corners);

 private:
  static double Distance_LeastAbsDev(const gsl_vector* v, void* params);
  static double Chebyshev_MaxDistance(const gsl_vector* v, void* params);

  bool getInitialValue(const zelmo::internal::PointView& points, double* p);
  bool fitView(const zelmo::internal::PointView& points, double* p, FitMethod method);
  void cornersOf(const zelmo::internal::PointView& points, const double* plane, float* corners);

  zelmo::internal::SimplexState m_simplex;
};

}  // namespace x3dfit
