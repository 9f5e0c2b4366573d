// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <fstream>
#include <limits>
#include <sstream>
#include <stdexcept>

#include "export/records.h"
#include "zelmo/export/internal/utf8.h"

namespace xexportfiles {
namespace {

// A header and one row of each kind, byte by byte.
constexpr const char* kTable =
    R"("type";"name";"coord-x";"coord-y";"coord-z";"coord-x2";"coord-y2";"coord-z2";"normal-x";"normal-y";"normal-z";"trimming-x";"trimming-y";"trimming-z";"dir-x";"dir-y";"dir-z";"length";"width";"radius";"radius2";"angle";"orientation";"edge-radius";"num-points";"tol-x-lower";"tol-x-upper";"tol-y-lower";"tol-y-upper";"tol-z-lower";"tol-z-upper";"tol-all-lower";"tol-all-upper";"tol-normal-lower";"tol-normal-upper";"tol-trimming-lower";"tol-trimming-upper";"tol-inplane-lower";"tol-inplane-upper";"tol-length-lower";"tol-length-upper";"tol-width-lower";"tol-width-upper";"tol-diameter-lower";"tol-diameter-upper";"tol-angle-lower";"tol-angle-upper"
point;P1;12.5;-7.25;30;"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";""
line;L1;7.7;-12.37;26.16;17.3;-2.13;33.84;"";"";"";"";"";"";0.6;0.64;0.48;16;"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";""
plane;E1;12.5;-7.25;30;;;;0;-0.6;0.8;"";"";"";"";"";"";10;4;"";"";"";-12.00;"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";""
circle;K1;12.5;-7.25;30;"";"";"";0;-0.6;0.8;"";"";"";"";"";"";"";"";6;"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";""
sphere;S1;12.5;-7.25;30;"";"";"";"";"";"";"";"";"";"";"";"";"";"";6;"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";""
cylinder;Z1;12.5;-7.25;30;24.5;5.55;39.6;"";"";"";"";"";"";0.6;0.64;0.48;20;"";4;"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";""
inspection_cone;C1;4.5;-2.45;33.6;12.5;-7.25;30;"";"";"";"";"";"";0.8;-0.48;-0.36;"";"";2;4;11.3099;"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";""
slotted_hole;N1;12.5;-7.25;30;"";"";"";0;-0.6;0.8;"";"";"";0.6;0.64;0.48;30;10;"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";""
rectangular_hole;R1;12.5;-7.25;30;"";"";"";0;-0.6;0.8;"";"";"";0.6;0.64;0.48;40;20;"";"";"";"";2.5;"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";""
rectangular_hole;R2;12.5;-7.25;30;"";"";"";0;-0.6;0.8;"";"";"";0.6;0.64;0.48;40;20;"";"";"";"";0;"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";"";""
)";

std::vector<std::string> split(const std::string& text, char end) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, end);) parts.push_back(part);
  return parts;
}

struct FeatureTable : ExportedFile {
  int write(const std::vector<XFBase*>& features) {
    return XExportFiles::ExportFeature2Csv(features, names, flags, path());
  }
  /// The rows below the header.
  std::vector<std::string> rowsOf(const std::vector<XFBase*>& features) {
    EXPECT_EQ(write(features), 0);
    std::vector<std::string> lines = split(content(), '\n');
    if (!lines.empty()) lines.erase(lines.begin());
    return lines;
  }
  /// One field of the row of a feature, from 1 on.
  std::string fieldOf(XFBase* feature, std::size_t column) {
    return split(rowsOf({feature}).at(0), ';').at(column - 1);
  }

  Records records;  // the poly line at the end has no row
  std::vector<std::wstring> names = {L"P1", L"L1", L"E1", L"K1", L"S1",
                                     L"Z1", L"C1", L"N1", L"R1", L"R2"};
  std::vector<char> flags = {1, 1, 1, 1, 1, 1, 0, 1, 1, 1};
};

TEST_F(FeatureTable, IsWrittenByteByByteWhateverTheLocale) {
  std::ofstream(m_path) << std::string(100000, 'x');  // what stood there is gone
  EXPECT_EQ(write(records.all), 0);
  EXPECT_EQ(content(), kTable);
  // Any flag but 0 marks a nominal feature, 0 marks inspection in every kind.
  flags.assign(10, -1);
  std::vector<std::string> expected = rowsOf(records.all);
  for (std::string& row : expected) row.insert(0, "inspection_");
  flags.assign(10, 0);
  EXPECT_EQ(rowsOf(records.all), expected);
}

