// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cmath>

#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BSplCLib.hxx>
#include <GeomConvert.hxx>
#include <Geom_BSplineSurface.hxx>
#include <Geom_ConicalSurface.hxx>
#include <Geom_CylindricalSurface.hxx>
#include <Geom_Plane.hxx>
#include <Geom_RectangularTrimmedSurface.hxx>
#include <Geom_SphericalSurface.hxx>
#include <Geom_ToroidalSurface.hxx>
#include <Standard_TypeMismatch.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <gmock/gmock.h>

#include "support/cad_shapes.h"
#include "support/rows.h"
#include "zelmo/model/model_3d_feature.h"
#include "zelmo/model/model_feature.h"

namespace xmodelfeature {
namespace {

using testing::ElementsAre;
using testing::FloatNear;
using testing::Pointwise;
using testing::SizeIs;
using zelmo::test::facesOf;
using zelmo::test::patchOf;
using zelmo::test::rowOf;
using zelmo::test::together;

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
                         ModelFeatureType type, const std::vector<float>& data) {
    const TopoDS_Face face = patchOf(surface, b[0], b[1], b[2], b[3]);
    EXPECT_THAT(infoOf(face), IsFeature(type, data));
    EXPECT_THAT(infoOf(TopoDS::Face(face.Reversed())), IsFeature(type, data));
    const TopoDS_Face trimmed =
        bareFace(new Geom_RectangularTrimmedSurface(surface, b[0], b[1], b[2], b[3]));
    EXPECT_THAT(infoOf(trimmed), IsFeature(type, data));
    EXPECT_EQ(infoOf(TopoDS::Face(trimmed.Moved(zelmo::test::tiltedPose()))).type, type);
  };
  const double angle = std::atan(0.5), slope = 6 * std::sqrt(1.25);  // the slant height of 6
  expect(new Geom_Plane(kFrame), {0, 10, 0, 20}, ModelPlane,
         rowOf(0, 0, 1, -7, -5, 11, 7, 0, 0, 1, -1, 0, 0, 24, 12, 7, 5, 7, 7, 17, 7, -17, 5, 7, -17,
               17, 7));
  expect(new Geom_Plane(kFrame), {0, 10, 3, 13}, ModelPlane,
         rowOf(0, 0, 1, -7, -3, 11, 7, 0, 0, 1, 0, 1, 0, 12, 12, 3, 5, 7, 3, 17, 7, -9, 5, 7, -9,
               17, 7));
  expect(new Geom_CylindricalSurface(kFrame, 3), {0.3, 0.9, -2, 8}, ModelCylinder,
         rowOf(5, 6, 10, 0, 0, 1, 3, 10, 5, 6, 5, 5, 6, 15));
  expect(new Geom_ConicalSurface(kFrame, angle, 4), {0.3, 0.9, 0, slope}, ModelCone,
         rowOf(5, 6, -1, 0, 0, -1, angle, 5, 6, 13, 5, 6, 7, 6, 7, 4));
  expect(new Geom_ConicalSurface(kFrame, -angle, 4), {0.3, 0.9, 0, slope}, ModelCone,
         rowOf(5, 6, 15, 0, 0, 1, angle, 5, 6, 7, 5, 6, 13, 6, 4, 1));
  expect(new Geom_SphericalSurface(kFrame, 9), {1, 2, 0, 1}, ModelSphere, rowOf(5, 6, 7, 9));
  expect(new Geom_ToroidalSurface(kFrame, 9, 2), {0, 1, 0, 1}, ModelUnknown, rowOf());
}

TEST(XModelFeatureFace, BadFaces) {
  EXPECT_THAT(infoOf(TopoDS_Face()), IsFeature(ModelUnknown, rowOf()));
  TopoDS_Face no_surface, no_face;
  BRep_Builder().MakeFace(no_surface);
  EXPECT_EQ(infoOf(no_surface).type, ModelUnknown);
  no_face.TShape(BRepBuilderAPI_MakeEdge(gp_Pnt(0, 0, 0), gp_Pnt(1, 0, 0)).Edge().TShape());
  EXPECT_THROW(infoOf(no_face), Standard_TypeMismatch);
  EXPECT_EQ(infoOf(bareFace(new Geom_CylindricalSurface(kFrame, 2))).type, ModelCylinder);
  EXPECT_EQ(infoOf(bareFace(new Geom_Plane(kFrame))).type, ModelPlane);
}

