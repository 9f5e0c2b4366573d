// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "failing_allocation.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {
std::atomic<std::size_t> smallest_failing{SIZE_MAX};

void* allocate(std::size_t size) {
  if (size >= smallest_failing) throw std::bad_alloc();
  if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
  throw std::bad_alloc();
}
}  // namespace

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }

namespace zelmo::test {
FailingAllocation::FailingAllocation(std::size_t limit) { smallest_failing = limit; }
FailingAllocation::~FailingAllocation() { smallest_failing = SIZE_MAX; }
}  // namespace zelmo::test
