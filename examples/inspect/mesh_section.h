// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include <opencv2/core/matx.hpp>

#include "console.h"
#include "options.h"
#include "output_folder.h"
#include "surface_mesh.h"

namespace inspect {

/// A plane a x + b y + c z + d = 0 with a unit normal, and the directions of a drawing of it: seen
/// from where the normal points to, x or the horizon to the right.
struct CutPlane {
  cv::Vec3d normal, right, up;
  double d = 0.0;
};

/// Reads "a,b,c,d". Throws Failure with kBadUsage where it is no plane.
CutPlane cutPlaneOf(const std::string& text);

/// Ends of segments that hang together, in order.
struct Chain {
  std::vector<cv::Vec3d> points;  ///< a closed chain's first point is not repeated
  bool closed = false;
  double length = 0.0;
};

struct Section {
  std::vector<Chain> chains;  ///< the longest first
  int segments = 0;           ///< as the library gives them
  int in_plane = 0;           ///< triangles that lie in the plane: every side of them is a segment
  double length = 0.0;        ///< of all chains
  double area = 0.0;          ///< that the closed chains enclose, holes taken out
};

/// Cuts a mesh through the library, by both of its ways, and joins the segments.
/// Throws Failure with kUnexpected where the two ways do not agree.
Section sectionOf(const SurfaceMesh& mesh, const CutPlane& plane);

/// The work of --section: writes section.txt and section.svg. \return what to print
std::string sectionInto(const OutputFolder& folder, const Options& options, Progress& progress);

}  // namespace inspect
