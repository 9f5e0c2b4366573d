// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/measure/internal/tolerance_band.h"

#include <algorithm>

#include <opencv2/imgproc.hpp>

#include "zelmo/feature/internal/local_frame.h"
#include "zelmo/internal/point_block.h"

namespace zelmo::internal {
namespace {

/// One coordinate of the projection on a plane, as stored.
template <int Axis>
struct ProjectedCoordinate {
  PlaneDeviation plane;
  ZELMO_ALWAYS_INLINE double operator()(double x, double y, double z) const {
    const double e = plane(x, y, z);
    return static_cast<float>(Axis == 0   ? x - e * plane.a
                              : Axis == 1 ? y - e * plane.b
                                          : z - e * plane.c);
  }
};

ZELMO_MULTIVERSION void sumProjections(const PointView& points, const PlaneDeviation& given,
                                       double* sums) {
  const PlaneDeviation plane = given;
  const float* p = points.data();
  const int count = points.count();
  double lane[3][kLanes] = {};
  PointBlock<PointView> at;
  double values[kBlock];
  int i = 0;
  for (; i + kBlock <= count; i += kBlock, p += 3 * kBlock) {
    at.load(p);
    blockTerms(at, ProjectedCoordinate<0>{plane}, values);
    addBlock(values, lane[0]);
    blockTerms(at, ProjectedCoordinate<1>{plane}, values);
    addBlock(values, lane[1]);
    blockTerms(at, ProjectedCoordinate<2>{plane}, values);
    addBlock(values, lane[2]);
  }
  for (; i < count; ++i, p += 3) {
    const int k = i % kLanes;
    lane[0][k] += ProjectedCoordinate<0>{plane}(p[0], p[1], p[2]);
    lane[1][k] += ProjectedCoordinate<1>{plane}(p[0], p[1], p[2]);
    lane[2][k] += ProjectedCoordinate<2>{plane}(p[0], p[1], p[2]);
  }
  for (int axis = 0; axis < 3; ++axis) sums[axis] = addLanes(lane[axis]);
}

}  // namespace

std::optional<SpaceCircleDeviation> spaceCircle(const PointView& points, const double* circle) {
  const PlaneDeviation plane = PlaneDeviation::through(circle, circle + 3);
  double sums[3];
  sumProjections(points, plane, sums);
  const double count = points.count();
  const cv::Point3d mean(sums[0] / count, sums[1] / count, sums[2] / count);
  const double coefficients[4] = {plane.a, plane.b, plane.c, plane.d};
  std::vector<cv::Point3f> off_center;
  for (int i = 0; i < points.count() && off_center.empty(); ++i) {
    const std::vector<cv::Point3f> foot = {projectOnPlane(points.at(i), coefficients)};
    if (firstAxis(foot, mean)) off_center = foot;
  }
  const auto frame = localFrame(off_center, mean, {plane.a, plane.b, plane.c}, {});
  if (!frame) return std::nullopt;
  const Rigid& map = frame->local_from_world;
  const cv::Point3d center = transformPoint(map, {circle[0], circle[1], circle[2]});
  SpaceCircleDeviation deviation{plane, {}, {center.x, center.y, circle[6]}};
  std::copy(map.begin(), map.begin() + 8, deviation.map);
  return deviation;
}

std::vector<cv::Point3f> pointsInBand(const PointView& points, const PlaneDeviation& plane,
                                      double factor) {
  const int count = points.count();
  const std::unique_ptr<double[]> deviations(new double[static_cast<std::size_t>(count)]);
  const DeviationStatistics statistics = deviationStatistics(points, plane, deviations.get());
  const SigmaBand band = SigmaBand::about(statistics, factor);
  std::vector<cv::Point3f> kept;
  for (int i = 0; i < count; ++i) {
    const float* p = points.at(i);
    if (band.keeps(deviations[static_cast<std::size_t>(i)])) kept.emplace_back(p[0], p[1], p[2]);
  }
  return kept;
}

double shorterSideOnPlane(const PointView& points, const double* plane) {
  const auto local = projectToLocal(points, plane, {});
  if (!local) return kNoTolerance;
  const cv::RotatedRect box = boundingRectangle(local->points);
  return std::min(box.size.width, box.size.height);
}

}  // namespace zelmo::internal
