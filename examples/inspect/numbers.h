// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace inspect {

/// The shortest text that reads back as the same number.
std::string exact(double value);
std::string exact(float value);

/// A fixed number of decimals, right-aligned in \p width; never "-0.000".
std::string fixed(double value, int decimals, int width);

/// The text, blanks added on the right or on the left up to \p width characters.
std::string padRight(std::string text, std::size_t width);
std::string padLeft(const std::string& text, std::size_t width);

}  // namespace inspect
