// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <zelmo/extract/point_eliminate.h>

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

/// Fits and drops points outside the sigma band until none is left there.
///
/// \param deviation of a point from what was fitted last
/// \return why there is no fit; empty where there is one
std::string fitUntilSettled(const Scan& scan, std::vector<PickedPoint>& points, double sigma,
                            const std::function<bool(const Gathered&)>& fit,
                            const std::function<double(const cv::Vec3d&)>& deviation);

/// Measures features in one scan.
class Inspector {
 public:
  /// \param sign -1 for a model that stands inside out
  Inspector(const Scan& scan, const Options& options, double sign);

  /// Picks the feature's points out of the scan, fits them with a filter and evaluates the form.
  Measurement measure(const Nominal& nominal);

  /// The scan with its tree.
  const xgeofeature::XGeoFeatureExtract& cloud() const { return m_extract; }

 private:
  template <typename Record>
  Measurement measureAs(const Nominal& nominal, const Record& record);
  xgeofeature::XGeoFeatureExtract& cloudFor(const Nominal& nominal);
  /// Leaves those of the points found that lie over the feature's own triangles.
  void narrowDown(const Nominal& nominal, std::vector<int>& found);

  const Scan& m_scan;
  Options m_options;
  double m_sign;
  xgeofeature::XGeoFeatureExtract m_extract;
  xgeofeature::XGeoFeaturePointEliminate m_eliminate;
  std::unique_ptr<xgeofeature::XGeoFeatureExtract> m_turned;  ///< the scan with its normals turned
};

}  // namespace inspect
