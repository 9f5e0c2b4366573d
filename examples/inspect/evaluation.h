// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include <TopoDS_Shape.hxx>

#include "console.h"
#include "outlines.h"
#include "output_folder.h"

namespace inspect {

/// What a run has read and measured.
struct Inspection {
  const TopoDS_Shape& model;
  const ModelContent& content;
  const Scan& scan;
  const std::vector<TruePoint>& truth;  ///< empty unless the scan is simulated
  const std::vector<Measurement>& measurements;
  const std::vector<OutlineMeasurement>& outlines;
};

/// Evaluates all that was asked for and writes its files, the report among them.
/// \return the tables for the user
std::string reportOn(const Inspection& done, const Options& options, const OutputFolder& folder,
                     Progress& progress);

/// Touches the model instead of measuring a scan, and writes the files of that.
/// \return the table for the user
std::string reportTouches(const TopoDS_Shape& model, const ModelContent& content,
                          const Options& options, const OutputFolder& folder);

}  // namespace inspect
