// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cctype>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "byte_source.h"

namespace zelmo::fuzz {

/// A STEP file cut into its entities, so that edits keep the syntax: what they spoil is the meaning.
class StepText {
 public:
  explicit StepText(const std::string& text) {
    const std::size_t data = text.find("DATA;"), first = text.find('#', data);
    const std::size_t end = text.find("ENDSEC;", data);
    if (data == std::string::npos || first > end) return;
    m_head = text.substr(0, first);
    m_tail = text.substr(end);
    for (std::size_t at = first; at < end;) {
      const std::size_t stop = text.find(';', at) + 1;
      m_entities.push_back(text.substr(at, stop - at));
      at = text.find('#', stop);
    }
  }

  std::string text() const {
    std::string all = m_head;
    for (const std::string& entity : m_entities) all += entity + '\n';
    return all + m_tail;
  }

  /// One change, of a kind and at a place that the bytes tell.
  void edit(ByteSource& bytes) {
    if (m_entities.empty()) return;
    const int kind = bytes.below(8);
    const std::size_t at = (256U * bytes.byte() + bytes.byte()) % m_entities.size();
    std::string& entity = m_entities[at];
    const std::string other = m_entities[(at + 1 + bytes.byte()) % m_entities.size()];
    switch (kind) {
      case 0:
      case 1:
        replaceToken(entity, numbersOf(entity), bytes.byte(), numberFrom(bytes));
        break;
      case 2:
        swapReference(entity, bytes, true);
        break;
      case 3:
        swapReference(entity, bytes, false);
        break;
      case 4:
        m_entities.erase(m_entities.begin() + static_cast<std::ptrdiff_t>(at));
        break;
      case 5:
        flipLogical(entity, bytes.byte());
        break;
      case 6:
        entity.replace(0, entity.find('='), other.substr(0, other.find('=')));
        break;
      default:
        repeatOrDrop(entity, bytes);
    }
  }

 private:
  struct Token {
    std::size_t at = 0, length = 0;
  };

  static bool isDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

  /// Numbers among the arguments; references are none.
  static std::vector<Token> numbersOf(const std::string& entity) {
    std::vector<Token> tokens;
    for (std::size_t i = entity.find('('); i < entity.size(); ++i) {
      if (entity[i] != '(' && entity[i] != ',') continue;
      std::size_t from = i + 1;
      while (from < entity.size() && std::isspace(static_cast<unsigned char>(entity[from]))) ++from;
      const std::size_t to = entity.find_first_not_of("0123456789+-.E", from);
      const bool starts_number =
          from < entity.size() && (isDigit(entity[from]) || entity[from] == '-');
      if (starts_number && to != std::string::npos) tokens.push_back({from, to - from});
    }
    return tokens;
  }

  static std::vector<Token> referencesOf(const std::string& entity) {
    std::vector<Token> tokens;
    for (std::size_t i = entity.find('#', 1); i != std::string::npos; i = entity.find('#', i + 1)) {
      const std::size_t to = entity.find_first_not_of("0123456789", i + 1);
      tokens.push_back({i, to - i});
    }
    return tokens;
  }

  static void replaceToken(std::string& entity, const std::vector<Token>& tokens, int which,
                           const std::string& by) {
    if (tokens.empty()) return;
    const Token& token = tokens[static_cast<std::size_t>(which) % tokens.size()];
    entity.replace(token.at, token.length, by);
  }

  static std::string numberFrom(ByteSource& bytes) {
    bytes.chooseNumbers();
    const double value = bytes.wideReal();
    if (!std::isfinite(value)) return value < 0 ? "-1.E+400" : "1.E+400";
    char text[40];
    std::snprintf(text, sizeof(text), "%.15G", value);
    std::string number = text;
    if (number.find('.') == std::string::npos) {
      number.insert(std::min(number.find('E'), number.size()), ".");
    }
    return number;
  }

  std::string nameOf(const std::string& entity) const {
    const std::size_t from = entity.find('=') + 1;
    return entity.substr(from, entity.find('(') - from);
  }

  /// Points a reference at another entity, one of the same kind or any.
  void swapReference(std::string& entity, ByteSource& bytes, bool same_kind) {
    const auto references = referencesOf(entity);
    const int which = bytes.byte();
    std::size_t step = 1U + bytes.byte();
    if (references.empty()) return;
    const Token& token = references[static_cast<std::size_t>(which) % references.size()];
    const std::string id = entity.substr(token.at, token.length) + " ";
    std::size_t at = 0;
    while (at < m_entities.size() && m_entities[at].compare(0, id.size(), id) != 0) ++at;
    if (at == m_entities.size()) return;
    const std::string kind = nameOf(m_entities[at]);
    for (std::size_t tries = m_entities.size(); step > 0 && tries > 0; --tries) {
      at = (at + 1) % m_entities.size();
      if (!same_kind || nameOf(m_entities[at]) == kind) --step, tries = m_entities.size();
    }
    const std::string& target = m_entities[at];
    entity.replace(token.at, token.length, target.substr(0, target.find_first_of(" =")));
  }

  static void flipLogical(std::string& entity, int which) {
    std::vector<Token> tokens;
    for (std::size_t i = entity.find('.'); i != std::string::npos; i = entity.find('.', i + 1)) {
      const std::string value = entity.substr(i, 3);
      if (value == ".T." || value == ".F." || value == ".U.") tokens.push_back({i, 3});
    }
    replaceToken(entity, tokens, which / 3,
                 which % 3 == 0   ? ".T."
                 : which % 3 == 1 ? ".F."
                                  : ".U.");
  }

  static void repeatOrDrop(std::string& entity, ByteSource& bytes) {
    const auto references = referencesOf(entity);
    const int which = bytes.byte();
    if (references.empty()) return;
    const Token& token = references[static_cast<std::size_t>(which) % references.size()];
    const std::string id = entity.substr(token.at, token.length);
    entity.replace(token.at, token.length, bytes.flag() ? id + "," + id : "$");
  }

  std::string m_head, m_tail;
  std::vector<std::string> m_entities;
};

/// One change to an IGES file that leaves its columns where they are: digits of the parameters and of
/// the directory.
inline void editIges(std::string& text, ByteSource& bytes) {
  constexpr std::size_t kLine = 81, kSectionColumn = 72, kContent = 64;
  const std::size_t lines = text.size() / kLine;
  if (lines == 0) return;
  const bool in_directory = bytes.below(8) == 7;
  std::size_t line = (256U * bytes.byte() + bytes.byte()) % lines;
  for (std::size_t tries = 0; tries < lines; ++tries, line = (line + 1) % lines) {
    if (text[line * kLine + kSectionColumn] == (in_directory ? 'D' : 'P')) break;
  }
  const std::size_t from = line * kLine + bytes.byte() % kContent;
  const int digits = 1 + bytes.below(4);
  std::size_t at = from;
  for (int i = 0; i < digits; ++i) {
    at = text.find_first_of("0123456789-", at);
    if (at == std::string::npos || at >= line * kLine + kContent) return;
    const int b = bytes.byte();
    text[at++] = b == 255 ? '-' : static_cast<char>('0' + b % 10);
  }
}

}  // namespace zelmo::fuzz
