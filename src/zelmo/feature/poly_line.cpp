// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/feature/poly_line.h"

#include <algorithm>

#include "zelmo/internal/array_view.h"

namespace xgeofeature {

XFPolyLine::XFPolyLine(const std::vector<XFPoint>& line_points) : points(line_points) {}

XFPolyLine::XFPolyLine(const float* coordinates, const int& count) {
  const zelmo::internal::PointView view(coordinates, count);
  points.reserve(static_cast<std::size_t>(view.count()));
  for (int i = 0; i < view.count(); ++i) points.emplace_back(view.at(i));
}

XFPolyLine::XFPolyLine(const XFPoint* line_points, const int& count) {
  if (line_points != nullptr && count > 0) points.assign(line_points, line_points + count);
}

GeoFeatureType XFPolyLine::getFeatureType() const { return GeoPolyLine; }

void XFPolyLine::inv() { std::reverse(points.begin(), points.end()); }

XFPolyLine XFPolyLine::invert() const {
  XFPolyLine reversed;
  reversed.points.assign(points.rbegin(), points.rend());
  return reversed;
}

// CONTRACT: merging joins nothing.
void XFPolyLine::merge(const XFPolyLine& /*other*/) {}

}  // namespace xgeofeature
