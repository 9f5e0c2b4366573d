// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <zelmo/export.h>

/// Room [lmfit](docs/rooms/lmfit.md): the filters of damped fits.
namespace xfeaturefitfilter {

/// What drops outlying points between the first fit and the refit.
enum FilterMethod : int {
  FilterNone = 0,            ///< nothing: the first fit is the result
  FilterSigma = 1,           ///< residuals outside mean plus or minus sigmaFactor deviations
  FilterProportion = 2,      ///< the largest share of the absolute residuals
  FilterAngle = 3,           ///< normals against the surface, at most half of the points
  FilterSigmaAngle = 4,      ///< FilterSigma and FilterAngle, without the cap of one half
  FilterProportionAngle = 5  ///< by angle first, then the largest share of what is left
};

/// Limits of the filters; each method reads its own.
class ZELMO_EXPORT FilterParam {
 public:
  /// \param[in] angle_limit degrees
  /// \param[in] sigma_factor multiples of the standard deviation
  /// \param[in] drop_share 0 to 1
  FilterParam(const float& angle_limit, const float& sigma_factor, const float& drop_share)
      : angle(angle_limit), sigmaFactor(sigma_factor), proportion(drop_share) {}

  float angle;  ///< limit on the angle between a point's normal and the fitted surface, degrees
  float sigmaFactor;  ///< half width of the band of residuals that is kept, in standard deviations
  float proportion;   ///< share of points to drop, those with the largest residuals
};

}  // namespace xfeaturefitfilter
