// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/feature/frame_toolkit.h"

#include <algorithm>
#include <cmath>

namespace zelmo::internal {
namespace {

constexpr double kSinglePointDeterminant = 1e-6;
constexpr double kParallelCross = 1e-6;
constexpr int kMaxQuarterTurns = 4;

bool allBelow(const cv::Vec3d& v, double limit) {
  return std::fabs(v[0]) < limit && std::fabs(v[1]) < limit && std::fabs(v[2]) < limit;
}

bool isUsableDirection(const cv::Vec3d& v) {
  return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]) &&
         (v[0] != 0 || v[1] != 0 || v[2] != 0);
}

/// \p v, or a multiple of it where products of its components could overflow.
cv::Vec3d withoutOverflow(const cv::Vec3d& v) {
  constexpr double kLong = 1e75;
  const double largest = std::fabs(v[largestComponent(v.val)]);
  return std::isfinite(largest) && largest > kLong ? v * (1.0 / largest) : v;
}

double inverseOrZero(double norm) { return norm == 0 ? 0.0 : 1.0 / norm; }

/// Orthogonal to \p n, spanned by its component of largest magnitude and one neighbour.
template <typename Scalar>
std::array<Scalar, 3> inPlaneOfTwo(const Scalar* n) {
  switch (largestComponent(n)) {
    case 0:
      return {-n[1] / n[0], 1, 0};
    case 1:
      return {1, -n[0] / n[1], 0};
    default:
      return {1, 0, -n[0] / n[2]};
  }
}

/// Quarter turns call each other until two vectors are no longer parallel; vectors too short to
/// ever pass that test would go on without end.
std::optional<cv::Matx33d> rotationBetween(const cv::Vec3d& from, const cv::Vec3d& to, int depth) {
  if (!isUsableDirection(from) || !isUsableDirection(to)) return std::nullopt;
  const cv::Vec3d cross = from.cross(to);
  if (allBelow(cross, kParallelCross)) {
    if (depth >= kMaxQuarterTurns) return std::nullopt;
    const cv::Vec3d h = auxiliaryVector(from);
    const auto first = rotationBetween(from, h, depth + 1);
    const auto second = rotationBetween(h, to, depth + 1);
    if (!first || !second) return std::nullopt;
    return *second * *first;
  }
  const double cosine = from.dot(to) / (cv::norm(from) * cv::norm(to));
  // Rounding can push the cosine of long vectors past 1.
  const double sine = std::sqrt(std::max(0.0, 1.0 - cosine * cosine));
  return rodrigues(cross * (1.0 / cv::norm(cross)), cosine, sine);
}

Rigid rigidFrom(const cv::Matx33d& r, const cv::Vec3d& t) {
  return {r(0, 0), r(0, 1), r(0, 2), t[0], r(1, 0), r(1, 1), r(1, 2), t[1],
          r(2, 0), r(2, 1), r(2, 2), t[2], 0,       0,       0,       1};
}

Rigid fromMatx(const cv::Matx44d& m) {
  Rigid out;
  std::copy(m.val, m.val + 16, out.begin());
  return out;
}

/// T^-1 D T with T the map into the frame (d along z) at \p point and D a diagonal of signs.
std::optional<Rigid> symmetryInFrame(const cv::Point3d& point, const cv::Vec3d& d,
                                     const cv::Vec4d& signs) {
  if (!isUsableDirection(d)) return std::nullopt;
  const cv::Vec3d h = unitOrZero(auxiliaryVector(d));
  const cv::Vec3d g = unitOrZero(d.cross(h));
  const PlaneTriple target = PlaneTriple::through({0, 0, 0}, {0, 0, 1}, {1, 0, 0}, {0, 1, 0});
  const auto t =
      alignByPlanes(target, PlaneTriple::through(point, d, h, g), OppositeCross::AboutFirstNormal);
  if (!t) return std::nullopt;
  const cv::Matx44d map(t->data());
  return fromMatx(map.inv() * cv::Matx44d::diag(signs) * map);
}

}  // namespace

cv::Vec3d unitOrZero(const cv::Vec3d& v) { return v * inverseOrZero(cv::norm(v)); }

std::optional<cv::Mat> intersectionOfPlanes(const cv::Vec3d* normals, const cv::Point3d* points) {
  cv::Mat a(3, 3, CV_64F);
  cv::Mat b(3, 1, CV_64F);
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) a.at<double>(i, j) = normals[i][j];
    b.at<double>(i) = normals[i].dot(cv::Vec3d(points[i].x, points[i].y, points[i].z));
  }
  const double determinant = cv::determinant(a);
  if (std::isnan(determinant)) return std::nullopt;
  if (determinant > -kSinglePointDeterminant && determinant < kSinglePointDeterminant) {
    return std::nullopt;
  }
  return cv::Mat(a.inv() * b);
}

cv::Vec3d auxiliaryVector(const cv::Vec3d& v) {
  switch (largestComponent(v.val)) {
    case 0:
      return {-(v[1] + v[2]) / v[0], 1, 1};
    case 1:
      return {1, -(v[0] + v[2]) / v[1], 1};
    default:
      return {1, 1, -(v[0] + v[1]) / v[2]};
  }
}

std::array<float, 3> perpendicularTo(const float* n) {
  const auto v = inPlaneOfTwo(n);
  const double scale = inverseOrZero(cv::norm(cv::Vec3d(v[0], v[1], v[2])));
  return {static_cast<float>(v[0] * scale), static_cast<float>(v[1] * scale),
          static_cast<float>(v[2] * scale)};
}

