// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "measure.h"

#include <cmath>

#include "triangles.h"

namespace inspect {
namespace {

constexpr int kSides = 15;  // of triangles, as trianglesOf() counts them
constexpr int kFewest = 8;  // points: fewer than a filter can work on

/// Takes the points out of use that lie outside the band of those in use. \return the number left
int keepBand(std::vector<PickedPoint>& points, double sigma) {
  std::vector<double> values;
  for (const PickedPoint& point : points) {
    if (point.state == PointState::Used) values.push_back(point.deviation);
  }
  const Band band = bandOf(values, sigma);
  int left = 0;
  for (PickedPoint& point : points) {
    if (point.state != PointState::Used) continue;
    if (band.holds(point.deviation)) {
      ++left;
    } else {
      point.state = PointState::OutsideBand;
    }
  }
  return left;
}

}  // namespace

Gathered gatherUsed(const Scan& scan, const std::vector<PickedPoint>& picked) {
  Gathered gathered;
  for (const PickedPoint& one : picked) {
    if (one.state != PointState::Used) continue;
    const float *point = scan.point(one.index), *normal = scan.normal(one.index);
    gathered.points.insert(gathered.points.end(), point, point + 3);
    gathered.normals.insert(gathered.normals.end(), normal, normal + 3);
  }
  return gathered;
}

std::string fitUntilSettled(const Scan& scan, std::vector<PickedPoint>& points, double sigma,
                            const std::function<bool(const Gathered&)>& fit,
                            const std::function<double(const cv::Vec3d&)>& deviation) {
  // A fit's own filter works once. Points of a rounding beside the face need more rounds: they widen
  // the band that is to exclude them.
  constexpr int kMostRounds = 10;
  int used = static_cast<int>(points.size()) + 1;
  for (int round = 0; round < kMostRounds; ++round) {
    const Gathered gathered = gatherUsed(scan, points);
    if (gathered.count() == 0) return "no points";
    if (gathered.count() < kFewest) return "too few points";
    if (!fit(gathered)) return "no fit";
    for (PickedPoint& point : points) point.deviation = deviation(vec(scan.point(point.index)));
    const int left = keepBand(points, sigma);
    if (left == used) break;
    used = left;
  }
  return {};
}

Inspector::Inspector(const Scan& scan, const Options& options, double sign)
    : m_scan(scan), m_options(options), m_sign(sign) {
  m_extract.setMaxDis(static_cast<float>(options.band));
  m_extract.setData(scan.records.data(), scan.count());
}

xgeofeature::XGeoFeatureExtract& Inspector::cloudFor(const Nominal& nominal) {
  // The search for a sphere wants normals that point away from its centre.
  if (!nominal.hollow || !isSphere(nominal.ideal)) return m_extract;
  if (!m_turned) {
    std::vector<float> records = m_scan.records;
    for (std::size_t i = 0; i < records.size(); ++i) {
      if (i % 6 > 2) records[i] = -records[i];
    }
    m_turned = std::make_unique<xgeofeature::XGeoFeatureExtract>();
    m_turned->setMaxDis(static_cast<float>(m_options.band));
    m_turned->setData(records.data(), m_scan.count());
  }
  return *m_turned;
}

void Inspector::narrowDown(const Nominal& nominal, std::vector<int>& found) {
  const Triangles surface = trianglesOf(nominal.patches, m_sign, kSides);
  m_eliminate.getGeoFeaturePointIndices(m_extract.cloud, m_extract.normals, found,
                                        surface.corners.data(), surface.count(),
                                        surface.normals.data(), found);
}

Measurement Inspector::measure(const Nominal& nominal) {
  if (!nominal.trouble.empty()) {
    Measurement refused;
    refused.nominal = nominal;
    refused.trouble = nominal.trouble;
    return refused;
  }
  return std::visit([&](const auto& record) { return measureAs(nominal, record); }, nominal.ideal);
}

template <typename Record>
Measurement Inspector::measureAs(const Nominal& nominal, const Record& record) {
  Measurement result;
  result.nominal = nominal;
  xgeofeature::XGeoFeatureExtract& cloud = cloudFor(nominal);
  search(cloud, record);
  if (m_options.narrow) narrowDown(nominal, cloud.indexResult);
  const double cosine = std::cos(m_options.angle * CV_PI / 180.0);
  const double side = nominal.hollow ? -1.0 : 1.0;
  for (const int index : cloud.indexResult) {
    const cv::Vec3d point = vec(m_scan.point(index));
    const cv::Vec3d outward = side * directionAt(record, point);
    PointState state = PointState::Used;
    if (cv::norm(outward) == 0.0 || !nominal.sector.holds(radialAt(record, point))) {
      state = PointState::Beside;
    } else if (vec(m_scan.normal(index)).dot(outward) < cosine) {
      state = PointState::Tilted;
    }
    result.points.push_back({index, 0.0, state});
  }
  Record measured;
  result.trouble = fitUntilSettled(
      m_scan, result.points, m_options.sigma,
      [&](const Gathered& gathered) {
        return fit(gathered, m_options.sigma, measured) && std::isfinite(tell(measured).size);
      },
      [&measured](const cv::Vec3d& point) { return deviation(measured, point); });
  if (!result.done()) return result;
  result.difference = compare(record, measured);
  result.measured = measured;
  result.form = form(measured, gatherUsed(m_scan, result.points), m_options.sigma);
  result.used = keepBand(result.points, m_options.sigma);
  return result;
}

}  // namespace inspect
