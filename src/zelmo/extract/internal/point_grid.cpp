// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/extract/internal/point_grid.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace zelmo::internal {
namespace {

constexpr int kSamples = 1024;             // points that decide where the bulk of the cloud lies
constexpr double kMaxCells = 1 << 18;      // more cells cost more in the build than they save later
constexpr double kPointsPerCell = 4.0;     // aimed at, were the points spread evenly in space
constexpr double kFlat = 1e-3;             // the least extent beside the largest one
constexpr double kRoundingOfCells = 0.01;  // of a cell, far above what float makes of its border
constexpr double kRoundingOfRadius = 1e-5;

bool isFinite(const float* p) {
  return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
}

/// Grown or shrunk to a float without passing \p value.
float lowerFloat(double value) {
  return std::nextafter(static_cast<float>(value), -std::numeric_limits<float>::infinity());
}
float upperFloat(double value) {
  return std::nextafter(static_cast<float>(value), std::numeric_limits<float>::infinity());
}

}  // namespace

bool Ball::isUsable() const { return isFinite(center.data()) && radius > 0.0; }

int PointGrid::Axis::cellOf(float value) const {
  const float cell = (value - low) * cells_per_unit;
  if (!(cell > 0.0F)) return 0;
  return cell < static_cast<float>(cells) ? static_cast<int>(cell) : cells - 1;
}

double PointGrid::Axis::distanceTo(int cell, float value) const {
  // A border cell has no end on its outer side.
  const double unit = unitsPerCell();
  const double left = low + (cell - kRoundingOfCells) * unit;
  const double right = low + (cell + 1 + kRoundingOfCells) * unit;
  if (value < left && cell > 0) return left - value;
  if (value > right && cell < cells - 1) return value - right;
  return 0.0;
}

void PointGrid::chooseAxes(const float* points, int stride, int count) {
  std::array<std::vector<float>, 3> sample;
  std::minstd_rand random(1);
  for (int k = 0; k < kSamples; ++k) {
    const auto i = static_cast<std::ptrdiff_t>(random() % static_cast<unsigned>(count));
    const float* p = points + stride * i;
    if (!isFinite(p)) continue;
    for (std::size_t axis = 0; axis < 3; ++axis) sample[axis].push_back(p[axis]);
  }
  if (sample[0].empty()) return;
  std::array<double, 3> low{}, extent{};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    auto& values = sample[axis];
    std::sort(values.begin(), values.end());
    const std::size_t skipped = values.size() / 50;
    const double first = values[skipped], last = values[values.size() - 1 - skipped];
    extent[axis] = 1.2 * (last - first);
    low[axis] = first - 0.1 * (last - first);
  }
  const double largest = *std::max_element(extent.begin(), extent.end());
  if (!(largest > 0.0)) return;
  for (double& e : extent) e = std::max(e, kFlat * largest);
  const double wanted = std::clamp(count / kPointsPerCell, 1.0, kMaxCells);
  const double edge = std::cbrt(extent[0] * extent[1] * extent[2] / wanted);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double cells = std::max(1.0, std::ceil(extent[axis] / edge));
    const auto per_unit = static_cast<float>(cells / extent[axis]);
    if (!std::isnormal(per_unit)) continue;  // extents at the ends of float: one cell
    m_axes[axis] = {static_cast<float>(low[axis]), per_unit, static_cast<int>(cells)};
  }
}

PointGrid::PointGrid(const float* points, int stride, int count) : m_given(std::max(count, 0)) {
  if (count > 0) chooseAxes(points, stride, count);
  const auto& [ax, ay, az] = m_axes;
  const auto cell_count = static_cast<std::size_t>(ax.cells) * static_cast<std::size_t>(ay.cells) *
                          static_cast<std::size_t>(az.cells);
  m_start.assign(cell_count + 1, 0);
  std::vector<int> cell_of(static_cast<std::size_t>(m_given), -1);
  int finite = 0;
  for (int i = 0; i < m_given; ++i) {
    const float* p = points + stride * static_cast<std::ptrdiff_t>(i);
    if (!isFinite(p)) continue;
    const int cell = (ax.cellOf(p[0]) * ay.cells + ay.cellOf(p[1])) * az.cells + az.cellOf(p[2]);
    cell_of[static_cast<std::size_t>(i)] = cell;
    ++m_start[static_cast<std::size_t>(cell)];
    ++finite;
  }
  int next = 0;
  for (int& start : m_start) {
    const int size = start;
    start = next;
    next += size;
  }
  m_entries.reset(new Entry[static_cast<std::size_t>(finite + kPadding)]);
  std::fill_n(m_entries.get() + finite, kPadding, Entry{});
  for (int i = 0; i < m_given; ++i) {
    const int cell = cell_of[static_cast<std::size_t>(i)];
    if (cell < 0) continue;
    const float* p = points + stride * static_cast<std::ptrdiff_t>(i);
    m_entries[m_start[static_cast<std::size_t>(cell)]++] = {p[0], p[1], p[2], i};
  }
  // Filling has moved each start to its cell's end: the start of the next one.
  for (std::size_t cell = cell_count; cell > 0; --cell) m_start[cell] = m_start[cell - 1];
  m_start[0] = 0;
}

std::vector<PointGrid::Run> PointGrid::runsNear(const Ball& ball) const {
  std::vector<Run> runs;
  if (m_start.empty() || !ball.isUsable()) return runs;
  const double reach = ball.radius * (1.0 + kRoundingOfRadius);
  std::array<int, 3> first{}, last{};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    first[axis] = m_axes[axis].cellOf(lowerFloat(ball.center[axis] - reach));
    last[axis] = m_axes[axis].cellOf(upperFloat(ball.center[axis] + reach));
  }
  const auto& [ax, ay, az] = m_axes;
  for (int ix = first[0]; ix <= last[0]; ++ix) {
    const double dx = ax.distanceTo(ix, ball.center[0]);
    for (int iy = first[1]; iy <= last[1]; ++iy) {
      const double dy = ay.distanceTo(iy, ball.center[1]);
      const double left = reach * reach - dx * dx - dy * dy;
      if (left < 0.0) continue;
      const double half = std::sqrt(left);  // how far the ball reaches along z in this column
      const int z0 = std::max(first[2], az.cellOf(lowerFloat(ball.center[2] - half)));
      const int z1 = std::min(last[2], az.cellOf(upperFloat(ball.center[2] + half)));
      const auto column =
          static_cast<std::size_t>(ix * ay.cells + iy) * static_cast<std::size_t>(az.cells);
      const Run run = {m_start[column + static_cast<std::size_t>(z0)],
                       m_start[column + static_cast<std::size_t>(z1) + 1]};
      if (run.begin == run.end) continue;
      if (!runs.empty() && runs.back().end == run.begin) {
        runs.back().end = run.end;
      } else {
        runs.push_back(run);
      }
    }
  }
  return runs;
}

}  // namespace zelmo::internal
