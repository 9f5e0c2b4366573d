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

/// Fits a cylinder to measured points.
///
/// Reusable for any number of fits; one object serves one thread at a time, different objects may
/// work at once. A copy shares the original's minimiser, and both may be used in turn.
class ZELMO_EXPORT XCylinderFit : public X3DFit {
 public:
  /// The sum of squared distances at the last evaluation, by whatever object of the class.
  static double m_optimal_value;

  XCylinderFit();

  /// Fits the cylinder that \p method asks for, by a descent from the axis of largest spread.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] count number of points; 0 or less means none
  /// \param[out] params double[8], lengths in the points' unit: center at mid height, unit axis,
  ///     radius, height (extent of the points along the axis)
  /// \param[in] method LeastSquare: smallest sum of squared distances. Chebyshev: smallest largest
  ///     distance. Any other value: smallest sum of absolute distances.
  /// \return true in every case. Where the distances are not finite at the start (a NaN or infinite
  ///     coordinate) the start is the result, which is then not finite itself. No points give
  ///     parameters that are no numbers.
  /// \note Points spread more across than along the axis (short cylinders) start from a wrong axis
  ///     and may end there: use Fit2. The center is computed from an axis point rounded to float. A
  ///     point within 0.01 of the axis point in each coordinate counts as the radius. Nothing keeps
  ///     a descent from a negative radius.
  bool Fit(const float* points, const int& count, double* const params, FitMethod method);

  /// The same for points in a vector.
  ///
  /// \param[in] points the measured points; their number is that of the vector
  /// \param[out] params double[8] as above
  /// \param[in] method as above
  /// \return as above
  bool Fit(const std::vector<cv::Point3f>& points, double* const params, FitMethod method);

  /// Fits by least squares from each of the three principal axes and keeps the best.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] count number of points; 0 or less yields nothing useful, as do coordinates that are not
  ///     finite
  /// \param[in,out] params double[8], as for Fit; the values brought along are not used
  /// \return true in every case
  /// \note The candidates are compared by the objective's value at its last evaluation, not by its
  ///     smallest. The object's iteration limit becomes 1000 (from 10000) and stays so for later
  ///     fits, as does the objective.
  bool Fit2(const float* points, const int& count, double* const params);

 private:
  static double Distance_LeastSquare(const gsl_vector* v, void* params);
  static double Distance_LeastAbsDev(const gsl_vector* v, void* params);
  static double Chebyshev_MaxDistance(const gsl_vector* v, void* params);

  bool getInitialValue(const zelmo::internal::PointView& points, double* p);
  void calcCylinderHeight_Center(const zelmo::internal::PointView& points, double* p);
  void descend(const zelmo::internal::Evaluations& evaluations, double* p, double step);
  bool fitView(const zelmo::internal::PointView& points, double* p, FitMethod method);

  zelmo::internal::SimplexState m_simplex;
};

}  // namespace x3dfit
