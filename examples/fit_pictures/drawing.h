// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sstream>
#include <string>
#include <utility>
#include <vector>

using Path = std::vector<std::pair<double, double>>;

/// A picture in SVG that reads on a light and on a dark page: no background, and the ink follows the
/// reader's colour scheme. Coordinates are pixels, y downwards.
class Drawing {
 public:
  Drawing(int width, int height) : m_width(width), m_height(height) { m_body.precision(5); }

  void dot(double x, double y, const std::string& kind, double radius = 2.5);
  void line(const Path& path, const std::string& kind, bool closed = false);
  void text(double x, double y, const std::string& words, const std::string& kind = "ink",
            const std::string& anchor = "start");
  /// A sample of a line and its name.
  void legend(double x, double y, const std::string& kind, const std::string& words);

  /// \return whether the file could be written
  bool write(const std::string& path, const std::string& title) const;

 private:
  int m_width, m_height;
  std::ostringstream m_body;
};
