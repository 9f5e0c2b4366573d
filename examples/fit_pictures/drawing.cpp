// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "drawing.h"

#include <cmath>
#include <fstream>
#include <locale>

namespace {

// Middle tones that stand out from white and from black; the ink follows the page where it can.
constexpr const char* kStyle =
    "<style>\n"
    "text{font:13px sans-serif;stroke:none!important}\n"
    "path{fill:none;stroke-width:1.8}\n"
    ".ink{stroke:#777;fill:#777}.grey{stroke:#909090;fill:#909090}\n"
    ".blue{stroke:#2f7fd6;fill:#2f7fd6}.red{stroke:#d9483b;fill:#d9483b}\n"
    ".green{stroke:#2b9a4f;fill:#2b9a4f}.orange{stroke:#d98a1f;fill:#d98a1f}\n"
    "path.grey{stroke-width:1;stroke-dasharray:4 3}\n"
    "circle{stroke:none}path.ink,path.blue,path.red,path.green,path.orange,path.grey{fill:none}\n"
    "@media(prefers-color-scheme:light){.ink{stroke:#222;fill:#222}}\n"
    "@media(prefers-color-scheme:dark){.ink{stroke:#ddd;fill:#ddd}}\n"
    "</style>\n";

// Tenths of a pixel: the same picture whatever the last bits of a fit.
double tenth(double value) { return std::round(value * 10) / 10; }

}  // namespace

void Drawing::dot(double x, double y, const std::string& kind, double radius) {
  m_body << "<circle class=\"" << kind << "\" cx=\"" << tenth(x) << "\" cy=\"" << tenth(y)
         << "\" r=\"" << radius << "\"/>\n";
}

void Drawing::line(const Path& path, const std::string& kind, bool closed) {
  m_body << "<path class=\"" << kind << "\" d=\"";
  for (std::size_t i = 0; i < path.size(); ++i) {
    m_body << (i == 0 ? "M" : " ") << tenth(path[i].first) << ',' << tenth(path[i].second);
  }
  m_body << (closed ? "Z" : "") << "\"/>\n";
}

void Drawing::text(double x, double y, const std::string& words, const std::string& kind,
                   const std::string& anchor) {
  m_body << "<text class=\"" << kind << "\" x=\"" << tenth(x) << "\" y=\"" << tenth(y)
         << "\" text-anchor=\"" << anchor << "\">" << words << "</text>\n";
}

void Drawing::legend(double x, double y, const std::string& kind, const std::string& words) {
  line({{x, y - 4}, {x + 22, y - 4}}, kind);
  text(x + 28, y, words);
}

bool Drawing::write(const std::string& path, const std::string& title) const {
  std::ofstream out(path);
  out.imbue(std::locale::classic());
  out << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " << m_width << ' ' << m_height
      << "\" width=\"" << m_width << "\" height=\"" << m_height << "\" role=\"img\">\n<title>"
      << title << "</title>\n"
      << kStyle << m_body.str() << "</svg>\n";
  return static_cast<bool>(out.flush());
}
