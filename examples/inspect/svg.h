// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include <opencv2/core/types.hpp>

namespace inspect {

using Path2 = std::vector<cv::Point2d>;

/// A drawing in SVG, y downwards, lengths in pixels. Its colours come from classes, so that it can
/// look right on a light and on a dark page; the same calls give the same text.
class Svg {
 public:
  Svg(double width, double height, const std::string& title);

  /// Adds style rules; \p dark_rules hold where the page is dark, over \p rules.
  void style(const std::string& rules, const std::string& dark_rules);

  /// Starts a group that gives its elements a class; ends the last one.
  void open(const std::string& name);
  void close();

  /// A line through points; a closed one is filled where its class says so.
  void path(const Path2& points, bool closed, const std::string& name = "");
  /// Several closed lines as one area, with holes where they lie in one another.
  void area(const std::vector<Path2>& loops, const std::string& name);
  void line(const cv::Point2d& from, const cv::Point2d& to, const std::string& name);
  /// Several open lines as one element.
  void lines(const std::vector<Path2>& lines, const std::string& name);
  void circle(const cv::Point2d& center, double radius, const std::string& name);
  void rectangle(const cv::Rect2d& box, const std::string& name);
  /// A closed line with a colour of its own, "#rrggbb"; joined with the patch before it where that
  /// has the same.
  void patch(const Path2& points, const std::string& colour);
  /// Round dots of one class, which gives their size as a width of lines.
  void dots(const Path2& points, const std::string& name);
  /// \param anchor "start", "middle" or "end"
  void text(const cv::Point2d& at, const std::string& words, const std::string& anchor,
            const std::string& name);

  /// The whole file.
  std::string done() const;

  /// The drawing as an element of a page, which gives it its rules by its class; \p description is for
  /// who can't see it.
  std::string inlined(const std::string& name, const std::string& description) const;
  /// The rules of the file, for such an element of that class on a page; those for a dark page.
  std::string rulesFor(const std::string& name) const;
  std::string darkRulesFor(const std::string& name) const;

 private:
  double m_width, m_height;
  std::string m_title, m_rules, m_dark_rules, m_body;
};

/// A round step of 1, 2 or 5 times a power of ten, at least \p least.
double roundStep(double least);

/// The number without zeros at the end.
std::string plain(double value, int most_decimals);

}  // namespace inspect
