// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <zelmo/export.h>

#include "zelmo/feature/plane.h"
#include "zelmo/lmfit/staged_fit.h"

namespace zelmolm {

/// Fits a plane to measured points with normals, turns it the way the normals point and describes
/// its extent by a rectangle.
class ZELMO_EXPORT XPlaneFitLM : public StagedFit<XPlaneFitLM> {
 public:
  /// Fits all points, then drops outlying points as \p method says and fits the others again, once.
  ///
  /// The rectangle and the direction of the normal come from all points, also from those that the
  /// filter dropped. When the filter leaves 3 points or fewer, the first fit stands.
  ///
  /// FilterSigma prints mean and standard deviation of the residuals and the upper and lower limit,
  /// FilterProportion and FilterAngle the numbers of kept and of all points, FilterSigmaAngle both
  /// lines; FilterProportionAngle prints "min_n_maxvalue=" with the smallest residual that is
  /// dropped, then the two numbers.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count]: measured normals; null counts for neither side of the
  ///     plane and passes no angle limit
  /// \param[in] count number of points, at least 3; three points give their plane without iteration
  /// \param[in] param limits of the filter. A point passes the angle when its normal, or the opposite
  ///     one, lies within the limit of the plane's.
  /// \param[in] method the filter
  /// \return 0, or -1: count below 3, unknown \p method (then no field changes), coordinates that are
  ///     not finite, a solver that failed, a proportion that is NaN or outside 0 to 1, or
  ///     FilterProportionAngle when points fail the angle and the proportion comes to no point.
  ///     After -1 the fields hold the last step that was completed.
  int Fit(const float* points, const float* normals, const int& count,
          const xfeaturefitfilter::FilterParam& param, xfeaturefitfilter::FilterMethod method);

  /// \param[out] plane the fitted rectangle; its d is made anew, so that the plane passes through the
  ///     center
  void getPlane(xgeofeature::XFPlane& plane);

  /// Signed distances a x + b y + c z + d, with (a, b, c, d) divided by the length of (a, b, c) unless
  /// that is below 0.0001.
  /// \param[in] p double[4]: a, b, c, d
  /// \param[out] hx double[n], one per point in the order of the points
  /// \param[in] m number of parameters, 4; not read
  /// \param[in] n number of points
  /// \param[in] adata float[3 * n]: the points
  static void Fit_Function(double* p, double* hx, int m, int n, void* adata);

  /// Distances above the lowest point, the largest of them times 10 n: least squares of these is
  /// ruled by the width of the zone.
  /// \copydetails Fit_Function
  static void Fit_Chebyshev_Function(double* p, double* hx, int m, int n, void* adata);

  float a = 0;           ///< x of the unit normal
  float b = 0;           ///< y of the unit normal
  float c = 0;           ///< z of the unit normal
  float d = 0;           ///< a x + b y + c z + d = 0, (a, b, c) unit; d in the points' length unit
  float center[3] = {};  ///< center of the bounding rectangle
  float normal[3] = {};  ///< (a, b, c), turned so that most measured normals lie on its side
  float majorDir[3] = {};  ///< unit, along the longer side
  float length = 0;        ///< longer side
  float width = 0;         ///< shorter side
  float corners[12] =
      {};  ///< four points of a rectangle with the same center and sides, parallel to
           ///< a frame in the plane whose first axis points from the mean to the first
           ///< point that is off it: not turned along majorDir

 private:
  template <typename Fit>
  friend class zelmo::internal::FitStages;

  int Fit1(const float* points, const float* normals, const int& count);
  int Fit_Chebyshev(const float* points, const float* normals, const int& count,
                    const float* const seed);
  int solveAndOrient(const float* points, const float* normals, const int& count, double* params);
  void calcStatistics(const float* points, const int& count, float* const stats,
                      std::vector<float>& residuals);
  void getValue(const float* points, const float* normals, const int& count);
  void surfaceDirection(const float* point, double* direction) const;
  void paramsOf(double* params) const;
  void storeParams(const double* params);
};

}  // namespace zelmolm