// ---- spline faces -----------------------------------------------------------------------------

using Spline = Handle(Geom_BSplineSurface);

Spline splineOf(const Handle(Geom_Surface) & surface, double u0, double u1, double v0, double v1) {
  return GeomConvert::SurfaceToBSplineSurface(
      new Geom_RectangularTrimmedSurface(surface, u0, u1, v0, v1));
}

void setKnotRange(const Spline& spline, double u0, double u1, double v0, double v1) {
  TColStd_Array1OfReal u(1, spline->NbUKnots()), v(1, spline->NbVKnots());
  spline->UKnots(u);
  spline->VKnots(v);
  BSplCLib::Reparametrize(u0, u1, u);
  BSplCLib::Reparametrize(v0, v1, v);
  spline->SetUKnots(u);
  spline->SetVKnots(v);
}

/// What becomes of a spline whose poles are moved: pole(i, j, p) gives the new place.
template <typename Pole>
ModelFeatureType typeWithPoles(const Spline& spline, Pole pole) {
  for (int i = 1; i <= spline->NbUPoles(); ++i) {
    for (int j = 1; j <= spline->NbVPoles(); ++j) {
      spline->SetPole(i, j, gp_Pnt(pole(i, j, spline->Pole(i, j).XYZ())));
    }
  }
  return infoOf(bareFace(spline)).type;
}

TEST(XModelFeatureSplineFace, FlatPatchIsNotWidened) {
  const auto flat = [] { return splineOf(new Geom_Plane(kFrame), 0, 10, 0, 20); };
  EXPECT_THAT(infoOf(bareFace(flat())),
              IsFeature(ModelPlane, rowOf(0, 0, 1, -7, -5, 11, 7, 0, 0, 1, -1, 0, 0, 20, 10, 5, 6,
                                          7, 5, 16, 7, -15, 6, 7, -15, 16, 7)));
  // One corner out of the plane: the crosses of its sides turn by 0.02 and by 0.0002.
  for (const double lift : {0.2, 0.002}) {
    const auto lifted = [lift](int i, int j, const gp_XYZ& p) {
      return i + j == 4 ? p + gp_XYZ(0, 0, lift) : p;
    };
    EXPECT_EQ(typeWithPoles(flat(), lifted), lift > 0.01 ? ModelUnknown : ModelPlane) << lift;
  }
  const Spline raised = flat();
  raised->IncreaseDegree(1, 2);
  EXPECT_EQ(infoOf(bareFace(raised)).type, ModelUnknown);
}

/// A cylinder of radius 3 from z = -2 to z = 8 on the axis of kFrame, over a part of a turn: u along
/// the axis, v around it.
Spline splineCylinder(double turn, int degree_along = 3, int around = 2) {
  auto spline = splineOf(new Geom_CylindricalSurface(kFrame, 3), 0.3, 0.3 + turn, -2, 8);
  spline->IncreaseDegree(around, degree_along);
  spline->ExchangeUV();
  return spline;
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
    bool is_cylinder;
  } rows[] = {{2 * M_PI, 3, 2, AlongU, 0, 0, true},  {0.6, 2, 3, AlongU, 0, 0, false},
              {0.6, 1, 2, AlongU, 0, 0, false},  // as exporters write it
              {0.6, 3, 3, AlongV, 0, 0, false},      {0.6, 3, 3, AlongV, 1.00009, 0.99991, true},
              {0.6, 3, 3, AlongV, 1, 1.0002, false}, {0.6, 3, 2, AlongU, 5, M_PI / 2, true},
              {0.6, 3, 2, AlongU, 5, M_PI, true},    {0.6, 3, 2, AlongU, 5, 2 * M_PI, true},
              {0.6, 3, 2, AlongU, 5, 1.7, false}};
  for (const auto& r : rows) {
    SCOPED_TRACE(&r - rows);
    auto spline = splineCylinder(r.turn, r.degree_along, r.around);
    if (r.axis == AlongV) spline->ExchangeUV();
    Handle(Geom_Surface) surface = spline;
    if (r.u_size > 0) {
      setKnotRange(spline, 0, r.u_size, 0, r.v_size);
      surface = new Geom_RectangularTrimmedSurface(spline, 0, r.u_size, 0, r.v_size);
    }
    const auto cylinder = rowOf(5, 6, 10, 0, 0, 1, 3, 10, 5, 6, 15, 5, 6, 5);
    EXPECT_THAT(infoOf(bareFace(surface)), r.is_cylinder ? IsFeature(ModelCylinder, cylinder)
                                                         : IsFeature(ModelUnknown, rowOf()));
  }
}

