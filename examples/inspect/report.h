// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "measure.h"
#include "outlines.h"
#include "output_folder.h"

namespace inspect {

/// The table for the user, with closing lines that count what was measured and what was left out.
std::string tableOf(const std::vector<Measurement>& measurements, const ModelContent& content,
                    const Scan& scan);

/// The measured feature; a plane's offset is taken where it is compared, at the nominal centre.
Telling tellMeasured(const Measurement& one);

/// Writes features.csv, results.csv, outlines.csv and deviations.csv. Throws Failure with kBadOutput
/// where one of them isn't whole.
void writeReports(const std::vector<Measurement>& measurements,
                  const std::vector<OutlineMeasurement>& outlines, const Scan& scan,
                  const OutputFolder& folder);

}  // namespace inspect
