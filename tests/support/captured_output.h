// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <iostream>
#include <string>

#include <gtest/gtest.h>

namespace zelmo::test {

/// What \p action writes on the standard output, by whatever road.
template <typename Action>
std::string standardOutputOf(Action action) {
  std::cout.flush();
  std::fflush(stdout);
  testing::internal::CaptureStdout();
  action();
  std::cout.flush();
  std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

}  // namespace zelmo::test
