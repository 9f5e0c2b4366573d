// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include <opencv2/core.hpp>

namespace zelmo::test {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

/// A scan as a host hands it over: six floats per point.
struct Scan {
  std::vector<float> data;

  int count() const { return static_cast<int>(data.size() / 6); }
  const float* point(int i) const { return data.data() + 6 * static_cast<std::ptrdiff_t>(i); }
  const float* normal(int i) const { return point(i) + 3; }
  void add(const cv::Vec3f& p, const cv::Vec3f& n) {
    data.insert(data.end(), p.val, p.val + 3);
    data.insert(data.end(), n.val, n.val + 3);
  }
};

/// Points all over a cube of side 2 \p half, two of three on a lattice of a sixteenth of the half side,
/// so that many lie exactly on a limit and many distances are equal. Every other normal has halves for
/// components, the rest point anywhere. Of a hundred points two are not finite, and one normal is not.
inline Scan cubeScan(int count, float half, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_int_distribution<int> place(-16, 16), halves(-2, 2);
  std::uniform_real_distribution<double> anywhere(-16, 16);
  std::normal_distribution<double> bell;
  Scan scan;
  for (int i = 0; i < count; ++i) {
    const auto coordinate = [&] { return i % 3 == 0 ? anywhere(random) : place(random); };
    const double x = coordinate(), y = coordinate(), z = coordinate();
    const cv::Vec3d any = cv::normalize(cv::Vec3d(bell(random), bell(random), bell(random)));
    const cv::Vec3d n(halves(random) * 0.5, halves(random) * 0.5, halves(random) * 0.5);
    scan.add(cv::Vec3d(x, y, z) * (half / 16.0), i % 2 == 0 ? n : any);
    float* added = &scan.data[scan.data.size() - 6];
    if (i % 100 == 17) added[0] = kNan;
    if (i % 100 == 51) added[2] = -kInf;
    if (i % 100 == 77) added[4] = kNan;
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
  for (const auto& found : kept) indices.push_back(found.second);
  return indices;
}

}  // namespace zelmo::test
