// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Replaces the allocator of the test program.
#include "task_allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>
#include <thread>

namespace {

std::atomic<int> g_count{0}, g_refused{0};  // nothing is refused while g_refused is 0
std::thread::id g_owner;

}  // namespace

namespace zelmo::test {

RefusedAllocation::RefusedAllocation(int refused) {
  g_owner = std::this_thread::get_id();
  g_count = 0;
  g_refused = refused;
}
RefusedAllocation::~RefusedAllocation() { g_refused = 0; }
int RefusedAllocation::count() const { return g_count; }

}  // namespace zelmo::test

void* operator new(std::size_t size) {
  const bool is_counted = g_refused > 0 && std::this_thread::get_id() != g_owner;
  void* memory = is_counted && ++g_count == g_refused ? nullptr : std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
