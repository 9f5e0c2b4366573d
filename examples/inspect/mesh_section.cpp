// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "mesh_section.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <map>
#include <set>

#include <zelmo/mesh/section.h>

#include "failure.h"

namespace inspect {
namespace {

constexpr double kInPlane = 1e-5;  // the library's distance for a vertex that lies in the plane

using Ends = std::array<float, 6>;

/// The segments in an order that does not depend on the order they were found in.
std::vector<Ends> sorted(const std::vector<float>& segments) {
  std::vector<Ends> all(segments.size() / 6);
  for (std::size_t i = 0; i < all.size(); ++i) {
    std::copy_n(&segments[6 * i], 6, all[i].begin());
  }
  std::sort(all.begin(), all.end());
  return all;
}

/// Gives ends that are the same place the same number.
class Places {
 public:
  Places(const CutPlane& plane, double tolerance) : m_plane(plane), m_cell(tolerance) {}

  int at(const cv::Vec3d& point) {
    const double u = point.dot(m_plane.right), v = point.dot(m_plane.up);
    const auto column = static_cast<long>(std::floor(u / m_cell));
    const auto row = static_cast<long>(std::floor(v / m_cell));
    for (long i = column - 1; i <= column + 1; ++i) {
      for (long k = row - 1; k <= row + 1; ++k) {
        const auto found = m_cells.find({i, k});
        if (found == m_cells.end()) continue;
        if (cv::norm(points[static_cast<std::size_t>(found->second)] - point) < m_cell) {
          return found->second;
        }
      }
    }
    m_cells[{column, row}] = static_cast<int>(points.size());
    points.push_back(point);
    return static_cast<int>(points.size()) - 1;
  }

  std::vector<cv::Vec3d> points;

 private:
  CutPlane m_plane;
  double m_cell;
  std::map<std::pair<long, long>, int> m_cells;
};

/// Walks along segments that have not been walked yet.
class Walker {
 public:
  explicit Walker(const std::set<std::pair<int, int>>& segments, std::size_t places)
      : m_next(places) {
    for (const auto& [from, to] : segments) {
      m_next[static_cast<std::size_t>(from)].push_back(to);
      m_next[static_cast<std::size_t>(to)].push_back(from);
    }
  }
  bool isJoint(int place) const { return m_next[static_cast<std::size_t>(place)].size() != 2; }
  bool isDone(int place) const { return left(place) == 0; }

  /// Every chain ends where it meets an end, a fork or its own start.
  std::vector<int> from(int start) {
    std::vector<int> way{start};
    do {
      way.push_back(take(way.back()));
    } while (way.back() != start && !isJoint(way.back()));
    return way;
  }

 private:
  std::size_t left(int place) const {
    const auto& next = m_next[static_cast<std::size_t>(place)];
    return static_cast<std::size_t>(std::count_if(next.begin(), next.end(), [&](int to) {
      return m_walked.count(std::minmax(place, to)) == 0;
    }));
  }
  int take(int place) {
    for (const int to : m_next[static_cast<std::size_t>(place)]) {
      if (m_walked.insert(std::minmax(place, to)).second) return to;
    }
    return place;
  }

