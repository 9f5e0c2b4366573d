// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdio>
#include <iostream>

#include <unistd.h>

namespace zelmo::bench {

/// While it lives, the standard output goes nowhere: some fits print a line.
class QuietOutput {
 public:
  QuietOutput() {
    std::cout.flush();
    std::fflush(stdout);
    m_kept = dup(1);
    std::FILE* null = std::fopen("/dev/null", "w");
    dup2(fileno(null), 1);
    std::fclose(null);
  }
  QuietOutput(const QuietOutput&) = delete;
  QuietOutput& operator=(const QuietOutput&) = delete;
  ~QuietOutput() {
    std::cout.flush();
    dup2(m_kept, 1);
    close(m_kept);
  }

 private:
  int m_kept;
};

}  // namespace zelmo::bench
