// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelmo::internal {

/// Limit on the steps of the simplex in all guided fits.
constexpr int kGuidedIterations = 10000;

}  // namespace zelmo::internal
