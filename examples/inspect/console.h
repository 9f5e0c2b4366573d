// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace inspect {

/// Turns what is written on the standard output, by the library and what stands under it, into a
/// file for as long as the object lives.
class OutputAside {
 public:
  /// \param path the file to append to; an empty name leaves the standard output alone
  explicit OutputAside(const std::string& path);
  ~OutputAside();
  OutputAside(const OutputAside&) = delete;
  OutputAside& operator=(const OutputAside&) = delete;

 private:
  int m_terminal = -1;
};

/// One line on the terminal that says what is going on; silent where there is no terminal.
class Progress {
 public:
  Progress();
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Shows the step. Throws Failure with kInterrupted once the user has asked the program to end.
  void step(const std::string& text);

 private:
  bool m_shown = false;
};

/// Lets Ctrl-C and a polite kill end the program at its next step, so that it can tidy up.
void endPolitelyOnSignals();

}  // namespace inspect
