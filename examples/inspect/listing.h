// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include <TopoDS_Shape.hxx>

namespace inspect {

/// Everything that the library finds in a model, one line a feature, with counts of the faces and
/// edges that are nothing to it.
std::string listOf(const TopoDS_Shape& model);

}  // namespace inspect
