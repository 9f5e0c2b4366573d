// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <iostream>
#include <locale>
#include <sstream>

namespace zelmo::internal {

/// One of the fixed lines on the standard output. Values are formatted in the default format and the
/// classic locale, whatever state the host left std::cout in; the whole text is then written at once
/// and flushed.
class ConsoleText {
 public:
  ConsoleText() { m_text.imbue(std::locale::classic()); }
  ConsoleText(const ConsoleText&) = delete;
  ConsoleText& operator=(const ConsoleText&) = delete;
  ~ConsoleText() {
    // A host may have asked std::cout to throw; a line that can't be printed is no reason to end it.
    try {
      const std::string text = m_text.str();
      std::cout.write(text.data(), static_cast<std::streamsize>(text.size()));
      std::cout.flush();
    } catch (...) {
    }
  }

  template <typename Value>
  ConsoleText& operator<<(const Value& value) {
    m_text << value;
    return *this;
  }

 private:
  std::ostringstream m_text;
};

}  // namespace zelmo::internal
