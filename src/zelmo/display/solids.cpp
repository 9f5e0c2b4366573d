// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/display/solids.h"

#include <algorithm>
#include <optional>

#include "zelmo/display/internal/direction.h"
#include "zelmo/display/internal/point_writer.h"

namespace xgeometry {

using namespace zelmo::internal;  // NOLINT(google-build-using-namespace): the kernels of this shell

namespace {

/// Carries the plane z = 0 to the plane through \p point across \p axis.
std::optional<Rigid> frameAcross(const float* point, const float* axis) {
  const cv::Vec3d along(axis[0], axis[1], axis[2]);
  const cv::Vec3d h = unitOrZero(auxiliaryVector(along));
  const cv::Vec3d g = unitOrZero(along.cross(h));
  if (!isDirection(g)) return std::nullopt;
  const PlaneTriple world = PlaneTriple::through({0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1});
  return alignByPlanes(PlaneTriple::through({point[0], point[1], point[2]}, h, g, along), world,
                       OppositeCross::AnyHalfTurn);
}

cv::Vec3d alongAxis(const float* axis, double height) {
  return {height * axis[0], height * axis[1], height * axis[2]};
}

}  // namespace

XCylinder::XCylinder(const float* const base, const float* const direction, const float& h,
                     const float& r)
    : height(h), radius(r) {
  std::copy_n(base, 3, point);
  std::copy_n(direction, 3, axis);
}

int XCylinder::getDisplayData(const int& count, float* first, float* second) {
  if (count < 1 || first == nullptr || second == nullptr) return 0;
  const auto t = frameAcross(point, axis);
  if (!t) return 0;
  PointWriter(*t, first).addArc(0, 0, radius, 0, count, count);
  const cv::Vec3d rise = alongAxis(axis, height);
  for (int i = 0; i < count; ++i, first += 3, second += 3) {
    for (int k = 0; k < 3; ++k) second[k] = static_cast<float>(first[k] + rise[k]);
  }
  return 0;
}

XCone::XCone(const float* const base, const float* const direction, const float& h,
             const float& first_radius, const float& second_radius)
    : height(h), firstRadius(first_radius), secondRadius(second_radius) {
  std::copy_n(base, 3, point);
  std::copy_n(direction, 3, axis);
}

int XCone::getDisplayData(const int& count, float* first, float* second) {
  if (count < 1 || first == nullptr || second == nullptr) return 0;
  const auto t = frameAcross(point, axis);
  if (!t) return 0;
  PointWriter(*t, first).addArc(0, 0, firstRadius, 0, count, count);
  PointWriter(*t, second).addArc(0, 0, secondRadius, 0, count, count, alongAxis(axis, height));
  return 0;
}

}  // namespace xgeometry
