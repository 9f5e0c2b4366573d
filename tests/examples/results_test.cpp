// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// What the sample host makes of the features: tolerances, outlines, comparisons, files.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <set>
#include <sstream>

#include <gmock/gmock.h>

#include "inspect_run.h"

namespace zelmo::test {
namespace {

using testing::HasSubstr;

// Columns of tolerances.csv.
enum { kWhat, kOf, kDatum, kNominalValue, kTolerance, kValue, kOff, kVerdict, kNote };

TEST_F(Inspect, AMisplacedFaceIsOutOfTolerance) {
  ASSERT_EQ(inspect("-o made --points 60000").code, 0);
  std::istringstream lines(contentOf(at("made/scan.xyz")));
  std::ostringstream moved;
  for (std::string line; std::getline(lines, line);) {
    double x = 0, y = 0, z = 0, nx = 0, ny = 0, nz = 0;
    std::istringstream numbers(line);
    if (!(numbers >> x >> y >> z >> nx >> ny >> nz)) continue;
    // The top of the boss, 0.15 mm too high.
    if (nz > 0.99 && std::hypot(x - 32, y - 58) < 8.1 && z > 54) z += 0.15;
    moved << x << ' ' << y << ' ' << z << ' ' << nx << ' ' << ny << ' ' << nz << '\n';
  }
  write("moved.xyz", moved.str());
  ASSERT_EQ(inspect("made/part.step moved.xyz -o out").code, 0);
  std::vector<Row> out;
  for (const Row& row : rowsOf(at("out/tolerances.csv"))) {
    if (row[kVerdict] == "out") out.push_back(row);
  }
  ASSERT_EQ(out.size(), 1U);
  EXPECT_EQ(out[0][kWhat], "distance");
  EXPECT_NEAR(number(out[0][kNominalValue]), 55, 1e-4);
  EXPECT_NEAR(number(out[0][kOff]), 0.15, 0.005);
  // A limit below the noise puts every form out.
  const Finished tight = inspect("made/part.step made/scan.xyz -o out --tolerance 0.02");
  ASSERT_EQ(tight.code, 0);
  EXPECT_THAT(tight.out, HasSubstr(" OUT"));
  for (const Row& row : rowsOf(at("out/tolerances.csv"))) {
    if (row[kWhat] != "flatness") continue;
    EXPECT_EQ(row[kVerdict], "out") << row[kOf];
  }
}

struct Cell {
  const char* file;
  const char* row;  // a piece of it that no row before it has
  std::size_t column;
  double value, within;
};

/// By construction of the part; what 100000 points with 0.01 mm of noise give, and touches with none.
const Cell kCells[] = {
    {"a/tolerances.csv", ";height", kValue, 40, 0.02},
    {"a/tolerances.csv", ";step over base", kNominalValue, 25, 1e-6},
    {"a/tolerances.csv", ";width of the slot", kOff, 0, 0.02},
    {"a/tolerances.csv", ";boss from bore", kValue, std::hypot(28, 3), 0.02},
    {"a/tolerances.csv", ";ball over base", kValue, 44, 0.02},
    {"a/tolerances.csv", ";bore from front", kValue, 55, 0.02},
    {"a/tolerances.csv", ";slope to top", kValue, std::atan2(3, 4) * 180 / M_PI, 0.02},
    {"a/tolerances.csv", "perpendicularity;plane", kValue, 0.06,
     0.01},  // six deviations of the noise
    {"a/tolerances.csv", "parallelism;plane", kValue, 0.06, 0.01},
    {"a/tolerances.csv", "coaxiality;", kValue, 0, 0.02},
    {"a/outlines.csv", "circle 8;", 12, 14, 0.01},  // the lower edge of the blind hole
    {"a/outlines.csv", "slot 1;", 12, 36, 0.01},
    {"a/outlines.csv", "rectangle 1;", 24, 30, 0.01},
    {"a/outlines.csv", "round groove 1;", 24, 34, 0.01},
    {"a/outlines.csv", "round groove 1;", 26, 3, 0.05},
    {"a/outlines.csv", "round groove 1;", 27, 0, 0.01},  // between the centres
    {"a/families.csv", "sphere 1;damped", 3, 9, 0.002},
    {"a/families.csv", "sphere 1;simplex, absolute", 3, 9, 0.002},
    {"a/families.csv", "circle 3;simplex, min. zone", 3, 12, 0.01},
    {"a/families.csv", "cone 1;damped", 3, std::atan2(4, 14) * 180 / M_PI, 0.02},
    {"p/probe.csv", "sphere 1;25;", 3, 9, 1e-4},
    {"p/probe.csv", "cylinder 1;25;", 3, 8, 1e-4},   // from outside
    {"p/probe.csv", "cylinder 4;25;", 3, 12, 1e-4},  // from inside
    {"p/probe.csv", "circle of cylinder 4;25;", 3, 12, 1e-4},
    {"p/probe.csv", "slot 1;50;", 3, 6, 1e-4},
    {"p/probe.csv", "single points;2", 6, 0, 0.05},  // 20 or more of 25: corners have two walls
};

TEST_F(Inspect, EveryModeAgreesWithTheDesign) {
  const Finished run = inspect("-o a --points 100000 --families --narrow");
  ASSERT_EQ(run.code, 0) << run.err;
  ASSERT_EQ(inspect("-o p --probe 1.5 --noise 0").code, 0);
  EXPECT_FALSE(std::filesystem::exists(at("_20190125.txt"))) << "a search's trace stays";
  for (const Cell& cell : kCells) {
    SCOPED_TRACE(std::string(cell.row) + std::to_string(cell.column));
    std::istringstream lines(contentOf(at(cell.file)));
    std::string line;
    while (std::getline(lines, line) && line.find(cell.row) == std::string::npos) {
    }
    ASSERT_FALSE(line.empty());
    std::istringstream fields(line);
    for (std::size_t i = 0; i <= cell.column; ++i) std::getline(fields, line, ';');
    EXPECT_NEAR(number(line), cell.value, cell.within);
  }
  std::set<std::string> kinds;
  const std::vector<Row> verdicts = rowsOf(at("a/tolerances.csv"));
  for (std::size_t i = 1; i < verdicts.size(); ++i) {
    kinds.insert(verdicts[i][kWhat]);
    EXPECT_EQ(verdicts[i][kVerdict], "in") << verdicts[i][kWhat] << " " << verdicts[i][kNote];
  }
  EXPECT_EQ(kinds.size(), 14U) << "every characteristic stands in the plan";
  // What was drawn, as the library lists it; solids have ends of their own.
  const char* const drawn = " 1 sphere, 10 cylinders, 1 cone; 0 not recognised";
  EXPECT_THAT(inspect("--list a/measured.step").out, HasSubstr(drawn));
  EXPECT_THAT(inspect("--list a/measured.igs").out, HasSubstr(drawn));
  // Recall and precision of what the searches found and of what was used, in percent.
  const Finished wide = inspect("-o a --points 100000");
  for (const char* kind : {"planes", "spheres", "cylinders", "cones", "circles, wall",
                           "slots, surface", "rectangles, wall", "round grooves, wall"}) {
    const auto shares = [kind](const Finished& finished) {
      const std::size_t line = finished.out.rfind(std::string("\n") + kind);
      std::istringstream numbers(finished.out.substr(line + 24));
      std::vector<double> values(6);
      for (double& value : values) numbers >> value;
      return values;
    };
    const std::vector<double> all = shares(wide), over = shares(run);
    EXPECT_GT(std::min({all[2], over[2], all[4], over[4]}), 99) << kind;
    EXPECT_GT(std::min(all[5], over[5]), 99.5) << kind;
    // Two outliers in a hundred are never true, however near they lie.
    EXPECT_LT(std::min(all[3], over[3]), 99.5) << kind;
    // Beyond the ends of cylinders lie no triangles.
    if (std::string(kind) != "cylinders") continue;
    EXPECT_LT(all[3], 96) << kind;
    EXPECT_GT(over[3], 98) << kind;
  }
}

}  // namespace
}  // namespace zelmo::test
