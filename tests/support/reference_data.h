// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

namespace zelmo::test {

/// Where the optional reference data lies: ../shared/data beside the project, or the folder that the
/// environment variable ZELMO_REFERENCE_DATA names.
inline std::filesystem::path referenceData(const std::string& relative) {
  const char* named = std::getenv("ZELMO_REFERENCE_DATA");  // NOLINT: tests start no threads before
  return std::filesystem::path(named != nullptr ? named : ZELMO_REFERENCE_DATA_DIR) / relative;
}

/// Skips the test where the reference data is not at hand. On the build server it must be: there a
/// missing file is a failure.
#define ZELMO_REQUIRE_REFERENCE_DATA(relative)                                                \
  do {                                                                                        \
    if (!std::filesystem::exists(zelmo::test::referenceData(relative))) {                     \
      if (std::getenv("CI") != nullptr) FAIL() << "reference data missing: " << (relative);   \
      GTEST_SKIP() << "reference data not at hand: " << zelmo::test::referenceData(relative); \
    }                                                                                         \
  } while (false)

}  // namespace zelmo::test
