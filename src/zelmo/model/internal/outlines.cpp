// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/model/internal/outlines.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <opencv2/core/matx.hpp>

#include "zelmo/feature/frame_toolkit.h"
#include "zelmo/feature/internal/record_math.h"
#include "zelmo/model/internal/edge_analysis.h"
#include "zelmo/model/internal/occ_vectors.h"

namespace zelmo::internal {

using namespace xmodelfeature;  // NOLINT(google-build-using-namespace): the records of the room

namespace {

constexpr double kSamePoint = 0.01;
constexpr double kSameRadius = 0.01;
constexpr double kSameOutline = 0.01;
constexpr double kRightAngleCosine = 0.0001;
constexpr double kZeroDirection = 1e-6;

constexpr std::size_t kRectangleEdges = 4;
constexpr std::size_t kFewestOvalEdges = 4;
constexpr std::size_t kMostOvalEdges = 6;
constexpr std::size_t kRoundEdges = 8;

// A pattern has a bit for each segment, 1 for an arc; the first segment is the highest bit.
constexpr unsigned kOvalArcFirst = 0b1010;
constexpr unsigned kOvalLineFirst = 0b0101;
constexpr unsigned kRoundArcFirst = 0xAA;
constexpr unsigned kRoundLineFirst = 0x55;

using Point = cv::Vec3f;

Point toPoint(const gp_Pnt& p) {
  return {static_cast<float>(p.X()), static_cast<float>(p.Y()), static_cast<float>(p.Z())};
}

double distanceOf(const Point& a, const Point& b) { return cv::norm(cv::Vec3d(a) - cv::Vec3d(b)); }

Point middleOf(const Point& a, const Point& b) { return (a + b) * 0.5F; }

bool areMatching(const Point& a, const Point& b) {
  for (int i = 0; i < 3; ++i) {
    const float difference = a[i] - b[i];
    if (!(std::fabs(static_cast<double>(difference)) < kSamePoint)) return false;
  }
  return true;
}

/// Whether every side of a closed chain of four points is at a right angle to the next one. Sides of
/// no length count as such.
bool hasRightAngles(const std::array<Point, 4>& p) {
  std::array<cv::Vec3d, 4> sides;
  for (std::size_t i = 0; i < 4; ++i) {
    sides[i] = unitOrZero(cv::Vec3d(p[i]) - cv::Vec3d(p[(i + 1) % 4]));
  }
  for (std::size_t i = 0; i < 4; ++i) {
    if (!(std::fabs(sides[i].dot(sides[(i + 1) % 4])) < kRightAngleCosine)) return false;
  }
  return true;
}

void store(const cv::Vec3d& v, float (&out)[3]) {
  for (int i = 0; i < 3; ++i) out[i] = static_cast<float>(v[i]);
}

/// One edge of a wire in the direction of the walk.
struct WalkedEdge {
  TopoDS_Edge edge;
  EdgeCurve curve;
  bool is_reversed;

