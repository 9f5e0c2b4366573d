// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/model/internal/face_analysis.h"

#include <cmath>

#include <BRepTools.hxx>
#include <BRep_Tool.hxx>
#include <GeomLib.hxx>
#include <Geom_BSplineSurface.hxx>
#include <Geom_ConicalSurface.hxx>
#include <Geom_CylindricalSurface.hxx>
#include <Geom_Plane.hxx>
#include <Geom_RectangularTrimmedSurface.hxx>
#include <Geom_SphericalSurface.hxx>
#include <TopoDS.hxx>

#include "zelmo/model/internal/surface_patch.h"

namespace zelmo::internal {

using namespace xmodelfeature;  // NOLINT(google-build-using-namespace): the enumerators of one enum

namespace {

constexpr double kPatchMargin = 0.1;  // of the parametric extent
constexpr double kNormalTolerance = 1e-7;
constexpr double kHalfTurn = M_PI;

/// The surface whose type decides: what trimming was laid upon.
Handle(Geom_Surface) untrimmed(Handle(Geom_Surface) surface) {
  while (!surface.IsNull() &&
         surface->DynamicType() == STANDARD_TYPE(Geom_RectangularTrimmedSurface)) {
    surface = Handle(Geom_RectangularTrimmedSurface)::DownCast(surface)->BasisSurface();
  }
  return surface;
}

void writeAnalyticPlane(const SurfacePatch& patch, std::vector<float>& data) {
  const SurfaceBounds& b = patch.bounds;
  // CONTRACT: an estimate that fails leaves the normal (1, 0, 0); the face's orientation is ignored.
  gp_Dir normal(1, 0, 0);
  GeomLib::NormEstim(patch.surface, gp_Pnt2d(b.u_min, b.v_min), kNormalTolerance, normal);
  const double du = b.uSize() * kPatchMargin;
  const double dv = b.vSize() * kPatchMargin;
  const PatchCorners corners = {
      patch.at(b.u_min - du, b.v_min - dv), patch.at(b.u_max + du, b.v_min - dv),
      patch.at(b.u_min - du, b.v_max + dv), patch.at(b.u_max + du, b.v_max + dv)};
  writePlane(normal.XYZ(), patch.middle(), corners, data);
}

/// Opposite points of the two end circles of a surface of revolution. CONTRACT: at the angles 0 and
/// half a turn whatever part of the turn the face covers, so that it gets its full radius.
struct EndCircles {
  explicit EndCircles(const SurfacePatch& patch)
      : a(patch.at(0.0, patch.bounds.v_min)),
        b(patch.at(kHalfTurn, patch.bounds.v_min)),
        c(patch.at(0.0, patch.bounds.v_max)),
        d(patch.at(kHalfTurn, patch.bounds.v_max)) {}

  gp_XYZ a, b;  // at the smallest v
  gp_XYZ c, d;  // at the largest v
};

void writeAnalyticCylinder(const SurfacePatch& patch, std::vector<float>& data) {
  const EndCircles ends(patch);
  const gp_XYZ axis = hardUnit(ends.c - ends.a);
  const gp_XYZ base = roundedToFloat((ends.a + ends.b) * 0.5);
  const gp_XYZ top = roundedToFloat((ends.c + ends.d) * 0.5);
  FloatRow(data) << (base + top) * 0.5 << axis << (ends.a - ends.b).Modulus() * 0.5
                 << (ends.c - ends.a).Modulus() << base << top;
}

void writeAnalyticCone(const SurfacePatch& patch, std::vector<float>& data) {
  const EndCircles ends(patch);
  const gp_XYZ m1 = (ends.a + ends.b) * 0.5;
  const gp_XYZ m2 = (ends.c + ends.d) * 0.5;
  const gp_XYZ direction = hardUnit(m2 - m1);
  const double r1 = (ends.a - ends.b).Modulus() * 0.5;
  const double r2 = (ends.c - ends.d).Modulus() * 0.5;
  const double height = (m2 - m1).Modulus();
  if (r1 <= r2) {
    const double to_apex = height * r1 / (r2 - r1);
    FloatRow(data) << m1 - direction * to_apex << direction.Reversed()
                   << std::atan2(r2, to_apex + height) << m2 << m1 << height << r2 << r1;
  } else {
    const double to_apex = height * r2 / (r1 - r2);
    FloatRow(data) << m2 + direction * to_apex << direction << std::atan2(r1, to_apex + height)
                   << m1 << m2 << height << r1 << r2;
  }
}

void writeAnalyticSphere(const Handle(Geom_Surface) & surface, std::vector<float>& data) {
  const gp_Sphere sphere = Handle(Geom_SphericalSurface)::DownCast(surface)->Sphere();
  FloatRow(data) << sphere.Location().XYZ() << sphere.Radius();
}

}  // namespace

void writePlane(const gp_XYZ& normal, const gp_XYZ& center, const PatchCorners& corners,
                std::vector<float>& data) {
  const float a = static_cast<float>(normal.X());
  const float b = static_cast<float>(normal.Y());
  const float c = static_cast<float>(normal.Z());
  const gp_XYZ& p = corners.p00;
  const double d = -a * p.X() - b * p.Y() - c * p.Z();
  const gp_XYZ e1 = corners.p10 - corners.p00;
  const gp_XYZ e2 = corners.p01 - corners.p00;
  const float l1 = static_cast<float>(e1.Modulus());
  const float l2 = static_cast<float>(e2.Modulus());
  const bool along_u = l2 <= l1;
  FloatRow row(data);
  row << a << b << c << d << center << a << b << c;
  row << softUnit(along_u ? e1 : e2) << (along_u ? l1 : l2) << (along_u ? l2 : l1);
  row << corners.p00 << corners.p10 << corners.p01 << corners.p11;
}

ModelFeatureType classifyFace(const TopoDS_Face& face, std::vector<float>& data) {
  data.clear();
  if (face.IsNull()) return ModelUnknown;
  SurfacePatch patch;
  patch.surface = BRep_Tool::Surface(TopoDS::Face(face));  // the cast throws when it is none
  const Handle(Geom_Surface) basis = untrimmed(patch.surface);
  if (basis.IsNull()) return ModelUnknown;

  // The dynamic type tells what an adaptor would, at a fraction of its cost.
  const Handle(Standard_Type) kind = basis->DynamicType();
  if (kind == STANDARD_TYPE(Geom_SphericalSurface)) {
    writeAnalyticSphere(basis, data);
    return ModelSphere;
  }
  const bool is_plane = kind == STANDARD_TYPE(Geom_Plane);
  const bool is_cylinder = kind == STANDARD_TYPE(Geom_CylindricalSurface);
  const bool is_cone = kind == STANDARD_TYPE(Geom_ConicalSurface);
  const bool is_spline = kind == STANDARD_TYPE(Geom_BSplineSurface);
  if (!is_plane && !is_cylinder && !is_cone && !is_spline) return ModelUnknown;

  SurfaceBounds& b = patch.bounds;
  BRepTools::UVBounds(face, b.u_min, b.u_max, b.v_min, b.v_max);
  if (is_spline) return classifySplinePatch(patch, data);
  if (is_plane) {
    writeAnalyticPlane(patch, data);
    return ModelPlane;
  }
  if (is_cylinder) {
    writeAnalyticCylinder(patch, data);
    return ModelCylinder;
  }
  writeAnalyticCone(patch, data);
  return ModelCone;
}

}  // namespace zelmo::internal
