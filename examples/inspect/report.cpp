// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "report.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include <zelmo/export/export_files.h>

#include "failure.h"
#include "numbers.h"

namespace inspect {
namespace {

constexpr std::size_t kNameWidth = 13, kFeatureWidth = 35;

/// One line of the table, from its cells.
std::string line(const std::string& name, const std::string& nominal, const std::string& measured,
                 const std::vector<std::string>& numbers) {
  constexpr std::size_t kWidths[] = {10, 9, 8, 8, 14};
  std::string text = padRight(name, kNameWidth) + padLeft(nominal, kFeatureWidth) +
                     padLeft(measured, kFeatureWidth);
  for (std::size_t i = 0; i < numbers.size(); ++i) text += padLeft(numbers[i], kWidths[i]);
  return text + "\n";
}

/// What heads the features of one kind.
std::string headOf(const std::string& kind) {
  const auto line_for = [](const char* names, const char* what, const char* form) {
    return line(names, std::string("nominal ") + what, std::string("measured ") + what,
                {"distance", "angle", "picked", "used", form});
  };
  if (kind == "plane") return line_for("planes", "normal, offset", "flatness");
  if (kind == "sphere") return line_for("spheres", "centre, radius", "sphericity");
  if (kind == "cylinder") return line_for("cylinders", "axis, radius", "cylindricity");
  return line_for("cones", "axis, half angle", "conicity");
}

std::string featureText(const Telling& telling, bool sphere) {
  const cv::Vec3d& shown = sphere ? telling.point : telling.direction;
  std::string text;
  for (int i = 0; i < 3; ++i) text += sphere ? fixed(shown[i], 3, 9) : fixed(shown[i], 4, 8);
  return text + fixed(telling.size, 4, sphere ? 8 : 10);
}

std::string rowOf(const Measurement& one) {
  const bool sphere = isSphere(one.nominal.ideal);
  const std::string nominal = featureText(tell(one.nominal.ideal), sphere);
  const std::string picked = std::to_string(one.points.size());
  if (!one.done())
    return line(one.nominal.name, nominal, one.trouble, {"-", "-", picked, "-", "-"});
  return line(
      one.nominal.name, nominal, featureText(tellMeasured(one), sphere),
      {fixed(one.difference.distance, 4, 0), sphere ? "-" : fixed(one.difference.angle, 4, 0),
       picked, std::to_string(one.used), fixed(one.form, 4, 0)});
}

std::string triple(const float* v) { return exact(v[0]) + ";" + exact(v[1]) + ";" + exact(v[2]); }

/// Point, direction and size with all digits; seven fields.
std::string exactText(const Telling& telling) {
  std::string text;
  for (int i = 0; i < 3; ++i) text += exact(telling.point[i]) + ";";
  for (int i = 0; i < 3; ++i) text += exact(telling.direction[i]) + ";";
  return text + exact(telling.size) + ";";
}

std::string resultRow(const Measurement& one) {
  std::string row = one.nominal.name + ";" + tell(one.nominal.ideal).kind + ";" +
                    (one.done() ? "measured" : one.trouble) + ";" +
                    exactText(tell(one.nominal.ideal));
  row += one.done() ? exactText(tellMeasured(one)) + exact(one.difference.distance) + ";" +
                          exact(one.difference.angle) + ";"
                    : ";;;;;;;;;";
  row += std::to_string(one.points.size()) + ";" + std::to_string(one.used) + ";";
  return row + (one.done() ? exact(one.form) : "") + "\n";
}

const char* stateText(PointState state) {
  switch (state) {
    case PointState::Used:
      return "used";
    case PointState::OutsideBand:
      return "outside band";
    case PointState::Beside:
      return "beside";
    case PointState::Tilted:
      return "tilted normal";
  }
  return "";
}

std::string deviationsOf(const std::vector<Measurement>& measurements, const Scan& scan) {
  std::string text = "feature;line;x;y;z;deviation;state\n";
  for (const Measurement& one : measurements) {
    if (!one.done()) continue;
    for (const PickedPoint& point : one.points) {
      text += one.nominal.name + ";" + std::to_string(scan.lines[point.index]) + ";" +
              triple(scan.point(point.index)) + ";" + exact(point.deviation) + ";" +
              stateText(point.state) + "\n";
    }
  }
  return text;
}

/// The rows of a table of features: each nominal one, and behind it its measured twin.
template <typename Record>
struct FeatureRows {
  std::vector<Record> records;
  std::vector<std::wstring> names;
  std::vector<char> flags;  // 1 for a nominal one

