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
/// unit, directions unit, the size fields as in the records of xgeofeature. A record that is made
/// without values has no defined content, and a vector of a wrong length counts as no values.

namespace xmodelfeature {

/// A point of an edge's poly line.
class ZELMO_EXPORT XFPoint {
 public:
  XFPoint() = default;
  XFPoint(const float& px, const float& py, const float& pz) : x(px), y(py), z(pz) {}
  /// \param[in] point float[3]
  explicit XFPoint(const float* point) : x(point[0]), y(point[1]), z(point[2]) {}

  float x = 0.0F, y = 0.0F, z = 0.0F;
};

/// A straight edge.
class ZELMO_EXPORT XFLine3D {
 public:
  XFLine3D() = default;
  /// \param[in] start_point,end_point float[3] each
  XFLine3D(const float* start_point, const float* end_point);
  /// \param[in] values the 6 floats of the fields in order
  explicit XFLine3D(const std::vector<float>& values);

  /// The same line by its middle, direction and length.
  void getLine(xgeofeature::XFLine3D2& line) const;

  /// Whether each coordinate of both ends differs by strictly less than 0.01, also with the ends of
  /// one line swapped.
  bool operator==(const XFLine3D& other);

  float start[3] = {};
  float end[3] = {};
};

/// A circular edge, or the circle that an arc belongs to.
class ZELMO_EXPORT XFCircle3D {
 public:
  XFCircle3D() = default;
  /// \param[in] values the 10 floats of the fields in order
  explicit XFCircle3D(const std::vector<float>& values);

  void getCircle(xgeofeature::XFCircle3D& circle) const;

  /// Whether radius and center coordinates differ by at most 0.01 each, and the cosine between the
  /// normals is 1 or -1 to within 0.02. The direction majorDir does not count.
  bool operator==(const XFCircle3D& other);

  float center[3] = {};
  float normal[3] = {};
  float majorDir[3] = {};
  float radius = 0.0F;
};

/// A slot with two half-round ends.
class ZELMO_EXPORT XFOvalGroove3D {
 public:
  XFOvalGroove3D() = default;
  /// \param[in] values the 11 floats of the fields in order
  explicit XFOvalGroove3D(const std::vector<float>& values);

  void getOvalGroove(xgeofeature::XFOvalGroove3D& groove) const;

  /// Whether sizes and center coordinates differ by at most 0.01 each, and the cosines between the
  /// normals and between the major directions are 1 or -1 to within 0.02.
  bool operator==(const XFOvalGroove3D& other);

  float center[3] = {};
  float normal[3] = {};
  float majorDir[3] = {};
  float halfStraight = 0.0F;  ///< half the length of the straight sides
  float radius = 0.0F;
};

/// A hole of four right-angled sides.
class ZELMO_EXPORT XFRectangle3D {
 public:
  XFRectangle3D() = default;
  /// \param[in] values the 11 floats of the fields in order
  explicit XFRectangle3D(const std::vector<float>& values);

  void getRectangle(xgeofeature::XFRectangle3D& rectangle) const;

  /// \copydoc XFOvalGroove3D::operator==
  bool operator==(const XFRectangle3D& other);

  float center[3] = {};
  float normal[3] = {};
  float majorDir[3] = {};
  float halfLength = 0.0F;  ///< half the overall size along majorDir
  float halfWidth = 0.0F;   ///< half the overall size across it
};

/// A rectangular hole with rounded corners.
class ZELMO_EXPORT XFRoundGroove3D {
 public:
  XFRoundGroove3D() = default;
  /// \param[in] values the 12 floats of the fields in order
  explicit XFRoundGroove3D(const std::vector<float>& values);

  void getRoundGroove(xgeofeature::XFRoundGroove3D& groove) const;

  /// \copydoc XFOvalGroove3D::operator==
  bool operator==(const XFRoundGroove3D& other);

  float center[3] = {};
  float normal[3] = {};
  float majorDir[3] = {};
  float halfLength = 0.0F;  ///< half the overall size along majorDir
  float halfWidth = 0.0F;   ///< half the overall size across it
  float cornerRadius = 0.0F;
};

/// An edge of a model with the poly line that shows it.
class ZELMO_EXPORT XFModelEdge {
 public:
  /// No points and a null edge.
  XFModelEdge() = default;
  XFModelEdge(const std::vector<XFPoint>& line_points, const TopoDS_Edge& model_edge)
      : points(line_points), edge(model_edge) {}

  std::vector<XFPoint> points;
  TopoDS_Edge edge;
};

}  // namespace xmodelfeature
