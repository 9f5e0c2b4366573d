// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include <TopoDS_Shape.hxx>

namespace inspect {

enum class ModelKind { Step, Iges, Unknown };

/// Tells a model file's kind by its content, or by its extension where the content does not say.
ModelKind kindOfModel(const std::string& path);

/// Whether the file holds the record that ends a file of its kind.
bool endsAsItShould(const std::string& path, ModelKind kind);

/// Reads a model through the library. Throws Failure with kBadModel, naming what is wrong with it.
TopoDS_Shape readModel(const std::string& path);

}  // namespace inspect
