// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/measure/geo_tolerance.h"

#include <algorithm>
#include <cmath>

#include "zelmo/feature/internal/frame_members.h"
#include "zelmo/feature/internal/local_frame.h"
#include "zelmo/measure/internal/tolerance_band.h"

namespace xgeomeasure {

using zelmo::internal::AxisLine;
using zelmo::internal::bandWidth;
using zelmo::internal::CircleDeviation;
using zelmo::internal::countingExtremes;
using zelmo::internal::kFewestPoints;
using zelmo::internal::kNoTolerance;
using zelmo::internal::LineDeviation;
using zelmo::internal::NearPoint;
using zelmo::internal::OppositeCross;
using zelmo::internal::PlanarView;
using zelmo::internal::PlaneDeviation;
using zelmo::internal::PointView;
using zelmo::internal::sigmaFactorIf;
using zelmo::internal::SphereDeviation;

using CylinderDeviation = zelmo::internal::CylinderDeviation<NearPoint::OnTheAxis>;

namespace {

/// A line or plane with one array's position and another's direction.
std::array<double, 6> joined(const double* position, const double* direction) {
  return {position[0], position[1], position[2], direction[3], direction[4], direction[5]};
}

LineDeviation fromLine(const double* line) { return {AxisLine::of(line)}; }

template <typename Points, typename Deviation>
void writeStatistics(const Points& points, const Deviation& from, double* statistics,
                     std::vector<double>& deviations) {
  const int count = points.count();
  if (count < kFewestPoints) return;
  deviations.resize(static_cast<std::size_t>(count));
  const auto found = zelmo::internal::deviationStatistics(points, from, deviations.data());
  statistics[0] = found.extremes.largest;
  statistics[1] = found.extremes.smallest;
  statistics[2] = found.mean;
  statistics[3] = found.variance;
}

}  // namespace

double XGeoTolrance::calcFlatness(const float* points, const int& count, double* const plane,
                                  bool useSigmaBand, double sigmaFactor) {
  return bandWidth(countingExtremes(PointView(points, count),
                                    PlaneDeviation::through(plane, plane + 3),
                                    sigmaFactorIf(useSigmaBand, sigmaFactor)));
}

double XGeoTolrance::calcFlatness(const std::vector<cv::Point3_<float>>& points,
                                  double* const plane, bool useSigmaBand, double sigmaFactor) {
  const PointView view(points);
  return calcFlatness(view.data(), view.count(), plane, useSigmaBand, sigmaFactor);
}

double XGeoTolrance::calcStraightness(const float* points, const int& count, double* const line,
                                      bool useSigmaBand, double sigmaFactor) {
  return bandWidth(countingExtremes(PointView(points, count), fromLine(line),
                                    sigmaFactorIf(useSigmaBand, sigmaFactor)));
}

double XGeoTolrance::calcStraightness(const std::vector<cv::Point3_<float>>& points,
                                      double* const line, bool useSigmaBand, double sigmaFactor) {
  const PointView view(points);
  return calcStraightness(view.data(), view.count(), line, useSigmaBand, sigmaFactor);
}

double XGeoTolrance::calcCylindricity(const float* points, const int& count, double* const cylinder,
                                      bool useSigmaBand, double sigmaFactor) {
  return bandWidth(countingExtremes(PointView(points, count), CylinderDeviation::of(cylinder),
                                    sigmaFactorIf(useSigmaBand, sigmaFactor)));
}

double XGeoTolrance::calcCylindricity(const std::vector<cv::Point3_<float>>& points,
                                      double* const cylinder, bool useSigmaBand,
                                      double sigmaFactor) {
  const PointView view(points);
  return calcCylindricity(view.data(), view.count(), cylinder, useSigmaBand, sigmaFactor);
}

double XGeoTolrance::calcSphericity(const float* points, const int& count, double* const sphere,
                                    bool useSigmaBand, double sigmaFactor) {
  return bandWidth(countingExtremes(PointView(points, count), SphereDeviation::of(sphere),
                                    sigmaFactorIf(useSigmaBand, sigmaFactor)));
}

double XGeoTolrance::calcSphericity(const std::vector<cv::Point3_<float>>& points,
                                    double* const sphere, bool useSigmaBand, double sigmaFactor) {
  const PointView view(points);
  return calcSphericity(view.data(), view.count(), sphere, useSigmaBand, sigmaFactor);
}

double XGeoTolrance::calcCircularity(const float* points, const int& count, double* const circle,
                                     bool useSigmaBand, double sigmaFactor) {
  const PointView view(points, count);
  if (view.count() < kFewestPoints) return kNoTolerance;
  const auto deviation = zelmo::internal::spaceCircle(view, circle);
  if (!deviation) return kNoTolerance;
  return bandWidth(countingExtremes(view, *deviation, sigmaFactorIf(useSigmaBand, sigmaFactor)));
}

double XGeoTolrance::calcCircularity(const std::vector<cv::Point3_<float>>& points,
                                     double* const circle, bool useSigmaBand, double sigmaFactor) {
  const PointView view(points);
  return calcCircularity(view.data(), view.count(), circle, useSigmaBand, sigmaFactor);
}

double XGeoTolrance::calcCircularity2D(const float* points, const int& count, const double& centerX,
                                       const double& centerY, const double& radius,
                                       bool useSigmaBand, double sigmaFactor) {
  return bandWidth(countingExtremes(PlanarView(points, count),
                                    CircleDeviation{centerX, centerY, radius},
                                    sigmaFactorIf(useSigmaBand, sigmaFactor)));
}

double XGeoTolrance::calcCircularity2D(const std::vector<cv::Point_<float>>& points,
                                       const double& centerX, const double& centerY,
                                       const double& radius, bool useSigmaBand,
                                       double sigmaFactor) {
  const PlanarView view(points);
  return calcCircularity2D(view.data(), view.count(), centerX, centerY, radius, useSigmaBand,
                           sigmaFactor);
}

double XGeoTolrance::calcParallelism_Line_Line(const float* points, const int& count,
                                               double* const line, double* const datum,
                                               bool useSigmaBand, double sigmaFactor) {
  // CONTRACT: the datum lends its direction only; the position is the measured line's.
  auto reference = joined(line, datum);
  return calcStraightness(points, count, reference.data(), useSigmaBand, sigmaFactor);
}

double XGeoTolrance::calcParallelism_Line_Line(const std::vector<cv::Point3_<float>>& points,
                                               double* const line, double* const datum,
                                               bool useSigmaBand, double sigmaFactor) {
  const PointView view(points);
  return calcParallelism_Line_Line(view.data(), view.count(), line, datum, useSigmaBand,
                                   sigmaFactor);
}

double XGeoTolrance::calcParallelism_Line_Plane(const float* points, const int& count,
                                                double* const line, double* const datum,
                                                bool useSigmaBand, double sigmaFactor) {
  return bandWidth(countingExtremes(PointView(points, count),
                                    PlaneDeviation::through(line, datum + 3),
                                    sigmaFactorIf(useSigmaBand, sigmaFactor)));
}

double XGeoTolrance::calcParallelism_Line_Plane(const std::vector<cv::Point3_<float>>& points,
                                                double* const line, double* const datum,
                                                bool useSigmaBand, double sigmaFactor) {
  const PointView view(points);
  return calcParallelism_Line_Plane(view.data(), view.count(), line, datum, useSigmaBand,
                                    sigmaFactor);
}

double XGeoTolrance::calcParallelism_Plane_Plane(const float* points, const int& count,
                                                 double* const plane, double* const datum,
                                                 bool useSigmaBand, double sigmaFactor) {
  auto reference = joined(plane, datum);
  return calcFlatness(points, count, reference.data(), useSigmaBand, sigmaFactor);
}

double XGeoTolrance::calcParallelism_Plane_Plane(const std::vector<cv::Point3_<float>>& points,
                                                 double* const plane, double* const datum,
                                                 bool useSigmaBand, double sigmaFactor) {
  const PointView view(points);
  return calcParallelism_Plane_Plane(view.data(), view.count(), plane, datum, useSigmaBand,
                                     sigmaFactor);
}

double XGeoTolrance::calcPerpendicularity_Line_Line(const float* points, const int& count,
                                                    double* const line, double* const datum,
                                                    bool useSigmaBand, double sigmaFactor) {
  const cv::Vec3d measured(line + 3);
  const cv::Vec3d reference(datum + 3);
  const cv::Vec3d cross = measured.cross(reference);
  // CONTRACT: parallel means a cross product of exactly 0.
  if (cross[0] == 0 && cross[1] == 0 && cross[2] == 0) return kNoTolerance;
  const cv::Vec3d square = zelmo::internal::unitOrZero(reference.cross(cross));
  double across[6] = {line[0], line[1], line[2], square[0], square[1], square[2]};
  return calcParallelism_Line_Line(points, count, line, across, useSigmaBand, sigmaFactor);
}

double XGeoTolrance::calcPerpendicularity_Line_Line(const std::vector<cv::Point3_<float>>& points,
                                                    double* const line, double* const datum,
                                                    bool useSigmaBand, double sigmaFactor) {
  const PointView view(points);
  return calcPerpendicularity_Line_Line(view.data(), view.count(), line, datum, useSigmaBand,
                                        sigmaFactor);
}

double XGeoTolrance::calcPerpendicularity_Line_Plane(const float* points, const int& count,
                                                     double* const line, double* const datum,
                                                     bool useSigmaBand, double sigmaFactor) {
  auto reference = joined(line, datum);
  return calcStraightness(points, count, reference.data(), useSigmaBand, sigmaFactor);
}

double XGeoTolrance::calcPerpendicularity_Line_Plane(const std::vector<cv::Point3_<float>>& points,
                                                     double* const line, double* const datum,
                                                     bool useSigmaBand, double sigmaFactor) {
  const PointView view(points);
  return calcPerpendicularity_Line_Plane(view.data(), view.count(), line, datum, useSigmaBand,
                                         sigmaFactor);
}

double XGeoTolrance::calcPerpendicularity_Plane_Plane(const float* points, const int& count,
                                                      double* const plane, double* const datum,
                                                      bool useSigmaBand, double sigmaFactor) {
  const PointView view(points, count);
  if (view.count() < kFewestPoints) return kNoTolerance;
  const PlaneDeviation on = PlaneDeviation::through(datum, datum + 3);
  const double coefficients[4] = {on.a, on.b, on.c, on.d};
  // CONTRACT: a width in the datum plane, where all other tolerances are bands of deviations.
  if (!useSigmaBand) return zelmo::internal::shorterSideOnPlane(view, coefficients);
  const auto kept =
      zelmo::internal::pointsInBand(view, PlaneDeviation::through(plane, plane + 3), sigmaFactor);
  return zelmo::internal::shorterSideOnPlane(PointView(kept), coefficients);
}

double XGeoTolrance::calcPerpendicularity_Plane_Plane(const std::vector<cv::Point3_<float>>& points,
                                                      double* const plane, double* const datum,
                                                      bool useSigmaBand, double sigmaFactor) {
  const PointView view(points);
  return calcPerpendicularity_Plane_Plane(view.data(), view.count(), plane, datum, useSigmaBand,
                                          sigmaFactor);
}

double XGeoTolrance::calcConcentricity(const float* points, const int& count, double* const feature,
                                       double* const datum, bool useSigmaBand, double sigmaFactor) {
  // CONTRACT: the first array is not read.
  static_cast<void>(feature);
  const auto extremes = countingExtremes(PointView(points, count), fromLine(datum),
                                         sigmaFactorIf(useSigmaBand, sigmaFactor));
  // CONTRACT: the difference of the reaches, not the width of the band.
  return extremes ? std::fabs(std::fabs(extremes->largest) - std::fabs(extremes->smallest))
                  : kNoTolerance;
}

double XGeoTolrance::calcConcentricity(const std::vector<cv::Point3_<float>>& points,
                                       double* const feature, double* const datum,
                                       bool useSigmaBand, double sigmaFactor) {
  const PointView view(points);
  return calcConcentricity(view.data(), view.count(), feature, datum, useSigmaBand, sigmaFactor);
}

void XGeoTolrance::calcStatistics_PlanePoint2Plane(const std::vector<cv::Point3_<float>>& points,
                                                   double* const plane, double* const statistics,
                                                   std::vector<double>& deviations) {
  writeStatistics(PointView(points), PlaneDeviation::through(plane, plane + 3), statistics,
                  deviations);
}

void XGeoTolrance::calcStatistics_LinePoint2Plane(const std::vector<cv::Point3_<float>>& points,
                                                  double* const position, double* const normal,
                                                  double* const statistics,
                                                  std::vector<double>& deviations) {
  writeStatistics(PointView(points), PlaneDeviation::through(position, normal + 3), statistics,
                  deviations);
}

void XGeoTolrance::calcStatistics_LinePoint2Line(const std::vector<cv::Point3_<float>>& points,
                                                 double* const line, double* const statistics,
                                                 std::vector<double>& deviations) {
  writeStatistics(PointView(points), fromLine(line), statistics, deviations);
}

void XGeoTolrance::calcStatistics_CylinderPoint2Cylinder(
    const std::vector<cv::Point3_<float>>& points, double* const cylinder, double* const statistics,
    std::vector<double>& deviations) {
  writeStatistics(PointView(points), CylinderDeviation::of(cylinder), statistics, deviations);
}

void XGeoTolrance::calcStatistics_SpherePoint2Sphere(const std::vector<cv::Point3_<float>>& points,
                                                     double* const sphere, double* const statistics,
                                                     std::vector<double>& deviations) {
  writeStatistics(PointView(points), SphereDeviation::of(sphere), statistics, deviations);
}

void XGeoTolrance::calcStatisticsCircle2D(const std::vector<cv::Point_<float>>& points,
                                          const double& centerX, const double& centerY,
                                          const double& radius, double* const statistics,
                                          std::vector<double>& deviations) {
  writeStatistics(PlanarView(points), CircleDeviation{centerX, centerY, radius}, statistics,
                  deviations);
}

int XGeoTolrance::Intersection3Planes(const cv::Vec3d* normals, const cv::Point3d* points,
                                      cv::Mat& out) {
  return zelmo::internal::storeIntersection(normals, points, out);
}

void XGeoTolrance::getMatRByVector(const cv::Vec3d& from, const cv::Vec3d& to, cv::Mat& R) {
  zelmo::internal::storeRotation(from, to, R);
}

void XGeoTolrance::alignBy3Plane(const cv::Vec3d* targetNormals, const cv::Point3d* targetPoints,
                                 const cv::Vec3d* sourceNormals, const cv::Point3d* sourcePoints,
                                 double* const rt) {
  zelmo::internal::storeAlignment(zelmo::internal::PlaneTriple::of(targetNormals, targetPoints),
                                  zelmo::internal::PlaneTriple::of(sourceNormals, sourcePoints),
                                  OppositeCross::AboutFirstNormal, rt);
}

int XGeoTolrance::convertMatrixRT(const double* const in, double* const out) {
  return zelmo::internal::storeInverse(in, out);
}

void XGeoTolrance::projection2Plane(const std::vector<cv::Point3f>& points, double* const plane,
                                    std::vector<cv::Point3f>& out) {
  zelmo::internal::projectOnPlane(PointView(points), plane, out);
}

void XGeoTolrance::projection2Plane_tranformed(const std::vector<cv::Point3f>& points,
                                               double* const plane, std::vector<cv::Point2f>& out,
                                               double* const rt) {
  auto local = zelmo::internal::projectToLocal(PointView(points), plane, {});
  out.clear();
  if (!local) return;
  out = std::move(local->points);
  const auto& map = local->frame.local_from_world;
  if (rt != nullptr) std::copy(map.begin(), map.end(), rt);
}

}  // namespace xgeomeasure
