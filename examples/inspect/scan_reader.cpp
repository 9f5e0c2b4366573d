// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "failure.h"
#include "scan.h"

namespace inspect {
namespace {

constexpr int kNumbers = 6;         // x, y, z, nx, ny, nz
constexpr std::size_t kShown = 40;  // characters of a bad line in the message

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

const char* skipBlanks(const char* at, const char* end) {
  while (at != end && isBlank(*at)) ++at;
  return at;
}

enum class LineResult { Point, Nothing, NoNumber, TooFew, TooMany, NotFinite };

/// Reads one line; [at, end) excludes the line end.
LineResult readLine(const char* at, const char* end, float* numbers) {
  const char* comment = static_cast<const char*>(std::memchr(at, '#', end - at));
  if (comment != nullptr) end = comment;
  at = skipBlanks(at, end);
  if (at == end) return LineResult::Nothing;
  for (int i = 0; i < kNumbers; ++i) {
    if (at == end) return LineResult::TooFew;
    if (*at == '+') ++at;
    double value = 0.0;
    const auto [after, error] = std::from_chars(at, end, value);
    if (error == std::errc::result_out_of_range) return LineResult::NotFinite;
    if (error != std::errc()) return LineResult::NoNumber;
    numbers[i] = static_cast<float>(value);
    if (!std::isfinite(numbers[i])) return LineResult::NotFinite;
    at = skipBlanks(after, end);
    // One comma or semicolon, or blanks, must stand between two numbers.
    if (at != end && (*at == ',' || *at == ';')) {
      at = skipBlanks(at + 1, end);
    } else if (at == after && at != end) {
      return LineResult::NoNumber;
    }
  }
  return at == end ? LineResult::Point : LineResult::TooMany;
}

const char* complaint(LineResult result) {
  switch (result) {
    case LineResult::TooFew:
      return "fewer than six numbers";
    case LineResult::TooMany:
      return "more than six numbers";
    case LineResult::NotFinite:
      return "a number that is not finite or too large";
    default:
      return "something that is no number";
  }
}

std::string excerpt(const char* start, const char* end) {
  std::string text(start, end);
  while (!text.empty() && isBlank(text.back())) text.pop_back();
  if (text.size() > kShown) text = text.substr(0, kShown) + "...";
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < ' ') c = '?';
  }
  return text;
}

/// \return false for a normal without a direction
bool normalise(float* normal) {
  const double x = normal[0], y = normal[1], z = normal[2];
  const double length = std::sqrt(x * x + y * y + z * z);
  if (!(length > 0.0)) return false;
  for (int i = 0; i < 3; ++i) normal[i] = static_cast<float>(normal[i] / length);
  return true;
}

}  // namespace

Scan parseScan(const std::string& text, const std::string& name) {
  constexpr std::size_t kBytesPerPoint = 40;  // a guess; the vectors grow where it is wrong
  Scan scan;
  scan.records.reserve(text.size() / kBytesPerPoint * kNumbers);
  scan.lines.reserve(text.size() / kBytesPerPoint);
  const char* at = text.data();
  const char* const end = at + text.size();
  if (text.compare(0, 3, "\xef\xbb\xbf") == 0) at += 3;
  for (int line = 1; at != end; ++line) {
    const char* newline = static_cast<const char*>(std::memchr(at, '\n', end - at));
    const char* stop = newline != nullptr ? newline : end;
    float numbers[kNumbers];
    const LineResult result = readLine(at, stop, numbers);
    if (result == LineResult::Point) {
      if (!normalise(numbers + 3)) ++scan.without_normal;
      scan.records.insert(scan.records.end(), numbers, numbers + kNumbers);
      scan.lines.push_back(line);
    } else if (result != LineResult::Nothing) {
      throw Failure(kBadScan, name + ", line " + std::to_string(line) + ": " + complaint(result) +
                                  " in '" + excerpt(at, stop) + "'; wanted are x y z nx ny nz");
    }
    at = newline != nullptr ? newline + 1 : end;
  }
  if (scan.count() == 0) throw Failure(kBadScan, name + ": the scan holds no points");
  return scan;
}

Scan readScan(const std::string& path) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (!std::filesystem::exists(status)) throw Failure(kBadScan, path + ": no such scan file");
  if (std::filesystem::is_directory(status)) {
    throw Failure(kBadScan, path + ": is a folder, not a scan file");
  }
  std::ifstream file(path, std::ios::binary);
  if (!file) throw Failure(kBadScan, path + ": the scan file can't be opened");
  std::string text;
  const auto size = std::filesystem::file_size(path, error);
  if (!error) text.reserve(static_cast<std::size_t>(size) + 1);
  constexpr std::size_t kBlock = std::size_t{1} << 20U;
  std::size_t length = 0;
  do {
    text.resize(length + kBlock);
    file.read(&text[length], kBlock);
    length += static_cast<std::size_t>(file.gcount());
  } while (file);
  text.resize(length);
  if (file.bad()) throw Failure(kBadScan, path + ": the scan file can't be read to its end");
  return parseScan(text, path);
}

}  // namespace inspect
