// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/mesh/internal/curve_outline.h"

#include <algorithm>

#include "zelmo/feature/frame_toolkit.h"

namespace zelmo::internal {
namespace {

constexpr double kVertical = 0.001;    // span in x below which a segment has no slope
constexpr double kBoxRounding = 1e-6;  // a crossing at the very end of a segment counts
constexpr double kArcOverlap = 0.001;  // how far an arc's circle is followed past its half

/// The crossing of one segment, part by part.
class SlotCrossing {
 public:
  SlotCrossing(double half_straight, double radius, const float* from, const float* to)
      : m_half(half_straight),
        m_radius(radius),
        m_from(from[0], from[1]),
        m_to(to[0], to[1]),
        m_vertical(std::fabs(m_to[0] - m_from[0]) < kVertical) {
    if (m_vertical) {
      m_from[0] = m_to[0] = (m_from[0] + m_to[0]) / 2;
    } else {
      m_slope = (m_to[1] - m_from[1]) / (m_to[0] - m_from[0]);
      m_intercept = m_from[1] - m_slope * m_from[0];
    }
  }

  bool meetsSide(double y) {
    const double x = m_vertical ? m_from[0] : (y - m_intercept) / m_slope;
    return std::fabs(x) <= m_half && accept(x, y);
  }

  /// \param[in] sign -1 for the arc at -half_straight, 1 for the other
  bool meetsArc(int sign) {
    const double center = sign * m_half;
    if (m_vertical) {
      const double x = m_from[0];
      const double square = m_radius * m_radius - (x - center) * (x - center);
      if (!(square > 0)) return false;
      const double y = std::sqrt(square);
      return acceptOnArc(x, y, sign) || acceptOnArc(x, -y, sign);
    }
    const double a = 1 + m_slope * m_slope;
    const double b = 2 * (m_slope * m_intercept - center);
    const double c = center * center + m_intercept * m_intercept - m_radius * m_radius;
    const double discriminant = b * b - 4 * a * c;
    if (!(discriminant > 0)) return false;
    const double root = std::sqrt(discriminant);
    const double x1 = (-b + root) / (2 * a);
    const double x2 = (-b - root) / (2 * a);
    return acceptOnArc(x1, m_slope * x1 + m_intercept, sign) ||
           acceptOnArc(x2, m_slope * x2 + m_intercept, sign);
  }

  void write(float* out) const {
    out[0] = static_cast<float>(m_found[0]);
    out[1] = static_cast<float>(m_found[1]);
  }

 private:
  bool isInBox(int k, double value) const {
    return value >= std::min(m_from[k], m_to[k]) - kBoxRounding &&
           value <= std::max(m_from[k], m_to[k]) + kBoxRounding;
  }
  bool accept(double x, double y) {
    if (!isInBox(0, x) || !isInBox(1, y)) return false;
    m_found = {x, y};
    return true;
  }
  /// The other half of the arc's circle runs inside the slot and is no part of the outline.
  bool acceptOnArc(double x, double y, int sign) {
    return sign * x >= m_half - kArcOverlap && accept(x, y);
  }

  double m_half, m_radius;
  cv::Vec2d m_from, m_to, m_found;
  bool m_vertical;
  double m_slope = 0, m_intercept = 0;
};

}  // namespace

int crossCircle(const float* center, double radius, const float* start, const float* end,
                float* out) {
  constexpr double kSamePoint = 1e-6;
  const cv::Vec3d c(center[0], center[1], center[2]);
  const cv::Vec3d a(start[0], start[1], start[2]);
  const cv::Vec3d offset = a - c;
  if (std::fabs(offset[0]) < kSamePoint && std::fabs(offset[1]) < kSamePoint &&
      std::fabs(offset[2]) < kSamePoint) {
    return kStartsAtCenter;
  }
  const cv::Vec3d e = unitOrZero(cv::Vec3d(end[0], end[1], end[2]) - a);
  const cv::Vec3d foot = a - e * offset.dot(e);
  const cv::Vec3d to_foot = foot - c;
  const double half_chord_square = radius * radius - to_foot.dot(to_foot);
  if (0 > half_chord_square) return kPassesBy;
  const double s = cv::norm(a - foot) - std::sqrt(half_chord_square);
  for (int k = 0; k < 3; ++k) out[k] = static_cast<float>(a[k] + e[k] * s);
  return kCrossed;
}

char crossSlot(double half_straight, double radius, const float* from, const float* to,
               float* out) {
  SlotCrossing crossing(half_straight, radius, from, to);
  char part = kNoPart;
  if (crossing.meetsSide(radius)) {
    part = kSideAtPlus;
  } else if (crossing.meetsSide(-radius)) {
    part = kSideAtMinus;
  } else if (crossing.meetsArc(-1)) {
    part = kArcAtMinus;
  } else if (crossing.meetsArc(1)) {
    part = kArcAtPlus;
  }
  if (part != kNoPart) crossing.write(out);
  return part;
}

bool junctionBetween(char part, char other, double half_straight, double radius,
                     cv::Vec2f& junction) {
  const char arc = std::min(part, other);
  const char side = std::max(part, other);
  const bool joined =
      (arc == kArcAtMinus || arc == kArcAtPlus) && (side == kSideAtPlus || side == kSideAtMinus);
  if (!joined) return false;
  junction = {static_cast<float>(arc == kArcAtMinus ? -half_straight : half_straight),
              static_cast<float>(side == kSideAtPlus ? radius : -radius)};
  return true;
}

}  // namespace zelmo::internal
