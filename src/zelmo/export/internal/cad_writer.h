// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

class TopoDS_Shape;

/// \file
/// The two writers of CAD exchange files. Each holds the process-wide lock while it is at work.
/// OpenCASCADE's exceptions pass through.

namespace zelmo::internal {

/// Asks for inches in all later STEP files of the process. Without effect before the process has
/// made its first STEP reader or writer.
void setStepUnitToInch();

/// \param[in] path UTF-8
/// \return whether the shape could be translated and the file written
bool writeStep(const TopoDS_Shape& shape, const std::string& path);

/// Writes in millimetres.
/// \param[in] path UTF-8
/// \return whether the file was written; false for a shape that gives no entity
bool writeIges(const TopoDS_Shape& shape, const std::string& path);

}  // namespace zelmo::internal
