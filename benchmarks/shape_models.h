// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>

/// \file
/// Distances of a point from the shapes, over doubles for plain loops and over Jets for Ceres. The
/// parameters are those of the library's fits.

namespace zelmo::bench {

/// a, b, c, d, of any scale.
template <typename T>
struct PlaneModel {
  T q[4];
  explicit PlaneModel(const T* p) {
    using std::sqrt;
    const T scale = 1.0 / sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
    for (int i = 0; i < 4; ++i) q[i] = p[i] * scale;
  }
  T operator()(const float* x) const {
    return q[0] * double(x[0]) + q[1] * double(x[1]) + q[2] * double(x[2]) + q[3];
  }
};

/// Center and radius.
template <typename T>
struct SphereModel {
  T q[4];
  explicit SphereModel(const T* p) : q{p[0], p[1], p[2], p[3]} {}
  T operator()(const float* x) const {
    using std::sqrt;
    const T a = double(x[0]) - q[0];
    const T b = double(x[1]) - q[1];
    const T c = double(x[2]) - q[2];
    return sqrt(a * a + b * b + c * c) - q[3];
  }
};

/// Point and direction of an axis, then radius or half angle. Near the point the distance counts as 0.
template <typename T, bool kCone>
struct RoundModel {
  T o[3], u[3], size;
  explicit RoundModel(const T* p) : o{p[0], p[1], p[2]}, size(p[6]) {
    using std::sqrt;
    using std::tan;
    const T length = sqrt(p[3] * p[3] + p[4] * p[4] + p[5] * p[5]);
    for (int k = 0; k < 3; ++k) u[k] = p[3 + k] / length;
    if (kCone) size = tan(size);
  }
  T operator()(const float* x) const {
    using std::abs;
    using std::sqrt;
    const T a = double(x[0]) - o[0];
    const T b = double(x[1]) - o[1];
    const T c = double(x[2]) - o[2];
    if (abs(a) < 0.01 && abs(b) < 0.01 && abs(c) < 0.01) return size;
    const T s = b * u[2] - c * u[1];
    const T t = c * u[0] - a * u[2];
    const T w = a * u[1] - b * u[0];
    const T radius = kCone ? abs(a * u[0] + b * u[1] + c * u[2]) * size : size;
    return sqrt(s * s + t * t + w * w) - radius;
  }
};
template <typename T>
using CylinderModel = RoundModel<T, false>;
template <typename T>
using ConeModel = RoundModel<T, true>;

/// Center and radius in a plane.
template <typename T>
struct CircleModel {
  T q[3];
  explicit CircleModel(const T* p) : q{p[0], p[1], p[2]} {}
  T operator()(const float* x) const {
    using std::sqrt;
    const T a = double(x[0]) - q[0];
    const T b = double(x[1]) - q[1];
    return sqrt(a * a + b * b) - q[2];
  }
};

}  // namespace zelmo::bench
