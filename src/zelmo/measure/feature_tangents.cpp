// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Features through points, and those that touch circles and spheres around points.
#include <algorithm>
#include <array>
#include <cmath>

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/internal/through_points.h"
#include "zelmo/measure/feature_constructor.h"
#include "zelmo/measure/internal/record_shapes.h"
#include "zelmo/measure/internal/three_points.h"

namespace xgeofeature {

using zelmo::internal::EdgeRounding;
using zelmo::internal::pointOf;
using zelmo::internal::PointView;
using zelmo::internal::segment;
using zelmo::internal::unitOrZero;
using zelmo::internal::widened;

namespace {

constexpr int kFailed = -1;
constexpr int kNegativeRadius = -2;
constexpr int kSamePoint = -3;
constexpr int kNoPlane = -4;
// Centers of spheres that lie closer have no plane.
constexpr double kSamePlace = 1e-6;
// A sphere with a smaller radius is touched in its center.
constexpr double kTouchesItself = 1e-6;
constexpr int kPairs[3][2] = {{0, 1}, {0, 2}, {1, 2}};

/// Three points in one array, and their plane with the normal turned to the first point's side.
struct OrientedThree {
  std::array<float, 9> points;
  zelmo::internal::ThreePointPlane plane;

  PointView view() const { return {points.data(), 3}; }
};

std::optional<OrientedThree> orientedThree(const XFPointN* points) {
  OrientedThree three{};
  for (std::size_t i = 0; i < 3; ++i) std::copy_n(points[i].point, 3, &three.points[3 * i]);
  const auto plane = zelmo::internal::planeThrough(three.view(), EdgeRounding::None);
  if (!plane) return std::nullopt;
  three.plane = *plane;
  if (three.plane.normal.dot(widened(points[0].normal)) < 0) {
    three.plane.normal = -three.plane.normal;
  }
  return three;
}

/// Two circles in a plane, the larger one first.
struct CirclePair {
  cv::Vec3d larger, smaller;  ///< centers in the plane
  double larger_radius, smaller_radius;
  double distance;
  cv::Vec3d x;  ///< unit, from the larger to the smaller
  cv::Vec3d y;  ///< unit, normal x x; zero for centers along the normal

  /// A point of the plane by float coordinates along x and y.
  cv::Vec3d at(const cv::Vec3d& origin, double u, double v) const {
    const float stored_u = static_cast<float>(u);
    const float stored_v = static_cast<float>(v);
    return origin + x * static_cast<double>(stored_u) + y * static_cast<double>(stored_v);
  }

