// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <locale>
#include <string>

namespace zelmo::test {

/// While it lives, the global C++ locale writes 1.234,5 for 1234.5.
class CommaLocale {
 public:
  CommaLocale() : m_before(std::locale::global(std::locale(std::locale(), new Comma))) {}
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;
  ~CommaLocale() { std::locale::global(m_before); }

 private:
  struct Comma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  std::locale m_before;
};

}  // namespace zelmo::test