TEST_F(FeatureTable, SkipsWhatHasNoRowAndKeepsTheNamesInStep) {
  ForeignRecord foreign;
  XFPointN point(4, 5, 6, 0, 0, 1);
  const float end[3] = {10, 0, 0};
  XFLine3D line(kZero, end);
  names = {L"0", L"1", L"2", L"a;b", L"\u00e4\u20ac\U0001F600"};
  flags = {1, 1, 1, 0};
  EXPECT_THAT(
      rowsOf({&records.poly_line, nullptr, &foreign, &point, &line, &records.sphere}),
      testing::ElementsAre(
          testing::StartsWith("inspection_point;a;b;4;5;6;\"\""),
          testing::StartsWith("line;\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80;0;0;0;10;0;0;\"\""),
          testing::StartsWith("sphere;;12.5;-7.25;30;\"\"")));  // no name, no flag
}

TEST_F(FeatureTable, PrintsSixDigitsOfFloatsAndTheAngleOfADouble) {
  for (const auto& [value, text] : {std::pair{-0.0F, "-0"}, {1234567, "1.23457e+06"}}) {
    XFPoint point(value, 0, 0);
    EXPECT_EQ(fieldOf(&point, 3), text);
  }
  XFCone cone;
  cone.halfAngle = 0.5F;
  EXPECT_EQ(fieldOf(&cone, 22), "28.6479");
}

TEST_F(FeatureTable, AnswersWhatItCouldNotDo) {
  EXPECT_EQ(write({}), -1);
  EXPECT_FALSE(exists());
  m_path = "/dev/full";
  EXPECT_EQ(write(records.all), 0) << "only the opening is looked at";
  for (const auto& path : {m_folder.path(), m_folder.path() / "missing" / "a.csv"}) {
    m_path = path;
    EXPECT_EQ(write(records.all), -2);
  }
}

TEST_F(FeatureTable, ANameThatIsNoTextThrowsAfterTheRowsBeforeIt) {
  const auto bad_conversion = testing::ThrowsMessage<std::range_error>("bad conversion");
  names[2] = std::wstring(L"E") + static_cast<wchar_t>(0xD800);
  EXPECT_THAT([&] { write(records.all); }, bad_conversion);
  EXPECT_EQ(content(), std::string(kTable, std::strstr(kTable, "plane;E1")));
  const std::wstring bad_path = path() + static_cast<wchar_t>(0xD800);
  EXPECT_THAT([&] { XExportFiles::ExportFeature2Csv(records.all, names, flags, bad_path); },
              bad_conversion);
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

TEST_F(ExportedFile, NumberListHasTheFeaturesOfOneType) {
  Records records;
  XFPointN other(7, 8, 9, 1, 0, 0);
  std::vector<XFBase*> all = records.all;
  all.insert(all.end(), {&other, nullptr});
  const auto write = [this](const std::vector<XFBase*>& features, int type) {
    auto wanted = static_cast<GeoFeatureType>(type);
    return XExportFiles::ExportFeature2Txt(features, wanted, path());
  };
  EXPECT_EQ(write({}, GeoPoint), -1);
  EXPECT_EQ(write({&records.sphere, nullptr}, GeoPlane), -2);
  EXPECT_FALSE(exists());
  const std::pair<GeoFeatureType, const char*> expected[] = {
      {GeoPoint, "12.5 -7.25 30\n7 8 9\n"},
      {GeoLine, "7.7 -12.37 26.16 0.6 0.64 0.48 16\n"},
      {GeoPlane, "12.5 -7.25 30 0 -0.6 0.8\n"},
      {GeoCircle, "12.5 -7.25 30 0 -0.6 0.8 6\n"},
      {GeoSphere, ""}};
  for (const auto& [type, text] : expected) {
    EXPECT_EQ(write(all, type), 0) << type;
    EXPECT_EQ(content(), text) << type;
  }
  m_path = m_folder.path();
  EXPECT_EQ(write({&records.sphere}, GeoSphere), -3);
}

}  // namespace
}  // namespace xexportfiles
