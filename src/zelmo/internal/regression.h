// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include <opencv2/core.hpp>

#include "zelmo/internal/array_view.h"

namespace zelmo::internal {

/// Mean of all points, summed in double lanes. No points give (0, 0, 0).
cv::Vec3d centroidOf(const PointView& points);

/// Mean of all points, summed in input order and divided in float. No points give NaN.
cv::Vec3f floatCentroidOf(const PointView& points);

/// How the offset of a point from an origin is formed before it is widened to double.
enum class OffsetRounding {
  None,     ///< in double: regression plane, line fit
  ToFloat,  ///< in float: principal axes of cylinder and cone, guided fits
};

/// Sums of products of the coordinates less \p origin: the matrix A^T A of the n by 3 matrix of
/// offsets. With OffsetRounding::ToFloat the origin must hold floats.
cv::Matx33d scatterAbout(const PointView& points, const cv::Vec3d& origin,
                         OffsetRounding rounding = OffsetRounding::None);

/// Orthogonal regression plane.
struct RegressionPlane {
  cv::Vec3d centroid;
  cv::Vec3d normal;  ///< unit; its sign is the one the decomposition gives
  double offset;     ///< d of n . x + d = 0
};

/// The plane of smallest squared distances, by cv::SVD::compute on A^T A.
/// \return nothing with fewer than 3 points; collinear points give some plane through their line,
///     and a coordinate that is not finite gives parameters that are not finite
/// Callers: x3dfit::XPlaneFit, zelmolm::XPlaneFitLM, guided plane fit.
std::optional<RegressionPlane> regressionPlane(const PointView& points);

/// Axes of spread about the float centroid.
struct PrincipalAxes {
  cv::Vec3f centroid;
  cv::Mat values;   ///< 3 by 1 doubles, descending; sums of squares, not divided by the count
  cv::Mat vectors;  ///< 3 by 3 doubles, one unit vector a row, in the order of the values

  cv::Vec3d axis(int i) const { return cv::Vec3d(vectors.ptr<double>(i)); }
  double value(int i) const { return values.at<double>(i); }
};

/// cv::eigen of A^T A about the float centroid. No points give a centroid of NaN, values of 0 and
/// the axes of the world.
/// Callers: line, cylinder and cone of x3dfit, guided cylinder.
PrincipalAxes principalAxes(const PointView& points, OffsetRounding rounding);

struct AlgebraicSphere {
  cv::Vec3d center;
  double radius;  ///< NaN where the solution is no real sphere
};

/// The algebraic least-squares sphere x^2 + y^2 + z^2 + D x + E y + F z + G = 0, by cv::Mat::inv on
/// the normal equations about the mean.
/// \return nothing with fewer than 4 points; a singular system (coplanar points) gives the mean and
///     a radius of 0, since cv::Mat::inv then gives zeros
/// Callers: x3dfit::XSphereFit, zelmolm::XSphereFitLM.
std::optional<AlgebraicSphere> algebraicSphere(const PointView& points);

struct AlgebraicCircle {
  double cx, cy, radius;
};

/// Which points enter the sums of an algebraic circle; its count is that of all points.
enum class SummedPoints {
  All,        ///< x3dfit circles, guided circle
  FirstHalf,  ///< the first (count + 1) / 2: damped circle
};

/// The algebraic least-squares circle.
/// \return nothing when the radicand is negative or NaN (no points, one point, collinear points
///     where rounding leaves no system to solve)
std::optional<AlgebraicCircle> algebraicCircle(const PlanarView& points,
                                               SummedPoints summed = SummedPoints::All);

}  // namespace zelmo::internal
