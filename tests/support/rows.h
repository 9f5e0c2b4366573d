// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <iterator>
#include <type_traits>
#include <vector>

namespace zelmo::test {

/// Triples and numbers of a record, one after another.
template <typename... Fields>
std::vector<float> rowOf(const Fields&... fields) {
  std::vector<float> row;
  const auto append = [&row](const auto& field) {
    if constexpr (std::is_array_v<std::remove_reference_t<decltype(field)>>) {
      row.insert(row.end(), std::begin(field), std::end(field));
    } else {
      row.push_back(static_cast<float>(field));
    }
  };
  (append(fields), ...);
  return row;
}

}  // namespace zelmo::test
