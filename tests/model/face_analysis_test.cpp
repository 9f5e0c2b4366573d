// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cmath>

#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeWire.hxx>
#include <BSplCLib.hxx>
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

// A plane's patch is widened by a tenth on every side, with its corners in grid order and, where it is
// square, the direction of u. Parts of a turn have their full radius. The axis of a cone points to its
// apex, whichever way it opens along v. Orientation does not count, trims and places keep the kind.
TEST(XModelFeatureFace, AnalyticFacesByTheirRecords) {
  const auto expect = [](const Handle(Geom_Surface) & surface, std::array<double, 4> b,
                         ModelFeatureType type, std::initializer_list<double> data) {
    const TopoDS_Face face = patchOf(surface, b[0], b[1], b[2], b[3]);
    EXPECT_THAT(infoOf(face), IsFeature(type, floats(data)));
    EXPECT_THAT(infoOf(TopoDS::Face(face.Reversed())), IsFeature(type, floats(data)));
    const TopoDS_Face trimmed =
        bareFace(new Geom_RectangularTrimmedSurface(surface, b[0], b[1], b[2], b[3]));
    EXPECT_THAT(infoOf(trimmed), IsFeature(type, floats(data)));
    EXPECT_EQ(infoOf(TopoDS::Face(trimmed.Moved(zelmo::test::tiltedPose()))).type, type);
  };
  const double angle = std::atan(0.5), slope = 6 * std::sqrt(1.25);  // the slant height of 6
  expect(new Geom_Plane(kFrame), {0, 10, 0, 20}, ModelPlane,
         {0,  0, 1, -7, -5, 11, 7, 0,   0, 1, -1,  0,  0, 24,
          12, 7, 5, 7,  7,  17, 7, -17, 5, 7, -17, 17, 7});
  expect(
      new Geom_Plane(kFrame), {0, 10, 3, 13}, ModelPlane,
      {0, 0, 1, -7, -3, 11, 7, 0, 0, 1, 0, 1, 0, 12, 12, 3, 5, 7, 3, 17, 7, -9, 5, 7, -9, 17, 7});
  expect(new Geom_CylindricalSurface(kFrame, 3), {0.3, 0.9, -2, 8}, ModelCylinder,
         {5, 6, 10, 0, 0, 1, 3, 10, 5, 6, 5, 5, 6, 15});
  expect(new Geom_ConicalSurface(kFrame, angle, 4), {0.3, 0.9, 0, slope}, ModelCone,
         {5, 6, -1, 0, 0, -1, angle, 5, 6, 13, 5, 6, 7, 6, 7, 4});
  expect(new Geom_ConicalSurface(kFrame, -angle, 4), {0.3, 0.9, 0, slope}, ModelCone,
         {5, 6, 15, 0, 0, 1, angle, 5, 6, 7, 5, 6, 13, 6, 4, 1});
  expect(new Geom_SphericalSurface(kFrame, 9), {1, 2, 0, 1}, ModelSphere, {5, 6, 7, 9});
  const Handle(Geom_Curve) line = new Geom_Line(kFrame.Axis());
  expect(new Geom_ToroidalSurface(kFrame, 9, 2), {0, 1, 0, 1}, ModelUnknown, {});
  expect(new Geom_SurfaceOfLinearExtrusion(line, gp::DX()), {0, 1, 0, 1}, ModelUnknown, {});
  expect(new Geom_OffsetSurface(new Geom_CylindricalSurface(kFrame, 2), 2), {0, 1, 0, 1},
         ModelUnknown, {});
}

TEST(XModelFeatureFace, BadFaces) {
  EXPECT_THAT(infoOf(TopoDS_Face()).data, IsEmpty());
  TopoDS_Face no_surface, no_face;
  BRep_Builder().MakeFace(no_surface);
  EXPECT_EQ(infoOf(no_surface).type, ModelUnknown);
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
  BSplCLib::Reparametrize(u0, u1, u);
  BSplCLib::Reparametrize(v0, v1, v);
  spline->SetUKnots(u);
  spline->SetVKnots(v);
}

/// A cylinder of radius 3 from z = -2 to z = 8 on the axis of kFrame, over a part of a turn: u along
/// the axis, v around it.
Handle(Geom_BSplineSurface) splineCylinder(double turn, int degree_along = 3, int around = 2) {
  auto spline = splineOf(new Geom_CylindricalSurface(kFrame, 3), 0.3, 0.3 + turn, -2, 8);
  spline->IncreaseDegree(around, degree_along);
  spline->ExchangeUV();
  return spline;
}