cv::Vec3d perpendicularTo(const cv::Vec3d& n) {
  const auto v = inPlaneOfTwo(n.val);
  return unitOrZero({v[0], v[1], v[2]});
}

cv::Matx33d rodrigues(const cv::Vec3d& u, double cosine, double sine) {
  const double rest = 1 - cosine;
  return {u[0] * u[0] * rest + cosine,      u[0] * u[1] * rest - u[2] * sine,
          u[0] * u[2] * rest + u[1] * sine, u[0] * u[1] * rest + u[2] * sine,
          u[1] * u[1] * rest + cosine,      u[1] * u[2] * rest - u[0] * sine,
          u[0] * u[2] * rest - u[1] * sine, u[1] * u[2] * rest + u[0] * sine,
          u[2] * u[2] * rest + cosine};
}

cv::Matx33d rotationAbout(const cv::Vec3d& axis, double angle) {
  return rodrigues(unitOrZero(axis), std::cos(angle), std::sin(angle));
}

double inRadians(double angle, bool degrees) { return degrees ? angle * CV_PI / 180.0 : angle; }

cv::Matx33d rotationBetween(const cv::Vec3d& from, const cv::Vec3d& to) {
  return rotationBetween(withoutOverflow(from), withoutOverflow(to), 0)
      .value_or(cv::Matx33d::eye());
}

std::optional<Rigid> alignByPlanes(const PlaneTriple& target, const PlaneTriple& source,
                                   OppositeCross rule, AlignTrace* trace) {
  const auto source_point = intersectionOfPlanes(source.normals.data(), source.points.data());
  const cv::Matx33d r1 = rotationBetween(source.normals[0], target.normals[0]);
  const cv::Vec3d b0 = r1 * source.normals[0];
  const cv::Vec3d b1 = r1 * source.normals[1];
  const cv::Vec3d target_cross = target.normals[0].cross(target.normals[1]);
  const cv::Vec3d source_cross = b0.cross(b1);
  cv::Matx33d r2;
  if (rule == OppositeCross::AboutFirstNormal &&
      allBelow(source_cross.cross(target_cross), kParallelCross)) {
    r2 = source_cross.dot(target_cross) >= 0 ? cv::Matx33d::eye() : rotationAbout(b0, CV_PI);
  } else {
    r2 = rotationBetween(source_cross, target_cross);
  }
  const cv::Matx33d r = r2 * r1;
  if (trace != nullptr) *trace = {r1, r2, r};
  const cv::Vec3d rotated[3] = {r * source.normals[0], r * source.normals[1],
                                r * source.normals[2]};
  const auto target_point = intersectionOfPlanes(rotated, target.points.data());
  if (!source_point || !target_point) return std::nullopt;
  const cv::Vec3d p(target_point->ptr<double>());
  const cv::Vec3d s(source_point->ptr<double>());
  return rigidFrom(r, p - r * s);
}

std::optional<Rigid> worldToFrame(const cv::Point3d& origin, const cv::Vec3d& x, const cv::Vec3d& y,
                                  const cv::Vec3d& z, OppositeCross rule) {
  const PlaneTriple world = PlaneTriple::through({0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1});
  return alignByPlanes(world, PlaneTriple::through(origin, x, y, z), rule);
}

Rigid rigidInverse(const double* m) {
  const cv::Matx33d transposed(m[0], m[4], m[8], m[1], m[5], m[9], m[2], m[6], m[10]);
  return rigidFrom(transposed, -(transposed * cv::Vec3d(m[3], m[7], m[11])));
}

cv::Point3d transformPoint(const Rigid& m, const cv::Point3d& p) {
  return {m[0] * p.x + m[1] * p.y + m[2] * p.z + m[3], m[4] * p.x + m[5] * p.y + m[6] * p.z + m[7],
          m[8] * p.x + m[9] * p.y + m[10] * p.z + m[11]};
}

cv::Vec3d rotateDirection(const Rigid& m, const cv::Vec3d& v) {
  return {m[0] * v[0] + m[1] * v[1] + m[2] * v[2], m[4] * v[0] + m[5] * v[1] + m[6] * v[2],
          m[8] * v[0] + m[9] * v[1] + m[10] * v[2]};
}

cv::Point3f projectOnPlane(const float* point, const double* plane) {
  const double x = point[0];
  const double y = point[1];
  const double z = point[2];
  const double e = plane[0] * x + plane[1] * y + plane[2] * z + plane[3];
  return {static_cast<float>(x - e * plane[0]), static_cast<float>(y - e * plane[1]),
          static_cast<float>(z - e * plane[2])};
}

void projectOnPlane(const PointView& points, const double* plane, std::vector<cv::Point3f>& out) {
  std::vector<cv::Point3f> projected(static_cast<std::size_t>(points.count()));
  for (int i = 0; i < points.count(); ++i) {
    projected[static_cast<std::size_t>(i)] = projectOnPlane(points.at(i), plane);
  }
  out = std::move(projected);
}

std::optional<Rigid> lineSymmetry(const cv::Point3d& point, const cv::Vec3d& direction) {
  return symmetryInFrame(point, direction, {-1, -1, 1, 1});
}

std::optional<Rigid> planeSymmetry(const cv::Point3d& point, const cv::Vec3d& normal) {
  return symmetryInFrame(point, normal, {1, 1, -1, 1});
}

Rigid pointSymmetry(const cv::Point3d& p) {
  return {-1, 0, 0, 2 * p.x, 0, -1, 0, 2 * p.y, 0, 0, -1, 2 * p.z, 0, 0, 0, 1};
}

}  // namespace zelmo::internal
