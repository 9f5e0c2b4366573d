// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <exception>
#include <future>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace zelmo::internal {

/// The next of the items 0 to count - 1 behind a cursor that the caller keeps under \p mutex, or
/// nothing when all are given out. No lock stays held.
///
/// The lock is held for a moment once an item, so a task that finds it taken gives its turn away instead
/// of going to sleep: items that cost less than waking a thread are handed out twice as fast.
inline std::optional<int> takeItem(std::mutex& mutex, int& next, int count) {
  std::unique_lock<std::mutex> lock(mutex, std::try_to_lock);
  while (!lock) {
    std::this_thread::yield();
    (void)lock.try_lock();
  }
  if (next >= count) return std::nullopt;
  return next++;
}

/// Hands out 0, 1, ..., count - 1, one at a time, to tasks that ask at once.
class SharedCounter {
 public:
  explicit SharedCounter(int count) : m_count(count) {}

  /// The next item, or nothing when all are given out.
  std::optional<int> take() { return takeItem(m_mutex, m_next, m_count); }

  /// No further item is given out.
  void close() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_next = m_count;
  }

 private:
  std::mutex m_mutex;
  int m_next = 0;
  int m_count;
};

/// Runs body(0) to body(task_count - 1) each as a task of its own and waits for all of them in that
/// order, also when one throws. The exception of the first task that threw is handed on.
/// Callers: point elimination (4 tasks), mesh section (8), trim with curve (8).
template <typename Body>
void runTasks(int task_count, const Body& body) {
  std::vector<std::future<void>> tasks;
  std::exception_ptr first_failure;
  try {
    for (int i = 0; i < task_count; ++i) {
      tasks.push_back(std::async(std::launch::async, [&body, i] { body(i); }));
    }
  } catch (...) {
    first_failure = std::current_exception();  // no thread to be had: wait for those that run
  }
  for (auto& task : tasks) {
    try {
      task.get();
    } catch (...) {
      if (!first_failure) first_failure = std::current_exception();
    }
  }
  if (first_failure) std::rethrow_exception(first_failure);
}

}  // namespace zelmo::internal
