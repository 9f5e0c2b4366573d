// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <fstream>
#include <set>
#include <sstream>

#include <BRepTools.hxx>
#include <BRep_Tool.hxx>
#include <Geom_BSplineSurface.hxx>
#include <gmock/gmock.h>

#include "support/cad_shapes.h"
#include "support/reference_data.h"
#include "zelmo/model/model_3d_feature.h"
#include "zelmo/model/model_curve.h"
#include "zelmo/model/model_feature.h"

namespace xmodelfeature {
namespace {

using testing::SizeIs;
using zelmo::test::referenceData;

template <typename Record>
int faceCount(const std::vector<Record>& list) {
  int count = 0;
  for (const Record& record : list) count += static_cast<int>(record.faces.size());
  return count;
}

TopoDS_Shape modelOf(const std::string& file) {
  const auto path = referenceData("cad/" + file);
  const bool is_iges = path.extension().string().substr(0, 3) == ".ig";
  return (is_iges ? zelmo::test::readIges(path) : zelmo::test::readStep(path)).shape;
}

/// Faces by the kind of surface that the file's own entities name, times the instances of their solid
/// in an assembly; splines and tori are of no kind.
struct ModelFaces {
  const char* file;
  int planes, cylinders, cones, spheres, others;
};

void PrintTo(const ModelFaces& model, std::ostream* out) { *out << model.file; }

const ModelFaces kModels[] = {
    {"NIST_MBE_PMI_1.stp", 56, 0, 0, 0, 57},
    {"NIST_MBE_PMI_11.stp", 2, 0, 0, 0, 8},
    {"nist_ctc_01_analytic.stp", 80, 67, 4, 0, 0},
    {"as1-oc-214.stp", 90, 0, 0, 0, 70},
    {"as1_pe_203.stp", 90, 70, 0, 0, 0},
    {"cylinder.stp", 2, 1, 0, 0, 0},
    {"eight_cyl.stp", 16, 8, 0, 0, 0},
    {"io1-cm-214.stp", 5, 22, 0, 0, 2},
    {"io1-ug-214.stp", 5, 11, 1, 0, 0},
    {"screw.step", 4, 1, 2, 0, 3},
    {"sphere.stp", 0, 0, 0, 1, 0},
    {"featuretype.STEP", 49, 46, 0, 0, 1},
    {"pythonocc_testfile.igs", 1, 0, 0, 0, 0},
    {"pythonocc_example_45_faces.iges", 21, 0, 0, 0, 24},
};

class RealModel : public testing::TestWithParam<ModelFaces> {};

TEST_P(RealModel, ListsTheFacesThatItsEntitiesName) {
  const ModelFaces& expected = GetParam();
  ZELMO_REQUIRE_REFERENCE_DATA(std::string("cad/") + expected.file);
  const TopoDS_Shape model = modelOf(expected.file);
  XModel3DFeature features;
  features.get3DFeatureData(model);
  EXPECT_EQ(faceCount(features.planes), expected.planes);
  EXPECT_EQ(faceCount(features.cylinders), expected.cylinders);
  EXPECT_EQ(faceCount(features.cones), expected.cones);
  EXPECT_EQ(faceCount(features.spheres), expected.spheres);
  EXPECT_THAT(zelmo::test::facesOf(model),
              SizeIs(expected.planes + expected.cylinders + expected.cones + expected.spheres +
                     expected.others));
  XModelCurve curves;
  curves.setData(model);
  EXPECT_EQ(curves.getCurveData(model), 0);
  std::vector<XFModelEdge> edges;
  curves.getCurveSplitData(model, edges);
  for (const XFModelEdge& edge : edges) ASSERT_GE(edge.points.size(), 2U);
}

INSTANTIATE_TEST_SUITE_P(File, RealModel, testing::ValuesIn(kModels), [](const auto& model) {
  std::string name = model.param.file;
  std::replace_if(
      name.begin(), name.end(), [](char c) { return std::isalnum(c) == 0; }, '_');
  return name;
});

/// One spline face of a file with what an evaluation by others found it to be.
struct SplineTruth {
  std::string kind;
  gp_Pnt point;
  gp_Dir axis;
  double radius = 0.0;  // or half the angle of a cone in degrees
};

std::vector<SplineTruth> splineTruths(const std::string& file) {
  std::vector<SplineTruth> truths;
  std::ifstream table(referenceData("cad/bspline_faces_recognised.csv"));
  for (std::string line; std::getline(table, line);) {
    if (line.find("/" + file + ",") == std::string::npos) continue;
    std::vector<std::string> fields;
    std::istringstream row(line);
    for (std::string field; std::getline(row, field, ',');) fields.push_back(field);
    SplineTruth truth;
    truth.kind = fields.at(2);
    if (truth.kind != "other") {
      const auto number = [&fields](std::size_t i) { return std::stod(fields.at(i)); };
      truth.point = gp_Pnt(number(3), number(4), number(5));
      truth.axis = gp_Dir(number(6), number(7), number(8));
      truth.radius = number(9);
    }
    truths.push_back(truth);
  }
  return truths;
}

/// Whether a cylinder record lies on the axis of the truth, moved along z, with its radius.
bool isCylinderOf(const SplineTruth& truth, const XFCylinder& cylinder, double shift) {
  const gp_Vec axis(cylinder.axis[0], cylinder.axis[1], cylinder.axis[2]);
  const gp_Pnt base(cylinder.base[0], cylinder.base[1], cylinder.base[2] - shift);
  return truth.kind == "cylinder" && std::fabs(cylinder.radius - truth.radius) < 1e-4 &&
         axis.Crossed(truth.axis).Magnitude() < 1e-6 &&
         gp_Vec(truth.point, base).Crossed(truth.axis).Magnitude() < 1e-3;
}

// The same part twice, all in splines and analytic and 100 lower. The recognition of spline faces sees
// the planes; the analytic cylinders and cones are where others found those of the splines.
TEST(RealModels, SplineAndAnalyticFileOfOnePart) {
  ZELMO_REQUIRE_REFERENCE_DATA("cad/bspline_faces_recognised.csv");
  constexpr float kShift = -100.0F;
  const TopoDS_Shape spline_model = modelOf("NIST_MBE_PMI_1.stp");
  const TopoDS_Shape analytic_model = modelOf("nist_ctc_01_analytic.stp");
  XModel3DFeature splines, analytic;
  splines.get3DFeatureData(spline_model);
  analytic.get3DFeatureData(analytic_model);
  EXPECT_THAT(splines.planes, SizeIs(40));
  for (const XFPlane& plane : splines.planes) {
    const bool found =
        std::any_of(analytic.planes.begin(), analytic.planes.end(), [&plane](const XFPlane& p) {
          const float sign = plane.a * p.a + plane.b * p.b + plane.c * p.c < 0 ? -1.0F : 1.0F;
          return std::fabs(plane.a - sign * p.a) < 1e-5F &&
                 std::fabs(plane.b - sign * p.b) < 1e-5F &&
                 std::fabs(plane.c - sign * p.c) < 1e-5F &&
                 std::fabs(plane.d - sign * (p.d + p.c * kShift)) < 1e-3F;
        });
    EXPECT_TRUE(found) << plane.a << ' ' << plane.b << ' ' << plane.c << ' ' << plane.d;
  }
  int cones = 0;
  for (const SplineTruth& truth : splineTruths("NIST_MBE_PMI_1.stp")) {
    if (truth.kind == "cone") {
      ++cones;
      EXPECT_TRUE(
          std::any_of(analytic.cones.begin(), analytic.cones.end(), [&](const XFCone& cone) {
            return std::fabs(cone.halfAngle - truth.radius * M_PI / 180) < 1e-5 &&
                   std::fabs(cone.apex[0] - truth.point.X()) < 1e-3;
          }));
    } else {
      EXPECT_TRUE(std::any_of(analytic.cylinders.begin(), analytic.cylinders.end(),
                              [&](const XFCylinder& c) { return isCylinderOf(truth, c, kShift); }))
          << truth.point.X() << ' ' << truth.point.Y() << ' ' << truth.radius;
    }
  }
  EXPECT_EQ(cones, 4);

  // Rounded rectangles are recognised also with spline edges; slots need lines.
  XModelCurve of_splines, of_analytic;
  of_splines.setData(spline_model);
  of_splines.getCurveData(spline_model);
  of_analytic.setData(analytic_model);
  of_analytic.getCurveData(analytic_model);
  EXPECT_THAT(of_splines.ovalGrooves, SizeIs(0));
  EXPECT_THAT(of_analytic.ovalGrooves, SizeIs(2));
  ASSERT_THAT(of_splines.roundGrooves, SizeIs(2));
  ASSERT_THAT(of_analytic.roundGrooves, SizeIs(2));
  for (XFRoundGroove3D moved : of_analytic.roundGrooves) {
    moved.center[2] -= kShift;
    EXPECT_TRUE(std::any_of(of_splines.roundGrooves.begin(), of_splines.roundGrooves.end(),
                            [&moved](XFRoundGroove3D& groove) { return groove == moved; }));
  }
}

// Real spline faces have two poles along the axis and stay unrecognised for that alone: of higher
// degree along it they are the cylinders that others found.
TEST(RealModels, SplineCylindersOfHigherDegree) {
  ZELMO_REQUIRE_REFERENCE_DATA("cad/bspline_faces_recognised.csv");
  for (const std::string file : {"NIST_MBE_PMI_1.stp", "NIST_MBE_PMI_11.stp"}) {
    SCOPED_TRACE(file);
    auto truths = splineTruths(file);
    const auto expected = std::count_if(truths.begin(), truths.end(), [](const SplineTruth& truth) {
      return truth.kind == "cylinder";
    });
    int recognised = 0;
    for (const TopoDS_Face& face : zelmo::test::facesOf(modelOf(file))) {
      const auto original = Handle(Geom_BSplineSurface)::DownCast(BRep_Tool::Surface(face));
      if (original.IsNull()) continue;
      const auto raised = Handle(Geom_BSplineSurface)::DownCast(original->Copy());
      if (raised->NbVPoles() == 2) raised->ExchangeUV();
      raised->IncreaseDegree(3, raised->VDegree());
      TopoDS_Face bare;
      BRep_Builder().MakeFace(bare, raised, 1e-7);
      ModelFeatureType type = ModelUnknown;
      std::vector<float> data;
      XModelFeature::getFaceInfo(bare, type, data);
      if (type == ModelUnknown) continue;
      ASSERT_EQ(type, ModelCylinder);
      ++recognised;
      const XFCylinder cylinder(data);
      EXPECT_TRUE(std::any_of(truths.begin(), truths.end(), [&](const SplineTruth& truth) {
        return isCylinderOf(truth, cylinder, 0);
      }));
    }
    EXPECT_EQ(recognised, expected);
  }
}

// Lengths arrive in millimetres: a file in inches beside the mesh of the same part, whose volume is
// 11.6277 and whose area is 53.8274 in inches.
TEST(RealModels, InchesBecomeMillimetres) {
  ZELMO_REQUIRE_REFERENCE_DATA("cad/featuretype.STEP");
  const TopoDS_Shape part = modelOf("featuretype.STEP");
  EXPECT_NEAR(XReadModel::getVolume(part) / std::pow(25.4, 3), 11.6277, 0.002);
  EXPECT_NEAR(XReadModel::getSurfaceArea(part) / std::pow(25.4, 2), 53.8274, 0.02);
}

// One assembly in millimetres with spline cylinders, and in inches with analytic ones.
TEST(RealModels, CylindersOfTheAssemblyHaveTheRadiiOfItsSplines) {
  ZELMO_REQUIRE_REFERENCE_DATA("cad/bspline_faces_recognised.csv");
  std::set<int> splines, analytic;  // in hundredths of a millimetre
  for (const SplineTruth& truth : splineTruths("as1-oc-214.stp")) {
    splines.insert(static_cast<int>(std::lround(truth.radius * 100)));
  }
  XModel3DFeature features;
  features.get3DFeatureData(modelOf("as1_pe_203.stp"));
  for (const XFCylinder& cylinder : features.cylinders) {
    analytic.insert(static_cast<int>(std::lround(cylinder.radius / 25.4F * 100)));
  }
  EXPECT_EQ(analytic, splines);
}

}  // namespace
}  // namespace xmodelfeature
