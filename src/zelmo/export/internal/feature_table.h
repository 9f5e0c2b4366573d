// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ostream>
#include <string>

#include "zelmo/feature/base.h"

/// \file
/// Feature records as text. The streams are expected to be in their default state with the classic
/// locale.

namespace zelmo::internal {

/// The header line of the table, without a line end.
void writeTableHeader(std::ostream& out);

/// Whether features are nominal or measured ones; the measured ones have a prefix to their tag.
enum class FeatureRole { Nominal, Inspection };

/// The row of a feature with its line end, or nothing for a poly line, a null pointer or a foreign
/// record.
void writeTableRow(std::ostream& out, const xgeofeature::XFBase* feature, const std::string& name,
                   FeatureRole role);

/// The numbers of a point, line, plane or circle with a line end; nothing for anything else.
void writeNumberLine(std::ostream& out, const xgeofeature::XFBase* feature);

}  // namespace zelmo::internal
