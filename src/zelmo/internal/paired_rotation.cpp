// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/paired_rotation.h"

#include <algorithm>
#include <cmath>

#include <opencv2/core.hpp>

#include "zelmo/internal/lanes.h"

namespace zelmo::internal {
namespace {

constexpr int kBlock = 32 * kLanes;  // two blocks of centred pairs stay in the first cache

/// Mean of points, summed in float in their order.
cv::Vec3f meanInFloat(const PointView& points, int count) {
  cv::Vec3f sum(0.0F, 0.0F, 0.0F);
  for (int i = 0; i < count; ++i) {
    const float* p = points.at(i);
    for (int k = 0; k < 3; ++k) sum[k] += p[k];
  }
  const float divisor = static_cast<float>(count);
  return {sum[0] / divisor, sum[1] / divisor, sum[2] / divisor};
}

/// Up to kBlock points less their mean, one row per coordinate; the rest of a row is 0.
ZELMO_ALWAYS_INLINE void centre(const float* p, int count, const double* mean,
                                double (&rows)[3][kBlock]) {
  for (int k = 0; k < 3; ++k) {
    for (int i = 0; i < count; ++i) rows[k][i] = p[3 * i + k] - mean[k];
    for (int i = count; i < kBlock; ++i) rows[k][i] = 0.0;
  }
}

/// h(j, k) = sum of first[j] second[k] over the pairs, less the means.
ZELMO_MULTIVERSION void correlate(const float* first, const float* second, int count,
                                  const double* first_mean, const double* second_mean, double* h) {
  double lanes[9][kLanes] = {};
  double x[3][kBlock];
  double y[3][kBlock];
  for (int begin = 0; begin < count;) {
    const int size = count - begin < kBlock ? count - begin : kBlock;
    centre(first, size, first_mean, x);
    centre(second, size, second_mean, y);
    for (int cell = 0; cell < 9; ++cell) {
      const double* const a = x[cell / 3];
      const double* const b = y[cell % 3];
      double lane[kLanes];
      for (int k = 0; k < kLanes; ++k) lane[k] = lanes[cell][k];
      for (int i = 0; i < kBlock; i += kLanes) {
        ZELMO_LANE_LOOP for (int k = 0; k < kLanes; ++k) lane[k] += a[i + k] * b[i + k];
      }
      for (int k = 0; k < kLanes; ++k) lanes[cell][k] = lane[k];
    }
    begin += size;
    first += 3 * size;
    second += 3 * size;
  }
  for (int cell = 0; cell < 9; ++cell) h[cell] = addLanes(lanes[cell]);
}

}  // namespace

void rotationFromCorrelation(const cv::Mat& h, cv::Mat& r) {
  if (!cv::checkRange(h)) {
    r = cv::Mat::eye(h.size(), h.type());
    return;
  }
  // The decomposition multiplies squares of entries. Where such products overflow or underflow it gets
  // a multiple of h, which has the same rotation, without what is nothing beside the largest entry.
  constexpr double kExtreme = 1e50;
  const double largest = cv::norm(h, cv::NORM_INF);
  const cv::Mat negligible = (cv::abs(h) < largest / kExtreme) & (h != 0);
  const bool is_extreme = largest > kExtreme || largest < 1 / kExtreme;
  constexpr double kNothing = 1e-300;  // its inverse overflows soon
  cv::Mat scaled = is_extreme ? cv::Mat(h * (largest < kNothing ? 0 : 1 / largest)) : h.clone();
  scaled.setTo(0, negligible);
  cv::Mat w, u, vt;
  cv::SVD::compute(scaled, w, u, vt, 0);
  // Where the squares of a vanishing column underflow, its length is missed and its vector is not unit.
  constexpr double kNotUnit = 5e-7;
  for (int i = 0; i < u.cols; ++i) {
    cv::Mat column = u.col(i);
    const double length = cv::norm(column);
    if (std::fabs(length - 1.0) > kNotUnit) column /= length;
  }
  const cv::Mat v = vt.t();
  cv::Mat s = cv::Mat::eye(w.rows, w.rows, h.type());
  s.row(w.rows - 1).col(w.rows - 1) = cv::determinant(v * u.t());
  r = v * s * u.t();
}

RigidMotion pairedMotion(const PointView& first, const PointView& second) {
  const int count = std::min(first.count(), second.count());
  if (count == 0) return {};
  const cv::Vec3d a = meanInFloat(first, count);
  const cv::Vec3d b = meanInFloat(second, count);
  cv::Matx33d h;
  correlate(first.data(), second.data(), count, a.val, b.val, h.val);
  cv::Mat r;
  rotationFromCorrelation(cv::Mat(h), r);
  const cv::Matx33d rotation(r.ptr<double>());
  return {rotation, b - rotation * a};
}

void storeMotion(const RigidMotion& motion, double* rt) {
  for (int row = 0; row < 3; ++row) {
    std::copy_n(motion.rotation.val + 3 * row, 3, rt + 4 * row);
    rt[4 * row + 3] = motion.translation[row];
  }
  constexpr double kLastRow[4] = {0, 0, 0, 1};
  std::copy_n(kLastRow, 4, rt + 12);
}

}  // namespace zelmo::internal
