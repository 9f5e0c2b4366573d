// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include <opencv2/core/matx.hpp>

/// \file
/// What the feature records share. Products and sums run in double and are stored in float once.

namespace zelmo::internal {

/// A direction of this length or less is not divided by it.
constexpr double kShortestAxis = 1e-6;

inline void copyTriple(const float* from, float* to) { std::copy_n(from, 3, to); }

inline void negateTriple(float* v) {
  for (int i = 0; i < 3; ++i) v[i] = -v[i];
}

/// out = origin + direction * distance
inline void storePointAlong(const float* origin, const float* direction, double distance,
                            float* out) {
  for (int i = 0; i < 3; ++i) out[i] = static_cast<float>(origin[i] + direction[i] * distance);
}

inline void storeMiddle(const float* a, const float* b, float* out) {
  for (int i = 0; i < 3; ++i) {
    out[i] = static_cast<float>((static_cast<double>(a[i]) + static_cast<double>(b[i])) * 0.5);
  }
}

inline cv::Vec3d difference(const float* from, const float* to) {
  return {static_cast<double>(to[0]) - from[0], static_cast<double>(to[1]) - from[1],
          static_cast<double>(to[2]) - from[2]};
}

/// The unit direction between two points, left as it was when they lie no farther apart than
/// kShortestAxis. \return their distance
inline float storeAxis(const float* from, const float* to, float* axis) {
  const cv::Vec3d offset = difference(from, to);
  const float distance = static_cast<float>(cv::norm(offset));
  if (static_cast<double>(distance) > kShortestAxis) {
    for (int i = 0; i < 3; ++i) axis[i] = static_cast<float>(offset[i] / distance);
  }
  return distance;
}

/// d of the plane equation, in float throughout.
inline float planeOffset(const float* center, const float* normal) {
  return -center[0] * normal[0] - center[1] * normal[1] - center[2] * normal[2];
}

/// Whether \p values has exactly \p count values, which are then copied to \p out. For this the
/// fields of a record are named one after another in its constructor.
class FieldReader {
 public:
  FieldReader(const std::vector<float>& values, std::size_t count)
      : m_next(values.size() == count ? values.data() : nullptr) {}

  FieldReader& triple(float* field) {
    if (m_next == nullptr) return *this;
    copyTriple(m_next, field);
    m_next += 3;
    return *this;
  }
  FieldReader& scalar(float& field) {
    if (m_next != nullptr) field = *m_next++;
    return *this;
  }

 private:
  const float* m_next;
};

/// Comparison of records: differences in float, compared in double. A NaN equals nothing.
constexpr double kSameSize = 0.01;
constexpr double kSameDirection = 0.02;

inline bool isSameSize(float a, float b) {
  const float difference = std::fabs(a - b);
  return static_cast<double>(difference) <= kSameSize;
}

inline bool isSamePlace(const float* a, const float* b) {
  return isSameSize(a[0], b[0]) && isSameSize(a[1], b[1]) && isSameSize(a[2], b[2]);
}

/// Opposite unit directions count as the same.
inline bool isSameAxis(const float* a, const float* b) {
  const cv::Vec3d first(a[0], a[1], a[2]);
  const cv::Vec3d second(b[0], b[1], b[2]);
  return std::fabs(std::fabs(first.dot(second)) - 1.0) <= kSameDirection;
}

}  // namespace zelmo::internal
