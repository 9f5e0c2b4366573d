// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "console.h"
#include "options.h"
#include "output_folder.h"

namespace inspect {

/// The work of --tube: makes a bent tube, scans it, traces its centre line in the scan and compares
/// the two. Writes scan.xyz, centerline.csv and tube.svg. \return what to print
std::string tubeInto(const OutputFolder& folder, const Options& options, Progress& progress);

}  // namespace inspect
