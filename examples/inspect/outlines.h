// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include <TopoDS_Shape.hxx>

#include "measure.h"
#include "outline_shapes.h"

namespace inspect {

/// An outline of the model that can be measured: the edge of a surface and the wall that starts there.
struct NominalOutline {
  std::string name;
  Outline ideal;
  double depth;    ///< mm: how far from the edge the wall is looked at
  bool one_sided;  ///< the wall lies on the side that the normal turns its back to

  /// Whether a point lies as far from the outline's plane as the part of the wall that is looked at.
  bool atWall(const cv::Vec3d& point) const;
};

/// The slots, rectangles and round grooves of a model, and the circles at the ends of its full
/// cylinders.
std::vector<NominalOutline> outlinesOf(const TopoDS_Shape& model, const ModelContent& content);

struct OutlineMeasurement {
  NominalOutline nominal;
  Outline measured;
  std::string trouble;               ///< why there is no measured outline; empty where there is one
  std::vector<PickedPoint> surface;  ///< around the edge: they give the plane
  std::vector<PickedPoint> wall;     ///< below the edge: they give the outline in the plane
  double distance = 0.0;             ///< mm between the centres
  double angle = 0.0;                ///< degrees between the normals
  double turn = 0.0;                 ///< degrees between the long sides; 0 for a circle
  double form = 0.0;                 ///< mm: largest minus smallest deviation of the points used

  bool done() const { return trouble.empty(); }
  int used() const;
};

/// Measures outlines in a scan that holds the surface around them and the walls below them.
class OutlineInspector {
 public:
  /// \param cloud with the scan in it
  /// \param folder where the library may write while it searches
  OutlineInspector(const Scan& scan, const Options& options,
                   const xgeofeature::XGeoFeatureExtract& cloud, std::string folder);

  OutlineMeasurement measure(const NominalOutline& nominal);

 private:
  void pickSurface(OutlineMeasurement& result);
  void pickWall(OutlineMeasurement& result);

  const Scan& m_scan;
  Options m_options;
  xgeofeature::XGeoFeatureExtract m_extract;
  std::string m_folder;
};

/// The table for the user; empty without outlines.
std::string outlineTable(const std::vector<OutlineMeasurement>& measurements);

/// The text of outlines.csv.
std::string outlineRows(const std::vector<OutlineMeasurement>& measurements);

}  // namespace inspect
