// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace inspect {

/// The text as XML and HTML take it, between tags and inside double quotes; control characters become
/// blanks.
std::string escaped(const std::string& words);

/// The text with a replacement character for every byte that is no part of UTF-8. Names of files may
/// hold any bytes; what is written about them may not.
std::string validUtf8(const std::string& bytes);

/// An element with its content. \param opening its name, and its attributes as they are written
std::string element(const std::string& opening, const std::string& content);

}  // namespace inspect
