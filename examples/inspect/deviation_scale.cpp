// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "deviation_scale.h"

#include <algorithm>
#include <cmath>

namespace inspect {

const DeviationScale kFaceScale{{38, 92, 176}, {244, 244, 240}, {200, 44, 48}};
// Dots without a deviation have to be seen on the page, whatever its colour.
const DeviationScale kDotScale{{20, 78, 178}, {168, 174, 180}, {190, 24, 32}};
const DeviationScale kDarkDotScale{{92, 160, 255}, {112, 118, 126}, {255, 104, 92}};

std::string hexOf(const Colour& colour) {
  constexpr const char* kDigits = "0123456789abcdef";
  std::string text = "#";
  for (int i = 0; i < 3; ++i) {
    const auto value = static_cast<unsigned>(std::clamp(std::lround(colour[i]), 0L, 255L));
    text += {kDigits[value / 16], kDigits[value % 16]};
  }
  return text;
}

Colour DeviationScale::at(double share) const {
  const double amount = std::min(1.0, std::abs(share));
  return none + (share < 0.0 ? below - none : above - none) * std::pow(amount, 0.85);
}

}  // namespace inspect
