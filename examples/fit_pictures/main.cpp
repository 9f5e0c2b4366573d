// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Draws the pictures of docs/which-fit.md with fits of made points: fit_pictures FOLDER
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <zelmo/zelmo.h>

#include "drawing.h"

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kRadius = 10;

using Points = std::vector<cv::Point3f>;
using xcurve3dfit::FitMethod;

struct Circle {
  double x = 0, y = 0, r = 0;
};

cv::Point3f inPlane(double r, double turn) {
  return {static_cast<float>(r * std::cos(turn)), static_cast<float>(r * std::sin(turn)), 0.0F};
}

Circle fitCircle(const Points& points, FitMethod method) {
  std::array<float, 10> out{};
  xcurve3dfit::XCircle3DFit().Fit(points, out.data(), method);
  return {out[0], out[1], out[9]};
}

/// A ring drawn with its deviations from the nominal radius enlarged.
struct Enlarged {
  double cx, cy;  // of the picture
  double ring;    // nominal radius in the picture
  double times;   // picture's pixels per unit of deviation

  std::pair<double, double> at(double r, double turn) const {
    const double drawn = ring + times * (r - kRadius);
    return {cx + drawn * std::cos(turn), cy - drawn * std::sin(turn)};
  }
  Path outline(const Circle& c) const {
    Path path;
    for (int i = 0; i < 180; ++i) {
      const double turn = kPi * i / 90;
      path.push_back(at(c.r + c.x * std::cos(turn) + c.y * std::sin(turn), turn));
    }
    return path;
  }
  void points(Drawing& drawing, const Points& all) const {
    for (const auto& p : all) {
      const auto [x, y] = at(std::hypot(p.x, p.y), std::atan2(p.y, p.x));
      drawing.dot(x, y, "ink");
    }
  }
};

/// A bore with three lobes and a burr: what each method makes of it.
Drawing methods() {
  Points points;
  for (int i = 0; i < 60; ++i) {
    const double turn = kPi * i / 30;
    const double burr = i == 8 ? -0.06 : 0;
    points.push_back(
        inPlane(kRadius + 0.03 * std::cos(3 * turn) + 0.012 * std::sin(7.3 * i) + burr, turn));
  }
  Drawing drawing(690, 350);
  const Enlarged view{175, 175, 115, 500};
  view.points(drawing, points);
  struct Row {
    FitMethod method;
    const char* kind;
    const char* words;
  };
  const Row rows[] = {
      {xcurve3dfit::LeastSquare, "grey", "LeastSquare: on the average"},
      {xcurve3dfit::LeastAbsDev, "blue", "LeastAbsDev: passes over the burr"},
      {xcurve3dfit::Chebyshev, "orange", "Chebyshev: smallest worst deviation"},
      {xcurve3dfit::ChebyshevInscribed, "green", "ChebyshevInscribed: inside all points"},
      {xcurve3dfit::ChebyshevCircumscribed, "red", "ChebyshevCircumscribed: around all points"},
  };
  double y = 60;
  for (const Row& row : rows) {
    const Circle c = fitCircle(points, row.method);
    drawing.line(view.outline(c), row.kind, true);
    drawing.legend(330, y, row.kind, row.words);
    char radius[32];
    std::snprintf(radius, sizeof radius, "radius %.4f", c.r);
    drawing.text(358, y + 18, radius);
    y += 48;
  }
  drawing.text(330, 320, "nominal radius 10, deviations enlarged 43 times");
  return drawing;
}

/// Some points of another surface: what they do to the average.
Drawing wildPoints() {
  Points points;
  std::mt19937 engine(3);
  std::normal_distribution<double> noise(0, 0.01);
  for (int i = 0; i < 48; ++i) {
    const bool wild = i >= 3 && i < 9;
    points.push_back(inPlane(kRadius + noise(engine) + (wild ? 0.3 : 0), kPi * i / 24));
  }
  Drawing drawing(620, 330);
  const Enlarged view{165, 175, 100, 150};
  view.points(drawing, points);
  drawing.line(view.outline({0, 0, kRadius}), "grey", true);
  drawing.line(view.outline(fitCircle(points, xcurve3dfit::LeastSquare)), "red", true);
  drawing.line(view.outline(fitCircle(points, xcurve3dfit::LeastAbsDev)), "blue", true);
  drawing.legend(330, 110, "grey", "the bore");
  drawing.legend(330, 140, "red", "LeastSquare: pulled aside");
  drawing.legend(330, 170, "blue", "LeastAbsDev: stays with the bore");
  drawing.text(330, 220, "6 of 48 points lie 0.3 outside");
  drawing.text(330, 240, "deviations enlarged 15 times");
  return drawing;
}

