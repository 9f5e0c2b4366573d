// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// The report of the sample host: one inspection told by a page, by JSON and by CSV.
#include <cstring>
#include <filesystem>
#include <iomanip>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "inspect_run.h"

namespace zelmo::test {
namespace {

using Json = nlohmann::json;
using testing::HasSubstr;

/// What is no XML, as a tag that doesn't fit; empty for a whole document.
std::string faultIn(const std::string& page) {
  std::vector<std::string> open;
  for (std::size_t at = page.find("<html"); at < page.size(); at = page.find('<', at + 1)) {
    std::size_t end = at;
    for (bool quoted = false; end < page.size() && (quoted || page[end] != '>'); ++end) {
      if (page[end] == '"') quoted = !quoted;
    }
    const std::string tag = page.substr(at + 1, end - at - 1);
    if (tag.empty() || tag.find('<') != std::string::npos) return tag.substr(0, 60);
    if (tag.front() == '/') {
      if (open.empty() || open.back() != tag.substr(1)) return tag;
      open.pop_back();
    } else if (tag.back() != '/') {
      open.push_back(tag.substr(0, tag.find_first_of(" \n")));
    }
  }
  return open.empty() ? "" : open.back();
}

/// What stands between two texts, each time.
std::vector<std::string> between(const std::string& page, const std::string& from,
                                 const std::string& to) {
  std::vector<std::string> found;
  for (std::size_t at = page.find(from); at != std::string::npos; at = page.find(from, at)) {
    at += from.size();
    found.push_back(page.substr(at, page.find(to, at) - at));
  }
  return found;
}

bool sameBits(const std::string& text, const Json& value) {
  if (text.empty() || value.is_null()) return text.empty() && value.is_null();
  const double a = number(text), b = value.get<double>();
  return std::memcmp(&a, &b, sizeof a) == 0;
}

std::string rounded(double value) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(4) << value;
  return text.str() == "-0.0000" ? "0.0000" : text.str();
}

/// The quantities of some roles, in their order.
std::vector<Json> quantities(const Json& feature, const std::string& roles) {
  std::vector<Json> found;
  for (const Json& one : feature["quantities"]) {
    if (roles.find(one["role"].get<std::string>()) != std::string::npos) found.push_back(one);
  }
  return found;
}

/// The report against the table that is printed and the file behind it.
void expectTheTable(const Json& feature, const Row& row, const std::string& printed) {
  const std::string line = between(printed, "\n" + row[0] + " ", "\n").at(0) + " ";
  const bool sphere = feature["kind"] == "sphere";
  const std::vector<Json> twins = quantities(feature, "point direction size");
  ASSERT_EQ(twins.size(), sphere ? 4U : 7U);
  for (std::size_t i = 0; i < twins.size(); ++i) {
    const std::size_t column = 3 + i + (sphere && i == 3 ? 3 : 0);
    EXPECT_TRUE(sameBits(row[column], twins[i]["nominal"])) << row[0] << i;
    EXPECT_TRUE(sameBits(row[column + 7], twins[i]["measured"])) << row[0] << i;
  }
  EXPECT_EQ(row[2], feature["status"]);
  std::vector<Json> results = quantities(feature, "location angle form");
  ASSERT_EQ(results.size(), row[2] != "measured" ? 0U : sphere ? 2U : 3U);
  if (results.empty()) return;
  if (sphere) results.insert(results.begin() + 1, Json{{"measured", 0.0}});
  for (const std::size_t i : {0U, 1U, 2U}) {
    const Json& value = results[i]["measured"];
    EXPECT_TRUE(sameBits(row[i < 2 ? 17 + i : 21], value)) << row[0] << i;
    EXPECT_THAT(line, HasSubstr(sphere && i == 1 ? " - " : " " + rounded(value) + " "));
  }
  EXPECT_THAT(line, HasSubstr(" " + rounded(twins.back()["measured"]) + " ")) << row[0];
  EXPECT_EQ(row[19] + row[20], feature["picked"].dump() + feature["used"].dump());
}

void expectTheRows(const Json& report, const std::vector<Row>& rows) {
  std::size_t at = 0;
  const auto expect_row = [&](const Json& one, const char* name, const std::string& feature) {
    const Row& row = rows.at(++at);
    const char* const fields[] = {"nominal", "tolerance", "measured", "deviation"};
    EXPECT_EQ(row[1] + row[5], feature + one[name].get<std::string>());
    for (std::size_t i = 0; i < 4; ++i) {
      EXPECT_TRUE(sameBits(row[8 + i], one.value(fields[i], Json()))) << row[5] << fields[i];
    }
  };
  for (const Json& feature : report["features"]) {
    for (const Json& one : feature["quantities"]) expect_row(one, "name", feature["name"]);
  }
  for (const Json& one : report["requirements"]) expect_row(one, "characteristic", one["feature"]);
  EXPECT_EQ(rows.size(), at + 1);
}

void expectThePage(const std::string& page, const Json& report) {
  EXPECT_EQ(faultIn(page), "");
  const std::vector<std::string> data = between(page, "<data value=\"", "</data>");
  EXPECT_GT(data.size(), 2000U);
  for (const std::string& one : data) {
    const std::string path = "/" + between(one, "data-path=\"", "\"").at(0);
    const Json& value = report.at(Json::json_pointer(path));
    EXPECT_TRUE(sameBits(one.substr(0, one.find('"')), value)) << path;
  }
  for (const char* attribute : {" src=\"", " href=\""}) {
    for (const std::string& address : between(page, attribute, "\"")) {
      EXPECT_TRUE(address[0] == '#' || address == "data:,") << address;
    }
  }
  for (const char* outside : {"@import", "url(", "<script>", "https:"}) {
    EXPECT_EQ(page.find(outside), std::string::npos) << outside;
  }
  const std::string embedded = between(page, "id=\"report\">", "</script>").at(0);
  EXPECT_EQ(Json::parse(embedded), report);
}

TEST_F(WithFiles, TheReportSaysWhatTheTablesSay) {
  // Nothing of a name or a text may be taken for markup, and no byte spoils the page.
  const std::string name = "a <b>&' \xff.step";
  std::filesystem::rename(at("made/part.step"), at(name));
  const Finished run =
      inspect("-o a --tolerance 0.057 --date '</script>&' \"" + name + "\" made/scan.xyz");
  ASSERT_EQ(run.code, 0) << run.err;
  const Json report = Json::parse(contentOf(at("a/report.json")));
  EXPECT_EQ(report["model"], "a <b>&' \xef\xbf\xbd.step");
  EXPECT_EQ(report["date"], "</script>&");
  const std::vector<Row> results = rowsOf(at("a/results.csv")), flat = rowsOf(at("a/outlines.csv"));
  ASSERT_EQ(report["features"].size(), results.size() + flat.size() - 2);
  for (std::size_t i = 1; i < results.size(); ++i) {
    expectTheTable(report["features"][i - 1], results[i], run.out);
  }
  for (std::size_t i = 1; i < flat.size(); ++i) {
    const Json& feature = report["features"][results.size() - 2 + i];
    const std::vector<Json> sizes = quantities(feature, "size");
    EXPECT_TRUE(sameBits(flat[i][12], sizes[0]["nominal"])) << flat[i][0];
    EXPECT_TRUE(sameBits(flat[i][24], sizes[0]["measured"])) << flat[i][0];
    EXPECT_TRUE(sameBits(flat[i].back(), quantities(feature, "form")[0]["measured"]));
  }
  const std::size_t out = between(run.out, "   OUT", "\n").size();
  EXPECT_GT(out, 0U);
  EXPECT_EQ(report["summary"]["requirements_out_of_tolerance"], out);
  expectTheRows(report, rowsOf(at("a/report.csv")));
  expectThePage(contentOf(at("a/report.html")), report);
}

}  // namespace
}  // namespace zelmo::test
