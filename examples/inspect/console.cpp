// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "console.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>

#include <fcntl.h>
#include <unistd.h>

#include "failure.h"

namespace inspect {
namespace {

volatile std::sig_atomic_t end_asked = 0;
volatile pid_t other_process = 0;

extern "C" void askForEnd(int signal) {
  end_asked = 1;
  if (other_process > 0) ::kill(other_process, signal);
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

Progress::Progress(char* note, std::size_t size)
    : m_note(note), m_size(size), m_shown(::isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() { clear(); }

void Progress::step(const std::string& text) {
  std::strncpy(m_note, text.c_str(), m_size - 1);
  if (end_asked != 0) throw Failure(kInterrupted, "interrupted; nothing was written");
  if (m_shown) std::fprintf(stderr, "\r\x1b[K%s ...", text.c_str());
}

void Progress::clear() const {
  if (m_shown) std::fputs("\r\x1b[K", stderr);
}

void endPolitelyOnSignals() {
  struct sigaction action = {};
  action.sa_handler = askForEnd;
  ::sigaction(SIGINT, &action, nullptr);
  ::sigaction(SIGTERM, &action, nullptr);
}

bool endWasAsked() { return end_asked != 0; }

void passSignalsTo(pid_t process) { other_process = process; }

}  // namespace inspect