  template <typename One>
  explicit FeatureRows(const std::vector<One>& measurements) {
    for (const One& one : measurements) {
      const std::wstring name(one.nominal.name.begin(), one.nominal.name.end());
      add(one.nominal.ideal, name, 1);
      if (one.done()) add(one.measured, name, 0);
    }
  }
  void add(const Record& record, const std::wstring& name, char flag) {
    records.push_back(record);
    names.push_back(name);
    flags.push_back(flag);
  }
  void appendTo(std::vector<xgeofeature::XFBase*>& features, std::vector<std::wstring>& all_names,
                std::vector<char>& all_flags) {
    for (Record& record : records) {
      features.push_back(
          std::visit([](auto& own) -> xgeofeature::XFBase* { return &own; }, record));
    }
    all_names.insert(all_names.end(), names.begin(), names.end());
    all_flags.insert(all_flags.end(), flags.begin(), flags.end());
  }
};

void writeFeatures(const std::vector<Measurement>& measurements,
                   const std::vector<OutlineMeasurement>& outlines, const OutputFolder& folder) {
  FeatureRows<Ideal> solids(measurements);
  FeatureRows<Outline> flats(outlines);
  std::vector<xgeofeature::XFBase*> features;
  std::vector<std::wstring> names;
  std::vector<char> flags;
  solids.appendTo(features, names, flags);
  flats.appendTo(features, names, flags);
  const std::filesystem::path path = folder.pathFor("features.csv");
  if (xexportfiles::XExportFiles::ExportFeature2Csv(features, names, flags, path.wstring()) != 0) {
    throw Failure(kBadOutput, "features.csv can't be written");
  }
  // The export does not look at its writes, so the file is looked at.
  std::ifstream file(path, std::ios::binary);
  std::stringstream content;
  content << file.rdbuf();
  const std::string text = content.str();
  const auto lines = std::count(text.begin(), text.end(), '\n');
  if (lines != static_cast<std::ptrdiff_t>(features.size()) + 1 || text.back() != '\n') {
    throw Failure(kBadOutput, "features.csv could not be written whole");
  }
}

}  // namespace

Telling tellMeasured(const Measurement& one) {
  Telling telling = tell(one.measured);
  if (std::holds_alternative<xgeofeature::XFPlane>(one.measured)) {
    telling.size = tell(one.nominal.ideal).size + one.difference.distance;
  }
  return telling;
}

std::string tableOf(const std::vector<Measurement>& measurements, const ModelContent& content,
                    const Scan& scan) {
  std::string text, kind;
  int done = 0;
  for (const Measurement& one : measurements) {
    const std::string next_kind = tell(one.nominal.ideal).kind;
    if (next_kind != kind) text += (kind.empty() ? "" : "\n") + headOf(next_kind);
    kind = next_kind;
    text += rowOf(one);
    if (one.done()) ++done;
  }
  text += "\n" + std::to_string(done) + " of " + std::to_string(measurements.size()) +
          " features measured, in " + std::to_string(scan.count()) + " points.\n";
  if (scan.without_normal > 0) {
    text += std::to_string(scan.without_normal) + " points without a normal were not picked.\n";
  }
  if (content.unrecognised_faces > 0) {
    text += std::to_string(content.unrecognised_faces) + " of " + std::to_string(content.faces) +
            " faces of the model are of no kind that is measured.\n";
  }
  return text;
}

void writeReports(const std::vector<Measurement>& measurements,
                  const std::vector<OutlineMeasurement>& outlines, const Scan& scan,
                  const OutputFolder& folder) {
  writeFeatures(measurements, outlines, folder);
  folder.write("outlines.csv", outlineRows(outlines));
  std::string results =
      "name;kind;status;"
      "nominal x;nominal y;nominal z;nominal dx;nominal dy;nominal dz;nominal size;"
      "measured x;measured y;measured z;measured dx;measured dy;measured dz;measured size;"
      "distance;angle;picked;used;form\n";
  for (const Measurement& one : measurements) results += resultRow(one);
  folder.write("results.csv", results);
  folder.write("deviations.csv", deviationsOf(measurements, scan));
}

}  // namespace inspect
