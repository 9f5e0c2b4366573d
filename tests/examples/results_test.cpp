// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// What the sample host makes of the features: tolerances, outlines, comparisons, files.
#include <algorithm>
#include <cmath>
#include <map>
#include <sstream>

#include <gmock/gmock.h>

#include "inspect_run.h"

namespace zelmo::test {
namespace {

using testing::HasSubstr;

// Columns of tolerances.csv.
enum { kWhat, kOf, kDatum, kNominalValue, kTolerance, kValue, kOff, kVerdict, kNote };

/// The sizes that the part is made of, by the notes of its plan.
const std::map<std::string, double> kMade = {{"height", 40},
                                             {"step over base", 25},
                                             {"ball over base", 44},
                                             {"width of the slot", 12},
                                             {"bore from front", 55},
                                             {"boss from bore", std::hypot(28, 3)},
                                             {"slope to top", std::atan2(3, 4) * 180 / M_PI},
                                             {"cut to top", std::acos(2 / 3.) * 180 / M_PI},
                                             {"cone", 2 * std::atan2(4, 14) * 180 / M_PI}};

TEST_F(Inspect, TheMadePartKeepsItsTolerances) {
  ASSERT_EQ(inspect("-o a --points 100000").code, 0);
  std::size_t sizes = 0;
  std::map<std::string, int> kinds;
  for (const Row& row : rowsOf(at("a/tolerances.csv"))) {
    if (row[kWhat] == "characteristic") continue;
    SCOPED_TRACE(row[kWhat] + " " + row[kNote]);
    ++kinds[row[kWhat]];
    EXPECT_EQ(row[kVerdict], "in");
    const auto made = kMade.find(row[kNote]);
    const bool form = row[kWhat].find("ity") + 3 == row[kWhat].size() || row[kWhat] == "flatness";
    if (made != kMade.end() && row[kWhat] != "conicity") {
      ++sizes;
      EXPECT_NEAR(number(row[kNominalValue]), made->second, 1e-6);
      EXPECT_NEAR(number(row[kValue]), made->second, 0.02);
      EXPECT_NEAR(number(row[kOff]), number(row[kValue]) - made->second, 1e-6);
    } else if (form && row[kOf].find("plane") == 0) {
      // Six standard deviations of the noise.
      EXPECT_NEAR(number(row[kValue]), 0.06, 0.01);
    }
  }
  EXPECT_EQ(sizes, kMade.size());
  EXPECT_EQ(kinds.size(), 14U) << "every characteristic stands in the plan";
}

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

}  // namespace
}  // namespace zelmo::test
