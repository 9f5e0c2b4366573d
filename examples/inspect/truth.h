// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include <TopoDS_Shape.hxx>

#include "outlines.h"

namespace inspect {

/// The table of what the searches found of what was there, kind by kind: recall is the share of the
/// true points that was found, precision the share of true points among the found.
///
/// True are the points of the feature's own faces that are no outliers; for an outline's surface and
/// wall those within the reach of the search.
///
/// \param truth one per line of the scan's file after the first
std::string truthTable(const TopoDS_Shape& model, const Scan& scan,
                       const std::vector<TruePoint>& truth,
                       const std::vector<Measurement>& measurements,
                       const std::vector<OutlineMeasurement>& outlines);

}  // namespace inspect
