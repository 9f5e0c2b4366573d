// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zelmo/model/model_3d_feature.h"

#include <cmath>

#include <Geom_CylindricalSurface.hxx>
#include <Geom_Plane.hxx>
#include <gmock/gmock.h>

#include "support/cad_shapes.h"

namespace xmodelfeature {
namespace {

using testing::ElementsAre;
using testing::FloatNear;
using testing::Pointwise;
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

template <typename List>
std::vector<std::size_t> faceCounts(const List& list) {
  std::vector<std::size_t> counts;
  for (const auto& record : list) counts.push_back(record.faces.size());
  return counts;
}

// A second call finds the old records again; only the spheres start afresh.
TEST(XModel3DFeature, ListsEveryKindAndAddsToAllListsButTheSpheres) {
  XModel3DFeature features;
  const TopoDS_Shape part = mixedPart();
  for (const std::size_t calls : {1U, 2U}) {
    features.get3DFeatureData(part);
    EXPECT_EQ(faceCounts(features.planes), std::vector<std::size_t>(9, calls));
    EXPECT_THAT(faceCounts(features.cylinders), ElementsAre(calls));
    EXPECT_THAT(faceCounts(features.cones), ElementsAre(calls));
    EXPECT_THAT(faceCounts(features.spheres), ElementsAre(1));
  }
  EXPECT_FLOAT_EQ(features.spheres[0].radius, 8.0F);
  EXPECT_FLOAT_EQ(features.cylinders[0].radius, 4.0F);
  EXPECT_FLOAT_EQ(features.cones[0].baseRadius, 6.0F);

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
  EXPECT_EQ(XModel3DFeature::findOCC_Plane(plateAt(0, 999, false), features.planes), -1);
  EXPECT_EQ(XModel3DFeature::findOCC_Plane(TopoDS_Face(), features.planes), -1);

  features.get3DFeatureData(TopoDS_Shape());
  EXPECT_THAT(features.planes, SizeIs(9));
  EXPECT_THAT(features.spheres, SizeIs(0));
}

TEST(XModel3DFeature, GathersFacesOfOneGeometry) {
  XModel3DFeature plates, turns;
  plates.get3DFeatureData(together({plateAt(0, 5, false), plateAt(50, 5, true),
                                    plateAt(90, 5 + 1e-7, false), plateAt(0, 6, false)}));
  EXPECT_THAT(faceCounts(plates.planes), ElementsAre(3, 1));
  const auto part_of_turn = [](double from, double to, double bottom) {
    const Handle(Geom_Surface) surface = new Geom_CylindricalSurface(gp_Ax3(), 3.0);
    return patchOf(surface, from, to, bottom, bottom + 4);
  };
  turns.get3DFeatureData(together(
      {part_of_turn(0, M_PI, -2), part_of_turn(M_PI, 2 * M_PI, -2), part_of_turn(0, 1, 2)}));
  EXPECT_THAT(faceCounts(turns.cylinders), ElementsAre(2, 1));
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
  EXPECT_THAT(whole.center, Pointwise(FloatNear(1e-4F), {30.0F, 0.0F, 5.0F}));
  EXPECT_NEAR(whole.length, 62.0F, 1e-4);
  EXPECT_NEAR(whole.width, 2.4F, 1e-4);
  EXPECT_NEAR(std::fabs(whole.majorDir[0]), 1.0F, 1e-6);
  EXPECT_FLOAT_EQ(whole.normal[2], 1.0F);

  XFPlane mixed = features.planes[0];
  mixed.faces.push_back(facesOf(BRepPrimAPI_MakeSphere(1).Shape())[0]);
  EXPECT_EQ(XModel3DFeature::getPlane(mixed, whole), -1);
  EXPECT_NEAR(whole.length, 62.0F, 1e-4) << "left alone";
  EXPECT_EQ(XModel3DFeature::getPlane(XFPlane(), whole), 0);
  EXPECT_EQ(whole.length, 0.0F);
}

}  // namespace
}  // namespace xmodelfeature
