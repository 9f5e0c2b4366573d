// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <random>

#include <opencv2/core/types.hpp>

namespace zelmo::test {

/// Vectors of long double, in which oracles are evaluated.
using Real = long double;

/// How far two numbers lie apart; NaN compares with no bound.
inline Real gap(Real a, Real b) { return std::fabs(a - b); }

struct Vec {
  Real x = 0, y = 0, z = 0;

  Vec() = default;
  Vec(Real x_, Real y_, Real z_) : x(x_), y(y_), z(z_) {}
  template <typename Scalar>
  explicit Vec(const Scalar* p) : x(p[0]), y(p[1]), z(p[2]) {}
  explicit Vec(const cv::Point3f& p) : x(p.x), y(p.y), z(p.z) {}

  friend Vec operator+(const Vec& a, const Vec& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
  friend Vec operator-(const Vec& a, const Vec& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
  friend Vec operator*(const Vec& a, Real s) { return {a.x * s, a.y * s, a.z * s}; }
  Real dot(const Vec& b) const { return x * b.x + y * b.y + z * b.z; }
  Vec cross(const Vec& b) const {
    return {y * b.z - z * b.y, z * b.x - x * b.z, x * b.y - y * b.x};
  }
  Real norm() const { return std::sqrt(dot(*this)); }
  Vec unit() const { return *this * (1 / norm()); }

  cv::Point3f rounded() const {
    return {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
  }
  template <typename Scalar>
  void copyTo(Scalar* out) const {
    out[0] = static_cast<Scalar>(x);
    out[1] = static_cast<Scalar>(y);
    out[2] = static_cast<Scalar>(z);
  }
};

/// Seeded random geometry.
class RandomGeometry {
 public:
  explicit RandomGeometry(unsigned seed) : m_random(seed) {}

  Real number(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(m_random);
  }
  int integer(int low, int high) { return std::uniform_int_distribution<int>(low, high)(m_random); }
  Vec point(double reach) {
    const Real x = number(-reach, reach);
    const Real y = number(-reach, reach);
    return {x, y, number(-reach, reach)};
  }
  Vec direction() {
    Vec v;
    do v = point(1);
    while (v.norm() > 1 || v.norm() < 0.1L);
    return v.unit();
  }
  Vec directionSquareTo(const Vec& v) { return v.cross(direction()).unit(); }

 private:
  std::mt19937 m_random;
};

}  // namespace zelmo::test
