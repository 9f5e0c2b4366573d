// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "evaluation.h"

#include "cad_results.h"
#include "families.h"
#include "report.h"
#include "tolerances.h"
#include "touch.h"
#include "truth.h"

namespace inspect {

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
