// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>
#include <vector>

/// \file
/// Rows of the table of benchmarks. A row is one benchmark named operation/size: the library, its peers
/// and what could be attained do the same work in turn, so that all of them meet the same machine.
/// scripts/benchmark_table.py makes docs/benchmarks.md of the counters and the label of each row:
///
///     library, peer, peer2, attainable   seconds of one call, the median of all rounds
///     ratio, ratio2                      the library's time over the peer's, the median of the rounds
///     ratio_low, ratio_high, ...         the middle half of the rounds' ratios
///     per_evaluation, ...                the same ratio for one evaluation of what is minimised
///     label                              "peer: NAME; peer2: NAME; attainable: NAME"

namespace zelmo::bench {

/// Somebody who does the work of a row.
struct Contender {
  std::string name;  ///< as the table says it, without ";"
  std::function<void()> run;
};

/// The contenders of a row, over data that they own or share.
struct Contest {
  std::function<void()> library;
  std::vector<Contender> peers;  ///< none, one or two
  Contender attainable;          ///< the least that the same work asks for; may be empty
  /// For descents: evaluations since it was last called. What is attainable is then one evaluation,
  /// and counts as often as the library has evaluated.
  std::function<double()> evaluations;
};

/// What is measured: the time of all processors that the process used, which leaves other programs
/// out, or for work by several threads the time that passes.
enum class Clock { Processor, Wall };

/// Adds a row. Call it before main, from an initialiser.
/// \param[in] operation Class.Member and what tells it from others
/// \param[in] size number and unit
/// \param[in] prepare makes the data; runs only when the row does
void row(const std::string& operation, const std::string& size, std::function<Contest()> prepare,
         Clock clock = Clock::Processor);

/// Writes "10 000 points" and the like.
std::string sizeText(int count, const std::string& unit);

}  // namespace zelmo::bench
