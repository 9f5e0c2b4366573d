// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "report_model.h"

namespace inspect {

/// The text of report.json; null where there is no number.
/// \param indent blanks per level; -1 for one line that may stand in a page, in a script element
std::string reportJson(const Report& report, int indent);

/// The text of report.csv: one line per quantity of a feature and one per requirement. Numbers are the
/// shortest texts that read back as the same; a field is empty where there is none.
std::string reportCsv(const Report& report);

}  // namespace inspect
