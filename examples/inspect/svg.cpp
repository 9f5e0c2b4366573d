// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "svg.h"

#include <algorithm>
#include <cmath>

#include "markup.h"
#include "numbers.h"

namespace inspect {
namespace {

// Rules that all pictures share: the page and its lettering.
constexpr const char* kRules =
    "text{font-family:Helvetica,Arial,'DejaVu Sans',sans-serif;fill:#1f2933}"
    ".page{fill:#ffffff}"
    ".title{font-size:17px;font-weight:bold}"
    ".note{font-size:12px;fill:#52606d}"
    ".faces path{stroke-width:.7;stroke-linejoin:round}";
constexpr const char* kDarkRules =
    "text{fill:#e4e7eb}"
    ".page{fill:#14181d}"
    ".note{fill:#9aa5b1}";

std::string number(double value) { return plain(value, 2); }

std::string place(const cv::Point2d& point) { return number(point.x) + " " + number(point.y); }

std::string withClass(const std::string& name) {
  return name.empty() ? name : " class=\"" + name + "\"";
}

std::string stroke(const Path2& points, bool closed) {
  std::string text;
  for (const cv::Point2d& point : points) text += (text.empty() ? "M" : " ") + place(point);
  return text + (closed ? "Z" : "");
}

/// Rules of one selector each, for what stands in an element of the class.
std::string scoped(const std::string& rules, const std::string& name) {
  std::string text;
  for (std::size_t start = 0; start < rules.size();) {
    const std::size_t end = std::min(rules.find('}', start), rules.size() - 1) + 1;
    text += "." + name + " " + rules.substr(start, end - start) + "\n";
    start = end;
  }
  return text;
}

}  // namespace

double roundStep(double least) {
  if (!(least > 0.0) || !std::isfinite(least)) return 1.0;
  const double power = std::pow(10.0, std::floor(std::log10(least)));
  for (const double step : {1.0, 2.0, 5.0}) {
    if (step * power >= least * (1.0 - 1e-9)) return step * power;
  }
  return 10.0 * power;
}

std::string plain(double value, int most_decimals) {
  std::string text = fixed(value, most_decimals, 0);
  if (text.find('.') == std::string::npos) return text;
  while (text.back() == '0') text.pop_back();
  if (text.back() == '.') text.pop_back();
  return text;
}

Svg::Svg(double width, double height, const std::string& title)
    : m_width(width), m_height(height), m_title(title), m_rules(kRules), m_dark_rules(kDarkRules) {}

void Svg::style(const std::string& rules, const std::string& dark_rules) {
  m_rules += rules;
  m_dark_rules += dark_rules;
}

void Svg::open(const std::string& name) { m_body += "<g" + withClass(name) + ">\n"; }

void Svg::close() { m_body += "</g>\n"; }

void Svg::path(const Path2& points, bool closed, const std::string& name) {
  m_body += "<path" + withClass(name) + " d=\"" + stroke(points, closed) + "\"/>\n";
}

void Svg::area(const std::vector<Path2>& loops, const std::string& name) {
  m_body += "<path" + withClass(name) + " fill-rule=\"evenodd\" d=\"";
  for (const Path2& loop : loops) m_body += stroke(loop, true);
  m_body += "\"/>\n";
}

void Svg::line(const cv::Point2d& from, const cv::Point2d& to, const std::string& name) {
  path({from, to}, false, name);
}

void Svg::lines(const std::vector<Path2>& lines, const std::string& name) {
  if (lines.empty()) return;
  m_body += "<path" + withClass(name) + " d=\"";
  for (const Path2& one : lines) m_body += stroke(one, false);
  m_body += "\"/>\n";
}

void Svg::circle(const cv::Point2d& center, double radius, const std::string& name) {
  m_body += "<circle" + withClass(name) + " cx=\"" + number(center.x) + "\" cy=\"" +
            number(center.y) + "\" r=\"" + number(radius) + "\"/>\n";
}

void Svg::rectangle(const cv::Rect2d& box, const std::string& name) {
  m_body += "<rect" + withClass(name) + " x=\"" + number(box.x) + "\" y=\"" + number(box.y) +
            "\" width=\"" + number(box.width) + "\" height=\"" + number(box.height) + "\"/>\n";
}

void Svg::patch(const Path2& points, const std::string& colour) {
  // The stroke closes the hairlines that would show between neighbours.
  const std::string end = "\" fill=\"" + colour + "\" stroke=\"" + colour + "\"/>\n";
  const std::size_t before = m_body.size() - std::min(end.size(), m_body.size());
  if (m_body.compare(before, std::string::npos, end) == 0) {
    m_body.replace(before, end.size(), stroke(points, true) + end);
  } else {
    m_body += "<path d=\"" + stroke(points, true) + end;
  }
}

void Svg::dots(const Path2& points, const std::string& name) {
  if (points.empty()) return;
  m_body += "<path" + withClass(name) + " d=\"";
  for (const cv::Point2d& point : points) {
    m_body += "M" + plain(point.x, 1) + " " + plain(point.y, 1) + "h0";
  }
  m_body += "\"/>\n";
}

void Svg::text(const cv::Point2d& at, const std::string& words, const std::string& anchor,
               const std::string& name) {
  m_body += "<text" + withClass(name) + " x=\"" + number(at.x) + "\" y=\"" + number(at.y) + "\"" +
            (anchor == "start" ? "" : " text-anchor=\"" + anchor + "\"") + ">" + escaped(words) +
            "</text>\n";
}

std::string Svg::done() const {
  return "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + number(m_width) + "\" height=\"" +
         number(m_height) + "\" viewBox=\"0 0 " + number(m_width) + " " + number(m_height) +
         "\">\n<title>" + escaped(m_title) + "</title>\n<style>\n" + m_rules +
         "\n@media (prefers-color-scheme:dark){" + m_dark_rules +
         "}\n</style>\n<rect class=\"page\" width=\"" + number(m_width) + "\" height=\"" +
         number(m_height) + "\"/>\n" + m_body + "</svg>\n";
}

std::string Svg::inlined(const std::string& name, const std::string& description) const {
  return "<svg xmlns=\"http://www.w3.org/2000/svg\" class=\"" + name +
         "\" role=\"img\" aria-label=\"" + escaped(m_title + ". " + description) +
         "\" viewBox=\"0 0 " + number(m_width) + " " + number(m_height) + "\">\n" + m_body +
         "</svg>\n";
}

std::string Svg::rulesFor(const std::string& name) const { return scoped(m_rules, name); }
std::string Svg::darkRulesFor(const std::string& name) const { return scoped(m_dark_rules, name); }

}  // namespace inspect
