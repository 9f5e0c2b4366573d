// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// The sample host as its user runs it.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "inspect_run.h"
#include "support/reference_data.h"

namespace zelmo::test {
namespace {

using testing::HasSubstr;

struct Plane {
  double nx, ny, nz, offset;
};

/// Every planar face of the made part as it was designed, outward normal and distance from the origin:
/// the block, step, slope, cut corner, groove, blind hole, slot, pockets and bosses.
const Plane kDesign[] = {{0, 0, -1, 0},        {0, 0, 1, 40},
                         {-1, 0, 0, 0},        {1, 0, 0, 120},
                         {0, -1, 0, 0},        {0, 1, 0, 80},
                         {0, 0, 1, 25},        {1, 0, 0, 90},
                         {-0.6, 0, 0.8, 22.4}, {2. / 3, -1. / 3, 2. / 3, 254. / 3},
                         {0, 0, -1, -6},       {1, 0, 0, 30},
                         {-1, 0, 0, -42},      {0, 0, 1, 10},
                         {0, 0, 1, 20},        {0, 0, 1, 28},
                         {0, 1, 0, 14},        {0, -1, 0, -26},
                         {0, -1, 0, -10},      {1, 0, 0, 20},
                         {-1, 0, 0, -50},      {0, 0, 1, 8},
                         {0, 0, -1, -24},      {0, 1, 0, 68},
                         {1, 0, 0, 62},        {-1, 0, 0, -96},
                         {0, 0, 1, 6},         {0, 0, -1, -22},
                         {0, 0, 1, 55},        {0, 0, 1, 54}};

struct Round {
  const char* kind;
  double x, y, z;     // a point of the axis, or the centre
  double dx, dy, dz;  // the axis; zero for the sphere
  double size;        // radius, or half angle in degrees
};

/// Its round features. The quarter arcs of the pocket are 1.6 mm wide and 12 mm long.
const Round kRoundDesign[] = {
    {"sphere", 79, 66, 44, 0, 0, 0, 9},    {"cylinder", 32, 58, 0, 0, 0, 1, 8},
    {"cylinder", 60, 55, 0, 0, 0, 1, 12},  {"cylinder", 105, 60, 0, 0, 0, 1, 7},
    {"cylinder", 105, 60, 0, 0, 0, 1, 10}, {"cylinder", 28, 20, 0, 0, 0, 1, 6},
    {"cylinder", 52, 20, 0, 0, 0, 1, 6},   {"cylinder", 65, 0, 9, 0, 1, 0, 3},
    {"cylinder", 65, 0, 19, 0, 1, 0, 3},   {"cylinder", 93, 0, 9, 0, 1, 0, 3},
    {"cylinder", 93, 0, 19, 0, 1, 0, 3},   {"cone", 76, 22, 0, 0, 0, 1, 15.945395900922854}};

// Columns of results.csv and deviations.csv.
enum { kName, kKind, kStatus, kNominal, kMeasured = 10 };
enum { kDistance = 17, kAngle, kPicked, kUsed, kForm };
enum { kFeature, kLine, kX, kDeviation = 5, kState };

double angleTo(const Plane& plane, const Row& row, int normal) {
  const double x = number(row[normal]), y = number(row[normal + 1]), z = number(row[normal + 2]);
  return std::acos(std::min(1.0, (plane.nx * x + plane.ny * y + plane.nz * z) /
                                     std::sqrt(x * x + y * y + z * z))) *
         180 / M_PI;
}

double offsetOf(const Row& row, int point) {
  double sum = 0.0;
  for (int i = 0; i < 3; ++i) sum += number(row[point + i]) * number(row[point + 3 + i]);
  return sum;
}

/// The form from the deviations, and the deviations from the points and the measured plane.
void expectFormFollowsFromDeviations(const std::vector<Row>& results,
                                     const std::vector<Row>& deviations) {
  std::size_t at = 1, wrong = 0;
  for (std::size_t i = 1; i < results.size(); ++i) {
    const Row& row = results[i];
    std::vector<double> used, outside;
    const std::size_t first = at;
    for (; at < deviations.size() && deviations[at][kFeature] == row[kName]; ++at) {
      const Row& point = deviations[at];
      const double told = number(point[kDeviation]);
      if (point[kState] == "used") used.push_back(told);
      if (point[kState] == "outside band") outside.push_back(told);
      double deviation = 0.0;
      for (int k = 0; k < 3; ++k) {
        // The text is that of a float, so it is read as one.
        deviation += (std::stof(point[kX + k]) - number(row[kMeasured + k])) *
                     number(row[kMeasured + 3 + k]);
      }
      if (row[kKind] == "plane" && !(std::abs(deviation - told) <= 1e-9)) ++wrong;
    }
    const auto [low, high] = std::minmax_element(used.begin(), used.end());
    EXPECT_NEAR(number(row[kForm]), *high - *low, 1e-9) << row[kName];
    EXPECT_EQ(number(row[kPicked]), at - first);
    EXPECT_EQ(number(row[kUsed]), used.size());
    for (const double value : outside) {
      if (value >= *low && value <= *high) ++wrong;
    }
  }
  EXPECT_EQ(wrong, 0U);
}

void expectEveryFeatureAndItsTwin(const std::vector<Row>& rows, std::size_t features) {
  ASSERT_EQ(rows.size(), 2 * features + 1);
  EXPECT_EQ(rows[0].size(), 47U);
  for (std::size_t i = 1; i + 1 < rows.size(); i += 2) {
    EXPECT_EQ("inspection_" + rows[i][0], rows[i + 1][0]);
    EXPECT_EQ(rows[i][1], rows[i + 1][1]);
  }
}

/// Distance of a row's point from the axis, or from the centre of a sphere.
double distanceFrom(const Round& round, const Row& row, int point) {
  const double p[] = {number(row[point]) - round.x, number(row[point + 1]) - round.y,
                      number(row[point + 2]) - round.z};
  const double along = p[0] * round.dx + p[1] * round.dy + p[2] * round.dz;
  return std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2] - along * along);
}

