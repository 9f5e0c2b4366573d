// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace x3dfit {

/// What a fit of this namespace minimises; any other value is allowed, and each class says what it
/// does with it. xcurve3dfit has an enum of the same name with other values.
enum FitMethod : int {
  LeastSquare = 0,  ///< sum of squared distances; plane and sphere: the closed form
  LeastAbsDev = 1,  ///< sum of absolute distances
  Chebyshev = 2,    ///< largest absolute distance
};

}  // namespace x3dfit
