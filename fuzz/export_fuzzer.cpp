// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
// Export of any records into a folder of the target's own.
#include <algorithm>
#include <sstream>

#include <Standard_Failure.hxx>

#include "fuzz_target.h"
#include "records.h"
#include "support/temporary_folder.h"
#include "zelmo/export/export_files.h"

namespace zelmo::fuzz {
namespace {

using xexportfiles::XExportFiles;
using Records = std::vector<xgeofeature::XFBase*>;

/// A name of plain letters, other letters, and at times of what is no letter at all.
std::wstring name(ByteSource& bytes) {
  std::wstring made;
  const int length = bytes.below(6);
  for (int i = 0; i < length; ++i) {
    const int b = bytes.byte();
    made += static_cast<wchar_t>(b < 240 ? b + 1 : b < 248 ? 0x4E00 + b : 0xD800 + b);
  }
  return made;
}

bool holdsLoneSurrogate(const std::wstring& text) {
  return std::any_of(text.begin(), text.end(), [](wchar_t c) { return c >= 0xD800 && c < 0xE000; });
}

/// A table: rows and columns hold as long as no name carries a separator.
void exportTable(ByteSource& bytes, const Records& records, const std::filesystem::path& path,
                 Transcript& out) {
  std::vector<std::wstring> names;
  std::vector<char> flags;
  bool is_unicode = true, is_plain = true;
  const int given = bytes.below(6);
  for (int i = 0; i < given; ++i) {
    names.push_back(name(bytes));
    flags.push_back(static_cast<char>(bytes.below(2)));
    is_unicode = is_unicode && !holdsLoneSurrogate(names.back());
    is_plain = is_plain && names.back().find_first_of(L";\n\r") == std::wstring::npos;
  }
  int code = 0;
  try {
    code = XExportFiles::ExportFeature2Csv(records, names, flags, test::widePath(path));
  } catch (const std::range_error&) {
    ZELMO_FUZZ_CHECK(!is_unicode);
    return;
  }
  ZELMO_FUZZ_CHECK(code == (records.empty() ? -1 : 0));
  const std::string text = test::contentOf(path);
  if (code == 0 && is_plain) {
    std::istringstream lines(text);
    std::string line;
    std::getline(lines, line);
    const auto columns = std::count(line.begin(), line.end(), ';');
    std::size_t rows = 0;
    while (std::getline(lines, line)) {
      const auto fields = std::count(line.begin(), line.end(), ';');
      ZELMO_FUZZ_CHECK(fields == columns || fields == columns - 1);  // some kinds lack the last one
      ++rows;
    }
    ZELMO_FUZZ_CHECK(rows <= records.size());
  }
  out.add(text.data(), text.size());
}

void exportLines(ByteSource& bytes, const Records& records, const std::filesystem::path& path,
                 Transcript& out) {
  auto type = static_cast<xgeofeature::GeoFeatureType>(bytes.anyInt());
  const int code = XExportFiles::ExportFeature2Txt(records, type, test::widePath(path));
  ZELMO_FUZZ_CHECK(code == 0 || code == -1 || code == -2);
  ZELMO_FUZZ_CHECK((code == -1) == records.empty());
  const std::string text = test::contentOf(path);
  out.add(code);
  out.add(text.data(), text.size());
}

/// STEP and IGES: a failure of OpenCASCADE's own is documented, and comes before any file is touched.
void exportShapes(ByteSource& bytes, const Records& records, const std::filesystem::path& path,
                  Transcript& out) {
  const std::wstring wide = test::widePath(path);
  const auto* one = records.empty() ? nullptr : records.front();
  int code = 0;
  try {
    switch (bytes.below(5)) {
      case 0:
        code = XExportFiles::Export2DFeature(one, wide);
        break;
      case 1:
        code = XExportFiles::Export3DFeature(one, wide);
        break;
      case 2:
        code = XExportFiles::ExportFeature2Step(records, wide);
        break;
      case 3:
        code = XExportFiles::ExportFeature2Iges(records, wide);
        break;
      default: {
        RecordSource source(bytes);
        const auto line = source.polyLine();
        code =
            XExportFiles::Export(line, wide, static_cast<xexportfiles::ExportMode>(bytes.anyInt()));
      }
    }
  } catch (const Standard_Failure&) {
    ZELMO_FUZZ_CHECK(!std::filesystem::exists(path));
    code = 1;
  }
  ZELMO_FUZZ_CHECK(code <= 1 && code >= -2);
  if (code == 0) ZELMO_FUZZ_CHECK(std::filesystem::exists(path));
  out.add(code);
}

void run(ByteSource& bytes, Transcript& out) {
  static const test::TemporaryFolder folder;
  const auto path = folder.path() / "file";
  std::error_code ignored;
  std::filesystem::remove(path, ignored);
  const int kind = bytes.below(4), count = bytes.below(6);
  bytes.chooseNumbers();
  std::vector<std::shared_ptr<xgeofeature::XFBase>> owned;
  Records records;
  for (int i = 0; i < count; ++i) {
    owned.push_back(RecordSource(bytes).any());
    records.push_back(bytes.below(32) == 31 ? nullptr : owned.back().get());
  }
  if (kind == 0) return exportTable(bytes, records, path, out);
  if (kind == 1) return exportLines(bytes, records, path, out);
  exportShapes(bytes, records, path, out);
}

}  // namespace
}  // namespace zelmo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return zelmo::fuzz::runTwice(data, size, &zelmo::fuzz::run);
}
