// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace zelmo::internal {

/// Wide text as UTF-8, for names in files and for paths.
/// \throw std::range_error "bad conversion" for a surrogate without its pair and for values beyond
///     Unicode
std::string utf8FromWide(const std::wstring& text);

}  // namespace zelmo::internal
