// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The sample host as its user runs it.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "support/temporary_folder.h"

namespace zelmo::test {

inline const std::string kInspect = ZELMO_INSPECT;

struct Finished {
  int code;  // exit code, or -1 where the program was killed
  std::string out, err;
};

/// Runs the program in a folder of the test's own.
class Inspect : public testing::Test {
 protected:
  std::string at(const std::string& name) const { return (folder.path() / name).string(); }
  void write(const std::string& name, const std::string& content) const {
    std::ofstream(at(name), std::ios::binary) << content;
  }
  /// Runs a command line as a shell does and waits for it.
  Finished shell(const std::string& command) const {
    const TemporaryFolder streams;
    const std::string out = streams.path() / "out", err = streams.path() / "err";
    const std::string whole = "cd '" + folder.path().string() + "' && { " + command + "; } >'" +
                              out + "' 2>'" + err + "'";
    const int status = std::system(whole.c_str());  // NOLINT: a test's own command line
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contentOf(out), contentOf(err)};
  }
  Finished inspect(const std::string& arguments) const { return shell(kInspect + " " + arguments); }

  TemporaryFolder folder;
};

/// The names in a folder; none where it is missing.
inline std::set<std::string> namesIn(const std::string& folder) {
  std::set<std::string> names;
  if (!std::filesystem::exists(folder)) return names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    names.insert(entry.path().filename());
  }
  return names;
}

using Row = std::vector<std::string>;

/// The rows of a CSV file, its head among them.
inline std::vector<Row> rowsOf(const std::string& path) {
  std::vector<Row> rows;
  std::istringstream lines(contentOf(path));
  for (std::string line; std::getline(lines, line);) {
    Row row;
    std::size_t start = 0;
    for (std::size_t at = line.find(';'); at != std::string::npos; at = line.find(';', start)) {
      row.push_back(line.substr(start, at - start));
      start = at + 1;
    }
    row.push_back(line.substr(start));
    rows.push_back(row);
  }
  return rows;
}

inline double number(const std::string& text) { return std::stod(text); }

/// A part and a scan that are small enough to be measured many times.
class WithFiles : public Inspect {
 protected:
  void SetUp() override {
    const Finished run = inspect("-o made --points 10000");
    ASSERT_EQ(run.code, 0) << run.err;
  }
};

}  // namespace zelmo::test