void expectRoundFeatures(const std::vector<Row>& results) {
  std::size_t found = 0;
  for (const Round& round : kRoundDesign) {
    SCOPED_TRACE(round.kind + (" at " + std::to_string(round.x)));
    for (const Row& row : results) {
      if (row[kKind] != round.kind || distanceFrom(round, row, kNominal) > 1e-3 ||
          std::abs(number(row[kNominal + 6]) - round.size) > 1e-3) {
        continue;
      }
      ++found;
      EXPECT_EQ(row[kStatus], "measured");
      // A quarter arc says little of its centre and radius: 0.02 mm is what 1000 points give.
      const double tolerance = round.size == 3 ? 0.02 : 0.005;
      EXPECT_NEAR(number(row[kMeasured + 6]), round.size, 2 * tolerance);
      EXPECT_LT(number(row[kDistance]), tolerance);
      EXPECT_LT(number(row[kAngle]), round.size == 3 ? 0.2 : 0.05);
      EXPECT_LT(number(row[kForm]), 0.07);
    }
  }
  EXPECT_EQ(found, std::size(kRoundDesign));
}

TEST_F(Inspect, MadePartIsMeasuredAsItWasDesigned) {
  const Finished run = inspect("-o a --points 200000");
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.err, "") << "progress belongs on a terminal";
  EXPECT_THAT(namesIn(at("a")),
              testing::ElementsAre("deviations.csv", "deviations.svg", "features.csv",
                                   "features.svg", "library.log", "measured.igs", "measured.step",
                                   "outlines.csv", "part.step", "report.csv", "report.html",
                                   "report.json", "results.csv", "scan.xyz", "tolerances.csv"));
  for (const char* text : {"<svg ", ">sphere 1</text>", ">R 9.000</text>", "</svg>"}) {
    EXPECT_THAT(contentOf(at("a/features.svg")), HasSubstr(text));
  }
  std::vector<Row> results = rowsOf(at("a/results.csv"));
  expectFormFollowsFromDeviations(results, rowsOf(at("a/deviations.csv")));
  expectEveryFeatureAndItsTwin(rowsOf(at("a/features.csv")),
                               results.size() + rowsOf(at("a/outlines.csv")).size() - 2);
  expectRoundFeatures(results);
  results.erase(results.begin());
  results.erase(std::remove_if(results.begin(), results.end(),
                               [](const Row& row) { return row[kKind] != "plane"; }),
                results.end());
  ASSERT_EQ(results.size(), std::size(kDesign));
  for (const Plane& plane : kDesign) {
    SCOPED_TRACE(
        testing::PrintToString(std::vector<double>{plane.nx, plane.ny, plane.nz, plane.offset}));
    const auto row = std::find_if(results.begin(), results.end(), [&plane](const Row& candidate) {
      return angleTo(plane, candidate, kNominal + 3) < 1e-3 &&
             std::abs(offsetOf(candidate, kNominal) - plane.offset) < 1e-3;
    });
    ASSERT_NE(row, results.end());
    EXPECT_LT(angleTo(plane, *row, kMeasured + 3), 0.02);
    EXPECT_NEAR(number((*row)[kAngle]), angleTo(plane, *row, kMeasured + 3), 1e-3);
    // The measured plane at the nominal centre.
    double out = offsetOf(*row, kMeasured);
    for (int i = 0; i < 3; ++i) {
      out -= number((*row)[kNominal + i]) * number((*row)[kMeasured + 3 + i]);
    }
    EXPECT_LT(std::abs(out), 0.005);
    EXPECT_NEAR(number((*row)[kDistance]), out, 1e-5);
    // Six standard deviations of the noise; the outliers reach 0.3 mm and more.
    EXPECT_GT(number((*row)[kForm]), 0.05);
    EXPECT_LT(number((*row)[kForm]), 0.07);
  }
}

