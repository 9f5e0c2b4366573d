// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "report_html.h"

#include <algorithm>

#include <zelmo/version.h>

#include "markup.h"
#include "numbers.h"
#include "report_data.h"
#include "report_tables.h"

namespace inspect {
namespace {

/// A table that scrolls by itself where the page is too narrow for it, by the keyboard as well.
std::string scrolling(const std::string& name, const std::string& table,
                      const std::string& wide = "") {
  if (table.empty()) return {};
  return element("div class=\"scroll " + wide + "\" role=\"region\" tabindex=\"0\" aria-label=\"" +
                     escaped(name) + "\"",
                 table);
}

std::string term(const std::string& name, const std::string& value) {
  return element("div", element("dt", name) + element("dd", value));
}

std::string section(const std::string& id, const std::string& title, const std::string& content) {
  return element("section id=\"" + id + "\" aria-labelledby=\"" + id + "-title\"",
                 "\n" + element("h2 id=\"" + id + "-title\"", title) + "\n" + content) +
         "\n";
}

std::string numberOf(int count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

/// The one sentence that a reader in a hurry takes along.
std::string verdictLine(const Report& report) {
  const int out = report.requirementsThat(Judgement::Out);
  const int without = report.requirementsThat(Judgement::NoValue);
  const int all = static_cast<int>(report.requirements.size());
  if (all == 0) return element("p class=\"result neither\"", "No tolerances were evaluated.");
  std::string words, name = "in", sign = "\xe2\x9c\x93";
  if (out > 0) {
    words = "Out of tolerance: " + std::to_string(out) + " of " + numberOf(all, "requirement");
    name = "out";
    sign = "\xe2\x9c\x97";
  } else if (without > 0) {
    words = "No requirement is out of tolerance, " + std::to_string(without) + " of " +
            std::to_string(all) + " could not be evaluated";
    name = "neither";
    sign = "!";
  } else {
    words = "In tolerance: all " + numberOf(all, "requirement");
  }
  return element("p class=\"result " + name + "\"",
                 element("span aria-hidden=\"true\"", sign) + " " + words);
}

std::string tile(const std::string& path, int count, const std::string& words,
                 const std::string& name) {
  return element("div class=\"tile " + name + "\"",
                 element("dt", words) + element("dd", shown("summary/" + path, count)));
}

std::string withUnit(double value, const std::string& unit) {
  return fixed(value, 4, 0) + (unit == "deg" ? "\xc2\xb0" : " " + unit);
}

/// What a requirement came to that is not met.
std::string exceptionOf(const Report& report, const ReportRequirement& one) {
  std::string text = linkTo(report, one.feature) + ": " + escaped(one.characteristic);
  if (!one.datum.empty()) text += " to " + linkTo(report, one.datum);
  if (one.judgement != Judgement::Out) return text + " has no value: " + escaped(one.trouble);
  text += " is off by " + withUnit(one.deviation, one.unit);
  text += ", allowed are " + withUnit(one.tolerance, one.unit);
  return text;
}

/// What is out of tolerance, then what could not be measured, by name.
std::string exceptions(const Report& report) {
  constexpr std::size_t kMost = 24;
  std::vector<std::string> items;
  for (const Judgement judgement : {Judgement::Out, Judgement::NoValue}) {
    for (const ReportRequirement& one : report.requirements) {
      // A feature that is not measured is told once, below.
      const bool told = one.trouble == "feature not measured";
      if (one.judgement == judgement && !told) items.push_back(exceptionOf(report, one));
    }
  }
  for (const ReportFeature& one : report.features) {
    if (!one.done()) {
      items.push_back(linkTo(report, one.name) + " is not measured: " + escaped(one.status));
    }
  }
  if (items.empty()) return {};
  std::string list;
  for (std::size_t i = 0; i < std::min(items.size(), kMost); ++i) {
    list += element("li", items[i]) + "\n";
  }
  const std::string rest =
      items.size() > kMost
          ? element("p", "And " + std::to_string(items.size() - kMost) +
                             " more, in the tables of features and of requirements.")
          : "";
  return element("h3", "Out of tolerance or not measured") + element("ul class=\"todo\"", list) +
         rest;
}

std::string summary(const Report& report) {
  std::string tiles =
      tile("features_measured", report.measured(), "features measured", "plain") +
      tile("requirements", static_cast<int>(report.requirements.size()), "requirements", "plain") +
      tile("requirements_in_tolerance", report.requirementsThat(Judgement::In), "in tolerance",
           "in") +
      tile("requirements_out_of_tolerance", report.requirementsThat(Judgement::Out),
           "out of tolerance", report.requirementsThat(Judgement::Out) > 0 ? "out" : "plain") +
      tile("requirements_without_value", report.requirementsThat(Judgement::NoValue),
           "without a value", "plain");
  std::string text = verdictLine(report) + "\n" + element("dl class=\"tiles\"", tiles) + "\n";
  const int missed = report.featuresThat(Judgement::NotMeasured);
  text += element(
      "p", numberOf(static_cast<int>(report.features.size()), "feature") + " in the model, " +
               (missed == 0 ? "all of them measured" : std::to_string(missed) + " not measured") +
               ". By feature: " + std::to_string(report.featuresThat(Judgement::In)) +
               " in tolerance, " + std::to_string(report.featuresThat(Judgement::Out)) +
               " out of tolerance, " +
               std::to_string(report.featuresThat(Judgement::NotToleranced)) +
               " without a requirement of their own." +
               (report.unrecognised_faces > 0 ? " " + std::to_string(report.unrecognised_faces) +
                                                    " of " + numberOf(report.faces, "face") +
                                                    " of the model are of no kind that is measured."
                                              : ""));
  return text + exceptions(report);
}

std::string settings(const Report& report) {
  const Options& options = report.options;
  std::string terms =
      term("Model", escaped(report.model)) +
      term("Scan", escaped(report.scan) + (report.simulated ? " (simulated)" : "")) +
      term("Points of the scan", shown("summary/scan_points", report.points)) +
      term("Aligned to the model", options.align ? "yes, by RPS points" : "no, taken as it lies");
  if (!report.date.empty()) terms += term("Date", escaped(report.date));
  terms += term("Search band", "\xc2\xb1" + shown("settings/band_mm", options.band, 3) + " mm") +
           term("Normals within", shown("settings/angle_deg", options.angle, 1) + "\xc2\xb0") +
           term("Sigma band", "mean \xc2\xb1 " + shown("settings/sigma", options.sigma, 1) +
                                  " standard deviations") +
           term("General tolerance", shown("settings/tolerance_mm", options.tolerance, 4) + " mm") +
           term("Points over the feature's own faces only", options.narrow ? "yes" : "no") +
           term("Library", std::string("LibZelmo ") + zelmo::version());
  return element("dl class=\"facts\"", terms);
}

std::string statistics(const Report& report, std::size_t number) {
  const Spread& spread = report.features[number].spread;
  const std::string at = "features/" + std::to_string(number) + "/deviations_mm/";
  const auto mm = [&](const char* path, double value) {
    return shown(at + path, value, 4) + " mm";
  };
  return element(
      "dl class=\"facts small\"",
      term("Mean deviation", mm("mean", spread.mean)) +
          term("Standard deviation", mm("standard_deviation", spread.sigma)) +
          term("Smallest", mm("smallest", spread.least)) +
          term("Largest", mm("largest", spread.most)) +
          term("Sigma band", mm("band_low", spread.low) + " to " + mm("band_high", spread.high)) +
          term("Outside the band", shown(at + "outside_band", spread.outside)) +
          term("Beside the feature", shown(at + "beside", spread.beside)) +
          term("Normal tilted", shown(at + "tilted_normal", spread.tilted)));
}

std::string featureSection(const Report& report, std::size_t number,
                           const std::vector<Plot>& plots) {
  const ReportFeature& told = report.features[number];
  const std::string id = "f" + std::to_string(number);
  std::string figures;
  for (const Plot& plot : plots) {
    figures += element("figure", plot.svg + element("figcaption", plot.caption)) + "\n";
  }
  std::string body = element("h3 id=\"" + id + "\" tabindex=\"-1\"",
                             escaped(told.name) + " " + verdictOf(told.judgement));
  body += element("p class=\"how\"", told.done() ? escaped(told.fit + ", " + told.filter)
                                                 : "Not measured: " + escaped(told.status));
  if (!figures.empty()) {
    body +=
        element("details open=\"open\"",
                element("summary", "Plots of " + escaped(told.name)) + "\n" +
                    element("div class=\"plots\"", "\n" + figures + statistics(report, number))) +
        "\n";
  }
  body += scrolling("Numbers of " + told.name, quantityTable(report, number)) +
          scrolling("Requirements of " + told.name, requirementTable(report, told.name), "wide");
  return element("article aria-labelledby=\"" + id + "\"", "\n" + body) + "\n";
}

std::string navigation() {
  const char* const places[][2] = {{"summary", "Summary"},
                                   {"part", "Part"},
                                   {"features", "Features"},
                                   {"requirements", "Requirements"},
                                   {"details", "Feature by feature"},
                                   {"settings", "Settings"}};
  std::string items;
  for (const auto& [id, title] : places) {
    items += element("li", element(std::string("a href=\"#") + id + "\"", title));
  }
  return element("nav aria-label=\"Sections\"", element("ul", items)) + "\n";
}

std::string headOf(const Report& report, const Svg& part) {
  return element(
             "head",
             "\n<meta charset=\"utf-8\"/>\n"
             "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n"
             "<meta name=\"color-scheme\" content=\"light dark\"/>\n"
             "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src "
             "'unsafe-inline'; img-src data:\"/>\n"
             "<link rel=\"icon\" href=\"data:,\"/>\n" +
                 element("title", "Inspection of " + escaped(report.model)) + "\n" +
                 element("style", "\n" + pageStyle(part)) + "\n") +
         "\n";
}

}  // namespace

std::string reportHtml(const Report& report, const PagePictures& pictures) {
  std::string details;
  for (std::size_t i = 0; i < report.features.size(); ++i) {
    details += featureSection(report, i, pictures.plots[i]);
  }
  const auto view = [](const Svg& svg, const std::string& name, const std::string& words) {
    return element("figure", scrolling(name, svg.inlined("part", words)));
  };
  const std::string part =
      view(pictures.verdicts, "Picture of the part by verdict",
           "The features of the part in colours of their verdicts; the table of features says the "
           "same in words.") +
      view(pictures.deviations, "Picture of the part by deviation",
           "The features of the part in colours of their mean deviation from the model, and the "
           "deviations beside it.");
  std::string main = section("summary", "Summary", summary(report)) +
                     section("part", "The part", element("div class=\"views\"", part)) +
                     section("features", "Features",
                             element("p",
                                     "Lengths in mm, angles in degrees, coordinates in the "
                                     "frame of the model. Every number stands with all its "
                                     "digits in report.csv and report.json.") +
                                 scrolling("Table of features", featureTable(report))) +
                     section("requirements", "Requirements",
                             element("p",
                                     "Dimensions are held against their nominal values, form, "
                                     "orientation and location against their limits.") +
                                 scrolling("Table of requirements", requirementTable(report, ""))) +
                     section("details", "Feature by feature", details) +
                     section("settings", "Settings and origin", settings(report));
  const std::string origin =
      element("p class=\"origin\"", "Model " + element("b", escaped(report.model)) + ", scan " +
                                        element("b", escaped(report.scan)) +
                                        (report.date.empty() ? "" : ", " + escaped(report.date)));
  return "<!DOCTYPE html>\n" +
         element("html lang=\"en\" xmlns=\"http://www.w3.org/1999/xhtml\"",
                 "\n" + headOf(report, pictures.verdicts) +
                     element("body", "\n" +
                                         element("a class=\"skip\" href=\"#features\"",
                                                 "Skip to the table of features") +
                                         "\n" +
                                         element("header", element("h1", "Inspection report") +
                                                               origin + navigation()) +
                                         "\n" + element("main", "\n" + main) + "\n" +
                                         element("script type=\"application/json\" id=\"report\"",
                                                 reportJson(report, -1)) +
                                         "\n") +
                     "\n") +
         "\n";
}

}  // namespace inspect
