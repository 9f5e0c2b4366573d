// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "guarded.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>

#include <Standard_Failure.hxx>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "failure.h"

namespace inspect {
namespace {

constexpr std::size_t kNoteSize = 256;

void say(const std::string& message) { std::fprintf(stderr, "inspect: %s\n", message.c_str()); }

/// Runs the work and reports what it throws. \return the exit code
int attempt(const std::function<int(Progress&, std::string&)>& work, Progress& progress,
            std::string& text, bool& whole) {
  try {
    const int code = work(progress, text);
    whole = true;
    return code;
  } catch (const Failure& failure) {
    progress.clear();
    say(failure.what());
    return failure.code();
  } catch (const Standard_Failure& failure) {
    progress.clear();
    say("the CAD kernel failed: " + std::string(failure.GetMessageString()));
  } catch (const std::exception& failure) {
    progress.clear();
    say(failure.what());
  }
  return kUnexpected;
}

void writeAll(int file, const std::string& text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t now = ::write(file, text.data() + done, text.size() - done);
    if (now < 0 && errno != EINTR) return;
    if (now > 0) done += static_cast<std::size_t>(now);
  }
}

std::string readAll(int file) {
  std::string text;
  char block[4096];
  for (;;) {
    const ssize_t now = ::read(file, block, sizeof block);
    if (now < 0 && errno == EINTR) continue;
    if (now <= 0) return text;
    text.append(block, static_cast<std::size_t>(now));
  }
}

/// The work's own process: never returns. The last byte that it hands over says that it is whole.
[[noreturn]] void work(const std::function<int(Progress&, std::string&)>& job, char* note,
                       int channel) {
  int code = kUnexpected;
  {
    Progress progress(note, kNoteSize);
    std::string text;
    bool whole = false;
    code = attempt(job, progress, text, whole);
    writeAll(channel, text + (whole ? "w" : "-"));
  }
  std::fflush(nullptr);
  ::_exit(code);
}

}  // namespace

Outcome doGuarded(const std::function<int(Progress&, std::string&)>& job) {
  void* shared =
      ::mmap(nullptr, kNoteSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  int channel[2];
  if (shared == MAP_FAILED || ::pipe(channel) != 0) {
    throw Failure(kUnexpected, "the system has no room for a second process");
  }
  char* note = static_cast<char*>(shared);
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child < 0) throw Failure(kUnexpected, "the system has no room for a second process");
  if (child == 0) {
    ::close(channel[0]);
    work(job, note, channel[1]);
  }
  passSignalsTo(child);
  ::close(channel[1]);
  std::string text = readAll(channel[0]);
  ::close(channel[0]);
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  passSignalsTo(0);
  const std::string step(note);
  ::munmap(shared, kNoteSize);
  if (WIFEXITED(status) && !text.empty()) {
    const bool whole = text.back() == 'w';
    text.pop_back();
    return {WEXITSTATUS(status), whole, text};
  }
  if (endWasAsked()) throw Failure(kInterrupted, "interrupted; nothing was written");
  const std::string cause =
      WIFSIGNALED(status) ? "crashed (signal " + std::to_string(WTERMSIG(status)) + ")" : "ended";
  const bool reading = step.find("reading the model") != std::string::npos;
  throw Failure(reading ? kBadModel : kUnexpected,
                cause + " while " + step + "; nothing was written");
}

}  // namespace inspect
