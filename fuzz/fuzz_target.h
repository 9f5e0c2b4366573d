// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>

#include "byte_source.h"
#include "transcript.h"

/// Runs one input. The fuzzers call it by this name; the replay gives each target's a name of its own.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace zelmo::fuzz {

/// Runs an input twice: the same input has to give the same bits.
/// \param run called as run(ByteSource&, Transcript&)
template <typename Run>
int runTwice(const std::uint8_t* data, std::size_t size, Run run) {
  Transcript first, second;
  for (Transcript* transcript : {&first, &second}) {
    ByteSource bytes(data, size);
    run(bytes, *transcript);
  }
  ZELMO_FUZZ_CHECK(first == second);
  return 0;
}

}  // namespace zelmo::fuzz