  Point start() const { return toPoint(is_reversed ? curve.end() : curve.start()); }
  Point end() const { return toPoint(is_reversed ? curve.start() : curve.end()); }
  Point middle() const { return toPoint(curve.middle()); }
};

/// The edges of \p wire in the order of the walk. Nothing when there are more than \p most or one of
/// them has no curve in space.
std::optional<std::vector<WalkedEdge>> walkEdges(const TopoDS_Wire& wire, std::size_t most) {
  std::vector<WalkedEdge> edges;
  if (wire.IsNull()) return edges;
  for (TopExp_Explorer walk(TopoDS::Wire(wire), TopAbs_EDGE); walk.More(); walk.Next()) {
    if (edges.size() == most) return std::nullopt;
    const TopoDS_Edge& edge = TopoDS::Edge(walk.Current());
    edges.push_back({edge, EdgeCurve(edge), edge.Orientation() != TopAbs_FORWARD});
    if (edges.back().curve.isNull()) return std::nullopt;
  }
  return edges;
}

/// Radius and normal of an edge that is a circle or, told by the edge analysis, an arc of one.
struct Arc {
  double radius;
  std::array<float, 3> normal;
};

std::optional<Arc> arcOf(const WalkedEdge& walked) {
  if (walked.curve.isCircle()) {
    const gp_Circ circle = walked.curve.circle();
    const Point n = toPoint(gp_Pnt(circle.Axis().Direction().XYZ()));
    return Arc{circle.Radius(), {n[0], n[1], n[2]}};
  }
  std::vector<float> data;
  if (classifyEdge(walked.edge, data) != ModelCircle) return std::nullopt;
  const XFCircle3D circle(data);
  return Arc{circle.radius, {circle.normal[0], circle.normal[1], circle.normal[2]}};
}

/// \p v made unit; a vector shorter than 1e-6 stays as it is.
cv::Vec3d unitUnlessShort(const Point& v) {
  const double norm = cv::norm(cv::Vec3d(v));
  return cv::Vec3d(v) * (norm < kZeroDirection ? 1.0 : 1.0 / norm);
}

// ---- oval groove ------------------------------------------------------------------------------

/// A line, or an arc that was put together from its pieces.
struct Segment {
  Point start, end, middle;
};

/// The first pass over a slot's edges: joins the pieces of split arcs.
class OvalSegments {
 public:
  /// \return false when the edge can't belong to a slot
  bool add(const WalkedEdge& edge, float (&normal)[3]) {
    if (edge.curve.isLine()) {
      append(edge, 0U);
      m_previous_is_arc = false;
      return true;
    }
    const auto arc = arcOf(edge);
    if (!arc) return false;
    copyTriple(arc->normal.data(), normal);
    // Once the whole pattern stands, an arc can only be the tail of the one that the wire began in.
    const bool is_tail = m_pattern == kOvalArcFirst;
    if (!is_tail && !m_previous_is_arc) {
      m_radii[m_count / 2] = arc->radius;
      append(edge, 1U);
      m_previous_is_arc = true;
      return true;
    }
    return join(edge, arc->radius);
  }

  unsigned pattern() const { return m_pattern; }
  std::size_t count() const { return m_count; }
  const Segment& operator[](std::size_t i) const { return m_segments[i]; }
  double radius(std::size_t i) const { return m_radii[i]; }

 private:
  void append(const WalkedEdge& edge, unsigned bit) {
    m_pattern = 2U * m_pattern + bit;
    m_segments[m_count++] = {edge.start(), edge.end(), edge.middle()};
  }

  bool join(const WalkedEdge& edge, double radius) {
    const std::size_t target = m_previous_is_arc ? m_count - 1 : 0;
    // CONTRACT: a joined third segment is held against the radius of the first arc.
    const std::size_t reference = m_previous_is_arc && m_count >= 2 ? (m_count - 2) / 2 : 0;
    if (!(std::fabs(radius - m_radii[reference]) <= kSameRadius)) return false;
    const Point p = toPoint(edge.curve.start());
    const Point q = toPoint(edge.curve.end());
    const Segment s = m_segments[target];
    const auto near = [](const Point& a, const Point& b) { return distanceOf(a, b) < kSamePoint; };
    if (near(p, s.start)) {
      m_segments[target] = {q, s.end, p};
    } else if (near(p, s.end)) {
      m_segments[target] = {q, s.start, p};
    } else if (near(q, s.start)) {
      m_segments[target] = {p, s.end, q};
    } else if (near(q, s.end)) {
      m_segments[target] = {p, s.start, q};
    } else {
      return false;
    }
    return true;
  }