  /// The outer tangent with the unit normal (c, s) in the coordinates of x and y.
  XFLine3D2 tangent(double c, double s) const {
    return segment(at(larger, larger_radius * c, larger_radius * s),
                   at(smaller, smaller_radius * c, smaller_radius * s));
  }
};

CirclePair circlePair(const XFPoint* points, const float* radii, const XFPlane& plane) {
  const int large = radii[0] >= radii[1] ? 0 : 1;
  const XFPoint& from = points[large];
  const XFPoint& to = points[1 - large];
  CirclePair pair;
  pair.larger = widened(zelmo::internal::footOnPlane(from, plane));
  pair.smaller = widened(zelmo::internal::footOnPlane(to, plane));
  pair.larger_radius = radii[large];
  pair.smaller_radius = radii[1 - large];
  pair.distance = from.Distance(to);
  pair.x = unitOrZero(widened(to) - widened(from));
  pair.y = unitOrZero(widened(plane.normal).cross(pair.x));
  return pair;
}

XFPointN withUpwardNormal(const cv::Vec3d& p) {
  const XFPoint stored = pointOf(p);
  return {stored.x, stored.y, stored.z, 0.0F, 0.0F, 1.0F};
}

/// The unit normals whose tangent planes lie off each of three spheres by its radius, mirror images
/// of one another at the plane of the centers.
std::optional<std::array<cv::Vec3d, 2>> touchingNormals(const std::array<cv::Vec3d, 3>& centers,
                                                        const std::array<double, 3>& radii,
                                                        const cv::Vec3d& up) {
  // n . (p_k - p_0) = r_0 - r_k, solved within the plane of the centers.
  const cv::Vec3d a = centers[1] - centers[0];
  const cv::Vec3d b = centers[2] - centers[0];
  const double da = radii[0] - radii[1];
  const double db = radii[0] - radii[2];
  const cv::Vec3d cross = a.cross(b);
  const cv::Vec3d in_plane = (b.cross(cross) * da + cross.cross(a) * db) * (1.0 / cross.dot(cross));
  const double rest = 1.0 - in_plane.dot(in_plane);
  if (!(rest > 0)) return std::nullopt;
  const cv::Vec3d across = up * std::sqrt(rest);
  return std::array<cv::Vec3d, 2>{in_plane + across, in_plane - across};
}

}  // namespace

int XGeoFConstructor::getPlane(const XFPointN* const points, XFPlane& plane) {
  const auto three = orientedThree(points);
  if (!three) return kFailed;
  const auto rectangle = zelmo::internal::rectangleAround(three->view(), three->plane.normal);
  if (!rectangle) return kFailed;
  float center[3];
  float normal[3];
  float major[3];
  zelmo::internal::store(rectangle->center, center);
  zelmo::internal::store(three->plane.normal, normal);
  zelmo::internal::store(rectangle->major, major);
  plane = XFPlane(center, normal, major, static_cast<float>(rectangle->length),
                  static_cast<float>(rectangle->width));
  return 0;
}

int XGeoFConstructor::getCircle(const XFPointN* const points, XFCircle3D& circle) {
  const auto three = orientedThree(points);
  if (!three) return kFailed;
  const auto found = zelmo::internal::circleThrough(three->view(), three->plane.normal);
  if (!found) return kFailed;
  float center[3];
  float normal[3];
  float major[3];
  zelmo::internal::store(found->center, center);
  zelmo::internal::store(three->plane.normal, normal);
  zelmo::internal::store(three->plane.to_second, major);
  circle = XFCircle3D(center, normal, major, static_cast<float>(found->radius));
  return 0;
}

int XGeoFConstructor::getSphere(const XFPoint* const points, XFSphere& sphere) {
  float flat[12];
  for (int i = 0; i < 4; ++i) zelmo::internal::store(widened(points[i]), flat + 3 * i);
  const auto found = zelmo::internal::sphereThrough(flat, zelmo::internal::SquareSums::InFloat);
  if (!found) return kFailed;
  sphere = XFSphere(found->center.data(), found->radius);
  return 0;
}

int XGeoFConstructor::getLineOffset(const XFPoint* const points, const float* const radii,
                                    const XFPlane& plane, XFLine3D2* const lines) {
  if (radii[0] < 0 || radii[1] < 0) return kNegativeRadius;
  const CirclePair pair = circlePair(points, radii, plane);
  const double difference = pair.larger_radius - pair.smaller_radius;
  const bool is_usable = std::isfinite(pair.distance) && pair.distance > 0 &&
                         difference <= pair.distance && cv::norm(pair.y) > 0;
  if (!is_usable) return kFailed;
  if (pair.distance == difference) {
    float center[3];
    float dir[3];
    zelmo::internal::store(pair.smaller + pair.x * pair.smaller_radius, center);
    zelmo::internal::store(pair.y, dir);
    lines[0] = XFLine3D2(center, dir, 1.0F);
    return 1;
  }
  // Equal circles have their centre of similarity at infinity.
  double c = 0;
  double s = 1;
  if (difference > 0) {
    const double beyond = pair.smaller_radius * pair.distance / difference;
    const double apex = beyond + pair.distance;
    c = pair.larger_radius / apex;
    s = std::sqrt(apex * apex - pair.larger_radius * pair.larger_radius) / apex;
  }
  lines[0] = pair.tangent(c, s);
  lines[1] = pair.tangent(c, -s);
  return 2;
}

int XGeoFConstructor::getPlaneOffset(const XFPoint* const points, const float* const offsets,
                                     XFPlane* const planes) {
  if (offsets[0] < 0 || offsets[1] < 0 || offsets[2] < 0) return kNegativeRadius;
  std::array<int, 3> order = {0, 1, 2};
  std::stable_sort(order.begin(), order.end(),
                   [offsets](int i, int j) { return offsets[i] > offsets[j]; });
  XFPoint centers[3];
  float radii[3];
  XFPointN upward[3];
  for (std::size_t k = 0; k < 3; ++k) {
    centers[k] = points[order[k]];
    radii[k] = offsets[order[k]];
    upward[k] = withUpwardNormal(widened(centers[k]));
  }
  for (const auto& pair : kPairs) {
    if (centers[pair[0]].Distance(centers[pair[1]]) < kSamePlace) return kSamePoint;
  }
  XFPlane base;
  if (getPlane(upward, base) != 0) return kNoPlane;
  for (const auto& pair : kPairs) {
    const XFPoint ends[2] = {centers[pair[0]], centers[pair[1]]};
    const float pair_radii[2] = {radii[pair[0]], radii[pair[1]]};
    XFLine3D2 tangents[2];
    if (getLineOffset(ends, pair_radii, base, tangents) < 2) return kFailed;
  }
  const auto normals =
      touchingNormals({widened(centers[0]), widened(centers[1]), widened(centers[2])},
                      {radii[0], radii[1], radii[2]}, widened(base.normal));
  if (!normals) return kFailed;
  XFPlane found[2];
  for (std::size_t side = 0; side < 2; ++side) {
    XFPointN touching[3];
    for (int k = 0; k < 3; ++k) {
      const double radius = radii[k] < kTouchesItself ? 0.0 : radii[k];
      touching[k] = withUpwardNormal(widened(centers[k]) + (*normals)[side] * radius);
    }
    if (getPlane(touching, found[side]) != 0) return kFailed;
  }
  planes[0] = found[0];
  planes[1] = found[1];
  return 0;
}

}  // namespace xgeofeature
