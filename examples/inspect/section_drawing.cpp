// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>

#include "cad_files.h"
#include "failure.h"
#include "made_part.h"
#include "mesh_section.h"
#include "numbers.h"
#include "svg.h"

namespace inspect {
namespace {

constexpr double kMeshSag = 2e-4;   // of the diagonal
constexpr double kMeshAngle = 0.1;  // rad

std::string planeText(const CutPlane& plane) {
  std::string text;
  const char* names[] = {" x", " y", " z"};
  for (int i = 0; i < 3; ++i) {
    if (plane.normal[i] == 0.0) continue;
    const std::string factor = plain(std::abs(plane.normal[i]), 6);
    text += plane.normal[i] < 0.0 ? (text.empty() ? "-" : " - ") : (text.empty() ? "" : " + ");
    text += factor == "1" ? std::string(names[i]).substr(1) : factor + names[i];
  }
  return text + " = " + plain(-plane.d, 4);
}

std::string textOf(const Section& section, const CutPlane& plane) {
  std::string text = "# section " + planeText(plane) + "\n# x y z of one end, x y z of the other\n";
  int number = 0;
  for (const Chain& chain : section.chains) {
    const std::size_t points = chain.points.size(), count = chain.closed ? points : points - 1;
    text += "# " + std::string(chain.closed ? "loop " : "open chain ") + std::to_string(++number) +
            ", " + std::to_string(count) + " segments, length " + fixed(chain.length, 4, 0) + "\n";
    for (std::size_t i = 0; i < count; ++i) {
      for (const cv::Vec3d& end : {chain.points[i], chain.points[(i + 1) % points]}) {
        for (int k = 0; k < 3; ++k) text += exact(static_cast<float>(end[k])) + " ";
      }
      text.back() = '\n';
    }
  }
  return text;
}

/// What an axis of the drawing is called: a coordinate that runs along it, or against it.
struct AxisName {
  std::string name;
  double sign = 1.0;
};

AxisName nameOf(const cv::Vec3d& direction, const char* otherwise) {
  const char* names[] = {"x", "y", "z"};
  for (int i = 0; i < 3; ++i) {
    if (std::abs(direction[i]) > 1.0 - 1e-9) return {names[i], direction[i] < 0.0 ? -1.0 : 1.0};
  }
  return {otherwise, 1.0};
}

struct Sheet {
  cv::Rect2d box;  ///< in mm, to the right and upwards
  double scale = 1.0;
  cv::Point2d corner;  ///< in pixels: where the box's lower left corner goes