TEST(XModelFeatureSplineFace, FlatPatchIsNotWidened) {
  const auto spline = splineOf(new Geom_Plane(kFrame), 0, 10, 0, 20);
  EXPECT_THAT(infoOf(bareFace(spline)),
              IsFeature(ModelPlane, floats({0,  0, 1, -7, -5, 11, 7, 0,   0, 1, -1,  0,  0, 20,
                                            10, 5, 6, 7,  5,  16, 7, -15, 6, 7, -15, 16, 7})));
  // One corner out of the plane: the crosses of its sides turn by 0.02 and by 0.0002.
  for (const double lift : {0.2, 0.002}) {
    const auto bent = Handle(Geom_BSplineSurface)::DownCast(spline->Copy());
    bent->SetPole(2, 2, bent->Pole(2, 2).Translated(gp_Vec(0, 0, lift)));
    EXPECT_EQ(infoOf(bareFace(bent)).type, lift > 0.01 ? ModelUnknown : ModelPlane) << lift;
  }
  for (const auto& degrees : {std::array<int, 2>{1, 2}, {2, 2}}) {
    const auto raised = Handle(Geom_BSplineSurface)::DownCast(spline->Copy());
    raised->IncreaseDegree(degrees[0], degrees[1]);
    EXPECT_EQ(infoOf(bareFace(raised)).type, ModelUnknown);
  }
}

// The axis runs from top to base, unlike that of an analytic cylinder. It has to lie along u, but for
// trimmed surfaces of unit ranges; other trimmed ones are tried over a quarter, half or whole turn.
TEST(XModelFeatureSplineFace, CylinderWithItsEndsTheOtherWayRound) {
  enum Axis { AlongU, AlongV };
  const struct {
    double turn;
    int degree_along, around;
    Axis axis;
    double u_size, v_size;  // of a trimmed surface
    ModelFeatureType type;
  } rows[] = {{2 * kPi, 3, 2, AlongU, 0, 0, ModelCylinder},
              {0.6, 3, 2, AlongU, 0, 0, ModelCylinder},
              {0.6, 2, 3, AlongU, 0, 0, ModelUnknown},
              {0.6, 1, 2, AlongU, 0, 0, ModelUnknown},  // as exporters write it
              {0.6, 3, 3, AlongV, 0, 0, ModelUnknown},
              {0.6, 3, 3, AlongV, 1, 1, ModelCylinder},
              {0.6, 3, 3, AlongV, 1.00009, 0.99991, ModelCylinder},
              {0.6, 3, 3, AlongV, 1, 1.0002, ModelUnknown},
              {0.6, 3, 3, AlongV, 2, 1, ModelUnknown},
              {0.6, 2, 3, AlongV, 1, 1, ModelUnknown},
              {0.6, 3, 3, AlongV, 1, kPi, ModelUnknown},
              {0.6, 3, 2, AlongU, 5, kPi / 2, ModelCylinder},
              {0.6, 3, 2, AlongU, 5, kPi, ModelCylinder},
              {0.6, 3, 2, AlongU, 5, 2 * kPi, ModelCylinder},
              {0.6, 3, 2, AlongU, 5, 1.7, ModelUnknown}};
  for (const auto& r : rows) {
    SCOPED_TRACE(&r - rows);
    auto spline = splineCylinder(r.turn, r.degree_along, r.around);
    if (r.axis == AlongV) spline->ExchangeUV();
    Handle(Geom_Surface) surface = spline;
    if (r.u_size > 0) {
      setKnotRange(spline, 0, r.u_size, 0, r.v_size);
      surface = new Geom_RectangularTrimmedSurface(spline, 0, r.u_size, 0, r.v_size);
    }
    EXPECT_THAT(infoOf(bareFace(surface)),
                IsFeature(r.type, r.type == ModelUnknown
                                      ? floats({})
                                      : floats({5, 6, 10, 0, 0, 1, 3, 10, 5, 6, 15, 5, 6, 5})));
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
    const auto faces = zelmo::test::facesOf(zelmo::test::asSplines(shape));
    return std::count_if(faces.begin(), faces.end(),
                         [](const auto& face) { return infoOf(face).type == ModelUnknown; });
  };
  EXPECT_EQ(unknown(BRepPrimAPI_MakeTorus(9, 2).Shape()), 1);
  EXPECT_EQ(unknown(BRepPrimAPI_MakeCone(6, 2, 9).Shape()), 1);
  EXPECT_EQ(unknown(BRepPrimAPI_MakeCylinder(4, 5).Shape()), 1) << "two poles along the axis";
  EXPECT_EQ(unknown(BRepPrimAPI_MakeBox(1, 2, 3).Shape()), 0);
  // Free form: a cylinder with one pole lifted.
  auto bumpy = splineCylinder(0.6);
  bumpy->SetPole(2, 2, bumpy->Pole(2, 2).Translated(gp_Vec(0.5, 0.5, 0.5)));
  EXPECT_EQ(infoOf(bareFace(bumpy)).type, ModelUnknown);
  // A cylinder whose circles turn back along the axis.
  auto folded = splineCylinder(0.6);
  for (int j = 1; j <= folded->NbVPoles(); ++j) {
    const double z[] = {0, 12, 0, -3};
    for (int i = 1; i <= 4; ++i) {
      const gp_Pnt p = folded->Pole(i, j);
      folded->SetPole(i, j, gp_Pnt(p.X(), p.Y(), z[i - 1]));
    }
  }
  EXPECT_EQ(infoOf(bareFace(folded)).type, ModelUnknown);
  // An elliptic cylinder: the poles of the round one stretched.
  auto elliptic = splineCylinder(2 * kPi);
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
