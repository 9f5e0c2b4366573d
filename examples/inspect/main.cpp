// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// A sample host: from a CAD model and a scan to a table of measured features.
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include <Standard_Failure.hxx>
#include <zelmo/zelmo.h>

#include "cad_files.h"
#include "console.h"
#include "failure.h"
#include "made_part.h"
#include "measure.h"
#include "nominal.h"
#include "options.h"
#include "output_folder.h"
#include "report.h"
#include "scan.h"

namespace inspect {
namespace {

void print(const std::string& text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
    throw Failure(kBadOutput, "the standard output can't be written");
  }
}

int list(const Options& options) {
  ModelContent content;
  {
    const OutputAside aside(options.verbose ? "" : "/dev/null");
    content = contentOf(readModel(options.model));
  }
  print(listOf(content));
  return kDone;
}

std::vector<Measurement> measureAll(const ModelContent& content, const Scan& scan,
                                    const Options& options, Progress& progress) {
  progress.step("sorting " + std::to_string(scan.count()) + " points");
  Inspector inspector(scan, options);
  std::vector<Measurement> measurements;
  for (const Nominal& nominal : content.features) {
    progress.step("measuring " + nominal.name + " of " + std::to_string(content.features.size()));
    measurements.push_back(inspector.measure(nominal));
  }
  return measurements;
}

int measure(Options options) {
  const bool made = options.task == Options::Task::MeasureMadePart;
  const bool simulated = made || options.task == Options::Task::MeasureSimulatedScan;
  OutputFolder folder(options.output);
  std::string text;
  bool any = false;
  {
    const OutputAside aside(options.verbose ? "" : folder.pathFor("library.log"));
    Progress progress;
    if (made) {
      progress.step("making the part");
      options.model = folder.pathFor("part.step");
      writeStep(makePart(), options.model);
    }
    progress.step("reading the model");
    const TopoDS_Shape model = readModel(options.model);
    const ModelContent content = contentOf(model);
    if (simulated) {
      progress.step("simulating the scan");
      folder.write("scan.xyz", simulateScan(model, {options.points, options.noise}));
      options.scan = folder.pathFor("scan.xyz");
    }
    progress.step("reading the scan");
    const Scan scan = readScan(options.scan);
    const std::vector<Measurement> measurements = measureAll(content, scan, options, progress);
    progress.step("writing the results");
    writeReports(measurements, scan, folder);
    for (const Measurement& one : measurements) any = any || one.done();
    text = tableOf(measurements);
  }
  folder.commit();
  print(text + "Results in " + options.output + "\n");
  if (any) return kDone;
  throw Failure(kNothingMeasured,
                "no feature could be measured: do the model and the scan lie in one frame, in mm?");
}

int run(int argc, const char* const* argv) {
  const Options options = parseOptions(argc, argv);
  switch (options.task) {
    case Options::Task::Help:
      print(helpText());
      return kDone;
    case Options::Task::Version:
      print(std::string("inspect, LibZelmo ") + zelmo::version() + "\n");
      return kDone;
    case Options::Task::List:
      return list(options);
    default:
      endPolitelyOnSignals();
      return measure(options);
  }
}

}  // namespace
}  // namespace inspect

int main(int argc, char** argv) {
  try {
    return inspect::run(argc, argv);
  } catch (const inspect::Failure& failure) {
    std::fprintf(stderr, "inspect: %s\n", failure.what());
    return failure.code();
  } catch (const Standard_Failure& failure) {
    std::fprintf(stderr, "inspect: the CAD kernel failed: %s\n", failure.GetMessageString());
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "inspect: %s\n", failure.what());
  }
  return inspect::kUnexpected;
}
