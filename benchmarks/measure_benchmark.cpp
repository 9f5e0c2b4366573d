// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Tolerances with one deviation per point, each beside the plain loops that follow its steps: copy
// the points, store a deviation each, mean and variance, band.
#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <opencv2/imgproc.hpp>
#include <zelmo/zelmo.h>

#include "contest.h"
#include "floors.h"

namespace {

using namespace zelmo::bench;  // NOLINT(google-build-using-namespace): a program of its own

using xgeomeasure::XGeoTolrance;

constexpr int kCount = 1000000;
constexpr double kSigmaFactor = 2.0;

/// Points about the surface of a tilted cylinder of radius 10 and length 100.
const std::vector<float>& cloud() {
  static const std::vector<float> points = [] {
    std::vector<float> out;
    out.reserve(3 * static_cast<std::size_t>(kCount));
    std::mt19937 random(1);
    std::normal_distribution<double> noise(0, 0.01);
    std::uniform_real_distribution<double> turn(0, 6.283185307179586);
    std::uniform_real_distribution<double> along(-50, 50);
    for (int i = 0; i < kCount; ++i) {
      const double angle = turn(random);
      const double r = 10 + noise(random);
      const double x = r * std::cos(angle);
      const double z = along(random);
      out.push_back(static_cast<float>(0.8 * x + 0.6 * z));
      out.push_back(static_cast<float>(r * std::sin(angle)));
      out.push_back(static_cast<float>(-0.6 * x + 0.8 * z));
    }
    return out;
  }();
  return points;
}

double g_feature[7] = {0.5, 0.25, 1, 0.6, 0, 0.8, 10};
double g_datum[7] = {0, 0, 0, 0.8, 0, -0.6, 10};

template <typename Deviation>
double plainLoops(const float* points, int count, bool band, Deviation deviation) {
  std::vector<cv::Point3f> copy(static_cast<std::size_t>(count));
  for (std::size_t i = 0; i < copy.size(); ++i) {
    copy[i] = cv::Point3f(points[3 * i], points[3 * i + 1], points[3 * i + 2]);
  }
  std::vector<double> deviations;
  deviations.resize(copy.size());
  double largest = -1e10;
  double smallest = 1e10;
  double sum = 0;
  for (std::size_t i = 0; i < copy.size(); ++i) {
    const double d = deviation(copy[i]);
    deviations[i] = d;
    sum += d;
    if (d > largest) largest = d;
    if (d < smallest) smallest = d;
  }
  const double mean = sum / count;
  double squares = 0;
  for (const double d : deviations) squares += (d - mean) * (d - mean);
  const double variance = squares / count;
  benchmark::DoNotOptimize(variance);
  if (!band) return largest - smallest;
  const double sigma = std::sqrt(variance);
  const double low = mean - sigma * kSigmaFactor;
  const double high = mean + sigma * kSigmaFactor;
  largest = -1e10;
  smallest = 1e10;
  for (const double d : deviations) {
    if (low > d || d > high) continue;
    if (d > largest) largest = d;
    if (d < smallest) smallest = d;
  }
  return largest - smallest;
}

double fromPlane(const cv::Point3f& p, const double* f) {
  const double offset = -(f[3] * f[0] + f[4] * f[1] + f[5] * f[2]);
  return f[3] * p.x + f[4] * p.y + f[5] * p.z + offset;
}

double fromAxis(const cv::Point3f& p, const double* f) {
  const double v[3] = {p.x - f[0], p.y - f[1], p.z - f[2]};
  if (std::fabs(v[0]) < 0.01 && std::fabs(v[1]) < 0.01 && std::fabs(v[2]) < 0.01) return 0;
  const double c[3] = {v[1] * f[5] - v[2] * f[4], v[2] * f[3] - v[0] * f[5],
                       v[0] * f[4] - v[1] * f[3]};
  return std::sqrt(c[0] * c[0] + c[1] * c[1] + c[2] * c[2]);
}

double fromLine(const cv::Point3f& p, const double* f) {
  const double distance = fromAxis(p, f);
  const double along = (p.x - f[0]) * f[3] + (p.y - f[1]) * f[4] + (p.z - f[2]) * f[5];
  return along < 0 ? -distance : distance;
}

double fromSphere(const cv::Point3f& p, const double* f) {
  const double v[3] = {p.x - f[0], p.y - f[1], p.z - f[2]};
  return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]) - f[3];
}

/// Projection, centroid, frame and flat points, each in a pass of its own.
double plainCircularity(const float* points, int count, bool band) {
  std::vector<cv::Point3f> copy(static_cast<std::size_t>(count));
  for (std::size_t i = 0; i < copy.size(); ++i) {
    copy[i] = cv::Point3f(points[3 * i], points[3 * i + 1], points[3 * i + 2]);
  }
  const double* f = g_feature;
  double plane[4] = {f[3], f[4], f[5], -(f[3] * f[0] + f[4] * f[1] + f[5] * f[2])};
  std::vector<cv::Point2f> flat;
  double rt[16];
  XGeoTolrance::projection2Plane_tranformed(copy, plane, flat, rt);
  const double x = rt[0] * f[0] + rt[1] * f[1] + rt[2] * f[2] + rt[3];
  const double y = rt[4] * f[0] + rt[5] * f[1] + rt[6] * f[2] + rt[7];
  std::vector<float> interleaved;
  interleaved.reserve(3 * flat.size());
  for (const auto& p : flat) interleaved.insert(interleaved.end(), {p.x, p.y, 0.0F});
  return plainLoops(interleaved.data(), count, band, [&](const cv::Point3f& p) {
    return std::sqrt((p.x - x) * (p.x - x) + (p.y - y) * (p.y - y)) - f[6];
  });
}

