// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/comma_locale.h"
#include "support/temporary_folder.h"
#include "zelmo/export/export_files.h"
#include "zelmo/export/internal/utf8.h"

namespace xexportfiles {
namespace {

using namespace xgeofeature;  // NOLINT(google-build-using-namespace): the tables name every record
using zelmo::test::CommaLocale;
using zelmo::test::contentOf;
using zelmo::test::TemporaryFolder;
using zelmo::test::widePath;

// A header and one row of each kind, byte by byte.
constexpr const char* kTable =
    R"("type";"name";"coord-x";"coord-y";"coord-z";"coord-x2";"coord-y2";"coord-z2";"normal-x";"normal-y";"normal-z";"trimming-x";"trimming-y";"trimming-z";"dir-x";"dir-y";"dir-z";"length";"width";"radius";"radius2";"angle";"orientation";"edge-radius";"num-points";"tol-x-lower";"tol-x-upper";"tol-y-lower";"tol-y-upper";"tol-z-lower";"tol-z-upper";"tol-all-lower";"tol-all-upper";"tol-normal-lower";"tol-normal-upper";"tol-trimming-lower";"tol-trimming-upper";"tol-inplane-lower";"tol-inplane-upper";"tol-length-lower";"tol-length-upper";"tol-width-lower";"tol-width-upper";"tol-diameter-lower";"tol-diameter-upper";"tol-angle-lower";"tol-angle-upper"
point;P1;1;2.5;-3;"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";""
line;L1;0;0;0;10;0;0;"";"";"";"";"";"";1;0;0;10;"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";""
plane;E1;0;0;5;;;;0;0;1;"";"";"";"";"";"";100;50;"";"";"";-12.00;"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";""
circle;K1;1;2;3;"";"";"";0;0;1;"";"";"";"";"";"";"";"";6;"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";""
sphere;S1;1;2;3;"";"";"";"";"";"";"";"";"";"";"";"";"";"";6;"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";""
cylinder;Z1;0;0;0;0;0;20;"";"";"";"";"";"";0;0;1;20;"";4;"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";""
inspection_cone;C1;0;0;10;0;0;0;"";"";"";"";"";"";-0;-0;-1;"";"";2;4;11.3099;"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";""
slotted_hole;N1;0;0;0;"";"";"";0;0;1;"";"";"";1;0;0;30;10;"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";""
rectangular_hole;R1;0;0;0;"";"";"";0;0;1;"";"";"";1;0;0;40;20;"";"";"";"";2.5;"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";""
rectangular_hole;R2;0;0;0;"";"";"";0;0;1;"";"";"";1;0;0;40;20;"";"";"";"";0;"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";""
)";

const float kOrigin[3] = {0, 0, 0};
const float kX[3] = {1, 0, 0};
const float kZ[3] = {0, 0, 1};
const float kAt123[3] = {1, 2, 3};

/// One record of each kind, as in kTable.
struct Records {
  const float line_end[3] = {10, 0, 0};
  const float plane_center[3] = {0, 0, 5};
  const float cylinder_top[3] = {0, 0, 20};
  const float cone_top[3] = {0, 0, 10};
  XFPoint point{1, 2.5F, -3};
  XFLine3D2 line = XFLine3D(kOrigin, line_end);
  XFPlane plane{plane_center, kZ, kX, 100, 50};
  XFCircle3D circle{kAt123, kZ, 6};
  XFSphere sphere{kAt123, 6};
  XFCylinder cylinder{kOrigin, cylinder_top, 4};
  XFCone cone{kOrigin, cone_top, 4, 2};
  XFOvalGroove3D slot{kOrigin, kZ, kX, 10, 5};
  XFRoundGroove3D groove{kOrigin, kZ, kX, 20, 10, 2.5F};
  XFRectangle3D rectangle{kOrigin, kZ, kX, 20, 10};
  std::vector<XFBase*> all = {&point,    &line, &plane, &circle, &sphere,
                              &cylinder, &cone, &slot,  &groove, &rectangle};
  std::vector<std::wstring> names = {L"P1", L"L1", L"E1", L"K1", L"S1",
                                     L"Z1", L"C1", L"N1", L"R1", L"R2"};
  std::vector<char> flags = {1, 1, 1, 1, 1, 1, 0, 1, 1, 1};
};

std::vector<std::string> split(const std::string& text, char end) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, end);) parts.push_back(part);
  return parts;
}

