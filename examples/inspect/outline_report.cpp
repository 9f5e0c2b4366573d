// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "numbers.h"
#include "outlines.h"

namespace inspect {
namespace {

std::string sizesOf(const GrownBox& box) {
  if (box.half_length == 0.0) return fixed(box.length(), 4, 31);
  return fixed(box.length(), 4, 9) + " x" + fixed(box.width(), 4, 8) + ", r" +
         fixed(box.radius, 4, 9);
}

std::string lineOf(const OutlineMeasurement& one) {
  const GrownBox nominal = boxOf(one.nominal.ideal), measured = boxOf(one.measured);
  const bool round = nominal.half_length == 0.0;
  std::string text = padRight(one.nominal.name, 15) + sizesOf(nominal);
  text += one.done()
              ? sizesOf(measured) + fixed(one.distance, 4, 10) + fixed(one.angle, 4, 9) +
                    (round ? padLeft("-", 9) : fixed(one.turn, 4, 9))
              : padLeft(one.trouble, 31) + padLeft("-", 10) + padLeft("-", 9) + padLeft("-", 9);
  text += padLeft(std::to_string(one.surface.size()), 9) +
          padLeft(std::to_string(one.wall.size()), 8) + padLeft(std::to_string(one.used()), 8);
  return text + (one.done() ? fixed(one.form, 4, 9) : padLeft("-", 9)) + "\n";
}

std::string fieldsOf(const GrownBox& box) {
  std::string text;
  for (const cv::Vec3d& v : {box.center, box.normal, box.along}) {
    for (int i = 0; i < 3; ++i) text += exact(v[i]) + ";";
  }
  return text + exact(box.length()) + ";" + exact(box.width()) + ";" + exact(box.radius) + ";";
}

}  // namespace

std::string outlineTable(const std::vector<OutlineMeasurement>& measurements) {
  if (measurements.empty()) return {};
  std::string text = "\n" + padRight("outlines", 15) + padLeft("nominal size, radius", 31) +
                     padLeft("measured size, radius", 31) + padLeft("distance", 10) +
                     padLeft("angle", 9) + padLeft("turn", 9) + padLeft("surface", 9) +
                     padLeft("wall", 8) + padLeft("used", 8) + padLeft("band", 9) + "\n";
  for (const OutlineMeasurement& one : measurements) text += lineOf(one);
  return text;
}

std::string outlineRows(const std::vector<OutlineMeasurement>& measurements) {
  std::string text = "name;kind;status;";
  for (const char* which : {"nominal ", "measured "}) {
    for (const char* field :
         {"x", "y", "z", "nx", "ny", "nz", "dx", "dy", "dz", "length", "width", "radius"}) {
      text += std::string(which) + field + ";";
    }
  }
  text += "distance;angle;turn;surface;wall;used;band\n";
  for (const OutlineMeasurement& one : measurements) {
    const GrownBox nominal = boxOf(one.nominal.ideal);
    text += one.nominal.name + ";" + nominal.kind + ";" + (one.done() ? "measured" : one.trouble) +
            ";" + fieldsOf(nominal);
    text += one.done() ? fieldsOf(boxOf(one.measured)) + exact(one.distance) + ";" +
                             exact(one.angle) + ";" + exact(one.turn) + ";"
                       : ";;;;;;;;;;;;;;;";
    text += std::to_string(one.surface.size()) + ";" + std::to_string(one.wall.size()) + ";" +
            std::to_string(one.used()) + ";" + (one.done() ? exact(one.form) : "") + "\n";
  }
  return text;
}

}  // namespace inspect
