// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "outlines.h"
#include "output_folder.h"

namespace inspect {

/// Writes the measured features and outlines to measured.step and measured.igs, reads both back and
/// looks for every one of them. Throws Failure with kBadOutput where a file isn't whole.
///
/// \return a line for the user about what can't be drawn; empty where all can
std::string writeCad(const std::vector<Measurement>& measurements,
                     const std::vector<OutlineMeasurement>& outlines, const OutputFolder& folder);

}  // namespace inspect