class FeatureTable : public testing::Test {
 protected:
  int write(const std::vector<XFBase*>& features, std::vector<std::wstring> names,
            std::vector<char> flags) {
    return XExportFiles::ExportFeature2Csv(features, names, flags, widePath(m_path));
  }
  /// The rows below the header.
  std::vector<std::string> rowsOf(const std::vector<XFBase*>& features,
                                  const std::vector<std::wstring>& names,
                                  const std::vector<char>& flags) {
    EXPECT_EQ(write(features, names, flags), 0);
    std::vector<std::string> lines = split(contentOf(m_path), '\n');
    if (!lines.empty()) lines.erase(lines.begin());
    return lines;
  }
  /// One field of the row of a feature, from 1 on.
  std::string fieldOf(XFBase* feature, std::size_t column) {
    return split(rowsOf({feature}, {L""}, {1}).at(0), ';').at(column - 1);
  }

  TemporaryFolder m_folder;
  std::filesystem::path m_path = m_folder.path() / "features \u00e4\u4e2d.csv";
};

TEST_F(FeatureTable, IsWrittenByteByByteWhateverTheLocale) {
  Records records;
  const CommaLocale comma;
  std::ofstream(m_path) << std::string(100000, 'x');  // what stood there is gone
  EXPECT_EQ(write(records.all, records.names, records.flags), 0);
  EXPECT_EQ(contentOf(m_path), kTable);
  // Any flag but 0 marks a nominal feature, 0 marks inspection in every kind.
  std::vector<std::string> expected = rowsOf(records.all, records.names, std::vector<char>(10, -1));
  for (std::string& row : expected) row.insert(0, "inspection_");
  EXPECT_EQ(rowsOf(records.all, records.names, std::vector<char>(10, 0)), expected);
}

TEST_F(FeatureTable, SkipsWhatHasNoRowAndKeepsTheNamesInStep) {
  Records records;
  struct Foreign : XFBase {
    GeoFeatureType getFeatureType() const override { return GeoPlane; }
  } foreign;
  XFPolyLine poly_line;
  XFPointN point(4, 5, 6, 0, 0, 1);
  XFLine3D line(kOrigin, records.line_end);
  const auto rows = rowsOf({&poly_line, nullptr, &foreign, &point, &line, &records.sphere},
                           {L"0", L"1", L"2", L"a;b", L"\u00e4\u20ac\U0001F600"}, {1, 1, 1, 0});
  ASSERT_EQ(rows.size(), 3U);
  EXPECT_THAT(rows[0], testing::StartsWith("inspection_point;a;b;4;5;6;\"\""));
  EXPECT_THAT(rows[1],
              testing::StartsWith("line;\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80;0;0;0;10;0;0;\"\""));
  EXPECT_THAT(rows[2], testing::StartsWith("sphere;;1;2;3;\"\""));  // no name, no flag
}

TEST_F(FeatureTable, PrintsSixDigitsOfFloatsAndTheAngleOfADouble) {
  const std::pair<float, const char*> numbers[] = {
      {1.5F, "1.5"},       {100, "100"},
      {0.0001F, "0.0001"}, {1234567, "1.23457e+06"},
      {-0.0F, "-0"},       {std::numeric_limits<float>::infinity(), "inf"},
      {1e-30F, "1e-30"}};
  for (const auto& [value, text] : numbers) {
    XFPoint point(value, 0, 0);
    EXPECT_EQ(fieldOf(&point, 3), text);
  }
  XFCone cone;
  cone.halfAngle = 0.5F;
  EXPECT_EQ(fieldOf(&cone, 22), "28.6479");
  // Lengths are doubled in float: these leave its range.
  XFOvalGroove3D slot(kOrigin, kZ, kX, 1e38F, 1e38F);
  EXPECT_EQ(fieldOf(&slot, 18), "inf");
  EXPECT_EQ(fieldOf(&slot, 19), "2e+38");
}

