// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace inspect {

/// What the requirements make of a feature, or a requirement of a value.
enum class Judgement { In, Out, NoValue, NotToleranced, NotMeasured };

/// In words for the reader.
inline const char* wordsOf(Judgement judgement) {
  switch (judgement) {
    case Judgement::In:
      return "in tolerance";
    case Judgement::Out:
      return "out of tolerance";
    case Judgement::NoValue:
      return "no value";
    case Judgement::NotToleranced:
      return "not toleranced";
    case Judgement::NotMeasured:
      return "not measured";
  }
  return "";
}

}  // namespace inspect
