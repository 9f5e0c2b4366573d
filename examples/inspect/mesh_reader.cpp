// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>

#include "failure.h"
#include "surface_mesh.h"

namespace inspect {
namespace {

constexpr std::size_t kStlHead = 84, kStlFacet = 50;  // bytes of a binary file

[[noreturn]] void refuse(const std::string& name, const std::string& message) {
  throw Failure(kBadModel, name + ": " + message);
}

/// Walks the words of a text; lines are counted, comments from '#' on are skipped.
class Words {
 public:
  Words(const std::string& text, const std::string& name) : m_text(text), m_name(name) {}

  /// The next word, or nothing at the end.
  std::string_view next() {
    while (m_at < m_text.size() && (isBlank(m_text[m_at]) || m_text[m_at] == '#')) skip();
    const std::size_t start = m_at;
    while (m_at < m_text.size() && !isBlank(m_text[m_at])) ++m_at;
    return std::string_view(m_text).substr(start, m_at - start);
  }
  float number() {
    std::string_view word = next();
    if (!word.empty() && word.front() == '+') word.remove_prefix(1);
    double value = 0.0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    const auto narrow = static_cast<float>(value);
    if (error != std::errc() || end != word.data() + word.size() || !std::isfinite(narrow)) {
      complain("a number", word);
    }
    return narrow;
  }
  int count(int least, int most) {
    const std::string_view word = next();
    int value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc() || end != word.data() + word.size() || value < least || value > most) {
      complain("a number from " + std::to_string(least) + " to " + std::to_string(most), word);
    }
    return value;
  }
  void expect(std::string_view wanted) {
    const std::string_view word = next();
    if (word != wanted) complain("'" + std::string(wanted) + "'", word);
  }
  void skipLine() {
    while (m_at < m_text.size() && m_text[m_at] != '\n') ++m_at;
  }
  [[noreturn]] void complain(const std::string& wanted, std::string_view found) const {
    const auto line = std::count(m_text.begin(), m_text.begin() + static_cast<long>(m_at), '\n');
    refuse(m_name, "line " + std::to_string(line + 1) + ": wanted is " + wanted +
                       (found.empty() ? ", the file ends"
                                      : ", found is '" + std::string(found.substr(0, 40)) + "'"));
  }

 private:
  static bool isBlank(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }
  void skip() {
    if (m_text[m_at] == '#') {
      skipLine();
    } else {
      ++m_at;
    }
  }

  const std::string& m_text;
  const std::string& m_name;
  std::size_t m_at = 0;
};

SurfaceMesh binaryStl(const std::string& content, const std::string& name) {
  SurfaceMesh mesh;
  const std::size_t facets = (content.size() - kStlHead) / kStlFacet;
  mesh.vertices.resize(9 * facets);
  for (std::size_t i = 0; i < facets; ++i) {
    std::memcpy(&mesh.vertices[9 * i], content.data() + kStlHead + kStlFacet * i + 12,
                9 * sizeof(float));
  }
  const auto bad = std::find_if(mesh.vertices.begin(), mesh.vertices.end(),
                                [](float value) { return !std::isfinite(value); });
  if (bad != mesh.vertices.end()) {
    refuse(name, "triangle " + std::to_string((bad - mesh.vertices.begin()) / 9 + 1) +
                     " has a corner that is not finite");
  }
  return mesh;
}

SurfaceMesh textStl(const std::string& content, const std::string& name) {
  SurfaceMesh mesh;
  Words words(content, name);
  words.skipLine();  // "solid" and any name
  for (;;) {
    const std::string_view word = words.next();
    if (word == "endsolid") {
      words.skipLine();
      const std::string_view after = words.next();
      if (after.empty()) return mesh;
      if (after != "solid") words.complain("'solid' or the end", after);
      words.skipLine();
      continue;
    }
    if (word != "facet") words.complain("'facet' or 'endsolid'", word);
    words.expect("normal");
    for (int i = 0; i < 3; ++i) words.next();  // often nonsense, and not needed
    words.expect("outer");
    words.expect("loop");
    for (int corner = 0; corner < 3; ++corner) {
      words.expect("vertex");
      for (int i = 0; i < 3; ++i) mesh.vertices.push_back(words.number());
    }
    words.expect("endloop");
    words.expect("endfacet");
  }
}

SurfaceMesh off(const std::string& content, const std::string& name) {
  constexpr int kMost = 100000000;
  SurfaceMesh mesh;
  Words words(content, name);
  words.expect("OFF");
  const int vertices = words.count(0, kMost), faces = words.count(0, kMost);
  words.count(0, 2147483647);  // edges, which many writers leave at 0
  for (int i = 0; i < 3 * vertices; ++i) mesh.vertices.push_back(words.number());
  for (int i = 0; i < faces; ++i) {
    const int corners = words.count(1, kMost);
    std::vector<int> ring;
    ring.reserve(static_cast<std::size_t>(std::min(corners, 64)));  // the file may promise too much
    for (int k = 0; k < corners; ++k) ring.push_back(words.count(0, vertices - 1));
    words.skipLine();  // a colour
    for (std::size_t k = 2; k < ring.size(); ++k) {
      for (const int corner : {ring[0], ring[k - 1], ring[k]}) mesh.triangles.push_back(corner);
    }
  }
  return mesh;
}

std::string lowerExtension(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

}  // namespace

bool isMeshFile(const std::string& path) {
  const std::string extension = lowerExtension(path);
  return extension == ".stl" || extension == ".off";
}

SurfaceMesh parseMesh(const std::string& content, const std::string& name) {
  SurfaceMesh mesh;
  std::uint32_t facets = 0;
  if (content.size() >= kStlHead) std::memcpy(&facets, &content[kStlHead - 4], 4);
  const std::string first = Words(content, name).next() == "OFF" ? "OFF" : content.substr(0, 5);
  if (first == "OFF") {
    mesh = off(content, name);
  } else if (content.size() >= kStlHead && content.size() == kStlHead + kStlFacet * facets) {
    // The size decides: many binary files begin with "solid" as well.
    mesh = binaryStl(content, name);
  } else if (first == "solid") {
    mesh = textStl(content, name);
  } else if (content.size() >= kStlHead && lowerExtension(name) == ".stl") {
    refuse(name, "a binary STL file of " + std::to_string(facets) + " triangles has " +
                     std::to_string(kStlHead + kStlFacet * facets) + " bytes; this one has " +
                     std::to_string(content.size()) + ": truncated?");
  } else {
    refuse(name, "neither an STL nor an OFF file");
  }
  // The corners of an STL file are named by their place.
  if (first != "OFF") {
    for (std::size_t i = 0; i < mesh.vertices.size() / 3; ++i) {
      mesh.triangles.push_back(static_cast<int>(i));
    }
  }
  if (mesh.count() == 0) refuse(name, "the mesh holds no triangles");
  return mesh;
}

SurfaceMesh readMesh(const std::string& path) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (!std::filesystem::exists(status)) refuse(path, "no such mesh file");
  if (std::filesystem::is_directory(status)) refuse(path, "is a folder, not a mesh file");
  std::ifstream file(path, std::ios::binary);
  if (!file) refuse(path, "the mesh file can't be opened");
  std::ostringstream content;
  content << file.rdbuf();
  if (content.str().empty()) refuse(path, "the mesh file is empty");
  return parseMesh(content.str(), path);
}

}  // namespace inspect
