// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
// The fits by downhill simplex: every class and member that takes points.
#include "fuzz_target.h"
#include "measured_points.h"
#include "zelmo/internal/array_view.h"
#include "zelmo/simplex/cone_fit.h"
#include "zelmo/simplex/cylinder_fit.h"
#include "zelmo/simplex/line_fit.h"
#include "zelmo/simplex/plane_fit.h"
#include "zelmo/simplex/principal_axes.h"
#include "zelmo/simplex/sphere_fit.h"

namespace zelmo::fuzz {
namespace {

using x3dfit::FitMethod;

bool isTame(const MeasuredPoints& scan) {
  return allFinite(scan.points) && std::all_of(scan.points.begin(), scan.points.end(),
                                               [](float c) { return std::abs(c) < 1e4F; });
}

/// Two fits in a row on one object, which remembers the objective of the last one; the second on a
/// copy, in the vector form.
template <typename Fit>
void fitTwice(ByteSource& bytes, const MeasuredPoints& scan, Output<double>& params, int wanted,
              Transcript& out) {
  Fit fit;
  std::fill_n(params.data(), params.size(), 0.0);
  const auto first = static_cast<FitMethod>(bytes.anyInt());
  const auto second = static_cast<FitMethod>(bytes.anyInt());
  const bool has_fitted = fit.Fit(scan.points.data(), scan.count, params.data(), first);
  ZELMO_FUZZ_CHECK(has_fitted == (scan.count >= wanted));
  record(out, params);
  Fit copy(fit);
  const auto points = internal::toPointVector({scan.points.data(), scan.count});
  ZELMO_FUZZ_CHECK(copy.Fit(points, params.data(), second) == has_fitted);
  record(out, params);
}

void fitPlane(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  Output<double> params(4);
  fitTwice<x3dfit::XPlaneFit>(bytes, scan, params, std::numeric_limits<int>::min(), out);
  if (scan.count >= 3 && isTame(scan)) {
    const double length = std::hypot(params[0], params[1], params[2]);
    ZELMO_FUZZ_CHECK(params.isFinite() && std::abs(length - 1) < 1e-6);
  }
  Output<float> corners(12);
  x3dfit::XPlaneFit().getFourCorner(scan.points.data(), scan.count, params.data(), corners.data());
  record(out, corners);
}

void fitLine(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  Output<double> params(6);
  fitTwice<x3dfit::XLine3DFit>(bytes, scan, params, 3, out);
  if (scan.count >= 3 && isTame(scan)) {
    const double length = std::hypot(params[3], params[4], params[5]);
    ZELMO_FUZZ_CHECK(params.isFinite() && (std::abs(length - 1) < 1e-6 || length < 1e-6));
  }
  Output<float> start(3), end(3);
  x3dfit::XLine3DFit().getStart_End_Point(scan.points.data(), scan.count, params.data(),
                                          start.data(), end.data());
  ZELMO_FUZZ_CHECK(scan.count >= 3 || (start.isUntouched() && end.isUntouched()));
  record(out, start);
  record(out, end);
}

void fitSphere(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  Output<double> params(4);
  fitTwice<x3dfit::XSphereFit>(bytes, scan, params, std::numeric_limits<int>::min(), out);
}

void fitCylinder(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  Output<double> params(8);
  fitTwice<x3dfit::XCylinderFit>(bytes, scan, params, std::numeric_limits<int>::min(), out);
  if (!bytes.flag()) return;
  ZELMO_FUZZ_CHECK(x3dfit::XCylinderFit().Fit2(scan.points.data(), scan.count, params.data()));
  record(out, params);
}

void fitCone(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  Output<double> params(7), ends(7);
  fitTwice<x3dfit::XConeFit>(bytes, scan, params, std::numeric_limits<int>::min(), out);
  double height = 0;
  x3dfit::XConeFit fit;
  fit.calcConeBasePoint_Center(scan.points.data(), scan.count, params.data(), ends.data(),
                               ends.data() + 3, height);
  record(out, params);
  record(out, ends);
  out.add(height);
  if (!bytes.flag()) return;
  Output<double> eight(8);
  ZELMO_FUZZ_CHECK(fit.Fit2(scan.points.data(), scan.count, eight.data(),
                            static_cast<FitMethod>(bytes.anyInt())));
  record(out, eight);
}

void describe(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  const auto points = internal::toPointVector({scan.points.data(), scan.count});
  cv::Mat values, vectors;
  cv::Point3f center;
  x3dfit::computePrincipalAxes(points, values, vectors, center);
  out.add(values.ptr<double>(), 3);
  out.add(vectors.ptr<double>(), 9);
  auto plane = bytes.wideReals(4);
  std::vector<cv::Point2f> flat;
  x3dfit::XPlaneFit().projection2Plane_tranformed(points, plane.data(), flat);
  ZELMO_FUZZ_CHECK(flat.empty() || flat.size() == points.size());
  for (const cv::Point2f& p : flat) {
    out.add(p.x);
    out.add(p.y);
  }
}

void run(ByteSource& bytes, Transcript& out) {
  constexpr void (*kMembers[])(ByteSource&, const MeasuredPoints&, Transcript&) = {
      &fitPlane, &fitLine, &fitSphere, &fitCylinder, &fitCone, &describe};
  const auto member = kMembers[bytes.below(6)];
  ByteSource choices(bytes);
  for (int i = 0; i < 6; ++i) bytes.byte();
  member(choices, measuredPoints(bytes, 40), out);
}

}  // namespace
}  // namespace zelmo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return zelmo::fuzz::runTwice(data, size, &zelmo::fuzz::run);
}
