// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <fstream>
#include <locale>
#include <string>

namespace zelmo::internal {

/// A file for output, overwritten if it exists, that a host's global locale does not reach.
/// \param[in] path UTF-8
inline std::ofstream openClassic(const std::string& path) {
  std::ofstream file;
  file.imbue(std::locale::classic());
  file.open(path);
  return file;
}

}  // namespace zelmo::internal
