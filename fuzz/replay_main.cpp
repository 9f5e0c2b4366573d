// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
// Runs stored inputs through the fuzz targets, without a fuzzer. ZELMO_FUZZ_TARGETS is the list of
// the targets, each wrapped in X().
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

#define X(name) extern "C" int zelmo_fuzz_##name(const std::uint8_t* data, std::size_t size);
ZELMO_FUZZ_TARGETS
#undef X

namespace {

struct Target {
  const char* name;
  int (*run)(const std::uint8_t* data, std::size_t size);
};

#define X(name) {#name, &zelmo_fuzz_##name},
constexpr Target kTargets[] = {ZELMO_FUZZ_TARGETS};
#undef X

std::vector<std::filesystem::path> filesIn(const std::filesystem::path& place) {
  if (std::filesystem::is_regular_file(place)) return {place};
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(place)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

/// replay TARGET FILE-OR-FOLDER: 0 when the target took all inputs; the first one that it does not
/// take ends the process. 2 for an unknown target or without inputs.
int main(int argc, char** argv) {
  const auto* target = std::find_if(std::begin(kTargets), std::end(kTargets), [&](const Target& t) {
    return argc == 3 && std::strcmp(t.name, argv[1]) == 0;
  });
  if (target == std::end(kTargets)) {
    std::fputs("usage: replay TARGET FILE-OR-FOLDER\n", stderr);
    return 2;
  }
  LLVMFuzzerInitialize(&argc, &argv);
  const auto files = filesIn(argv[2]);
  for (const auto& file : files) {
    std::fprintf(stderr, "%s\n", file.c_str());  // the last line names the input that failed
    std::ifstream in(file, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // A copy that ends where the input ends: a sanitizer sees a target that reads on.
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    target->run(bytes.data(), bytes.size());
  }
  return files.empty() ? 2 : 0;
}
