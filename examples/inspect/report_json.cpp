// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>

#include <nlohmann/json.hpp>
#include <zelmo/version.h>

#include "report_data.h"

namespace inspect {
namespace {

using Json = nlohmann::ordered_json;

Json number(double value) { return std::isfinite(value) ? Json(value) : Json(); }

Json settingsOf(const Report& report) {
  const Options& options = report.options;
  return {
      {"band_mm", options.band},           {"angle_deg", options.angle}, {"sigma", options.sigma},
      {"tolerance_mm", options.tolerance}, {"narrow", options.narrow},   {"aligned", options.align},
      {"scan_simulated", report.simulated}};
}

Json summaryOf(const Report& report) {
  return {{"scan_points", report.points},
          {"scan_points_without_normal", report.points_without_normal},
          {"model_faces", report.faces},
          {"model_faces_not_recognised", report.unrecognised_faces},
          {"features", report.features.size()},
          {"features_measured", report.measured()},
          {"features_in_tolerance", report.featuresThat(Judgement::In)},
          {"features_out_of_tolerance", report.featuresThat(Judgement::Out)},
          {"features_not_toleranced", report.featuresThat(Judgement::NotToleranced)},
          {"requirements", report.requirements.size()},
          {"requirements_in_tolerance", report.requirementsThat(Judgement::In)},
          {"requirements_out_of_tolerance", report.requirementsThat(Judgement::Out)},
          {"requirements_without_value", report.requirementsThat(Judgement::NoValue)}};
}

Json spreadJson(const Spread& spread) {
  return {{"used", spread.used},
          {"outside_band", spread.outside},
          {"beside", spread.beside},
          {"tilted_normal", spread.tilted},
          {"mean", number(spread.mean)},
          {"standard_deviation", number(spread.sigma)},
          {"band_low", number(spread.low)},
          {"band_high", number(spread.high)},
          {"smallest", number(spread.least)},
          {"largest", number(spread.most)},
          {"histogram",
           {{"start", number(spread.start)},
            {"class_width", number(spread.width)},
            {"used", spread.used_counts},
            {"outside_band", spread.outside_counts},
            {"beyond", spread.beyond}}}};
}

Json featureJson(const ReportFeature& feature) {
  Json quantities = Json::array();
  for (const Quantity& one : feature.quantities) {
    quantities.push_back({{"role", nameOf(one.role)},
                          {"name", one.name},
                          {"unit", one.unit},
                          {"nominal", number(one.nominal)},
                          {"measured", number(one.measured)},
                          {"deviation", number(one.deviation)}});
  }
  return {{"name", feature.name},     {"kind", feature.kind},
          {"status", feature.status}, {"verdict", wordsOf(feature.judgement)},
          {"fit", feature.fit},       {"filter", feature.filter},
          {"picked", feature.picked}, {"used", feature.used},
          {"quantities", quantities}, {"deviations_mm", spreadJson(feature.spread)}};
}

Json requirementJson(const ReportRequirement& one) {
  return {{"characteristic", one.characteristic},
          {"feature", one.feature},
          {"datum", one.datum},
          {"unit", one.unit},
          {"nominal", number(one.nominal)},
          {"tolerance", number(one.tolerance)},
          {"measured", number(one.measured)},
          {"deviation", number(one.deviation)},
          {"verdict", wordsOf(one.judgement)},
          {"trouble", one.trouble},
          {"note", one.note}};
}

}  // namespace

std::string reportJson(const Report& report, int indent) {
  Json features = Json::array(), requirements = Json::array();
  for (const ReportFeature& one : report.features) features.push_back(featureJson(one));
  for (const ReportRequirement& one : report.requirements) {
    requirements.push_back(requirementJson(one));
  }
  const Json all = {{"format", "inspection report"},
                    {"format_version", 1},
                    {"library_version", zelmo::version()},
                    {"model", report.model},
                    {"scan", report.scan},
                    {"date", report.date},
                    {"settings", settingsOf(report)},
                    {"summary", summaryOf(report)},
                    {"features", features},
                    {"requirements", requirements}};
  std::string text = all.dump(indent);
  if (indent >= 0) return text + "\n";
  // Signs that would end or confuse the element around it.
  std::string safe;
  for (const char c : text) {
    if (c == '<') {
      safe += "\\u003c";
    } else if (c == '>') {
      safe += "\\u003e";
    } else if (c == '&') {
      safe += "\\u0026";
    } else {
      safe += c;
    }
  }
  return safe;
}

}  // namespace inspect
