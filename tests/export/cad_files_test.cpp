// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <numeric>
#include <thread>

#include <BRepAdaptor_Curve.hxx>
#include <BRepGProp.hxx>
#include <BRep_Tool.hxx>
#include <GProp_GProps.hxx>
#include <Geom_BSplineCurve.hxx>
#include <IGESControl_Reader.hxx>
#include <Standard_Failure.hxx>
#include <opencv2/core.hpp>

#include "export/records.h"
#include "support/cad_shapes.h"
#include "support/rows.h"
#include "zelmo/export/internal/feature_shapes.h"
#include "zelmo/model/model_3d_feature.h"

namespace xexportfiles {
namespace {

using testing::FloatNear;
using testing::Pointwise;
using xmodelfeature::XModel3DFeature;
using zelmo::test::rowOf;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// What a file holds beside faces, each with nothing above it.
struct Curves {
  explicit Curves(const TopoDS_Shape& shape) {
    for (TopExp_Explorer walk(shape, TopAbs_EDGE, TopAbs_FACE); walk.More(); walk.Next()) {
      edges.push_back(TopoDS::Edge(walk.Current()));
      GProp_GProps properties;
      BRepGProp::LinearProperties(edges.back(), properties);
      length += properties.Mass();
    }
    for (TopExp_Explorer walk(shape, TopAbs_VERTEX, TopAbs_EDGE); walk.More(); walk.Next()) {
      vertices.push_back(BRep_Tool::Pnt(TopoDS::Vertex(walk.Current())));
    }
  }
  std::vector<TopoDS_Edge> edges;
  std::vector<gp_Pnt> vertices;
  double length = 0;
};

using List = std::vector<XFBase*>;

struct CadFiles : ExportedFile {
  int write2D(const XFBase* f) const { return XExportFiles::Export2DFeature(f, path()); }
  int write3D(const XFBase* f) const { return XExportFiles::Export3DFeature(f, path()); }
  int writeStep(const List& all) const { return XExportFiles::ExportFeature2Step(all, path()); }
  int writeIges(const List& all) const { return XExportFiles::ExportFeature2Iges(all, path()); }
  int writePoly(const XFPolyLine& line, int mode) const {
    return XExportFiles::Export(line, path(), static_cast<ExportMode>(mode));
  }
  TopoDS_Shape stepShape() const { return zelmo::test::readStep(m_path).shape; }
  /// Curves and points, too, which the library's own reader leaves out.
  Curves igesCurves() const {
    const zelmo::internal::CadLock lock;
    IGESControl_Reader reader;
    if (reader.ReadFile(m_path.c_str()) == IFSelect_RetDone) reader.TransferRoots();
    return Curves(reader.OneShape());
  }

