// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/internal/regression.h"

#include <cmath>
#include <limits>

#include "zelmo/internal/lanes.h"

namespace zelmo::internal {
namespace {

struct Offsets {
  double origin[3];
  ZELMO_ALWAYS_INLINE void operator()(double x, double y, double z, double* sums) const {
    sums[0] = x - origin[0];
    sums[1] = y - origin[1];
    sums[2] = z - origin[2];
  }
};

ZELMO_ALWAYS_INLINE void productsOf(double x, double y, double z, double* sums) {
  sums[0] = x * x;
  sums[1] = x * y;
  sums[2] = x * z;
  sums[3] = y * y;
  sums[4] = y * z;
  sums[5] = z * z;
}

struct Products {
  double origin[3];
  ZELMO_ALWAYS_INLINE void operator()(double x, double y, double z, double* sums) const {
    productsOf(x - origin[0], y - origin[1], z - origin[2], sums);
  }
};

struct ProductsOfFloatOffsets {
  float origin[3];
  ZELMO_ALWAYS_INLINE void operator()(float x, float y, float z, double* sums) const {
    const float dx = x - origin[0];
    const float dy = y - origin[1];
    const float dz = z - origin[2];
    productsOf(dx, dy, dz, sums);
  }
};

struct OffsetsAndProducts {
  double origin[3];
  ZELMO_ALWAYS_INLINE void operator()(double x, double y, double z, double* sums) const {
    Offsets{{origin[0], origin[1], origin[2]}}(x, y, z, sums);
    Products{{origin[0], origin[1], origin[2]}}(x, y, z, sums + 3);
  }
};

/// The coordinates times their squared length, about the mean: what the algebraic sphere adds.
struct CubicMoments {
  double origin[3];
  ZELMO_ALWAYS_INLINE void operator()(double x, double y, double z, double* sums) const {
    const double dx = x - origin[0];
    const double dy = y - origin[1];
    const double dz = z - origin[2];
    const double square = dx * dx + dy * dy + dz * dz;
    sums[0] = dx * square;
    sums[1] = dy * square;
    sums[2] = dz * square;
  }
};

struct PlanarMoments {
  ZELMO_ALWAYS_INLINE void operator()(double x, double y, double* sums) const {
    sums[0] = x;
    sums[1] = y;
    sums[2] = x * x;
    sums[3] = y * y;
    sums[4] = x * y;
    sums[5] = x * x * x;
    sums[6] = y * y * y;
    sums[7] = x * y * y;
    sums[8] = x * x * y;
  }
};

ZELMO_MULTIVERSION void sumOffsets(const PointView& points, const Offsets& term, double* sums) {
  laneSums<3>(points, term, sums);
}
ZELMO_MULTIVERSION void sumProducts(const PointView& points, const Products& term, double* sums) {
  laneSums<6>(points, term, sums);
}
ZELMO_MULTIVERSION void sumProducts(const PointView& points, const ProductsOfFloatOffsets& term,
                                    double* sums) {
  laneSums<6>(points, term, sums);
}
ZELMO_MULTIVERSION void sumBoth(const PointView& points, const OffsetsAndProducts& term,
                                double* sums) {
  laneSums<9>(points, term, sums);
}
ZELMO_MULTIVERSION void sumCubic(const PointView& points, const CubicMoments& term, double* sums) {
  laneSums<3>(points, term, sums);
}
ZELMO_MULTIVERSION void sumPlanar(const PlanarView& points, double* sums) {
  laneSums<9>(points, PlanarMoments{}, sums);
}

cv::Matx33d symmetric(const double* s) {
  return {s[0], s[1], s[2], s[1], s[3], s[4], s[2], s[4], s[5]};
}

/// Mean and scatter about it, in one walk: taken about the first point, which lies among the
/// others, so that little is lost when the sums are carried over to the mean.
struct Moments {
  cv::Vec3d mean;
  cv::Vec3d sum;  ///< of the offsets from the mean: what rounding leaves
  cv::Matx33d scatter;
};

Moments momentsOf(const PointView& points) {
  const cv::Vec3d first = points.vector(0);
  double s[9];
  sumBoth(points, {{first[0], first[1], first[2]}}, s);
  const double count = points.count();
  const cv::Vec3d shift(s[0] / count, s[1] / count, s[2] / count);
  const double carried[6] = {s[3] - s[0] * shift[0], s[4] - s[0] * shift[1],
                             s[5] - s[0] * shift[2], s[6] - s[1] * shift[1],
                             s[7] - s[1] * shift[2], s[8] - s[2] * shift[2]};
  const cv::Vec3d mean = first + shift;
  const cv::Vec3d rest =
      cv::Vec3d(s[0], s[1], s[2]) - cv::Vec3d(mean - first) * static_cast<double>(count);
  return {mean, rest, symmetric(carried)};
}

}  // namespace

cv::Vec3d centroidOf(const PointView& points) {
  if (points.empty()) return {0, 0, 0};
  double sums[3];
  sumOffsets(points, {{0, 0, 0}}, sums);
  const double count = points.count();
  return {sums[0] / count, sums[1] / count, sums[2] / count};
}

cv::Vec3f floatCentroidOf(const PointView& points) {
  float sum[3] = {};
  for (int i = 0; i < points.count(); ++i) {
    const float* p = points.at(i);
    for (int k = 0; k < 3; ++k) sum[k] += p[k];
  }
  const auto count = static_cast<float>(points.count());
  return {sum[0] / count, sum[1] / count, sum[2] / count};
}

cv::Matx33d scatterAbout(const PointView& points, const cv::Vec3d& origin,
                         OffsetRounding rounding) {
  double s[6];
  if (rounding == OffsetRounding::ToFloat) {
    sumProducts(
        points,
        ProductsOfFloatOffsets{{static_cast<float>(origin[0]), static_cast<float>(origin[1]),
                                static_cast<float>(origin[2])}},
        s);
  } else {
    sumProducts(points, Products{{origin[0], origin[1], origin[2]}}, s);
  }
  return symmetric(s);
}

std::optional<RegressionPlane> regressionPlane(const PointView& points) {
  if (points.count() < 3) return std::nullopt;
  const Moments moments = momentsOf(points);
  RegressionPlane plane;
  plane.centroid = moments.mean;
  cv::Mat w;
  cv::Mat u;
  cv::Mat vt;
  cv::SVD::compute(cv::Mat(moments.scatter), w, u, vt, 0);
  plane.normal = {vt.at<double>(2, 0), vt.at<double>(2, 1), vt.at<double>(2, 2)};
  plane.offset = -(plane.normal[0] * plane.centroid[0] + plane.normal[1] * plane.centroid[1] +
                   plane.normal[2] * plane.centroid[2]);
  return plane;
}

PrincipalAxes principalAxes(const PointView& points, OffsetRounding rounding) {
  PrincipalAxes axes;
  axes.centroid = floatCentroidOf(points);
  const cv::Vec3d origin(axes.centroid);
  if (!cv::eigen(cv::Mat(scatterAbout(points, origin, rounding)), axes.values, axes.vectors)) {
    // Points that are not finite; what the routine leaves behind is memory that nobody set.
    const cv::Scalar none(std::numeric_limits<double>::quiet_NaN());
    axes.values = cv::Mat(3, 1, CV_64F, none);
    axes.vectors = cv::Mat(3, 3, CV_64F, none);
  }
  return axes;
}

std::optional<AlgebraicSphere> algebraicSphere(const PointView& points) {
  if (points.count() < 4) return std::nullopt;
  const Moments moments = momentsOf(points);
  const cv::Vec3d& m = moments.mean;
  const cv::Vec3d& s = moments.sum;
  const cv::Matx33d& c = moments.scatter;
  double cubic[3];
  sumCubic(points, {{m[0], m[1], m[2]}}, cubic);
  const cv::Matx44d a(c(0, 0), c(0, 1), c(0, 2), s[0], c(1, 0), c(1, 1), c(1, 2), s[1], c(2, 0),
                      c(2, 1), c(2, 2), s[2], s[0], s[1], s[2], points.count());
  const cv::Matx41d b(-cubic[0], -cubic[1], -cubic[2], -(c(0, 0) + c(1, 1) + c(2, 2)));
  const cv::Mat solution = cv::Mat(a).inv() * cv::Mat(b);
  const cv::Vec4d g(solution.ptr<double>());
  const double square = (g[0] * g[0] + g[1] * g[1] + g[2] * g[2]) * 0.25 - g[3];
  return AlgebraicSphere{{m[0] - g[0] / 2, m[1] - g[1] / 2, m[2] - g[2] / 2}, std::sqrt(square)};
}

std::optional<AlgebraicCircle> algebraicCircle(const PlanarView& points, SummedPoints summed) {
  const int used =
      summed == SummedPoints::FirstHalf ? points.count() - points.count() / 2 : points.count();
  double s[9];
  sumPlanar(PlanarView(points.data(), used), s);
  const double n = points.count();
  const double sx = s[0];
  const double sy = s[1];
  const double squares = s[2] + s[3];
  const double a1 = n * s[2] - sx * sx;
  const double b1 = n * s[4] - sx * sy;
  const double a2 = n * s[3] - sy * sy;
  const double c1 = n * s[5] + n * s[7] - squares * sx;
  const double c2 = n * s[8] + n * s[6] - squares * sy;
  const double a = (c2 * a1 - c1 * b1) / (b1 * b1 - a2 * a1);
  const double b = (c2 * b1 - a2 * c1) / (a2 * a1 - b1 * b1);
  const double c = -(a * sy + b * sx + squares) / n;
  const double radicand = a * a + b * b - 4 * c;
  if (!(radicand >= 0)) return std::nullopt;
  return AlgebraicCircle{-b / 2, -a / 2, std::sqrt(radicand) / 2};
}

}  // namespace zelmo::internal
