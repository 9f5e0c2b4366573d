// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "plot_parts.h"

#include <algorithm>
#include <cmath>

#include "deviation_scale.h"

namespace inspect {
namespace {

constexpr int kClasses = 15;  // of the colour scale

double shareOf(int number) { return 2.0 * number / (kClasses - 1) - 1.0; }

std::string colourRules(const DeviationScale& scale) {
  std::string text;
  for (int i = 0; i < kClasses; ++i) {
    const std::string name = ".plot .d" + std::to_string(i), colour = hexOf(scale.at(shareOf(i)));
    text.append(name).append("{stroke:").append(colour).append("}\n");
    text.append(name).append(".cell{fill:").append(colour).append("}\n");
  }
  return text;
}

int classOf(double share) {
  const double place = std::clamp(0.5 * (share + 1.0), 0.0, 1.0) * (kClasses - 1);
  return static_cast<int>(std::lround(place));
}

}  // namespace

std::vector<PickedPoint> toPlot(const std::vector<PickedPoint>& points) {
  constexpr std::size_t kMost = 800, kMostOutside = 120;
  std::vector<PickedPoint> used, outside;
  for (const PickedPoint& point : points) {
    if (point.state == PointState::Used) used.push_back(point);
    if (point.state == PointState::OutsideBand) outside.push_back(point);
  }
  if (used.empty()) return {};
  const auto less = [](const PickedPoint& a, const PickedPoint& b) {
    return a.deviation < b.deviation;
  };
  const auto [least, most] = std::minmax_element(used.begin(), used.end(), less);
  std::vector<PickedPoint> chosen;
  for (const auto& [from, limit] : {std::pair{&outside, kMostOutside}, std::pair{&used, kMost}}) {
    const std::size_t stride = (from->size() + limit - 1) / limit;
    for (std::size_t i = 0; i < from->size(); i += stride) chosen.push_back((*from)[i]);
  }
  chosen.push_back(*least);
  chosen.push_back(*most);
  return chosen;
}

double limitOf(const Spread& spread) {
  constexpr double kSmallest = 1e-4;  // mm: less is the rounding of the scan
  return roundStep(std::max({std::abs(spread.least), std::abs(spread.most), kSmallest}));
}

void drawDots(Svg& svg, const std::vector<Dot>& dots, double limit) {
  constexpr double kArm = 2.2;
  std::vector<Path2> of_class(kClasses);
  std::vector<Path2> crosses;
  for (const Dot& dot : dots) {
    if (dot.used) {
      of_class[static_cast<std::size_t>(classOf(dot.deviation / limit))].push_back(dot.place);
    } else {
      const cv::Point2d arm(kArm, kArm), other(kArm, -kArm);
      crosses.push_back({dot.place - arm, dot.place + arm});
      crosses.push_back({dot.place - other, dot.place + other});
    }
  }
  svg.lines(crosses, "outside");
  svg.open("dots");
  // The largest deviations last, so that they lie on top.
  for (int out = 0; out <= kClasses / 2; ++out) {
    for (const int number : {kClasses / 2 - out, kClasses / 2 + out}) {
      Path2& own = of_class[static_cast<std::size_t>(number)];
      svg.dots(own, "d" + std::to_string(number));
      own.clear();
    }
  }
  svg.close();
}

void drawLegend(Svg& svg, double limit) {
  constexpr double kLeft = kPlotWidth - 70.0, kTop = 40.0, kHigh = 16.0, kWide = 14.0;
  for (int i = 0; i < kClasses; ++i) {
    svg.rectangle({kLeft, kTop + (kClasses - 1 - i) * kHigh, kWide, kHigh},
                  "cell d" + std::to_string(i));
  }
  svg.text({kLeft, kTop - 12.0}, "mm", "start", "unit");
  for (int i = 0; i < kClasses; i += 7) {
    const double value = limit * shareOf(i);
    svg.text({kLeft + kWide + 5.0, kTop + (kClasses - 1 - i + 0.5) * kHigh + 4.0},
             (i > kClasses / 2 ? "+" : "") + plain(value, 6), "start", "");
  }
}

std::string plotRules() {
  return ".plot text{font-size:12.5px;fill:var(--ink-2)}\n"
         ".plot .panel{fill:var(--panel);stroke:var(--line)}\n"
         ".plot .over{fill:var(--ink);stroke:var(--panel);stroke-width:3px;paint-order:stroke}\n"
         ".plot .grid path{stroke:var(--line);stroke-width:.7;fill:none}\n"
         ".plot .ring,.plot .scale{stroke:var(--line);stroke-width:.9;fill:none}\n"
         ".plot .dots path{stroke-width:4;stroke-linecap:round;fill:none}\n"
         ".plot .outside{stroke:var(--ink-3);stroke-width:1;fill:none}\n"
         ".plot .edge path{fill:none;stroke:var(--ink-2);stroke-width:1}\n"
         ".plot .fitted{fill:none;stroke:var(--ink);stroke-width:1.2}\n"
         ".plot .limit{fill:none;stroke:var(--ink-3);stroke-width:1;stroke-dasharray:4 3}\n"
         ".plot .band{fill:var(--band)}\n"
         ".plot .bar{fill:var(--accent)}\n"
         ".plot .bar-outside{fill:var(--ink-3)}\n"
         ".plot .normal{fill:none;stroke:var(--ink);stroke-width:1.4}\n"
         ".plot .mean{stroke:var(--ink);stroke-width:1;stroke-dasharray:2 2;fill:none}\n" +
         colourRules(kDotScale);
}

std::string darkPlotRules() { return colourRules(kDarkDotScale); }

Plane2::Plane2(const cv::Vec3d& normal) {
  constexpr double kNearlyLevel = 0.999;
  const cv::Vec3d n = unit(normal);
  const cv::Vec3d top =
      std::abs(n[2]) > kNearlyLevel ? cv::Vec3d(0.0, 1.0, 0.0) : cv::Vec3d(0.0, 0.0, 1.0);
  up = unit(top - top.dot(n) * n);
  right = up.cross(n);
}

std::string axisName(const cv::Vec3d& direction, const std::string& otherwise) {
  constexpr double kAlong = 0.9999;
  for (int i = 0; i < 3; ++i) {
    if (std::abs(direction[i]) < kAlong) continue;
    return (direction[i] < 0.0 ? "-" : "") + std::string(1, "xyz"[i]);
  }
  return otherwise;
}

void Range::take(double value) {
  low = std::min(low, value);
  high = std::max(high, value);
}

Axes::Axes(Svg& svg, const cv::Rect2d& box, Range x, Range y, bool alike)
    : m_svg(svg), m_box(box), m_x(x), m_y(y) {
  for (Range* range : {&m_x, &m_y}) {
    if (!(range->size() > 1e-9)) *range = {range->low - 0.5, range->low + 0.5};
  }
  if (alike) {
    const double scale = std::min(box.width / m_x.size(), box.height / m_y.size());
    const double more_x = 0.5 * (box.width / scale - m_x.size());
    const double more_y = 0.5 * (box.height / scale - m_y.size());
    m_x = {m_x.low - more_x, m_x.high + more_x};
    m_y = {m_y.low - more_y, m_y.high + more_y};
  }
  m_svg.rectangle(m_box, "panel");
}

cv::Point2d Axes::at(const cv::Point2d& point) const {
  return {m_box.x + (point.x - m_x.low) / m_x.size() * m_box.width,
          m_box.y + m_box.height - (point.y - m_y.low) / m_y.size() * m_box.height};
}

void Axes::label(const std::string& x, const std::string& y, double x_step) {
  constexpr double kApart = 60.0;  // pixels
  const double bottom = m_box.y + m_box.height;
  const bool against = x.front() == '-';
  if (x_step == 0.0) x_step = roundStep(m_x.size() * kApart / m_box.width);
  const double y_step = roundStep(m_y.size() * 0.7 * kApart / m_box.height);
  const auto ticks = [](const Range& range, double step) {
    std::vector<double> values;
    for (double k = std::ceil(range.low / step); k * step <= range.high; k += 1.0) {
      values.push_back(k * step);
    }
    return values;
  };
  const std::vector<double> columns = ticks(m_x, x_step), rows = ticks(m_y, y_step);
  m_svg.open("grid");
  for (const double value : columns) {
    const double place = at({value, 0.0}).x;
    m_svg.line({place, m_box.y}, {place, bottom}, "");
  }
  for (const double value : rows) {
    const double place = at({0.0, value}).y;
    m_svg.line({m_box.x, place}, {m_box.x + m_box.width, place}, "");
  }
  m_svg.close();
  for (const double value : columns) {
    m_svg.text({at({value, 0.0}).x, bottom + 15.0}, plain(against ? -value : value, 6), "middle",
               "");
  }
  for (const double value : rows) {
    m_svg.text({m_box.x - 6.0, at({0.0, value}).y + 4.0}, plain(value, 6), "end", "");
  }
  m_svg.text({m_box.x + m_box.width, bottom + 31.0}, against ? x.substr(1) : x, "end", "unit");
  m_svg.text({m_box.x - 6.0, m_box.y - 8.0}, y, "start", "unit");
}

}  // namespace inspect
