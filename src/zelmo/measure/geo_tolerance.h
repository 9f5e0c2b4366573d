// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <opencv2/core.hpp>
#include <zelmo/export.h>

namespace xgeomeasure {

/// Form, orientation and location tolerances of measured points against a feature that the caller
/// has already fitted.
///
/// Nothing is fitted here: a tolerance is the width of the band of signed deviations about the given
/// feature, not a minimum zone. Every operation is static, free of state and safe on several threads.
///
/// Points come as a vector or as float[3 * count] of interleaved x, y, z; a \p count of 0 or less
/// means none. Arithmetic on them is in double. Feature arrays are read only, in the length unit of
/// the points, and their normals and directions are used as they are: with a vector that is not unit
/// the deviations scale.
///
/// | Feature | Array |
/// |---|---|
/// | plane | double[6]: point x, y, z; normal |
/// | line | double[6]: point x, y, z; direction |
/// | circle | double[7]: center x, y, z; normal; radius |
/// | cylinder | double[7]: point of the axis x, y, z; direction; radius |
/// | sphere | double[4]: center x, y, z; radius |
///
/// \p useSigmaBand false: the extreme deviations of all points count, and \p sigmaFactor is not read.
/// True: only deviations from mean - \p sigmaFactor * s to mean + \p sigmaFactor * s count, limits
/// included, with mean and population standard deviation s of all points; there is one pass of
/// rejection. A band that keeps no deviation gives -2e10. Extremes start at -1e10 and 1e10 and
/// follow strict comparisons, so that a deviation that is NaN never becomes one.
///
/// Every tolerance returns -1.0 for fewer than 3 points.
class ZELMO_EXPORT XGeoTolrance {
 public:
  /// Largest less smallest signed distance from a plane.
  ///
  /// \param[in] points the points; as array float[3 * count]: x, y, z per point
  /// \param[in] plane double[6]
  /// \param[in] useSigmaBand whether deviations outside the band are left out
  /// \param[in] sigmaFactor half width of the band in standard deviations
  /// \return the flatness about \p plane, or -1.0 for fewer than 3 points
  static double calcFlatness(const std::vector<cv::Point3_<float>>& points, double* const plane,
                             bool useSigmaBand, double sigmaFactor);
  /// \copydoc calcFlatness
  /// \param[in] count number of points; 0 or less means none
  static double calcFlatness(const float* points, const int& count, double* const plane,
                             bool useSigmaBand, double sigmaFactor);

  /// Largest less smallest signed deviation from a line. The deviation of a point is its distance
  /// from the line, negative for a point behind the line's given point along the direction, and 0
  /// for a point within 0.01 of the given point in each coordinate.
  ///
  /// \param[in] points the points; as array float[3 * count]: x, y, z per point
  /// \param[in] line double[6], direction unit
  /// \param[in] useSigmaBand see the class
  /// \param[in] sigmaFactor see the class
  /// \return the straightness, or -1.0 for fewer than 3 points
  /// \note Not the width of the cylinder around the line: with points on both sides of the given
  ///     point the reaches ahead and behind add up, and the value depends on where that point lies.
  static double calcStraightness(const std::vector<cv::Point3_<float>>& points, double* const line,
                                 bool useSigmaBand, double sigmaFactor);
  /// \copydoc calcStraightness
  /// \param[in] count number of points; 0 or less means none
  static double calcStraightness(const float* points, const int& count, double* const line,
                                 bool useSigmaBand, double sigmaFactor);

  /// Largest less smallest of the distances from the axis less the radius. A point within 0.01 of
  /// the axis' given point in each coordinate counts as lying on the axis.
  ///
  /// \param[in] points the points; as array float[3 * count]: x, y, z per point
  /// \param[in] cylinder double[7], direction unit
  /// \param[in] useSigmaBand see the class
  /// \param[in] sigmaFactor see the class
  /// \return the cylindricity, or -1.0 for fewer than 3 points
  static double calcCylindricity(const std::vector<cv::Point3_<float>>& points,
                                 double* const cylinder, bool useSigmaBand, double sigmaFactor);
  /// \copydoc calcCylindricity
  /// \param[in] count number of points; 0 or less means none
  static double calcCylindricity(const float* points, const int& count, double* const cylinder,
                                 bool useSigmaBand, double sigmaFactor);

