// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later

// Where constructions end: thresholds, return codes, outputs that stay untouched, and rules that
// only single numbers show. What they do between is in construction_test.cpp.
#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "measure/random_features.h"
#include "support/rows.h"
#include "zelmo/measure/feature_constructor.h"
#include "zelmo/measure/geo_constructor.h"

using namespace xgeofeature;  // NOLINT: the test reads as a host's code does
using namespace zelmo::test;  // NOLINT
using testing::Each;

namespace {

using A = xgeomeasure::XGeoConstructor;
using F = XGeoFConstructor;
using Row = std::vector<float>;

const float kAbove = std::nextafter(1e-6F, 1.0F);  // the float 1e-6 lies below the number
constexpr float kAny = NAN;                        // a number of an output that does not matter

XFPlane plane(const Row& n) { return {n.data(), &n[3]}; }
XFPlane sided(const Row& n) { return {n.data(), &n[3], &n[6], n[9], n[10]}; }
XFCylinder tube(const Row& n) { return {n.data(), &n[3], n[6], n[7]}; }
XFCone cone(const Row& n) { return {n.data(), &n[3], n[6], n[7], n[8]}; }
std::vector<XFPoint> points(const Row& n) {
  std::vector<XFPoint> all;
  for (std::size_t i = 0; i < n.size(); i += 3) all.emplace_back(&n[i]);
  return all;
}

/// An array as a record, for what follows.
struct Ten {
  const void* table = nullptr;
  float v[10] = {};
};

/// Runs a construction on a record full of sevens. \param out the first numbers of what it gives; a
/// failure has to leave the sevens
template <typename Out, typename Construct>
void expectOf(Construct construct, int status, const Row& out = {}) {
  SCOPED_TRACE(testing::Message() << "expected " << status << testing::PrintToString(out));
  Out record;
  // The fields are a flat run of floats behind the pointer to the table.
  float* fields = reinterpret_cast<float*>(reinterpret_cast<char*>(&record) + sizeof(void*));
  const Row sevens((sizeof(Out) - sizeof(void*)) / sizeof(float), 7);
  std::copy(sevens.begin(), sevens.end(), fields);
  EXPECT_EQ(construct(record), status);
  const Row found(fields, fields + sevens.size());
  if (status < 0) {
    EXPECT_EQ(found, sevens);
  }
  for (std::size_t i = 0; i < out.size(); ++i) {
    EXPECT_TRUE(std::isnan(out[i]) || found[i] == out[i]) << i << ": " << found[i];
  }
}
template <typename Out, typename First, typename Second>
void expect(int (*construct)(const First&, const Second&, Out&), const First& a, const Second& b,
            int status, const Row& out = {}) {
  expectOf<Out>([&](Out& record) { return construct(a, b, record); }, status, out);
}
/// The same of arrays.
void expectArray(int (*construct)(const float*, const float*, float*), const Row& a, const Row& b,
                 int status, const Row& out = {}) {
  expectOf<Ten>([&](Ten& o) { return construct(a.data(), b.data(), o.v); }, status, out);
}

TEST(Projection, EndsWhereThereIsNoDirection) {
  const auto on = [](const XFPoint& p, const auto& feature, int status, const Row& foot = {}) {
    expect<XFPoint>(F::getProjectionPoint, p, feature, status, foot);
  };
  const XFSphere ball(0, 0, 0, 3);
  const XFCylinder upright = tube({0, 0, 0, 0, 0, 1, 3, 10});
  const XFCone tapered = cone({0, 0, 0, 0, 0, 1, 3, 1, 10});
  on({1e-6F, 1e-6F, 0}, ball, -1);
  on({kAbove, 0, 0}, ball, 0, {3, 0, 0});
  on({1e-6F, 0, 4}, upright, -1);
  on({9e-7F, 9e-7F, 4}, upright, 0);  // in space 1e-6 is reached sooner than in each coordinate
  on({1e-6F, 1e-6F, 4}, tapered, -1);
  on({kAbove, 0, 4}, tapered, 0);
  // The equation is summed in float, from the left: 1 vanishes beside 2^24.
  on({16777216, 1, 1}, plane({0, 0, 0, 1, 1, 1}), 0, {0});
  const Row x = {0, 0, 0, 1, 0, 0};
  expectArray(A::Projection_Point_Plane, {1, 1, 1}, {0, 0, 4, 0, 0, 0}, 0, {7, 7, 7});
  expectArray(A::Projection_Point_Line, {1e-6F, 1e-6F, -1e-6F}, x, 0, {0, 0, 0});
  expectArray(A::Projection_Point_Line, {1e-6F, kAbove, 0}, x, 0, {1e-6F, 0, 0});
  const auto shadow = [](const Row& line, int status, const Row& out = {}) {
    expect(F::getProjectionLine, XFLine3D2(line), plane({0, 0, 5, 0, 0, 1}), status, out);
  };
  // A half length below 0.01 is replaced by 1; the next one is 41 / 2^12.
  shadow({0, 0, 0, 1, 0, 0, 0.0199F}, 0, {0, 0, 5, 1, 0, 0, 2});
  shadow({0, 0, 0, 1, 0, 0, 0.02001953125F}, 0, {0, 0, 5, 1, 0, 0, 0.02001953125F});
  shadow({1, 2, 3, 1e-6F, 0, 1, 4}, -1);
}

TEST(Offsets, AndAveragesFollowTheirRules) {
  const XFLine3D2 along(Row{9, 9, 9, 0, 0.6F, 0.8F, 3});
  const XFPoint start(1, 2, 3);
  expectOf<XFPoint>([&](XFPoint& p) { return F::getPointOffset(start, 10, along, p); }, 0,
                    {1, 2 + 0.6F * 10, 3 + 0.8F * 10});
  const auto mean = [](const Row& of, int status, const Row& out = {}) {
    expectOf<XFPoint>([&](XFPoint& p) { return F::getPointAverage(points(of), p); }, status, out);
  };
  mean({}, -1);
  // In float 2^24 + 1 is 2^24, so only the order of a float sum gives this mean.
  mean({16777216, 0, 0, 1, 3, 0, 1, 3, 3}, 0, {16777216.0F / 3.0F, 2, 1});

  const XFPlane low = sided({1, 2, 3, 0, 0, -1, 1, 0, 0, 4, 5});
  const XFPlane high = sided({5, 2, 7, 0, 0, 1, 1, 0, 0, 1, 9});
  expectOf<XFPlane>([&](XFPlane& p) { return F::getPlaneOffset(low, 2.5F, p); }, 0,
                    {1, 2, 0.5F, 0, 0, -1, 1, 0, 0, 4, 5, 0, 0, -1, 0.5F});
  const auto mean_plane = [](const std::vector<XFPlane>& of, int status, const Row& out = {}) {
    expectOf<XFPlane>([&](XFPlane& p) { return F::getPlaneAverage(of, p); }, status, out);
  };
  const XFPlane x = plane({1, 2, 3, 1, 0, 0}), y = plane({1, 2, 3, 0, 1, 0});
  const float s = std::sqrt(0.75F), r = std::sqrt(0.5F);
  mean_plane({}, -1);
  mean_plane({low}, 0, {1, 2, 3, 0, 0, -1, 1, 0, 0, 4, 5});
  // CONTRACT: of a parallel pair the first one's normal counts.
  mean_plane({low, high}, 0, {3, 2, 5, 0, 0, -1, kAny, kAny, kAny, 9, 9});
  mean_plane({low, high, x}, 0, {kAny, kAny, kAny, 1, 0, 0, kAny, kAny, kAny, 9, 9});
  mean_plane({low, plane({0, 0, 0, s, 0, 0.5F}), plane({0, 0, 0, -s, 0, 0.5F})}, -1);
  mean_plane({x, y}, 0, {1, 2, 3, r, r, 0, kAny, kAny, kAny, 1, 1});
}

TEST(Intersection, EndsAtItsThresholds) {
  const XFLine3D2 x(Row{-50, 3, 0, 1, 0, 0, 1});
  for (const auto& [radius, count, first, second] :
       {std::tuple(5.0F, 2, -4, 4), {3.0F, 1, 0, 7}, {2.9999F, 0, 7, 7}, {NAN, 0, 7, 7}}) {
    XFPoint met[2] = {{7, 7, 7}, {7, 7, 7}};
    EXPECT_EQ(F::getIntersectionPoint(x, XFSphere(0, 0, 0, radius), met), count);
    EXPECT_EQ(met[0].x, first) << radius;
    EXPECT_EQ(met[1].x, second) << radius;
  }
  const auto cut = [](const XFPlane& by, const auto& feature, int status, const Row& out = {}) {
    expect<XFCircle3D>(F::getIntersectionCircle, by, feature, status, out);
  };
  const XFPlane flat = sided({0, 0, 3, 0, 0, 1, 0, 1, 0, 1, 1}), zero = plane({0, 0, 0, 0, 0, 1});
  cut(flat, XFSphere(1, 2, 0, 5), 0, {1, 2, 3, 0, 0, 1, kAny, kAny, kAny, 4});
  cut(flat, XFSphere(1, 2, 0, 3), -1);
  // A slanted axis: the radius stays the cylinder's, the major direction is the plane's.
  cut(flat, tube({0, 0, 0, 0.5F, 0, 0.5F, 2, 10}), 0, {3, 0, 3, 0, 0, 1, 0, 1, 0, 2});
  // From 10 to 6 over a height of 8: the apex is at z = 20, half as wide as deep.
  const XFCone tapered = cone({1, 1, 0, 0, 0, 1, 10, 6, 8});
  const XFPlane slanted = plane({9, 1, 3, 0, 0.6F, 0.8F}), wall = plane({0, 0, 3, 1, 0, 0});
  cut(slanted, tapered, 0, {1, 1, 3, 0, 0.6F, 0.8F, kAny, kAny, kAny, 8.5F});
  cut(wall, tapered, -1);
  cut(wall, tube({1, 1, 0, 0, 0, 1, 1, 1}), -1);
  expect<XFPoint>(F::getIntersectionPoint, zero, x, -1);
  expectOf<XFPoint>([&](XFPoint& p) { return F::getIntersectionPoint(zero, zero, zero, p); }, -1);
  expect(F::getIntersectionLine, zero, zero, -1);
}

TEST(CoaxialCones, TellTheirFailuresApart) {
  const auto against = [](const Vec& apex, const Vec& axis, Real tangent, int status) {
    const XFCone first(coneRow({0, 0, 0}, {0, 0, 1}, 0.5L)), other(coneRow(apex, axis, tangent));
    expect<XFCircle3D>(F::getIntersectionCircle, first, other, status);
  };
  against({0, 0, 0}, {0, 0, 1}, 0.4L, -1);
  against({0, 0, 5}, {0.02L, 0, 0.9998L}, 0.4L, -1);
  against({0, 0, 5}, {0.01L, 0, 0.99995L}, 0.4L, 0);
  against({0, 0, 5}, {0, 0, 1}, 0.49991L, -2);
  against({0, 0, 5}, {0, 0, 1}, 0.49989L, 0);
  // On equal angles the second counts as the wider one.
  against({0, 0, 5}, {0, 0, 1}, 0.5L, -1);
  against({0, 0, -5}, {0, 0, 1}, 0.5L, -2);
  against({0, 0, 5}, {0, 0, -1}, 0.4L, -1);
}

TEST(LineOffset, CountsItsLines) {
  const auto tangents = [](const Row& second, const Row& radii, int count) {
    const XFPoint centers[2] = {{0, 0, 0}, XFPoint(second.data())};
    XFLine3D2 lines[2];
    lines[0].length = lines[1].length = 77;
    EXPECT_EQ(F::getLineOffset(centers, radii.data(), plane({0, 0, 0, 0, 0, 1}), lines), count);
    EXPECT_EQ(lines[0].length == 77, count < 0);
    EXPECT_EQ(lines[1].length == 77, count < 2);
    return lines[0];
  };
  const XFLine3D2 inside = tangents({3, 0, 0}, {5, 2}, 1);  // touching inside
  EXPECT_EQ(rowOf(inside.center, inside.dir, inside.length), (Row{5, 0, 0, 0, 1, 0, 1}));
  tangents({3, 0, 9}, {5, 2}, 2);  // the distance in space counts
  tangents({3, 0, 0}, {5, 1.999F}, -1);
  tangents({3, 0, 0}, {5, 2.001F}, 2);
  tangents({0, 0, 0}, {5, 5}, -1);
  tangents({3, 0, 0}, {-1, 2}, -2);
  tangents({3, 0, 0}, {1, -2}, -2);
  tangents({NAN, 0, 0}, {1, 1}, -1);
}

TEST(PlaneOffset, TellsItsFailuresApart) {
  const auto tangent = [](const Row& third, const Row& radii, int status) {
    const XFPoint centers[3] = {{0, 0, 0}, {10, 0, 0}, XFPoint(third.data())};
    XFPlane planes[2];
    planes[0].length = 77;
    EXPECT_EQ(F::getPlaneOffset(centers, radii.data(), planes), status);
    EXPECT_EQ(planes[0].length == 77, status < 0) << status;
  };
  tangent({0, 9, 0}, {1, 1, -1}, -2);
  tangent({5e-7F, 0, 0}, {1, 1, 1}, -3);  // two in one place
  tangent({20, 0, 0}, {1, 1, 1}, -4);     // on a line
  tangent({NAN, 0, 0}, {1, 1, 1}, -4);
  tangent({0, 9, 0}, {1, 1, 11}, -1);  // one inside another
  tangent({0, 10, 0}, {9, 0, 0}, -1);  // pairs touch, the three do not
  tangent({0, 9, 0}, {3, 2, 1}, 0);
}

TEST(ThreePoints, NeedATriangle) {
  const auto expectThrough = [](const Row& p, int plane, int circle) {
    SCOPED_TRACE(testing::PrintToString(p));
    XFPointN records[3];
    for (int k = 0; k < 3; ++k) records[k] = XFPointN(&p[3 * k], &p[3 * k]);
    expectOf<Ten>([&](Ten& out) { return A::Plane_3Point(p.data(), out.v); }, plane);
    expectOf<Ten>([&](Ten& out) { return A::Circle3D_3Point(p.data(), out.v); }, circle);
    expectOf<XFCircle3D>([&](auto& out) { return F::getCircle(records, out); }, circle);
  };
  expectThrough({0, 0, 0, 1, 1, 1, 3, 3, 3}, -1, -1);
  expectThrough({0, 0, 0, 1e-6F, 1e-6F, -1e-6F, 0, 5, 0}, -1, -1);
  expectThrough({0, 0, 0, 0, 5, 0, 1e-6F, 1e-6F, -1e-6F}, -1, -1);
  expectThrough({0, 0, 0, 0, 0, kAbove, 0, 5, 0}, 0, 0);
  expectThrough({0, 0, 0, 1, 0, 0, 0, 1e-6F, 0}, -1, -1);
  // A circle needs a frame.
  expectThrough({0, 0, 0, 0.009F, 0, 0, 0, 0.009F, 0}, 0, -1);
  expectThrough({0, 0, 0, 0.02F, 0, 0, 0, 0.02F, 0}, 0, 0);
  expectThrough({0, 0, 0, NAN, 0, 0, 0, 1, 0}, -1, -1);
  expectThrough({0, 0, 0, 1e30F, 0, 0, 0, 1e30F, 0}, 0, -1);
  // The squares of 4099 and 4101 lose 1 in float, which moves this center by a third.
  const Row flat = {2, 0, 0, 4099, 1, 0, -4101, -1, 0};
  expectOf<Ten>([&](Ten& out) { return A::Circle3D_3Point(flat.data(), out.v); }, 0, {-2801666});
  // CONTRACT: of two equal sides the second is the major one; from the first corner it runs along y.
  XFPointN square[3] = {{0, 0, 0, 0, 0, 1}, {2, 0, 0, 0, 0, 1}, {2, 2, 0, 0, 0, 1}};
  XFPlane plane;
  ASSERT_EQ(F::getPlane(square, plane), 0);
  EXPECT_EQ(plane.length, plane.width);
  EXPECT_NEAR(std::fabs(plane.majorDir[1]), 1, 1e-6);
}

TEST(FourPoints, GiveTheSameSphereInBothForms) {
  const auto expectSphere = [](const Row& p, int status, const Row& out = {}) {
    expectOf<Ten>([&](Ten& sphere) { return A::Sphere_4Point(p.data(), sphere.v); }, status, out);
    expectOf<XFSphere>([&](XFSphere& sphere) { return F::getSphere(points(p).data(), sphere); },
                       status, out);
  };
  expectSphere({2, 0, 0, 0, 3, 0, 2, 3, 0, 0, 0, 6}, 0, {1, 1.5F, 3, 3.5F});
  expectSphere({0, 0, 0, -1, 0, 0, -1, -1, 0, 5, 3, 0}, -1);
  // In float: of 4097 squared the last digit is lost, and with it half a unit.
  expectSphere({4097, 0, 0, 4096, 0, 0, 4096, 2, 0, 4096, 2, 2}, 0, {4096});
}

TEST(TwoLines, AreToldApart) {
  const auto relate = [](const Row& a, const Row& b, int array, int middle, int vertical) {
    SCOPED_TRACE(testing::PrintToString(b));
    const XFLine3D2 first(a.data(), &a[3], 1), second(b.data(), &b[3], 1);
    expectArray(A::Intersection_Line_Line, a, b, array);
    expect<XFPoint>(F::getIntersectionPoint, first, second, middle);
    expect(F::getVerticalLine, first, second, vertical);
    expect(F::getVerticalLine, second, first, vertical);
  };
  relate({0, 0, 0, 0, 0, 1}, {5, 0, 0, 0, 0, -1}, 0, -1, -1);
  // CONTRACT: parallel is a test without a tolerance.
  relate({0, 0, 0, 0, 0, 1}, {5, 0, 0, 1e-12F, 0, 1}, 2, 0, -2);
  // The volume that offset and directions span ends at 1e-5.
  relate({0, 0, 0, 1, 0, 0}, {0, 0, 0.999e-5F, 0, 1, 0}, 2, 0, -2);
  relate({0, 0, 0, 1, 0, 0}, {0, 0, 1.001e-5F, 0, 1, 0}, 1, 1, 0);
  const auto bisect = [](const Row& second, int status, const Row& out = {}) {
    const XFLine3D2 x(Row{1, 0, 0, 1, 0, 0, 4});
    expect(F::getAngleBisector, x, XFLine3D2(second), status, out);
  };
  bisect({3, 6, 0, -1, 0, 0, 5}, 1, {2, 3, 0, 1, 0, 0, 5});
  const float r = std::sqrt(0.5F);
  bisect({3, 6, 0, 0, -1, 0, 5}, 0, {3, 0, 0, r, -r, 0, 5});
  bisect({0, 0, 1, 0, 1, 0, 5}, -1);
  // A step against the first line.
  expectArray(A::Intersection_Line_Line, {5, 0, 0, 1, 0, 0}, {-2, 3, 0, 0, 1, 0}, 2, {-2, 0, 0});
  // CONTRACT: a foot that is missing is not reported. Only the second line meets a plane with a unit
  // normal; short directions tell the two apart.
  float first[3] = {7, 7, 7}, second[3] = {7, 7, 7};
  const Row short_x = {0, 0, 0, 5e-4F, 0, 0}, short_y = {1, 2, 3, 0, 1e-3F, 0};
  EXPECT_EQ(A::Intersection_Line_Line2(short_x.data(), short_y.data(), first, second), 0);
  EXPECT_THAT(first, Each(7));
  EXPECT_LE((Vec(second) - Vec(1, 0, 3)).norm(), 1e-6L);
}

TEST(LineAndPlane, AreParallelWithinOneMillionth) {
  const Row plane = {0, 0, 4, 0, 0, 1};
  for (const float slope : {0.0F, 1e-6F, -1e-6F, kAbove, -kAbove}) {
    const int status = std::fabs(slope) < 1e-6 ? -1 : 0;
    // A line along the plane; a line along its normal; planes that are nearly the same.
    expectArray(A::Intersection_Line_Plane, {1, 2, 3, 1, 0, slope}, plane, status);
    expectArray(A::Projection_Line_Plane, {1, 2, 3, slope, 0, 1}, plane, status);
    expectArray(A::Intersection_Plane_Plane, {1, 2, 3, slope, 0, 1}, plane, status);
  }
  // The planes' offsets are summed in float: 1 vanishes between the large products.
  const Row far = {16777216, 1, -16777216, 1, 1, 1};
  expectArray(A::Intersection_Plane_Plane, far, {0, 1, 0, 0, 0, 1}, 0, {0, 0, 0});
}

}  // namespace
