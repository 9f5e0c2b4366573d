// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdio>
#include <thread>
#include <vector>

#include <dlfcn.h>

// A host that loads the library by name, as a plug-in: several times, from several threads, and ends
// after it let go of it. Ends with 1 when the library can't be loaded or says no version.
int main(int argc, char** argv) {
  const char* const name = argc > 1 ? argv[1] : "libzelmo.so.0";
  int versions[4] = {};
  std::vector<std::thread> threads;
  for (int& found : versions) {
    threads.emplace_back([name, &found] {
      for (int round = 0; round < 25; ++round) {
        void* const library = dlopen(name, RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) return;
        using Version = const char* (*)();
        const auto version = reinterpret_cast<Version>(dlsym(library, "_ZN5zelmo7versionEv"));
        if (version != nullptr && version()[0] != '\0' && dlclose(library) == 0) ++found;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  int rounds = 0;
  for (const int found : versions) rounds += found;
  std::printf("loaded and let go %d times of 100\n", rounds);
  return rounds == 100 ? 0 : 1;
}
