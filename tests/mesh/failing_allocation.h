// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

namespace zelmo::test {

/// While it lives, every operator new of \p limit bytes or more throws std::bad_alloc, in all
/// threads.
class FailingAllocation {
 public:
  explicit FailingAllocation(std::size_t limit);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
};

}  // namespace zelmo::test
