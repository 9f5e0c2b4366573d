// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// What the sample host does beside measuring a part that lies in place: alignment, sections, a tube.
#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "inspect_run.h"

namespace zelmo::test {
namespace {

using testing::HasSubstr;

/// A box of 4 x 3 x 2 with a shaft of 2 x 1 through it along z, as an OFF file of quadrilaterals.
const char* const kFrame = R"(OFF # comment
16 16 0
0 0 0  4 0 0  4 3 0  0 3 0   1 1 0  3 1 0  3 2 0  1 2 0
0 0 2  4 0 2  4 3 2  0 3 2   1 1 2  3 1 2  3 2 2  1 2 2
4 0 1 9 8
4 1 2 10 9
4 2 3 11 10
4 3 0 8 11
4 5 4 12 13
4 6 5 13 14
4 7 6 14 15
4 4 7 15 12 255 0 0
4 1 0 4 5
4 2 1 5 6
4 3 2 6 7
4 0 3 7 4
4 8 9 13 12
4 9 10 14 13
4 10 11 15 14
4 11 8 12 15
)";

/// The same triangles as an STL file in text, and as a binary one.
struct Stl {
  std::string text = "solid frame\n", binary = std::string(80, 's');
};

Stl stlOf(const std::string& off) {
  std::istringstream in(off.substr(off.find('\n')));
  std::size_t vertices = 0, faces = 0;
  std::string skipped;
  in >> vertices >> faces >> skipped;
  std::vector<float> v(3 * vertices);
  for (float& value : v) in >> value;
  Stl stl;
  std::string body;
  for (std::size_t i = 0; i < faces; ++i) {
    std::size_t count = 0, ring[4];
    in >> count;
    for (std::size_t& corner : ring) in >> corner;
    std::getline(in, skipped);
    for (const auto& triangle : {std::array{0, 1, 2}, std::array{0, 2, 3}}) {
      stl.text += "facet normal 0 0 0\nouter loop\n";
      body.append(12, '\0');
      for (const int corner : triangle) {
        const float* point = &v[3 * ring[corner]];
        stl.text += "vertex";
        for (int k = 0; k < 3; ++k) stl.text += " " + std::to_string(point[k]);
        stl.text += "\n";
        body.append(reinterpret_cast<const char*>(point), 12);  // NOLINT: bytes of a file
      }
      stl.text += "endloop\nendfacet\n";
      body.append(2, '\0');
    }
  }
  stl.text += "endsolid frame\n";
  const auto triangles = static_cast<std::uint32_t>(2 * faces);
  stl.binary.append(reinterpret_cast<const char*>(&triangles), 4);  // NOLINT: bytes of a file
  stl.binary += body;
  return stl;
}

TEST_F(Inspect, AMeshIsCutTheSameInEveryForm) {
  const Stl stl = stlOf(kFrame);
  write("frame.off", kFrame);
  write("text.stl", stl.text);
  write("binary.STL", stl.binary);
  for (const char* name : {"frame.off", "text.stl", "binary.STL"}) {
    SCOPED_TRACE(name);
    // The plane is given with a normal of length 2.
    const Finished level = inspect(std::string("--section 0,0,2,-1.5 -o level ") + name);
    EXPECT_EQ(level.code, 0) << level.err;
    EXPECT_THAT(level.out, HasSubstr("z = 0.75: 16 segments of 32 triangles"));
    EXPECT_THAT(level.out,
                HasSubstr("2 loops, 0 open chains, length 20.0000 mm, area 10.0000 mm2\n"));
    const Finished across = inspect(std::string("--section=1,0,0,-2 -o across ") + name);
    EXPECT_THAT(across.out,
                HasSubstr("2 loops, 0 open chains, length 12.0000 mm, area 4.0000 mm2\n"));
  }
  // Every segment of the text lies in the plane; a comment heads every loop.
  std::istringstream lines(contentOf(at("across/section.txt")));
  double length = 0.0;
  for (std::string line; std::getline(lines, line);) {
    double a[3], b[3];
    std::istringstream ends(line);
    if (!(ends >> a[0] >> a[1] >> a[2] >> b[0] >> b[1] >> b[2])) continue;
    EXPECT_EQ(a[0], 2.0);
    EXPECT_EQ(b[0], 2.0);
    length += std::hypot(b[1] - a[1], b[2] - a[2]);
  }
  EXPECT_NEAR(length, 12.0, 1e-5);
  EXPECT_THAT(contentOf(at("across/section.svg")), HasSubstr("fill-rule=\"evenodd\""));
}

TEST_F(Inspect, ATubeIsTraced) {
  const Finished run = inspect("--tube --points 60000 --noise 0.02");
  ASSERT_EQ(run.code, 0) << run.err;
  const std::vector<Row> rows = rowsOf(at("out/centerline.csv"));
  ASSERT_GT(rows.size(), 60U);
  for (std::size_t i = 1; i < rows.size(); ++i) {
    const double x = number(rows[i][1]), y = number(rows[i][2]), along = number(rows[i][4]);
    if (along > 316.6) continue;  // beyond the end
    EXPECT_LT(number(rows[i][5]), 0.3) << i;
    // The first straight runs along x, the first bend about (50, 40, 0) by a quarter turn.
    const double off = along < 50.0    ? std::hypot(y, number(rows[i][3]))
                       : along < 112.0 ? std::hypot(x - 50.0, y - 40.0) - 40.0
                                       : 0.0;
    EXPECT_NEAR(off, 0.0, 0.3) << i;
  }
  EXPECT_GT(number(rows.back()[4]), 310.0) << "the end of the tube";
}

/// The rows of numbers after a line that begins so.
std::string rowsAfter(const std::string& text, const std::string& line) {
  const std::size_t start = text.find(line);
  return start == std::string::npos ? "none" : text.substr(text.find('\n', start) + 1, 3 * 54);
}

TEST_F(Inspect, ADisplacedScanIsMovedBack) {
  const Finished run = inspect("--align --points 60000 -o a");
  ASSERT_EQ(run.code, 0) << run.err;
  const std::vector<Row> results = rowsOf(at("a/results.csv"));
  for (const Row& row : results) {
    EXPECT_TRUE(row[1] != "plane" || std::abs(number(row[17])) < 0.05) << row[0];
  }
  // The files that it leaves say the same once more.
  const Finished again = inspect("a/part.step a/scan.xyz --align a/rps.txt -o b");
  EXPECT_EQ(again.code, 0) << again.err;
  EXPECT_EQ(rowsAfter(again.out, "The scan was moved by"),
            rowsAfter(run.out, "The scan was moved by"));
  // A scan in place stays there, by points that are picked on the model.
  ASSERT_EQ(inspect("--points 60000 -o c").code, 0);
  const Finished still = inspect("c/part.step c/scan.xyz --align -o d");
  std::istringstream matrix(rowsAfter(still.out, "The scan was moved by"));
  for (int i = 0; i < 12; ++i) {
    double value = 9.0;
    matrix >> value;
    EXPECT_NEAR(value, i % 5 == 0 ? 1.0 : 0.0, i % 4 == 3 ? 0.05 : 5e-4) << i;
  }
}

struct BadInput {
  const char* arguments;  // with the files that the test writes
  int code;
  const char* message;
};

const BadInput kBadInputs[] = {
    {"--colour", 2, "unknown option --colour"},
    {"a b c", 2, "'c'"},
    {"-o", 2, "-o is missing"},
    {"--band 0,5", 2, "--band"},
    {"--sigma nan", 2, "--sigma"},
    {"made/part.step made/scan.xyz --probe 1", 2, "takes no scan"},
    {"none.step made/scan.xyz -o out", 3, "none.step: no such model"},
    {"made made/scan.xyz -o out", 3, "is a folder"},
    {"empty.step made/scan.xyz -o out", 3, "empty.step: the model file is empty"},
    {"made/scan.xyz made/scan.xyz -o out", 3, "neither a STEP nor an IGES"},
    {"half.step made/scan.xyz -o out", 3, "truncated"},
    {"wild.step made/scan.xyz -o out", 3, "reading the model"},
    {"--list wild.step", 3, "reading the model"},
    {"hollow.step made/scan.xyz -o out", 3, "hollow.step"},
    {"made/part.step none.xyz -o out", 4, "none.xyz: no such scan"},
    {"made/part.step comments.xyz -o out", 4, "no points"},
    {"made/part.step made/part.step -o out", 4, "line 1:"},
    {"made/part.step five.xyz -o out", 4, "five.xyz, line 3: fewer than six"},
    {"made/part.step seven.xyz -o out", 4, "seven.xyz, line 2: more than six"},
    {"made/part.step word.xyz -o out", 4, "word.xyz, line 2: something that is no number"},
    {"made/part.step nan.xyz -o out", 4, "nan.xyz, line 2: a number that is not finite"},
    {"made/part.step large.xyz -o out", 4, "large.xyz, line 1: a number that is not"},
    {"made/part.step made/scan.xyz -o empty.step", 5, "it is a file"},
    {"made/part.step made/scan.xyz -o /proc/zelmo/out", 5, "can't be written"},
    {"made/part.step made/scan.xyz -o taken", 5, "results.csv"},
    {"--section 0,0,1 frame.off", 2, "wants a plane"},
    {"--section 0,0,0,1 frame.off", 2, "wants a plane"},
    {"--section 0,0,1,0 --tube", 2, "exclude"},
    {"--tube frame.off", 2, "no file"},
    {"--section 0,0,1,0 missing.stl", 3, "no such mesh"},
    {"--section 0,0,1,0 short.stl", 3, "32 triangles has 1684 bytes; this one has 500"},
    {"--section 0,0,1,0 cut.stl", 3, "line "},
    {"--section 0,0,1,0 wrong.off", 3, "line 4: wanted is a number from 0 to 2, found is '3'"},
    {"--section 0,0,1,0 word.off", 3, "line 3: wanted is a number, found is 'x'"},
    {"--section 0,0,1,0 none.off", 3, "no triangles"},
    {"--section 0,0,1,-9 frame.off", 1, "z = 9 meets none of the 32 triangles"},
    {"made/part.step made/scan.xyz --align=two.rps", 4, "are measured leave the part free"},
    {"made/part.step made/scan.xyz --align=four.rps", 4, "four.rps, line 3: wanted are"},
    {"made/part.step made/scan.xyz --align=axes.rps", 4, "axes.rps, line 1: after the numbers"},
    {"made/part.step made/scan.xyz --align=level.rps", 4, "looked up in the scan leave"},
    {"made/part.step made/scan.xyz --align=far.rps", 1, "no scanned point within 10 mm"},
    {"made/part.step made/scan.xyz --align none.rps", 4, "can't be opened"},
};

TEST_F(WithFiles, BadInputIsNamedAndLeavesNothing) {
  const Stl stl = stlOf(kFrame);
  write("frame.off", kFrame);
  write("short.stl", stl.binary.substr(0, 500));
  write("cut.stl", stl.text.substr(0, 500));
  write("wrong.off", "OFF\n3 1 0\n0 0 0 1 0 0 0 1 0\n3 0 1 3\n");
  write("word.off", "OFF\n3 1 0\n0 0 0 1 x 0 0 1 0\n3 0 1 2\n");
  write("none.off", "OFF\n0 0 0\n");
  write("two.rps", "a 0 0 0 1 1 1\nb 9 0 0 10 1 1 XYZ\n");
  write("four.rps", "# comment\n\na 0 0 0 1\n");
  write("axes.rps", "a 0 0 0 zy\n");
  write("level.rps", "a 0 0 0 Z\nb 9 0 0 Z\nc 0 9 0 Z\nd 9 9 0 X\ne 0 0 9 Y\nf 1 2 3 Z\n");
  write("far.rps", "a 900 0 0 XYZ\nb 0 900 0 XYZ\nc 0 0 900 XYZ\n");
  write("empty.step", "");
  const std::string model = contentOf(at("made/part.step"));
  write("half.step", model.substr(0, model.size() / 2));
  write("hollow.step", "ISO-10303-21;\nHEADER;\nENDSEC;\nDATA;\nENDSEC;\nEND-ISO-10303-21;\n");
  // A file of right syntax whose faces have no outlines: the CAD kernel follows a null handle.
  std::string wild;
  std::istringstream lines(model);
  for (std::string line; std::getline(lines, line);) {
    if (line.find("EDGE_LOOP") == std::string::npos) wild += line + "\n";
  }
  write("wild.step", wild);
  write("comments.xyz", "# 1 2 3 0 0 1\n\n");
  write("five.xyz", "1 2 3 0 0 1\n\n1 2 3 0 0\n");
  write("seven.xyz", "1 2 3 0 0 1\n1,2,3,0,0,1,7\n");
  write("word.xyz", "1 2 3 0 0 1\n1 2 three 0 0 1\n");
  write("nan.xyz", "1 2 3 0 0 1\n1 nan 3 0 0 1\n");
  write("large.xyz", "1 2 1e39 0 0 1\n");
  write("far.xyz", "9000 9000 9000 0 0 1\n");
  std::filesystem::create_directories(at("taken/results.csv"));
  const std::set<std::string> before = namesIn(at("."));
  for (const BadInput& bad : kBadInputs) {
    SCOPED_TRACE(bad.arguments);
    const Finished run = inspect(bad.arguments);
    EXPECT_EQ(run.code, bad.code);
    EXPECT_THAT(run.err, HasSubstr(bad.message));
    EXPECT_EQ(run.err.rfind("inspect: ", 0), 0U) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(namesIn(at(".")), before);
  }
  EXPECT_EQ(inspect("made/part.step far.xyz -o far").code, 1) << "nothing measured";
  EXPECT_THAT(namesIn(at("taken")), testing::ElementsAre("results.csv"));
}

}  // namespace
}  // namespace zelmo::test
