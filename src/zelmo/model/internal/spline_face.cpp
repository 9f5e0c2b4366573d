// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cmath>
#include <optional>

#include <GeomConvert.hxx>
#include <Geom_BSplineSurface.hxx>
#include <Geom_RectangularTrimmedSurface.hxx>
#include <Standard_Failure.hxx>

#include "zelmo/internal/through_points.h"
#include "zelmo/model/internal/edge_analysis.h"
#include "zelmo/model/internal/surface_patch.h"

namespace zelmo::internal {

using namespace xmodelfeature;  // NOLINT(google-build-using-namespace): the enumerators of one enum

namespace {

constexpr double kSameRange = 1e-4;
constexpr double kFlatCosine = 1e-6;
constexpr double kSampleStep = 0.0625;  // of the range of a parameter
constexpr double kClosedGap = 0.001;
constexpr double kSameCircleRadius = 0.05;  // of two circles through one row of samples
constexpr double kSameRowRadius = 0.02;     // of the circles of two rows
constexpr double kStraightCosine = 1e-4;
constexpr double kOnCenter = 0.001;
constexpr double kSameSphere = 0.01;
constexpr int kFewestCylinderUPoles = 4;
constexpr int kFewestCylinderVPoles = 3;
constexpr int kFewestTransposedPoles = 4;
constexpr int kFewestSpherePoles = 9;

bool isCloseIn3(const gp_XYZ& a, const gp_XYZ& b, double limit) {
  return std::fabs(a.X() - b.X()) < limit && std::fabs(a.Y() - b.Y()) < limit &&
         std::fabs(a.Z() - b.Z()) < limit;
}

// ---- plane ------------------------------------------------------------------------------------

bool hasParallelCorners(const Geom_BSplineSurface& spline) {
  const gp_XYZ p11 = spline.Pole(1, 1).XYZ();
  const gp_XYZ p12 = spline.Pole(1, 2).XYZ();
  const gp_XYZ p21 = spline.Pole(2, 1).XYZ();
  const gp_XYZ p22 = spline.Pole(2, 2).XYZ();
  const gp_XYZ w0 = softUnit((p12 - p11).Crossed(p21 - p11));
  const gp_XYZ w1 = softUnit((p12 - p11).Crossed(p12 - p22));
  const gp_XYZ w2 = softUnit((p21 - p22).Crossed(p21 - p11));
  const gp_XYZ w3 = softUnit((p21 - p22).Crossed(p12 - p22));
  const auto are_parallel = [](const gp_XYZ& a, const gp_XYZ& b) {
    return std::fabs(std::fabs(a.Dot(b)) - 1.0) < kFlatCosine;
  };
  return are_parallel(w0, w1) && are_parallel(w2, w0) && are_parallel(w3, w1) &&
         are_parallel(w3, w2);
}

void writeFlatPatch(const SurfacePatch& patch, std::vector<float>& data) {
  const SurfaceBounds& b = patch.bounds;
  // CONTRACT: not widened, unlike the patch of an analytic plane.
  const PatchCorners q = {patch.at(b.u_min, b.v_min), patch.at(b.u_max, b.v_min),
                          patch.at(b.u_min, b.v_max), patch.at(b.u_max, b.v_max)};
  const gp_XYZ normal = softUnit((q.p10 - q.p00).Crossed(q.p01 - q.p00));
  writePlane(normal, patch.middle(), q, data);
}

// ---- cylinder ---------------------------------------------------------------------------------

using SampleGrid = std::array<std::array<gp_XYZ, 4>, 4>;  // [u][v]

std::array<double, 4> sampleParameters(double first, double last, bool closed) {
  const double step = (last - first) * kSampleStep;
  if (closed) return {first, first + 4 * step, first + 7 * step, first + 11 * step};
  return {first, first + 6 * step, first + 10 * step, last};
}

SampleGrid sampleGrid(const SurfacePatch& patch) {
  const SurfaceBounds& b = patch.bounds;
  const gp_XYZ r00 = patch.at(b.u_min, b.v_min);
  const gp_XYZ r01 = patch.at(b.u_min, b.v_max);
  const gp_XYZ r11 = patch.at(b.u_max, b.v_max);
  const auto us = sampleParameters(b.u_min, b.u_max, isCloseIn3(r01, r11, kClosedGap));
  const auto vs = sampleParameters(b.v_min, b.v_max, isCloseIn3(r01, r00, kClosedGap));
  SampleGrid grid;
  for (std::size_t i = 0; i < 4; ++i) {
    for (std::size_t j = 0; j < 4; ++j) grid[i][j] = patch.at(us[i], vs[j]);
  }
  return grid;
}

struct RowCircle {
  gp_XYZ center;
  double radius = 0.0;
};
using RowCircles = std::array<RowCircle, 4>;

/// One circle for each row of samples; nothing when some row lies on none.
std::optional<RowCircles> circlesOfRows(const SampleGrid& grid) {
  RowCircles circles;
  for (std::size_t i = 0; i < 4; ++i) {
    const auto& row = grid[i];
    const auto first = circleThrough(row[1], row[3], row[0]);
    const auto second = circleThrough(row[1], row[3], row[2]);
    if (!first || !second) return std::nullopt;
    if (!(std::fabs(first->Radius() - second->Radius()) < kSameCircleRadius)) return std::nullopt;
    circles[i] = {second->Location().XYZ(), (first->Radius() + second->Radius()) * 0.5};
  }
  return circles;
}

SampleGrid transposed(const SampleGrid& grid) {
  SampleGrid out;
  for (std::size_t i = 0; i < 4; ++i) {
    for (std::size_t j = 0; j < 4; ++j) out[j][i] = grid[i][j];
  }
  return out;
}

bool areAlike(const RowCircles& circles) {
  const auto same = [&circles](std::size_t i, std::size_t j) {
    return std::fabs(circles[i].radius - circles[j].radius) < kSameRowRadius;
  };
  return same(0, 1) && same(2, 3) && same(0, 3);
}

/// Whether the centers go straight on; centers that turn back do not.
bool areInLine(const RowCircles& circles) {
  const gp_XYZ d0 = hardUnit(circles[1].center - circles[0].center);
  const gp_XYZ d1 = hardUnit(circles[2].center - circles[1].center);
  const gp_XYZ d2 = hardUnit(circles[3].center - circles[2].center);
  const auto same = [](const gp_XYZ& a, const gp_XYZ& b) {
    return std::fabs(a.Dot(b) - 1.0) < kStraightCosine;
  };
  return same(d0, d1) && same(d2, d1) && same(d2, d0);
}

/// Writes the cylinder of four circles when they belong to one.
bool writeSplineCylinder(const RowCircles& circles, const gp_XYZ& corner,
                         std::vector<float>& data) {
  if (!areAlike(circles) || !areInLine(circles)) return false;
  const gp_XYZ first = circles[0].center;
  const gp_XYZ last = circles[3].center;
  const gp_XYZ axis = hardUnit(last - first);
  const gp_XYZ g = roundedToFloat(corner);
  const double radius =
      isCloseIn3(g, first, kOnCenter) ? circles[0].radius : (g - first).Crossed(axis).Modulus();
  const gp_XYZ center = (roundedToFloat(first) + roundedToFloat(last)) * 0.5;
  // CONTRACT: base is the last center and top the first, so the axis runs from top to base, the
  // other way than that of an analytic cylinder.
  FloatRow(data) << center << axis << radius << (last - first).Modulus() << last << first;
  return true;
}

// ---- sphere -----------------------------------------------------------------------------------

using FloatPoint = std::array<float, 3>;

FloatPoint asFloats(const gp_XYZ& p) {
  return {static_cast<float>(p.X()), static_cast<float>(p.Y()), static_cast<float>(p.Z())};
}

/// Center and radius of the sphere through four points.
std::optional<std::array<float, 4>> sphereOf(const std::array<FloatPoint, 4>& points) {
  std::array<float, 12> row;
  for (std::size_t i = 0; i < row.size(); ++i) row[i] = points[i / 3][i % 3];
  const auto sphere = sphereThrough(row.data(), SquareSums::InDouble);
  if (!sphere) return std::nullopt;
  return std::array<float, 4>{sphere->center[0], sphere->center[1], sphere->center[2],
                              sphere->radius};
}

bool writeSplineSphere(const SurfacePatch& patch, std::vector<float>& data) {
  const SurfaceBounds& b = patch.bounds;
  const double su = b.uSize() * kSampleStep;
  const double sv = b.vSize() * kSampleStep;
  const double us[3] = {b.u_min + 3 * su, b.u_min + 7 * su, b.u_min + 11 * su};
  // CONTRACT: the second and the third sample in v start from the smallest u.
  const double vs[3] = {b.v_min + 3 * sv, b.u_min + 7 * sv, b.u_min + 11 * sv};
  std::array<std::array<FloatPoint, 3>, 3> grid;
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < 3; ++j) grid[i][j] = asFloats(patch.at(us[i], vs[j]));
  }
  const FloatPoint fourth[3] = {grid[1][1], grid[2][2], grid[0][0]};
  std::array<float, 4> first{};
  for (std::size_t i = 0; i < 3; ++i) {
    const auto sphere = sphereOf({grid[i][0], grid[i][1], grid[i][2], fourth[i]});
    if (!sphere) return false;
    if (i == 0) first = *sphere;
    for (std::size_t k = 0; k < 4; ++k) {
      const float difference = (*sphere)[k] - first[k];
      if (!(std::fabs(static_cast<double>(difference)) < kSameSphere)) return false;
    }
  }
  // CONTRACT: the later spheres only vote; the mean is that of the first one with itself.
  for (const float value : first) {
    const float sum = value + value + value;
    data.push_back(sum / 3.0F);
  }
  return true;
}

