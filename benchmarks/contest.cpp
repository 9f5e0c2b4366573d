// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "contest.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <utility>

#include <Eigen/Core>
#include <Standard_Version.hxx>
#include <benchmark/benchmark.h>
#include <gsl/gsl_version.h>
#include <opencv2/core/version.hpp>
#include <pcl/pcl_config.h>
#include <time.h>
#include <unistd.h>
#include <zelmo/version.h>
#if __has_include(<CGAL/version.h>)
#include <CGAL/version.h>
#endif
#ifdef ZELMO_WITH_CERES
#include <ceres/version.h>
#endif
#ifdef ZELMO_WITH_VTK
#include <vtkVersionMacros.h>
#endif

namespace zelmo::bench {
namespace {

constexpr double kRowSeconds = 1.0;    // for all rounds of a row
constexpr double kTurnSeconds = 5e-4;  // the least that one turn of a contender takes
constexpr double kWarmSeconds = 0.03;  // calls that take less are made once more before a turn
constexpr int kFewestRounds = 5, kMostRounds = 101;

double now(Clock clock) {
  timespec t{};
  clock_gettime(clock == Clock::Wall ? CLOCK_MONOTONIC : CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

/// While it lives, the standard output goes nowhere: some operations print lines.
class QuietOutput {
 public:
  QuietOutput() : m_kept(dup(STDOUT_FILENO)) {
    std::cout.flush();
    std::fflush(stdout);
    std::FILE* null = std::fopen("/dev/null", "w");
    dup2(fileno(null), STDOUT_FILENO);
    std::fclose(null);
  }
  QuietOutput(const QuietOutput&) = delete;
  QuietOutput& operator=(const QuietOutput&) = delete;
  ~QuietOutput() {
    std::cout.flush();
    std::fflush(stdout);
    dup2(m_kept, STDOUT_FILENO);
    close(m_kept);
  }

 private:
  int m_kept;
};

double quantile(std::vector<double> values, double part) {
  std::sort(values.begin(), values.end());
  const double at = part * static_cast<double>(values.size() - 1);
  const auto low = static_cast<std::size_t>(at);
  const std::size_t high = std::min(low + 1, values.size() - 1);
  return values[low] + (at - static_cast<double>(low)) * (values[high] - values[low]);
}

/// One contender's rounds.
class Turns {
 public:
  Turns(std::function<void()> run, const Contest& contest, Clock clock)
      : m_run(std::move(run)), m_contest(contest), m_clock(clock) {
    m_run();
    const double first = timed(1);
    m_warms = first < kWarmSeconds;
    m_calls = std::max(1, static_cast<int>(kTurnSeconds / std::max(first, 1e-9)));
    round_seconds = first * (m_calls + (m_warms ? 1 : 0));
  }

  void take() {
    if (m_warms) m_run();
    if (m_contest.evaluations) m_contest.evaluations();
    seconds.push_back(timed(m_calls) / m_calls);
    if (m_contest.evaluations) evaluations = m_contest.evaluations() / m_calls;
  }

  double median() const { return quantile(seconds, 0.5); }

  std::vector<double> seconds;  ///< of one call, round by round
  double evaluations = 0;       ///< of one call
  double round_seconds = 0;

 private:
  double timed(int calls) const {
    const double start = now(m_clock);
    for (int i = 0; i < calls; ++i) m_run();
    return now(m_clock) - start;
  }

  std::function<void()> m_run;
  const Contest& m_contest;
  Clock m_clock;
  bool m_warms = false;
  int m_calls = 1;
};

std::vector<Turns> allRounds(const Contest& contest, Clock clock) {
  std::vector<Turns> turns;
  turns.emplace_back(contest.library, contest, clock);
  for (const Contender& peer : contest.peers) turns.emplace_back(peer.run, contest, clock);
  if (contest.attainable.run) turns.emplace_back(contest.attainable.run, contest, clock);
  double round = 0;
  for (const Turns& turn : turns) round += turn.round_seconds;
  const int rounds = std::clamp(static_cast<int>(kRowSeconds / round), kFewestRounds, kMostRounds);
  for (int i = 0; i < rounds; ++i) {  // there and back, so that nobody always follows the same one
    for (std::size_t k = 0; k < turns.size(); ++k) {
      turns[i % 2 == 0 ? k : turns.size() - 1 - k].take();
    }
  }
  return turns;
}

void report(benchmark::State& state, const Contest& contest, const std::vector<Turns>& turns) {
  auto& counters = state.counters;
  std::string label;
  const Turns& own = turns.front();
  counters["library"] = own.median();
  if (contest.evaluations) counters["evaluations"] = own.evaluations;
  for (std::size_t i = 0; i < contest.peers.size(); ++i) {
    const Turns& other = turns[i + 1];
    const std::string number = i == 0 ? "" : std::to_string(i + 1);
    label += "peer" + number + ": " + contest.peers[i].name + "; ";
    std::vector<double> ratios;
    for (std::size_t k = 0; k < own.seconds.size(); ++k) {
      ratios.push_back(own.seconds[k] / other.seconds[k]);
    }
    counters["peer" + number] = other.median();
    counters["ratio" + number] = quantile(ratios, 0.5);
    counters["ratio_low" + number] = quantile(ratios, 0.25);
    counters["ratio_high" + number] = quantile(ratios, 0.75);
    if (other.evaluations > 0) {
      counters["per_evaluation" + number] =
          quantile(ratios, 0.5) * other.evaluations / own.evaluations;
    }
  }
  if (contest.attainable.run) {
    label += "attainable: " + contest.attainable.name;
    counters["attainable"] = turns.back().median() * (contest.evaluations ? own.evaluations : 1.0);
  }
  state.SetLabel(label);
}

[[maybe_unused]] const bool kMachineNamed = [] {
  std::ifstream info("/proc/cpuinfo");
  for (std::string line; std::getline(info, line);) {
    if (line.compare(0, 10, "model name") != 0) continue;
    benchmark::AddCustomContext("processor", line.substr(line.find(':') + 2));
    break;
  }
  std::string vectors;
#ifdef __x86_64__
  if (__builtin_cpu_supports("sse4.2") != 0) vectors += "SSE4.2";
  if (__builtin_cpu_supports("avx2") != 0) vectors += ", AVX2";
  if (__builtin_cpu_supports("avx512f") != 0) vectors += ", AVX-512";
#endif
  benchmark::AddCustomContext("vectors", vectors);
  benchmark::AddCustomContext("compiler", "g++ " __VERSION__);
  benchmark::AddCustomContext("LibZelmo", ZELMO_VERSION);
  benchmark::AddCustomContext("PCL", PCL_VERSION_PRETTY);
  benchmark::AddCustomContext("OpenCV", CV_VERSION);
  benchmark::AddCustomContext("OpenCASCADE", OCC_VERSION_COMPLETE);
  benchmark::AddCustomContext("GSL", GSL_VERSION);
  benchmark::AddCustomContext("Eigen", std::to_string(EIGEN_WORLD_VERSION) + "." +
                                           std::to_string(EIGEN_MAJOR_VERSION) + "." +
                                           std::to_string(EIGEN_MINOR_VERSION));
#ifdef CGAL_VERSION_STR
  benchmark::AddCustomContext("CGAL", CGAL_VERSION_STR);
#endif
#ifdef ZELMO_WITH_CERES
  benchmark::AddCustomContext("Ceres", CERES_VERSION_STRING);
#endif
#ifdef ZELMO_WITH_VTK
  benchmark::AddCustomContext(
      "VTK", std::to_string(VTK_MAJOR_VERSION) + "." + std::to_string(VTK_MINOR_VERSION));
#endif
  return true;
}();

}  // namespace

void row(const std::string& operation, const std::string& size, std::function<Contest()> prepare,
         Clock clock) {
  benchmark::RegisterBenchmark((operation + "/" + size).c_str(),
                               [prepare = std::move(prepare), clock](benchmark::State& state) {
                                 const QuietOutput quiet;
                                 const Contest contest = prepare();
                                 for ([[maybe_unused]] auto _ : state) {
                                   const auto turns = allRounds(contest, clock);
                                   state.SetIterationTime(turns.front().median());
                                   report(state, contest, turns);
                                 }
                               })
      ->Iterations(1)
      ->UseManualTime()
      ->Unit(benchmark::kMicrosecond);
}

std::string sizeText(int count, const std::string& unit) {
  std::string digits = std::to_string(count);
  for (int at = static_cast<int>(digits.size()) - 3; at > 0; at -= 3) {
    digits.insert(static_cast<std::size_t>(at), " ");
  }
  return digits + " " + unit;
}

}  // namespace zelmo::bench
