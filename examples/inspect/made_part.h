// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include <TopoDS_Shape.hxx>

namespace inspect {

/// A machined block of 120 x 80 x 40 mm with planes of several sizes and directions, a bore, a blind
/// hole with a counterbore, a slot, pockets, a cylindrical boss, a conical boss and a ball.
TopoDS_Shape makePart();

/// Writes the shape as STEP. Throws Failure with kBadOutput where the file isn't whole.
void writeStep(const TopoDS_Shape& shape, const std::string& path);

}  // namespace inspect
