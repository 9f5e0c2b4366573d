// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "view.h"

#include <algorithm>
#include <cmath>
#include <queue>

namespace inspect {
namespace {

constexpr double kBiasShare =
    0.004;  // of the extent: how far a line may lie behind its own surface

double cross(const cv::Point2d& a, const cv::Point2d& b) { return a.x * b.y - a.y * b.x; }

}  // namespace

View::Frame::Frame(const SurfaceMesh& mesh, const cv::Vec3d& towards_eye)
    : eye(towards_eye / cv::norm(towards_eye)) {
  const cv::Vec3d across = cv::Vec3d(0.0, 0.0, 1.0).cross(eye);
  right = cv::norm(across) > 1e-9 ? across / cv::norm(across) : cv::Vec3d(1.0, 0.0, 0.0);
  up = eye.cross(right);
  for (int i = 0; i < mesh.count(); ++i) {
    for (int k = 0; k < 3; ++k) {
      const cv::Vec3d corner = mesh.corner(i, k);
      low_u = std::min(low_u, corner.dot(right));
      high_u = std::max(high_u, corner.dot(right));
      low_v = std::min(low_v, corner.dot(up));
      high_v = std::max(high_v, corner.dot(up));
    }
  }
}

double View::heightFor(const SurfaceMesh& mesh, const cv::Vec3d& towards_eye, double width) {
  const Frame frame(mesh, towards_eye);
  return width * frame.high() / frame.wide();
}

View::View(const SurfaceMesh& mesh, const cv::Vec3d& towards_eye, const cv::Rect2d& sheet)
    : m_mesh(mesh), m_frame(mesh, towards_eye) {
  m_scale = std::min(sheet.width / m_frame.wide(), sheet.height / m_frame.high());
  m_bias = kBiasShare * std::max(m_frame.wide(), m_frame.high());
  m_origin = {sheet.x, sheet.y};
  m_shift = {sheet.x + 0.5 * (sheet.width - (m_frame.low_u + m_frame.high_u) * m_scale),
             sheet.y + 0.5 * (sheet.height + (m_frame.low_v + m_frame.high_v) * m_scale)};
  m_columns = static_cast<int>(std::ceil(sheet.width)) + 1;
  m_rows = static_cast<int>(std::ceil(sheet.height)) + 1;
  m_layers.resize(static_cast<std::size_t>(m_columns) * static_cast<std::size_t>(m_rows));
  for (int i = 0; i < mesh.count(); ++i) rasterise(i);
  for (std::vector<Layer>& layers : m_layers) {
    std::sort(layers.begin(), layers.end(), [](const Layer& a, const Layer& b) {
      return a.depth != b.depth ? a.depth < b.depth : a.triangle < b.triangle;
    });
  }
}

cv::Point2d View::at(const cv::Vec3d& point) const {
  return {m_shift.x + point.dot(m_frame.right) * m_scale,
          m_shift.y - point.dot(m_frame.up) * m_scale};
}

cv::Point2d View::middleOf(int column, int row) const {
  return {m_origin.x + column + 0.5, m_origin.y + row + 0.5};
}

void View::rasterise(int triangle) {
  cv::Point2d corners[3];
  double depths[3];
  for (int k = 0; k < 3; ++k) {
    const cv::Vec3d corner = m_mesh.corner(triangle, k);
    corners[k] = at(corner) - m_origin;
    depths[k] = corner.dot(m_frame.eye);
  }
  const double area = cross(corners[1] - corners[0], corners[2] - corners[0]);
  if (std::abs(area) < 1e-9) return;  // seen from its side
  const auto [left, right] = std::minmax({corners[0].x, corners[1].x, corners[2].x});
  const auto [top, bottom] = std::minmax({corners[0].y, corners[1].y, corners[2].y});
  const int first_row = std::max(0, static_cast<int>(std::floor(top - 0.5)));
  const int last_row = std::min(m_rows - 1, static_cast<int>(std::ceil(bottom - 0.5)));
  const int first_column = std::max(0, static_cast<int>(std::floor(left - 0.5)));
  const int last_column = std::min(m_columns - 1, static_cast<int>(std::ceil(right - 0.5)));
  for (int row = first_row; row <= last_row; ++row) {
    for (int column = first_column; column <= last_column; ++column) {
      const cv::Point2d pixel(column + 0.5, row + 0.5);
      const double b = cross(pixel - corners[0], corners[2] - corners[0]) / area;
      const double c = cross(corners[1] - corners[0], pixel - corners[0]) / area;
      if (b < 0.0 || c < 0.0 || b + c > 1.0) continue;
      const double depth = depths[0] + b * (depths[1] - depths[0]) + c * (depths[2] - depths[0]);
      m_layers[cell(column, row)].push_back({static_cast<float>(depth), triangle});
    }
  }
}

int View::triangleAt(int column, int row) const {
  const std::vector<Layer>& layers = m_layers[cell(column, row)];
  return layers.empty() ? -1 : layers.back().triangle;
}

std::vector<char> View::seenTriangles() const {
  std::vector<char> is_seen(static_cast<std::size_t>(m_mesh.count()), 0);
  for (const std::vector<Layer>& layers : m_layers) {
    if (!layers.empty()) is_seen[static_cast<std::size_t>(layers.back().triangle)] = 1;
  }
  return is_seen;
}

std::set<std::pair<int, int>> View::neighboursInDepth(const std::vector<char>& is_seen) const {
  std::set<std::pair<int, int>> pairs;
  for (const std::vector<Layer>& layers : m_layers) {
    int behind = -1;
    for (const Layer& layer : layers) {
      if (is_seen[static_cast<std::size_t>(layer.triangle)] == 0) continue;
      if (behind >= 0 && behind != layer.triangle) pairs.insert({behind, layer.triangle});
      behind = layer.triangle;
    }
  }
  return pairs;
}

std::vector<int> View::paintOrder() const {
  // Wherever one triangle lies before another, it has to be painted after it. Only what is seen
  // somewhere is painted at all.
  const auto count = static_cast<std::size_t>(m_mesh.count());
  const std::vector<char> is_seen = seenTriangles();
  std::vector<std::vector<int>> over(count);
  std::vector<int> waits(count, 0);
  for (const auto& [behind, front] : neighboursInDepth(is_seen)) {
    over[static_cast<std::size_t>(behind)].push_back(front);
    ++waits[static_cast<std::size_t>(front)];
  }
  using Entry = std::pair<double, int>;  // the farthest first among those that may be painted
  std::priority_queue<Entry, std::vector<Entry>, std::greater<>> ready;
  std::set<Entry> left;
  const auto entry_of = [this](int triangle) -> Entry {
    const cv::Vec3d sum =
        m_mesh.corner(triangle, 0) + m_mesh.corner(triangle, 1) + m_mesh.corner(triangle, 2);
    return {sum.dot(m_frame.eye), triangle};
  };
  for (int i = 0; i < m_mesh.count(); ++i) {
    if (is_seen[static_cast<std::size_t>(i)] == 0) continue;
    left.insert(entry_of(i));
    if (waits[static_cast<std::size_t>(i)] == 0) ready.push(entry_of(i));
  }
  std::vector<int> order;
  while (!left.empty()) {
    if (ready.empty()) ready.push(*left.begin());  // a ring of triangles, each over the next
    const Entry next = ready.top();
    ready.pop();
    if (left.erase(next) == 0) continue;
    order.push_back(next.second);
    for (const int front : over[static_cast<std::size_t>(next.second)]) {
      if (--waits[static_cast<std::size_t>(front)] == 0) ready.push(entry_of(front));
    }
  }
  return order;
}

bool View::isSeen(const cv::Vec3d& point) const {
  // A line on an edge may fall beside the pixels of its own surface, so the neighbours count too.
  const cv::Point2d place = at(point) - m_origin;
  const int column = static_cast<int>(std::floor(place.x)),
            row = static_cast<int>(std::floor(place.y));
  const double depth = point.dot(m_frame.eye) + m_bias;
  for (int i = column - 1; i <= column + 1; ++i) {
    for (int k = row - 1; k <= row + 1; ++k) {
      if (i < 0 || k < 0 || i >= m_columns || k >= m_rows) return true;
      const std::vector<Layer>& layers = m_layers[cell(i, k)];
      if (layers.empty() || double{layers.back().depth} <= depth) return true;
    }
  }
  return false;
}

std::vector<Path2> View::stretches(const std::vector<cv::Vec3d>& line, bool seen) const {
  constexpr double kStep = 1.5;  // pixels
  std::vector<Path2> found;
  bool running = false;
  const auto add = [&](const cv::Vec3d& point, bool corner) {
    const bool wanted = isSeen(point) == seen;
    if (!wanted) {
      running = false;
      return;
    }
    if (!running) found.emplace_back();
    // Points between the corners only end a stretch.
    if (running && !corner && found.back().size() > 1) found.back().pop_back();
    found.back().push_back(at(point));
    if (running && corner) found.back().push_back(at(point));
    running = true;
  };
  for (std::size_t i = 0; i + 1 < line.size(); ++i) {
    const double length = cv::norm(at(line[i + 1]) - at(line[i]));
    const int steps = std::max(1, static_cast<int>(length / kStep));
    for (int k = 0; k <= steps; ++k) {
      add(line[i] + (line[i + 1] - line[i]) * (static_cast<double>(k) / steps),
          k == 0 || k == steps);
    }
  }
  found.erase(std::remove_if(found.begin(), found.end(),
                             [](const Path2& outline) { return outline.size() < 2; }),
              found.end());
  return found;
}

}  // namespace inspect