  /// Largest less smallest of the distances from the center less the radius.
  ///
  /// \param[in] points the points; as array float[3 * count]: x, y, z per point
  /// \param[in] sphere double[4]
  /// \param[in] useSigmaBand see the class
  /// \param[in] sigmaFactor see the class
  /// \return the sphericity, or -1.0 for fewer than 3 points
  static double calcSphericity(const std::vector<cv::Point3_<float>>& points, double* const sphere,
                               bool useSigmaBand, double sigmaFactor);
  /// \copydoc calcSphericity
  /// \param[in] count number of points; 0 or less means none
  static double calcSphericity(const float* points, const int& count, double* const sphere,
                               bool useSigmaBand, double sigmaFactor);

  /// Largest less smallest of the distances from the center less the radius, in the circle's plane:
  /// the points are projected on it and rounded to float, mapped to the plane's own frame, and
  /// rounded to float once more. The center is mapped as given, without projection.
  ///
  /// \param[in] points the points; as array float[3 * count]: x, y, z per point
  /// \param[in] circle double[7], normal unit
  /// \param[in] useSigmaBand see the class
  /// \param[in] sigmaFactor see the class
  /// \return the circularity; -1.0 for fewer than 3 points, for a zero or non-finite normal, for a
  ///     point set with a coordinate that is not finite, and for a set whose projections all lie
  ///     within 0.01 of their mean in each coordinate
  static double calcCircularity(const std::vector<cv::Point3_<float>>& points, double* const circle,
                                bool useSigmaBand, double sigmaFactor);
  /// \copydoc calcCircularity
  /// \param[in] count number of points; 0 or less means none
  static double calcCircularity(const float* points, const int& count, double* const circle,
                                bool useSigmaBand, double sigmaFactor);

  /// Straightness about the line through the measured line's point with the datum's direction.
  ///
  /// \param[in] points points of the measured line; as array float[3 * count]: x, y, z per point
  /// \param[in] line double[6]: the measured line; only its point is read
  /// \param[in] datum double[6]: the datum line; only its direction is read, unit
  /// \param[in] useSigmaBand see the class
  /// \param[in] sigmaFactor see the class
  /// \return the parallelism, or -1.0 for fewer than 3 points
  static double calcParallelism_Line_Line(const std::vector<cv::Point3_<float>>& points,
                                          double* const line, double* const datum,
                                          bool useSigmaBand, double sigmaFactor);
  /// \copydoc calcParallelism_Line_Line
  /// \param[in] count number of points; 0 or less means none
  static double calcParallelism_Line_Line(const float* points, const int& count, double* const line,
                                          double* const datum, bool useSigmaBand,
                                          double sigmaFactor);

  /// Largest less smallest signed distance from the plane through the measured line's point with the
  /// datum's normal.
  ///
  /// \param[in] points points of the measured line; as array float[3 * count]: x, y, z per point
  /// \param[in] line double[6]: the measured line; only its point is read
  /// \param[in] datum double[6]: the datum plane; only its normal is read, unit
  /// \param[in] useSigmaBand see the class
  /// \param[in] sigmaFactor see the class
  /// \return the parallelism, or -1.0 for fewer than 3 points
  static double calcParallelism_Line_Plane(const std::vector<cv::Point3_<float>>& points,
                                           double* const line, double* const datum,
                                           bool useSigmaBand, double sigmaFactor);
  /// \copydoc calcParallelism_Line_Plane
  /// \param[in] count number of points; 0 or less means none
  static double calcParallelism_Line_Plane(const float* points, const int& count,
                                           double* const line, double* const datum,
                                           bool useSigmaBand, double sigmaFactor);

  /// Flatness about the plane through the measured plane's point with the datum's normal.
  ///
  /// \param[in] points points of the measured plane; as array float[3 * count]: x, y, z per point
  /// \param[in] plane double[6]: the measured plane; only its point is read
  /// \param[in] datum double[6]: the datum plane; only its normal is read, unit
  /// \param[in] useSigmaBand see the class
  /// \param[in] sigmaFactor see the class
  /// \return the parallelism, or -1.0 for fewer than 3 points
  static double calcParallelism_Plane_Plane(const std::vector<cv::Point3_<float>>& points,
                                            double* const plane, double* const datum,
                                            bool useSigmaBand, double sigmaFactor);
  /// \copydoc calcParallelism_Plane_Plane
  /// \param[in] count number of points; 0 or less means none
  static double calcParallelism_Plane_Plane(const float* points, const int& count,
                                            double* const plane, double* const datum,
                                            bool useSigmaBand, double sigmaFactor);