// ---- entry ------------------------------------------------------------------------------------

bool isAbout(double range, double wanted) { return std::fabs(range - wanted) < kSameRange; }

/// A spline with the extra test that it may get.
struct SplineOfPatch {
  Handle(Geom_BSplineSurface) spline;
  bool try_transposed = false;
};

SplineOfPatch splineOf(const SurfacePatch& patch) {
  SplineOfPatch out;
  out.spline = Handle(Geom_BSplineSurface)::DownCast(patch.surface);
  if (!out.spline.IsNull()) return out;
  if (patch.surface->DynamicType() != STANDARD_TYPE(Geom_RectangularTrimmedSurface)) return out;
  const double v = patch.bounds.vSize();
  const bool is_part_of_turn = isAbout(v, M_PI) || isAbout(v, 2 * M_PI) || isAbout(v, M_PI / 2);
  out.try_transposed = !is_part_of_turn && isAbout(v, 1.0) && isAbout(patch.bounds.uSize(), 1.0);
  if (!is_part_of_turn && !out.try_transposed) return out;
  try {
    out.spline = GeomConvert::SurfaceToBSplineSurface(patch.surface);
  } catch (const Standard_Failure&) {  // NOLINT(bugprone-empty-catch): not convertible, no spline
  }
  return out;
}

