// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "tube.h"

#include <algorithm>
#include <cmath>

#include <zelmo/extract/poly_line_fit.h>

#include "bent_tube.h"
#include "failure.h"
#include "numbers.h"
#include "picture.h"
#include "scan.h"
#include "shapes.h"
#include "surface_mesh.h"
#include "svg.h"
#include "view.h"

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

/// The tube with the traced line in it.
std::string pictureOf(const TopoDS_Shape& wall, const xgeofeature::XFPolyLine& line,
                      const std::string& note) {
  constexpr double kWidth = 900.0, kTop = 72.0, kAir = 30.0;  // pixels
  const cv::Vec3d towards_eye(0.45, -0.75, 0.55);
  const SurfaceMesh mesh = meshOf(wall, 0.02, 0.15);
  const double width = kWidth - 2.0 * kAir;
  const double height = std::min(700.0, View::heightFor(mesh, towards_eye, width));
  const View view(mesh, towards_eye, {kAir, kTop, width, height});
  Svg svg(kWidth, std::ceil(kTop + height + kAir), "Traced tube");
  svg.style(
      ".traced path{fill:none;stroke:#b3261e;stroke-width:1.6}"
      ".traced circle{fill:#b3261e;stroke:#ffffff;stroke-width:.7}",
      "");
  svg.text({kAir, 32.0}, "Traced tube", "start", "title");
  svg.text({kAir, 54.0}, note, "start", "note");
  int faces = 0;
  for (const int face : mesh.faces) faces = std::max(faces, face + 1);
  paintFaces(svg, view, mesh,
             std::vector<Colour>(static_cast<std::size_t>(faces), Colour(176, 196, 214)), 0.4);
  Path2 traced;
  for (const auto& point : line.points) traced.push_back(view.at({point.x, point.y, point.z}));
  svg.open("traced");
  svg.path(traced, false);
  for (const cv::Point2d& place : traced) svg.circle(place, 2.3, "");
  svg.close();
  return svg.done();
}

}  // namespace

std::string tubeInto(const OutputFolder& folder, const Options& options, Progress& progress) {
  const BentTube tube;
  progress.step("simulating the scan");
  const TopoDS_Shape wall = tube.wall();
  folder.write("scan.xyz", simulateScan(wall, {options.points, options.noise}));
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
  const std::string offset = "Offset from the true centre line: mean " +
                             fixed(sum / compared, 4, 0) + ", largest " + fixed(largest, 4, 0) +
                             " mm.";
  folder.write("tube.svg", pictureOf(wall, line, offset));
  text += offset + "\n";
  return text;
}

}  // namespace inspect
