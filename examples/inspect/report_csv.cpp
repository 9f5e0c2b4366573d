// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>

#include "numbers.h"
#include "report_data.h"

namespace inspect {
namespace {

std::string number(double value) { return std::isfinite(value) ? exact(value) : ""; }

/// A text as one field, in quotes where it needs them.
std::string field(const std::string& text) {
  if (text.find_first_of(";\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' ? "\"\"" : std::string(1, c);
  return quoted + "\"";
}

std::string lineOf(const std::vector<std::string>& fields) {
  std::string line;
  for (const std::string& one : fields) line += (line.empty() ? "" : ";") + field(one);
  return line + "\n";
}

}  // namespace

std::string reportCsv(const Report& report) {
  std::string text = lineOf({"record", "feature", "kind", "status", "role", "name", "datum", "unit",
                             "nominal", "tolerance", "measured", "deviation", "verdict", "note",
                             "picked", "used", "fit", "filter"});
  for (const ReportFeature& feature : report.features) {
    for (const Quantity& one : feature.quantities) {
      text += lineOf({"quantity", feature.name, feature.kind, feature.status, nameOf(one.role),
                      one.name, "", one.unit, number(one.nominal), "", number(one.measured),
                      number(one.deviation), wordsOf(feature.judgement), "",
                      std::to_string(feature.picked), std::to_string(feature.used), feature.fit,
                      feature.filter});
    }
  }
  for (const ReportRequirement& one : report.requirements) {
    text += lineOf({"requirement", one.feature, "", one.trouble.empty() ? "measured" : one.trouble,
                    "requirement", one.characteristic, one.datum, one.unit, number(one.nominal),
                    number(one.tolerance), number(one.measured), number(one.deviation),
                    wordsOf(one.judgement), one.note, "", "", "", ""});
  }
  return text;
}

}  // namespace inspect
