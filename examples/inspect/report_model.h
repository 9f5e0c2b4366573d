// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <limits>
#include <string>
#include <vector>

#include "evaluation.h"
#include "judgement.h"
#include "tolerances.h"

namespace inspect {

/// Where there is no number.
constexpr double kNoValue = std::numeric_limits<double>::quiet_NaN();

/// What a number says of a feature.
enum class Role { Point, Direction, Size, Location, Angle, Form };
const char* nameOf(Role role);

/// A number of a feature: nominal, measured, and how far off. kNoValue where there is none.
struct Quantity {
  Role role;
  std::string name;
  std::string unit;  ///< "mm", "deg", or "1" for a coordinate of a direction
  double nominal, measured, deviation;
};

/// The deviations of a feature's points from the measured feature, in mm.
struct Spread {
  int used = 0, outside = 0;                     ///< points in the sigma band, and outside it
  int beside = 0, tilted = 0;                    ///< points picked that are none of the feature's
  double mean = kNoValue, sigma = kNoValue;      ///< of the points used
  double low = kNoValue, high = kNoValue;        ///< the band that the points used lie in
  double least = kNoValue, most = kNoValue;      ///< of the points used
  double start = kNoValue, width = kNoValue;     ///< of the histogram's first class; of each class
  std::vector<int> used_counts, outside_counts;  ///< the histogram
  int beyond = 0;                                ///< points outside its classes
};

struct ReportFeature {
  std::string name, kind;
  std::string status;  ///< "measured", or why it is not
  Judgement judgement = Judgement::NotToleranced;
  std::string fit, filter;
  int picked = 0, used = 0;
  std::vector<Quantity> quantities;
  Spread spread;

  bool done() const { return status == "measured"; }
  /// The quantities of one role, by their numbers.
  std::vector<std::size_t> of(Role role) const;
};

struct ReportRequirement {
  std::string characteristic, feature, datum, unit;
  double nominal;  ///< kNoValue unless it is a dimension
  double tolerance;
  double measured, deviation;
  Judgement judgement;
  std::string trouble, note;
};

/// Everything that the report says, before it is put into words or pictures.
struct Report {
  std::string model, scan, date;  ///< as the user gave them, in UTF-8
  bool simulated = false;
  Options options;
  int points = 0, points_without_normal = 0;
  int faces = 0, unrecognised_faces = 0;
  std::vector<ReportFeature> features;  ///< the measurements, and behind them the outlines
  std::vector<ReportRequirement> requirements;

  /// How many requirements, or features, are judged so.
  int requirementsThat(Judgement judgement) const;
  int featuresThat(Judgement judgement) const;
  int measured() const;
};

Report reportModel(const Inspection& done, const std::vector<Verdict>& verdicts,
                   const Options& options);

}  // namespace inspect