  cv::Point2d at(double u, double v) const {
    return {corner.x + (u - box.x) * scale, corner.y - (v - box.y) * scale};
  }
};

constexpr double kLeft = 66.0, kTop = 92.0, kRight = 26.0, kBottom = 58.0;  // pixels of margin

Sheet sheetFor(const Section& section, const CutPlane& plane) {
  constexpr double kWidest = 900.0, kHighest = 640.0, kAir = 0.04;
  double low_u = 1e30, high_u = -1e30, low_v = 1e30, high_v = -1e30;
  for (const Chain& chain : section.chains) {
    for (const cv::Vec3d& point : chain.points) {
      low_u = std::min(low_u, point.dot(plane.right));
      high_u = std::max(high_u, point.dot(plane.right));
      low_v = std::min(low_v, point.dot(plane.up));
      high_v = std::max(high_v, point.dot(plane.up));
    }
  }
  const double air = kAir * std::max({high_u - low_u, high_v - low_v, 1e-9});
  Sheet sheet;
  sheet.box = {low_u - air, low_v - air, high_u - low_u + 2.0 * air, high_v - low_v + 2.0 * air};
  sheet.scale = std::min(kWidest / sheet.box.width, kHighest / sheet.box.height);
  sheet.corner = {kLeft, kTop + sheet.box.height * sheet.scale};
  return sheet;
}

/// A grid with numbers, in round steps.
void drawGrid(Svg& svg, const Sheet& sheet, const CutPlane& plane) {
  constexpr double kLeastStep = 60.0;  // pixels
  const double step = roundStep(kLeastStep / sheet.scale);
  const int decimals = std::max(0, static_cast<int>(std::ceil(-std::log10(step) - 1e-9)));
  const AxisName right = nameOf(plane.right, "u"), up = nameOf(plane.up, "v");
  const cv::Rect2d& box = sheet.box;
  svg.open("grid");
  const auto first_line = [step](double low) { return static_cast<int>(std::ceil(low / step)); };
  for (int i = first_line(box.x); i * step <= box.x + box.width; ++i) {
    const double u = i * step;
    svg.line(sheet.at(u, box.y), sheet.at(u, box.y + box.height), "");
    svg.text(sheet.at(u, box.y) + cv::Point2d(0, 17), fixed(right.sign * u, decimals, 0), "middle",
             "note");
  }
  for (int i = first_line(box.y); i * step <= box.y + box.height; ++i) {
    const double v = i * step;
    svg.line(sheet.at(box.x, v), sheet.at(box.x + box.width, v), "");
    svg.text(sheet.at(box.x, v) + cv::Point2d(-8, 4), fixed(up.sign * v, decimals, 0), "end",
             "note");
  }
  svg.close();
  svg.text(sheet.at(box.x + 0.5 * box.width, box.y) + cv::Point2d(0, 40), right.name + " (mm)",
           "middle", "note");
  svg.text(cv::Point2d(10, sheet.at(box.x, box.y + box.height).y - 8), up.name + " (mm)", "start",
           "note");
}

std::string pictureOf(const Section& section, const CutPlane& plane, const std::string& name,
                      const std::string& summary) {
  const Sheet sheet = sheetFor(section, plane);
  const double width = std::max(kLeft + sheet.box.width * sheet.scale + kRight, 560.0);
  Svg svg(width, kTop + sheet.box.height * sheet.scale + kBottom, "section of " + name);
  svg.style(
      ".grid path{stroke:#dde3ea;stroke-width:1;fill:none}"
      ".cut{fill:#cfe3f5;stroke:#0b4f8a;stroke-width:1.8;stroke-linejoin:round}"
      ".open{fill:none;stroke:#c2410c;stroke-width:1.8;stroke-linecap:round}",
      ".grid path{stroke:#2c333b}"
      ".cut{fill:#1d3b57;stroke:#7cc0ff}"
      ".open{stroke:#fb923c}");
  svg.text({20, 30}, name + ", " + planeText(plane), "start", "title");
  svg.text({20, 50}, summary, "start", "note");
  drawGrid(svg, sheet, plane);
  std::vector<Path2> loops;
  for (const bool closed : {true, false}) {
    for (const Chain& chain : section.chains) {
      if (chain.closed != closed) continue;
      Path2 outline;
      for (const cv::Vec3d& point : chain.points) {
        outline.push_back(sheet.at(point.dot(plane.right), point.dot(plane.up)));
      }
      if (closed) {
        loops.push_back(outline);
      } else {
        svg.path(outline, false, "open");
      }
    }
    if (closed && !loops.empty()) svg.area(loops, "cut");
  }
  return svg.done();
}

SurfaceMesh meshFor(const Options& options, Progress& progress, std::string& name) {
  if (!options.model.empty() && isMeshFile(options.model)) {
    progress.step("reading the mesh");
    name = std::filesystem::path(options.model).filename().string();
    return readMesh(options.model);
  }
  TopoDS_Shape model;
  if (options.model.empty()) {
    progress.step("making the part");
    name = "made part";
    model = makePart();
  } else {
    progress.step("reading the model");
    name = std::filesystem::path(options.model).filename().string();
    model = readModel(options.model);
  }
  progress.step("meshing the model");
  return meshOf(model, kMeshSag * diagonalOf(model), kMeshAngle);
}

std::string counted(std::size_t number, const char* what) {
  return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

}  // namespace

std::string sectionInto(const OutputFolder& folder, const Options& options, Progress& progress) {
  const CutPlane plane = cutPlaneOf(options.section);
  std::string name;
  const SurfaceMesh mesh = meshFor(options, progress, name);
  progress.step("cutting " + std::to_string(mesh.count()) + " triangles");
  const Section section = sectionOf(mesh, plane);
  if (section.chains.empty()) {
    throw Failure(kNothingMeasured, name + ": the plane " + planeText(plane) +
                                        " meets none of the " + std::to_string(mesh.count()) +
                                        " triangles");
  }
  const auto loops =
      static_cast<std::size_t>(std::count_if(section.chains.begin(), section.chains.end(),
                                             [](const Chain& chain) { return chain.closed; }));
  const std::size_t open = section.chains.size() - loops;
  std::string found = counted(loops, "loop") + ", " + counted(open, "open chain") + ", length " +
                      fixed(section.length, 4, 0) + " mm";
  if (open == 0) found += ", area " + fixed(section.area, 4, 0) + " mm2";
  folder.write("section.txt", textOf(section, plane));
  folder.write("section.svg", pictureOf(section, plane, name, found));

  std::string text = name + " by " + planeText(plane) + ": " +
                     counted(static_cast<std::size_t>(section.segments), "segment") + " of " +
                     counted(static_cast<std::size_t>(mesh.count()), "triangle") +
                     ", the same ones by one task and by eight\n" + found + "\n";
  int number = 0;
  for (const Chain& chain : section.chains) {
    constexpr int kShown = 20;
    if (++number > kShown) {
      text += "... and " + std::to_string(section.chains.size() - kShown) + " more\n";
      break;
    }
    text += padRight((chain.closed ? "  loop " : "  open ") + std::to_string(number), 12) +
            padLeft(std::to_string(chain.points.size()), 7) + " points" +
            fixed(chain.length, 4, 14) + " mm\n";
  }
  if (section.in_plane > 0) {
    text += counted(static_cast<std::size_t>(section.in_plane), "triangle") +
            " in the plane itself; their sides are drawn too, so move the plane a little for an "
            "outline alone.\n";
  }
  return text;
}

}  // namespace inspect
