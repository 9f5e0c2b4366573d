// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Features sampled for drawing, beside a plain loop in a frame that is known beforehand, and beside
// the sines and cosines alone.
#include <cmath>
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <zelmo/display/outlines.h>
#include <zelmo/display/solids.h>

#include "contest.h"

namespace {

using namespace zelmo::bench;  // NOLINT(google-build-using-namespace): a program of its own

const float kCenter[3] = {10, -20, 30}, kAxis[3] = {0.36F, 0.48F, 0.8F},
            kMajor[3] = {0.8F, -0.6F, 0};

/// A ring about the center, by sine and cosine in its frame.
void plainRing(int count, double radius, const cv::Vec3d& center, float* out) {
  const cv::Vec3d u(0.8, -0.6, 0), v(0.48, 0.64, -0.6);
  for (int i = 0; i < count; ++i) {
    const double turn = i * (2 * CV_PI / count);
    const cv::Vec3d p = center + u * (radius * std::cos(turn)) + v * (radius * std::sin(turn));
    for (int k = 0; k < 3; ++k) *out++ = static_cast<float>(p[k]);
  }
}

/// Rings of a shape: the library, plain loops, and their sines and cosines.
template <typename Library>
Contest rings(int count, int plain_rings, Library library) {
  const auto out = std::make_shared<std::vector<float>>(6 * static_cast<std::size_t>(count));
  float* const first = out->data();
  float* const second = first + 3 * static_cast<std::ptrdiff_t>(count);
  return {[=] {
            library(count, first, second);
            benchmark::DoNotOptimize(out->data());
          },
          {{"a plain loop in a known frame",
            [=] {
              for (int ring = 0; ring < plain_rings; ++ring) {
                plainRing(count, 12, {10, -20, 30.0 + ring}, ring == 0 ? first : second);
              }
              benchmark::DoNotOptimize(out->data());
            }}},
          {"a sine and a cosine for each turn",
           [=] {
             double sum = 0;
             for (int i = 0; i < count; ++i) {
               const double turn = i * (2 * CV_PI / count);
               sum += std::sin(turn) + std::cos(turn);
             }
             benchmark::DoNotOptimize(sum);
           }},
          {}};
}

Contest circle(int count) {
  return rings(count, 1, [](int n, float* first, float*) {
    xgeometry::XCicle3D(kCenter, kAxis, kMajor, 12).getDisplayData(n, first);
  });
}
Contest slot(int count) {
  return rings(count, 1, [](int n, float* first, float*) {
    xgeometry::XOvalGroove3D(kCenter, kAxis, kMajor, 8, 12).getDisplayData(n - 4, first);
  });
}
Contest cylinder(int count) {
  return rings(count, 2, [](int n, float* first, float* second) {
    xgeometry::XCylinder(kCenter, kAxis, 40, 12).getDisplayData(n, first, second);
  });
}
Contest cone(int count) {
  return rings(count, 2, [](int n, float* first, float* second) {
    xgeometry::XCone(kCenter, kAxis, 40, 12, 5).getDisplayData(n, first, second);
  });
}

[[maybe_unused]] const bool kRows = [] {
  for (const int count : {100, 100000}) {
    row("XCicle3D.getDisplayData", sizeText(count, "points"), [count] { return circle(count); });
    row("XCylinder.getDisplayData", sizeText(count, "points a ring"),
        [count] { return cylinder(count); });
  }
  row("XOvalGroove3D.getDisplayData", sizeText(100000, "points"), [] { return slot(100000); });
  row("XCone.getDisplayData", sizeText(100000, "points a ring"), [] { return cone(100000); });
  return true;
}();

}  // namespace
