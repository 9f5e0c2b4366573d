// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "console.h"

#include <csignal>
#include <cstdio>
#include <iostream>

#include <fcntl.h>
#include <unistd.h>

#include "failure.h"

namespace inspect {
namespace {

volatile std::sig_atomic_t end_asked = 0;

extern "C" void askForEnd(int signal) {
  end_asked = 1;
  std::signal(signal, SIG_DFL);  // the second time it is not a request
}

void flushAll() {
  std::cout.flush();
  std::fflush(stdout);
}

}  // namespace

OutputAside::OutputAside(const std::string& path) {
  if (path.empty()) return;
  flushAll();
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  if (file < 0) throw Failure(kBadOutput, path + ": the log can't be written");
  m_terminal = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
  ::dup2(file, STDOUT_FILENO);
  ::close(file);
}

OutputAside::~OutputAside() {
  if (m_terminal < 0) return;
  flushAll();
  // What the log could not take must not hinder the table.
  std::cout.clear();
  std::clearerr(stdout);
  ::dup2(m_terminal, STDOUT_FILENO);
  ::close(m_terminal);
}

Progress::Progress() : m_shown(::isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
  if (m_shown) std::fputs("\r\x1b[K", stderr);
}

void Progress::step(const std::string& text) {
  if (end_asked != 0) throw Failure(kInterrupted, "interrupted; nothing was written");
  if (m_shown) std::fprintf(stderr, "\r\x1b[K%s ...", text.c_str());
}

void endPolitelyOnSignals() {
  std::signal(SIGINT, askForEnd);
  std::signal(SIGTERM, askForEnd);
}

}  // namespace inspect
