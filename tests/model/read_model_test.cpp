// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <fstream>

#include <BRepBuilderAPI_MakeEdge.hxx>
#include <Geom_Plane.hxx>
#include <gtest/gtest.h>

#include "support/cad_shapes.h"
#include "support/temporary_folder.h"

namespace xmodelfeature {
namespace {

using zelmo::test::readIges;
using zelmo::test::readStep;

constexpr double kPi = 3.14159265358979323846;

TEST(XReadModel, ReadsAllRootsOfAStepFile) {
  const zelmo::test::TemporaryFolder folder;
  const auto path = folder.path() / u8"zwei Körper.stp";
  zelmo::test::writeStep({BRepPrimAPI_MakeBox(10, 20, 30), BRepPrimAPI_MakeSphere(5)}, path);
  const auto read = readStep(path);
  EXPECT_EQ(read.status, 1);
  EXPECT_EQ(read.printed, "NbRoots=2,NbTrans=2\n");
  ASSERT_FALSE(read.shape.IsNull());
  EXPECT_EQ(read.shape.ShapeType(), TopAbs_COMPOUND);
  EXPECT_NEAR(XReadModel::getVolume(read.shape), 6000 + 4.0 / 3.0 * kPi * 125, 1e-6);
  EXPECT_NEAR(XReadModel::getSurfaceArea(read.shape), 2200 + 4 * kPi * 25, 1e-6);
}

TEST(XReadModel, TakesOnlyTheFacesOfAnIgesFile) {
  const zelmo::test::TemporaryFolder folder;
  const TopoDS_Shape line = BRepBuilderAPI_MakeEdge(gp_Pnt(90, 0, 0), gp_Pnt(90, 0, 7)).Edge();
  zelmo::test::writeIges({BRepPrimAPI_MakeBox(10, 20, 30), line}, folder.path() / "both.igs");
  const auto both = readIges(folder.path() / "both.igs");
  EXPECT_EQ(both.status, 1);
  EXPECT_EQ(both.printed, "");
  EXPECT_EQ(zelmo::test::facesOf(both.shape).size(), 6U);
  for (TopExp_Explorer walk(both.shape, TopAbs_EDGE, TopAbs_FACE); walk.More(); walk.Next()) {
    ADD_FAILURE() << "an edge outside of faces";
  }
  EXPECT_NEAR(XReadModel::getSurfaceArea(both.shape), 2200, 1e-6);

  zelmo::test::writeIges({line}, folder.path() / "line.igs");
  const auto only_line = readIges(folder.path() / "line.igs");
  EXPECT_EQ(only_line.status, 1);
  EXPECT_TRUE(zelmo::test::facesOf(only_line.shape).empty());
}

TEST(XReadModel, ReportsFilesThatCantBeRead) {
  const zelmo::test::TemporaryFolder folder;
  const auto good = folder.path() / "good.stp";
  zelmo::test::writeStep({BRepPrimAPI_MakeBox(1, 2, 3)}, good);
  const std::string text = zelmo::test::contentOf(good);
  std::string noise(5000, '\0');
  for (std::size_t i = 0; i < noise.size(); ++i) noise[i] = static_cast<char>(i * i * 31 + i / 7);
  const struct {
    const char* name;
    std::string content;
  } files[] = {{"empty", ""},
               {"binary", noise},
               {"text", "no model at all\n"},
               {"header only", text.substr(0, text.find("DATA;"))},
               {"half", text.substr(0, text.size() / 2)}};
  for (const auto& file : files) {
    SCOPED_TRACE(file.name);
    const auto path = folder.path() / file.name;
    std::ofstream(path, std::ios::binary) << file.content;
    for (const auto& read : {readStep(path), readIges(path)}) {
      // Some of them OpenCASCADE calls read, with nothing in them.
      if (read.status == 1) {
        EXPECT_TRUE(zelmo::test::facesOf(read.shape).empty());
      } else {
        EXPECT_TRUE(read.shape.IsNull());
        EXPECT_GE(read.status, 0);
        EXPECT_LE(read.status, 4);
      }
    }
  }
  EXPECT_NE(readStep(folder.path()).status, 1) << "a folder";
  EXPECT_TRUE(zelmo::test::facesOf(readIges(folder.path()).shape).empty());
  TopoDS_Shape kept = BRepPrimAPI_MakeBox(1, 1, 1).Shape();
  const TopoDS_Shape before = kept;
  std::string missing = (folder.path() / "missing").string();
  EXPECT_EQ(XReadModel::readStepFile(nullptr, kept), 2);
  EXPECT_EQ(XReadModel::readIgesFile(nullptr, kept), 2);
  EXPECT_NE(XReadModel::readStepFile(missing.data(), kept), 1);
  EXPECT_NE(XReadModel::readIgesFile(missing.data(), kept), 1);
  EXPECT_TRUE(kept.IsSame(before));
}

TEST(XReadModel, LeavesOutFacesOfImpossibleArea) {
  const auto plate = [](double side) {
    return zelmo::test::patchOf(new Geom_Plane(gp::XOY()), 0, side, 0, 1e5);
  };
  EXPECT_NEAR(XReadModel::getSurfaceArea(plate(0.99e5)), 0.99e10, 1.0);
  EXPECT_EQ(XReadModel::getSurfaceArea(plate(1.01e5)), 0.0);
  EXPECT_NEAR(XReadModel::getSurfaceArea(zelmo::test::together({plate(1.01e5), plate(1)})), 1e5, 1);
  EXPECT_EQ(XReadModel::getSurfaceArea(TopoDS_Shape()), 0.0);
  EXPECT_EQ(XReadModel::getVolume(TopoDS_Shape()), 0.0);
  EXPECT_NEAR(XReadModel::getVolume(BRepPrimAPI_MakeBox(1, 2, 3).Shape().Reversed()), -6, 1e-9);
}

}  // namespace
}  // namespace xmodelfeature
