// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
// The fits of touch points: sides told and not told, optional outputs there and null.
#include "fuzz_target.h"
#include "measured_points.h"
#include "zelmo/guidedfit/circle_fit.h"
#include "zelmo/guidedfit/cylinder_fit.h"
#include "zelmo/guidedfit/oval_groove_fit.h"
#include "zelmo/guidedfit/plane_fit.h"
#include "zelmo/guidedfit/point_fit.h"
#include "zelmo/guidedfit/sphere_fit.h"

namespace zelmo::fuzz {
namespace {

using namespace xgeofit;

/// What the forms of a guided fit take besides the points.
struct Guide {
  explicit Guide(ByteSource& bytes, int count)
      : form(bytes.below(3)),
        normals_given(bytes.below(4) != 3),
        plane_given(bytes.below(16) != 15),
        outward(bytes.flag()),
        first_wanted(bytes.below(4) != 3),
        second_wanted(bytes.below(4) != 3),
        compensated(3 * std::max(count, 0)),
        errors(3 * std::max(count, 0)) {
    bytes.chooseNumbers();
    const bool is_usual = bytes.flag();
    radius = is_usual ? 1.5F : bytes.real();
    plane = bytes.reals(6);
    if (is_usual) plane[3] = plane[4] = 0, plane[5] = 1;
  }

  float* plane_or_null() { return plane_given ? plane.data() : nullptr; }
  float* first() { return first_wanted ? compensated.data() : nullptr; }
  float* second() { return second_wanted ? errors.data() : nullptr; }
  bool arraysUntouched() const { return compensated.isUntouched() && errors.isUntouched(); }

