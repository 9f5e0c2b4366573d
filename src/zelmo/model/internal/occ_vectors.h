// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <gp_Vec.hxx>
#include <gp_XYZ.hxx>

/// \file
/// Steps that the face and the edge analysis share.

namespace zelmo::internal {

/// \p v made unit the soft way: a zero vector stays zero.
inline gp_XYZ softUnit(const gp_XYZ& v) {
  const double norm = v.Modulus();
  return v * (norm == 0.0 ? 0.0 : 1.0 / norm);
}

/// \p v made unit the hard way. A zero vector throws Standard_ConstructionError.
inline gp_XYZ hardUnit(const gp_XYZ& v) {
  gp_Vec unit(v);
  unit.Normalize();
  return unit.XYZ();
}

/// \p v with each coordinate rounded to float.
inline gp_XYZ roundedToFloat(const gp_XYZ& v) {
  const float x = static_cast<float>(v.X());
  const float y = static_cast<float>(v.Y());
  const float z = static_cast<float>(v.Z());
  return {x, y, z};
}

/// Appends values to a row of floats, each rounded to float.
class FloatRow {
 public:
  explicit FloatRow(std::vector<float>& row) : m_row(row) {}

  FloatRow& operator<<(double value) {
    m_row.push_back(static_cast<float>(value));
    return *this;
  }
  FloatRow& operator<<(const gp_XYZ& v) { return *this << v.X() << v.Y() << v.Z(); }

 private:
  std::vector<float>& m_row;
};

}  // namespace zelmo::internal
