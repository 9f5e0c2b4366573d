// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/regression.h"

#include "zelmo/internal/lanes.h"

namespace zelmo::internal {
namespace {

ZELMO_MULTIVERSION void sumCoordinates(const PointView& points, double* sums) {
  sums[0] = laneSum(points, Coordinate<0>{});
  sums[1] = laneSum(points, Coordinate<1>{});
  sums[2] = laneSum(points, Coordinate<2>{});
}

ZELMO_MULTIVERSION void sumProducts(const PointView& points, const double* origin, double* sums) {
  const Coordinate<0> x{origin[0]};
  const Coordinate<1> y{origin[1]};
  const Coordinate<2> z{origin[2]};
  sums[0] = laneSum(points, Product<Coordinate<0>, Coordinate<0>>{x, x});
  sums[1] = laneSum(points, Product<Coordinate<0>, Coordinate<1>>{x, y});
  sums[2] = laneSum(points, Product<Coordinate<0>, Coordinate<2>>{x, z});
  sums[3] = laneSum(points, Product<Coordinate<1>, Coordinate<1>>{y, y});
  sums[4] = laneSum(points, Product<Coordinate<1>, Coordinate<2>>{y, z});
  sums[5] = laneSum(points, Product<Coordinate<2>, Coordinate<2>>{z, z});
}

}  // namespace

cv::Vec3d centroidOf(const PointView& points) {
  if (points.empty()) return {0, 0, 0};
  double sums[3];
  sumCoordinates(points, sums);
  const double count = points.count();
  return {sums[0] / count, sums[1] / count, sums[2] / count};
}

cv::Matx33d scatterAbout(const PointView& points, const cv::Vec3d& origin) {
  double s[6];
  sumProducts(points, origin.val, s);
  return {s[0], s[1], s[2], s[1], s[3], s[4], s[2], s[4], s[5]};
}

std::optional<RegressionPlane> regressionPlane(const PointView& points) {
  if (points.count() < 3) return std::nullopt;
  RegressionPlane plane;
  plane.centroid = centroidOf(points);
  const cv::Mat scatter(scatterAbout(points, plane.centroid));
  cv::Mat w;
  cv::Mat u;
  cv::Mat vt;
  cv::SVD::compute(scatter, w, u, vt, 0);
  plane.normal = {vt.at<double>(2, 0), vt.at<double>(2, 1), vt.at<double>(2, 2)};
  plane.offset = -(plane.normal[0] * plane.centroid[0] + plane.normal[1] * plane.centroid[1] +
                   plane.normal[2] * plane.centroid[2]);
  return plane;
}

}  // namespace zelmo::internal
