// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "evaluation.h"

#include "cad_results.h"
#include "families.h"
#include "picture.h"
#include "report.h"
#include "report_data.h"
#include "report_html.h"
#include "tolerances.h"
#include "touch.h"
#include "truth.h"

namespace inspect {
namespace {

/// Draws the part and its features, and writes the report in its three forms.
void writeReport(const Inspection& done, const std::vector<Verdict>& verdicts,
                 const Options& options, const OutputFolder& folder, Progress& progress) {
  progress.step("drawing the part");
  const PartPictures part(done.model, done.measurements, done.scan);
  part.writeTo(folder);
  progress.step("writing the report");
  const Report report = reportModel(done, verdicts, options);
  const std::size_t solids = done.measurements.size();
  std::vector<Judgement> judgements;
  std::vector<std::vector<Plot>> plots;
  for (std::size_t i = 0; i < report.features.size(); ++i) {
    const ReportFeature& told = report.features[i];
    if (i < solids) judgements.push_back(told.judgement);
    plots.push_back(i < solids ? plotsOf(done.measurements[i], told, done.scan)
                               : plotsOf(done.outlines[i - solids], told, done.scan));
  }
  folder.write("report.json", reportJson(report, 1));
  folder.write("report.csv", reportCsv(report));
  folder.write("report.html", reportHtml(report, {part.byVerdict(judgements), part.byDeviation(),
                                                  std::move(plots)}));
}

}  // namespace

std::string reportOn(const Inspection& done, const Options& options, const OutputFolder& folder,
                     Progress& progress) {
  const auto& [model, content, scan, truth, measurements, outlines] = done;
  progress.step("writing the results");
  writeReports(measurements, outlines, scan, folder);
  std::string text = tableOf(measurements, content, scan);
  text += writeCad(measurements, outlines, folder);
  text += outlineTable(outlines);
  if (options.families) {
    progress.step("comparing the families of fits");
    const std::vector<FamilyResult> families =
        compareFamilies(measurements, outlines, scan, options.sigma);
    folder.write("families.csv", familyRows(families));
    text += familyTable(families);
  }
  if (!truth.empty()) text += truthTable(model, scan, truth, measurements, outlines);
  progress.step("evaluating the tolerances");
  const bool made = options.task == Options::Task::MeasureMadePart;
  const std::vector<Verdict> verdicts =
      evaluate(made ? planOfMadePart(content.features, options.tolerance)
                    : planFrom(content.features, options.tolerance),
               measurements, scan);
  folder.write("tolerances.csv", toleranceRows(verdicts, measurements));
  writeReport(done, verdicts, options, folder, progress);
  return text + "\n" + toleranceTable(verdicts, measurements);
}

std::string reportTouches(const TopoDS_Shape& model, const ModelContent& content,
                          const Options& options, const OutputFolder& folder) {
  const std::vector<Touched> touched =
      touchModel(model, content, outlinesOf(model, content), options);
  folder.write("probe.csv", probeRows(touched));
  folder.write("touches.csv", touchRows(touched));
  return touchTable(touched, options.probe);
}

}  // namespace inspect
