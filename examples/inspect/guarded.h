// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>

#include "console.h"

namespace inspect {

/// What the work came to.
struct Outcome {
  int code;          ///< exit code; a message has been printed where it isn't 0
  bool whole;        ///< the work came to its end, so its files are good
  std::string text;  ///< what it wants printed
};

/// Does the work in a process of its own. A file can be so wrong that the CAD kernel crashes on it;
/// then the program still says what it was at, and tidies up.
///
/// \param work gives the exit code and sets the text; it may throw Failure and what the library throws
Outcome doGuarded(const std::function<int(Progress& progress, std::string& text)>& work);

}  // namespace inspect
