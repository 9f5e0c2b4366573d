// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include <zelmo/export.h>

#include "zelmo/feature/base.h"

namespace xexportfiles {

/// Writes feature records into files.
///
/// All members are static, and the class has no data. Features are read through pointers that the
/// caller keeps; a null pointer, or a record of a host's own class, is passed over as a kind that
/// can't be written. A wide path or name that is no Unicode text throws std::range_error with
/// "bad conversion"; elsewhere the file system gets the path as UTF-8.
class ZELMO_EXPORT XExportFiles {
 public:
  /// Writes a table with one header line and one row per feature.
  ///
  /// Fields are separated by ";" and not escaped: a name that holds one shifts its row. A field that
  /// a feature lacks is an empty pair of quotes. Numbers have 6 significant digits and a decimal
  /// point in every locale. Columns, from 1 on: 1 type, 2 name (UTF-8), 3 to 5 and 6 to 8 two points,
  /// 9 to 11 normal, 15 to 17 direction, 18 length, 19 width, 20 and 21 radii, 22 angle in degrees,
  /// 23 orientation, 24 corner radius; the rest stays empty. A cone has its top first, its axis
  /// reversed, and the top radius first.
  ///
  /// \param[in] features the records, in the order of the rows; a poly line gets no row
  /// \param[in] names one per feature; where there are fewer, the name is empty
  /// \param[in] flags one per feature: 0 for an inspection feature, whose type is written with the
  ///     prefix "inspection_", anything else for a nominal one; where there are fewer, nominal
  /// \param[in] path the file, overwritten if it exists
  /// \return 0 when the file was opened; -1 without features, no file is touched; -2 when the file
  ///     can't be opened
  /// \throw std::range_error for a name or path that is no Unicode text; the rows before it stay in
  ///     the file
  /// \note A row of a plane has 46 fields instead of 47, and truly empty columns 6 to 8.
  static int ExportFeature2Csv(const std::vector<xgeofeature::XFBase*>& features,
                               std::vector<std::wstring>& names, std::vector<char>& flags,
                               const std::wstring& path);

  /// Writes one line of numbers, separated by blanks, for each feature of one type.
  ///
  /// Points: x, y, z. Lines: start, direction, length. Planes: center, normal. Circles: center,
  /// normal, radius. Numbers as in ExportFeature2Csv.
  ///
  /// \param[in] features the records
  /// \param[in] type the type to write; one that has no lines gives an empty file
  /// \param[in] path the file, overwritten if it exists
  /// \return 0 when the file was opened; -1 without features; -2 without a feature of \p type, no
  ///     file is touched; -3 when the file can't be opened
  /// \throw std::range_error for a path that is no Unicode text
  static int ExportFeature2Txt(const std::vector<xgeofeature::XFBase*>& features,
                               xgeofeature::GeoFeatureType& type, const std::wstring& path);
};

}  // namespace xexportfiles
