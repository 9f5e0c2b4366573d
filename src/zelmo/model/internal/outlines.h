// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <TopoDS_Wire.hxx>

#include "zelmo/model/outline_records.h"
#include "zelmo/model/solid_records.h"

/// \file
/// What inner outlines of a face are, and the rectangle around several patches of one plane.

namespace zelmo::internal {

bool readRectangle(const TopoDS_Wire& wire, xmodelfeature::XFRectangle3D& rectangle);
bool readOvalGroove(const TopoDS_Wire& wire, xmodelfeature::XFOvalGroove3D& groove);
bool readRoundGroove(const TopoDS_Wire& wire, xmodelfeature::XFRoundGroove3D& groove);

/// \see xmodelfeature::XModelFeature::getPlane
void mergePlanes(const std::vector<xmodelfeature::XFPlane>& planes, xmodelfeature::XFPlane& merged);

}  // namespace zelmo::internal
