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

  int Fit2(const float* points, const float* normals, const int& count, const float& value);
  int Fit3(const float* points, const float* normals, const int& count, const float& value);
  int Fit4(const float* points, const float* normals, const int& count, const float& value);
  int Fit5(const float* points, const float* normals, const int& count, const float& value,
           const float& angle);
  int Fit6(const float* points, const float* normals, const int& count, const float& value,
           const float& angle);
};

}  // namespace zelmolm
