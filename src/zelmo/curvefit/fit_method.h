// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace xcurve3dfit {

/// What a fit of this namespace minimises, with e the signed distance of a point to the outline,
/// positive outside; any other value is allowed. x3dfit has an enum of the same name with other
/// values.
enum FitMethod : int {
  LeastSquare = 0,  ///< sum of e^2; circle: the closed form
  LeastAbsDev = 1,  ///< sum of |e|
  LeastAbsDevInscribed =
      2,                   ///< sum of e, a negative one as (1 - e) 10000: outline inside the points
  Chebyshev = 3,           ///< largest |e|
  ChebyshevInscribed = 4,  ///< largest e, a negative one as (1 - e) 10000
  ChebyshevCircumscribed =
      5,                 ///< largest -e, a positive e as (e + 1) 10000: outline around the points
  MaximumInscribed = 6,  ///< circle, also for any other value: largest with no point inside
};

}  // namespace xcurve3dfit
