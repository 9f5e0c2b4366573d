// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "output_folder.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "failure.h"

namespace inspect {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuse(const fs::path& path, const std::string& reason) {
  throw Failure(kBadOutput, path.string() + ": can't be written: " + reason);
}

/// \param path what the user is told
void writeAll(int file, const std::string& content, const fs::path& path) {
  std::size_t done = 0;
  while (done < content.size()) {
    const ssize_t now = ::write(file, content.data() + done, content.size() - done);
    if (now < 0 && errno == EINTR) continue;
    if (now < 0) {
      const std::string reason = std::strerror(errno);  // NOLINT(concurrency-mt-unsafe): one thread
      ::close(file);
      refuse(path, reason);
    }
    done += static_cast<std::size_t>(now);
  }
}

}  // namespace

OutputFolder::OutputFolder(const std::string& path) : m_folder(fs::absolute(path)) {
  std::error_code error;
  for (fs::path missing = m_folder; !missing.empty() && !fs::exists(missing, error);
       missing = missing.parent_path()) {
    m_made.insert(m_made.begin(), missing);
    if (missing == missing.parent_path()) break;
  }
  if (fs::exists(m_folder, error) && !fs::is_directory(m_folder, error)) {
    refuse(path, "it is a file, not a folder");
  }
  fs::create_directories(m_folder, error);
  std::string aside = (m_folder / ".inspect-XXXXXX").string();
  if (error || ::mkdtemp(aside.data()) == nullptr) {
    const std::string reason =
        error ? error.message()
              : std::strerror(errno);  // NOLINT(concurrency-mt-unsafe): one thread
    for (auto made = m_made.rbegin(); made != m_made.rend(); ++made) fs::remove(*made, error);
    refuse(path, reason);
  }
  m_aside = aside;
}

OutputFolder::~OutputFolder() {
  std::error_code error;  // nothing to be done about it here
  fs::remove_all(m_aside, error);
  for (auto made = m_made.rbegin(); made != m_made.rend(); ++made) fs::remove(*made, error);
}

void OutputFolder::write(const std::string& name, const std::string& content) const {
  const fs::path path = m_folder / name;
  const int file = ::open(pathFor(name).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (file < 0) refuse(path, std::strerror(errno));  // NOLINT(concurrency-mt-unsafe): one thread
  writeAll(file, content, path);
  if (::close(file) != 0) {
    refuse(path, std::strerror(errno));  // NOLINT(concurrency-mt-unsafe): one thread
  }
}

void OutputFolder::commit() {
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(m_aside)) {
    files.push_back(entry.path());
    const fs::path place = m_folder / entry.path().filename();
    if (fs::is_directory(place)) refuse(place, "it is a folder");
  }
  for (const fs::path& file : files) {
    std::error_code error;
    fs::rename(file, m_folder / file.filename(), error);
    if (error) refuse(m_folder / file.filename(), error.message());
  }
  m_made.clear();
}

}  // namespace inspect
