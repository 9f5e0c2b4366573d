// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <zelmo/export.h>

#include "zelmo/feature/base.h"
#include "zelmo/feature/point.h"

namespace xgeofeature {

/// A line through points in order. It owns its points; a copy has points of its own.
class ZELMO_EXPORT XFPolyLine : public XFBase {
 public:
  std::vector<XFPoint> points;  ///< in the order of the line; may be empty

  XFPolyLine() = default;  ///< no points

  /// A line through copies of \p line_points.
  explicit XFPolyLine(const std::vector<XFPoint>& line_points);

  /// \param[in] coordinates float[3 * count]: x, y, z per point, in the order of the line
  /// \param[in] count number of points; below 1, or null \p coordinates, gives an empty line
  XFPolyLine(const float* coordinates, const int& count);

  /// \param[in] line_points XFPoint[count], in the order of the line
  /// \param[in] count number of points; below 1, or null \p line_points, gives an empty line
  XFPolyLine(const XFPoint* line_points, const int& count);

  GeoFeatureType getFeatureType() const override;  ///< GeoPolyLine

  /// Reverses the order of the points.
  void inv();

  /// A copy with the points in reverse order.
  XFPolyLine invert() const;

  /// Does nothing; both lines stay as they are.
  void merge(const XFPolyLine& other);
};

}  // namespace xgeofeature
