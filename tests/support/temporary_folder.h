// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <codecvt>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <locale>
#include <stdexcept>
#include <string>

namespace zelmo::test {

/// A folder of the test's own, removed with everything in it.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "zelmo-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder: " + name);
    m_path = name;
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }

  const std::filesystem::path& path() const { return m_path; }

 private:
  std::filesystem::path m_path;
};

/// A path in the wide form that hosts hand in, whatever the C locale is.
inline std::wstring widePath(const std::filesystem::path& path) {
  return std::wstring_convert<std::codecvt_utf8<wchar_t>>().from_bytes(path.string());
}

/// The bytes of a file; nothing when it can't be read.
inline std::string contentOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace zelmo::test
