// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "numbers.h"

#include <charconv>

namespace inspect {

std::string exact(double value) {
  char digits[40];
  return {digits, std::to_chars(digits, digits + sizeof digits, value).ptr};
}

std::string exact(float value) {
  char digits[40];
  return {digits, std::to_chars(digits, digits + sizeof digits, value).ptr};
}

std::string fixed(double value, int decimals, int width) {
  char digits[400];
  const auto end =
      std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, decimals).ptr;
  std::string text(digits, end);
  if (text.find_first_not_of("-0.") == std::string::npos && text.front() == '-') text.erase(0, 1);
  return padLeft(text, static_cast<std::size_t>(width));
}

std::string padRight(std::string text, std::size_t width) {
  if (text.size() < width) text.append(width - text.size(), ' ');
  return text;
}

std::string padLeft(const std::string& text, std::size_t width) {
  return text.size() < width ? std::string(width - text.size(), ' ') + text : text;
}

}  // namespace inspect