  std::array<Segment, kMostOvalEdges> m_segments{};
  std::array<double, kMostOvalEdges / 2> m_radii{};
  std::size_t m_count = 0;
  unsigned m_pattern = 0;
  bool m_previous_is_arc = false;
};

/// The points where the four segments meet; corner i + 1 lies between segments i and i + 1.
std::optional<std::array<Point, 4>> cornersOf(const OvalSegments& segments) {
  std::array<Point, 4> corners;
  for (std::size_t i = 0; i < 4; ++i) {
    const std::size_t j = (i + 1) % 4;
    const Segment& a = segments[i];
    const Segment& b = segments[j];
    if (areMatching(a.end, b.start) || areMatching(a.end, b.end)) {
      corners[j] = a.end;
    } else if (areMatching(a.start, b.start) || areMatching(a.start, b.end)) {
      corners[j] = a.start;
    } else {
      return std::nullopt;
    }
  }
  return corners;
}

/// Fills the slot from its corners and tells whether sizes and angles hold.
bool fillOvalGroove(const OvalSegments& segments, const std::array<Point, 4>& c,
                    XFOvalGroove3D& groove) {
  const bool arc_first = segments.pattern() == kOvalArcFirst;
  // The chord of one end, and that of the other one.
  const std::array<Point, 4> ends = arc_first ? std::array<Point, 4>{c[0], c[1], c[2], c[3]}
                                              : std::array<Point, 4>{c[3], c[0], c[2], c[1]};
  const Point a = middleOf(ends[0], ends[1]);
  const Point b = middleOf(ends[2], ends[3]);
  groove.radius =
      static_cast<float>((arc_first ? distanceOf(c[0], c[1]) : distanceOf(c[2], c[1])) * 0.5);
  const std::size_t arc = arc_first ? 0 : 1;
  const double across = distanceOf(segments[arc].middle, segments[arc + 2].middle);

  copyTriple(middleOf(a, b).val, groove.center);
  groove.halfStraight = static_cast<float>(distanceOf(a, b) * 0.5);
  const Point along = a - b;
  const float norm = std::sqrt(along.dot(along));
  const float scale = norm < kZeroDirection ? 1.0F : 1.0F / norm;
  copyTriple((along * scale).val, groove.majorDir);

  const float half_overall = groove.radius + groove.halfStraight;
  return std::fabs(segments.radius(0) - segments.radius(1)) <= kSameRadius &&
         std::fabs(segments.radius(0) - groove.radius) <= kSameRadius &&
         std::fabs(half_overall - across * 0.5) <= kSameOutline && hasRightAngles(c);
}

// ---- round groove -----------------------------------------------------------------------------

/// The eight edges of a round groove, sorted into lines and arcs.
struct RoundEdges {
  std::array<Point, 4> line_middles, arc_middles;
  std::array<double, 4> radii{};
};

/// \param[out] groove gets corner radius and normal
std::optional<RoundEdges> readRoundEdges(const std::vector<WalkedEdge>& edges,
                                         XFRoundGroove3D& groove) {
  RoundEdges out;
  unsigned pattern = 0;
  for (std::size_t i = 0; i < kRoundEdges; ++i) {
    pattern *= 2U;
    if (edges[i].curve.isLine()) continue;
    const auto arc = arcOf(edges[i]);
    if (!arc) continue;  // CONTRACT: an edge that is neither line nor arc counts as a line
    pattern += 1U;
    out.radii[i / 2] = arc->radius;
    groove.cornerRadius = static_cast<float>(arc->radius);
    copyTriple(arc->normal.data(), groove.normal);
  }
  if (pattern != kRoundArcFirst && pattern != kRoundLineFirst) return std::nullopt;
  // CONTRACT: edges in any other order than end to start are refused, unlike those of a slot.
  for (std::size_t i = 0; i < kRoundEdges; ++i) {
    if (!areMatching(edges[i].end(), edges[(i + 1) % kRoundEdges].start())) return std::nullopt;
  }
  const std::size_t first_line = pattern == kRoundArcFirst ? 1 : 0;
  for (std::size_t i = 0; i < 4; ++i) {
    out.line_middles[i] = edges[2 * i + first_line].middle();
    out.arc_middles[i] = edges[2 * i + 1 - first_line].middle();
  }
  return out;
}

}  // namespace

bool readRectangle(const TopoDS_Wire& wire, XFRectangle3D& rectangle) {
  const auto edges = walkEdges(wire, kRectangleEdges);
  if (!edges || edges->size() != kRectangleEdges) return false;
  std::array<Point, 4> p;
  for (std::size_t i = 0; i < 4; ++i) {
    if (!(*edges)[i].curve.isLine()) return false;
    p[i] = (*edges)[i].start();
  }
  if (!hasRightAngles(p)) return false;

  copyTriple(middleOf(p[0], p[2]).val, rectangle.center);
  const Point side_a = p[2] - p[1];
  const Point side_b = p[0] - p[1];
  const cv::Vec3d unit_a = unitOrZero(cv::Vec3d(side_a));
  const cv::Vec3d unit_b = unitOrZero(cv::Vec3d(side_b));
  const double a = cv::norm(cv::Vec3d(side_a));
  const double b = cv::norm(cv::Vec3d(side_b));
  store(a <= b ? unit_b : unit_a, rectangle.majorDir);
  rectangle.halfLength = static_cast<float>((a <= b ? b : a) * 0.5);
  rectangle.halfWidth = static_cast<float>((a <= b ? a : b) * 0.5);
  store(unitOrZero(unit_a.cross(unit_b)), rectangle.normal);
  return true;
}

bool readOvalGroove(const TopoDS_Wire& wire, XFOvalGroove3D& groove) {
  const auto edges = walkEdges(wire, kMostOvalEdges);
  if (!edges || edges->size() < kFewestOvalEdges) return false;
  OvalSegments segments;
  for (const WalkedEdge& edge : *edges) {
    if (!segments.add(edge, groove.normal)) return false;
  }
  const unsigned pattern = segments.pattern();
  if (pattern != kOvalArcFirst && pattern != kOvalLineFirst) return false;
  if (segments.count() < 4) return false;
  const auto corners = cornersOf(segments);
  return corners && fillOvalGroove(segments, *corners, groove);
}

bool readRoundGroove(const TopoDS_Wire& wire, XFRoundGroove3D& groove) {
  const auto edges = walkEdges(wire, kRoundEdges);
  if (!edges || edges->size() != kRoundEdges) return false;
  const auto sorted = readRoundEdges(*edges, groove);
  if (!sorted) return false;

  const auto& m = sorted->line_middles;
  const Point d1 = m[0] - m[2];
  const Point d2 = m[1] - m[3];
  const double n1 = cv::norm(cv::Vec3d(d1));
  const double n2 = cv::norm(cv::Vec3d(d2));
  const bool first_is_longer = n2 * n2 <= n1 * n1;
  groove.halfLength = static_cast<float>((first_is_longer ? n1 : n2) * 0.5);
  groove.halfWidth = static_cast<float>((first_is_longer ? n2 : n1) * 0.5);
  store(unitUnlessShort(first_is_longer ? d1 : d2), groove.majorDir);
  copyTriple(middleOf(first_is_longer ? m[0] : m[1], first_is_longer ? m[2] : m[3]).val,
             groove.center);

  const auto& radii = sorted->radii;
  for (std::size_t i = 0; i < 3; ++i) {
    if (!(std::fabs(radii[i] - radii[i + 1]) <= kSameRadius)) return false;
  }
  const auto& q = sorted->arc_middles;
  if (!hasRightAngles(q)) return false;
  const double s1 = distanceOf(q[0], q[1]);
  const double s2 = distanceOf(q[2], q[1]);
  // A rounded corner takes this much off the distance between the middles of two arcs.
  const double shortening = (2.0 - std::sqrt(2.0)) * radii[0];
  return std::fabs(2.0 * groove.halfLength - std::max(s1, s2) - shortening) < kSameOutline &&
         std::fabs(2.0 * groove.halfWidth - std::min(s1, s2) - shortening) < kSameOutline;
}

}  // namespace zelmo::internal