using Evaluate = std::function<double(const float* points, int count, bool band)>;

Contender overCloud(const std::string& name, const Evaluate& evaluate, bool band) {
  return {name, [=] { benchmark::DoNotOptimize(evaluate(cloud().data(), kCount, band)); }};
}

/// Plain loops that store the deviation of each point.
template <typename Deviation>
Evaluate loopsOver(Deviation deviation) {
  return
      [deviation](const float* p, int n, bool band) { return plainLoops(p, n, band, deviation); };
}

const Evaluate kRead = [](const float* p, int n, bool) {
  return readAll(p, 3 * static_cast<std::size_t>(n));
};
const Evaluate kRoots = [](const float* p, int n, bool) { return squareRoots(p, n); };

/// A member with and without the band.
void tolerance(const std::string& member, const Evaluate& library, const Evaluate& plain,
               bool has_root = true) {
  for (const bool band : {false, true}) {
    row("XGeoTolrance." + member + (band ? " in a band" : ""), sizeText(kCount, "points"), [=] {
      Contest contest{overCloud("", library, band).run, {}, {}, {}};
      if (plain) contest.peers.push_back(overCloud("plain loops, step by step", plain, band));
      contest.attainable = has_root ? overCloud("one square root a point", kRoots, band)
                                    : overCloud("reading the points once", kRead, band);
      return contest;
    });
  }
}

/// The cloud's points by x and y, for the rectangle alone.
std::shared_ptr<std::vector<cv::Point2f>> flatCloud() {
  auto flat = std::make_shared<std::vector<cv::Point2f>>();
  for (std::size_t i = 0; i < kCount; ++i) flat->emplace_back(cloud()[3 * i], cloud()[3 * i + 1]);
  return flat;
}

// NOLINTBEGIN(cppcoreguidelines-macro-usage): a member of the library as a function object
#define ZELMO_MEMBER(call) [](const float* p, int n, bool band) { return XGeoTolrance::call; }
#define ZELMO_DEVIATION(expression) loopsOver([](const cv::Point3f& q) { return expression; })
// NOLINTEND(cppcoreguidelines-macro-usage)

[[maybe_unused]] const bool kRows = [] {
  constexpr double kS = kSigmaFactor;
  tolerance("calcFlatness", ZELMO_MEMBER(calcFlatness(p, n, g_feature, band, kS)),
            ZELMO_DEVIATION(fromPlane(q, g_feature)), false);
  tolerance("calcStraightness", ZELMO_MEMBER(calcStraightness(p, n, g_feature, band, kS)),
            ZELMO_DEVIATION(fromLine(q, g_feature)));
  tolerance("calcCylindricity", ZELMO_MEMBER(calcCylindricity(p, n, g_feature, band, kS)),
            ZELMO_DEVIATION(fromAxis(q, g_feature) - g_feature[6]));
  tolerance("calcSphericity", ZELMO_MEMBER(calcSphericity(p, n, g_feature, band, kS)),
            ZELMO_DEVIATION(fromSphere(q, g_feature)));
  tolerance("calcCircularity", ZELMO_MEMBER(calcCircularity(p, n, g_feature, band, kS)),
            plainCircularity);
  tolerance("calcParallelism_Line_Plane",
            ZELMO_MEMBER(calcParallelism_Line_Plane(p, n, g_feature, g_datum, band, kS)),
            ZELMO_DEVIATION(fromPlane(q, g_datum)), false);
  tolerance("calcPerpendicularity_Line_Line",
            ZELMO_MEMBER(calcPerpendicularity_Line_Line(p, n, g_feature, g_datum, band, kS)),
            ZELMO_DEVIATION(fromLine(q, g_feature)));
  tolerance("calcConcentricity", ZELMO_MEMBER(calcConcentricity(p, n, nullptr, g_datum, band, kS)),
            ZELMO_DEVIATION(fromLine(q, g_datum)));
  row("XGeoTolrance.calcPerpendicularity_Plane_Plane", sizeText(kCount, "points"), [] {
    const auto flat = flatCloud();
    const Evaluate library =
        ZELMO_MEMBER(calcPerpendicularity_Plane_Plane(p, n, g_feature, g_datum, band, kS));
    return Contest{overCloud("", library, false).run,
                   {},
                   {"OpenCV's rectangle about flat points alone",
                    [flat] { benchmark::DoNotOptimize(cv::minAreaRect(*flat)); }},
                   {}};
  });
  return true;
}();

}  // namespace
