// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "report_tables.h"

#include <algorithm>
#include <cmath>

#include "markup.h"
#include "numbers.h"

namespace inspect {
namespace {

constexpr int kDecimals = 4;
const std::string kMinus = "\xe2\x88\x92";

/// A number for the eye, with a true minus sign.
std::string forTheEye(double value, int decimals) {
  std::string text = fixed(value, decimals, 0);
  if (text.front() == '-') text = kMinus + text.substr(1);
  return text;
}

std::string dash() { return "<span class=\"none\" aria-label=\"none\">\xe2\x80\x93</span>"; }

std::string cell(const std::string& content) { return element("td class=\"n\"", content); }

std::string head(const std::string& words, const std::string& unit, bool number) {
  return element(number ? "th scope=\"col\" class=\"n\"" : "th scope=\"col\"",
                 words + (unit.empty() ? "" : " " + element("span class=\"unit\"", unit)));
}

std::string pathOf(std::size_t feature, std::size_t quantity, const char* which) {
  return "features/" + std::to_string(feature) + "/quantities/" + std::to_string(quantity) + "/" +
         which;
}

/// The head of a group of features in the overview, and what their numbers are.
struct Group {
  const char *kind, *title, *nominal;
};
constexpr Group kGroups[] = {
    {"plane", "Planes", "normal; offset mm"},
    {"sphere", "Spheres", "centre mm; radius mm"},
    {"cylinder", "Cylinders", "axis; radius mm"},
    {"cone", "Cones", "axis; half angle \xc2\xb0"},
    {"circle", "Circles", "centre mm; diameter mm"},
    {"slot", "Slots", "centre mm; length, width, radius mm"},
    {"rectangle", "Rectangles", "centre mm; length, width mm"},
    {"round groove", "Round grooves", "centre mm; length, width, radius mm"},
};

/// A row of the overview.
class OverviewRow {
 public:
  OverviewRow(const Report& report, std::size_t number)
      : m_feature(report.features[number]),
        m_number(number),
        m_text(linkTo(report, m_feature.name)) {}

  std::string text() const {
    const std::string at = "features/" + std::to_string(m_number) + "/";
    std::string row = element("th scope=\"row\"", m_text) +
                      element("td", verdictOf(m_feature.judgement)) + cell(twin("nominal"));
    if (m_feature.done()) {
      row += cell(twin("measured")) + cell(each(Role::Location)) + cell(each(Role::Angle)) +
             cell(lines(Role::Size, "deviation")) + cell(each(Role::Form));
    } else {
      row += element("td colspan=\"5\"", escaped(m_feature.status));
    }
    row += cell(shown(at + "picked", m_feature.picked)) + cell(shown(at + "used", m_feature.used));
    return element("tr", row + element("td class=\"fit\"", escaped(m_feature.fit) + "<br/>" +
                                                               escaped(m_feature.filter))) +
           "\n";
  }

 private:
  std::string value(std::size_t i, const char* which) const {
    const Quantity& one = m_feature.quantities[i];
    const std::string name = which;
    return shown(pathOf(m_number, i, which),
                 name == "nominal"    ? one.nominal
                 : name == "measured" ? one.measured
                                      : one.deviation,
                 kDecimals);
  }
  std::string lines(Role role, const char* which) const {
    std::string text;
    for (const std::size_t i : m_feature.of(role)) text += line(value(i, which));
    return text;
  }
  std::string each(Role role) const {
    const std::string text = lines(role, "measured");
    return text.empty() ? dash() : text;
  }
  /// What tells the feature: its direction or centre, and its sizes below.
  std::string twin(const char* which) const {
    const bool flat_or_round =
        m_feature.kind == "plane" || m_feature.kind == "cylinder" || m_feature.kind == "cone";
    const std::vector<std::size_t> vector =
        m_feature.of(flat_or_round ? Role::Direction : Role::Point);
    std::string text;
    for (std::size_t i = 0; i < 3 && i < vector.size(); ++i) text += " " + value(vector[i], which);
    return line(text) + lines(Role::Size, which);
  }
  static std::string line(const std::string& text) { return element("span class=\"l\"", text); }

