// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>

#include "support/long_double_geometry.h"
#include "zelmo/feature/cone.h"
#include "zelmo/feature/line.h"
#include "zelmo/feature/plane.h"

namespace zelmo::test {

/// Three floats that stand in for an array.
struct Floats {
  float v[3];
  explicit Floats(const Vec& from) { from.copyTo(v); }
  operator const float*() const { return v; }  // NOLINT: an array converts by itself, too
};

inline Vec at(const xgeofeature::XFPoint& p) { return {p.x, p.y, p.z}; }
inline xgeofeature::XFPoint recordOf(const Vec& v) { return xgeofeature::XFPoint(Floats(v)); }

inline xgeofeature::XFLine3D2 randomLine(RandomGeometry& random) {
  return {Floats(random.point(50)), Floats(random.direction()),
          static_cast<float>(random.number(1, 60))};
}
inline xgeofeature::XFPlane randomPlane(RandomGeometry& random) {
  const Vec n = random.direction();
  return {Floats(random.point(50)), Floats(n), Floats(random.directionSquareTo(n)),
          static_cast<float>(random.number(1, 60)), static_cast<float>(random.number(1, 60))};
}

/// A line or plane as the array constructions take it.
using Six = std::array<float, 6>;

inline Six sixOf(const Vec& point, const Vec& direction) {
  Six six{};
  point.copyTo(six.data());
  direction.copyTo(six.data() + 3);
  return six;
}
inline Six sixOf(const xgeofeature::XFLine3D2& l) { return sixOf(Vec(l.center), Vec(l.dir)); }
inline Six sixOf(const xgeofeature::XFPlane& p) { return sixOf(Vec(p.center), Vec(p.normal)); }

/// The numbers of a cone by its apex, its axis and the tangent of its half angle.
inline std::vector<float> coneRow(const Vec& apex, const Vec& axis, Real tangent) {
  std::vector<float> row(16);
  apex.copyTo(row.data());
  axis.copyTo(row.data() + 3);
  row[6] = static_cast<float>(std::atan(tangent));
  return row;
}

inline Real fromPlane(const Vec& p, const xgeofeature::XFPlane& plane) {
  return (p - Vec(plane.center)).dot(Vec(plane.normal));
}
inline Real fromAxis(const Vec& p, const float* center, const float* axis) {
  return (p - Vec(center)).cross(Vec(axis)).norm();
}
inline Real fromLine(const Vec& p, const xgeofeature::XFLine3D2& line) {
  return fromAxis(p, line.center, line.dir);
}

}  // namespace zelmo::test
