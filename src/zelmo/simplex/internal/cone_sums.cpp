// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/simplex/internal/cone_sums.h"

#include "zelmo/internal/objective.h"

namespace zelmo::internal {
namespace {

ZELMO_MULTIVERSION double squareSumInLanes(const PointView& points, const ConeDistance& cone,
                                           double* nearest) {
  return laneSumAndSmallest(points, Squared<ConeDistance>{cone}, nearest);
}
ZELMO_MULTIVERSION double absSumInLanes(const PointView& points, const ConeDistance& cone,
                                        double* nearest) {
  return laneSumAndSmallest(points, cone, nearest);
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
      double ignored;
      sum += share(cone(p[0], p[1], p[2], &ignored));
    }
  }
  return sum;
}

}  // namespace

// In lanes the order of points is lost. It counts only when a point may lie on the apex.
double coneSquareSum(const PointView& points, const ConeDistance& cone) {
  double nearest;
  const double sum = squareSumInLanes(points, cone, &nearest);
  return nearest > kOffAxisPointSquared ? sum : sumInOrder(points, cone, Square());
}

double coneAbsSum(const PointView& points, const ConeDistance& cone) {
  double nearest;
  const double sum = absSumInLanes(points, cone, &nearest);
  return nearest > kOffAxisPointSquared ? sum : sumInOrder(points, cone, Plain());
}

}  // namespace zelmo::internal