  Records records;
};

// --- reading back --------------------------------------------------------------------------------

cv::Vec3d localOf(const gp_Pnt& p) {
  const cv::Vec3d offset = cv::Vec3d(p.X(), p.Y(), p.Z()) - cv::Vec3d(cv::Vec3f(kCenter));
  const auto along = [&offset](const float* axis) { return offset.dot(cv::Vec3f(axis)); };
  return {along(kX), along(kY), along(kZ)};
}

// Everything flat is a rounded rectangle: all its points lie on one, but for those at its center.
TEST_F(CadFiles, FlatShapesComeBackFromIges) {
  const struct {
    const XFBase* feature;
    double half_length, half_width, corner, length;
    std::size_t edges, vertices, centers;
    double within = 1e-6;
  } outlines[] = {
      {&records.point, 0, 0, 0, 0, 0, 1, 1},
      {&records.line, 8, 0, 0, 16, 1, 2, 0, 2e-6},
      {&records.circle, 6, 6, 6, 12 * M_PI, 1, 1, 1},
      {&records.slot, 15, 5, 5, 40 + 10 * M_PI, 4, 5, 1},
      {&records.groove, 20, 10, 2.5, 100 + 5 * M_PI, 8, 9, 1},
      {&records.rectangle, 20, 10, 0, 120, 4, 4, 0, 4e-6}};  // its corners are sums of floats
  for (const auto& c : outlines) {
    SCOPED_TRACE(c.feature->getFeatureType());
    const auto expect_on_outline = [&c](const gp_Pnt& point) {
      const cv::Vec3d p = localOf(point);
      const double x = std::fabs(p[0]) - (c.half_length - c.corner);
      const double y = std::fabs(p[1]) - (c.half_width - c.corner);
      const double outside = std::hypot(std::max(x, 0.0), std::max(y, 0.0));
      const double off = outside + std::min(std::max(x, y), 0.0) - c.corner;
      EXPECT_NEAR(std::hypot(off, p[2]), 0, c.within);
    };
    ASSERT_EQ(write2D(c.feature), 0);
    const Curves curves = igesCurves();
    EXPECT_EQ(curves.edges.size(), c.edges);
    EXPECT_NEAR(curves.length, c.length, 1e-5);
    for (const TopoDS_Edge& edge : curves.edges) {
      const BRepAdaptor_Curve curve(edge);
      const double first = curve.FirstParameter(), step = (curve.LastParameter() - first) / 16;
      for (int i = 0; i <= 16; ++i) expect_on_outline(curve.Value(first + i * step));
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
}

/// The four solid records of a file; the planes are its plane and the ends of cylinder and cone.
void expectSolids(const XModel3DFeature& model, const Records& r) {
  const auto near = [](const std::vector<float>& row) {
    return Pointwise(FloatNear(8e-6F), row);  // floats at 30 are 2e-6 apart
  };
  ASSERT_EQ(rowOf(model.spheres.size(), model.cylinders.size(), model.cones.size()),
            rowOf(1, 1, 1));
  const auto& sphere = model.spheres[0];
  const auto& cone = model.cones[0];
  XFCylinder cylinder;
  model.cylinders[0].getCylinder(cylinder);
  if (cylinder.axis[0] < 0) cylinder.inv();
  EXPECT_THAT(rowOf(sphere.center, sphere.radius, cylinder.base, cylinder.top, cylinder.radius),
              near(rowOf(kCenter, 6, r.cylinder.base, r.cylinder.top, 4)));
  EXPECT_THAT(rowOf(cone.base, cone.top, cone.apex, cone.baseRadius, cone.topRadius),
              near(rowOf(r.cone.base, r.cone.top, r.cone.apex, 4, 2)));
  std::vector<std::vector<float>> planes;  // the reader adds a fifth to the sides of a patch
  for (const auto& p : model.planes) {
    const auto along = cv::Vec3f(p.majorDir) * (p.majorDir[0] < 0 ? -1 : 1);
    planes.push_back(rowOf(p.center, along.val, p.length, p.width));
  }
  EXPECT_EQ(planes.size(), 5U);
  EXPECT_THAT(planes, testing::Contains(near(rowOf(kCenter, kX, 12, 4.8))).Times(1));
}

TEST_F(CadFiles, SolidsComeBackOneByOneAndFromAListOfEveryKind) {
  XModel3DFeature one_by_one, from_step, from_iges;  // collects, but for the spheres
  for (XFBase* solid : List{&records.plane, &records.cylinder, &records.cone, &records.sphere}) {
    ASSERT_EQ(write3D(solid), 0);
    one_by_one.get3DFeatureData(stepShape());
  }
  ASSERT_EQ(writeStep(records.all), 0);
  const Curves step(stepShape());
  from_step.get3DFeatureData(stepShape());
  ASSERT_EQ(writeIges(records.all), 0);
  from_iges.get3DFeatureData(zelmo::test::readIges(m_path).shape);
  for (const XModel3DFeature* model : {&one_by_one, &from_step, &from_iges}) {
    expectSolids(*model, records);
  }
  // Line and poly line 1 edge each, the outlines 17; vertices of the point and the outlines.
  for (const Curves& curves : {step, igesCurves()}) {
    EXPECT_EQ(curves.edges.size(), 19U);
    EXPECT_EQ(curves.vertices.size(), 20U);
  }
}

TEST_F(CadFiles, APolyLineHasFourForms) {
  const XFPolyLine& line = records.poly_line;
  ASSERT_EQ(writePoly(line, ExportPolyText), 0);
  EXPECT_EQ(content(), "0 0 0\n1 0 0\n2 1 0\n3 1 1\n4 0 2\n");
  ASSERT_EQ(writePoly(line, ExportPolyPoints), 0);
  const Curves vertices = igesCurves();
  ASSERT_EQ(vertices.vertices.size(), 5U);
  EXPECT_TRUE(vertices.edges.empty());
  EXPECT_LT(vertices.vertices[4].Distance(gp_Pnt(4, 0, 2)), 1e-9);
  ASSERT_EQ(writePoly(line, ExportPolySegments), 0);
  EXPECT_EQ(igesCurves().edges.size(), 4U);
  EXPECT_NEAR(igesCurves().length, 1 + 2 * std::sqrt(2) + std::sqrt(3), 1e-9);
  ASSERT_EQ(writePoly(line, ExportPolySpline), 0);
  const Curves spline = igesCurves();
  ASSERT_EQ(spline.edges.size(), 1U);
  const Handle(Geom_BSplineCurve) form = BRepAdaptor_Curve(spline.edges[0]).BSpline();
  ASSERT_EQ(form->NbKnots(), 5);
  int i = 0;
  for (const XFPoint& p : line.points) {
    EXPECT_LT(form->Value(form->Knot(++i)).Distance(gp_Pnt(p.x, p.y, p.z)), 1e-6);
  }
}

TEST_F(CadFiles, APolyLineThatGivesNoCurveIsAnswered) {
  XFPolyLine& three = records.poly_line;
  three.points.resize(3);
  for (const int mode : {3, 4, -1}) EXPECT_EQ(writePoly(three, mode), -1) << mode;
  EXPECT_FALSE(exists());
  EXPECT_EQ(writeStep({&three}), 0);
  EXPECT_TRUE(Curves(stepShape()).edges.empty());
  EXPECT_EQ(writeIges({&three}), -1);
  EXPECT_EQ(writePoly(XFPolyLine(), ExportPolyText), 0);
  EXPECT_EQ(content(), "");
  // Text is not even told of a file that can't be opened.
  m_path = m_folder.path();
  EXPECT_EQ(writePoly(three, ExportPolyText), 0);
  // Neighbours that are equal.
  const XFPoint zero(0, 0, 0), p(1, 2, 3), q(5, 5, 5);
  const XFPolyLine still(std::vector<XFPoint>{zero, p, p, q});
  EXPECT_THROW(writePoly(still, ExportPolySegments), Standard_Failure);
  EXPECT_THROW(writePoly(still, ExportPolySpline), Standard_Failure);
}

TEST(CurvePoints, TakesFifteenThousandAtMost) {
  using zelmo::internal::curvePoints;
  for (const int count : {2, 15000, 15001, 1000003}) {
    const std::vector<int> taken = curvePoints(count);
    EXPECT_EQ(static_cast<int>(taken.size()), std::min(count, 15000));
    EXPECT_EQ(taken.front(), 0);
    EXPECT_EQ(taken.back(), count - 1);
    for (std::size_t i = 0; i < taken.size(); ++i) {
      EXPECT_NEAR(taken[i], static_cast<double>(i) * count / 15000.0, 1 + count / 15000);
    }
  }
}

// --- answers -------------------------------------------------------------------------------------

TEST_F(CadFiles, EachKindHasItsOneWriter) {
  ForeignRecord foreign;
  for (const XFBase* feature : List{&records.poly_line, &foreign, nullptr}) {
    EXPECT_EQ(write2D(feature), -1);
    EXPECT_EQ(write3D(feature), -1);
  }
  for (const XFBase* feature : records.flat) EXPECT_EQ(write3D(feature), -1);
  for (const XFBase* feature : records.solid) EXPECT_EQ(write2D(feature), -1);
  const TopoDS_Compound empty = zelmo::test::together({});
  EXPECT_EQ(writeStep({}), -2);
  EXPECT_EQ(writeIges({}), -2);
  EXPECT_EQ(XExportFiles::ExportIges(empty, path()), -2);
  EXPECT_EQ(XExportFiles::ExportStep(TopoDS_Shape(), path()), -1);
  EXPECT_FALSE(exists());
  EXPECT_EQ(XExportFiles::ExportStep(empty, path()), 0);
  EXPECT_TRUE(exists());
  for (const std::filesystem::path& unwritable :
       {m_folder.path(), m_folder.path() / "missing" / "a.stp", {"/dev/full"}, {""}}) {
    m_path = unwritable;
    EXPECT_EQ(write2D(&records.circle), -1) << m_path;
    EXPECT_EQ(write3D(&records.sphere), -1) << m_path;
  }
}

TEST_F(CadFiles, RecordsThatCantBeBuiltLeaveNoFile) {
  XFCircle3D no_normal{kCenter, kZero, kX, 6}, negative{kCenter, kZ, -6};
  XFOvalGroove3D no_side{kCenter, kZ, kZero, 10, 5};
  XFRectangle3D no_width{kCenter, kZ, kX, 20, 0};
  XFRoundGroove3D too_round{kCenter, kZ, kX, 20, 10, 11};
  XFCylinder no_axis{kCenter, kZero, 4, 20};
  XFCone no_taper{kCenter, kY, 4, 4, 10};
  XFSphere inside_out{kCenter, -6};
  for (XFBase* bad : List{&no_normal, &negative, &no_side, &no_width, &too_round, &no_axis,
                          &no_taper, &inside_out}) {
    const auto write_alone = [&] { return std::max(write2D(bad), write3D(bad)); };
    EXPECT_THROW(write_alone(), Standard_Failure) << bad->getFeatureType();
    EXPECT_THROW(writeStep({&records.sphere, bad}), Standard_Failure) << bad->getFeatureType();
  }
  EXPECT_FALSE(exists());
}

TEST_F(CadFiles, NumbersThatAreNotFiniteGiveMinusOneAndNoFile) {
  Records& r = records;
  for (float* number : {&r.point.x, &r.line.length, &r.plane.majorDir[1], &r.sphere.center[2],
                        &r.cylinder.height, &r.cone.topRadius, &r.slot.halfStraight,
                        &r.groove.cornerRadius, &r.poly_line.points[3].y}) {
    *number = kNaN;
  }
  r.circle.radius = std::numeric_limits<float>::infinity();
  r.rectangle.normal[0] = -std::numeric_limits<float>::infinity();
  for (XFBase* feature : r.all) {
    EXPECT_EQ(write2D(feature), -1);
    EXPECT_EQ(write3D(feature), -1);
    EXPECT_EQ(writeStep({feature}), -1);
    EXPECT_EQ(writeIges({feature}), -1);
  }
  for (const int mode : {1, 2, 3}) EXPECT_EQ(writePoly(r.poly_line, mode), -1);
  EXPECT_FALSE(exists());
}

TEST_F(CadFiles, SidesAndArcsOfUnusualSlots) {
  // Without straight sides, and without rounding, its arcs lie on one another.
  const float x[3] = {1, 0, 0}, z[3] = {0, 0, 1};
  const XFOvalGroove3D round(kZero, z, x, 0, 5);
  ASSERT_EQ(write2D(&round), 0);
  const Curves curves = igesCurves();
  ASSERT_EQ(curves.edges.size(), 4U);
  for (const std::size_t i : {0U, 1U}) {
    const BRepAdaptor_Curve arc(curves.edges[i]);
    const gp_Pnt middle = arc.Value((arc.FirstParameter() + arc.LastParameter()) / 2);
    EXPECT_LT(middle.Distance(gp_Pnt(-5, 0, 0)), 1e-6);
  }
}

// --- what the process shares ---------------------------------------------------------------------

TEST_F(CadFiles, ACylinderLeavesInchesBehindOnceStepWasUsed) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a process that has not yet written STEP
  const auto cylinder_and_sphere = [this] {
    write3D(&records.cylinder);
    const bool cylinder_in_inches = content().find("'INCH'") != std::string::npos;
    write3D(&records.sphere);
    return cylinder_in_inches || content().find("'INCH'") != std::string::npos;
  };
  EXPECT_EXIT(std::_Exit(cylinder_and_sphere()   ? 1
                         : cylinder_and_sphere() ? 0
                                                 : 2),
              testing::ExitedWithCode(0), "");
}

// Eight threads, each with a file of its own. More rounds by hand: ZELMO_THREAD_ROUNDS is their count.
TEST_F(CadFiles, ThreadsTakeTurns) {
  const char* wanted = std::getenv("ZELMO_THREAD_ROUNDS");        // NOLINT: no thread runs here
  const int rounds = wanted != nullptr ? std::atoi(wanted) : 24;  // NOLINT: a number that we typed
  std::atomic<int> whole{0};
  const auto work = [&](int t) {
    const bool is_step = t % 2 == 0;
    const auto write =
        is_step ? XExportFiles::ExportFeature2Step : XExportFiles::ExportFeature2Iges;
    const auto read =
        is_step ? xmodelfeature::XReadModel::readStepFile : xmodelfeature::XReadModel::readIgesFile;
    Records own;
    std::string file = (m_folder.path() / std::to_string(t)).string();
    for (int round = 0; round < rounds; ++round) {
      TopoDS_Shape shape;
      XModel3DFeature model;
      const bool is_done =
          write(own.solid, zelmo::test::widePath(file)) == 0 && read(file.data(), shape) == 1;
      model.get3DFeatureData(shape);
      whole += is_done && model.planes.size() == 5 && model.spheres.size() == 1 &&
               model.cones.size() == 1 && model.cylinders.size() == 1;
    }
  };
  const std::string printed = zelmo::test::standardOutputOf([&] {
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) threads.emplace_back(work, t);
    for (std::thread& thread : threads) thread.join();
  });
  EXPECT_EQ(whole, 8 * rounds);
  std::string counts;
  for (int i = 0; i < 4 * rounds; ++i) counts += "NbRoots=1,NbTrans=1\n";
  EXPECT_EQ(printed, counts);
}

}  // namespace
}  // namespace xexportfiles
