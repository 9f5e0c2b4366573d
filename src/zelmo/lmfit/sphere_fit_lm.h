// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <zelmo/export.h>

#include "zelmo/feature/sphere.h"
#include "zelmo/lmfit/staged_fit.h"

namespace zelmolm {

/// Fits a sphere to measured points with normals.
class ZELMO_EXPORT XSphereFitLM : public StagedFit<XSphereFitLM> {
 public:
  /// Fits all points, then drops outlying points as \p method says and fits the others again, once.
  ///
  /// FilterSigma prints mean and standard deviation of the residuals and the upper and lower limit;
  /// FilterProportionAngle prints "min_n_maxvalue=" with the smallest residual that is dropped.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count]: measured normals, read by the filters with an angle only;
  ///     null passes no angle limit
  /// \param[in] count number of points, at least 4
  /// \param[in] param limits of the filter. A point passes the angle when its normal, or the opposite
  ///     one, lies within the limit of the direction from the center.
  /// \param[in] method the filter
  /// \return 0. -1: unknown \p method (then no field changes), count below 4, a first fit that failed
  ///     under a filter, a proportion that is NaN or outside 0 to 1, FilterProportionAngle when points
  ///     fail the angle and the proportion comes to no point. -2: the solver failed, in the only fit
  ///     of FilterNone or in the refit, also because the filter left fewer than 4 points. After a
  ///     failure the fields hold the last step that was completed.
  int Fit(const float* points, const float* normals, const int& count,
          const xfeaturefitfilter::FilterParam& param, xfeaturefitfilter::FilterMethod method);

  /// \param[out] sphere center and radius
  void getSphere(xgeofeature::XFSphere& sphere);

  /// Distances from the center less the radius.
  /// \param[in] p double[4]: center, radius
  /// \param[out] hx double[n], one per point in the order of the points
  /// \param[in] m number of parameters, 4; not read
  /// \param[in] n number of points
  /// \param[in] adata float[3 * n]: the points
  static void Fit_Function(double* p, double* hx, int m, int n, void* adata);

  float center[3] = {};  ///< x, y, z in the points' length unit
  float radius = 0;      ///< in the points' length unit

 private:
  template <typename Fit>
  friend class zelmo::internal::FitStages;

  int Fit1(const float* points, const float* normals, const int& count);
  void calcStatistics(const float* points, const int& count, float* const stats,
                      std::vector<float>& residuals);
  void surfaceDirection(const float* point, double* direction) const;
  void paramsOf(double* params) const;
  void storeParams(const double* params);
};

}  // namespace zelmolm
