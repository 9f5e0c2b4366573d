// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <TopoDS_Face.hxx>

#include "zelmo/model/model_feature_type.h"

namespace zelmo::internal {

/// What \p face is.
/// \param[out] data emptied, then the floats of the record that belongs to the answer
xmodelfeature::ModelFeatureType classifyFace(const TopoDS_Face& face, std::vector<float>& data);

}  // namespace zelmo::internal
