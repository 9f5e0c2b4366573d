// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <vector>

/// What holds by contract. A breach ends the process, in every build: that is what a fuzzer reports.
#define ZELMO_FUZZ_CHECK(condition) \
  ((condition) ? void() : zelmo::fuzz::breach(#condition, __FILE__, __LINE__))

namespace zelmo::fuzz {

[[noreturn]] inline void breach(const char* what, const char* file, int line) {
  std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, what);
  std::abort();
}

/// Everything that one run of an input gave, bit by bit: the second run of the same input has to give
/// the same.
class Transcript {
 public:
  template <typename Number>
  void add(const Number* values, std::size_t count) {
    static_assert(std::is_arithmetic_v<Number> || std::is_enum_v<Number>);
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(values);
    if (count > 0) m_bytes.insert(m_bytes.end(), bytes, bytes + count * sizeof(Number));
  }
  template <typename Number>
  void add(const std::vector<Number>& values) {
    add(values.data(), values.size());
  }
  template <typename Number>
  void add(Number value) {
    add(&value, 1);
  }
  template <typename Number, std::size_t kCount>
  void add(const Number (&values)[kCount]) {
    add(values, kCount);
  }

  bool operator==(const Transcript& other) const { return m_bytes == other.m_bytes; }

 private:
  std::vector<std::uint8_t> m_bytes;
};

/// An array that the library writes, between guards that it must not write.
template <typename Number>
class Output {
 public:
  /// \param[in] count numbers that may be written; below 0 none
  explicit Output(int count)
      : m_count(count > 0 ? static_cast<std::size_t>(count) : 0),
        m_numbers(m_count + 2 * kGuard, kFill) {}
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  ~Output() {
    for (std::size_t i = 0; i < kGuard; ++i) {
      ZELMO_FUZZ_CHECK(m_numbers[i] == kFill);
      ZELMO_FUZZ_CHECK(m_numbers[m_numbers.size() - 1 - i] == kFill);
    }
  }

  Number* data() { return m_numbers.data() + kGuard; }
  std::size_t size() const { return m_count; }
  Number operator[](std::size_t i) const { return m_numbers[kGuard + i]; }

  bool isUntouched() const {
    for (const Number value : m_numbers) {
      if (value != kFill) return false;
    }
    return true;
  }

  bool isFinite() const {
    for (const Number value : m_numbers) {
      if (!std::isfinite(value)) return false;
    }
    return true;
  }

 private:
  static constexpr std::size_t kGuard = 4;
  static constexpr Number kFill = static_cast<Number>(-12345);  // no result by chance

  std::size_t m_count;
  std::vector<Number> m_numbers;
};

template <typename Number>
void record(Transcript& transcript, const Output<Number>& output) {
  for (std::size_t i = 0; i < output.size(); ++i) transcript.add(output[i]);
}

template <typename Numbers>
bool allFinite(const Numbers& values) {
  for (const auto value : values) {
    if (!std::isfinite(value)) return false;
  }
  return true;
}

}  // namespace zelmo::fuzz
