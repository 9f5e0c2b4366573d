// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/extract/internal/shape_filter.h"

#include <cstdint>
#include <cstring>
#include <limits>

namespace zelmo::internal {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

double fromBits(std::uint64_t bits) {
  double value = 0;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

/// The first of 0 ... infinity, in the order of their bits, that \p passes, which every later one
/// does as well; NaN when none does.
template <typename Passes>
double firstThat(const Passes& passes) {
  if (!passes(kInfinity)) return std::numeric_limits<double>::quiet_NaN();
  std::uint64_t low = 0, high = 0;
  std::memcpy(&high, &kInfinity, sizeof high);
  while (low < high) {
    const std::uint64_t middle = low + (high - low) / 2;
    if (passes(fromBits(middle))) {
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  return fromBits(low);
}

/// The last square that \p holds, which every earlier one does as well; -1 when none does.
template <typename Holds>
double lastThat(const Holds& holds) {
  if (!holds(0.0)) return -1.0;
  const double first_out = firstThat([&](double s) { return !holds(s); });
  return std::isnan(first_out) ? kInfinity : std::nextafter(first_out, 0.0);
}

}  // namespace

Interval squaresNear(double offset, double limit) {
  const double lowest = firstThat([=](double s) { return std::sqrt(s) - offset >= -limit; });
  return {lowest, lastThat([=](double s) { return std::sqrt(s) - offset <= limit; })};
}

Interval squaresUpTo(double limit) {
  return {0.0, lastThat([=](double s) { return std::sqrt(s) <= limit; })};
}

}  // namespace zelmo::internal
