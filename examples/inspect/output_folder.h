// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace inspect {

/// The folder of the results. Files are made aside, in a folder of their own within it, and take
/// their places together in commit(). Without it nothing is left behind, not even a folder that was
/// not there before.
class OutputFolder {
 public:
  /// Throws Failure with kBadOutput where nothing can be written.
  explicit OutputFolder(const std::string& path);
  ~OutputFolder();
  OutputFolder(const OutputFolder&) = delete;
  OutputFolder& operator=(const OutputFolder&) = delete;

  /// Where to write the file that will have this name.
  std::string pathFor(const std::string& name) const { return (m_aside / name).string(); }

  /// Writes a whole file. Throws Failure with kBadOutput where it isn't.
  void write(const std::string& name, const std::string& content) const;

  /// Gives all files their places, replacing older ones.
  void commit();

 private:
  std::filesystem::path m_folder, m_aside;
  std::vector<std::filesystem::path> m_made;  // folders that were not there before, outermost first
};

}  // namespace inspect
