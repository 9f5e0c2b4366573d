// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

namespace zelmo::internal {

/// What kthLargest gives when there is no such value.
constexpr float kNoSuchValue = -1.0F;

/// The k-th largest of \p values, k = 1 being the largest, by quickselect. NaN counts as larger than
/// any number.
/// \return kNoSuchValue when \p k is below 1 or above the number of values
inline float kthLargest(std::vector<float> values, int k) {
  if (k < 1 || static_cast<std::size_t>(k) > values.size()) return kNoSuchValue;
  const auto is_larger = [](float a, float b) { return std::isnan(a) ? !std::isnan(b) : a > b; };
  const auto wanted = values.begin() + (k - 1);
  std::nth_element(values.begin(), wanted, values.end(), is_larger);
  return *wanted;
}

}  // namespace zelmo::internal
