// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// What belongs to no room: the version, and a record that searches over meshes share.
namespace zelmo {

/// A triangle of a mesh as the searches over meshes hold it: 13 floats.
struct TriangleRecord {
  float a[3];       ///< first corner
  float b[3];       ///< second corner
  float c[3];       ///< third corner
  float normal[3];  ///< as the host gave it, meant to be of unit length
  float d;          ///< -(normal . a): normal . p + d is the signed distance of p for a unit normal
};

}  // namespace zelmo
