// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "report_model.h"

namespace inspect {

/// A number of the page: rounded, and in full for programs. A dash where there is none.
/// \param path of the number in report.json, without its first slash
std::string shown(const std::string& path, double value, int decimals);
std::string shown(const std::string& path, int value);

/// The verdict in words, with a sign and a class of its own.
std::string verdictOf(Judgement judgement);

/// What links to a feature's section of the page.
std::string linkTo(const Report& report, const std::string& feature);

/// The overview: one row per feature.
std::string featureTable(const Report& report);

/// The tolerance plan: one row per requirement. \param feature only those of this one; empty for all
std::string requirementTable(const Report& report, const std::string& feature);

/// Every number of one feature.
std::string quantityTable(const Report& report, std::size_t feature);

}  // namespace inspect
