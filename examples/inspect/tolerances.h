// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "measure.h"
#include "tolerance_plan.h"

namespace inspect {

/// A requirement and what the part makes of it.
struct Verdict {
  Requirement requirement;
  double measured = 0.0;
  std::string trouble;  ///< why there is no value; empty where there is one

  /// Of a dimension from its nominal value; anything else is a deviation itself.
  double deviation() const;
  bool inside() const;
};

/// Evaluates every requirement on the points used for the features.
std::vector<Verdict> evaluate(const std::vector<Requirement>& plan,
                              const std::vector<Measurement>& measurements, const Scan& scan);

/// The table for the user; of a long plan only what is out of tolerance.
std::string toleranceTable(const std::vector<Verdict>& verdicts,
                           const std::vector<Measurement>& measurements);

/// The text of tolerances.csv.
std::string toleranceRows(const std::vector<Verdict>& verdicts,
                          const std::vector<Measurement>& measurements);

}  // namespace inspect
