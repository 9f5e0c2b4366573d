// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <mutex>

namespace zelmo::internal {

/// Held by every entry of the library that reads or writes STEP or IGES, from the making of
/// OpenCASCADE's reader or writer to its end: two of them at work at once crash the process. A host
/// that runs readers of its own beside the library is not covered.
class CadLock {
 public:
  CadLock() : m_lock(processMutex()) {}

 private:
  static std::mutex& processMutex() {
    static std::mutex mutex;
    return mutex;
  }

  std::lock_guard<std::mutex> m_lock;
};

}  // namespace zelmo::internal
