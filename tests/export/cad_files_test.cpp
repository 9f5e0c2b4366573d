// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <future>
#include <limits>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include <BRepAdaptor_Curve.hxx>
#include <BRepGProp.hxx>
#include <BRep_Tool.hxx>
#include <GProp_GProps.hxx>
#include <Geom_BSplineCurve.hxx>
#include <IGESControl_Reader.hxx>
#include <Interface_Static.hxx>
#include <Standard_Failure.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Shape.hxx>
#include <TopoDS_Vertex.hxx>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include "support/cad_shapes.h"
#include "support/captured_output.h"
#include "support/comma_locale.h"
#include "support/temporary_folder.h"
#include "zelmo/export/export_files.h"
#include "zelmo/export/internal/feature_shapes.h"
#include "zelmo/internal/cad_lock.h"
#include "zelmo/model/model_3d_feature.h"

namespace xexportfiles {
namespace {

using namespace xgeofeature;  // NOLINT(google-build-using-namespace): the tables name every record
using testing::Each;
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
  const char* name;
  const XFBase* feature;
  double half_length, half_width, corner;
  std::size_t edges, vertices;
  bool has_center;
  double within;  // the rectangle's corners are sums of floats
};

/// A circle, a slot and a rectangle are rounded rectangles too.
std::vector<OutlineCase> outlines(const Records& r) {
  return {{"circle", &r.circle, 6, 6, 6, 1, 1, true, 1e-6},
          {"slot", &r.slot, 15, 5, 5, 4, 5, true, 1e-6},
          {"round groove", &r.groove, 20, 10, 2.5, 8, 9, true, 1e-6},
          {"rectangle", &r.rectangle, 20, 10, 0, 4, 4, false, 4e-6}};
}

void expectOutline(const Curves& curves, const OutlineCase& c) {
  SCOPED_TRACE(c.name);
  EXPECT_EQ(curves.edges.size(), c.edges);
  for (const TopoDS_Edge& edge : curves.edges) {
    const BRepAdaptor_Curve curve(edge);
    for (int i = 0; i <= 16; ++i) {
      const double t = i / 16.0;
      const gp_Pnt p = curve.Value(curve.FirstParameter() * (1 - t) + curve.LastParameter() * t);
      EXPECT_NEAR(offOutline(localOf(p), c.half_length, c.half_width, c.corner), 0, c.within);
    }
  }
  const double straight = 4 * (c.half_length + c.half_width - 2 * c.corner);
  EXPECT_NEAR(lengthOf(curves.edges), straight + 2 * M_PI * c.corner, 1e-5);
  EXPECT_EQ(curves.vertices.size(), c.vertices);
  std::size_t centers = 0;
  for (const gp_Pnt& p : curves.vertices) {
    const bool is_center = cv::norm(localOf(p)) < 1e-6;
    centers += is_center ? 1 : 0;
    if (!is_center) {
      EXPECT_NEAR(offOutline(localOf(p), c.half_length, c.half_width, c.corner), 0, c.within);
    }
  }
  EXPECT_EQ(centers, c.has_center ? 1U : 0U);
}

TEST_F(CadFiles, FlatShapesComeBackFromIges) {
  const Records records;
  const zelmo::test::CommaLocale comma;
  for (const OutlineCase& c : outlines(records)) {
    ASSERT_EQ(write2D(c.feature), 0) << c.name;
    expectOutline(readIgesCurves(m_path), c);
  }
}

TEST_F(CadFiles, PointsAndLinesComeBackFromIges) {
  const Records records;
  ASSERT_EQ(write2D(&records.point), 0);
  const Curves point = readIgesCurves(m_path);
  ASSERT_EQ(point.vertices.size(), 1U);
  EXPECT_TRUE(point.edges.empty());
  EXPECT_LT(cv::norm(localOf(point.vertices[0])), 1e-6);

  ASSERT_EQ(write2D(&records.line), 0);
  const Curves line = readIgesCurves(m_path);
  ASSERT_EQ(line.edges.size(), 1U);
  ASSERT_EQ(line.vertices.size(), 2U);
  EXPECT_NEAR(lengthOf(line.edges), 16, 1e-5);
  EXPECT_LT(cv::norm(localOf(line.vertices[0]) - cv::Vec3d(-8, 0, 0)), 2e-6);
  EXPECT_LT(cv::norm(localOf(line.vertices[1]) - cv::Vec3d(8, 0, 0)), 2e-6);
}

double apart(const float* a, const float* b) {
  return std::hypot(static_cast<double>(a[0]) - b[0], static_cast<double>(a[1]) - b[1],
                    static_cast<double>(a[2]) - b[2]);
}

/// The four solid records of a file; the planes are its plane and the ends of cylinder and cone.
void expectSolids(const xmodelfeature::XModel3DFeature& model, const Records& r,
                  std::size_t planes) {
  // Floats at 30 are 2e-6 apart.
  constexpr double kClose = 4e-6;
  ASSERT_EQ(model.spheres.size(), 1U);
  EXPECT_NEAR(model.spheres[0].radius, 6, 1e-6);
  EXPECT_LT(apart(model.spheres[0].center, kCenter), kClose);
  ASSERT_EQ(model.cylinders.size(), 1U);
  XFCylinder cylinder;
  model.cylinders[0].getCylinder(cylinder);
  if (apart(cylinder.base, r.cylinder.base) > 1) cylinder.inv();
  EXPECT_NEAR(cylinder.radius, 4, 1e-6);
  EXPECT_LT(apart(cylinder.base, r.cylinder.base), kClose);
  EXPECT_LT(apart(cylinder.top, r.cylinder.top), kClose);
  ASSERT_EQ(model.cones.size(), 1U);
  EXPECT_NEAR(model.cones[0].baseRadius, 4, 1e-6);
  EXPECT_NEAR(model.cones[0].topRadius, 2, 1e-6);
  EXPECT_LT(apart(model.cones[0].base, r.cone.base), kClose);
  EXPECT_LT(apart(model.cones[0].top, r.cone.top), kClose);
  EXPECT_LT(apart(model.cones[0].apex, r.cone.apex), 2 * kClose);
  EXPECT_EQ(model.planes.size(), planes);
  bool has_own_plane = false;  // the reader adds a fifth to the sides of a patch
  for (const auto& plane : model.planes) {
    has_own_plane = has_own_plane ||
                    (apart(plane.center, kCenter) < kClose &&
                     std::fabs(cv::Vec3f(plane.majorDir).dot(cv::Vec3f(kX))) > 0.999F &&
                     std::fabs(plane.length - 12) < 2e-6F && std::fabs(plane.width - 4.8F) < 2e-6F);
  }
  EXPECT_TRUE(has_own_plane);
}

TEST_F(CadFiles, SolidsAndPlaneComeBackFromStep) {
  const Records records;
  xmodelfeature::XModel3DFeature model;  // collects over the four files
  for (const XFBase* feature :
       {static_cast<const XFBase*>(&records.plane), static_cast<const XFBase*>(&records.cylinder),
        static_cast<const XFBase*>(&records.cone), static_cast<const XFBase*>(&records.sphere)}) {
    ASSERT_EQ(write3D(feature), 0);
    model.get3DFeatureData(zelmo::test::readStep(m_path).shape);
  }
  expectSolids(model, records, 5);
}

TEST_F(CadFiles, AListOfEveryKindComesBackFromOneFile) {
  Records records;
  const zelmo::test::CommaLocale comma;
  ASSERT_EQ(quietly([&] { return XExportFiles::ExportFeature2Step(records.all, path()); }), 0);
  const TopoDS_Shape shape = zelmo::test::readStep(m_path).shape;
  xmodelfeature::XModel3DFeature model;
  model.get3DFeatureData(shape);
  expectSolids(model, records, 5);
  // Line and poly line 1 edge each, the outlines 17; vertices of the point and the outlines.
  EXPECT_EQ(curvesOf(shape).edges.size(), 19U);
  EXPECT_EQ(curvesOf(shape).vertices.size(), 20U);

  std::vector<XFBase*> curves = records.flat;
  curves.push_back(&records.poly_line);
  ASSERT_EQ(quietly([&] { return XExportFiles::ExportFeature2Iges(curves, path()); }), 0);
  const Curves read = readIgesCurves(m_path);
  EXPECT_EQ(read.edges.size(), 19U);
  EXPECT_EQ(read.vertices.size(), 20U);
  ASSERT_EQ(quietly([&] { return XExportFiles::ExportFeature2Iges(records.solid, path()); }), 0);
  xmodelfeature::XModel3DFeature from_iges;
  from_iges.get3DFeatureData(zelmo::test::readIges(m_path).shape);
  expectSolids(from_iges, records, 5);
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
  double first = 0;
  double last = 0;
  const Handle(Geom_BSplineCurve) curve =
      Handle(Geom_BSplineCurve)::DownCast(BRep_Tool::Curve(spline.edges[0], first, last));
  ASSERT_FALSE(curve.IsNull());
  ASSERT_EQ(curve->NbKnots(), static_cast<int>(points.size()));
  for (int i = 0; i < curve->NbKnots(); ++i) {
    const XFPoint& p = points[static_cast<std::size_t>(i)];
    EXPECT_LT(curve->Value(curve->Knot(i + 1)).Distance(gp_Pnt(p.x, p.y, p.z)), 1e-6) << i;
  }
}

TEST_F(CadFiles, APolyLineThatGivesNoCurveIsAnswered) {
  const Records records;
  const XFPolyLine three(records.poly_line.points.data(), 3);
  for (const int mode : {3, 4, -1}) {
    EXPECT_EQ(writePoly(three, mode), -1) << mode;
    EXPECT_FALSE(exists());
  }
  std::vector<XFBase*> list = {const_cast<XFPolyLine*>(&three)};  // NOLINT: read only
  EXPECT_EQ(quietly([&] { return XExportFiles::ExportFeature2Step(list, path()); }), 0);
  EXPECT_TRUE(curvesOf(zelmo::test::readStep(m_path).shape).edges.empty());
  EXPECT_EQ(quietly([&] { return XExportFiles::ExportFeature2Iges(list, path()); }), -1);
  EXPECT_EQ(writePoly(XFPolyLine(three.points.data(), 1), 2), -1);
  EXPECT_EQ(writePoly(XFPolyLine(), 0), 0);
  EXPECT_EQ(zelmo::test::contentOf(m_path), "");
  // Text is not even told of a file that can't be opened.
  m_path = m_folder.path();
  EXPECT_EQ(writePoly(three, 0), 0);
  // Equal neighbours.
  const XFPoint p(1, 2, 3);
  const XFPolyLine still(std::vector<XFPoint>{{0, 0, 0}, p, p, {5, 5, 5}});
  const XFPolyLine nearly(std::vector<XFPoint>{{0, 0, 0}, {5e-7F, 0, 0}, p, {5, 5, 5}});
  EXPECT_THROW(writePoly(nearly, 3), Standard_Failure);
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
  const std::vector<const XFBase*> none = {&records.poly_line, &foreign, nullptr};
  for (const XFBase* feature : none) {
    EXPECT_EQ(write2D(feature), -1);
    EXPECT_EQ(write3D(feature), -1);
  }
  for (const XFBase* feature : records.flat) EXPECT_EQ(write3D(feature), -1);
  for (const XFBase* feature : records.solid) EXPECT_EQ(write2D(feature), -1);
  EXPECT_EQ(XExportFiles::ExportFeature2Step({}, path()), -2);
  EXPECT_EQ(XExportFiles::ExportFeature2Iges({}, path()), -2);
  EXPECT_EQ(XExportFiles::ExportIges(zelmo::test::together({}), path()), -2);
  EXPECT_EQ(quietly([&] { return XExportFiles::ExportStep(TopoDS_Shape(), path()); }), -1);
  EXPECT_FALSE(exists());
  EXPECT_EQ(quietly([&] { return XExportFiles::ExportStep(zelmo::test::together({}), path()); }),
            0);
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
  struct Throwing : Records {
    XFCircle3D no_normal{kCenter, kZero, kX, 6};
    XFCircle3D negative{kCenter, kZ, -6};
    XFLine3D2 no_length{kCenter, kX, 0};
    XFOvalGroove3D no_side{kCenter, kZ, kZero, 10, 5};
    XFRectangle3D no_width{kCenter, kZ, kX, 20, 0};
    XFRoundGroove3D too_round{kCenter, kZ, kX, 20, 10, 11};
    XFPlane along_normal{kCenter, kZ, kZ, 10, 4};
    XFCylinder no_axis{kCenter, kZero, 4, 20};
    XFCone no_taper{kCenter, kY, 4, 4, 10};
    XFSphere inside_out{kCenter, -6};
    std::vector<XFBase*> bad = {&no_normal, &negative,     &no_length, &no_side,  &no_width,
                                &too_round, &along_normal, &no_axis,   &no_taper, &inside_out};
  } r;
  for (std::size_t i = 0; i < r.bad.size(); ++i) {
    const bool is_flat = i < 6;
    EXPECT_THROW(is_flat ? write2D(r.bad[i]) : write3D(r.bad[i]), Standard_Failure) << i;
    EXPECT_THROW(quietly([&] {
                   return XExportFiles::ExportFeature2Step({&r.sphere, r.bad[i]}, path());
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

TEST_F(CadFiles, ASlotWithoutStraightSidesHasItsArcsOnOneAnother) {
  const float x[3] = {1, 0, 0};
  const float z[3] = {0, 0, 1};
  const XFOvalGroove3D slot(kZero, z, x, 0, 5);
  ASSERT_EQ(write2D(&slot), 0);
  const Curves curves = readIgesCurves(m_path);
  ASSERT_EQ(curves.edges.size(), 4U);
  for (const TopoDS_Edge& edge : {curves.edges[0], curves.edges[1]}) {
    const BRepAdaptor_Curve arc(edge);
    const double middle = (arc.FirstParameter() + arc.LastParameter()) / 2;
    EXPECT_LT(arc.Value(middle).Distance(gp_Pnt(-5, 0, 0)), 1e-6);
  }
}

TEST_F(CadFiles, TheSidesOfASlotNeverCross) {
  // So far beyond the middle that both arcs keep their first direction.
  const XFOvalGroove3D slot(kCenter, kZ, kX, -20, 5);
  ASSERT_EQ(write2D(&slot), 0);
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

TEST_F(CadFiles, EveryWriterWaitsForTheLock) {
  Records records;
  const std::function<int()> writers[] = {
      [&] { return XExportFiles::Export2DFeature(&records.circle, path()); },
      [&] { return XExportFiles::Export3DFeature(&records.sphere, path()); },
      [&] { return XExportFiles::ExportFeature2Step(records.all, path()); },
      [&] { return XExportFiles::ExportStep(zelmo::test::together({}), path()); }};
  standardOutputOf([&] {
    for (const auto& writer : writers) {
      std::future<int> result;
      {
        const zelmo::internal::CadLock lock;
        result = std::async(std::launch::async, writer);
        EXPECT_EQ(result.wait_for(std::chrono::milliseconds(60)), std::future_status::timeout);
      }
      EXPECT_EQ(result.get(), 0);
    }
  });
}

TEST_F(CadFiles, ThreadsTakeTurns) {
  constexpr int kThreads = 8;
  constexpr int kRounds = 12;
  std::vector<int> failures(kThreads, 0);
  standardOutputOf([&] {
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&, t] {
        Records records;
        const std::string file = (m_folder.path() / std::to_string(t)).string();
        const std::wstring wide = zelmo::test::widePath(file);
        for (int round = 0; round < kRounds; ++round) {
          std::string bytes = file;
          TopoDS_Shape shape;
          const int written = t % 2 == 0 ? XExportFiles::ExportFeature2Step(records.solid, wide)
                                         : XExportFiles::ExportFeature2Iges(records.solid, wide);
          const int read = t % 2 == 0
                               ? xmodelfeature::XReadModel::readStepFile(bytes.data(), shape)
                               : xmodelfeature::XReadModel::readIgesFile(bytes.data(), shape);
          xmodelfeature::XModel3DFeature model;
          model.get3DFeatureData(shape);
          const bool is_whole = written == 0 && read == 1 && model.planes.size() == 5 &&
                                model.spheres.size() == 1 && model.cones.size() == 1 &&
                                model.cylinders.size() == 1;
          failures[static_cast<std::size_t>(t)] += is_whole ? 0 : 1;
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
  });
  EXPECT_THAT(failures, Each(0));
}

}  // namespace
}  // namespace xexportfiles
