// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <numeric>
#include <random>
#include <sstream>
#include <string>

#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRep_Tool.hxx>
#include <Geom_BSplineSurface.hxx>
#include <Geom_Plane.hxx>
#include <Standard_Failure.hxx>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <opencv2/core.hpp>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/cad_shapes.h"
#include "support/reference_data.h"
#include "support/temporary_folder.h"
#include "zelmo/model/model_3d_feature.h"
#include "zelmo/model/model_curve.h"
#include "zelmo/model/model_feature.h"

namespace xmodelfeature {
namespace {

using testing::ElementsAre;
using testing::SizeIs;
using zelmo::test::readIges;
using zelmo::test::readStep;
using zelmo::test::referenceData;

TEST(XReadModel, ReadsAllRootsOfAStepFile) {
  const zelmo::test::TemporaryFolder folder;
  const auto path = folder.path() / u8"zwei Körper.stp";
  zelmo::test::writeStep({BRepPrimAPI_MakeBox(10, 20, 30), BRepPrimAPI_MakeSphere(5)}, path);
  const auto read = readStep(path);
  EXPECT_EQ(read.status, 1);
  EXPECT_EQ(read.printed, "NbRoots=2,NbTrans=2\n");
  ASSERT_FALSE(read.shape.IsNull());
  EXPECT_EQ(read.shape.ShapeType(), TopAbs_COMPOUND);
  EXPECT_NEAR(XReadModel::getVolume(read.shape), 6000 + 4.0 / 3.0 * M_PI * 125, 1e-6);
  EXPECT_NEAR(XReadModel::getSurfaceArea(read.shape), 2200 + 4 * M_PI * 25, 1e-6);
}

TEST(XReadModel, TakesOnlyTheFacesOfAnIgesFile) {
  const zelmo::test::TemporaryFolder folder;
  const auto path = folder.path() / "model.igs";
  const TopoDS_Shape line = BRepBuilderAPI_MakeEdge(gp_Pnt(90, 0, 0), gp_Pnt(90, 0, 7)).Edge();
  zelmo::test::writeIges({BRepPrimAPI_MakeBox(10, 20, 30), line}, path);
  const auto both = readIges(path);
  EXPECT_EQ(both.status, 1);
  EXPECT_EQ(both.printed, "");
  EXPECT_THAT(zelmo::test::facesOf(both.shape), SizeIs(6));
  EXPECT_FALSE(TopExp_Explorer(both.shape, TopAbs_EDGE, TopAbs_FACE).More());
  EXPECT_NEAR(XReadModel::getSurfaceArea(both.shape), 2200, 1e-6);
}

TEST(XReadModel, ReportsFilesThatCantBeRead) {
  const zelmo::test::TemporaryFolder folder;
  const auto good = folder.path() / "good.stp";
  zelmo::test::writeStep({BRepPrimAPI_MakeBox(1, 2, 3)}, good);
  const std::string text = zelmo::test::contentOf(good);
  const auto expect_nothing = [](const std::filesystem::path& path) {
    for (const auto& read : {readStep(path), readIges(path)}) {
      // Some of them OpenCASCADE calls read, with nothing in them.
      EXPECT_THAT(read.status, testing::AllOf(testing::Ge(0), testing::Le(4))) << path;
      EXPECT_TRUE(read.status == 1 || read.shape.IsNull()) << path;
      EXPECT_TRUE(zelmo::test::facesOf(read.shape).empty()) << path;
    }
  };
  for (const std::string& content :
       {std::string(), std::string("no model at all\n"), text.substr(0, text.size() / 2)}) {
    std::ofstream(folder.path() / "bad", std::ios::binary) << content;
    expect_nothing(folder.path() / "bad");
  }
  expect_nothing(folder.path());
  EXPECT_NE(readStep(folder.path()).status, 1) << "a folder";
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

TopoDS_Shape modelOf(const std::string& file) {
  const auto path = referenceData("cad/" + file);
  const bool is_iges = path.extension().string().substr(0, 3) == ".ig";
  return (is_iges ? zelmo::test::readIges(path) : zelmo::test::readStep(path)).shape;
}

/// All that the room makes of a model.
struct Lists {
  explicit Lists(const TopoDS_Shape& model) {
    solids.get3DFeatureData(model);
    curves.setData(model);
    EXPECT_EQ(curves.getCurveData(model), 0);
    curves.getCurveSplitData(model, edges);
  }
  XModel3DFeature solids;
  XModelCurve curves;
  std::vector<XFModelEdge> edges;
};

template <typename Record>
int faceCount(const std::vector<Record>& list) {
  return std::accumulate(list.begin(), list.end(), 0, [](int count, const Record& record) {
    return count + static_cast<int>(record.faces.size());
  });
}

// Faces by the kind of surface that the file's own entities name, times the instances of their solid
// in an assembly; splines and tori are of no kind. An IGES file counts by itself: planes are its
// surfaces of two by two poles.
TEST(RealModels, ListTheFacesThatTheirEntitiesName) {
  const struct {
    const char* file;
    int planes, cylinders, cones, spheres, others;
  } models[] = {
      {"NIST_MBE_PMI_1.stp", 56, 0, 0, 0, 57},
      {"nist_ctc_01_analytic.stp", 80, 67, 4, 0, 0},
      {"as1-oc-214.stp", 90, 0, 0, 0, 70},
      {"as1_pe_203.stp", 90, 70, 0, 0, 0},
      {"io1-cm-214.stp", 5, 22, 0, 0, 2},
      {"screw.step", 4, 1, 2, 0, 3},
      {"sphere.stp", 0, 0, 0, 1, 0},
      {"featuretype.STEP", 49, 46, 0, 0, 1},
      {"pythonocc_testfile.igs", 0, 0, 0, 0, 0},
      {"pythonocc_example_45_faces.iges", 0, 0, 0, 0, 0},
  };
  for (auto expected : models) {
    SCOPED_TRACE(expected.file);
    const std::string path = std::string("cad/") + expected.file;
    ZELMO_REQUIRE_REFERENCE_DATA(path);
    std::ifstream lines(referenceData(path));
    for (std::string line; std::getline(lines, line);) {
      line.erase(0, line.find_first_not_of(' '));
      if (line.compare(0, 4, "128,") != 0) continue;
      ++(line.compare(0, 8, "128,1,1,") == 0 ? expected.planes : expected.others);
    }
    const TopoDS_Shape model = modelOf(expected.file);
    const Lists lists(model);
    const XModel3DFeature& f = lists.solids;
    const std::vector<int> counts = {faceCount(f.planes), faceCount(f.cylinders),
                                     faceCount(f.cones), faceCount(f.spheres)};
    EXPECT_THAT(counts,
                ElementsAre(expected.planes, expected.cylinders, expected.cones, expected.spheres));
    EXPECT_THAT(zelmo::test::facesOf(model),
                SizeIs(std::accumulate(counts.begin(), counts.end(), expected.others)));
    for (const XFModelEdge& edge : lists.edges) ASSERT_GE(edge.points.size(), 2U);
  }
}

/// How many of \p list are among \p others.
template <typename Record, typename Equal = std::equal_to<>>
auto matches(std::vector<Record>& list, const std::vector<Record>& others, Equal equal = {}) {
  return std::count_if(list.begin(), list.end(), [&](Record& record) {
    return std::any_of(others.begin(), others.end(),
                       [&](const Record& other) { return equal(record, other); });
  });
}

// The same part twice, all in splines and analytic and 100 lower. The recognition of spline faces sees
// the planes, but no cylinder of two poles along its axis; slots need lines as sides. The analytic file
// has engraved letters besides, with 18 planes, and other edges where cylinders meet and where their
// seams are.
TEST(RealModels, SplineAndAnalyticFileOfOnePart) {
  ZELMO_REQUIRE_REFERENCE_DATA("cad/nist_ctc_01_analytic.stp");
  gp_Trsf lift;
  lift.SetTranslation(gp_Vec(0, 0, 100));
  auto [splines, spline_curves, spline_edges] = Lists(modelOf("NIST_MBE_PMI_1.stp"));
  auto [analytic, curves, edges] = Lists(modelOf("nist_ctc_01_analytic.stp").Moved(lift));
  EXPECT_THAT(splines.planes, SizeIs(40));
  EXPECT_THAT(analytic.planes, SizeIs(40 + 18));
  const auto same_plane = [](const XFPlane& p, const XFPlane& q) {
    const float sign = p.a * q.a + p.b * q.b + p.c * q.c < 0 ? -1.0F : 1.0F;
    const cv::Vec3f off(p.a - sign * q.a, p.b - sign * q.b, p.c - sign * q.c);
    return cv::norm(off) < 1e-5 && std::fabs(p.d - sign * q.d) < 1e-3F;
  };
  EXPECT_EQ(matches(splines.planes, analytic.planes, same_plane), 40);
  EXPECT_THAT(splines.cylinders, SizeIs(0));
  EXPECT_THAT(analytic.cylinders, SizeIs(57));
  EXPECT_THAT(spline_curves.lines, SizeIs(210));
  EXPECT_EQ(matches(spline_curves.lines, curves.lines), 174);
  EXPECT_THAT(spline_curves.circles, SizeIs(74));
  EXPECT_EQ(matches(spline_curves.circles, curves.circles), 70);
  EXPECT_THAT(spline_curves.ovalGrooves, SizeIs(0));
  EXPECT_THAT(curves.ovalGrooves, SizeIs(2));
  EXPECT_THAT(curves.roundGrooves, SizeIs(2));
  EXPECT_EQ(matches(spline_curves.roundGrooves, curves.roundGrooves), 2);
}

/// Point, axis and radius of the cylinders that others found among the spline faces of a file.
std::vector<std::array<double, 7>> cylindersFoundByOthers(const std::string& file) {
  std::vector<std::array<double, 7>> found;
  std::ifstream table(referenceData("cad/bspline_faces_recognised.csv"));
  for (std::string line; std::getline(table, line);) {
    const std::size_t values = line.find(",cylinder,");
    if (line.find("/" + file + ",") == std::string::npos || values == std::string::npos) continue;
    std::istringstream row(line.substr(values + 10));
    found.emplace_back();
    for (double& value : found.back()) (row >> value).ignore(1);
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
      const cv::Vec3d base = cv::Vec3f(c.base), axis = cv::Vec3f(c.axis);
      EXPECT_TRUE(std::any_of(truths.begin(), truths.end(), [&](const auto& truth) {
        const cv::Vec3d point(truth.data()), true_axis(truth.data() + 3);
        return std::fabs(c.radius - truth[6]) < 1e-4 && cv::norm(axis.cross(true_axis)) < 1e-6 &&
               cv::norm((base - point).cross(true_axis)) < 1e-3;
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

/// How the reading of a damaged file ends; a child process exits with the first four.
enum End { Listed, Refused, FailureOfOcc, OtherException, TimedOut, Crashed, kEnds };

std::string damaged(std::string text, std::mt19937& random) {
  const auto below = [&random](std::size_t n) {
    return std::uniform_int_distribution<std::size_t>(0, n - 1)(random);
  };
  const std::size_t kind = below(4);
  for (std::size_t times = 1 + below(4); times > 0; --times) {
    const std::size_t at = below(text.size());
    if (kind == 0) text[at] = static_cast<char>(below(256));
    if (kind == 1) text.erase(at, 1 + below(60));
    if (kind == 2) text.insert(at, text.substr(below(text.size()), 1 + below(80)));
    if (kind == 3) {
      const std::size_t digit = text.find_first_of("0123456789", at);
      if (digit != std::string::npos) text[digit] = static_cast<char>('0' + below(10));
    }
    if (text.empty()) text = " ";
  }
  if (below(10) == 0) text.resize(below(text.size()) + 1);
  return text;
}

/// Leaves the file \p has_read behind once the reading is over.
End readAndList(zelmo::test::Reader reader, std::string path, const std::string& has_read) {
  try {
    TopoDS_Shape shape;
    const int status = reader(path.data(), shape);
    std::ofstream{has_read};
    if (status != 1) return Refused;
    const Lists lists(shape);
    return Listed;
  } catch (const Standard_Failure&) {
    return FailureOfOcc;
  } catch (...) {
    return OtherException;
  }
}

End endInChild(zelmo::test::Reader reader, const std::string& path, const std::string& has_read) {
  const pid_t child = fork();
  if (child == 0) {
    const rlimit seconds = {2, 3};
    setrlimit(RLIMIT_CPU, &seconds);
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    _exit(readAndList(reader, path, has_read));
  }
  int status = 0;
  waitpid(child, &status, 0);
  // A sanitizer that catches the signal ends the child with a code of its own.
  if (WIFEXITED(status)) return static_cast<End>(std::min(WEXITSTATUS(status), int{Crashed}));
  return WTERMSIG(status) == SIGXCPU ? TimedOut : Crashed;
}

/// Reads damaged variants of a file and counts how they end. OpenCASCADE itself dies of some: of
/// references to nothing, which it follows. What comes after its reading does not.
/// More variants by hand: ZELMO_DAMAGED_FILES is their count.
void readDamagedVariants(zelmo::test::Reader reader, const std::filesystem::path& good, int count,
                         unsigned seed) {
  const char* wanted = std::getenv("ZELMO_DAMAGED_FILES");  // NOLINT: no thread runs here
  if (wanted != nullptr) count = std::atoi(wanted);         // NOLINT: a number that we typed
  const std::string text = zelmo::test::contentOf(good), path = good.string() + ".damaged";
  const std::string has_read = good.string() + ".read";
  std::mt19937 random(seed);
  std::array<int, kEnds> ended{};
  for (int i = 0; i < count; ++i) {
    std::ofstream(path, std::ios::binary) << damaged(text, random);
    const End end = endInChild(reader, path, has_read);
    ++ended.at(end);
    EXPECT_FALSE(std::filesystem::remove(has_read) && end >= TimedOut) << "variant " << i;
  }
  EXPECT_EQ(ended[OtherException], 0);
  EXPECT_GT(ended[Listed], 0);
}

TEST(DamagedFiles, EndInAResultACodeOrAnException) {
  const zelmo::test::TemporaryFolder folder;
  const std::vector<TopoDS_Shape> shapes = {BRepPrimAPI_MakeBox(1, 2, 3),
                                            BRepPrimAPI_MakeCone(4, 1, 5)};
  zelmo::test::writeStep(shapes, folder.path() / "step");
  readDamagedVariants(&XReadModel::readStepFile, folder.path() / "step", 150, 7);
  zelmo::test::writeIges(shapes, folder.path() / "iges");
  readDamagedVariants(&XReadModel::readIgesFile, folder.path() / "iges", 100, 8);
}

}  // namespace
}  // namespace xmodelfeature