  std::vector<std::vector<int>> m_next;
  std::set<std::pair<int, int>> m_walked;
};

Chain chainOf(const std::vector<int>& way, const std::vector<cv::Vec3d>& points) {
  Chain chain;
  for (const int place : way) chain.points.push_back(points[static_cast<std::size_t>(place)]);
  for (std::size_t i = 1; i < way.size(); ++i) {
    chain.length += cv::norm(chain.points[i] - chain.points[i - 1]);
  }
  chain.closed = way.front() == way.back();
  if (chain.closed) chain.points.pop_back();
  return chain;
}

std::vector<Chain> joined(const std::vector<Ends>& segments, const CutPlane& plane,
                          double tolerance) {
  Places places(plane, tolerance);
  // A side that two triangles have in the plane comes twice, a corner that touches it has no length.
  std::set<std::pair<int, int>> once;
  for (const Ends& ends : segments) {
    const int from = places.at({ends[0], ends[1], ends[2]});
    const int to = places.at({ends[3], ends[4], ends[5]});
    if (from != to) once.insert(std::minmax(from, to));
  }
  Walker walker(once, places.points.size());
  std::vector<Chain> chains;
  for (const bool joints : {true, false}) {
    for (int i = 0; i < static_cast<int>(places.points.size()); ++i) {
      while ((!joints || walker.isJoint(i)) && !walker.isDone(i)) {
        chains.push_back(chainOf(walker.from(i), places.points));
      }
    }
  }
  std::stable_sort(chains.begin(), chains.end(),
                   [](const Chain& a, const Chain& b) { return a.length > b.length; });
  return chains;
}

using Loop = std::vector<cv::Vec2d>;

Loop flat(const Chain& chain, const CutPlane& plane) {
  Loop loop;
  for (const cv::Vec3d& point : chain.points) {
    loop.emplace_back(point.dot(plane.right), point.dot(plane.up));
  }
  return loop;
}

bool holds(const Loop& loop, const cv::Vec2d& point) {
  bool inside = false;
  for (std::size_t i = 0, k = loop.size() - 1; i < loop.size(); k = i++) {
    if ((loop[i][1] > point[1]) == (loop[k][1] > point[1])) continue;
    const double share = (point[1] - loop[i][1]) / (loop[k][1] - loop[i][1]);
    if (point[0] < loop[i][0] + share * (loop[k][0] - loop[i][0])) inside = !inside;
  }
  return inside;
}

/// A loop in an even number of others bounds material, one in an odd number a hole.
double enclosedBy(const std::vector<Loop>& loops) {
  double total = 0.0;
  for (const Loop& loop : loops) {
    double area = 0.0;
    for (std::size_t i = 0, k = loop.size() - 1; i < loop.size(); k = i++) {
      area += 0.5 * (loop[k][0] * loop[i][1] - loop[i][0] * loop[k][1]);
    }
    const auto around = std::count_if(loops.begin(), loops.end(), [&loop](const Loop& other) {
      return &other != &loop && holds(other, loop.front());
    });
    total += around % 2 == 0 ? std::abs(area) : -std::abs(area);
  }
  return total;
}

int trianglesIn(const SurfaceMesh& mesh, const CutPlane& plane) {
  int found = 0;
  for (int i = 0; i < mesh.count(); ++i) {
    bool all = true;
    for (int k = 0; k < 3; ++k) {
      all = all && std::abs(plane.normal.dot(mesh.corner(i, k)) + plane.d) < kInPlane;
    }
    if (all) ++found;
  }
  return found;
}

}  // namespace

CutPlane cutPlaneOf(const std::string& text) {
  std::array<double, 4> values{};
  const char* at = text.data();
  const char* const end = at + text.size();
  bool right = true;
  for (std::size_t i = 0; i < values.size() && right; ++i) {
    if (i > 0) right = at != end && *at++ == ',';
    if (!right) break;
    const auto [after, error] = std::from_chars(at, end, values[i]);
    right = error == std::errc() && std::isfinite(values[i]);
    at = after;
  }
  const double length = std::hypot(values[0], values[1], values[2]);
  if (!right || at != end || !(length > 1e-12) || !(length < 1e12)) {
    throw Failure(kBadUsage,
                  "--section wants a plane a,b,c,d of a x + b y + c z + d = 0, as 0,0,1,-20 for "
                  "z = 20; found is '" +
                      text + "'\nTry 'inspect --help'.");
  }
  CutPlane plane;
  plane.normal = cv::Vec3d(values[0], values[1], values[2]) / length;
  plane.d = values[3] / length;
  const bool level = std::abs(plane.normal[2]) > 0.9;
  const cv::Vec3d across = level ? cv::Vec3d(0.0, 1.0, 0.0).cross(plane.normal)
                                 : cv::Vec3d(0.0, 0.0, 1.0).cross(plane.normal);
  plane.right = across / cv::norm(across);
  plane.up = plane.normal.cross(plane.right);
  return plane;
}

Section sectionOf(const SurfaceMesh& mesh, const CutPlane& plane) {
  const double abcd[] = {plane.normal[0], plane.normal[1], plane.normal[2], plane.d};
  std::vector<float> segments, shared;
  xsection::XSection cutter;
  cutter.getSection(abcd, mesh.vertices.data(), mesh.triangles.data(), mesh.count(), segments);
  cutter.getSection2(abcd, mesh.vertices.data(), mesh.triangles.data(), mesh.count(), shared);
  const std::vector<Ends> ends = sorted(segments);
  if (ends != sorted(shared)) {
    throw Failure(kUnexpected, "one task and eight tasks cut different segments");
  }
  double extent = 0.0;
  for (const float value : mesh.vertices) extent = std::max(extent, std::abs(double{value}));
  Section section;
  section.segments = static_cast<int>(ends.size());
  section.in_plane = trianglesIn(mesh, plane);
  // Neighbours cut the side that they share in opposite directions and round to float, and a corner
  // that lies nearly in the plane is taken as it is.
  section.chains = joined(ends, plane, std::max(2.0 * kInPlane, 4e-6 * extent));
  std::vector<Loop> loops;
  for (const Chain& chain : section.chains) {
    section.length += chain.length;
    if (chain.closed) loops.push_back(flat(chain, plane));
  }
  section.area = enclosedBy(loops);
  return section;
}

}  // namespace inspect