TEST_F(FeatureTable, AnswersWhatItCouldNotDo) {
  Records records;
  EXPECT_EQ(write({}, records.names, records.flags), -1);
  EXPECT_FALSE(std::filesystem::exists(m_path));
  m_path = "/dev/full";
  EXPECT_EQ(write(records.all, records.names, records.flags), 0) << "only the opening is looked at";
  for (const auto& path : {m_folder.path(), m_folder.path() / "missing" / "a.csv"}) {
    m_path = path;
    EXPECT_EQ(write(records.all, records.names, records.flags), -2);
  }
}

TEST_F(FeatureTable, ANameThatIsNoTextThrowsAfterTheRowsBeforeIt) {
  Records records;
  const std::string before = kTable;
  for (const int bad : {0xD800, 0xDFFF, 0x110000}) {
    records.names[2] = std::wstring(L"E") + static_cast<wchar_t>(bad);
    try {
      write(records.all, records.names, records.flags);
      FAIL() << "no exception";
    } catch (const std::range_error& error) {
      EXPECT_STREQ(error.what(), "bad conversion");
    }
    EXPECT_EQ(contentOf(m_path), before.substr(0, before.find("plane;E1")));
  }
  const std::wstring bad_path = widePath(m_path) + static_cast<wchar_t>(0xD800);
  EXPECT_THROW(XExportFiles::ExportFeature2Csv(records.all, records.names, records.flags, bad_path),
               std::range_error);
}

TEST(Utf8, CodesTheBordersOfEachLength) {
  std::wstring wide;
  for (const int point : {0x7F, 0x80, 0x7FF, 0x800, 0xD7FF, 0xE000, 0xFFFF, 0x10000, 0x10FFFF}) {
    wide += static_cast<wchar_t>(point);
  }
  EXPECT_EQ(zelmo::internal::utf8FromWide(wide),
            "\x7f\xc2\x80\xdf\xbf\xe0\xa0\x80\xed\x9f\xbf\xee\x80\x80\xef\xbf\xbf"
            "\xf0\x90\x80\x80\xf4\x8f\xbf\xbf");
}

class NumberList : public FeatureTable {
 protected:
  int write(const std::vector<XFBase*>& features, GeoFeatureType type) {
    return XExportFiles::ExportFeature2Txt(features, type, widePath(m_path));
  }
};

TEST_F(NumberList, WritesTheFeaturesOfOneType) {
  Records records;
  XFPointN other(7, 8, 9, 1, 0, 0);
  records.line.center[1] = 0.5F;
  std::vector<XFBase*> all = records.all;
  all.push_back(&other);
  all.push_back(nullptr);
  const std::pair<GeoFeatureType, const char*> expected[] = {
      {GeoPoint, "1 2.5 -3\n7 8 9\n"},
      {GeoLine, "0 0.5 0 1 0 0 10\n"},
      {GeoPlane, "0 0 5 0 0 1\n"},
      {GeoCircle, "1 2 3 0 0 1 6\n"},
      {GeoSphere, ""},
      {GeoRectangle, ""},
  };
  const CommaLocale comma;
  for (const auto& [type, text] : expected) {
    EXPECT_EQ(write(all, type), 0) << type;
    EXPECT_EQ(contentOf(m_path), text) << type;
  }
}

TEST_F(NumberList, AnswersWhatItCouldNotDo) {
  Records records;
  EXPECT_EQ(write({}, GeoPoint), -1);
  EXPECT_EQ(write({&records.sphere, nullptr}, GeoPlane), -2);
  EXPECT_EQ(write({&records.sphere}, static_cast<GeoFeatureType>(99)), -2);
  EXPECT_FALSE(std::filesystem::exists(m_path));
  m_path = m_folder.path();
  EXPECT_EQ(write({&records.sphere}, GeoSphere), -3);
}

}  // namespace
}  // namespace xexportfiles
