// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <TopoDS_Edge.hxx>
#include <zelmo/export.h>

#include "zelmo/feature/circle.h"
#include "zelmo/feature/line.h"
#include "zelmo/feature/oval_groove.h"
#include "zelmo/feature/rectangle.h"
#include "zelmo/feature/round_groove.h"

/// \file
/// What edges and inner outlines of a model turn out to be. Plain values: lengths in the model's
/// unit, directions unit, triples x, y, z, the size fields as in the records of xgeofeature. A
/// record that is made without values has all fields 0, and a vector of any other length than the
/// one told counts as no values. Arrays are read during the call only and must not be null.

namespace xmodelfeature {

/// A point of an edge's poly line.
class ZELMO_EXPORT XFPoint {
 public:
  XFPoint() = default;  ///< the origin
  /// The point with the coordinates \p px, \p py, \p pz.
  XFPoint(const float& px, const float& py, const float& pz) : x(px), y(py), z(pz) {}
  /// \param[in] point float[3]: the coordinates
  explicit XFPoint(const float* point) : x(point[0]), y(point[1]), z(point[2]) {}

  /// \var x
  /// first coordinate
  /// \var y
  /// second coordinate
  /// \var z
  /// third coordinate
  float x = 0.0F, y = 0.0F, z = 0.0F;
};

/// A straight edge.
class ZELMO_EXPORT XFLine3D {
 public:
  XFLine3D() = default;  ///< all fields 0
  /// \param[in] start_point float[3]: the start
  /// \param[in] end_point float[3]: the end
  XFLine3D(const float* start_point, const float* end_point);
  /// \param[in] values start, end: exactly 6 floats
  explicit XFLine3D(const std::vector<float>& values);

  /// The same line by its middle, direction and length.
  void getLine(xgeofeature::XFLine3D2& line) const;

  /// Whether each coordinate of both ends differs by strictly less than 0.01, also with the ends of
  /// one line swapped.
  bool operator==(const XFLine3D& other);

  float start[3] = {};  ///< first end, by the edge's curve and not by its orientation
  float end[3] = {};    ///< second end
};

/// A circular edge, or the circle that an arc belongs to.
class ZELMO_EXPORT XFCircle3D {
 public:
  XFCircle3D() = default;  ///< all fields 0
  /// \param[in] values center, normal, majorDir, radius: exactly 10 floats
  explicit XFCircle3D(const std::vector<float>& values);

  /// The same circle as a feature record, field by field.
  void getCircle(xgeofeature::XFCircle3D& circle) const;

  /// Whether radius and center coordinates differ by at most 0.01 each, and the cosine between the
  /// normals is 1 or -1 to within 0.02. The direction majorDir does not count.
  bool operator==(const XFCircle3D& other);

  float center[3] = {};    ///< the middle
  float normal[3] = {};    ///< of the circle's plane; the sense is that of the curve
  float majorDir[3] = {};  ///< some direction in the circle's plane
  float radius = 0.0F;     ///< the radius
};

/// A slot with two half-round ends.
class ZELMO_EXPORT XFOvalGroove3D {
 public:
  XFOvalGroove3D() = default;  ///< all fields 0
  /// \param[in] values center, normal, majorDir, halfStraight, radius: exactly 11 floats
  explicit XFOvalGroove3D(const std::vector<float>& values);

  /// The same slot as a feature record, field by field.
  void getOvalGroove(xgeofeature::XFOvalGroove3D& groove) const;

  /// Whether sizes and center coordinates differ by at most 0.01 each, and the cosines between the
  /// normals and between the major directions are 1 or -1 to within 0.02.
  bool operator==(const XFOvalGroove3D& other);

  float center[3] = {};       ///< middle of the slot
  float normal[3] = {};       ///< that of the last arc of the outline
  float majorDir[3] = {};     ///< along the straight sides
  float halfStraight = 0.0F;  ///< half the length of the straight sides
  float radius = 0.0F;        ///< of the two end arcs
};

/// A hole of four right-angled sides.
class ZELMO_EXPORT XFRectangle3D {
 public:
  XFRectangle3D() = default;  ///< all fields 0
  /// \param[in] values center, normal, majorDir, halfLength, halfWidth: exactly 11 floats
  explicit XFRectangle3D(const std::vector<float>& values);

  /// The same rectangle as a feature record, field by field.
  void getRectangle(xgeofeature::XFRectangle3D& rectangle) const;

  /// \copydoc XFOvalGroove3D::operator==
  bool operator==(const XFRectangle3D& other);

  float center[3] = {};     ///< middle of the hole
  float normal[3] = {};     ///< of its plane; the sense follows the order of the edges
  float majorDir[3] = {};   ///< along the longer sides
  float halfLength = 0.0F;  ///< half the overall size along majorDir
  float halfWidth = 0.0F;   ///< half the overall size across it
};

/// A rectangular hole with rounded corners.
class ZELMO_EXPORT XFRoundGroove3D {
 public:
  XFRoundGroove3D() = default;  ///< all fields 0
  /// \param[in] values center, normal, majorDir, halfLength, halfWidth, cornerRadius: exactly 12
  ///     floats
  explicit XFRoundGroove3D(const std::vector<float>& values);

  /// The same outline as a feature record, field by field.
  void getRoundGroove(xgeofeature::XFRoundGroove3D& groove) const;

  /// \copydoc XFOvalGroove3D::operator==
  bool operator==(const XFRoundGroove3D& other);

  float center[3] = {};       ///< middle of the hole
  float normal[3] = {};       ///< that of the last arc of the outline
  float majorDir[3] = {};     ///< along the longer sides
  float halfLength = 0.0F;    ///< half the overall size along majorDir
  float halfWidth = 0.0F;     ///< half the overall size across it
  float cornerRadius = 0.0F;  ///< of the corner arcs, that of the last one
};

/// An edge of a model with the poly line that shows it.
class ZELMO_EXPORT XFModelEdge {
 public:
  /// No points and a null edge.
  XFModelEdge() = default;
  /// \param[in] line_points the poly line, copied
  /// \param[in] model_edge the edge, sharing its part of the model
  XFModelEdge(const std::vector<XFPoint>& line_points, const TopoDS_Edge& model_edge)
      : points(line_points), edge(model_edge) {}

  std::vector<XFPoint> points;  ///< from the start of the edge's curve to its end, both included
  TopoDS_Edge edge;             ///< the edge itself; keeps its part of the model alive
};

}  // namespace xmodelfeature
