// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <set>
#include <vector>

#include <opencv2/core.hpp>

namespace zelmo::test {

/// How many closed and open chains segments form whose ends coincide within \p tolerance.
struct Chains {
  std::size_t loops = 0, open = 0;
};

template <typename Segments>
Chains chainsOf(const Segments& segments, double tolerance) {
  std::vector<cv::Vec3f> nodes;
  std::vector<std::size_t> chain, degree;
  const auto node = [&](const float* p) {
    const cv::Vec3f end(p);
    std::size_t i = 0;
    while (i < nodes.size() && cv::norm(nodes[i] - end) >= tolerance) ++i;
    if (i < nodes.size()) return i;
    nodes.push_back(end);
    chain.push_back(i);
    degree.push_back(0);
    return i;
  };
  for (const auto& s : segments) {
    const std::size_t a = node(s.data()), b = node(s.data() + 3);
    if (a == b) continue;
    ++degree[a];
    ++degree[b];
    std::replace(chain.begin(), chain.end(), std::size_t{chain[a]}, std::size_t{chain[b]});
  }
  std::set<std::size_t> all, open;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (degree[i] > 0) all.insert(chain[i]);
    if (degree[i] == 1) open.insert(chain[i]);
  }
  return {all.size() - open.size(), open.size()};
}

}  // namespace zelmo::test
