// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/export/internal/utf8.h"

#include <cstdint>
#include <stdexcept>
#include <type_traits>

namespace zelmo::internal {
namespace {

constexpr std::uint32_t kLastCodePoint = 0x10FFFF;

bool isHighSurrogate(std::uint32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isLowSurrogate(std::uint32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

std::uint32_t unitAt(const std::wstring& text, std::size_t i) {
  return static_cast<std::uint32_t>(static_cast<std::make_unsigned_t<wchar_t>>(text[i]));
}

char continuation(std::uint32_t bits) { return static_cast<char>(0x80U | (bits & 0x3FU)); }

void append(std::string& out, std::uint32_t point) {
  if (point < 0x80) {
    out += static_cast<char>(point);
  } else if (point < 0x800) {
    out += static_cast<char>(0xC0U | point >> 6U);
    out += continuation(point);
  } else if (point < 0x10000) {
    out += static_cast<char>(0xE0U | point >> 12U);
    out += continuation(point >> 6U);
    out += continuation(point);
  } else {
    out += static_cast<char>(0xF0U | point >> 18U);
    out += continuation(point >> 12U);
    out += continuation(point >> 6U);
    out += continuation(point);
  }
}

}  // namespace

std::string utf8FromWide(const std::wstring& text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::uint32_t point = unitAt(text, i);
    // Where wide characters have 16 bits, two of them make one beyond the first plane.
    if (sizeof(wchar_t) == 2 && isHighSurrogate(point) && i + 1 < text.size()) {
      const std::uint32_t low = unitAt(text, i + 1);
      if (isLowSurrogate(low)) {
        point = 0x10000 + ((point - 0xD800) << 10U) + (low - 0xDC00);
        ++i;
      }
    }
    if (point > kLastCodePoint || isHighSurrogate(point) || isLowSurrogate(point)) {
      throw std::range_error("bad conversion");
    }
    append(out, point);
  }
  return out;
}

}  // namespace zelmo::internal