bool isSplineCylinder(const SurfacePatch& patch, const SplineOfPatch& s, std::vector<float>& data) {
  const SampleGrid grid = sampleGrid(patch);
  if (const auto rows = circlesOfRows(grid)) return writeSplineCylinder(*rows, grid[0][0], data);
  if (!s.try_transposed || s.spline->NbUPoles() < kFewestTransposedPoles ||
      s.spline->NbVPoles() < kFewestTransposedPoles) {
    return false;
  }
  const auto columns = circlesOfRows(transposed(grid));
  return columns && writeSplineCylinder(*columns, grid[0][0], data);
}

}  // namespace

ModelFeatureType classifySplinePatch(const SurfacePatch& patch, std::vector<float>& data) {
  const SplineOfPatch s = splineOf(patch);
  if (s.spline.IsNull()) return ModelUnknown;
  const int nu = s.spline->NbUPoles();
  const int nv = s.spline->NbVPoles();
  if (nu == 2 && nv == 2) {
    if (!hasParallelCorners(*s.spline)) return ModelUnknown;
    writeFlatPatch(patch, data);
    return ModelPlane;
  }
  if (nu < kFewestCylinderUPoles || nv < kFewestCylinderVPoles) return ModelUnknown;
  if (isSplineCylinder(patch, s, data)) return ModelCylinder;
  if (nu >= kFewestSpherePoles && nv >= kFewestSpherePoles && writeSplineSphere(patch, data)) {
    return ModelSphere;
  }
  return ModelUnknown;
}

}  // namespace zelmo::internal
