// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/simplex/internal/cone_sums.h"

#include <cmath>

#include "zelmo/internal/objective.h"

namespace zelmo::internal {
namespace {

ZELMO_MULTIVERSION double squareSumInLanes(const PointView& points, const ConeDistance& cone) {
  return foldSquareSum(points, cone);
}
ZELMO_MULTIVERSION double absSumInLanes(const PointView& points, const ConeDistance& cone) {
  return laneSum(points, cone);
}

struct Plain {
  double operator()(double e) const { return e; }
};
struct Square {
  double operator()(double e) const { return e * e; }
};

// CONTRACT: a point on the apex counts by the radius at the point before it, the first by tan(h).
template <typename Share>
double sumInOrder(const PointView& points, const ConeDistance& cone, Share share) {
  double sum = 0.0;
  double radius = cone.tangent;
  for (int i = 0; i < points.count(); ++i) {
    const cv::Vec3d p = points.vector(i);
    const cv::Vec3d q = p - cv::Vec3d(cone.axis.px, cone.axis.py, cone.axis.pz);
    if (isOnAxisPoint(q[0], q[1], q[2])) {
      sum += share(radius);
    } else {
      radius = cone.radiusAt(q[0], q[1], q[2]);
      sum += share(cone(p[0], p[1], p[2]));
    }
  }
  return sum;
}

}  // namespace

// In lanes the order of points is lost. It counts only when a point lies on the apex, and then the
// sum is NaN (as it is for a point that is no number, which both ways give).
double coneSquareSum(const PointView& points, const ConeDistance& cone) {
  const double sum = squareSumInLanes(points, cone);
  return std::isnan(sum) ? sumInOrder(points, cone, Square()) : sum;
}

double coneAbsSum(const PointView& points, const ConeDistance& cone) {
  const double sum = absSumInLanes(points, cone);
  return std::isnan(sum) ? sumInOrder(points, cone, Plain()) : sum;
}

}  // namespace zelmo::internal