  /// Straightness about the line through the measured line's point along that direction square to
  /// the datum which lies nearest to the measured direction.
  ///
  /// \param[in] points points of the measured line; as array float[3 * count]: x, y, z per point
  /// \param[in] line double[6]: the measured line
  /// \param[in] datum double[6]: the datum line; only its direction is read
  /// \param[in] useSigmaBand see the class
  /// \param[in] sigmaFactor see the class
  /// \return the perpendicularity; -1.0 for fewer than 3 points, and for directions whose cross
  ///     product is exactly 0
  static double calcPerpendicularity_Line_Line(const std::vector<cv::Point3_<float>>& points,
                                               double* const line, double* const datum,
                                               bool useSigmaBand, double sigmaFactor);
  /// \copydoc calcPerpendicularity_Line_Line
  /// \param[in] count number of points; 0 or less means none
  static double calcPerpendicularity_Line_Line(const float* points, const int& count,
                                               double* const line, double* const datum,
                                               bool useSigmaBand, double sigmaFactor);

  /// Straightness about the line through the measured line's point along the datum's normal.
  ///
  /// \param[in] points points of the measured line; as array float[3 * count]: x, y, z per point
  /// \param[in] line double[6]: the measured line; only its point is read
  /// \param[in] datum double[6]: the datum plane; only its normal is read, unit
  /// \param[in] useSigmaBand see the class
  /// \param[in] sigmaFactor see the class
  /// \return the perpendicularity, or -1.0 for fewer than 3 points
  static double calcPerpendicularity_Line_Plane(const std::vector<cv::Point3_<float>>& points,
                                                double* const line, double* const datum,
                                                bool useSigmaBand, double sigmaFactor);
  /// \copydoc calcPerpendicularity_Line_Plane
  /// \param[in] count number of points; 0 or less means none
  static double calcPerpendicularity_Line_Plane(const float* points, const int& count,
                                                double* const line, double* const datum,
                                                bool useSigmaBand, double sigmaFactor);

  /// The shorter side of the smallest rectangle around the points' projections on the datum plane.
  ///
  /// \param[in] points points of the measured plane; as array float[3 * count]: x, y, z per point
  /// \param[in] plane double[6]: the measured plane; read only with \p useSigmaBand, which leaves
  ///     out points by their deviation from it
  /// \param[in] datum double[6]: the datum plane, normal unit
  /// \param[in] useSigmaBand see the class
  /// \param[in] sigmaFactor see the class
  /// \return the perpendicularity; -1.0 for fewer than 3 points, for an empty band, for a zero or
  ///     non-finite normal, for a point set with a coordinate that is not finite, and for a set whose
  ///     projections all lie within 0.01 of their mean in each coordinate
  /// \note A width in the datum plane, not a deviation band. It grows with a bend of the measured
  ///     face as well as with its tilt.
  static double calcPerpendicularity_Plane_Plane(const std::vector<cv::Point3_<float>>& points,
                                                 double* const plane, double* const datum,
                                                 bool useSigmaBand, double sigmaFactor);
  /// \copydoc calcPerpendicularity_Plane_Plane
  /// \param[in] count number of points; 0 or less means none
  static double calcPerpendicularity_Plane_Plane(const float* points, const int& count,
                                                 double* const plane, double* const datum,
                                                 bool useSigmaBand, double sigmaFactor);

  /// The difference of the reaches ahead and behind: | |largest| - |smallest| | of the deviations
  /// from the datum axis as calcStraightness() takes them.
  ///
  /// \param[in] points points of the measured feature; as array float[3 * count]: x, y, z per point
  /// \param[in] feature not read; may be null
  /// \param[in] datum double[6]: the datum axis, direction unit
  /// \param[in] useSigmaBand see the class
  /// \param[in] sigmaFactor see the class
  /// \return the concentricity, or -1.0 for fewer than 3 points. An empty band gives 0.
  /// \note 0 for a set that reaches equally far ahead and behind, however far that is.
  static double calcConcentricity(const std::vector<cv::Point3_<float>>& points,
                                  double* const feature, double* const datum, bool useSigmaBand,
                                  double sigmaFactor);
  /// \copydoc calcConcentricity
  /// \param[in] count number of points; 0 or less means none
  static double calcConcentricity(const float* points, const int& count, double* const feature,
                                  double* const datum, bool useSigmaBand, double sigmaFactor);

