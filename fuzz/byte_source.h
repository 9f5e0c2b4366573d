// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace zelmo::fuzz {

/// How the numbers of an input are made from its bytes.
enum class Numbers {
  Bits,    ///< as they lie in memory: NaN, infinities, denormals and 1e38 come by themselves
  Coarse,  ///< multiples of 1/4 in -32 to 31: coincident, collinear, coplanar sets come often
  Fine,    ///< two bytes, multiples of 0.01 in -327 to 327: sets as a probe measures them
  Mixed,   ///< Coarse, with a few bytes that stand for the values that hurt
};

/// Takes values off the bytes of an input, front to back. Past the end everything is 0.
class ByteSource {
 public:
  ByteSource(const std::uint8_t* data, std::size_t size) : m_at(data), m_left(size) {}

  std::size_t left() const { return m_left; }

  std::uint8_t byte() {
    if (m_left == 0) return 0;
    --m_left;
    return *m_at++;
  }

  /// 0 to n - 1, n at most 256.
  int below(int n) { return byte() % n; }

  bool flag() { return (byte() & 1) != 0; }

  /// A small number as it is; a few bytes stand for numbers far out.
  int anyInt() {
    const int b = byte();
    constexpr int kFar[] = {
        std::numeric_limits<int>::min(), std::numeric_limits<int>::max(), -2, -1, 1000, 46341};
    return b >= 250 ? kFar[b - 250] : b % 16;
  }

  /// The number of points of an array, mostly \p most or less. Not above it: what a host must keep to.
  int count(int most) {
    const int b = byte();
    if (b >= 252) return b == 255 ? std::numeric_limits<int>::min() : 252 - b;
    return b % (most + 1);
  }

  /// Decides how the numbers after it are made.
  void chooseNumbers() { m_numbers = static_cast<Numbers>(below(4)); }
  Numbers numbers() const { return m_numbers; }

  float real() {
    switch (m_numbers) {
      case Numbers::Bits:
        return bits<float>();
      case Numbers::Fine:
        return fine();
      case Numbers::Coarse:
        return coarse(byte());
      default:
        return mixed(byte());
    }
  }

  double wideReal() { return m_numbers == Numbers::Bits ? bits<double>() : double{real()}; }

  /// \p count floats; none for a count below 0. The vector's memory ends with the last one.
  std::vector<float> reals(int count) {
    std::vector<float> out(count > 0 ? static_cast<std::size_t>(count) : 0);
    for (float& value : out) value = real();
    return out;
  }
  std::vector<double> wideReals(int count) {
    std::vector<double> out(count > 0 ? static_cast<std::size_t>(count) : 0);
    for (double& value : out) value = wideReal();
    return out;
  }

 private:
  template <typename Number>
  Number bits() {
    std::uint64_t raw = 0;
    for (std::size_t i = 0; i < sizeof(Number); ++i) raw |= std::uint64_t{byte()} << (8 * i);
    Number value;
    std::memcpy(&value, &raw, sizeof(value));
    return value;
  }
  float fine() { return static_cast<float>(bits<std::int16_t>()) * 0.01F; }
  static float coarse(std::uint8_t b) {
    return static_cast<float>(static_cast<std::int8_t>(b)) / 4;
  }
  static float mixed(std::uint8_t b) {
    using Limits = std::numeric_limits<float>;
    constexpr float kHurtful[] = {Limits::quiet_NaN(),
                                  Limits::infinity(),
                                  -Limits::infinity(),
                                  Limits::max(),
                                  Limits::min(),
                                  Limits::denorm_min(),
                                  1e30F,
                                  -1e30F,
                                  1e20F,
                                  -0.0F,
                                  1e-30F,
                                  1e9F};
    constexpr int kFirst = 256 - static_cast<int>(sizeof(kHurtful) / sizeof(float));
    return b >= kFirst ? kHurtful[b - kFirst] : coarse(static_cast<std::uint8_t>(b + 128));
  }

  const std::uint8_t* m_at;
  std::size_t m_left;
  Numbers m_numbers = Numbers::Coarse;
};

}  // namespace zelmo::fuzz
