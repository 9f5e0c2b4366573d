// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include <opencv2/core/matx.hpp>

#include "byte_source.h"

namespace zelmo::fuzz {

/// What the points of an input lie on.
enum class Lie { Anywhere, Plane, Sphere, Cylinder, Cone, Circle, Stadium, Rectangle, kCount };

/// Points with normals. Both arrays are exactly as long as count says, so that a sanitizer sees every
/// step past them.
struct MeasuredPoints {
  int count = 0;
  std::vector<float> points, normals;
};

namespace detail {

/// A direction that is never zero, from two bytes.
inline cv::Vec3d direction(ByteSource& bytes) {
  const double polar = bytes.byte() * (CV_PI / 255), turn = bytes.byte() * (CV_2PI / 256);
  return {std::sin(polar) * std::cos(turn), std::sin(polar) * std::sin(turn), std::cos(polar)};
}

/// Position and normal in the shape's own frame for two parameters in 0 to 1.
inline void onShape(Lie lie, double u, double v, double size, cv::Vec3d& p, cv::Vec3d& n) {
  const double turn = CV_2PI * u, c = std::cos(turn), s = std::sin(turn);
  switch (lie) {
    case Lie::Sphere: {
      const double z = 2 * v - 1, r = std::sqrt(1 - z * z);
      n = {r * c, r * s, z};
      p = size * n;
      break;
    }
    case Lie::Cylinder:
      n = {c, s, 0};
      p = {size * c, size * s, 2 * size * v};
      break;
    case Lie::Cone:
      n = cv::Vec3d(c, s, 0.5) / std::sqrt(1.25);
      p = {size * c * (1 - v / 2), size * s * (1 - v / 2), size * v};
      break;
    case Lie::Circle:
      n = {0, 0, 1};
      p = {size * c, size * s, 0};
      break;
    case Lie::Stadium:
      n = {0, 0, 1};
      p = {size * c + (c > 0 ? size : -size), size * s, 0};
      break;
    case Lie::Rectangle: {
      const double along = std::clamp(2 * c, -1.0, 1.0), across = std::clamp(2 * s, -1.0, 1.0);
      n = {0, 0, 1};
      p = {2 * size * along, size * across, 0};
      break;
    }
    default:
      n = {0, 0, 1};
      p = {size * (2 * u - 1), size * (2 * v - 1), 0};
  }
}

}  // namespace detail

/// Points on a shape in some pose, moved off it by what the bytes say, or numbers as they come.
/// Returns no point below 0, but hands the negative count on.
inline MeasuredPoints measuredPoints(ByteSource& bytes, int most) {
  MeasuredPoints out;
  const auto lie = static_cast<Lie>(bytes.below(static_cast<int>(Lie::kCount)));
  bytes.chooseNumbers();
  out.count = bytes.count(most);
  if (lie == Lie::Anywhere) {
    out.points = bytes.reals(3 * std::max(out.count, 0));
    out.normals = bytes.reals(3 * std::max(out.count, 0));
    return out;
  }
  const cv::Vec3d z = detail::direction(bytes);
  cv::Vec3d x = z.cross(detail::direction(bytes));
  x = cv::norm(x) > 1e-3 ? x / cv::norm(x) : cv::normalize(z.cross(cv::Vec3d(z[1], z[2], -z[0])));
  const cv::Vec3d y = z.cross(x);
  const double size = 0.5 + bytes.byte();
  const cv::Vec3d origin(bytes.real(), bytes.real(), bytes.real());
  const bool is_exact = bytes.flag(), turns_normals = bytes.flag();
  for (int i = 0; i < out.count; ++i) {
    // The golden ratio spreads points without a byte; an off byte moves one of them away.
    const double u = std::fmod(i * 0.61803398875, 1.0), v = (i + 0.5) / out.count;
    cv::Vec3d p, n;
    detail::onShape(lie, u, v, size, p, n);
    const double off = is_exact ? 0 : (bytes.byte() - 128) / 1000.0;
    p += off * n;
    const double side = turns_normals ? -1 : 1;
    for (int k = 0; k < 3; ++k) {
      out.points.push_back(static_cast<float>(origin[k] + p[0] * x[k] + p[1] * y[k] + p[2] * z[k]));
      out.normals.push_back(static_cast<float>(side * (n[0] * x[k] + n[1] * y[k] + n[2] * z[k])));
    }
  }
  // What is left of the input spoils single numbers.
  while (bytes.left() > 1 && !out.points.empty()) {
    const std::size_t at = bytes.byte() % out.points.size();
    (bytes.flag() ? out.points : out.normals)[at] = bytes.real();
  }
  out.points.shrink_to_fit();
  out.normals.shrink_to_fit();
  return out;
}

}  // namespace zelmo::fuzz
