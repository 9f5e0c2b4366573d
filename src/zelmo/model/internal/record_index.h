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

inline RecordKey keyOf(const xmodelfeature::XFPlane& r) { return {std::fabs(r.d), 1e-5}; }
inline RecordKey keyOf(const xmodelfeature::XFSphere& r) { return {r.center[0], 1e-5}; }
inline RecordKey keyOf(const xmodelfeature::XFCylinder& r) {
  return {static_cast<double>(r.base[0]) + r.top[0], 0.01};
}
inline RecordKey keyOf(const xmodelfeature::XFCone& r) { return {r.apex[0], 1e-3}; }
inline RecordKey keyOf(const xmodelfeature::XFLine3D& r) {
  return {static_cast<double>(r.start[0]) + r.end[0], 0.1};
}
/// Circles, slots, rectangles and rounded rectangles.
template <typename Outline>
RecordKey keyOf(const Outline& r) {
  return {r.center[0], 0.1};
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
