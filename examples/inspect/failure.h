// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <stdexcept>
#include <string>

namespace inspect {

/// What the program tells the shell. The numbers stand in the help text.
enum ExitCode : int {
  kDone = 0,
  kNothingMeasured = 1,
  kBadUsage = 2,
  kBadModel = 3,
  kBadScan = 4,
  kBadOutput = 5,
  kUnexpected = 6,
  kInterrupted = 130,
};

/// Ends the program with a message for the user and an exit code.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& message) : std::runtime_error(message), m_code(code) {}
  ExitCode code() const { return m_code; }

 private:
  ExitCode m_code;
};

}  // namespace inspect