TEST_F(Inspect, MadePartGivesTheSameNumbersEveryTimeAndFromItsFiles) {
  const Finished first = inspect("-o a --points 20000");
  const Finished second = inspect("--output=b --points=20000");
  const Finished third = inspect("a/part.step a/scan.xyz -o c");
  ASSERT_EQ(first.code + second.code + third.code, 0) << first.err << second.err << third.err;
  const auto table = [](const Finished& run) {
    return run.out.substr(0, run.out.find("features measured"));
  };
  EXPECT_EQ(first.out.substr(0, first.out.rfind("Results")),
            second.out.substr(0, second.out.rfind("Results")));
  EXPECT_EQ(table(first), table(third));
  for (const char* name : {"scan.xyz", "report.html", "report.json", "report.csv", "results.csv",
                           "deviations.csv", "features.csv"}) {
    const std::string content = contentOf(at(std::string("a/") + name));
    EXPECT_TRUE(content == contentOf(at(std::string("b/") + name))) << name;
    const std::string of_files = std::string(name).substr(0, 6);  // those name their files
    if (of_files == "scan.x" || of_files == "report") continue;
    EXPECT_TRUE(content == contentOf(at(std::string("c/") + name))) << name;
  }
}

std::string withEvery(const std::string& text, char from, const std::string& to) {
  std::string replaced;
  for (const char c : text) replaced += c == from ? to : std::string(1, c);
  return replaced;
}

