// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <type_traits>
#include <vector>

namespace zelmo::test {

/// Numbers and arrays of a record, one after another.
template <typename... Fields>
std::vector<float> rowOf(const Fields&... fields) {
  std::vector<float> row;
  [[maybe_unused]] const auto append = [&row](const auto& field) {
    if constexpr (std::is_convertible_v<decltype(field), float>) {
      row.push_back(static_cast<float>(field));
    } else {
      for (const float value : field) row.push_back(value);
    }
  };
  (append(fields), ...);
  return row;
}

}  // namespace zelmo::test
