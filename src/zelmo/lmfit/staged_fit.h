// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

#include "zelmo/lmfit/zelmo_lm.h"

namespace zelmo::internal {
template <typename Fit>
class FitStages;
}

namespace zelmolm {

/// The stages of filtering and fitting again, for the fits that have a filter. Only the library
/// defines and calls them.
/// \tparam Shape the fit itself, which derives from this
template <typename Shape>
class StagedFit : public ZelmoLM {
 protected:
  template <typename Fit>
  friend class zelmo::internal::FitStages;

  /// FilterSigma: fits all points, then those whose residuals lie in the band once more.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count]: measured normals
  /// \param[in] count number of points and of normals
  /// \param[in] value half width of the band in standard deviations
  /// \return 0, or the negative code of the fit that calls it
  int Fit2(const float* points, const float* normals, const int& count, const float& value);
  /// FilterProportion: fits all points, then all but those with the largest absolute residuals.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count]: measured normals
  /// \param[in] count number of points and of normals
  /// \param[in] value share of the points that is dropped, 0 to 1
  /// \return as Fit2
  int Fit3(const float* points, const float* normals, const int& count, const float& value);
  /// FilterAngle: fits all points, then those whose normals pass; at most half of the points
  /// are dropped.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count]: measured normals
  /// \param[in] count number of points and of normals
  /// \param[in] value limit of the angle in degrees
  /// \return as Fit2
  int Fit4(const float* points, const float* normals, const int& count, const float& value);
  /// FilterSigmaAngle: fits all points, then those that pass both by residual and by normal.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count]: measured normals
  /// \param[in] count number of points and of normals
  /// \param[in] value half width of the band in standard deviations
  /// \param[in] angle limit of the angle in degrees
  /// \return as Fit2
  int Fit5(const float* points, const float* normals, const int& count, const float& value,
           const float& angle);
  /// FilterProportionAngle: fits all points, then those whose normals pass, but for the ones among
  /// them with the largest absolute residuals.
  ///
  /// \param[in] points float[3 * count]: x, y, z per point
  /// \param[in] normals float[3 * count]: measured normals
  /// \param[in] count number of points and of normals
  /// \param[in] value share of the points with a passing normal that is dropped, 0 to 1
  /// \param[in] angle limit of the angle in degrees
  /// \return as Fit2
  int Fit6(const float* points, const float* normals, const int& count, const float& value,
           const float& angle);
};

}  // namespace zelmolm
