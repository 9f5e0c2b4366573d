// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>

#include <sys/types.h>

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
  /// \param note char[size]: where the text of the step is kept for another process to read
  Progress(char* note, std::size_t size);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Shows the step. Throws Failure with kInterrupted once the user has asked the program to end.
  void step(const std::string& text);

  /// Takes the line away, so that something else can be printed.
  void clear() const;

 private:
  char* m_note;
  std::size_t m_size;
  bool m_shown;
};

/// Lets Ctrl-C and a polite kill end the program at its next step, so that it can tidy up.
void endPolitelyOnSignals();

/// Whether such a signal came.
bool endWasAsked();

/// Hands the signals on to another process as well; 0 for none.
void passSignalsTo(pid_t process);

}  // namespace inspect
