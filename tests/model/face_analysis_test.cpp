// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cmath>

#include <BRepAdaptor_Surface.hxx>
#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeWire.hxx>
#include <Geom2d_Line.hxx>
#include <GeomConvert.hxx>
#include <Geom_BSplineSurface.hxx>
#include <Geom_ConicalSurface.hxx>
#include <Geom_CylindricalSurface.hxx>
#include <Geom_Line.hxx>
#include <Geom_OffsetSurface.hxx>
#include <Geom_Plane.hxx>
#include <Geom_RectangularTrimmedSurface.hxx>
#include <Geom_SphericalSurface.hxx>
#include <Geom_SurfaceOfLinearExtrusion.hxx>
#include <Geom_ToroidalSurface.hxx>
#include <Standard_ConstructionError.hxx>
#include <Standard_TypeMismatch.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <gmock/gmock.h>

#include "support/cad_shapes.h"
#include "zelmo/model/model_feature.h"

namespace xmodelfeature {
namespace {

using testing::ElementsAre;
using testing::FloatNear;
using testing::IsEmpty;
using testing::Pointwise;
using zelmo::test::patchOf;

constexpr double kPi = 3.14159265358979323846;

struct FaceInfo {
  ModelFeatureType type = ModelUnknown;
  std::vector<float> data = {99.0F};
};

FaceInfo infoOf(const TopoDS_Face& face) {
  FaceInfo info;
  XModelFeature::getFaceInfo(face, info.type, info.data);
  return info;
}

/// A face with no outline: its bounds are those of its surface.
TopoDS_Face bareFace(const Handle(Geom_Surface) & surface) {
  TopoDS_Face face;
  BRep_Builder().MakeFace(face, surface, 1e-7);
  return face;
}

std::vector<float> floats(std::initializer_list<double> values) {
  return {values.begin(), values.end()};
}

MATCHER_P2(IsFeature, type, data, "") {
  return testing::ExplainMatchResult(type, arg.type, result_listener) &&
         testing::ExplainMatchResult(Pointwise(FloatNear(2e-5F), data), arg.data, result_listener);
}

const gp_Ax3 kFrame(gp_Pnt(5, 6, 7), gp_Dir(0, 0, 1), gp_Dir(0, 1, 0));  // u runs along y

// ---- analytic faces ---------------------------------------------------------------------------

// The patch is widened by a tenth on every side, its corners stand in grid order, and neither the
// face's orientation nor a location changes the kind.
TEST(XModelFeatureFace, PlaneOnAWidenedPatch) {
  const TopoDS_Face face = patchOf(new Geom_Plane(kFrame), 0, 10, 0, 20);
  const FaceInfo info = infoOf(face);
  EXPECT_EQ(info.type, ModelPlane);
  const XFPlane plane(info.data);
  EXPECT_EQ(plane.c, 1.0F);
  EXPECT_EQ(plane.d, -7.0F);
  EXPECT_THAT(plane.center, Pointwise(FloatNear(1e-5F), floats({-5, 11, 7})));
  EXPECT_THAT(plane.normal, ElementsAre(0, 0, 1));
  EXPECT_THAT(plane.majorDir, Pointwise(FloatNear(1e-6F), floats({-1, 0, 0})));
  EXPECT_FLOAT_EQ(plane.length, 24.0F);
  EXPECT_FLOAT_EQ(plane.width, 12.0F);
  EXPECT_THAT(plane.corners,
              Pointwise(FloatNear(1e-5F), floats({7, 5, 7, 7, 17, 7, -17, 5, 7, -17, 17, 7})));
  EXPECT_EQ(infoOf(TopoDS::Face(face.Reversed())).data, info.data);
}

TEST(XModelFeatureFace, SquarePlaneTakesTheDirectionOfU) {
  const XFPlane plane(infoOf(patchOf(new Geom_Plane(kFrame), 0, 10, 3, 13)).data);
  EXPECT_THAT(plane.majorDir, Pointwise(FloatNear(1e-6F), floats({0, 1, 0})));
}

TEST(XModelFeatureFace, PartCylinderHasItsFullRadius) {
  const auto face = patchOf(new Geom_CylindricalSurface(kFrame, 3), 0.3, 0.9, -2, 8);
  EXPECT_THAT(infoOf(face),
              IsFeature(ModelCylinder, floats({5, 6, 10, 0, 0, 1, 3, 10, 5, 6, 5, 5, 6, 15})));
}

// Both ways that a cone can open along its surface's v: the axis always points to the apex.
TEST(XModelFeatureFace, ConePointsToItsApex) {
  const double angle = std::atan(0.5);
  const double slant = std::sqrt(1.25);  // of one unit of height
  const Handle(Geom_Surface) opening = new Geom_ConicalSurface(kFrame, angle, 4);
  EXPECT_THAT(
      infoOf(patchOf(opening, 0.3, 0.9, 0, 6 * slant)),
      IsFeature(ModelCone, floats({5, 6, -1, 0, 0, -1, angle, 5, 6, 13, 5, 6, 7, 6, 7, 4})));
  const Handle(Geom_Surface) closing = new Geom_ConicalSurface(kFrame, -angle, 4);
  EXPECT_THAT(infoOf(patchOf(closing, 0.3, 0.9, 0, 6 * slant)),
              IsFeature(ModelCone, floats({5, 6, 15, 0, 0, 1, angle, 5, 6, 7, 5, 6, 13, 6, 4, 1})));
}

TEST(XModelFeatureFace, SphereByCenterAndRadius) {
  const auto face = patchOf(new Geom_SphericalSurface(kFrame, 9), 1, 2, 0, 1);
  EXPECT_THAT(infoOf(face), IsFeature(ModelSphere, floats({5, 6, 7, 9})));
}

// The kind by dynamic type is the kind that an adaptor gives, and a sphere's numbers are the
// adaptor's to the last bit, also where trims and locations lie above the surface.
TEST(XModelFeatureFace, AgreesWithTheAdaptor) {
  const Handle(Geom_Surface) sphere = new Geom_SphericalSurface(kFrame, 9.1);
  const Handle(Geom_Surface) plane = new Geom_Plane(kFrame);
  const Handle(Geom_Surface) cylinder = new Geom_CylindricalSurface(kFrame, 2);
  const auto trimmed = [](const Handle(Geom_Surface) & s) {
    return Handle(Geom_Surface)(new Geom_RectangularTrimmedSurface(s, 0.1, 1.1, 0.2, 1.2));
  };
  const Handle(Geom_Surface) surfaces[] = {
      plane,
      sphere,
      cylinder,
      new Geom_ConicalSurface(kFrame, 0.2, 3),
      new Geom_ToroidalSurface(kFrame, 9, 2),
      new Geom_SurfaceOfLinearExtrusion(new Geom_Line(kFrame.Axis()), gp_Dir(1, 0, 0)),
      new Geom_OffsetSurface(plane, 2),
      new Geom_OffsetSurface(cylinder, 2),
      new Geom_OffsetSurface(sphere, 2),
      trimmed(plane),
      trimmed(sphere),
      GeomConvert::SurfaceToBSplineSurface(trimmed(plane))};
  for (const auto& surface : surfaces) {
    SCOPED_TRACE(surface->DynamicType()->Name());
    const TopoDS_Face bare = bareFace(surface);
    for (const TopLoc_Location& place :
         {TopLoc_Location(), TopLoc_Location(zelmo::test::tiltedPose())}) {
      const TopoDS_Face face = TopoDS::Face(bare.Moved(place));
      const BRepAdaptor_Surface adaptor(face, true);
      const FaceInfo info = infoOf(face);
      switch (adaptor.GetType()) {
        case GeomAbs_Plane:
          EXPECT_EQ(info.type, ModelPlane);
          break;
        case GeomAbs_Cylinder:
          EXPECT_EQ(info.type, ModelCylinder);
          break;
        case GeomAbs_Cone:
          EXPECT_EQ(info.type, ModelCone);
          break;
        case GeomAbs_BSplineSurface:
          EXPECT_EQ(info.type, ModelPlane);
          break;
        case GeomAbs_Sphere: {
          const gp_Pnt center = adaptor.Sphere().Location();
          EXPECT_EQ(info.data,
                    floats({center.X(), center.Y(), center.Z(), adaptor.Sphere().Radius()}));
          break;
        }
        default:
          EXPECT_EQ(info.type, ModelUnknown);
      }
      EXPECT_EQ(info.data.empty(), info.type == ModelUnknown);
    }
  }
}

TEST(XModelFeatureFace, BadFaces) {
  EXPECT_THAT(infoOf(TopoDS_Face()).data, IsEmpty());
  TopoDS_Face no_surface;
  BRep_Builder().MakeFace(no_surface);
  EXPECT_EQ(infoOf(no_surface).type, ModelUnknown);

  TopoDS_Face no_face;
  no_face.TShape(BRepBuilderAPI_MakeEdge(gp_Pnt(0, 0, 0), gp_Pnt(1, 0, 0)).Edge().TShape());
  try {
    infoOf(no_face);
    ADD_FAILURE() << "no exception";
  } catch (const Standard_TypeMismatch& failure) {
    EXPECT_STREQ(failure.GetMessageString(), "TopoDS::Face");
  }
  // A cylinder without height has no direction.
  const Handle(Geom_Surface) surface = new Geom_CylindricalSurface(kFrame, 2);
  TopoDS_Face flat = bareFace(surface);
  TopoDS_Edge circle = BRepBuilderAPI_MakeEdge(gp_Circ(kFrame.Ax2(), 2)).Edge();
  BRep_Builder().UpdateEdge(circle, new Geom2d_Line(gp_Pnt2d(0, 0), gp_Dir2d(1, 0)), flat, 1e-7);
  BRep_Builder().Add(flat, BRepBuilderAPI_MakeWire(circle).Wire());
  EXPECT_THROW(infoOf(flat), Standard_ConstructionError);
  EXPECT_NO_THROW(infoOf(bareFace(surface))) << "endless";
  EXPECT_NO_THROW(infoOf(bareFace(new Geom_Plane(kFrame))));
}

// ---- spline faces -----------------------------------------------------------------------------

Handle(Geom_BSplineSurface)
    splineOf(const Handle(Geom_Surface) & surface, double u0, double u1, double v0, double v1) {
  return GeomConvert::SurfaceToBSplineSurface(
      new Geom_RectangularTrimmedSurface(surface, u0, u1, v0, v1));
}

void setKnotRange(const Handle(Geom_BSplineSurface) & spline, double u0, double u1, double v0,
                  double v1) {
  TColStd_Array1OfReal u(1, spline->NbUKnots()), v(1, spline->NbVKnots());
  spline->UKnots(u);
  spline->VKnots(v);
  const auto stretch = [](TColStd_Array1OfReal& knots, double from, double to) {
    const double first = knots.First(), size = knots.Last() - first;
    for (int i = knots.Lower(); i <= knots.Upper(); ++i) {
      knots(i) = from + (to - from) * (knots(i) - first) / size;
    }
  };
  stretch(u, u0, u1);
  stretch(v, v0, v1);
  spline->SetUKnots(u);
  spline->SetVKnots(v);
}

/// A cylinder of radius 3 from z = -2 to z = 8 on the axis of kFrame, over a part of a turn: u along
/// the axis, v around it.
Handle(Geom_BSplineSurface) splineCylinder(double from, double to) {
  auto spline = splineOf(new Geom_CylindricalSurface(kFrame, 3), from, to, -2, 8);
  spline->IncreaseDegree(2, 3);
  spline->ExchangeUV();
  return spline;
}

TEST(XModelFeatureSplineFace, FlatPatchIsNotWidened) {
  const auto spline = splineOf(new Geom_Plane(kFrame), 0, 10, 0, 20);
  const XFPlane plane(infoOf(bareFace(spline)).data);
  EXPECT_FLOAT_EQ(plane.length, 20.0F);
  EXPECT_FLOAT_EQ(plane.width, 10.0F);
  EXPECT_THAT(plane.center, Pointwise(FloatNear(1e-5F), floats({-5, 11, 7})));
  EXPECT_THAT(plane.majorDir, Pointwise(FloatNear(1e-6F), floats({-1, 0, 0})));
  EXPECT_THAT(plane.corners,
              Pointwise(FloatNear(1e-5F), floats({5, 6, 7, 5, 16, 7, -15, 6, 7, -15, 16, 7})));
  EXPECT_FLOAT_EQ(plane.d, -7.0F * plane.c);

  // One corner out of the plane: the crosses of its sides turn by 0.02 and by 0.0002.
  for (const double lift : {0.2, 0.002}) {
    const auto bent = Handle(Geom_BSplineSurface)::DownCast(spline->Copy());
    bent->SetPole(2, 2, bent->Pole(2, 2).Translated(gp_Vec(0, 0, lift)));
    EXPECT_EQ(infoOf(bareFace(bent)).type, lift > 0.01 ? ModelUnknown : ModelPlane) << lift;
  }
  for (const auto& degrees : {std::array<int, 2>{1, 2}, {2, 1}, {2, 2}, {3, 3}}) {
    const auto raised = Handle(Geom_BSplineSurface)::DownCast(spline->Copy());
    raised->IncreaseDegree(degrees[0], degrees[1]);
    EXPECT_EQ(infoOf(bareFace(raised)).type, ModelUnknown);
  }
}

// The axis runs from top to base, unlike that of an analytic cylinder.
TEST(XModelFeatureSplineFace, CylinderWithItsEndsTheOtherWayRound) {
  for (const double turn : {2 * kPi, 0.9}) {
    EXPECT_THAT(infoOf(bareFace(splineCylinder(0.3, 0.3 + turn))),
                IsFeature(ModelCylinder, floats({5, 6, 10, 0, 0, 1, 3, 10, 5, 6, 15, 5, 6, 5})))
        << turn;
  }
}

TEST(XModelFeatureSplineFace, CylinderNeedsItsPoles) {
  const auto cylinder = [](int u_degree, int v_degree, bool exchange) {
    auto spline = splineOf(new Geom_CylindricalSurface(kFrame, 3), 0.3, 0.9, -2, 8);
    spline->IncreaseDegree(v_degree, u_degree);  // v around, u along
    if (!exchange) spline->ExchangeUV();
    return infoOf(bareFace(spline)).type;
  };
  EXPECT_EQ(cylinder(3, 2, false), ModelCylinder) << "4 by 3 poles";
  EXPECT_EQ(cylinder(2, 3, false), ModelUnknown) << "3 by 4";
  EXPECT_EQ(cylinder(1, 2, false), ModelUnknown) << "2 along the axis, as exporters write it";
  EXPECT_EQ(cylinder(3, 3, true), ModelUnknown) << "v along the axis, not trimmed";
}

/// A trimmed spline cylinder with u around and v along the axis and the given sizes of the ranges.
TopoDS_Face trimmedCylinder(double u_size, double v_size, int v_degree = 3) {
  auto spline = splineOf(new Geom_CylindricalSurface(kFrame, 3), 0.3, 0.9, -2, 8);
  spline->IncreaseDegree(3, v_degree);
  setKnotRange(spline, 0, u_size, 0, v_size);
  return bareFace(new Geom_RectangularTrimmedSurface(spline, 0, u_size, 0, v_size));
}

TEST(XModelFeatureSplineFace, TrimmedSurfaceOfUnitRangesIsTriedTransposed) {
  EXPECT_THAT(infoOf(trimmedCylinder(1, 1)),
              IsFeature(ModelCylinder, floats({5, 6, 10, 0, 0, 1, 3, 10, 5, 6, 15, 5, 6, 5})));
  EXPECT_EQ(infoOf(trimmedCylinder(1.00009, 0.99991)).type, ModelCylinder);
  EXPECT_EQ(infoOf(trimmedCylinder(1, 1.0002)).type, ModelUnknown);
  EXPECT_EQ(infoOf(trimmedCylinder(2, 1)).type, ModelUnknown);
  EXPECT_EQ(infoOf(trimmedCylinder(1, 1, 2)).type, ModelUnknown) << "three poles along the axis";
  EXPECT_EQ(infoOf(trimmedCylinder(1, kPi)).type, ModelUnknown) << "only tried as it stands";
  for (const double v_size : {kPi / 2, kPi, 2 * kPi, 1.7}) {
    auto spline = splineCylinder(0.3, 0.9);
    setKnotRange(spline, 0, 5, 0, v_size);
    const TopoDS_Face face = bareFace(new Geom_RectangularTrimmedSurface(spline, 0, 5, 0, v_size));
    EXPECT_EQ(infoOf(face).type, v_size == 1.7 ? ModelUnknown : ModelCylinder) << v_size;
  }
}

/// A part of a sphere of radius 9 about the origin of kFrame with rows along its parallels, over
/// u = 4 to 20 and v = 0 to 16, where a pole is felt no farther than about one unit of v.
Handle(Geom_BSplineSurface) splineSphere(int poles) {
  auto spline = splineOf(new Geom_SphericalSurface(kFrame, 9), 0.2, 1.2, -0.4, 0.5);
  spline->ExchangeUV();
  setKnotRange(spline, 4, 20, 0, 16);
  for (int i = 1; i < poles - 2; ++i) {
    spline->InsertUKnot(4 + 16.0 * i / (poles - 2), 1, 1e-9);
    spline->InsertVKnot(16.0 * i / (poles - 2), 1, 1e-9);
  }
  return spline;
}

TEST(XModelFeatureSplineFace, SphereNeedsNinePoles) {
  EXPECT_THAT(infoOf(bareFace(splineSphere(9))), IsFeature(ModelSphere, floats({5, 6, 7, 9})));
  EXPECT_EQ(infoOf(bareFace(splineSphere(8))).type, ModelUnknown);
}

// The second and third sample in v start from the smallest u, here 4: samples at 3, 11 and 15, none
// at 7, where this surface has a dent.
TEST(XModelFeatureSplineFace, SphereSamplesStartFromU) {
  const auto dent = [](double v) {
    auto spline = splineSphere(34);
    for (int j = 1; j <= spline->NbVPoles(); ++j) {
      const double felt_at = (j - 2) * 0.5;  // about the middle of what the pole moves
      if (std::fabs(felt_at - v) > 0.6) continue;
      for (int i = 1; i <= spline->NbUPoles(); ++i) {
        spline->SetPole(i, j, spline->Pole(i, j).Translated(gp_Vec(0, 0, 0.5 + 0.1 * i)));
      }
    }
    return infoOf(bareFace(spline)).type;
  };
  EXPECT_EQ(dent(7), ModelSphere);
  for (const double v : {3.0, 11.0, 15.0}) EXPECT_EQ(dent(v), ModelUnknown) << v;
}

TEST(XModelFeatureSplineFace, NothingElseIsRecognised) {
  const auto unknown = [](const TopoDS_Shape& shape) {
    int count = 0;
    for (const TopoDS_Face& face : zelmo::test::facesOf(zelmo::test::asSplines(shape))) {
      const FaceInfo info = infoOf(face);
      if (info.type == ModelUnknown) {
        ++count;
        EXPECT_THAT(info.data, IsEmpty());
      }
    }
    return count;
  };
  EXPECT_EQ(unknown(BRepPrimAPI_MakeTorus(9, 2).Shape()), 1);
  EXPECT_EQ(unknown(BRepPrimAPI_MakeCone(6, 2, 9).Shape()), 1);
  EXPECT_EQ(unknown(BRepPrimAPI_MakeCylinder(4, 5).Shape()), 1) << "two poles along the axis";
  EXPECT_EQ(unknown(BRepPrimAPI_MakeBox(1, 2, 3).Shape()), 0);
  // Free form: a cylinder with one pole lifted.
  auto bumpy = splineCylinder(0.3, 0.9);
  bumpy->SetPole(2, 2, bumpy->Pole(2, 2).Translated(gp_Vec(0.5, 0.5, 0.5)));
  EXPECT_EQ(infoOf(bareFace(bumpy)).type, ModelUnknown);
  // An elliptic cylinder: the poles of the round one stretched.
  auto elliptic = splineCylinder(0, 2 * kPi);
  for (int i = 1; i <= elliptic->NbUPoles(); ++i) {
    for (int j = 1; j <= elliptic->NbVPoles(); ++j) {
      const gp_Pnt p = elliptic->Pole(i, j);
      elliptic->SetPole(i, j, gp_Pnt(5 + 1.3 * (p.X() - 5), p.Y(), p.Z()));
    }
  }
  EXPECT_EQ(infoOf(bareFace(elliptic)).type, ModelUnknown);
}

}  // namespace
}  // namespace xmodelfeature
