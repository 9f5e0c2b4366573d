// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include <BRepAdaptor_Surface.hxx>
#include <BRepClass_FaceClassifier.hxx>
#include <BRepTools.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <gp_Pln.hxx>
#include <opencv2/core.hpp>

#include "alignment.h"
#include "failure.h"
#include "numbers.h"
#include "outward.h"
#include "surface_mesh.h"

namespace inspect {
namespace {

constexpr char kAxes[] = {'x', 'y', 'z'};

char capital(char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); }

/// The words of a line up to a comment.
std::vector<std::string> wordsOf(std::string line) {
  line = line.substr(0, line.find('#'));
  for (char& c : line) {
    if (c == ',' || c == ';') c = ' ';
  }
  std::istringstream in(line);
  std::vector<std::string> words;
  for (std::string word; in >> word;) words.push_back(word);
  return words;
}

bool readNumber(const std::string& word, double& value) {
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  return error == std::errc() && end == word.data() + word.size() &&
         std::isfinite(static_cast<float>(value));
}

/// Some of the letters x, y, z in this order, each small or capital.
bool areAxes(const std::string& word) {
  std::size_t at = 0;
  for (const char axis : kAxes) {
    if (at < word.size() && (word[at] == axis || word[at] == capital(axis))) ++at;
  }
  return at == word.size() && !word.empty();
}

/// \return what is wrong with the line, or nothing
const char* readPoint(const std::vector<std::string>& words, RpsPoint& point) {
  point.name = words.front();
  double numbers[6];
  std::size_t count = 0;
  while (count < 6 && count + 1 < words.size() && readNumber(words[count + 1], numbers[count])) {
    ++count;
  }
  if (count != 3 && count != 6) return "wanted are a name and three or six numbers";
  point.nominal = {numbers[0], numbers[1], numbers[2]};
  point.is_measured = count == 6;
  if (point.is_measured) point.measured = {numbers[3], numbers[4], numbers[5]};
  point.axes = "xyz";
  if (words.size() == count + 1) return nullptr;
  point.axes = words[count + 1];
  if (words.size() > count + 2 || !areAxes(point.axes)) {
    return "after the numbers come axes, as xyz, Z or xY, and nothing else";
  }
  return nullptr;
}

std::vector<RpsPoint> only(const std::vector<RpsPoint>& points, bool measured) {
  std::vector<RpsPoint> some;
  std::copy_if(points.begin(), points.end(), std::back_inserter(some),
               [measured](const RpsPoint& point) { return point.is_measured == measured; });
  return some;
}

/// Whether some small motion leaves all counting coordinates of the points as they are.
bool isFree(const std::vector<RpsPoint>& points) {
  cv::Vec3d middle;
  for (const RpsPoint& point : points) middle += point.nominal;
  middle *= 1.0 / static_cast<double>(points.size());
  double reach = 1e-9;
  for (const RpsPoint& point : points) reach = std::max(reach, cv::norm(point.nominal - middle));
  cv::Mat1d rows(0, 6);
  for (const RpsPoint& point : points) {
    const cv::Vec3d arm = (point.nominal - middle) / reach;
    for (int axis = 0; axis < 3; ++axis) {
      if (!point.counts(axis)) continue;
      cv::Vec3d unit;
      unit[axis] = 1.0;
      const cv::Vec3d turn = arm.cross(unit);
      const cv::Matx16d row(unit[0], unit[1], unit[2], turn[0], turn[1], turn[2]);
      rows.push_back(cv::Mat(row));
    }
  }
  if (rows.rows < 6) return true;
  cv::Mat1d values;
  cv::SVD::compute(rows, values, cv::SVD::NO_UV);
  return values(5) < 1e-3 * values(0);
}

/// Places well inside the flat faces that stand across an axis.
std::vector<cv::Vec3d> placesAcross(const TopoDS_Shape& model, int axis, double margin) {
  constexpr int kSteps = 24;
  constexpr double kSquare = 0.99999;
  std::vector<cv::Vec3d> places;
  for (TopExp_Explorer walk(model, TopAbs_FACE); walk.More(); walk.Next()) {
    const TopoDS_Face& face = TopoDS::Face(walk.Current());
    if (!isAnalytic(face)) continue;
    const BRepAdaptor_Surface surface(face);
    const gp_Pln plane = surface.Plane();
    if (std::abs(plane.Axis().Direction().XYZ().Coord(axis + 1)) < kSquare) continue;
    double u_low = 0.0, u_high = 0.0, v_low = 0.0, v_high = 0.0;
    BRepTools::UVBounds(face, u_low, u_high, v_low, v_high);
    const auto inside = [&face](double u, double v) {
      return BRepClass_FaceClassifier(face, gp_Pnt2d(u, v), 1e-6).State() == TopAbs_IN;
    };
    for (int i = 1; i < kSteps; ++i) {
      for (int k = 1; k < kSteps; ++k) {
        const double u = u_low + (u_high - u_low) * i / kSteps;
        const double v = v_low + (v_high - v_low) * k / kSteps;
        if (!inside(u, v) || !inside(u - margin, v) || !inside(u + margin, v) ||
            !inside(u, v - margin) || !inside(u, v + margin)) {
          continue;
        }
        const gp_Pnt point = surface.Value(u, v);
        places.emplace_back(point.X(), point.Y(), point.Z());
      }
    }
  }
  return places;
}

/// Some of the places, each as far from those before it as can be.
std::vector<cv::Vec3d> spread(const std::vector<cv::Vec3d>& places, std::size_t count) {
  std::vector<cv::Vec3d> chosen;
  if (places.empty()) return chosen;
  cv::Vec3d middle;
  for (const cv::Vec3d& place : places) middle += place;
  middle *= 1.0 / static_cast<double>(places.size());
  std::vector<double> gaps;
  gaps.reserve(places.size());
  for (const cv::Vec3d& place : places) gaps.push_back(cv::norm(place - middle));
  while (chosen.size() < count) {
    const auto widest = std::max_element(gaps.begin(), gaps.end());
    if (!(*widest > 1e-6)) break;
    chosen.push_back(places[static_cast<std::size_t>(widest - gaps.begin())]);
    for (std::size_t i = 0; i < places.size(); ++i) {
      const double gap = cv::norm(places[i] - chosen.back());
      gaps[i] = chosen.size() == 1 ? gap : std::min(gaps[i], gap);
    }
  }
  return chosen;
}

}  // namespace

