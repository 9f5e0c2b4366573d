// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/display/internal/outline_frame.h"

#include "zelmo/display/internal/direction.h"
#include "zelmo/feature/internal/frame_members.h"
#include "zelmo/internal/console.h"

namespace zelmo::internal {
namespace {

cv::Vec3d widened(const float* v) { return {v[0], v[1], v[2]}; }

}  // namespace

void alignAndPrint(const PlaneTriple& target, const PlaneTriple& source, double* rt) {
  AlignTrace trace;
  storeAlignment(target, source, OppositeCross::AboutFirstNormal, rt, &trace);
  ConsoleText text;
  text << "vec_model:\n";
  for (const cv::Vec3d& n : target.normals) text << n << "\n";
  text << "vec_test\n";
  for (const cv::Vec3d& n : source.normals) text << n << "\n";
  text << "R1" << trace.r1 << "\n"
       << "R2" << trace.r2 << "\n"
       << "R" << trace.r << "\n";
}

std::optional<PointWriter> outlineWriter(const cv::Vec3d& center, const cv::Vec3d& normal,
                                         const cv::Vec3d& major, float* out) {
  const cv::Vec3d across = unitOrZero(normal.cross(major));
  Rigid space_from_local = kIdentity;
  alignAndPrint(PlaneTriple::through({center[0], center[1], center[2]}, major, across, normal),
                PlaneTriple::through({0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}),
                space_from_local.data());
  if (out == nullptr || !isDirection(across)) return std::nullopt;
  return PointWriter(space_from_local, out);
}

std::optional<PointWriter> outlineWriter(const float* center, const float* normal,
                                         const float* major, float* out) {
  return outlineWriter(widened(center), widened(normal), widened(major), out);
}

}  // namespace zelmo::internal
