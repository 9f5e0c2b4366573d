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
  zelmo::internal::storeMotion(zelmo::internal::pairedMotion({from, 3}, {to, 3}), m);
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
