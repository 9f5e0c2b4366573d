// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelmo::test {

/// Counts the allocations of other threads than its own while it lives, and refuses one of them.
class RefusedAllocation {
 public:
  explicit RefusedAllocation(int refused);
  RefusedAllocation(const RefusedAllocation&) = delete;
  RefusedAllocation& operator=(const RefusedAllocation&) = delete;
  ~RefusedAllocation();

  int count() const;
};

}  // namespace zelmo::test