TEST_F(WithFiles, AScanReadsTheSameInEveryForm) {
  const std::string scan = contentOf(at("made/scan.xyz"));
  const std::string body = scan.substr(scan.find('\n') + 1);
  const std::string forms[] = {
      "\xef\xbb\xbf" + withEvery(body, ' ', ";"),
      "# a comment\n\n  \t\n" + withEvery(withEvery(body, ' ', " , "), '\n', " # again\r\n"),
      withEvery(withEvery(body, ' ', "\t"), '\n', ";\n"),
      body.substr(0, body.size() - 1),
  };
  const std::vector<Row> wanted = rowsOf(at("made/results.csv"));
  for (const std::string& form : forms) {
    write("form.txt", form);
    const Finished run = inspect("made/part.step form.txt -o form");
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(rowsOf(at("form/results.csv")), wanted) << form.substr(0, 60);
  }
  // Deviations name the lines of the file.
  write("form.txt", forms[1]);
  ASSERT_EQ(inspect("made/part.step form.txt -o form").code, 0);
  EXPECT_EQ(std::stoi(rowsOf(at("form/deviations.csv"))[1][kLine]),
            std::stoi(rowsOf(at("made/deviations.csv"))[1][kLine]) + 2);
}

TEST_F(WithFiles, AModelIsListed) {
  const Finished run = inspect("--list made/part.step");
  EXPECT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.err, "");
  for (const char* line :
       {"45 faces: 45 make up 30 planes, 1 sphere, 10 cylinders, 1 cone; 0 not recognised\n",
        "10 inner outlines: 7 circles, 1 slot, 1 rectangle, 1 round groove, 0 not recognised\n",
        "3 round holes\n", "24.000    40.000  through", "14.000    10.000  blind",
        "slot 1              40.000    20.000    40.000"}) {
    EXPECT_THAT(run.out, HasSubstr(line));
  }
}

TEST_F(WithFiles, AFullDiskLeavesNothingHalfWritten) {
  // Blocks of 512 bytes: each limit stops another of the files that are written.
  for (const char* limit : {"100", "1000", "3000"}) {
    const Finished run = shell(std::string("trap '' XFSZ; ulimit -f ") + limit + "; " + kInspect +
                               " -o out --points 40000");
    EXPECT_EQ(run.code, 5) << run.err;
    EXPECT_FALSE(std::filesystem::exists(at("out"))) << limit;
  }
}

TEST_F(WithFiles, WhatTheLibraryPrintsGoesToTheLogOrTheTerminal) {
  const Finished quiet = inspect("made/part.step made/scan.xyz -o quiet");
  const Finished loud = inspect("made/part.step made/scan.xyz -o loud --verbose");
  EXPECT_THAT(quiet.out, testing::Not(HasSubstr("NbRoots=")));
  EXPECT_THAT(contentOf(at("quiet/library.log")), HasSubstr("NbRoots=1,NbTrans=1\n"));
  EXPECT_THAT(loud.out, HasSubstr("NbRoots=1,NbTrans=1\n"));
  EXPECT_FALSE(std::filesystem::exists(at("loud/library.log")));
  EXPECT_THAT(loud.out, testing::EndsWith(quiet.out.substr(0, quiet.out.rfind("Results")) +
                                          "Results in loud, the report in loud/report.html\n"));
}

TEST_F(Inspect, ReferenceModelsAreMeasuredInASimulatedScan) {
  ZELMO_REQUIRE_REFERENCE_DATA("cad/nist_ctc_01_analytic.stp");
  for (const char* name : {"nist_ctc_01_analytic.stp", "NIST_MBE_PMI_1.stp"}) {
    const Finished run = inspect("--simulate --points 60000 -o out '" +
                                 referenceData(std::string("cad/") + name).string() + "'");
    ASSERT_EQ(run.code, 0) << name << ": " << run.err;
    for (const Row& row : rowsOf(at("out/results.csv"))) {
      if (row[kKind] != "plane" || number(row[kUsed]) < 100) continue;
      EXPECT_LT(std::abs(number(row[kDistance])), 0.005) << name << ", " << row[kName];
    }
  }
}

}  // namespace
}  // namespace zelmo::test
