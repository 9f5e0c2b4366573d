// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <string>
#include <vector>

#include <TopoDS_Shape.hxx>
#include <opencv2/core.hpp>

namespace inspect {

/// A scanned cloud with normals.
struct Scan {
  std::vector<float> records;      ///< x, y, z, nx, ny, nz per point
  std::vector<int> lines;          ///< per point the line of the file that holds it
  std::size_t without_normal = 0;  ///< points whose normal is 0 0 0: no search finds them

  int count() const { return static_cast<int>(lines.size()); }
  const float* point(int i) const { return &records[6 * static_cast<std::size_t>(i)]; }
  const float* normal(int i) const { return point(i) + 3; }
};

/// Reads a scan from text, one point per line: x y z nx ny nz, separated by blanks, tabs, commas or
/// semicolons, with '#' before a comment. Normals are brought to unit length. Throws Failure with
/// kBadScan that names the line which is no point.
Scan readScan(const std::string& path);

/// Reads the text of a scan; \p name stands in messages.
Scan parseScan(const std::string& text, const std::string& name);

/// What a simulated point was before it was disturbed.
struct TruePoint {
  cv::Vec3d place;
  int face;      ///< number of its face in the model, in the order of an explorer
  bool outlier;  ///< it was moved off the surface
};

struct SimulationSettings {
  int points = 0;
  double noise = 0.0;           ///< mm, standard deviation per coordinate
  double outlier_share = 0.02;  ///< half of them within 0.3 mm of the surface, half within 5 mm
  unsigned seed = 20190125;
};

/// The text of a scan of the model's whole surface: points spread evenly over the area of its faces,
/// with noise and outliers and with the outward normal of the true surface. The same settings give
/// the same text.
///
/// \param[out] truth one per line of the text after the first; may be null
std::string simulateScan(const TopoDS_Shape& model, const SimulationSettings& settings,
                         std::vector<TruePoint>* truth = nullptr);

}  // namespace inspect
