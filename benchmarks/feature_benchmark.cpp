// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Records of many points beside bare arrays of points.
#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>
#include <opencv2/core/types.hpp>
#include <zelmo/feature/circle.h>
#include <zelmo/feature/poly_line.h>

#include "contest.h"

namespace {

using namespace zelmo::bench;  // NOLINT(google-build-using-namespace): a program of its own

constexpr int kCount = 1000000;

std::shared_ptr<std::vector<float>> coordinates() {
  std::mt19937 random(3);
  std::uniform_real_distribution<float> u(-100, 100);
  auto values = std::make_shared<std::vector<float>>(3 * std::size_t{kCount});
  for (float& value : *values) value = u(random);
  return values;
}

Contender bareCopy(const std::shared_ptr<std::vector<float>>& values) {
  return {"a copy of the bytes into fresh memory", [values] {
            const std::unique_ptr<float[]> copy(new float[values->size()]);
            std::memcpy(copy.get(), values->data(), sizeof(float) * values->size());
            benchmark::DoNotOptimize(copy.get());
          }};
}

Contest polyLine() {
  const auto values = coordinates();
  return {[values] {
            const xgeofeature::XFPolyLine line(values->data(), kCount);
            benchmark::DoNotOptimize(line.points.data());
          },
          {{"a vector of OpenCV points",
            [values] {
              std::vector<cv::Point3f> points;
              points.reserve(kCount);
              for (std::size_t i = 0; i < values->size(); i += 3) {
                points.emplace_back((*values)[i], (*values)[i + 1], (*values)[i + 2]);
              }
              benchmark::DoNotOptimize(points.data());
            }}},
          bareCopy(values),
          {}};
}

Contest reversed() {
  const auto values = coordinates();
  const auto line = std::make_shared<xgeofeature::XFPolyLine>(values->data(), kCount);
  const auto points = std::make_shared<std::vector<cv::Point3f>>();
  for (const auto& p : line->points) points->emplace_back(p.x, p.y, p.z);
  return {[line] { line->inv(); },
          {{"std::reverse of OpenCV points",
            [points] {
              std::reverse(points->begin(), points->end());
              benchmark::DoNotOptimize(points->data());
            }}},
          bareCopy(values),
          {}};
}

[[maybe_unused]] const bool kRows = [] {
  row("XFPolyLine from coordinates", sizeText(kCount, "points"), polyLine);
  row("XFPolyLine.inv", sizeText(kCount, "points"), reversed);
  return true;
}();

}  // namespace
