// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>

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
/// in an assembly; splines and tori are of no kind. An IGES file counts by itself: planes are its
/// surfaces of two by two poles.
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
    {"pythonocc_testfile.igs", 0, 0, 0, 0, 0},
    {"pythonocc_example_45_faces.iges", 0, 0, 0, 0, 0},
};

ModelFaces countedSurfaces(ModelFaces model) {
  std::ifstream lines(referenceData(std::string("cad/") + model.file));
  for (std::string line; std::getline(lines, line);) {
    line.erase(0, line.find_first_not_of(' '));
    if (line.compare(0, 4, "128,") != 0) continue;
    ++(line.compare(0, 8, "128,1,1,") == 0 ? model.planes : model.others);
  }
  return model;
}

class RealModel : public testing::TestWithParam<ModelFaces> {};

TEST_P(RealModel, ListsTheFacesThatItsEntitiesName) {
  ZELMO_REQUIRE_REFERENCE_DATA(std::string("cad/") + GetParam().file);
  const ModelFaces expected = countedSurfaces(GetParam());
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

template <typename Record, typename Equal>
int matches(const std::vector<Record>& list, std::vector<Record>& others, Equal equal) {
  return static_cast<int>(std::count_if(list.begin(), list.end(), [&](const Record& record) {
    return std::any_of(others.begin(), others.end(),
                       [&](Record& other) { return equal(other, record); });
  }));
}

// The same part twice, all in splines and analytic and 100 lower. The recognition of spline faces sees
// the planes, but no cylinder of two poles along its axis; slots need lines as sides. The analytic file
// has engraved letters besides, with 18 planes, and other edges where cylinders meet and where their
// seams are.
TEST(RealModels, SplineAndAnalyticFileOfOnePart) {
  ZELMO_REQUIRE_REFERENCE_DATA("cad/nist_ctc_01_analytic.stp");
  const TopoDS_Shape spline_model = modelOf("NIST_MBE_PMI_1.stp");
  gp_Trsf lift;
  lift.SetTranslation(gp_Vec(0, 0, 100));
  const TopoDS_Shape analytic_model = modelOf("nist_ctc_01_analytic.stp").Moved(lift);
  XModel3DFeature splines, analytic;
  splines.get3DFeatureData(spline_model);
  analytic.get3DFeatureData(analytic_model);
  EXPECT_THAT(splines.planes, SizeIs(40));
  EXPECT_THAT(analytic.planes, SizeIs(40 + 18));
  const auto same_plane = [](const XFPlane& p, const XFPlane& q) {
    const float sign = p.a * q.a + p.b * q.b + p.c * q.c < 0 ? -1.0F : 1.0F;
    return std::fabs(p.a - sign * q.a) < 1e-5F && std::fabs(p.b - sign * q.b) < 1e-5F &&
           std::fabs(p.c - sign * q.c) < 1e-5F && std::fabs(p.d - sign * q.d) < 1e-3F;
  };
  EXPECT_EQ(matches(splines.planes, analytic.planes, same_plane), 40);
  EXPECT_THAT(analytic.cylinders, SizeIs(57));
  EXPECT_THAT(splines.cylinders, SizeIs(0));

  XModelCurve of_splines, of_analytic;
  for (auto [curves, model] :
       {std::make_pair(&of_splines, spline_model), std::make_pair(&of_analytic, analytic_model)}) {
    curves->setData(model);
    curves->getCurveData(model);
  }
  const auto equal = [](auto& a, const auto& b) { return a == b; };
  EXPECT_THAT(of_splines.lines, SizeIs(210));
  EXPECT_EQ(matches(of_splines.lines, of_analytic.lines, equal), 174);
  EXPECT_THAT(of_splines.circles, SizeIs(74));
  EXPECT_EQ(matches(of_splines.circles, of_analytic.circles, equal), 70);
  EXPECT_THAT(of_splines.ovalGrooves, SizeIs(0));
  EXPECT_THAT(of_analytic.ovalGrooves, SizeIs(2));
  EXPECT_THAT(of_analytic.roundGrooves, SizeIs(2));
  EXPECT_EQ(matches(of_splines.roundGrooves, of_analytic.roundGrooves, equal), 2);
}

struct CylinderTruth {
  gp_Pnt point;
  gp_Dir axis;
  double radius;
};

/// The cylinders that others found among the spline faces of a file.
std::vector<CylinderTruth> cylindersFoundByOthers(const std::string& file) {
  std::vector<CylinderTruth> found;
  std::ifstream table(referenceData("cad/bspline_faces_recognised.csv"));
  for (std::string line; std::getline(table, line);) {
    const std::size_t values = line.find(",cylinder,");
    if (line.find("/" + file + ",") == std::string::npos || values == std::string::npos) continue;
    std::istringstream row(line.substr(values + 10));
    double v[7];
    for (double& value : v) (row >> value).ignore(1);
    found.push_back({{v[0], v[1], v[2]}, {v[3], v[4], v[5]}, v[6]});
  }
  return found;
}

// Real spline faces have two poles along the axis and stay unrecognised for that alone: of higher
// degree along it they are the cylinders that others found.
TEST(RealModels, SplineCylindersOfHigherDegree) {
  ZELMO_REQUIRE_REFERENCE_DATA("cad/bspline_faces_recognised.csv");
  for (const std::string file : {"NIST_MBE_PMI_1.stp", "NIST_MBE_PMI_11.stp"}) {
    SCOPED_TRACE(file);
    const auto truths = cylindersFoundByOthers(file);
    std::size_t recognised = 0;
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
      const XFCylinder c(data);
      const gp_Vec axis(c.axis[0], c.axis[1], c.axis[2]);
      const gp_Pnt base(c.base[0], c.base[1], c.base[2]);
      EXPECT_TRUE(std::any_of(truths.begin(), truths.end(), [&](const CylinderTruth& truth) {
        return std::fabs(c.radius - truth.radius) < 1e-4 &&
               axis.Crossed(truth.axis).Magnitude() < 1e-6 &&
               gp_Vec(truth.point, base).Crossed(truth.axis).Magnitude() < 1e-3;
      }));
    }
    EXPECT_THAT(truths, SizeIs(recognised));
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

}  // namespace
}  // namespace xmodelfeature
