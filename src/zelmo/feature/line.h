// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <zelmo/export.h>

#include "zelmo/feature/base.h"
#include "zelmo/feature/point.h"

/// \file
/// The two records of a straight segment. Each converts into the other by itself.

namespace xgeofeature {

class XFLine3D2;

/// A segment by its two ends.
class ZELMO_EXPORT XFLine3D : public XFBase {
 public:
  float start[3] = {};  ///< first end
  float end[3] = {};    ///< second end

  XFLine3D() = default;  ///< all fields 0

  /// \param[in] from float[3]: the start
  /// \param[in] to float[3]: the end
  XFLine3D(const float* from, const float* to);

  /// \param[in] values start, end: exactly 6 values; any other count leaves the fields 0
  explicit XFLine3D(const std::vector<float>& values);

  /// The ends: center minus and plus half the length along the direction, which is taken as it is.
  XFLine3D(const XFLine3D2& line);

  GeoFeatureType getFeatureType() const override;  ///< GeoLine

  void getStartPoint(XFPoint& point) const;  ///< the field start
  void getEndPoint(XFPoint& point) const;    ///< the field end

  /// The middle of the segment.
  void getCenterPoint(XFPoint& point) const;

  /// This segment in the other form.
  void getLine(XFLine3D2& line) const;

  /// Swaps the ends.
  void inv();

  /// A copy with the ends swapped.
  XFLine3D invert() const;

  /// Whether each coordinate of both ends differs by less than 0.01 from the other segment's, in
  /// the same or in swapped order. A NaN equals nothing.
  bool operator==(const XFLine3D& other);
};

/// A segment by its middle, a direction and its length.
class ZELMO_EXPORT XFLine3D2 : public XFBase {
 public:
  float center[3] = {};  ///< the middle of the segment
  float dir[3] = {};     ///< unit direction; nothing makes it unit
  float length = 0;      ///< the whole length

  XFLine3D2() = default;  ///< all fields 0

  /// \param[in] middle float[3]: the center
  /// \param[in] direction float[3], stored as it is
  /// \param[in] whole_length the length
  XFLine3D2(const float* middle, const float* direction, const float& whole_length);

  /// A segment that starts at a point.
  ///
  /// \param[in] start float[3]: the start; the center lies half the length along \p direction
  /// \param[in] direction float[3], stored as it is
  /// \param[in] whole_length the length
  /// \param[in] from_start chooses this constructor; its value is not read
  XFLine3D2(const float* start, const float* direction, const float& whole_length,
            const int& from_start);

  /// \param[in] values center, dir, length: exactly 7 values; any other count leaves the fields 0
  explicit XFLine3D2(const std::vector<float>& values);

  /// Middle, unit direction from start to end, and length. Ends no farther apart than 1e-6 leave
  /// the direction their plain difference.
  XFLine3D2(const XFLine3D& line);

  GeoFeatureType getFeatureType() const override;  ///< GeoLine

  /// The field center.
  void getCenterPoint(XFPoint& point) const;

  /// The center less half the length along the direction.
  void getStartPoint(XFPoint& point) const;

  /// The center plus half the length along the direction.
  void getEndPoint(XFPoint& point) const;

  /// This segment in the other form.
  void getLine(XFLine3D& line) const;

  /// Reverses the direction.
  void inv();

  /// A copy with the direction reversed.
  XFLine3D2 invert() const;
};

}  // namespace xgeofeature