  /// The point where three planes meet.
  ///
  /// \param[in] normals cv::Vec3d[3]
  /// \param[in] points cv::Point3d[3], one on each plane
  /// \param[out] out 3 by 1 matrix of doubles; untouched on 0
  /// \return 1 with a point; 0 when the determinant of the normals is NaN or lies strictly between
  ///     -1e-6 and 1e-6
  static int Intersection3Planes(const cv::Vec3d* normals, const cv::Point3d* points, cv::Mat& out);

  /// The rotation that carries one direction onto another.
  ///
  /// \param[in] from any length
  /// \param[in] to any length
  /// \param[out] R 3 by 3 matrix of doubles; the identity for a zero or non-finite vector
  static void getMatRByVector(const cv::Vec3d& from, const cv::Vec3d& to, cv::Mat& R);

  /// The rigid transform that carries three source planes onto three target planes. Where the
  /// crosses of the first two normals point opposite ways it turns about the first normal.
  ///
  /// \param[in] targetNormals cv::Vec3d[3]
  /// \param[in] targetPoints cv::Point3d[3], one on each target plane
  /// \param[in] sourceNormals cv::Vec3d[3]
  /// \param[in] sourcePoints cv::Point3d[3], one on each source plane
  /// \param[out] rt double[16], row-major 4 by 4; untouched when the source planes, or the rotated
  ///     ones through the target points, have no single point in common
  static void alignBy3Plane(const cv::Vec3d* targetNormals, const cv::Point3d* targetPoints,
                            const cv::Vec3d* sourceNormals, const cv::Point3d* sourcePoints,
                            double* const rt);

  /// The inverse of a rigid transform, by transposition; nothing tests that it is one.
  ///
  /// \param[in] in double[16], row-major 4 by 4
  /// \param[out] out double[16]; may be \p in
  /// \return 1
  static int convertMatrixRT(const double* const in, double* const out);

  /// Feet of the points on a plane.
  ///
  /// \param[in] points the points
  /// \param[in] plane double[4]: a, b, c, d of a x + b y + c z + d = 0, with (a, b, c) unit
  /// \param[out] out as many points, rounded to float; may be \p points
  static void projection2Plane(const std::vector<cv::Point3f>& points, double* const plane,
                               std::vector<cv::Point3f>& out);

  /// Feet of the points in the plane's own frame: origin at their mean, x towards the first of them
  /// that differs from it by at least 0.01 in a coordinate, z along the normal.
  ///
  /// \param[in] points the points
  /// \param[in] plane double[4]: a, b, c, d with (a, b, c) unit
  /// \param[out] out one point per point, rounded to float; empty when there is no such frame
  /// \param[out] rt double[16]: the transform into the frame, row-major 4 by 4; untouched when there
  ///     is none; may be null
  static void projection2Plane_tranformed(const std::vector<cv::Point3f>& points,
                                          double* const plane, std::vector<cv::Point2f>& out,
                                          double* const rt);

 private:
  // Statistics: double[4] largest, smallest, mean, population variance; one deviation per point.
  // Fewer than 3 points leave both untouched.
  static void calcStatistics_PlanePoint2Plane(const std::vector<cv::Point3_<float>>& points,
                                              double* const plane, double* const statistics,
                                              std::vector<double>& deviations);
  static void calcStatistics_LinePoint2Plane(const std::vector<cv::Point3_<float>>& points,
                                             double* const position, double* const normal,
                                             double* const statistics,
                                             std::vector<double>& deviations);
  static void calcStatistics_LinePoint2Line(const std::vector<cv::Point3_<float>>& points,
                                            double* const line, double* const statistics,
                                            std::vector<double>& deviations);
  static void calcStatistics_CylinderPoint2Cylinder(const std::vector<cv::Point3_<float>>& points,
                                                    double* const cylinder,
                                                    double* const statistics,
                                                    std::vector<double>& deviations);
  static void calcStatistics_SpherePoint2Sphere(const std::vector<cv::Point3_<float>>& points,
                                                double* const sphere, double* const statistics,
                                                std::vector<double>& deviations);
  static void calcStatisticsCircle2D(const std::vector<cv::Point_<float>>& points,
                                     const double& centerX, const double& centerY,
                                     const double& radius, double* const statistics,
                                     std::vector<double>& deviations);
  static double calcCircularity2D(const std::vector<cv::Point_<float>>& points,
                                  const double& centerX, const double& centerY,
                                  const double& radius, bool useSigmaBand, double sigmaFactor);
  static double calcCircularity2D(const float* points, const int& count, const double& centerX,
                                  const double& centerY, const double& radius, bool useSigmaBand,
                                  double sigmaFactor);
};

}  // namespace xgeomeasure
