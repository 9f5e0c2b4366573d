// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <csignal>
#include <cstdio>

#include <Standard_Failure.hxx>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// There only under a sanitizer.
extern "C" __attribute__((weak)) void __sanitizer_set_death_callback(void (*callback)());

namespace zelmo::fuzz {

/// Whether \p action gives true in a process of its own that comes back within 1 s of its time: for
/// what OpenCASCADE may die of. A failure that OpenCASCADE throws counts as false.
template <typename Action>
bool holdsInChild(Action action) {
  const pid_t child = fork();
  if (child == 0) {
    // Neither the fuzzer nor a sanitizer is to report what happens here.
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGXCPU, SIGALRM}) {
      std::signal(signal, SIG_DFL);
    }
    if (__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback(nullptr);
    std::fclose(stderr);
    const rlimit seconds = {1, 2};
    setrlimit(RLIMIT_CPU, &seconds);
    bool holds = false;
    try {
      holds = action();
    } catch (const Standard_Failure&) {
    }
    _exit(holds ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace zelmo::fuzz
