// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <limits>
#include <numeric>
#include <sstream>
#include <thread>
#include <vector>

#include <BRepAdaptor_Curve.hxx>
#include <BRepGProp.hxx>
#include <BRep_Tool.hxx>
#include <GProp_GProps.hxx>
#include <Geom_BSplineCurve.hxx>
#include <IGESControl_Reader.hxx>
#include <Standard_Failure.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include "support/cad_shapes.h"
#include "support/captured_output.h"
#include "support/comma_locale.h"
#include "support/rows.h"
#include "support/temporary_folder.h"
#include "zelmo/export/export_files.h"
#include "zelmo/export/internal/feature_shapes.h"
#include "zelmo/internal/cad_lock.h"
#include "zelmo/model/model_3d_feature.h"

namespace xexportfiles {
namespace {

using namespace xgeofeature;  // NOLINT(google-build-using-namespace): the tables name every record
using testing::FloatNear;
using testing::Pointwise;
using zelmo::test::rowOf;
using zelmo::test::standardOutputOf;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// A frame without an axis along the world's; X, Y and Z are exactly orthogonal unit vectors.
const float kCenter[3] = {12.5F, -7.25F, 30};
const float kX[3] = {0.6F, 0.64F, 0.48F};
const float kY[3] = {-0.8F, 0.48F, 0.36F};
const float kZ[3] = {0, -0.6F, 0.8F};
const float kZero[3] = {0, 0, 0};

/// One record of each kind in that frame.
struct Records {
  XFPoint point{kCenter};
  XFLine3D2 line{kCenter, kX, 16};
  XFPlane plane{kCenter, kZ, kX, 10, 4};
  XFCircle3D circle{kCenter, kZ, 6};
  XFSphere sphere{kCenter, 6};
  XFCylinder cylinder{kCenter, kX, 4, 20};
  XFCone cone{kCenter, kY, 4, 2, 10};
  XFOvalGroove3D slot{kCenter, kZ, kX, 10, 5};
  XFRoundGroove3D groove{kCenter, kZ, kX, 20, 10, 2.5F};
  XFRectangle3D rectangle{kCenter, kZ, kX, 20, 10};
  XFPolyLine poly_line{std::vector<XFPoint>{{0, 0, 0}, {1, 0, 0}, {2, 1, 0}, {3, 1, 1}, {4, 0, 2}}};
  std::vector<XFBase*> flat = {&point, &line, &circle, &slot, &groove, &rectangle};
  std::vector<XFBase*> solid = {&plane, &sphere, &cylinder, &cone};
  std::vector<XFBase*> all = {&point, &line, &plane,  &circle,    &sphere,   &cylinder,
                              &cone,  &slot, &groove, &rectangle, &poly_line};
};

class CadFiles : public testing::Test {
 protected:
  bool exists() const { return std::filesystem::exists(m_path); }
  std::wstring path() const { return zelmo::test::widePath(m_path); }

  int quietly(const std::function<int()>& write) const {
    int result = 99;
    std::exception_ptr thrown;
    standardOutputOf([&] {
      try {
        result = write();
      } catch (...) {
        thrown = std::current_exception();
      }
    });
    if (thrown) std::rethrow_exception(thrown);
    return result;
  }
  int write2D(const XFBase* feature) const {
    return quietly([&] { return XExportFiles::Export2DFeature(feature, path()); });
  }
  int write3D(const XFBase* feature) const {
    return quietly([&] { return XExportFiles::Export3DFeature(feature, path()); });
  }
  int writePoly(const XFPolyLine& line, int mode) const {
    return quietly(
        [&] { return XExportFiles::Export(line, path(), static_cast<ExportMode>(mode)); });
  }

