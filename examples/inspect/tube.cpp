// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "tube.h"

#include <algorithm>
#include <cmath>

#include <zelmo/extract/poly_line_fit.h>

#include "bent_tube.h"
#include "failure.h"
#include "numbers.h"
#include "scan.h"
#include "shapes.h"

namespace inspect {
namespace {

constexpr float kStep = 4.0F;  // mm: short against the bends, long enough for many points

std::string ending(int code) {
  switch (code) {
    case 0:
      return "it came back to its own course";
    case -2:
      return "it ended where a step held fewer than 10 of them";
    default:
      return "no line was found";
  }
}

}  // namespace

std::string tubeInto(const OutputFolder& folder, const Options& options, Progress& progress) {
  const BentTube tube;
  progress.step("simulating the scan");
  folder.write("scan.xyz", simulateScan(tube.wall(), {options.points, options.noise}));
  progress.step("reading the scan");
  const Scan scan = readScan(folder.pathFor("scan.xyz"));
  progress.step("sorting " + std::to_string(scan.count()) + " points");
  xpolylinefit::XPolyLineFit tracer;
  tracer.setData(scan.records.data(), scan.count());

  progress.step("tracing the tube");
  // What a user would tell: a place near the start, the rough direction, the nominal radius.
  const float start[] = {0.3F, 0.2F, -0.2F}, direction[] = {0.9986F, 0.0523F, 0.0F};
  const int code = tracer.Fit(start, direction, kStep, static_cast<float>(BentTube::kRadius));
  xgeofeature::XFPolyLine line;
  tracer.getPolyLine(line);
  if (code == -1 || line.points.empty()) {
    throw Failure(kNothingMeasured, "no tube was found at the start: too few points");
  }

  std::string text = "point         x         y         z     along    offset\n";
  std::string table = "point;x;y;z;along;offset\n";
  double largest = 0.0, sum = 0.0, reached = 0.0;
  int beyond = 0;
  int number = 0;
  for (const xgeofeature::XFPoint& point : line.points) {
    const Foot foot = tube.footOf({point.x, point.y, point.z});
    text += padLeft(std::to_string(++number), 5);
    table += std::to_string(number) + ";";
    for (const float value : {point.x, point.y, point.z}) {
      text += fixed(value, 3, 10);
      table += exact(value) + ";";
    }
    text += fixed(foot.along, 3, 10) + fixed(foot.distance, 4, 10) + "\n";
    table += exact(foot.along) + ";" + exact(foot.distance) + "\n";
    if (foot.along > tube.length()) {
      ++beyond;
      continue;
    }
    largest = std::max(largest, foot.distance);
    sum += foot.distance;
    reached = std::max(reached, foot.along);
  }
  folder.write("centerline.csv", table);
  const int compared = number - beyond;
  text += "\n" + std::to_string(compared) + " points along " + fixed(reached, 1, 0) + " of " +
          fixed(tube.length(), 1, 0) + " mm of the centre line, in " +
          std::to_string(scan.count()) + " points of its wall; " + ending(code) + ".\n";
  if (beyond > 0) {
    text +=
        std::to_string(beyond) + " more beyond the end, where the wall no longer fills a step.\n";
  }
  if (compared == 0) throw Failure(kNothingMeasured, "no point of the line lies on the tube");
  text += "Offset from the true centre line: mean " + fixed(sum / compared, 4, 0) + ", largest " +
          fixed(largest, 4, 0) + " mm.\n";
  return text;
}

}  // namespace inspect
