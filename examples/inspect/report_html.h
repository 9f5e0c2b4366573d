// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "report_model.h"
#include "report_plots.h"
#include "svg.h"

namespace inspect {

/// What the page shows beside numbers.
struct PagePictures {
  Svg verdicts, deviations;              ///< of the part
  std::vector<std::vector<Plot>> plots;  ///< per feature of the report
};

/// The text of report.html: one page that refers to nothing outside itself and runs no script. Its
/// numbers are rounded for the eye; an element "data" around each holds the number of report.json in
/// full, and the path to it there.
std::string reportHtml(const Report& report, const PagePictures& pictures);

/// The rules of the page, with those of the pictures of the part in it.
std::string pageStyle(const Svg& part);

}  // namespace inspect
