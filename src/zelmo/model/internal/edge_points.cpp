// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/model/internal/edge_points.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "zelmo/model/internal/occ_vectors.h"

namespace zelmo::internal {

using xmodelfeature::XFCircle3D;
using xmodelfeature::XFPoint;

namespace {

constexpr double kChordError = 0.05;
constexpr double kSmallCircle = 0.05;      // radius below which the chord error shrinks with it
constexpr double kSmallCirclePart = 0.25;  // of its radius
constexpr double kFewestChords = 4;
constexpr double kMostChords = 1 << 20;  // a circle of kilometres would fill the memory
constexpr double kShortestSquared = 0.05 * 0.05;
constexpr int kLastPoint = 128;

XFPoint toPoint(const gp_Pnt& p) {
  return {static_cast<float>(p.X()), static_cast<float>(p.Y()), static_cast<float>(p.Z())};
}

double angleBetween(const gp_XYZ& a, const gp_XYZ& b) {
  const double cosine = a.Dot(b);
  if (std::fabs(cosine) < 1.0) return std::acos(cosine);
  // CONTRACT: degrees among radians, so that a true half arc gets a large count of points.
  return cosine < 1.0 ? 180.0 : 0.0;
}

int chordCount(const EdgeCurve& edge, const XFCircle3D& circle) {
  const double radius = circle.radius;
  const double error = radius < kSmallCircle ? radius * kSmallCirclePart : kChordError;
  const double half_step = std::acos(1.0 - error / radius);
  const gp_XYZ center(circle.center[0], circle.center[1], circle.center[2]);
  const gp_XYZ to_start = softUnit(edge.start().XYZ() - center);
  const gp_XYZ to_end = softUnit(edge.end().XYZ() - center);
  const gp_XYZ to_middle = softUnit(edge.middle().XYZ() - center);
  const double angle = angleBetween(to_start, to_middle) + angleBetween(to_end, to_middle);
  const double chords = std::floor(angle / (2.0 * half_step) + 1.0);
  // A point circle has no step at all.
  if (std::isnan(chords)) return static_cast<int>(kFewestChords);
  return static_cast<int>(std::clamp(chords, kFewestChords, kMostChords));
}

/// Halves an edge until the middle of a piece lies near its chord.
class Refinement {
 public:
  explicit Refinement(const EdgeCurve& edge) : m_edge(edge) {
    set(0, edge.start());
    set(kLastPoint, edge.end());
    refine(edge.first, edge.last, edge.start(), edge.end(), 0, kLastPoint);
  }

  std::vector<XFPoint> points() const {
    std::vector<XFPoint> out;
    for (std::size_t i = 0; i < m_points.size(); ++i) {
      if (m_is_set[i]) out.push_back(m_points[i]);
    }
    return out;
  }

 private:
  void set(int i, const gp_Pnt& p) {
    m_points[static_cast<std::size_t>(i)] = toPoint(p);
    m_is_set[static_cast<std::size_t>(i)] = true;
  }

  // NOLINTNEXTLINE(misc-no-recursion): seven deep at most
  void refine(double t0, double t1, const gp_Pnt& p0, const gp_Pnt& p1, int i0, int i1) {
    const int m = (i0 + i1) / 2;
    if (m <= i0 || m >= i1) return;
    if (p0.SquareDistance(p1) < kShortestSquared) return;
    const double tm = (t0 + t1) * 0.5;
    const gp_Pnt pm = m_edge.at(tm);
    if (p0.SquareDistance(pm) < kShortestSquared) return;
    gp_XYZ chord = p1.XYZ() - p0.XYZ();
    chord.Normalize();
    const gp_XYZ offset = pm.XYZ() - p0.XYZ();
    const gp_XYZ off_chord = offset - chord * offset.Dot(chord);
    if (off_chord.SquareModulus() < kShortestSquared) return;
    set(m, pm);
    refine(t0, tm, p0, pm, i0, m);
    refine(tm, t1, pm, p1, m, i1);
  }

  const EdgeCurve& m_edge;
  std::array<XFPoint, kLastPoint + 1> m_points;
  std::array<bool, kLastPoint + 1> m_is_set{};
};

}  // namespace

std::vector<XFPoint> circlePoints(const EdgeCurve& edge, const XFCircle3D& circle) {
  const int chords = chordCount(edge, circle);
  std::vector<XFPoint> points;
  points.reserve(static_cast<std::size_t>(chords) + 1);
  for (int i = 0; i <= chords; ++i) {
    points.push_back(toPoint(edge.at(edge.first + i * (edge.last - edge.first) / chords)));
  }
  return points;
}

std::vector<XFPoint> refinedPoints(const EdgeCurve& edge) { return Refinement(edge).points(); }

}  // namespace zelmo::internal