/// A part of a sphere of radius 9 about the origin of kFrame with rows along its parallels, over
/// u = 4 to 20 and v = 0 to 16, where a pole is felt no farther than about one unit of v.
Spline splineSphere(int poles) {
  auto spline = splineOf(new Geom_SphericalSurface(kFrame, 9), 0.2, 1.2, -0.4, 0.5);
  spline->ExchangeUV();
  setKnotRange(spline, 4, 20, 0, 16);
  for (int i = 1; i < poles - 2; ++i) {
    spline->InsertUKnot(4 + 16.0 * i / (poles - 2), 1, 1e-9);
    spline->InsertVKnot(16.0 * i / (poles - 2), 1, 1e-9);
  }
  return spline;
}

// The second and third sample in v start from the smallest u, here 4: samples at 3, 11 and 15, none
// at 7.
TEST(XModelFeatureSplineFace, SphereNeedsNinePolesAndItsSamplesStartFromU) {
  EXPECT_THAT(infoOf(bareFace(splineSphere(9))), IsFeature(ModelSphere, rowOf(5, 6, 7, 9)));
  EXPECT_EQ(infoOf(bareFace(splineSphere(8))).type, ModelUnknown);
  for (const double v : {3.0, 7.0, 11.0, 15.0}) {
    const auto dented = [v](int i, int j, const gp_XYZ& p) {
      const double felt_at = (j - 2) * 0.5;  // about the middle of what the pole moves
      return std::fabs(felt_at - v) > 0.6 ? p : p + gp_XYZ(0, 0, 0.5 + 0.1 * i);
    };
    EXPECT_EQ(typeWithPoles(splineSphere(34), dented), v == 7 ? ModelSphere : ModelUnknown) << v;
  }
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
  const auto bumpy = [](int i, int j, const gp_XYZ& p) {
    return i == 2 && j == 2 ? p + gp_XYZ(0.5, 0.5, 0.5) : p;
  };
  EXPECT_EQ(typeWithPoles(splineCylinder(0.6), bumpy), ModelUnknown);
  const auto elliptic = [](int, int, const gp_XYZ& p) {
    return gp_XYZ(5 + 1.3 * (p.X() - 5), p.Y(), p.Z());
  };
  EXPECT_EQ(typeWithPoles(splineCylinder(2 * M_PI), elliptic), ModelUnknown);
}

TopoDS_Face plateAt(double x, double z, bool reversed) {
  const gp_Ax3 frame(gp_Pnt(x, 0, z), gp_Dir(0, 0, reversed ? -1 : 1), gp_Dir(1, 0, 0));
  return patchOf(new Geom_Plane(frame), 0, 10, -1, 1);
}

template <typename List>
std::vector<std::size_t> faceCounts(const List& list) {
  std::vector<std::size_t> counts;
  for (const auto& record : list) counts.push_back(record.faces.size());
  return counts;
}

