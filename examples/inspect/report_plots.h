// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "outlines.h"
#include "report_model.h"

namespace inspect {

/// A drawing for the page, with what stands under it.
struct Plot {
  std::string svg, caption;
};

/// The plots of a feature: a map of the deviations on a plane, a sphere or an unrolled cylinder or
/// cone; the deviations around an axis or an outline; their histogram. None where it isn't measured.
std::vector<Plot> plotsOf(const Measurement& one, const ReportFeature& told, const Scan& scan);
std::vector<Plot> plotsOf(const OutlineMeasurement& one, const ReportFeature& told,
                          const Scan& scan);

}  // namespace inspect