  int form;
  bool normals_given, plane_given, outward, first_wanted, second_wanted;
  float radius = 0;
  std::vector<float> plane;
  Output<float> compensated, errors;
};

void conclude(int code, bool must_fail, bool must_stay, Guide& guide, Transcript& out) {
  ZELMO_FUZZ_CHECK(code == 0 || code == -1);
  if (must_fail) ZELMO_FUZZ_CHECK(code == -1);
  if (code != 0 && must_stay) ZELMO_FUZZ_CHECK(guide.arraysUntouched());
  out.add(code);
  record(out, guide.compensated);
  record(out, guide.errors);
}

/// Sphere and cylinder: three forms, no plane.
template <typename Fit>
Fit fitSolid(ByteSource& bytes, const MeasuredPoints& scan, int least, Transcript& out) {
  Guide guide(bytes, scan.count);
  const float* points = scan.points.data();
  const float* normals = guide.normals_given ? scan.normals.data() : nullptr;
  Fit fit;
  int code = 0;
  if (guide.form == 0) {
    code = fit.Fit(points, normals, scan.count);
  } else if (guide.form == 1) {
    code = fit.Fit(points, normals, scan.count, guide.radius, guide.first(), guide.second());
  } else {
    code = fit.Fit(points, normals, scan.count, guide.radius, guide.first(), guide.second(),
                   guide.outward);
  }
  conclude(code, scan.count < least, true, guide, out);
  if (code != 0) ZELMO_FUZZ_CHECK(fit.radius == 0);
  out.add(fit.center);
  out.add(fit.radius);
  return fit;
}

void fitSphere(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  fitSolid<XSphereFit>(bytes, scan, 4, out);
}

void fitCylinder(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  const auto fit = fitSolid<XCylinderFit>(bytes, scan, 6, out);
  out.add(fit.base);
  out.add(fit.height);
}

void fitPlane(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  Guide guide(bytes, scan.count);
  const float* normals = guide.normals_given ? scan.normals.data() : nullptr;
  XPlaneFit fit;
  const int code = guide.form == 0 ? fit.Fit(scan.points.data(), normals, scan.count)
                                   : fit.Fit(scan.points.data(), normals, scan.count, guide.radius,
                                             guide.first(), guide.second());
  conclude(code, scan.count < 3, true, guide, out);
  out.add(fit.center);
  out.add(fit.corners);
  out.add(fit.d);
}

void fitCircle(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  Guide guide(bytes, scan.count);
  const float* points = scan.points.data();
  const float* normals = guide.normals_given ? scan.normals.data() : nullptr;
  XCircle3DFit fit;
  int code = 0;
  if (guide.form == 0) {
    code = fit.Fit(points, normals, scan.count, guide.plane_or_null(), guide.first());
  } else if (guide.form == 1) {
    code = fit.Fit(points, normals, scan.count, guide.plane_or_null(), guide.radius, guide.first(),
                   guide.second());
  } else {
    code = fit.Fit(points, normals, scan.count, guide.plane_or_null(), guide.radius, guide.first(),
                   guide.second(), guide.outward);
  }
  conclude(code, scan.count < 3 || !guide.plane_given, false, guide, out);
  ZELMO_FUZZ_CHECK(guide.errors.isUntouched() || code == 0);
  if (code != 0) ZELMO_FUZZ_CHECK(fit.radius == 0);
  out.add(fit.center);
  out.add(fit.radius);
  if (scan.count < 1) return;
  XCircle3DFit single;
  out.add(single.Fit_SinglePoint(points, nullptr, guide.plane_or_null(), guide.radius));
  out.add(single.center);
  out.add(single.majorDir);
}

void fitCircleInPlane(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  bytes.chooseNumbers();
  const int count = bytes.count(30);
  const auto flat = bytes.reals(2 * std::max(count, 0));
  XCircle2DFit circle;
  const bool has_fitted = circle.Fit(flat.data(), count);
  ZELMO_FUZZ_CHECK(!has_fitted || count >= 3);
  if (!has_fitted) ZELMO_FUZZ_CHECK(circle.cx == 0 && circle.cy == 0 && circle.r == 0);
  XOvalGroove2DFit slot;
  const int half = std::max(count, 0) / 2;
  const int code = slot.Fit(flat.data(), half, flat.data() + 2 * half, half);
  ZELMO_FUZZ_CHECK(code == (half < 3 ? -1 : 0));
  for (const float value : {circle.cx, circle.cy, circle.r, slot.cx, slot.cy, slot.halfStraight,
                            slot.radius, slot.angle}) {
    out.add(value);
  }
  static_cast<void>(scan);
}

void fitSlot(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  const int all = std::max(scan.count, 0);
  const int first = all > 0 ? bytes.byte() % (all + 1) : scan.count,
            second = all - std::max(first, 0);
  Guide guide(bytes, scan.count);
  const float* points1 = scan.points.data();
  const float* points2 = points1 + 3 * std::max(first, 0);
  const float* normals1 = guide.normals_given ? scan.normals.data() : nullptr;
  const float* normals2 = guide.normals_given ? normals1 + 3 * std::max(first, 0) : nullptr;
  XOvalGroove3DFit fit;
  int code = 0;
  if (guide.form == 0) {
    code = fit.Fit(points1, normals1, first, points2, normals2, second, guide.plane_or_null(),
                   guide.first());
  } else if (guide.form == 1) {
    code = fit.Fit(points1, normals1, first, points2, normals2, second, guide.plane_or_null(),
                   guide.radius, guide.first(), guide.second());
  } else {
    code = fit.Fit(points1, normals1, first, points2, normals2, second, guide.plane_or_null(),
                   guide.radius, guide.first(), guide.second(), guide.outward);
  }
  conclude(code, first < 3 || second < 3 || !guide.plane_given, true, guide, out);
  if (code != 0) ZELMO_FUZZ_CHECK(fit.radius == 0);
  out.add(fit.center);
  out.add(fit.arcCenter1);
  out.add(fit.halfStraight);
  out.add(fit.radius);
}

/// The points as a mesh's vertices, with indices that need not name one.
void fitPoints(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  XPointFit fit;
  bytes.chooseNumbers();
  const float radius = bytes.real();
  const auto touched = bytes.reals(6);
  Output<float> result(6);
  const auto touch = [&](XPointFit& with) {
    const int code = with.Fit(touched.data(), result.data(), radius);
    ZELMO_FUZZ_CHECK(code == 0 || (code <= -2 && code >= -4));
    out.add(code);
    record(out, result);
  };
  if (bytes.flag()) touch(fit);
  const int faces = bytes.count(12);
  std::vector<int> indices(static_cast<std::size_t>(3 * std::max(faces, 0)));
  std::vector<float> face_normals;
  for (int& index : indices) {
    index = bytes.flag() ? bytes.anyInt() : bytes.below(std::max(scan.count, 1));
    face_normals.push_back(bytes.real());
  }
  fit.setData(scan.points.data(), scan.count, face_normals.data(), indices.data(), faces);
  XPointFit copy(fit);
  touch(fit);
  if (bytes.flag()) fit.setData(scan.points.data(), 0, nullptr, nullptr, 0);
  touch(copy);
  const int records = std::max(scan.count, 0) / 2;
  Output<float> moved(6 * records);
  ZELMO_FUZZ_CHECK(fit.Fit(scan.points.data(), records, moved.data(), radius) == 0);
  record(out, moved);
}

void run(ByteSource& bytes, Transcript& out) {
  constexpr void (*kMembers[])(ByteSource&, const MeasuredPoints&, Transcript&) = {
      &fitPlane, &fitSphere, &fitCylinder, &fitCircle, &fitCircleInPlane, &fitSlot, &fitPoints};
  const auto member = kMembers[bytes.below(7)];
  ByteSource choices(bytes);
  for (int i = 0; i < 40; ++i) bytes.byte();
  member(choices, measuredPoints(bytes, 40), out);
}

}  // namespace
}  // namespace zelmo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return zelmo::fuzz::runTwice(data, size, &zelmo::fuzz::run);
}