/// Centers found on ever shorter arcs under the same noise.
Drawing shortArcs() {
  Drawing drawing(620, 300);
  std::mt19937 engine(11);
  std::normal_distribution<double> noise(0, 0.01);
  const double arcs[] = {360, 90, 40, 20};
  for (int k = 0; k < 4; ++k) {
    const double cx = 80 + 153 * k;
    const double cy = 190;
    const double ring = 60;
    const double share = arcs[k] / 360;
    Path path;
    for (int i = 0; i <= 60; ++i) {
      const double turn = kPi / 2 + 2 * kPi * share * (i / 60.0 - 0.5);
      path.emplace_back(cx + ring * std::cos(turn), cy - ring * std::sin(turn));
    }
    double worst = 0;
    for (int run = 0; run < 40; ++run) {
      Points points;
      for (int i = 0; i < 60; ++i) {
        const double turn = kPi / 2 + 2 * kPi * share * (i / 59.0 - 0.5);
        points.push_back(inPlane(kRadius + noise(engine), turn));
      }
      const Circle c = fitCircle(points, xcurve3dfit::LeastSquare);
      drawing.dot(cx + ring / kRadius * c.x * 10, cy - ring / kRadius * c.y * 10, "red", 1.6);
      worst = std::max(worst, std::hypot(c.x, c.y));
    }
    drawing.line(path, "ink");
    char words[48];
    std::snprintf(words, sizeof words, "arc %.0f degrees", arcs[k]);
    drawing.text(cx, 40, words, "ink", "middle");
    std::snprintf(words, sizeof words, "center within %.3f", worst);
    drawing.text(cx, 60, words, "red", "middle");
  }
  drawing.text(310, 285, "radius 10, noise 0.01; red: 40 fitted centers, offsets enlarged 10 times",
               "ink", "middle");
  return drawing;
}

/// Direction that the two fits of a cylinder find, over its height.
Drawing shortCylinders() {
  constexpr double kLeft = 70;
  constexpr double kRight = 590;
  constexpr double kLow = 240;
  constexpr double kHigh = 50;
  Drawing drawing(620, 300);
  const auto x_of = [](double ratio) {
    return kLeft + (kRight - kLeft) * (std::log10(ratio) + 1) / 1.9;
  };
  Path fit;
  Path fit2;
  for (int k = 0; k < 27; ++k) {
    const double ratio = 0.1 * std::pow(1.18, k);
    Points points;
    std::mt19937 engine(5);
    std::uniform_real_distribution<double> unit(0, 1);
    std::normal_distribution<double> noise(0, 0.01);
    for (int i = 0; i < 300; ++i) {
      cv::Point3f p = inPlane(kRadius + noise(engine), 2 * kPi * unit(engine));
      p.z = static_cast<float>(kRadius * ratio * unit(engine));
      points.push_back(p);
    }
    std::array<double, 8> trusting{};
    std::array<double, 8> trying{};
    x3dfit::XCylinderFit().Fit(points, trusting.data(), x3dfit::LeastSquare);
    x3dfit::XCylinderFit().Fit2(&points[0].x, 300, trying.data());
    const auto y_of = [](const std::array<double, 8>& p) {
      return kLow - (kLow - kHigh) * std::acos(std::min(1.0, std::fabs(p[5]))) / (kPi / 2);
    };
    fit.emplace_back(x_of(ratio), y_of(trusting));
    fit2.emplace_back(x_of(ratio), y_of(trying));
  }
  for (const double degrees : {0.0, 45.0, 90.0}) {
    const double y = kLow - (kLow - kHigh) * degrees / 90;
    drawing.line({{kLeft, y}, {kRight, y}}, "grey");
    drawing.text(kLeft - 10, y + 4, std::to_string(static_cast<int>(degrees)), "ink", "end");
  }
  for (const char* ratio : {"0.1", "0.2", "0.5", "1", "2", "5"}) {
    drawing.text(x_of(std::stod(ratio)), kLow + 20, ratio, "ink", "middle");
  }
  drawing.line(fit, "red");
  drawing.line(fit2, "blue");
  for (const auto& [x, y] : fit) drawing.dot(x, y, "red");
  for (const auto& [x, y] : fit2) drawing.dot(x, y, "blue");
  drawing.text(kLeft - 40, 30, "angle between found and true axis, degrees");
  drawing.text((kLeft + kRight) / 2, kLow + 45, "height over radius", "ink", "middle");
  drawing.legend(400, 90, "red", "XCylinderFit::Fit");
  drawing.legend(400, 115, "blue", "XCylinderFit::Fit2");
  return drawing;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: fit_pictures FOLDER\n");
    return 2;
  }
  struct Picture {
    const char* file;
    const char* title;
    std::function<Drawing()> draw;
  };
  const Picture pictures[] = {
      {"fit-methods.svg", "One bore, five methods", methods},
      {"fit-wild-points.svg", "Wild points and two methods", wildPoints},
      {"fit-short-arcs.svg", "Centers of short arcs", shortArcs},
      {"fit-short-cylinders.svg", "Axes of short cylinders", shortCylinders},
  };
  for (const Picture& picture : pictures) {
    const std::string path = std::string(argv[1]) + "/" + picture.file;
    if (picture.draw().write(path, picture.title)) continue;
    std::fprintf(stderr, "cannot write %s\n", path.c_str());
    return 1;
  }
  return 0;
}
