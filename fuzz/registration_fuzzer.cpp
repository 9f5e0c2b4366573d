// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
// Rigid motions between paired points, alignment of reference points to clouds and meshes.
#include "fuzz_target.h"
#include "measured_points.h"
#include "zelmo/internal/array_view.h"
#include "zelmo/registration/rigid_transform.h"
#include "zelmo/registration/rps_align.h"
#include "zelmo/registration/rps_align2.h"

namespace zelmo::fuzz {
namespace {

using xrpsalign::XRPSPoint;

/// The scan turned a little and moved, with single numbers spoilt: what a partner list is.
std::vector<cv::Point3f> partnersOf(ByteSource& bytes, const std::vector<cv::Point3f>& points) {
  const double turn = bytes.byte() * (CV_2PI / 256), c = std::cos(turn), s = std::sin(turn);
  const float shift = bytes.real();
  std::vector<cv::Point3f> out;
  for (const cv::Point3f& p : points) {
    out.emplace_back(static_cast<float>(c * p.x - s * p.y) + shift,
                     static_cast<float>(s * p.x + c * p.y), p.z - shift);
  }
  const int length = bytes.below(4);  // the lists need not be equally long
  if (length == 1 && !out.empty()) out.pop_back();
  if (length == 2) out.emplace_back(bytes.real(), bytes.real(), bytes.real());
  if (length == 3 && !out.empty()) out.front().y = bytes.real();
  return out;
}

std::vector<XRPSPoint> references(ByteSource& bytes, const std::vector<cv::Point3f>& points) {
  std::vector<XRPSPoint> out;
  for (const cv::Point3f& p : points) {
    const float position[] = {p.x, p.y, p.z}, normal[] = {0, 0, 1};
    out.emplace_back(position, normal, bytes.byte(), 0, 0);
  }
  return out;
}

void findMotion(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  const auto first = internal::toPointVector({scan.points.data(), scan.count});
  const auto second = partnersOf(bytes, first);
  xrigidtransform::XRigidTransform transform;
  Output<double> start(6), motion(6);
  const bool has_points = !first.empty() && !second.empty();
  ZELMO_FUZZ_CHECK(transform.getInitialValue(first, second, start.data()) == has_points);
  ZELMO_FUZZ_CHECK(transform.getRT(first, second, motion.data()));
  record(out, start);
  record(out, motion);
}

void alignReferences(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  const auto points = internal::toPointVector({scan.points.data(), scan.count});
  const auto partners = partnersOf(bytes, points);
  const auto first = references(bytes, points), second = references(bytes, partners);
  Output<double> rt(16);
  ZELMO_FUZZ_CHECK(xrpsalign::XRPSAlign().alignByRPSPoint(first, second, rt.data()) == 0);
  ZELMO_FUZZ_CHECK(rt[12] == 0 && rt[13] == 0 && rt[14] == 0 && rt[15] == 1);
  record(out, rt);
}

/// A few of the scan's points are the references; the scan is a cloud or the vertices of a mesh.
void alignScan(ByteSource& bytes, const MeasuredPoints& scan, Transcript& out) {
  auto points = internal::toPointVector({scan.points.data(), scan.count});
  if (points.size() > 8) points.resize(8);
  const auto partners = partnersOf(bytes, points);
  const auto first = references(bytes, points), second = references(bytes, partners);
  const bool is_mesh = bytes.flag();
  const int b = bytes.byte(), iterations = b < 16 ? b - 12 : b % 3 + 1;
  Output<double> rt(16);
  int code = 0;
  if (is_mesh) {
    const int triangles = bytes.count(20);
    std::vector<int> indices(static_cast<std::size_t>(3 * std::max(triangles, 0)));
    for (int& index : indices) {
      index = bytes.below(8) == 7 ? bytes.anyInt() : bytes.below(std::max(scan.count, 1));
    }
    std::vector<float> normals(indices.size(), 0.577F);
    if (bytes.flag()) normals = bytes.reals(static_cast<int>(indices.size()));
    code = xrpsalign::XRPSAlign2().alignByRPSPoint(scan.points.data(), scan.count, normals.data(),
                                                   indices.data(), triangles, first, second,
                                                   rt.data(), iterations);
  } else {
    code = xrpsalign::XRPSAlign2().alignByRPSPoint(scan.points.data(), scan.count, first, second,
                                                   rt.data(), iterations);
  }
  ZELMO_FUZZ_CHECK(code == 0 || code == -101 || code == -201);
  ZELMO_FUZZ_CHECK((code == -101) == (iterations < 1));
  ZELMO_FUZZ_CHECK(code == 0 || rt.isUntouched());
  out.add(code);
  record(out, rt);
}

void run(ByteSource& bytes, Transcript& out) {
  constexpr void (*kMembers[])(ByteSource&, const MeasuredPoints&, Transcript&) = {
      &findMotion, &alignReferences, &alignScan};
  const auto member = kMembers[bytes.below(3)];
  ByteSource choices(bytes);
  choices.chooseNumbers();
  for (int i = 0; i < 64; ++i) bytes.byte();
  member(choices, measuredPoints(bytes, 30), out);
}

}  // namespace
}  // namespace zelmo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return zelmo::fuzz::runTwice(data, size, &zelmo::fuzz::run);
}
