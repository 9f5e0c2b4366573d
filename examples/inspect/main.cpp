// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// A sample host: from a CAD model and a scan to a table of measured features.
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include <zelmo/version.h>

#include "alignment.h"
#include "cad_files.h"
#include "console.h"
#include "evaluation.h"
#include "failure.h"
#include "guarded.h"
#include "listing.h"
#include "made_part.h"
#include "measure.h"
#include "mesh_section.h"
#include "nominal.h"
#include "options.h"
#include "outlines.h"
#include "output_folder.h"
#include "outward.h"
#include "scan.h"
#include "triangles.h"
#include "tube.h"

namespace inspect {
namespace {

void print(const std::string& text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
    throw Failure(kBadOutput, "the standard output can't be written");
  }
}

int list(const Options& options) {
  const Outcome outcome = doGuarded([&options](Progress& progress, std::string& text) {
    const OutputAside aside(options.verbose ? "" : "/dev/null");
    progress.step("reading the model");
    text = listOf(readModel(options.model));
    return kDone;
  });
  print(outcome.text);
  return outcome.code;
}

std::vector<Measurement> measureAll(const ModelContent& content, Inspector& inspector,
                                    Progress& progress) {
  std::vector<Measurement> measurements;
  for (const Nominal& nominal : content.features) {
    progress.step("measuring " + nominal.name + " of " + std::to_string(content.features.size()) +
                  " features");
    measurements.push_back(inspector.measure(nominal));
  }
  return measurements;
}

std::vector<OutlineMeasurement> measureOutlines(const std::vector<NominalOutline>& outlines,
                                                OutlineInspector inspector, Progress& progress) {
  std::vector<OutlineMeasurement> measurements;
  for (const NominalOutline& nominal : outlines) {
    progress.step("measuring " + nominal.name + " of " + std::to_string(outlines.size()) +
                  " outlines");
    measurements.push_back(inspector.measure(nominal));
  }
  return measurements;
}

/// From the files, or what stands for them, to the results in the folder.
int measureInto(const OutputFolder& folder, Options options, Progress& progress,
                std::string& text) {
  const OutputAside aside(options.verbose ? "" : folder.pathFor("library.log"));
  const bool made = options.task == Options::Task::MeasureMadePart;
  if (made) {
    progress.step("making the part");
    options.model = folder.pathFor("part.step");
    writeStep(makePart(), options.model);
  }
  progress.step("reading the model");
  const TopoDS_Shape model = readModel(options.model);
  const ModelContent content = contentOf(model);
  if (options.probe > 0.0) {
    progress.step("touching the model");
    text = reportTouches(model, content, options, folder);
    return kDone;
  }
  std::vector<TruePoint> truth;
  const bool simulated = made || options.task == Options::Task::MeasureSimulatedScan;
  if (simulated) {
    progress.step("simulating the scan");
    const std::string scan = simulateScan(model, {options.points, options.noise}, &truth);
    folder.write("scan.xyz", options.align ? displaced(scan, knownDisplacement()) : scan);
    options.scan = folder.pathFor("scan.xyz");
  }
  progress.step("reading the scan");
  Scan scan = readScan(options.scan);
  if (options.align) text = alignToModel(scan, model, options.rps, simulated, folder, progress);
  progress.step("sorting " + std::to_string(scan.count()) + " points");
  if (options.narrow) triangulate(model);
  Inspector inspector(scan, options, signOfSolid(model));
  const std::vector<Measurement> measurements = measureAll(content, inspector, progress);
  const std::vector<OutlineMeasurement> outlines = measureOutlines(
      outlinesOf(model, content), {scan, options, inspector.cloud(), folder.pathFor("")}, progress);
  text +=
      reportOn({model, content, scan, truth, measurements, outlines}, options, folder, progress);
  for (const Measurement& one : measurements) {
    if (one.done()) return kDone;
  }
  return kNothingMeasured;
}

int measure(const Options& options) {
  endPolitelyOnSignals();
  OutputFolder folder(options.output);
  const Outcome outcome = doGuarded([&](Progress& progress, std::string& text) {
    return measureInto(folder, options, progress, text);
  });
  if (!outcome.whole) return outcome.code;
  folder.commit();
  const bool reported = options.probe == 0.0;
  print(outcome.text + "Results in " + options.output +
        (reported ? ", the report in " + options.output + "/report.html\n" : "\n"));
  if (outcome.code != kNothingMeasured) return outcome.code;
  throw Failure(kNothingMeasured,
                "no feature could be measured: do the model and the scan lie in one frame, in mm?");
}

/// The modes that write files and measure no part.
int produce(const Options& options,
            std::string (*work)(const OutputFolder&, const Options&, Progress&)) {
  endPolitelyOnSignals();
  OutputFolder folder(options.output);
  const Outcome outcome = doGuarded([&](Progress& progress, std::string& text) {
    const OutputAside aside(options.verbose ? "" : folder.pathFor("library.log"));
    text = work(folder, options, progress);
    return kDone;
  });
  if (!outcome.whole) return outcome.code;
  folder.commit();
  print(outcome.text + "Results in " + options.output + "\n");
  return outcome.code;
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
    case Options::Task::Section:
      return produce(options, sectionInto);
    case Options::Task::Tube:
      return produce(options, tubeInto);
    default:
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
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "inspect: %s\n", failure.what());
  }
  return inspect::kUnexpected;
}
