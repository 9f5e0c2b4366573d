// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <unordered_map>
#include <vector>

#include "zelmo/model/outline_records.h"
#include "zelmo/model/solid_records.h"

/// \file
/// The search for an equal record in a list, by one number of each record: what the scan over the
/// whole list gives, without the scan.

namespace zelmo::internal {

/// A number that equal records share to within the second value, a bound with room to spare. Where a
/// record equals its reversed twin, so must the number.
struct RecordKey {
  double value;
  double within;
};

/// Where a triple lies along a direction that no model is lined up with: rows of holes and walls of
/// parallel lines spread out over it. Beyond a thousand kilometres all places are one, so that the
/// rounding of large sums keeps no equal records apart.
inline double spread(const float* v) {
  static constexpr double kFarthest = 1e9;
  const auto near = [](float x) {
    return std::clamp(static_cast<double>(x), -kFarthest, kFarthest);
  };
  return 0.8191 * near(v[0]) + 0.4663 * near(v[1]) + 0.3341 * near(v[2]);
}

inline RecordKey keyOf(const xmodelfeature::XFPlane& r) {
  const float direction[3] = {r.a, r.b, r.c};
  const float offset[3] = {r.d, 0.0F, 0.0F};
  return {std::fabs(spread(direction) + spread(offset)), 1e-5};
}
inline RecordKey keyOf(const xmodelfeature::XFSphere& r) { return {spread(r.center), 1e-5}; }
inline RecordKey keyOf(const xmodelfeature::XFCylinder& r) {
  return {spread(r.base) + spread(r.top), 0.01};
}
inline RecordKey keyOf(const xmodelfeature::XFCone& r) { return {spread(r.apex), 1e-3}; }
inline RecordKey keyOf(const xmodelfeature::XFLine3D& r) {
  return {spread(r.start) + spread(r.end), 0.1};
}
/// Circles, slots, rectangles and rounded rectangles.
template <typename Outline>
RecordKey keyOf(const Outline& r) {
  return {spread(r.center), 0.1};
}

/// Knows the records of a list that only it appends to while it lives.
template <typename Record>
class RecordIndex {
 public:
  explicit RecordIndex(std::vector<Record>& list) : m_list(list) {
    for (std::size_t i = 0; i < list.size(); ++i) m_buckets[bucketOf(list[i])].push_back(i);
  }

  /// The last record of the list that equals \p record; null when there is none.
  Record* newestEqual(const Record& record) {
    const double bucket = bucketOf(record);
    std::optional<std::size_t> newest;
    for (const double b : {bucket - 1.0, bucket, bucket + 1.0}) {
      const auto found = m_buckets.find(b);
      if (found == m_buckets.end()) continue;
      const auto equal = std::find_if(found->second.rbegin(), found->second.rend(),
                                      [&](std::size_t i) { return m_list[i] == record; });
      if (equal != found->second.rend()) newest = std::max(newest.value_or(0), *equal);
    }
    return newest ? &m_list[*newest] : nullptr;
  }

  void append(Record record) {
    m_buckets[bucketOf(record)].push_back(m_list.size());
    m_list.push_back(std::move(record));
  }

 private:
  static double bucketOf(const Record& record) {
    const RecordKey key = keyOf(record);
    // A NaN equals nothing, so that any bucket will do for it.
    return std::isnan(key.value) ? 0.0 : std::floor(key.value / key.within);
  }

  std::vector<Record>& m_list;
  std::unordered_map<double, std::vector<std::size_t>> m_buckets;
};

}  // namespace zelmo::internal
