// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <TopoDS_Shape.hxx>
#include <opencv2/core/matx.hpp>

namespace inspect {

/// A straight or a circular arc of a tube's centre line.
struct TubePiece {
  cv::Vec3d start;
  cv::Vec3d direction;  ///< unit; where it leads at its start
  double length;
  double radius;        ///< of the arc; 0 for a straight
  cv::Vec3d to_center;  ///< unit, from the start to the arc's centre

  cv::Vec3d at(double along) const;
  cv::Vec3d directionAt(double along) const;
};

/// A place on the centre line.
struct Foot {
  double distance = 0.0;  ///< of the point from it
  double along = 0.0;  ///< mm from the start of the tube; beyond an end the line goes on straight
};

/// A tube of 12 mm diameter with straights and three bends that lie in different planes.
class BentTube {
 public:
  BentTube();

  static constexpr double kRadius = 6.0;

  const std::vector<TubePiece>& pieces() const { return m_pieces; }
  double length() const;
  /// The nearest place of the centre line.
  Foot footOf(const cv::Vec3d& point) const;
  /// The wall, open at both ends.
  TopoDS_Shape wall() const;

 private:
  std::vector<TubePiece> m_pieces;
};

}  // namespace inspect
