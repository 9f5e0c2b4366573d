// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
// Constructors, dimensions and tolerances, on arrays and on records.
#include "fuzz_target.h"
#include "measured_points.h"
#include "records.h"
#include "zelmo/internal/array_view.h"
#include "zelmo/measure/feature_constructor.h"
#include "zelmo/measure/feature_dimension.h"
#include "zelmo/measure/geo_constructor.h"
#include "zelmo/measure/geo_dimension.h"
#include "zelmo/measure/geo_tolerance.h"

namespace zelmo::fuzz {
namespace {

using namespace xgeofeature;
using xgeomeasure::XGeoConstructor;
using xgeomeasure::XGeoTolrance;

/// A construction on arrays: a failure leaves the output as it was.
void constructOnArrays(ByteSource& bytes, Transcript& out) {
  bytes.chooseNumbers();
  const int kind = bytes.below(9);
  const auto a = bytes.reals(kind < 3 ? 12 : 6), b = bytes.reals(6);
  Output<float> first(kind == 0 ? 10 : kind == 2 ? 4 : kind == 1 || kind > 6 ? 6 : 3), second(3);
  using C = XGeoConstructor;
  int code = 0;
  switch (kind) {
    case 0:
      code = C::Circle3D_3Point(a.data(), first.data());
      break;
    case 1:
      code = C::Plane_3Point(a.data(), first.data());
      break;
    case 2:
      code = C::Sphere_4Point(a.data(), first.data());
      break;
    case 3:
      code = C::Intersection_Line_Line(a.data(), b.data(), first.data()) - 2;
      break;
    case 4:
      code = C::Intersection_Line_Line2(a.data(), b.data(), first.data(), second.data());
      break;
    case 5:
      code = C::Intersection_Line_Plane(a.data(), b.data(), first.data());
      break;
    case 6:
      code = C::Projection_Point_Line(a.data(), b.data(), first.data());
      out.add(C::Projection_Point_Plane(a.data(), b.data(), second.data()));
      break;
    case 7:
      code = C::Intersection_Plane_Plane(a.data(), b.data(), first.data());
      break;
    default:
      code = C::Projection_Line_Plane(a.data(), b.data(), first.data());
  }
  ZELMO_FUZZ_CHECK(code == 0 || code == -1 || (kind == 3 && code == -2));
  if (code < 0) ZELMO_FUZZ_CHECK(first.isUntouched());
  out.add(code);
  record(out, first);
  record(out, second);
}

/// The band of what a dimension may give.
void measureArrays(ByteSource& bytes, Transcript& out) {
  bytes.chooseNumbers();
  const auto a = bytes.reals(6), b = bytes.reals(6);
  using D = xgeomeasure::XGeoDimension;
  for (const double distance : {D::calcDistance_Point2Point(a.data(), b.data()),
                                D::calcDistance_Point2Line(a.data(), b.data()),
                                D::calcDistance_Point2Plane(a.data(), b.data())}) {
    ZELMO_FUZZ_CHECK(!(distance < 0));
    out.add(distance);
  }
  for (const double angle :
       {D::calcAngle_Line_Line(a.data(), b.data()), D::calcAngle_Line_Plane(a.data(), b.data()),
        D::calcAngle_Plane_Plane(a.data(), b.data())}) {
    ZELMO_FUZZ_CHECK(angle >= 0 && angle <= 180);
    out.add(angle);
  }
}

void constructRecords(ByteSource& bytes, Transcript& out) {
  bytes.chooseNumbers();
  RecordSource source(bytes);
  using C = XGeoFConstructor;
  const int kind = bytes.below(24);
  const XFPlane plane = source.plane(), other_plane = source.plane();
  const XFLine3D2 line = source.line(), other_line = source.line();
  const XFPoint point = source.point(), about = source.point();
  const XFPoint points[] = {point, about, source.point(), source.point()};
  XFPointN corners[] = {source.pointN(), source.pointN(), source.pointN()};
  const float radii[] = {bytes.real(), bytes.real(), bytes.real()};
  XFPoint feet[2];
  XFLine3D2 lines[2];
  XFPlane planes[2];
  XFCircle3D circle;
  XFSphere sphere;
  int code = 0;
  switch (kind) {
    case 0:
      code = C::getAngleBisector(line, other_line, lines[0]);
      break;
    case 1:
      code = C::getCircle(corners, circle);
      break;
    case 2:
      code = C::getSphere(points, sphere);
      break;
    case 3:
      code = C::getPlane(corners, planes[0]);
      break;
    case 4:
      code = C::getIntersectionCircle(source.cone(), source.cone(), circle);
      break;
    case 5:
      code = C::getIntersectionCircle(plane, source.cone(), circle);
      break;
    case 6:
      code = C::getIntersectionCircle(plane, source.cylinder(), circle);
      break;
    case 7:
      code = C::getIntersectionCircle(plane, source.sphere(), circle);
      break;
    case 8:
      code = C::getIntersectionLine(plane, other_plane, lines[0]);
      break;
    case 9:
      code = C::getIntersectionPoint(line, other_line, feet[0]);
      break;
    case 10:
      code = C::getIntersectionPoint(line, source.sphere(), feet);
      break;
    case 11:
      code = C::getIntersectionPoint(plane, other_plane, source.plane(), feet[0]);
      break;
    case 12:
      code = C::getIntersectionPoint(plane, line, feet[0]);
      break;
    case 13:
      code = C::getLineOffset(points, radii, plane, lines);
      break;
    case 14:
      code = C::getLineSymmetry(line, plane, lines[0]);
      break;
    case 15:
      code = C::getPlaneAverage(std::vector<XFPlane>(bytes.below(4), plane), planes[0]);
      code = std::max(code, C::getPlaneAverage({plane, other_plane}, planes[1]));
      break;
    case 16:
      code = C::getPlaneOffset(plane, radii[0], planes[0]);
      break;
    case 17:
      code = C::getPlaneOffset(points, radii, planes);
      break;
    case 18:
      code = C::getPlaneSymmetry(plane, other_plane, planes[0]);
      break;
    case 19:
      code = C::getPointAverage({point, about}, feet[0]);
      code += C::getPointOffset(point, radii[0], line, feet[1]);
      break;
    case 20:
      code = C::getPointSymmetry(point, about, feet[0]);
      code += C::getPointSymmetry(point, line, feet[1]);
      record(out, feet[0]);
      code += C::getPointSymmetry(point, plane, feet[0]);
      break;
    case 21:
      code = C::getProjectionLine(line, plane, lines[0]);
      record(out, lines[0]);
      out.add(C::getVerticalLine(line, other_line, lines[1]));
      break;
    case 22:
      code = C::getProjectionPoint(point, source.cone(), feet[0]);
      record(out, feet[0]);
      out.add(C::getProjectionPoint(point, source.cylinder(), feet[1]));
      break;
    default:
      code = C::getProjectionPoint(point, line, feet[0]);
      code += C::getProjectionPoint(point, plane, feet[1]);
      record(out, feet[0]);
      out.add(C::getProjectionPoint(point, source.sphere(), feet[0]));
  }
  ZELMO_FUZZ_CHECK(code >= -4 && code <= 2);
  out.add(code);
  for (const XFPoint& foot : feet) record(out, foot);
  for (const XFLine3D2& made : lines) record(out, made);
  for (const XFPlane& made : planes) record(out, made);
  record(out, circle);
  record(out, sphere);
}

void measureRecords(ByteSource& bytes, Transcript& out) {
  bytes.chooseNumbers();
  RecordSource source(bytes);
  const XFPoint point = source.point(), other = source.point();
  const XFLine3D2 line = source.line(), other_line = source.line();
  const XFPlane plane = source.plane(), other_plane = source.plane();
  XFPoint foot;
  XDistanceAttributes distance;
  ZELMO_FUZZ_CHECK(XGeoDimension::Distance(point, other, distance) == 0);
  out.add(distance.distance);
  ZELMO_FUZZ_CHECK(XGeoDimension::Distance(point, line, foot, distance) == 0);
  record(out, foot);
  ZELMO_FUZZ_CHECK(XGeoDimension::Distance(point, plane, foot, distance) == 0);
  record(out, foot);
  out.add(distance.dz);
  const double across = XGeoDimension::Angle(line, plane);
  ZELMO_FUZZ_CHECK(across >= 0 && across <= CV_PI);
  ZELMO_FUZZ_CHECK(across == XGeoDimension::Angle(plane, line));
  for (const double angle :
       {XGeoDimension::Angle(line, other_line), XGeoDimension::Angle(plane, other_plane)}) {
    ZELMO_FUZZ_CHECK(angle >= 0 && angle <= 3.15);
    out.add(angle);
  }
}

using Points = std::vector<cv::Point3f>;
using ByOne = double (*)(const Points&, double*, bool, double);
using ByOneArray = double (*)(const float*, const int&, double*, bool, double);
using ByTwo = double (*)(const Points&, double*, double*, bool, double);
using ByTwoArray = double (*)(const float*, const int&, double*, double*, bool, double);

struct OneFeature {
  ByOne of_vector;
  ByOneArray of_array;
};
struct TwoFeatures {
  ByTwo of_vector;
  ByTwoArray of_array;
};

bool haveSameBits(double a, double b) { return std::memcmp(&a, &b, sizeof(a)) == 0; }

/// Both forms of every tolerance: they agree to the bit, and too few points give -1.
void tolerances(ByteSource& bytes, Transcript& out) {
  using T = XGeoTolrance;
  constexpr OneFeature kForms[] = {
      {&T::calcFlatness, &T::calcFlatness},         {&T::calcStraightness, &T::calcStraightness},
      {&T::calcCylindricity, &T::calcCylindricity}, {&T::calcSphericity, &T::calcSphericity},
      {&T::calcCircularity, &T::calcCircularity},
  };
  constexpr TwoFeatures kRelations[] = {
      {&T::calcParallelism_Line_Line, &T::calcParallelism_Line_Line},
      {&T::calcParallelism_Line_Plane, &T::calcParallelism_Line_Plane},
      {&T::calcParallelism_Plane_Plane, &T::calcParallelism_Plane_Plane},
      {&T::calcPerpendicularity_Line_Line, &T::calcPerpendicularity_Line_Line},
      {&T::calcPerpendicularity_Line_Plane, &T::calcPerpendicularity_Line_Plane},
      {&T::calcPerpendicularity_Plane_Plane, &T::calcPerpendicularity_Plane_Plane},
      {&T::calcConcentricity, &T::calcConcentricity},
  };
  const int kind = bytes.below(12);
  const bool uses_band = bytes.flag(), is_usual = bytes.flag();
  bytes.chooseNumbers();
  const double factor = is_usual ? bytes.byte() / 64.0 : bytes.wideReal();
  auto feature = bytes.wideReals(7), datum = bytes.wideReals(6);
  if (is_usual) {
    const cv::Vec3d axis = detail::direction(bytes), square = detail::direction(bytes);
    for (std::size_t k = 0; k < 3; ++k) {
      feature[3 + k] = axis[static_cast<int>(k)];
      datum[3 + k] = square[static_cast<int>(k)];
    }
  }
  const MeasuredPoints scan = measuredPoints(bytes, 40);
  const auto points = internal::toPointVector({scan.points.data(), scan.count});
  const auto both = [&](double by_vector, double by_array) {
    ZELMO_FUZZ_CHECK(haveSameBits(by_vector, by_array) ||
                     (std::isnan(by_vector) && std::isnan(by_array)));
    ZELMO_FUZZ_CHECK(scan.count >= 3 || by_array == -1);
    out.add(by_array);
  };
  if (kind < 5) {
    const OneFeature& form = kForms[kind];
    both(form.of_vector(points, feature.data(), uses_band, factor),
         form.of_array(scan.points.data(), scan.count, feature.data(), uses_band, factor));
  } else {
    const TwoFeatures& relation = kRelations[kind - 5];
    both(relation.of_vector(points, feature.data(), datum.data(), uses_band, factor),
         relation.of_array(scan.points.data(), scan.count, feature.data(), datum.data(), uses_band,
                           factor));
  }
}

/// The routines on planes and transforms, which several classes offer.
void frames(ByteSource& bytes, Transcript& out) {
  bytes.chooseNumbers();
  cv::Vec3d target[3], source[3];
  cv::Point3d target_points[3], source_points[3];
  for (int i = 0; i < 3; ++i) {
    target[i] = {bytes.wideReal(), bytes.wideReal(), bytes.wideReal()};
    source[i] = {bytes.wideReal(), bytes.wideReal(), bytes.wideReal()};
    target_points[i] = {bytes.wideReal(), bytes.wideReal(), bytes.wideReal()};
    source_points[i] = {bytes.wideReal(), bytes.wideReal(), bytes.wideReal()};
  }
  cv::Mat meeting, rotation;
  const int code = XGeoTolrance::Intersection3Planes(target, target_points, meeting);
  ZELMO_FUZZ_CHECK(code == (meeting.empty() ? 0 : 1));
  XGeoTolrance::getMatRByVector(target[0], source[0], rotation);
  out.add(rotation.ptr<double>(), 9);
  ZELMO_FUZZ_CHECK(
      allFinite(std::vector<double>(rotation.begin<double>(), rotation.end<double>())));
  Output<double> rt(16);
  XGeoTolrance::alignBy3Plane(target, target_points, source, source_points, rt.data());
  if (!rt.isUntouched()) XGeoTolrance::convertMatrixRT(rt.data(), rt.data());
  record(out, rt);
  const MeasuredPoints scan = measuredPoints(bytes, 12);
  const auto points = internal::toPointVector({scan.points.data(), scan.count});
  auto plane = bytes.wideReals(4);
  Points feet;
  std::vector<cv::Point2f> flat;
  XGeoTolrance::projection2Plane(points, plane.data(), feet);
  XGeoTolrance::projection2Plane_tranformed(points, plane.data(), flat,
                                            bytes.flag() ? rt.data() : nullptr);
  ZELMO_FUZZ_CHECK(feet.size() == points.size() && (flat.empty() || flat.size() == points.size()));
  for (const cv::Point2f& p : flat) out.add(p.x);
}

void run(ByteSource& bytes, Transcript& out) {
  constexpr void (*kMembers[])(ByteSource&, Transcript&) = {
      &tolerances, &constructOnArrays, &measureArrays, &constructRecords, &measureRecords, &frames};
  kMembers[bytes.below(6)](bytes, out);
}

}  // namespace
}  // namespace zelmo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return zelmo::fuzz::runTwice(data, size, &zelmo::fuzz::run);
}
