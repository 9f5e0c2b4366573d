// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
// The fits by damped least squares, with their filters.
#include "fuzz_target.h"
#include "measured_points.h"
#include "zelmo/lmfit/circle_fit_3d_lm.h"
#include "zelmo/lmfit/cone_fit_lm.h"
#include "zelmo/lmfit/cylinder_fit_lm.h"
#include "zelmo/lmfit/plane_fit_lm.h"
#include "zelmo/lmfit/sphere_fit_lm.h"

namespace zelmo::fuzz {
namespace {

using namespace zelmolm;
using xfeaturefitfilter::FilterMethod;
using xfeaturefitfilter::FilterParam;

/// The normals, or null where the header allows it: one input in four.
const float* normalsOf(ByteSource& bytes, const MeasuredPoints& scan) {
  return bytes.below(4) == 3 ? nullptr : scan.normals.data();
}

FilterParam filterParam(ByteSource& bytes) {
  bytes.chooseNumbers();
  const bool is_usual = bytes.flag();
  const float angle = is_usual ? bytes.byte() * 0.5F : bytes.real();
  const float sigma = is_usual ? bytes.byte() * 0.02F : bytes.real();
  const float share = is_usual ? bytes.byte() / 200.0F : bytes.real();
  return {angle, sigma, share};
}

/// Two fits in a row on one object: only fields are left of the first.
template <typename Fit>
Fit filteredFit(ByteSource& bytes, const MeasuredPoints& scan, int least, Transcript& out) {
  Fit fit;
  const int fits = 1 + bytes.below(2);
  for (int i = 0; i < fits; ++i) {
    const float* normals = normalsOf(bytes, scan);
    const auto method = static_cast<FilterMethod>(bytes.anyInt());
    const int code = fit.Fit(scan.points.data(), normals, scan.count, filterParam(bytes), method);
    ZELMO_FUZZ_CHECK(code == 0 || code == -1 || code == -2);
    if (scan.count < least) ZELMO_FUZZ_CHECK(code < 0);
    out.add(code);
  }
  return fit;
}

void fitPlane(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  auto fit = filteredFit<XPlaneFitLM>(bytes, scan, 3, out);
  xgeofeature::XFPlane plane;
  fit.getPlane(plane);
  out.add(fit.normal);
  out.add(fit.corners);
  out.add(plane.d);
}

void fitSphere(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  auto fit = filteredFit<XSphereFitLM>(bytes, scan, 4, out);
  out.add(fit.center);
  out.add(fit.radius);
}

void fitCylinder(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  auto fit = filteredFit<XCylinderFitLM>(bytes, scan, 6, out);
  out.add(fit.center);
  out.add(fit.base);
  out.add(fit.top);
  out.add(fit.radius);
}

void fitSeededCylinder(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  bytes.chooseNumbers();
  const auto seed = bytes.reals(7);
  XCylinderFitLM fit;
  const int code = fit.Fit(scan.points.data(), nullptr, scan.count, seed.data());
  ZELMO_FUZZ_CHECK(code == 0 || code == -1 || code == -2);
  if (scan.count < 6) ZELMO_FUZZ_CHECK(code == -1);
  out.add(code);
  out.add(fit.center);
  out.add(fit.axis);
  out.add(fit.height);
}

void fitCone(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  XConeFitLM fit;
  const float* normals = normalsOf(bytes, scan);
  const int code = fit.Fit(scan.points.data(), normals, scan.count);
  ZELMO_FUZZ_CHECK(code >= -1);
  if (scan.count < 6 || normals == nullptr) ZELMO_FUZZ_CHECK(code == -1 && fit.height == 0);
  out.add(code);
  out.add(fit.apex);
  out.add(fit.base);
  out.add(fit.topRadius);
}

void fitCircle(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  const bool is_least_squares = bytes.flag(), fits_plane = bytes.flag(), is_usual = bytes.flag();
  bytes.chooseNumbers();
  auto plane = bytes.reals(6);
  if (is_usual) std::fill_n(plane.data() + 3, 2, 0.0F), plane[5] = 1;
  float* given = bytes.below(8) == 7 ? nullptr : plane.data();
  XCircleFit3DLM fit;
  const int code =
      is_least_squares
          ? fit.Fit2(scan.points.data(), scan.normals.data(), scan.count, given, fits_plane)
          : fit.Fit(scan.points.data(), scan.normals.data(), scan.count, given, fits_plane);
  ZELMO_FUZZ_CHECK(code == 0 || (code == -1 && fit.radius == 0));
  if (scan.count < (is_least_squares ? 3 : 10)) ZELMO_FUZZ_CHECK(code == -1);
  out.add(code);
  out.add(fit.center);
  out.add(fit.majorDir);
  out.add(fit.radius);
}

void run(ByteSource& bytes, Transcript& out) {
  constexpr void (*kMembers[])(ByteSource&, const MeasuredPoints&, Transcript&) = {
      &fitPlane, &fitSphere, &fitCylinder, &fitSeededCylinder, &fitCone, &fitCircle};
  const auto member = kMembers[bytes.below(6)];
  // The choices come first, so that points can be added behind them without a change of meaning.
  ByteSource choices(bytes);
  for (int i = 0; i < 24; ++i) bytes.byte();
  member(choices, measuredPoints(bytes, 60), out);
}

}  // namespace
}  // namespace zelmo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return zelmo::fuzz::runTwice(data, size, &zelmo::fuzz::run);
}
