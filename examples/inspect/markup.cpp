// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "markup.h"

namespace inspect {
namespace {

unsigned byteAt(const std::string& bytes, std::size_t at) {
  return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0U;
}

/// The length of the character of UTF-8 that starts there; 0 where none does.
std::size_t characterAt(const std::string& bytes, std::size_t at) {
  const unsigned first = byteAt(bytes, at);
  if (first < 0x80) return 1;
  if (first < 0xc2 || first > 0xf4) return 0;
  const std::size_t length = first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
  for (std::size_t i = 1; i < length; ++i) {
    if (byteAt(bytes, at + i) >> 6U != 2U) return 0;
  }
  // What could be written shorter, halves of surrogates, and what lies beyond the last character.
  const unsigned second = byteAt(bytes, at + 1);
  const bool wrong = (first == 0xe0 && second < 0xa0) || (first == 0xed && second > 0x9f) ||
                     (first == 0xf0 && second < 0x90) || (first == 0xf4 && second > 0x8f);
  return wrong ? 0 : length;
}

}  // namespace

std::string escaped(const std::string& words) {
  std::string text;
  for (const char c : words) {
    if (c == '&') {
      text += "&amp;";
    } else if (c == '<') {
      text += "&lt;";
    } else if (c == '>') {
      text += "&gt;";
    } else if (c == '"') {
      text += "&quot;";
    } else if (static_cast<unsigned char>(c) < ' ') {
      text += ' ';
    } else {
      text += c;
    }
  }
  return text;
}

std::string validUtf8(const std::string& bytes) {
  std::string text;
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t length = characterAt(bytes, at);
    text += length == 0 ? "\xef\xbf\xbd" : bytes.substr(at, length);
    at += length == 0 ? 1 : length;
  }
  return text;
}

std::string element(const std::string& opening, const std::string& content) {
  return "<" + opening + ">" + content + "</" + opening.substr(0, opening.find(' ')) + ">";
}

}  // namespace inspect
