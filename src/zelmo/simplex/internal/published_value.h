// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelmo::internal {

/// Stores the objective value that a fit class publishes for all its objects. Atomic, so that fits on
/// two threads leave one of their values and not a torn one.
inline void publish(double& shared, double value) {
  __atomic_store(&shared, &value, __ATOMIC_RELAXED);
}

}  // namespace zelmo::internal
