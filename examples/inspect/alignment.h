// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <string>
#include <vector>

#include <TopoDS_Shape.hxx>
#include <opencv2/core/matx.hpp>

#include "console.h"
#include "options.h"
#include "output_folder.h"
#include "scan.h"

namespace inspect {

/// A rigid motion.
struct Motion {
  cv::Matx33d turn = cv::Matx33d::eye();
  cv::Vec3d shift;

  cv::Vec3d operator()(const cv::Vec3d& point) const { return turn * point + shift; }
  /// This motion after another one.
  Motion after(const Motion& first) const;
};

/// A point that aligns: where it should be, and where it is if somebody measured it.
struct RpsPoint {
  std::string name;
  cv::Vec3d nominal;
  bool is_measured = false;
  cv::Vec3d measured;
  std::string axes;  ///< of "xyz" those that count; in capitals those that locate

  bool counts(int axis) const;
  bool locates(int axis) const;
};

/// Reads points, one per line: name, nominal x y z, measured x y z (or nothing), axes (or nothing).
/// Throws Failure with kBadScan that names the line, or says what the points leave free.
std::vector<RpsPoint> readRps(const std::string& path);
std::vector<RpsPoint> parseRps(const std::string& text, const std::string& name);
std::string textOf(const std::vector<RpsPoint>& points);

/// Points spread over the flat faces that stand across x, y and z, each to be looked up in the scan.
/// Throws Failure with kNothingMeasured where the model has no such faces.
std::vector<RpsPoint> pickRps(const TopoDS_Shape& model);

/// Throws Failure with kBadScan where the points that have or lack measured places leave the part
/// free to move.
void requireHold(const std::vector<RpsPoint>& points);

/// The simulated scan away from the model, by a motion that is always the same.
Motion knownDisplacement();
std::string displaced(const std::string& scan, const Motion& motion);

/// Points as a user would give them for a displaced part: some clicked at roughly, the others to be
/// looked up.
std::vector<RpsPoint> rpsOfDisplaced(const TopoDS_Shape& model, const Motion& displacement);

/// Moves the scan onto the model by RPS points: first by those that are measured, then by those that
/// are looked up in the scan. Writes alignment.txt. Throws Failure with kNothingMeasured where a point
/// has no scan near it.
/// \param rps_file the points; where there is none they are picked, or are those of the known
///     displacement, and rps.txt is written
/// \param is_displaced whether the scan was displaced by the known motion
/// \return what to print
std::string alignToModel(Scan& scan, const TopoDS_Shape& model, const std::string& rps_file,
                         bool is_displaced, const OutputFolder& folder, Progress& progress);

}  // namespace inspect