  const ReportFeature& m_feature;
  std::size_t m_number;
  std::string m_text;
};

std::string requirementRow(const Report& report, std::size_t number, bool named) {
  const ReportRequirement& one = report.requirements[number];
  const std::string at = "requirements/" + std::to_string(number) + "/";
  const std::string unit = one.unit == "deg" ? "\xc2\xb0" : escaped(one.unit);
  const bool dimension = std::isfinite(one.nominal);
  std::string row = element("th scope=\"row\"", escaped(one.characteristic));
  if (named) row += element("td", linkTo(report, one.feature));
  row += element("td", one.datum.empty() ? dash() : linkTo(report, one.datum)) +
         element("td", unit) + cell(shown(at + "nominal", one.nominal, kDecimals)) +
         cell((dimension ? "\xc2\xb1" : "\xe2\x89\xa4\xc2\xa0") +
              shown(at + "tolerance", one.tolerance, kDecimals)) +
         cell(shown(at + "measured", one.measured, kDecimals)) +
         cell(shown(at + "deviation", one.deviation, kDecimals));
  // How much of the tolerance is taken; the bar ends at twice of it.
  const double share = std::abs(one.deviation) / one.tolerance;
  const std::string percent =
      std::isfinite(share) ? fixed(std::min(share * 100.0, 9999.0), 0, 0) : "";
  row +=
      element("td class=\"n use\"",
              percent.empty() ? dash()
                              : "<span class=\"share " +
                                    std::string(one.judgement == Judgement::In ? "in" : "out") +
                                    "\" style=\"width:" + fixed(std::min(share, 2.0) * 28.0, 1, 0) +
                                    "px\"></span>" + percent + "\xc2\xa0%");
  row += element(
      "td", verdictOf(one.judgement) + (one.trouble.empty() ? "" : ": " + escaped(one.trouble)));
  return element("tr", row + element("td", one.note.empty() ? dash() : escaped(one.note))) + "\n";
}

}  // namespace

std::string shown(const std::string& path, double value, int decimals) {
  if (!std::isfinite(value)) return dash();
  return element("data value=\"" + exact(value) + "\" data-path=\"" + path + "\"",
                 forTheEye(value, decimals));
}

std::string shown(const std::string& path, int value) {
  return element("data value=\"" + std::to_string(value) + "\" data-path=\"" + path + "\"",
                 std::to_string(value));
}

std::string verdictOf(Judgement judgement) {
  const char* const sign = judgement == Judgement::In    ? "\xe2\x9c\x93"
                           : judgement == Judgement::Out ? "\xe2\x9c\x97"
                                                         : "\xe2\x80\x93";
  const char* const name = judgement == Judgement::In    ? "in"
                           : judgement == Judgement::Out ? "out"
                                                         : "neither";
  return element("span class=\"verdict " + std::string(name) + "\"",
                 element("span aria-hidden=\"true\"", sign) + " " + wordsOf(judgement));
}

std::string linkTo(const Report& report, const std::string& feature) {
  const auto found = std::find_if(report.features.begin(), report.features.end(),
                                  [&](const ReportFeature& one) { return one.name == feature; });
  return element("a href=\"#f" + std::to_string(found - report.features.begin()) + "\"",
                 escaped(feature));
}

std::string featureTable(const Report& report) {
  std::string text = element("caption", "One row per feature");
  text += element("thead",
                  element("tr", head("Feature", "", false) + head("Verdict", "", false) +
                                    head("Nominal", "", true) + head("Measured", "", true) +
                                    head("Position deviation", "mm", true) +
                                    head("Angle deviation", "\xc2\xb0", true) +
                                    head("Size deviation", "mm, \xc2\xb0", true) +
                                    head("Form", "mm", true) + head("Points picked", "", true) +
                                    head("Points used", "", true) +
                                    head("Fit and filter", "", false))) +
          "\n";
  for (const Group& group : kGroups) {
    std::string rows;
    int count = 0;
    for (std::size_t i = 0; i < report.features.size(); ++i) {
      if (report.features[i].kind != group.kind) continue;
      rows += OverviewRow(report, i).text();
      ++count;
    }
    if (count == 0) continue;
    const std::string title = std::string(group.title) + " (" + std::to_string(count) + ")";
    text += element("tbody",
                    element("tr class=\"group\"",
                            element("th scope=\"rowgroup\" colspan=\"2\"", title) +
                                element("td colspan=\"9\"",
                                        std::string("nominal and measured: ") + group.nominal)) +
                        "\n" + rows) +
            "\n";
  }
  return element("table class=\"features\"", text);
}

std::string requirementTable(const Report& report, const std::string& feature) {
  const bool named = feature.empty();
  std::string rows;
  for (std::size_t i = 0; i < report.requirements.size(); ++i) {
    if (named || report.requirements[i].feature == feature) {
      rows += requirementRow(report, i, named);
    }
  }
  if (rows.empty()) return {};
  const std::string caption =
      named ? "One row per requirement" : "Requirements of " + escaped(feature);
  return element(
      "table class=\"requirements\"",
      element("caption", caption) +
          element("thead",
                  element("tr", head("Characteristic", "", false) +
                                    (named ? head("Feature", "", false) : "") +
                                    head("Datum", "", false) + head("Unit", "", false) +
                                    head("Nominal", "", true) + head("Tolerance", "", true) +
                                    head("Measured", "", true) + head("Deviation", "", true) +
                                    head("Tolerance used", "", true) + head("Verdict", "", false) +
                                    head("Note", "", false))) +
          "\n" + element("tbody", rows));
}

std::string quantityTable(const Report& report, std::size_t feature) {
  const ReportFeature& told = report.features[feature];
  std::string rows;
  for (std::size_t i = 0; i < told.quantities.size(); ++i) {
    const Quantity& one = told.quantities[i];
    const int decimals = one.role == Role::Direction ? 5 : one.role == Role::Angle ? 5 : 4;
    const std::string unit = one.unit == "deg" ? "\xc2\xb0" : one.unit == "1" ? "" : one.unit;
    rows +=
        element("tr", element("th scope=\"row\"", one.name) + element("td", unit) +
                          cell(shown(pathOf(feature, i, "nominal"), one.nominal, decimals)) +
                          cell(shown(pathOf(feature, i, "measured"), one.measured, decimals)) +
                          cell(shown(pathOf(feature, i, "deviation"), one.deviation, decimals)));
    rows += "\n";
  }
  return element(
      "table class=\"quantities\"",
      element("caption", "All numbers of " + escaped(told.name)) +
          element("thead",
                  element("tr", head("Quantity", "", false) + head("Unit", "", false) +
                                    head("Nominal", "", true) + head("Measured", "", true) +
                                    head("Deviation", "", true))) +
          element("tbody", rows));
}

}  // namespace inspect
