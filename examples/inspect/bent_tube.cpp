// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "bent_tube.h"

#include <algorithm>
#include <cmath>

#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeWire.hxx>
#include <BRepPrimAPI_MakePrism.hxx>
#include <BRepPrimAPI_MakeRevol.hxx>
#include <BRep_Builder.hxx>
#include <TopoDS_Compound.hxx>
#include <gp_Ax1.hxx>
#include <gp_Ax2.hxx>
#include <gp_Circ.hxx>

namespace inspect {
namespace {

gp_Pnt pointAt(const cv::Vec3d& v) { return {v[0], v[1], v[2]}; }
gp_Dir directionTo(const cv::Vec3d& v) { return {v[0], v[1], v[2]}; }

/// A straight and the bend after it.
struct Bend {
  double straight, radius, angle;
  double roll;  ///< how far the plane of the bend is turned against that of the bend before
};

constexpr double kDegree = CV_PI / 180.0;
constexpr Bend kBends[] = {
    {50.0, 40.0, 90.0 * kDegree, 0.0},
    {35.0, 30.0, 60.0 * kDegree, 90.0 * kDegree},
    {45.0, 25.0, 120.0 * kDegree, -60.0 * kDegree},
    {40.0, 0.0, 0.0, 0.0},
};

}  // namespace

cv::Vec3d TubePiece::at(double along) const {
  if (radius == 0.0) return start + along * direction;
  const double angle = along / radius;
  return start + radius * ((1.0 - std::cos(angle)) * to_center + std::sin(angle) * direction);
}

cv::Vec3d TubePiece::directionAt(double along) const {
  if (radius == 0.0) return direction;
  const double angle = along / radius;
  return std::sin(angle) * to_center + std::cos(angle) * direction;
}

BentTube::BentTube() {
  cv::Vec3d at(0.0, 0.0, 0.0), direction(1.0, 0.0, 0.0), side(0.0, 1.0, 0.0);
  for (const Bend& bend : kBends) {
    m_pieces.push_back({at, direction, bend.straight, 0.0, {}});
    at = m_pieces.back().at(bend.straight);
    if (bend.radius == 0.0) break;
    side = std::cos(bend.roll) * side + std::sin(bend.roll) * direction.cross(side);
    const TubePiece arc{at, direction, bend.radius * bend.angle, bend.radius, side};
    m_pieces.push_back(arc);
    at = arc.at(arc.length);
    side = std::cos(bend.angle) * side - std::sin(bend.angle) * direction;
    direction = arc.directionAt(arc.length);
  }
}

double BentTube::length() const {
  double length = 0.0;
  for (const TubePiece& piece : m_pieces) length += piece.length;
  return length;
}

Foot BentTube::footOf(const cv::Vec3d& point) const {
  Foot nearest{1e30, 0.0};
  double before = 0.0;
  for (const TubePiece& piece : m_pieces) {
    const cv::Vec3d offset = point - piece.start;
    double along = offset.dot(piece.direction);
    if (piece.radius > 0.0) {
      const double towards = piece.radius - offset.dot(piece.to_center);
      along = piece.radius * std::atan2(along, towards);
    }
    // The straights at both ends go on, so that a point beyond an end is compared as well.
    const bool first = &piece == &m_pieces.front(), last = &piece == &m_pieces.back();
    along = std::clamp(along, first ? -1e3 : 0.0, last ? 1e3 : piece.length);
    const double distance = cv::norm(point - piece.at(along));
    if (distance < nearest.distance) nearest = {distance, before + along};
    before += piece.length;
  }
  return nearest;
}

TopoDS_Shape BentTube::wall() const {
  BRep_Builder builder;
  TopoDS_Compound wall;
  builder.MakeCompound(wall);
  for (const TubePiece& piece : m_pieces) {
    const gp_Circ ring(gp_Ax2(pointAt(piece.start), directionTo(piece.direction)), kRadius);
    const TopoDS_Wire wire = BRepBuilderAPI_MakeWire(BRepBuilderAPI_MakeEdge(ring).Edge()).Wire();
    if (piece.radius == 0.0) {
      const cv::Vec3d way = piece.length * piece.direction;
      builder.Add(wall, BRepPrimAPI_MakePrism(wire, gp_Vec(way[0], way[1], way[2])).Shape());
    } else {
      const gp_Ax1 axis(pointAt(piece.start + piece.radius * piece.to_center),
                        directionTo(piece.direction.cross(piece.to_center)));
      builder.Add(wall, BRepPrimAPI_MakeRevol(wire, axis, piece.length / piece.radius).Shape());
    }
  }
  return wall;
}

}  // namespace inspect
