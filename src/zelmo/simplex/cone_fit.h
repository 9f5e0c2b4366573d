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
struct Evaluations;
}  // namespace zelmo::internal

namespace x3dfit {

/// Fits a cone to measured points.
///
/// Reusable for any number of fits; one object serves one thread at a time, different objects may
/// work at once. A copy shares the original's minimiser, and both may be used in turn.
class ZELMO_EXPORT XConeFit : public X3DFit {
 public:
  /// The sum of squared distances at the last evaluation, by whatever object of the class.
  static double m_optimal_value_cone;

  XConeFit();

  /// Fits the cone that \p method asks for, by a descent from the axis of largest spread with the
  /// apex at the mean of the points. Distances are taken across the axis.
  ///
  /// Prints the line "iter:" and the number of steps on the standard output.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] count number of points; 0 or less means none
  /// \param[out] params double[7]: apex in the points' length unit, unit axis, half angle in radians
  /// \param[in] method LeastSquare: smallest sum of squared distances. LeastAbsDev: smallest sum of
  ///     absolute distances. Any other value, Chebyshev among them: the objective of the object's
  ///     last fit, LeastAbsDev on a fresh object.
  /// \return true in every case. Where the distances are not finite at the start (a NaN or infinite
  ///     coordinate) the start is the result and "iter:0" is printed. No points give parameters that
  ///     are no numbers, and the limit of 5000 is printed.
  /// \note The start has its apex inside the points, and the descent from it often ends in a local
  ///     minimum far from the cone: test the distances, or use Fit2 (better, not sure either) or the
  ///     damped fit. The axis may point either way, and nothing keeps a descent from a negative half
  ///     angle. A point within 0.01 of the apex in each coordinate counts by the cone's radius at the
  ///     point before it, the first one by the tangent of the half angle.
  bool Fit(const float* points, const int& count, double* const params, FitMethod method);

  /// The same for points in a vector.
  ///
  /// \param[in] points the measured points; their number is that of the vector
  /// \param[out] params double[7] as above
  /// \param[in] method as above
  /// \return as above
  bool Fit(const std::vector<cv::Point3f>& points, double* const params, FitMethod method);

  /// Fits by least squares from each of the three principal axes and keeps the best. Prints nothing.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] count number of points; 0 or less yields nothing useful, as do coordinates that are not
  ///     finite
  /// \param[in,out] params double[8]: the first seven as for Fit; the eighth stays as it is
  /// \param[in] method not used
  /// \return true in every case
  /// \note The candidates are compared by the objective's value at its last evaluation, not by its
  ///     smallest. The object holds the least-squares objective afterwards.
  bool Fit2(const float* points, const int& count, double* const params, FitMethod method);

  /// Base and top of a fitted cone: the feet of the extreme points on its axis. The axis in
  /// \p params is turned, where needed, so that it runs from the base towards the apex.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point; one with a NaN is passed over
  /// \param[in] count number of points; 0 or less gives ends at 1e10 from the apex
  /// \param[in,out] params double[6] or more: apex and unit axis; only the axis may change
  /// \param[out] base double[3]: the end away from the apex
  /// \param[out] top double[3]: the end towards it
  /// \param[out] height distance between them
  void calcConeBasePoint_Center(const float* points, const int& count, double* const params,
                                double* const base, double* const top, double& height);

 private:
  static double Distance_LeastSquare(const gsl_vector* v, void* params);
  static double Distance_LeastAbsDev(const gsl_vector* v, void* params);

  bool getInitialValue(const zelmo::internal::PointView& points, double* p);
  int descend(const zelmo::internal::Evaluations& evaluations, double* p);
  bool fitView(const zelmo::internal::PointView& points, double* p, FitMethod method);

  zelmo::internal::SimplexState m_simplex;
};

}  // namespace x3dfit
