// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/model/model_3d_feature.h"

#include <cmath>

#include <Geom_CylindricalSurface.hxx>
#include <Geom_Plane.hxx>
#include <gmock/gmock.h>

#include "support/cad_shapes.h"
#include "support/reference_data.h"

namespace xmodelfeature {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::SizeIs;
using zelmo::test::facesOf;
using zelmo::test::patchOf;
using zelmo::test::together;

/// All four kinds: six planes and two of the cylinder, one of the cone (its tip is none), a sphere.
TopoDS_Shape mixedPart() {
  gp_Trsf aside;
  aside.SetTranslation(gp_Vec(100, 3, 7));
  return together(
      {BRepPrimAPI_MakeBox(10, 20, 30),
       BRepBuilderAPI_Transform(BRepPrimAPI_MakeCylinder(4, 5), aside).Shape(),
       BRepBuilderAPI_Transform(BRepPrimAPI_MakeCone(6, 0, 9), zelmo::test::tiltedPose()).Shape(),
       BRepPrimAPI_MakeSphere(gp_Pnt(1, 2, 3), 8)});
}

TopoDS_Face plateAt(double x, double z, bool reversed) {
  const gp_Ax3 frame(gp_Pnt(x, 0, z), gp_Dir(0, 0, reversed ? -1 : 1), gp_Dir(1, 0, 0));
  return patchOf(new Geom_Plane(frame), 0, 10, -1, 1);
}

TEST(XModel3DFeature, ListsEveryKindWithItsFaces) {
  XModel3DFeature features;
  const TopoDS_Shape part = mixedPart();
  features.get3DFeatureData(part);
  EXPECT_THAT(features.planes, SizeIs(9));
  ASSERT_THAT(features.spheres, SizeIs(1));
  ASSERT_THAT(features.cylinders, SizeIs(1));
  ASSERT_THAT(features.cones, SizeIs(1));
  EXPECT_FLOAT_EQ(features.spheres[0].radius, 8.0F);
  EXPECT_FLOAT_EQ(features.cylinders[0].radius, 4.0F);
  EXPECT_FLOAT_EQ(features.cones[0].baseRadius, 6.0F);
  int face_count = 0;
  for (const XFPlane& plane : features.planes) face_count += static_cast<int>(plane.faces.size());
  EXPECT_EQ(face_count, 9);
}

// A second call finds the old records again; only the spheres start afresh.
TEST(XModel3DFeature, AddsToAllListsButTheSpheres) {
  XModel3DFeature features;
  const TopoDS_Shape part = mixedPart();
  features.get3DFeatureData(part);
  features.get3DFeatureData(part);
  EXPECT_THAT(features.planes, SizeIs(9));
  EXPECT_THAT(features.planes[0].faces, SizeIs(2));
  EXPECT_THAT(features.cylinders[0].faces, SizeIs(2));
  EXPECT_THAT(features.cones[0].faces, SizeIs(2));
  EXPECT_THAT(features.spheres[0].faces, SizeIs(1));
  features.get3DFeatureData(TopoDS_Shape());
  EXPECT_THAT(features.planes, SizeIs(9));
  EXPECT_THAT(features.spheres, SizeIs(0));
}

TEST(XModel3DFeature, GathersFacesOfOneGeometry) {
  XModel3DFeature features;
  features.get3DFeatureData(together({plateAt(0, 5, false), plateAt(50, 5, true),
                                      plateAt(90, 5 + 1e-7, false), plateAt(0, 6, false)}));
  EXPECT_THAT(features.planes,
              ElementsAre(Field(&XFPlane::faces, SizeIs(3)), Field(&XFPlane::faces, SizeIs(1))));

  XModel3DFeature halves;
  const auto half = [](double from) {
    const Handle(Geom_Surface) surface = new Geom_CylindricalSurface(gp_Ax3(), 3.0);
    return patchOf(surface, from, from + M_PI, -2, 2);
  };
  const Handle(Geom_Surface) longer = new Geom_CylindricalSurface(gp_Ax3(), 3.0);
  halves.get3DFeatureData(together({half(0), half(M_PI), patchOf(longer, 0, 1, 2, 4)}));
  EXPECT_THAT(halves.cylinders, ElementsAre(Field(&XFCylinder::faces, SizeIs(2)),
                                            Field(&XFCylinder::faces, SizeIs(1))));
}

// Three planes 0.9 microns apart: the middle one equals both others, which differ from each other.
TEST(XModel3DFeature, AsksTheNewestRecordFirstAndFindsTheFirstOne) {
  const TopoDS_Face low = plateAt(0, 0, false), middle = plateAt(0, 0.9e-6, false),
                    high = plateAt(0, 1.8e-6, false);
  XModel3DFeature features;
  features.get3DFeatureData(together({low, high, middle}));
  EXPECT_THAT(features.planes,
              ElementsAre(Field(&XFPlane::faces, SizeIs(1)), Field(&XFPlane::faces, SizeIs(2))));
  EXPECT_EQ(XModel3DFeature::findOCC_Plane(middle, features.planes), 0);
  EXPECT_EQ(XModel3DFeature::findOCC_Plane(high, features.planes), 1);
}

TEST(XModel3DFeature, FindsAFaceByItsKindAndGeometry) {
  XModel3DFeature features;
  const TopoDS_Shape part = mixedPart();
  features.get3DFeatureData(part);
  int found[4] = {}, hits = 0;
  for (const TopoDS_Face& face : facesOf(part)) {
    const int indices[] = {XModel3DFeature::findOCC_Plane(face, features.planes),
                           XModel3DFeature::findOCC_Sphere(face, features.spheres),
                           XModel3DFeature::findOCC_Cylinder(face, features.cylinders),
                           XModel3DFeature::findOCC_Cone(face, features.cones)};
    int kinds = 0;
    for (int i = 0; i < 4; ++i) kinds += indices[i] >= 0 ? ++found[i], 1 : 0;
    EXPECT_EQ(kinds, 1);
    if (indices[0] >= 0) {
      EXPECT_EQ(indices[0], hits++) << "in the order of the walk";
    }
  }
  EXPECT_THAT(found, ElementsAre(9, 1, 1, 1));
  EXPECT_EQ(XModel3DFeature::findOCC_Plane(plateAt(0, 999, false), features.planes), -1);
  EXPECT_EQ(XModel3DFeature::findOCC_Plane(TopoDS_Face(), features.planes), -1);
}

TEST(XModel3DFeature, GivesTheWholeExtentOfAPlane) {
  XModel3DFeature features;
  features.get3DFeatureData(together({plateAt(0, 5, false), plateAt(50, 5, true)}));
  xgeofeature::XFPlane whole;
  ASSERT_EQ(XModel3DFeature::getPlane(features.planes.at(0), whole), 0);
  // Two plates of 10 by 2, each widened by a tenth on every side, 50 apart; from x = -1 to x = 61.
  EXPECT_NEAR(whole.center[0], 30.0F, 1e-4);
  EXPECT_NEAR(whole.center[1], 0.0F, 1e-4);
  EXPECT_NEAR(whole.center[2], 5.0F, 1e-4);
  EXPECT_NEAR(whole.length, 62.0F, 1e-4);
  EXPECT_NEAR(whole.width, 2.4F, 1e-4);
  EXPECT_NEAR(std::fabs(whole.majorDir[0]), 1.0F, 1e-6);
  EXPECT_FLOAT_EQ(whole.normal[2], 1.0F);

  XFPlane mixed = features.planes[0];
  mixed.faces.push_back(facesOf(BRepPrimAPI_MakeSphere(1).Shape())[0]);
  const xgeofeature::XFPlane before = whole;
  EXPECT_EQ(XModel3DFeature::getPlane(mixed, whole), -1);
  EXPECT_EQ(whole.length, before.length);
  EXPECT_EQ(XModel3DFeature::getPlane(XFPlane(), whole), 0);
  EXPECT_EQ(whole.length, 0.0F);
}

}  // namespace
}  // namespace xmodelfeature
