// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "cad_files.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>

#include <Standard_Failure.hxx>
#include <TopExp_Explorer.hxx>
#include <zelmo/model/read_model.h>

#include "failure.h"

namespace inspect {
namespace {

constexpr std::streamoff kGlance = 4096;  // bytes at either end that are looked at
constexpr std::size_t kIgesLetter = 72;   // column of the section letter, counted from 0

std::string headOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string head(static_cast<std::size_t>(kGlance), '\0');
  file.read(head.data(), kGlance);
  head.resize(static_cast<std::size_t>(file.gcount()));
  return head;
}

std::string tailOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  const std::streamoff size = file.tellg();
  const std::streamoff length = std::min(size, kGlance);
  std::string tail(static_cast<std::size_t>(std::max<std::streamoff>(length, 0)), '\0');
  file.seekg(size - length);
  file.read(tail.data(), length);
  tail.resize(static_cast<std::size_t>(file.gcount()));
  return tail;
}

/// The letter of an IGES line's section, or 0 for a line that can't be one.
char igesSection(const std::string& line) {
  if (line.size() <= kIgesLetter + 1) return '\0';
  const std::string number = line.substr(kIgesLetter + 1, 7);
  const bool counted = std::all_of(number.begin(), number.end(), [](unsigned char c) {
    return std::isdigit(c) != 0 || c == ' ';
  });
  return counted ? line[kIgesLetter] : '\0';
}

std::string lowerExtension(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

/// What the system says against reading the file, or nothing.
void requireReadable(const std::string& path) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (!std::filesystem::exists(status)) throw Failure(kBadModel, path + ": no such model file");
  if (std::filesystem::is_directory(status)) {
    throw Failure(kBadModel, path + ": is a folder, not a model file");
  }
  if (!std::ifstream(path, std::ios::binary)) {
    throw Failure(kBadModel, path + ": the model file can't be opened");
  }
  if (std::filesystem::is_regular_file(status) && std::filesystem::file_size(path, error) == 0) {
    throw Failure(kBadModel, path + ": the model file is empty");
  }
}

}  // namespace

ModelKind kindOfModel(const std::string& path) {
  const std::string head = headOf(path);
  if (head.find("ISO-10303-21") != std::string::npos) return ModelKind::Step;
  const char section = igesSection(head.substr(0, head.find_first_of("\r\n")));
  if (section == 'S' || section == 'C') return ModelKind::Iges;
  const std::string extension = lowerExtension(path);
  if (extension == ".stp" || extension == ".step" || extension == ".p21") return ModelKind::Step;
  if (extension == ".igs" || extension == ".iges") return ModelKind::Iges;
  return ModelKind::Unknown;
}

bool endsAsItShould(const std::string& path, ModelKind kind) {
  std::string tail = tailOf(path);
  if (kind == ModelKind::Step) return tail.find("END-ISO-10303-21") != std::string::npos;
  // The terminate record is the last line that is not blank.
  const std::size_t last = tail.find_last_not_of(" \t\r\n\x1a");
  if (last == std::string::npos) return false;
  tail.resize(last + 1);
  const std::size_t start = tail.find_last_of("\r\n");
  return igesSection(start == std::string::npos ? tail : tail.substr(start + 1)) == 'T';
}

TopoDS_Shape readModel(const std::string& path) {
  requireReadable(path);
  const ModelKind kind = kindOfModel(path);
  if (kind == ModelKind::Unknown) {
    throw Failure(kBadModel, path + ": neither a STEP nor an IGES file");
  }
  if (!endsAsItShould(path, kind)) {
    throw Failure(kBadModel, path + ": the model file stops before its end record: truncated?");
  }
  TopoDS_Shape shape;
  std::string narrow = path;  // the library's interface asks for a writable path
  try {
    const int status = kind == ModelKind::Step
                           ? xmodelfeature::XReadModel::readStepFile(narrow.data(), shape)
                           : xmodelfeature::XReadModel::readIgesFile(narrow.data(), shape);
    if (status != 1) {
      throw Failure(kBadModel, path + ": the reader gave up with status " + std::to_string(status));
    }
  } catch (const Standard_Failure& failure) {
    throw Failure(kBadModel, path + ": the reader failed: " + failure.GetMessageString());
  }
  if (shape.IsNull() || !TopExp_Explorer(shape, TopAbs_FACE).More()) {
    throw Failure(kBadModel, path + ": the model holds no faces");
  }
  return shape;
}

}  // namespace inspect
