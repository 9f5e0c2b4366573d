// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "zelmo/internal/cloud_tree.h"

namespace zelmo::internal {

/// Ascending indices of the points of \p cloud around which their 20 nearest neighbours, seen along
/// a normal estimated from as many, leave a gap of more than a quarter turn.
/// \return nothing without a cloud or without one finite point
std::vector<int> boundaryIndices(const boost::shared_ptr<Cloud>& cloud);

}  // namespace zelmo::internal
