// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <zelmo/export.h>

#include "zelmo/feature/cylinder.h"
#include "zelmo/lmfit/staged_fit.h"

namespace zelmolm {

/// Fits a cylinder to measured points with normals.
class ZELMO_EXPORT XCylinderFitLM : public StagedFit<XCylinderFitLM> {
 public:
  /// Fits all points from a start that sample consensus finds, then drops outlying points as
  /// \p method says and fits the others again, once.
  ///
  /// Prints "param:" and the seven numbers of the start (point, axis, radius). FilterProportionAngle
  /// prints the numbers of kept and of all points after the refit.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count]: measured normals, as nearly unit as possible
  /// \param[in] count number of points, at least 6
  /// \param[in] param limits of the filter. The angle is measured from the axis: a point passes when
  ///     its normal stands at least that far off it, so that 90 asks for normals square to the axis
  ///     and 80 leaves 10 degrees of play.
  /// \param[in] method the filter
  /// \return 0. -1: unknown \p method (then no field changes), count below 6, null normals, no start
  ///     found, a first fit that failed under a filter, a proportion that is NaN or outside 0 to 1,
  ///     FilterProportionAngle when points fail the angle and the proportion comes to no point. -2:
  ///     the solver failed, in the only fit of FilterNone or in the refit, also because the filter
  ///     left fewer than 7 points. After a failure the fields hold the last step that was completed.
  int Fit(const float* points, const float* normals, const int& count,
          const xfeaturefitfilter::FilterParam& param, xfeaturefitfilter::FilterMethod method);

  /// Fits all points from a given start, without filter.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param normals not read, may be null
  /// \param[in] count number of points, at least 6
  /// \param[in] seed float[7]: a point on the axis, the axis of any length, the radius
  /// \return 0; -1: count below 6; -2: the solver failed (fewer than 7 points, values that are not
  ///     finite), the fields being stored all the same
  int Fit(const float* points, const float* normals, const int& count, const float* const seed);

  /// \param[out] cylinder all fields
  void getCylinder(xgeofeature::XFCylinder& cylinder);

  /// Distances from the axis less the radius, which is rounded to float.
  /// \param[in] p double[7]: point on the axis, axis of any length, radius
  /// \param[out] hx double[n], one per point in the order of the points
  /// \param[in] m number of parameters, 7; not read
  /// \param[in] n number of points
  /// \param[in] adata float[3 * n]: the points
  static void Fit_Function(double* p, double* hx, int m, int n, void* adata);

  float center[3] = {};  ///< half way between base and top
  float axis[3] = {};    ///< unit, from base to top
  float radius = 0;      ///< in the points' length unit, as all lengths here
  float height = 0;  ///< extent of the points of the last fit along the axis, without dropped ones
  float base[3] = {};  ///< end of the extent against the axis, on it
  float top[3] = {};   ///< end of the extent along the axis, on it

 private:
  template <typename Fit>
  friend class zelmo::internal::FitStages;

  int Fit1(const float* points, const float* normals, const int& count);
  int solveFrom(const float* points, const float* normals, const int& count, double* params);
  void calcStatistics(const float* points, const int& count, float* const stats,
                      std::vector<float>& residuals);
  void getValue(const float* points, const float* normals, const int& count);
  void surfaceDirection(const float* point, double* direction) const;
  void paramsOf(double* params) const;
  void storeParams(const double* params);
};

}  // namespace zelmolm