bool RpsPoint::counts(int axis) const {
  return axes.find(kAxes[axis]) != std::string::npos || locates(axis);
}

bool RpsPoint::locates(int axis) const {
  return axes.find(capital(kAxes[axis])) != std::string::npos;
}

void requireHold(const std::vector<RpsPoint>& points) {
  for (const bool measured : {true, false}) {
    const std::vector<RpsPoint> some = only(points, measured);
    if (!some.empty() && isFree(some)) {
      throw Failure(kBadScan, std::string("the RPS points that ") +
                                  (measured ? "are measured" : "are to be looked up in the scan") +
                                  " leave the part free to move: wanted are points that hold it in "
                                  "all three directions and turns");
    }
  }
}

std::vector<RpsPoint> parseRps(const std::string& text, const std::string& name) {
  std::vector<RpsPoint> points;
  std::istringstream lines(text);
  int number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    const std::vector<std::string> words = wordsOf(line);
    if (words.empty()) continue;
    RpsPoint point;
    if (const char* complaint = readPoint(words, point)) {
      throw Failure(kBadScan, name + ", line " + std::to_string(number) + ": " + complaint);
    }
    points.push_back(point);
  }
  if (points.empty()) throw Failure(kBadScan, name + ": holds no RPS points");
  requireHold(points);
  return points;
}

std::vector<RpsPoint> readRps(const std::string& path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) {
    throw Failure(kBadScan, path + ": is a folder, not a file of RPS points");
  }
  std::ifstream file(path, std::ios::binary);
  if (!file) throw Failure(kBadScan, path + ": the file of RPS points can't be opened");
  std::ostringstream content;
  content << file.rdbuf();
  return parseRps(content.str(), path);
}

std::string textOf(const std::vector<RpsPoint>& points) {
  std::string text =
      "# RPS points: name, nominal x y z, measured x y z unless the scan is searched, axes that\n"
      "# count; in capitals those that locate.\n";
  for (const RpsPoint& point : points) {
    text += padRight(point.name, 8);
    for (int i = 0; i < 3; ++i) text += fixed(point.nominal[i], 4, 11);
    for (int i = 0; i < 3 && point.is_measured; ++i) text += fixed(point.measured[i], 4, 11);
    text += "  " + point.axes + "\n";
  }
  return text;
}

std::vector<RpsPoint> pickRps(const TopoDS_Shape& model) {
  constexpr std::size_t kPerAxis = 10;
  constexpr double kMarginShare = 0.012;  // of the diagonal: how far a place lies inside its face
  const double margin = kMarginShare * diagonalOf(model);
  std::vector<RpsPoint> points;
  for (int axis = 0; axis < 3; ++axis) {
    int number = 0;
    for (const cv::Vec3d& place : spread(placesAcross(model, axis, margin), kPerAxis)) {
      const std::string name(1, capital(kAxes[axis]));
      points.push_back({name + std::to_string(++number), place, false, {}, name});
    }
  }
  if (points.empty() || isFree(points)) {
    throw Failure(kNothingMeasured,
                  "the model has too few flat faces across x, y and z to pick RPS points on: give "
                  "some with --align=FILE");
  }
  return points;
}

std::vector<RpsPoint> rpsOfDisplaced(const TopoDS_Shape& model, const Motion& displacement) {
  const std::vector<RpsPoint> picked = pickRps(model);
  std::vector<RpsPoint> points;
  for (const RpsPoint& point : picked) {
    if (point.name.back() > '2' || point.name.size() > 2) continue;
    // A click misses its place by some tenths of a millimetre.
    const auto i = static_cast<double>(points.size());
    const cv::Vec3d miss(0.3 * std::sin(1.0 + 2.0 * i), 0.3 * std::sin(2.0 + 3.0 * i),
                         0.3 * std::sin(3.0 + 5.0 * i));
    points.push_back(
        {"click" + point.name, point.nominal, true, displacement(point.nominal) + miss, "xyz"});
  }
  points.insert(points.end(), picked.begin(), picked.end());
  return points;
}

}  // namespace inspect
