// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "nominal.h"
#include "options.h"
#include "scan.h"

namespace inspect {

/// What became of a point that a search picked.
enum class PointState {
  Used,         ///< the form is evaluated on it
  OutsideBand,  ///< dropped by the sigma band
  Beside,       ///< beyond the end of a round feature, or outside the sector that its faces cover
  Tilted,       ///< its normal leans too far from the nominal one: a neighbouring face's point
};

struct PickedPoint {
  int index;         ///< in the scan
  double deviation;  ///< signed, from the measured feature
  PointState state;
};

struct Measurement {
  Nominal nominal;
  Ideal measured;
  std::string trouble;  ///< why there is no measured feature; empty where there is one
  std::vector<PickedPoint> points;
  int used = 0;
  Difference difference;
  double form = 0.0;  ///< mm

  bool done() const { return trouble.empty(); }
};

/// The points in use, with their normals.
Gathered gatherUsed(const Scan& scan, const std::vector<PickedPoint>& picked);

/// Measures features in one scan.
class Inspector {
 public:
  Inspector(const Scan& scan, const Options& options);

  /// Picks the feature's points out of the scan, fits them with a filter and evaluates the form.
  Measurement measure(const Nominal& nominal);

 private:
  template <typename Record>
  Measurement measureAs(const Nominal& nominal, const Record& record);
  /// Fits and drops points outside the sigma band until none is left there.
  /// \return false where there is no measured feature; the trouble says why
  template <typename Record>
  bool refine(Measurement& result, Record& measured) const;
  xgeofeature::XGeoFeatureExtract& cloudFor(const Nominal& nominal);

  const Scan& m_scan;
  Options m_options;
  xgeofeature::XGeoFeatureExtract m_extract;
  std::unique_ptr<xgeofeature::XGeoFeatureExtract> m_turned;  ///< the scan with its normals turned
};

}  // namespace inspect
