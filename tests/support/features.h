// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <functional>
#include <vector>

#include <opencv2/core/types.hpp>

#include "support/least_squares.h"

/// \file
/// The six ideal features in long double: their points, their residuals, their fits by least squares.

namespace zelmo::test {

enum class Kind { Plane, Line, Sphere, Cylinder, Cone, Circle };

/// Of every kind seven numbers: a point, a direction, a size, which is a radius or half an angle.
using Params = std::vector<Real>;
using Points = std::vector<cv::Point3f>;

const Vec kX = {0.8L, 0.0L, -0.6L};
const Vec kY = {0.36L, 0.8L, 0.48L};
const Vec kZ = kX.cross(kY);
constexpr Real kHalfAngle = 0.1L;

inline Params paramsOf(const Vec& point, const Vec& direction, Real size = 0) {
  return {point.x, point.y, point.z, direction.x, direction.y, direction.z, size};
}
inline Vec directionOf(const Params& p) { return Vec(&p[3]).unit(); }

/// Of a point. A line and a circle have two residuals a point, as they have two directions across.
inline Real residualOf(Kind kind, const Params& p, const Vec& point, int which = 0) {
  const Vec q = point - Vec(p.data());
  const Vec u = directionOf(p);
  const Real across = q.cross(u).norm();
  switch (kind) {
    case Kind::Plane:
      return q.dot(u);
    case Kind::Line: {
      const Vec n = (kY - u * u.dot(kY)).unit();
      return q.dot(which == 0 ? n : u.cross(n));
    }
    case Kind::Sphere:
      return q.norm() - p[6];
    case Kind::Cylinder:
      return across - p[6];
    case Kind::Cone:
      return across - std::fabs(q.dot(u)) * std::tan(p[6]);
    default:
      return which == 0 ? across - p[6] : q.dot(u);
  }
}

/// Along which the residual of a point grows.
inline Vec normalAt(Kind kind, const Params& p, const Vec& point) {
  constexpr Real kStep = 1e-5L;
  const auto along = [&](const Vec& step) {
    return (residualOf(kind, p, point + step) - residualOf(kind, p, point - step)) / (2 * kStep);
  };
  return Vec(along({kStep, 0, 0}), along({0, kStep, 0}), along({0, 0, kStep})).unit();
}

/// The feature of least squares near \p start.
inline Params solved(Kind kind, const Params& start, const Points& points) {
  const int each = kind == Kind::Line || kind == Kind::Circle ? 2 : 1;
  return leastSquares(start, each * static_cast<int>(points.size()), [&](const Params& p, int i) {
    return residualOf(kind, p, Vec(points[static_cast<std::size_t>(i / each)]), i % each);
  });
}

/// The circle around \p start in the plane that stays, by any residual of distance from the center
/// and radius.
template <typename Residual>
Params solvedInPlane(const Params& start, const Points& points, Residual residual) {
  const Vec u = directionOf(start);
  const Vec x = u.cross({0.3L, 0.5L, 0.8L}).unit();
  const auto centerAt = [&](const Params& p) {
    return Vec(start.data()) + x * p[0] + u.cross(x) * p[1];
  };
  const auto flat =
      leastSquares({0, 0, start[6]}, static_cast<int>(points.size()), [&](const Params& p, int i) {
        const Vec q = Vec(points[static_cast<std::size_t>(i)]) - centerAt(p);
        return residual(q.cross(u).norm(), p[2]);
      });
  return paramsOf(centerAt(flat), u, flat[2]);
}

inline Vec middleOf(const Points& points) {
  Vec sum;
  for (const auto& p : points) sum = sum + Vec(p);
  return sum * (Real{1} / static_cast<Real>(points.size()));
}

/// How far two features lie apart near \p middle: the larger of place and size, and of the
/// directions and half angles.
struct Apart {
  Real length = 0, angle = 0;
};

inline Apart apart(Kind kind, const Params& f, const Params& g, const Vec& middle) {
  const Vec u = directionOf(f), v = directionOf(g);
  const Vec from_f = middle - Vec(f.data()), from_g = middle - Vec(g.data());
  const Real along_f = from_f.dot(u), along_g = from_g.dot(v);
  Apart a{((from_f - u * along_f) - (from_g - v * along_g)).norm(), u.cross(v).norm()};
  if (kind == Kind::Plane) a.length = gap(along_g, u.dot(v) < 0 ? -along_f : along_f);
  if (kind == Kind::Sphere || kind == Kind::Circle) a.length = (from_f - from_g).norm();
  if (kind == Kind::Sphere) a.angle = 0;
  Real size = gap(f[6], g[6]);
  if (kind == Kind::Cone) {  // a negative angle and one beyond a right angle: the same cone
    const Real slope_f = std::fabs(std::tan(f[6])), slope_g = std::fabs(std::tan(g[6]));
    a.angle = std::max(a.angle, gap(std::atan(slope_f), std::atan(slope_g)));
    size = gap(std::fabs(along_f) * slope_f, std::fabs(along_g) * slope_g);
  }
  a.length = std::max(a.length, size);
  return a;
}

inline Vec inSpace(const Vec& local, Real size, const Vec& origin) {
  return origin + (kX * local.x + kY * local.y + kZ * local.z) * size;
}

/// The feature at \p size, its point at \p origin.
inline Params nominalOf(Kind kind, Real size, const Vec& origin) {
  const bool has_radius = kind != Kind::Plane && kind != Kind::Line;
  return paramsOf(origin, kZ, kind == Kind::Cone ? kHalfAngle : has_radius ? size : 0);
}

/// Points of that feature, each off it by what \p off gives; all around, or a share of it.
inline Points scanOf(RandomGeometry& random, Kind kind, int count, Real size, const Vec& origin,
                     const std::function<Real(int)>& off, double share = 1) {
  Points points;
  for (int i = 0; i < count; ++i) {
    const Real u = random.number(0, 1), v = random.number(0, 1) * static_cast<Real>(share);
    const Real e = off(i) / size;
    const auto around = [&](Real across, Real along) -> Vec {
      return {across * std::cos(6.2L * v), across * std::sin(6.2L * v), along};
    };
    const Real polar = 3 * u * static_cast<Real>(share), height = 1 + 4 * u;
    const Vec local =
        kind == Kind::Plane    ? Vec(4 * u, 3 * v, e)
        : kind == Kind::Line   ? Vec(0, e, 4 * u)  // off along y only: there is its first residual
        : kind == Kind::Sphere ? around((1 + e) * std::sin(polar), (1 + e) * std::cos(polar))
        : kind == Kind::Cone   ? around(height * std::tan(kHalfAngle) + e, height)
                               : around(1 + e, kind == Kind::Cylinder ? 4 * u : 0);
    points.push_back(inSpace(local, size, origin).rounded());
  }
  return points;
}

}  // namespace zelmo::test
