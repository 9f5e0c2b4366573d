// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/registration/rps_align.h"

#include <algorithm>

#include <opencv2/core/types.hpp>

#include "zelmo/internal/console.h"
#include "zelmo/internal/objective.h"
#include "zelmo/registration/internal/motion_parameters.h"

namespace xrpsalign {

using namespace zelmo::internal;  // NOLINT(google-build-using-namespace): the kernels of this shell

namespace {

constexpr int kMaxIterations = 10000;
constexpr double kLocatingWeight = 100000000.0;
constexpr double kLighterLocatingWeight = 10000.0;

// The high bits of the codes in flagA.
constexpr int kX = 0x80;
constexpr int kY = 0x20;
constexpr int kZ = 0x08;

/// Whether the code under a high bit is binary 01.
bool isLocating(int flags, int high_bit) {
  return (flags & high_bit) == 0 && (flags & (high_bit >> 1)) != 0;
}

/// The squares of the deviations along axes that are not taken out.
double softSum(int codes, const cv::Vec3d& square) {
  const auto has = [codes](int bits) { return (codes & bits) == bits; };
  // CONTRACT: only codes of exactly 10, 10, 10 take out a whole point; with a 11 among them z stays.
  if (codes == (kX | kY | kZ)) return 0.0;
  if (has(kX | kY)) return square[2];
  if (has(kY | kZ)) return square[0];
  if (has(kX | kZ)) return square[1];
  if (has(kX)) return square[1] + square[2];
  if (has(kY)) return square[0] + square[2];
  return square[0] + square[1] + (has(kZ) ? 0.0 : square[2]);
}

double hardSum(int codes, const cv::Vec3d& square) {
  return (isLocating(codes, kX) ? square[0] : 0.0) + (isLocating(codes, kY) ? square[1] : 0.0) +
         (isLocating(codes, kZ) ? square[2] : 0.0);
}

/// The weighted deviations of the first half of the points from the second.
double weightedSquares(const gsl_vector* v, const void* params, double locating_weight) {
  constexpr int kCodes = 0xFC;
  const auto& both = *static_cast<const std::vector<XRPSPoint>*>(params);
  const auto p = valuesOf<kMotionParameters>(v);
  const cv::Matx33d r = rotationOf(p.data());
  const cv::Vec3d t(p[3], p[4], p[5]);
  const std::size_t half = both.size() / 2;
  double soft = 0.0;
  double hard = 0.0;
  for (std::size_t i = 0; i < half; ++i) {
    const float* x = both[i].point;
    const float* y = both[half + i].point;
    const cv::Vec3d e = r * cv::Vec3d(x[0], x[1], x[2]) + t - cv::Vec3d(y[0], y[1], y[2]);
    const cv::Vec3d square = e.mul(e);
    const int codes = both[half + i].flagA & kCodes;
    soft += softSum(codes, square);
    hard += hardSum(codes, square);
  }
  return hard * locating_weight + soft;
}

std::vector<cv::Point3f> positionsOf(const std::vector<XRPSPoint>& points) {
  std::vector<cv::Point3f> positions;
  positions.reserve(points.size());
  for (const XRPSPoint& p : points) positions.emplace_back(p.point[0], p.point[1], p.point[2]);
  return positions;
}

}  // namespace

XRPSPoint::XRPSPoint(const float* const position, const float* const direction,
                     const unsigned char& a, const unsigned char& b, const unsigned char& c)
    : flagA(a), flagB(b), flagC(c) {
  std::copy_n(position, 3, point);
  std::copy_n(direction, 3, normal);
}

XRPSAlign::XRPSAlign() : m_simplex(kMotionParameters, kMaxIterations, Distance_LeastSquare) {}

double XRPSAlign::Distance_LeastSquare(const gsl_vector* v, void* params) {
  return weightedSquares(v, params, kLocatingWeight);
}

double XRPSAlign::Distance_LeastAbsDev(const gsl_vector* v, void* params) {
  return weightedSquares(v, params, kLighterLocatingWeight);
}

void XRPSAlign::getInitialValue(const std::vector<XRPSPoint>& first,
                                const std::vector<XRPSPoint>& second, double* const params) {
  const auto from = positionsOf(first);
  const auto to = positionsOf(second);
  const auto p = parametersOf(pairedMotion(PointView(from), PointView(to)));
  std::copy(p.begin(), p.end(), params);
}

int XRPSAlign::alignByRPSPoint(const std::vector<XRPSPoint>& first,
                               const std::vector<XRPSPoint>& second, double* const rt) {
  MotionParameters p;
  getInitialValue(first, second, p.data());
  std::vector<XRPSPoint> both(first);
  both.insert(both.end(), second.begin(), second.end());
  const int steps =
      both.size() < 2 ? 0 : m_simplex.descend(&both, p.data(), firstSteps(p.data()).data());
  ConsoleText() << "迭代次数：" << steps << "\n";
  storeMotion({rotationOf(p.data()), {p[3], p[4], p[5]}}, rt);
  return 0;
}

}  // namespace xrpsalign
