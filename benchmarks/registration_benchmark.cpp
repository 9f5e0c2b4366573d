// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// The closed form behind the rigid transform beside Eigen's umeyama in double, and the polish beside
// the same descent over a plain loop.
#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include <Eigen/Geometry>
#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <zelmo/zelmo.h>

#include "contest.h"
#include "descent.h"
#include "floors.h"

namespace {

using namespace zelmo::bench;  // NOLINT(google-build-using-namespace): a program of its own

struct Pairs {
  std::vector<cv::Point3f> first, second;
};

std::shared_ptr<Pairs> pairsOf(int count) {
  std::mt19937 random(1);
  std::uniform_real_distribution<float> u(-50, 50);
  std::normal_distribution<float> noise(0, 0.02F);
  auto pairs = std::make_shared<Pairs>();
  for (int i = 0; i < count; ++i) {
    const cv::Point3f p(u(random), u(random), u(random));
    pairs->first.push_back(p);
    // A turn of 3-4-5 about z, then one about x.
    const float x = 0.8F * p.x - 0.6F * p.y;
    const float y = 0.6F * p.x + 0.8F * p.y;
    pairs->second.emplace_back(x + 5 + noise(random), 0.8F * y - 0.6F * p.z + noise(random),
                               0.6F * y + 0.8F * p.z - 7 + noise(random));
  }
  return pairs;
}

Contest closedForm(int count) {
  const auto pairs = pairsOf(count);
  const auto a = std::make_shared<Eigen::Matrix3Xd>(3, count);
  const auto b = std::make_shared<Eigen::Matrix3Xd>(3, count);
  const auto fill = [=] {
    for (int i = 0; i < count; ++i) {
      const cv::Point3f& p = pairs->first[static_cast<std::size_t>(i)];
      const cv::Point3f& q = pairs->second[static_cast<std::size_t>(i)];
      a->col(i) << p.x, p.y, p.z;
      b->col(i) << q.x, q.y, q.z;
    }
  };
  const auto umeyama = [=] {
    const Eigen::Matrix4d motion = Eigen::umeyama(*a, *b, false);
    benchmark::DoNotOptimize(motion.data());
  };
  fill();
  return {[pairs] {
            double p[6];
            xrigidtransform::XRigidTransform().getInitialValue(pairs->first, pairs->second, p);
            benchmark::DoNotOptimize(p);
          },
          {{"Eigen's umeyama, its matrices filled from the floats",
            [=] {
              fill();
              umeyama();
            }},
           {"Eigen's umeyama alone", umeyama}},
          {"reading both lists once",
           [pairs] {
             benchmark::DoNotOptimize(readAll(&pairs->first[0].x, 3 * pairs->first.size()) +
                                      readAll(&pairs->second[0].x, 3 * pairs->second.size()));
           }},
          {}};
}

double sumOfDistances(const Pairs& pairs, const double* p) {
  const cv::Matx33d z(std::cos(-p[2]), -std::sin(-p[2]), 0, std::sin(-p[2]), std::cos(-p[2]), 0, 0,
                      0, 1);
  const cv::Matx33d y(std::cos(-p[1]), 0, std::sin(-p[1]), 0, 1, 0, -std::sin(-p[1]), 0,
                      std::cos(-p[1]));
  const cv::Matx33d x(1, 0, 0, 0, std::cos(-p[0]), -std::sin(-p[0]), 0, std::sin(-p[0]),
                      std::cos(-p[0]));
  const cv::Matx33d r = z * y * x;
  double sum = 0;
  for (std::size_t i = 0; i < pairs.first.size(); ++i) {
    const cv::Point3f& a = pairs.first[i];
    const cv::Point3f& b = pairs.second[i];
    const double d0 = r(0, 0) * a.x + r(0, 1) * a.y + r(0, 2) * a.z + p[3] - b.x;
    const double d1 = r(1, 0) * a.x + r(1, 1) * a.y + r(1, 2) * a.z + p[4] - b.y;
    const double d2 = r(2, 0) * a.x + r(2, 1) * a.y + r(2, 2) * a.z + p[5] - b.z;
    sum += std::sqrt(d0 * d0 + d1 * d1 + d2 * d2);
  }
  return sum;
}

Contest polished(int count) {
  const auto pairs = pairsOf(count);
  std::vector<double> start(6);
  xrigidtransform::XRigidTransform().getInitialValue(pairs->first, pairs->second, start.data());
  const double turn =
      std::max({std::fabs(start[0]), std::fabs(start[1]), std::fabs(start[2])}) / 100;
  Contest contest;
  contest.library = [pairs] {
    double p[6];
    xrigidtransform::XRigidTransform().getRT(pairs->first, pairs->second, p);
    benchmark::DoNotOptimize(p);
  };
  contest.peers = {{"the same descent over a plain loop", [pairs, start, turn] {
                      auto p = start;
                      plainSimplex([&](const double* v) { return sumOfDistances(*pairs, v); }, p,
                                   {turn, turn, turn, 0.01, 0.01, 0.01});
                      benchmark::DoNotOptimize(p);
                    }}};
  contest.attainable = {"one square root a pair in each evaluation", [pairs, count] {
                          benchmark::DoNotOptimize(squareRoots(&pairs->first[0].x, count));
                        }};
  contest.evaluations = takeEvaluations;
  return contest;
}

[[maybe_unused]] const bool kRows = [] {
  for (const int count : {100, 1000000}) {
    row("XRigidTransform.getInitialValue", sizeText(count, "pairs"),
        [count] { return closedForm(count); });
  }
  for (const int count : {1000, 100000}) {
    row("XRigidTransform.getRT", sizeText(count, "pairs"), [count] { return polished(count); });
  }
  return true;
}();

}  // namespace
