// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "zelmo/measure/geo_dimension.h"

namespace zelmo::test {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

/// A scan as a host hands it over: six floats per point.
struct Scan {
  std::vector<float> data;

  int count() const { return static_cast<int>(data.size() / 6); }
  const float* point(int i) const { return data.data() + 6 * static_cast<std::ptrdiff_t>(i); }
  const float* normal(int i) const { return point(i) + 3; }
  void add(float x, float y, float z, float nx, float ny, float nz) {
    data.insert(data.end(), {x, y, z, nx, ny, nz});
  }
};

/// Points all over a cube of side 2 \p half with normals in every direction: whatever the shape, some
/// points are inside and outside of each of its limits. Coordinates are multiples of 1/64 of the
/// half side, so that many distances are equal. One point in fifty is not finite, one normal neither.
inline Scan cubeScan(int count, float half, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_int_distribution<int> step(-64, 64);
  std::normal_distribution<float> bell;
  Scan scan;
  for (int i = 0; i < count; ++i) {
    const auto coordinate = [&] { return static_cast<float>(step(random)) * half / 64.0F; };
    const float x = coordinate(), y = coordinate(), z = coordinate();
    const float nx = bell(random), ny = bell(random), nz = bell(random);
    const float length = std::sqrt(nx * nx + ny * ny + nz * nz);
    scan.add(x, y, z, nx / length, ny / length, nz / length);
    const int bad = i % 100;
    if (bad == 17) scan.data[scan.data.size() - 6] = kNan;
    if (bad == 51) scan.data[scan.data.size() - 4] = -kInf;
    if (bad == 77) scan.data[scan.data.size() - 2] = kNan;
  }
  return scan;
}

/// The definition of every search: all points of the cloud strictly nearer to \p center than
/// \p radius that pass \p keeps(p, m), by growing distance in float and then by index.
template <typename Keeps>
std::vector<int> bruteForce(const Scan& scan, const float* center, double radius,
                            const Keeps& keeps) {
  std::vector<std::pair<float, int>> kept;
  for (int i = 0; i < scan.count(); ++i) {
    const float* p = scan.point(i);
    const float x = p[0] - center[0], y = p[1] - center[1], z = p[2] - center[2];
    const float squared = x * x + y * y + z * z;
    if (!std::isfinite(squared) || !(squared < static_cast<float>(radius * radius))) continue;
    if (keeps(p, scan.normal(i))) kept.emplace_back(squared, i);
  }
  std::sort(kept.begin(), kept.end());
  std::vector<int> indices;
  indices.reserve(kept.size());
  for (const auto& found : kept) indices.push_back(found.second);
  return indices;
}

inline float dot(const float* a, const float* b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

/// The distance from \p p to the line through \p o along \p d as the dimensions measure it.
inline double toLine(const float* p, const float* o, const float* d) {
  const float line[6] = {o[0], o[1], o[2], d[0], d[1], d[2]};
  return xgeomeasure::XGeoDimension::calcDistance_Point2Line(p, line);
}

inline double toPlane(const float* p, const float* o, const float* n) {
  const float plane[6] = {o[0], o[1], o[2], n[0], n[1], n[2]};
  return xgeomeasure::XGeoDimension::calcDistance_Point2Plane(p, plane);
}

/// The unit vector across \p normal and \p major.
inline std::vector<float> acrossOf(const float* normal, const float* major) {
  const double n[3] = {normal[0], normal[1], normal[2]}, m[3] = {major[0], major[1], major[2]};
  const double c[3] = {n[1] * m[2] - n[2] * m[1], n[2] * m[0] - n[0] * m[2],
                       n[0] * m[1] - n[1] * m[0]};
  const double length = std::sqrt(c[0] * c[0] + c[1] * c[1] + c[2] * c[2]);
  std::vector<float> across;
  for (const double v : c) across.push_back(static_cast<float>(length > 0 ? v / length : 0.0));
  return across;
}

}  // namespace zelmo::test