  zelmo::test::TemporaryFolder m_folder;
  std::filesystem::path m_path = m_folder.path() / "features \u00e4\u4e2d";
};

// --- reading back --------------------------------------------------------------------------------

/// What a file holds beside faces, each with nothing above it.
struct Curves {
  std::vector<TopoDS_Edge> edges;
  std::vector<gp_Pnt> vertices;
};

Curves curvesOf(const TopoDS_Shape& shape) {
  Curves curves;
  for (TopExp_Explorer walk(shape, TopAbs_EDGE, TopAbs_FACE); walk.More(); walk.Next()) {
    curves.edges.push_back(TopoDS::Edge(walk.Current()));
  }
  for (TopExp_Explorer walk(shape, TopAbs_VERTEX, TopAbs_EDGE); walk.More(); walk.Next()) {
    curves.vertices.push_back(BRep_Tool::Pnt(TopoDS::Vertex(walk.Current())));
  }
  return curves;
}

/// Curves and points too, which the library's own reader leaves out.
Curves readIgesCurves(const std::filesystem::path& path) {
  TopoDS_Shape shape;
  standardOutputOf([&] {
    const zelmo::internal::CadLock lock;
    IGESControl_Reader reader;
    if (reader.ReadFile(path.c_str()) != IFSelect_RetDone) return;
    reader.TransferRoots();
    shape = reader.OneShape();
  });
  return curvesOf(shape);
}

cv::Vec3d localOf(const gp_Pnt& p) {
  const double offset[3] = {p.X() - kCenter[0], p.Y() - kCenter[1], p.Z() - kCenter[2]};
  cv::Vec3d local;
  for (int i = 0; i < 3; ++i) {
    local[0] += offset[i] * kX[i];
    local[1] += offset[i] * kY[i];
    local[2] += offset[i] * kZ[i];
  }
  return local;
}

double lengthOf(const std::vector<TopoDS_Edge>& edges) {
  double length = 0;
  for (const TopoDS_Edge& edge : edges) {
    GProp_GProps properties;
    BRepGProp::LinearProperties(edge, properties);
    length += properties.Mass();
  }
  return length;
}

/// How far a local point lies off a rectangle of these half sides with rounded corners.
double offOutline(const cv::Vec3d& p, double half_length, double half_width, double corner) {
  const double x = std::fabs(p[0]) - (half_length - corner);
  const double y = std::fabs(p[1]) - (half_width - corner);
  const double outside = std::hypot(std::max(x, 0.0), std::max(y, 0.0));
  return std::hypot(outside + std::min(std::max(x, y), 0.0) - corner, p[2]);
}

struct OutlineCase {
  const XFBase* feature;
  double half_length, half_width, corner, length;
  std::size_t edges, vertices, centers;
  double within = 1e-6;
};

/// Everything flat is a rounded rectangle.
void expectOutline(const Curves& curves, const OutlineCase& c) {
  const auto expect_on_outline = [&c](const gp_Pnt& p) {
    EXPECT_NEAR(offOutline(localOf(p), c.half_length, c.half_width, c.corner), 0, c.within);
  };
  EXPECT_EQ(curves.edges.size(), c.edges);
  EXPECT_NEAR(lengthOf(curves.edges), c.length, 1e-5);
  for (const TopoDS_Edge& edge : curves.edges) {
    const BRepAdaptor_Curve curve(edge);
    for (double t = 0; t <= 1; t += 1.0 / 16) {
      expect_on_outline(curve.Value(curve.FirstParameter() * (1 - t) + curve.LastParameter() * t));
    }
  }
  EXPECT_EQ(curves.vertices.size(), c.vertices);
  std::size_t centers = 0;
  for (const gp_Pnt& p : curves.vertices) {
    const bool is_center = cv::norm(localOf(p)) < 1e-6;
    centers += is_center;
    if (!is_center) expect_on_outline(p);
  }
  EXPECT_EQ(centers, c.centers);
}

TEST_F(CadFiles, FlatShapesComeBackFromIges) {
  const Records r;
  const zelmo::test::CommaLocale comma;
  const OutlineCase outlines[] = {
      {&r.point, 0, 0, 0, 0, 0, 1, 1},
      {&r.line, 8, 0, 0, 16, 1, 2, 0, 2e-6},
      {&r.circle, 6, 6, 6, 12 * M_PI, 1, 1, 1},
      {&r.slot, 15, 5, 5, 40 + 10 * M_PI, 4, 5, 1},
      {&r.groove, 20, 10, 2.5, 100 + 5 * M_PI, 8, 9, 1},
      {&r.rectangle, 20, 10, 0, 120, 4, 4, 0, 4e-6}};  // its corners are sums of floats
  for (const OutlineCase& c : outlines) {
    SCOPED_TRACE(c.feature->getFeatureType());
    ASSERT_EQ(write2D(c.feature), 0);
    expectOutline(readIgesCurves(m_path), c);
  }
}

/// The four solid records of a file; the planes are its plane and the ends of cylinder and cone.
void expectSolids(const xmodelfeature::XModel3DFeature& model, const Records& r) {
  const auto near = [](const std::vector<float>& row) {
    return Pointwise(FloatNear(8e-6F), row);  // floats at 30 are 2e-6 apart
  };
  ASSERT_EQ(model.spheres.size(), 1U);
  EXPECT_THAT(rowOf(model.spheres[0].center, model.spheres[0].radius), near(rowOf(kCenter, 6)));
  ASSERT_EQ(model.cylinders.size(), 1U);
  XFCylinder cylinder;
  model.cylinders[0].getCylinder(cylinder);
  if (cylinder.axis[0] < 0) cylinder.inv();
  EXPECT_THAT(rowOf(cylinder.base, cylinder.top, cylinder.radius),
              near(rowOf(r.cylinder.base, r.cylinder.top, 4)));
  ASSERT_EQ(model.cones.size(), 1U);
  const xmodelfeature::XFCone& cone = model.cones[0];
  EXPECT_THAT(rowOf(cone.base, cone.top, cone.apex, cone.baseRadius, cone.topRadius),
              near(rowOf(r.cone.base, r.cone.top, r.cone.apex, 4, 2)));
  EXPECT_EQ(model.planes.size(), 5U);
  int own_planes = 0;  // the reader adds a fifth to the sides of a patch
  for (const auto& p : model.planes) {
    const float sign = p.majorDir[0] < 0 ? -1.0F : 1.0F;
    const float along[3] = {sign * p.majorDir[0], sign * p.majorDir[1], sign * p.majorDir[2]};
    own_planes += testing::Value(rowOf(p.center, along, p.length, p.width),
                                 near(rowOf(kCenter, kX, 12, 4.8)));
  }
  EXPECT_EQ(own_planes, 1);
}

TEST_F(CadFiles, SolidsAndPlaneComeBackFromStep) {
  const Records records;
  xmodelfeature::XModel3DFeature model;  // collects over the four files, but for the spheres
  for (const std::size_t i : {0, 2, 3, 1}) {
    ASSERT_EQ(write3D(records.solid[i]), 0);
    model.get3DFeatureData(zelmo::test::readStep(m_path).shape);
  }
  expectSolids(model, records);
}

TEST_F(CadFiles, AListOfEveryKindComesBackFromOneFile) {
  Records records;
  const zelmo::test::CommaLocale comma;
  ASSERT_EQ(quietly([&] { return XExportFiles::ExportFeature2Step(records.all, path()); }), 0);
  const TopoDS_Shape shape = zelmo::test::readStep(m_path).shape;
  xmodelfeature::XModel3DFeature from_step, from_iges;
  from_step.get3DFeatureData(shape);
  expectSolids(from_step, records);
  // Line and poly line 1 edge each, the outlines 17; vertices of the point and the outlines.
  EXPECT_EQ(curvesOf(shape).edges.size(), 19U);
  EXPECT_EQ(curvesOf(shape).vertices.size(), 20U);

  ASSERT_EQ(quietly([&] { return XExportFiles::ExportFeature2Iges(records.all, path()); }), 0);
  from_iges.get3DFeatureData(zelmo::test::readIges(m_path).shape);
  expectSolids(from_iges, records);
  const Curves read = readIgesCurves(m_path);
  EXPECT_EQ(read.edges.size(), 19U);
  EXPECT_EQ(read.vertices.size(), 20U);
}

// --- poly lines ----------------------------------------------------------------------------------

TEST_F(CadFiles, APolyLineHasFourForms) {
  const Records records;
  const std::vector<XFPoint>& points = records.poly_line.points;
  const zelmo::test::CommaLocale comma;
  ASSERT_EQ(writePoly(records.poly_line, 0), 0);
  EXPECT_EQ(zelmo::test::contentOf(m_path), "0 0 0\n1 0 0\n2 1 0\n3 1 1\n4 0 2\n");

  ASSERT_EQ(writePoly(records.poly_line, 1), 0);
  const Curves vertices = readIgesCurves(m_path);
  ASSERT_EQ(vertices.vertices.size(), points.size());
  EXPECT_TRUE(vertices.edges.empty());
  EXPECT_LT(vertices.vertices[4].Distance(gp_Pnt(4, 0, 2)), 1e-9);

  ASSERT_EQ(writePoly(records.poly_line, 2), 0);
  const Curves segments = readIgesCurves(m_path);
  EXPECT_EQ(segments.edges.size(), 4U);
  EXPECT_NEAR(lengthOf(segments.edges), 1 + 2 * std::sqrt(2) + std::sqrt(3), 1e-9);

  ASSERT_EQ(writePoly(records.poly_line, 3), 0);
  const Curves spline = readIgesCurves(m_path);
  ASSERT_EQ(spline.edges.size(), 1U);
  const BRepAdaptor_Curve curve(spline.edges[0]);
  const Handle(Geom_BSplineCurve) form = curve.BSpline();
  ASSERT_EQ(form->NbKnots(), static_cast<int>(points.size()));
  for (int i = 0; i < form->NbKnots(); ++i) {
    const XFPoint& p = points[static_cast<std::size_t>(i)];
    EXPECT_LT(form->Value(form->Knot(i + 1)).Distance(gp_Pnt(p.x, p.y, p.z)), 1e-6) << i;
  }
}

TEST_F(CadFiles, APolyLineThatGivesNoCurveIsAnswered) {
  Records records;
  XFPolyLine& three = records.poly_line;
  three.points.resize(3);
  for (const int mode : {3, 4, -1}) {
    EXPECT_EQ(writePoly(three, mode), -1) << mode;
    EXPECT_FALSE(exists());
  }
  EXPECT_EQ(quietly([&] { return XExportFiles::ExportFeature2Step({&three}, path()); }), 0);
  EXPECT_TRUE(curvesOf(zelmo::test::readStep(m_path).shape).edges.empty());
  EXPECT_EQ(quietly([&] { return XExportFiles::ExportFeature2Iges({&three}, path()); }), -1);
  EXPECT_EQ(writePoly(XFPolyLine(three.points.data(), 1), 2), -1);
  EXPECT_EQ(writePoly(XFPolyLine(), 0), 0);
  EXPECT_EQ(zelmo::test::contentOf(m_path), "");
  // Text is not even told of a file that can't be opened.
  m_path = m_folder.path();
  EXPECT_EQ(writePoly(three, 0), 0);
  // Neighbours that are equal, or nearly.
  const XFPoint zero(0, 0, 0), p(1, 2, 3), q(5, 5, 5);
  const XFPolyLine still(std::vector<XFPoint>{zero, p, p, q});
  EXPECT_THROW(writePoly(XFPolyLine({zero, {5e-7F, 0, 0}, p, q}), 3), Standard_Failure);
  EXPECT_THROW(writePoly(still, 2), Standard_Failure);
  EXPECT_THROW(writePoly(still, 3), Standard_Failure);
}

TEST(CurvePoints, TakesFifteenThousandAtMost) {
  using zelmo::internal::curvePoints;
  std::vector<int> every(15000);
  std::iota(every.begin(), every.end(), 0);
  EXPECT_EQ(curvePoints(15000), every);
  for (const int count : {15001, 16000, 22500, 1000003}) {
    // Steps are added up, so that their rounding adds up, too.
    std::vector<double> position(14999, count / 15000.0);
    position[0] = 0;
    std::partial_sum(position.begin(), position.end(), position.begin());
    std::vector<int> expected(position.begin(), position.end());
    expected.push_back(count - 1);
    EXPECT_EQ(curvePoints(count), expected);
  }
  EXPECT_EQ(curvePoints(22500)[3], 4);
}

// --- answers -------------------------------------------------------------------------------------

TEST_F(CadFiles, EachKindHasItsOneWriter) {
  Records records;
  struct Foreign : XFBase {
    GeoFeatureType getFeatureType() const override { return GeoSphere; }
  } foreign;
  for (const XFBase* feature : std::vector<const XFBase*>{&records.poly_line, &foreign, nullptr}) {
    EXPECT_EQ(write2D(feature), -1);
    EXPECT_EQ(write3D(feature), -1);
  }
  for (const XFBase* feature : records.flat) EXPECT_EQ(write3D(feature), -1);
  for (const XFBase* feature : records.solid) EXPECT_EQ(write2D(feature), -1);
  const TopoDS_Compound empty = zelmo::test::together({});
  EXPECT_EQ(XExportFiles::ExportFeature2Step({}, path()), -2);
  EXPECT_EQ(XExportFiles::ExportFeature2Iges({}, path()), -2);
  EXPECT_EQ(XExportFiles::ExportIges(empty, path()), -2);
  EXPECT_EQ(quietly([&] { return XExportFiles::ExportStep(TopoDS_Shape(), path()); }), -1);
  EXPECT_FALSE(exists());
  EXPECT_EQ(quietly([&] { return XExportFiles::ExportStep(empty, path()); }), 0);
  EXPECT_TRUE(exists());
}

TEST_F(CadFiles, APathThatCantBeWrittenGivesMinusOne) {
  Records records;
  const std::filesystem::path paths[] = {m_folder.path(), m_folder.path() / "missing" / "a.stp",
                                         "/dev/full", ""};
  for (const auto& path : paths) {
    m_path = path;
    EXPECT_EQ(write2D(&records.circle), -1) << path;
    EXPECT_EQ(write3D(&records.sphere), -1) << path;
  }
  EXPECT_THROW(XExportFiles::Export3DFeature(&records.sphere, std::wstring(1, 0xD800)),
               std::range_error);
}

TEST_F(CadFiles, RecordsThatCantBeBuiltLeaveNoFile) {
  XFCircle3D no_normal{kCenter, kZero, kX, 6}, negative{kCenter, kZ, -6};
  XFLine3D2 no_length{kCenter, kX, 0};
  XFOvalGroove3D no_side{kCenter, kZ, kZero, 10, 5};
  XFRectangle3D no_width{kCenter, kZ, kX, 20, 0};
  XFRoundGroove3D too_round{kCenter, kZ, kX, 20, 10, 11};
  XFPlane along_normal{kCenter, kZ, kZ, 10, 4};
  XFCylinder no_axis{kCenter, kZero, 4, 20};
  XFCone no_taper{kCenter, kY, 4, 4, 10};
  XFSphere inside_out{kCenter, -6}, good{kCenter, 6};
  XFBase* const bad[] = {&no_normal, &negative,     &no_length, &no_side,  &no_width,
                         &too_round, &along_normal, &no_axis,   &no_taper, &inside_out};
  for (int i = 0; i < 10; ++i) {
    EXPECT_THROW(i < 6 ? write2D(bad[i]) : write3D(bad[i]), Standard_Failure) << i;
    EXPECT_THROW(quietly([&] {
                   return XExportFiles::ExportFeature2Step({&good, bad[i]}, path());
                 }),
                 Standard_Failure);
  }
  EXPECT_FALSE(exists());
}

TEST_F(CadFiles, NumbersThatAreNotFiniteGiveMinusOneAndNoFile) {
  Records r;
  r.point.x = kNaN;
  r.line.length = kNaN;
  r.plane.majorDir[1] = kNaN;
  r.circle.radius = std::numeric_limits<float>::infinity();
  r.sphere.center[2] = kNaN;
  r.cylinder.height = kNaN;
  r.cone.topRadius = kNaN;
  r.slot.halfStraight = kNaN;
  r.groove.cornerRadius = kNaN;
  r.rectangle.normal[0] = -std::numeric_limits<float>::infinity();
  r.poly_line.points[3].y = kNaN;
  for (const XFBase* feature : r.flat) EXPECT_EQ(write2D(feature), -1);
  for (const XFBase* feature : r.solid) EXPECT_EQ(write3D(feature), -1);
  for (XFBase* feature : r.all) {
    EXPECT_EQ(quietly([&] { return XExportFiles::ExportFeature2Step({feature}, path()); }), -1);
    EXPECT_EQ(quietly([&] { return XExportFiles::ExportFeature2Iges({feature}, path()); }), -1);
  }
  for (const int mode : {1, 2, 3}) EXPECT_EQ(writePoly(r.poly_line, mode), -1);
  EXPECT_FALSE(exists());
}

TEST_F(CadFiles, SidesAndArcsOfUnusualSlots) {
  // Without straight sides, and without rounding, its arcs lie on one another.
  const float x[3] = {1, 0, 0}, z[3] = {0, 0, 1};
  const XFOvalGroove3D round(kZero, z, x, 0, 5);
  ASSERT_EQ(write2D(&round), 0);
  const Curves curves = readIgesCurves(m_path);
  ASSERT_EQ(curves.edges.size(), 4U);
  for (const TopoDS_Edge& edge : {curves.edges[0], curves.edges[1]}) {
    const BRepAdaptor_Curve arc(edge);
    const gp_Pnt middle = arc.Value((arc.FirstParameter() + arc.LastParameter()) / 2);
    EXPECT_LT(middle.Distance(gp_Pnt(-5, 0, 0)), 1e-6);
  }
  // So far beyond the middle that both arcs keep their first direction: the sides don't cross.
  const XFOvalGroove3D swapped(kCenter, kZ, kX, -20, 5);
  ASSERT_EQ(write2D(&swapped), 0);
  EXPECT_NEAR(lengthOf(readIgesCurves(m_path).edges), 80 + 10 * M_PI, 1e-5);
}

// --- what the process shares ---------------------------------------------------------------------

bool isInInches(const std::filesystem::path& path) {
  return zelmo::test::contentOf(path).find("'INCH'") != std::string::npos;
}

TEST_F(CadFiles, ACylinderLeavesInchesBehindOnceStepWasUsed) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a process that has not yet written STEP
  const auto firstTwo = [&] {
    const Records records;
    bool in_inches[3];
    if (std::freopen("/dev/null", "w", stdout) == nullptr) std::_Exit(2);
    XExportFiles::Export3DFeature(&records.cylinder, path());
    in_inches[0] = isInInches(m_path);
    XExportFiles::Export3DFeature(&records.sphere, path());
    in_inches[1] = isInInches(m_path);
    XExportFiles::Export3DFeature(&records.cylinder, path());
    XExportFiles::Export3DFeature(&records.sphere, path());
    in_inches[2] = isInInches(m_path);
    std::_Exit(!in_inches[0] && !in_inches[1] && in_inches[2] ? 0 : 1);
  };
  EXPECT_EXIT(firstTwo(), testing::ExitedWithCode(0), "");
}

// Eight threads, each with a file of its own. More rounds by hand: ZELMO_THREAD_ROUNDS is their count.
TEST_F(CadFiles, ThreadsTakeTurns) {
  const char* wanted = std::getenv("ZELMO_THREAD_ROUNDS");        // NOLINT: no thread runs here
  const int rounds = wanted != nullptr ? std::atoi(wanted) : 24;  // NOLINT: a number that we typed
  std::atomic<int> whole{0};
  const auto work = [&](int t) {
    Records records;
    std::string file = (m_folder.path() / std::to_string(t)).string();
    const std::wstring wide = zelmo::test::widePath(file);
    for (int round = 0; round < rounds; ++round) {
      TopoDS_Shape shape;
      xmodelfeature::XModel3DFeature model;
      const bool is_done =
          t % 2 == 0 ? XExportFiles::ExportFeature2Step(records.solid, wide) == 0 &&
                           xmodelfeature::XReadModel::readStepFile(file.data(), shape) == 1
                     : XExportFiles::ExportFeature2Iges(records.solid, wide) == 0 &&
                           xmodelfeature::XReadModel::readIgesFile(file.data(), shape) == 1;
      model.get3DFeatureData(shape);
      whole += is_done && model.planes.size() == 5 && model.spheres.size() == 1 &&
               model.cones.size() == 1 && model.cylinders.size() == 1;
    }
  };
  const std::string printed = standardOutputOf([&] {
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) threads.emplace_back(work, t);
    for (std::thread& thread : threads) thread.join();
  });
  EXPECT_EQ(whole, 8 * rounds);
  std::istringstream lines(printed);
  int counts = 0;
  for (std::string line; std::getline(lines, line);) counts += line == "NbRoots=1,NbTrans=1";
  EXPECT_EQ(counts, 4 * rounds);
}

}  // namespace
}  // namespace xexportfiles
