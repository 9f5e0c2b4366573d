// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/mesh/trim.h"

#include <algorithm>

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/internal/array_view.h"
#include "zelmo/internal/paired_rotation.h"

namespace vorn::quil::xtirm {
namespace {

float carriedCoordinate(const double* row, double x, double y, double z) {
  return static_cast<float>(row[0] * x + row[1] * y + row[2] * z + row[3]);
}

}  // namespace

int XTrim::convertMatrixRT(const double* const m, double* const inverse) {
  const zelmo::internal::Rigid out = zelmo::internal::rigidInverse(m);
  std::copy(out.begin(), out.end(), inverse);
  return 0;
}

int XTrim::getRTDirect2(const float* const from, const float* const to, double* m) {
  const auto motion = zelmo::internal::pairedMotion({from, 3}, {to, 3});
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) m[4 * row + column] = motion.rotation(row, column);
    m[4 * row + 3] = motion.translation[row];
  }
  constexpr double kLastRow[4] = {0, 0, 0, 1};
  std::copy_n(kLastRow, 4, m + 12);
  return 0;
}

void XTrim::getMatR_svd(const cv::Mat& h, cv::Mat& r) {
  zelmo::internal::rotationFromCorrelation(h, r);
}

void XTrim::transformPoint(const float* const p, const double* const m, float* const out) {
  const double x = p[0], y = p[1], z = p[2];  // out may be p
  for (int k = 0; k < 3; ++k) out[k] = carriedCoordinate(m + 4 * k, x, y, z);
}

void XTrim::transformPoint2(const float* const p, const double* const m, float* const out) {
  const double x = p[0], y = p[1], z = p[2];
  for (int k = 0; k < 2; ++k) out[k] = carriedCoordinate(m + 4 * k, x, y, z);
}

void XTrim::transformPoint3(const float* const p, const double* const m, float* const out) {
  const double x = p[0], y = p[1];
  for (int k = 0; k < 3; ++k) out[k] = carriedCoordinate(m + 4 * k, x, y, 0.0);
}

}  // namespace vorn::quil::xtirm
