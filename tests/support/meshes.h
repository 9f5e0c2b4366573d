// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace zelmo::test {

/// A triangle mesh in the arrays that the library takes.
struct Mesh {
  std::vector<float> vertices;
  std::vector<int> faces;

  int vertexCount() const { return static_cast<int>(vertices.size() / 3); }
  int faceCount() const { return static_cast<int>(faces.size() / 3); }
  const float* corner(int face, int k) const {
    return &vertices[static_cast<std::size_t>(3 * faces[static_cast<std::size_t>(3 * face + k)])];
  }

  bool namesVertices(int face) const {
    const auto first = faces.begin() + 3 * face;
    return std::all_of(first, first + 3, [this](int v) { return v >= 0 && v < vertexCount(); });
  }

  /// One unit normal per face, zero for a face without area or with a vertex that is not there.
  std::vector<float> normals() const {
    std::vector<float> out;
    for (int i = 0; i < faceCount(); ++i) {
      if (!namesVertices(i)) {
        out.insert(out.end(), 3, 0.0F);
        continue;
      }
      double u[3], v[3];
      for (int k = 0; k < 3; ++k) {
        u[k] = static_cast<double>(corner(i, 1)[k]) - corner(i, 0)[k];
        v[k] = static_cast<double>(corner(i, 2)[k]) - corner(i, 0)[k];
      }
      const double n[3] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2],
                           u[0] * v[1] - u[1] * v[0]};
      const double norm = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
      for (const double c : n) out.push_back(static_cast<float>(norm > 0 ? c / norm : 0.0));
    }
    return out;
  }
};

/// A height field over columns by rows squares of two triangles each, in the order of the rows.
template <typename Height>
Mesh heightField(int columns, int rows, float step, Height height) {
  Mesh mesh;
  for (int r = 0; r <= rows; ++r) {
    for (int c = 0; c <= columns; ++c) {
      const float x = step * static_cast<float>(c);
      const float y = step * static_cast<float>(r);
      mesh.vertices.insert(mesh.vertices.end(), {x, y, static_cast<float>(height(x, y))});
    }
  }
  for (int r = 0; r < rows; ++r) {
    for (int c = 0; c < columns; ++c) {
      const int v = r * (columns + 1) + c;
      mesh.faces.insert(mesh.faces.end(), {v, v + 1, v + columns + 2});
      mesh.faces.insert(mesh.faces.end(), {v, v + columns + 2, v + columns + 1});
    }
  }
  return mesh;
}

/// The surface of the cube [0, n]^3 with integer vertices, two triangles per unit square.
inline Mesh latticeCube(int n) {
  Mesh mesh;
  std::map<std::array<int, 3>, int> known;
  const auto vertex = [&](const std::array<int, 3>& at) {
    const auto [entry, fresh] = known.emplace(at, mesh.vertexCount());
    if (fresh) {
      for (const int c : at) mesh.vertices.push_back(static_cast<float>(c));
    }
    return entry->second;
  };
  for (int axis = 0; axis < 3; ++axis) {
    for (const int level : {0, n}) {
      for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
          const auto at = [&](int di, int dj) {
            std::array<int, 3> p = {};
            p[static_cast<std::size_t>(axis)] = level;
            p[static_cast<std::size_t>((axis + 1) % 3)] = i + di;
            p[static_cast<std::size_t>((axis + 2) % 3)] = j + dj;
            return vertex(p);
          };
          const int a = at(0, 0), b = at(1, 0), c = at(1, 1), d = at(0, 1);
          const bool outward = level == n;
          mesh.faces.insert(mesh.faces.end(), {a, outward ? b : c, outward ? c : b});
          mesh.faces.insert(mesh.faces.end(), {a, outward ? c : d, outward ? d : c});
        }
      }
    }
  }
  return mesh;
}

/// Reads OFF text, polygons as fans, or binary STL with equal vertices merged. An unreadable file gives no faces.
inline Mesh readMesh(const std::filesystem::path& path) {
  Mesh mesh;
  std::ifstream in(path, std::ios::binary);
  if (path.extension() == ".off") {
    std::string magic;
    int vertex_count = 0, face_count = 0, edge_count = 0;
    in >> magic >> vertex_count >> face_count >> edge_count;
    for (int i = 0; i < 3 * vertex_count; ++i) {
      float c = 0;
      in >> c;
      mesh.vertices.push_back(c);
    }
    for (int i = 0; i < face_count; ++i) {
      std::size_t corners = 0;
      in >> corners;
      std::vector<int> v(corners);
      for (int& index : v) in >> index;
      for (std::size_t k = 2; k < corners; ++k) {
        mesh.faces.insert(mesh.faces.end(), {v[0], v[k - 1], v[k]});
      }
    }
    return mesh;
  }
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::map<std::array<float, 3>, int> known;
  for (std::size_t at = 84; at + 50 <= bytes.size(); at += 50) {
    for (std::size_t k = 0; k < 3; ++k) {
      std::array<float, 3> p;
      std::memcpy(p.data(), bytes.data() + at + 12 + 12 * k, sizeof(p));
      const auto [entry, fresh] = known.emplace(p, mesh.vertexCount());
      if (fresh) mesh.vertices.insert(mesh.vertices.end(), p.begin(), p.end());
      mesh.faces.push_back(entry->second);
    }
  }
  return mesh;
}

}  // namespace zelmo::test
