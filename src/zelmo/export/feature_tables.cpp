// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>

#include "zelmo/export/export_files.h"
#include "zelmo/export/internal/classic_file.h"
#include "zelmo/export/internal/feature_table.h"
#include "zelmo/export/internal/utf8.h"

namespace xexportfiles {
namespace {

constexpr int kDone = 0;
constexpr int kNoFeatures = -1;
constexpr int kTableNotOpened = -2;
constexpr int kNoneOfType = -2;
constexpr int kListNotOpened = -3;

using zelmo::internal::FeatureRole;
using zelmo::internal::openClassic;
using zelmo::internal::utf8FromWide;

}  // namespace

int XExportFiles::ExportFeature2Csv(const std::vector<xgeofeature::XFBase*>& features,
                                    std::vector<std::wstring>& names, std::vector<char>& flags,
                                    const std::wstring& path) {
  if (features.empty()) return kNoFeatures;
  std::ofstream file = openClassic(utf8FromWide(path));
  if (!file) return kTableNotOpened;
  zelmo::internal::writeTableHeader(file);
  file << "\n";
  for (std::size_t i = 0; i < features.size(); ++i) {
    const bool is_inspection = i < flags.size() && flags[i] == 0;
    zelmo::internal::writeTableRow(file, features[i],
                                   i < names.size() ? utf8FromWide(names[i]) : std::string(),
                                   is_inspection ? FeatureRole::Inspection : FeatureRole::Nominal);
  }
  return kDone;
}

int XExportFiles::ExportFeature2Txt(const std::vector<xgeofeature::XFBase*>& features,
                                    xgeofeature::GeoFeatureType& type, const std::wstring& path) {
  if (features.empty()) return kNoFeatures;
  const auto is_selected = [&type](const xgeofeature::XFBase* feature) {
    return feature != nullptr && feature->getFeatureType() == type;
  };
  if (std::none_of(features.begin(), features.end(), is_selected)) return kNoneOfType;
  std::ofstream file = openClassic(utf8FromWide(path));
  if (!file) return kListNotOpened;
  for (const xgeofeature::XFBase* feature : features) {
    if (is_selected(feature)) zelmo::internal::writeNumberLine(file, feature);
  }
  return kDone;
}

}  // namespace xexportfiles
