// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>
#include <unistd.h>

/// Sends the library's lines, and OpenCASCADE's, nowhere: what the fuzzer and the checks have to say
/// goes to the standard error output.
extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  const int nowhere = open("/dev/null", O_WRONLY);
  if (nowhere >= 0) dup2(nowhere, STDOUT_FILENO);
  return 0;
}