// A second call finds the old records again; only the spheres start afresh.
TEST(XModel3DFeature, ListsEveryKindAndAddsToAllListsButTheSpheres) {
  // Six planes and two of the cylinder, one of the cone, whose tip is none.
  const TopoDS_Shape part = together(
      {BRepPrimAPI_MakeBox(10, 20, 30),
       BRepPrimAPI_MakeCylinder(gp_Ax2(gp_Pnt(100, 3, 7), gp::DZ()), 4, 5),
       BRepBuilderAPI_Transform(BRepPrimAPI_MakeCone(6, 0, 9), zelmo::test::tiltedPose()).Shape(),
       BRepPrimAPI_MakeSphere(gp_Pnt(1, 2, 3), 8)});
  XModel3DFeature features;
  for (const std::size_t calls : {1U, 2U}) {
    features.get3DFeatureData(part);
    EXPECT_EQ(faceCounts(features.planes), std::vector<std::size_t>(9, calls));
    EXPECT_THAT(faceCounts(features.cylinders), ElementsAre(calls));
    EXPECT_THAT(faceCounts(features.cones), ElementsAre(calls));
    EXPECT_THAT(faceCounts(features.spheres), ElementsAre(1));
  }
  // Each face is in one list, the planes in the order of the walk.
  std::vector<int> planes, others;
  for (const TopoDS_Face& face : facesOf(part)) {
    planes.push_back(XModel3DFeature::findOCC_Plane(face, features.planes));
    others.push_back(XModel3DFeature::findOCC_Sphere(face, features.spheres) +
                     10 * XModel3DFeature::findOCC_Cylinder(face, features.cylinders) +
                     100 * XModel3DFeature::findOCC_Cone(face, features.cones));
  }
  EXPECT_THAT(planes, ElementsAre(0, 1, 2, 3, 4, 5, -1, 6, 7, -1, 8, -1));
  EXPECT_THAT(others,
              ElementsAre(-111, -111, -111, -111, -111, -111, -101, -111, -111, -11, -111, -110));
  EXPECT_EQ(XModel3DFeature::findOCC_Plane(TopoDS_Face(), features.planes), -1);

  features.get3DFeatureData(TopoDS_Shape());
  EXPECT_THAT(features.planes, SizeIs(9));
  EXPECT_THAT(features.spheres, SizeIs(0));
}

TEST(XModel3DFeature, GathersFacesOfOneGeometry) {
  XModel3DFeature features;
  const auto turn = [](double from, double to, double bottom) {
    const Handle(Geom_Surface) surface = new Geom_CylindricalSurface(gp_Ax3(), 3.0);
    return patchOf(surface, from, to, bottom, bottom + 4);
  };
  features.get3DFeatureData(
      together({plateAt(0, 5, false), plateAt(50, 5, true), plateAt(90, 5 + 1e-7, false),
                plateAt(0, 6, false), turn(0, M_PI, -2), turn(M_PI, 2 * M_PI, -2), turn(0, 1, 2)}));
  EXPECT_THAT(faceCounts(features.planes), ElementsAre(3, 1));
  EXPECT_THAT(faceCounts(features.cylinders), ElementsAre(2, 1));
}

// Three planes 0.9 microns apart: the middle one equals both others, which differ from each other.
TEST(XModel3DFeature, AsksTheNewestRecordFirstAndFindsTheFirstOne) {
  const TopoDS_Face low = plateAt(0, 0, false), middle = plateAt(0, 0.9e-6, false),
                    high = plateAt(0, 1.8e-6, false);
  XModel3DFeature features;
  features.get3DFeatureData(together({low, high, middle}));
  EXPECT_THAT(faceCounts(features.planes), ElementsAre(1, 2));
  EXPECT_EQ(XModel3DFeature::findOCC_Plane(middle, features.planes), 0);
  EXPECT_EQ(XModel3DFeature::findOCC_Plane(high, features.planes), 1);
}

TEST(XModel3DFeature, GivesTheWholeExtentOfAPlane) {
  XModel3DFeature features;
  features.get3DFeatureData(together({plateAt(0, 5, false), plateAt(50, 5, true)}));
  xgeofeature::XFPlane whole;
  ASSERT_EQ(XModel3DFeature::getPlane(features.planes.at(0), whole), 0);
  // Two plates of 10 by 2, each widened by a tenth on every side, 50 apart; from x = -1 to x = 61.
  EXPECT_THAT(rowOf(whole.center, whole.length, whole.width),
              Pointwise(FloatNear(1e-4F), {30.0F, 0.0F, 5.0F, 62.0F, 2.4F}));
  EXPECT_FLOAT_EQ(whole.normal[2], 1.0F);

  XFPlane mixed = features.planes[0];
  mixed.faces.push_back(facesOf(BRepPrimAPI_MakeSphere(1).Shape())[0]);
  EXPECT_EQ(XModel3DFeature::getPlane(mixed, whole), -1);
  EXPECT_NEAR(whole.length, 62.0F, 1e-4) << "left alone";
}

}  // namespace
}  // namespace xmodelfeature
