// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <random>

#include <BRepPrimAPI_MakeBox.hxx>
#include <gmock/gmock.h>

#include "zelmo/model/internal/record_index.h"
#include "zelmo/model/outline_records.h"
#include "zelmo/model/solid_records.h"

namespace xmodelfeature {
namespace {

using testing::ElementsAre;

std::vector<float> countedFloats(std::size_t count) {
  std::vector<float> values(count);
  std::iota(values.begin(), values.end(), 1.0F);
  return values;
}

/// Equal up to the last float that is no larger than the tolerance, unequal from the next one on;
/// the field is 0 in \p record, so the difference carries no rounding.
template <typename Record>
void expectTolerance(const Record& record, double tolerance,
                     const std::function<float&(Record&)>& field) {
  float inside = static_cast<float>(tolerance);
  if (static_cast<double>(inside) > tolerance) inside = std::nextafter(inside, 0.0F);
  const float outside = std::nextafter(inside, 1.0F);
  for (const float sign : {1.0F, -1.0F}) {
    Record changed = record;
    field(changed) = sign * inside;
    EXPECT_TRUE(changed == record) << "off by " << sign * inside;
    field(changed) = sign * outside;
    EXPECT_FALSE(changed == record) << "off by " << sign * outside;
    field(changed) = std::numeric_limits<float>::quiet_NaN();
    EXPECT_FALSE(changed == record);
  }
}

/// A record at the origin with its normal along z and its sizes 0.
template <typename Outline>
Outline flatOutline() {
  Outline outline;
  outline.normal[2] = 1.0F;
  outline.majorDir[0] = 1.0F;
  return outline;
}

template <typename Outline>
void expectOutlineTolerances() {
  const Outline outline = flatOutline<Outline>();
  for (int i = 0; i < 3; ++i) {
    expectTolerance<Outline>(outline, 0.01, [i](Outline& o) -> float& { return o.center[i]; });
  }
  Outline turned = outline;
  turned.normal[2] = -1.0F;
  EXPECT_TRUE(turned == outline);
  turned.normal[2] = 0.981F;
  EXPECT_TRUE(turned == outline);
  turned.normal[2] = 0.979F;
  EXPECT_FALSE(turned == outline);
}

template <typename Outline>
void expectMajorDirectionCounts() {
  const Outline outline = flatOutline<Outline>();
  Outline turned = outline;
  turned.majorDir[0] = -0.981F;
  EXPECT_TRUE(turned == outline);
  turned.majorDir[0] = 0.979F;
  EXPECT_FALSE(turned == outline);
}

TEST(ModelRecordEquality, OutlinesOfOneHundredth) {
  expectOutlineTolerances<XFCircle3D>();
  expectOutlineTolerances<XFOvalGroove3D>();
  expectOutlineTolerances<XFRectangle3D>();
  expectOutlineTolerances<XFRoundGroove3D>();
  expectMajorDirectionCounts<XFOvalGroove3D>();
  expectMajorDirectionCounts<XFRectangle3D>();
  expectMajorDirectionCounts<XFRoundGroove3D>();

  const auto sizeOf = [](auto outline, auto size) {
    using Outline = decltype(outline);
    expectTolerance<Outline>(flatOutline<Outline>(), 0.01,
                             [size](Outline& o) -> float& { return o.*size; });
  };
  sizeOf(XFCircle3D(), &XFCircle3D::radius);
  sizeOf(XFOvalGroove3D(), &XFOvalGroove3D::halfStraight);
  sizeOf(XFOvalGroove3D(), &XFOvalGroove3D::radius);
  sizeOf(XFRectangle3D(), &XFRectangle3D::halfLength);
  sizeOf(XFRectangle3D(), &XFRectangle3D::halfWidth);
  sizeOf(XFRoundGroove3D(), &XFRoundGroove3D::halfLength);
  sizeOf(XFRoundGroove3D(), &XFRoundGroove3D::halfWidth);
  sizeOf(XFRoundGroove3D(), &XFRoundGroove3D::cornerRadius);

  XFCircle3D circle = flatOutline<XFCircle3D>();
  circle.majorDir[0] = 0.0F;
  EXPECT_TRUE(circle == flatOutline<XFCircle3D>()) << "a circle has no major direction";
}

TEST(ModelRecordEquality, LinesAlsoWithTheirEndsSwapped) {
  const float p[3] = {0, 0, 0}, q[3] = {10, 20, 30};
  const XFLine3D line(p, q);
  EXPECT_TRUE(XFLine3D(q, p) == line);
  for (int i = 0; i < 3; ++i) {
    expectTolerance<XFLine3D>(line, 0.01, [i](XFLine3D& l) -> float& { return l.start[i]; });
  }
  // The nearest floats to 20 and 20.01 lie 0.0100002 apart.
  XFLine3D moved = line;
  moved.end[1] = 20.009F;
  EXPECT_TRUE(moved == line);
  moved.end[1] = 20.01F;
  EXPECT_FALSE(moved == line);
}

TEST(ModelRecordEquality, PlanesByTheirEquationUpToSign) {
  XFPlane plane;
  plane.c = 1.0F;
  expectTolerance<XFPlane>(plane, 1e-6, [](XFPlane& p) -> float& { return p.a; });
  expectTolerance<XFPlane>(plane, 1e-6, [](XFPlane& p) -> float& { return p.b; });
  expectTolerance<XFPlane>(plane, 1e-6, [](XFPlane& p) -> float& { return p.d; });
  plane.d = -250.0F;
  XFPlane reversed = plane;
  reversed.c = -1.0F;
  EXPECT_FALSE(reversed == plane) << "the mirror image of a plane is another plane";
  reversed.d = 250.0F;
  reversed.center[0] = 1000.0F;
  reversed.length = 7.0F;
  EXPECT_TRUE(reversed == plane) << "neither the side nor the patch counts";
}

TEST(ModelRecordEquality, SpheresOfOneMicron) {
  const XFSphere sphere;
  expectTolerance<XFSphere>(sphere, 1e-6, [](XFSphere& s) -> float& { return s.radius; });
  for (int i = 0; i < 3; ++i) {
    expectTolerance<XFSphere>(sphere, 1e-6, [i](XFSphere& s) -> float& { return s.center[i]; });
  }
}

TEST(ModelRecordEquality, CylindersAlsoWithTheirEndsSwapped) {
  XFCylinder cylinder;
  cylinder.axis[2] = 1.0F;
  cylinder.top[2] = 5.0F;
  expectTolerance<XFCylinder>(cylinder, 0.001, [](XFCylinder& c) -> float& { return c.radius; });
  for (int i = 0; i < 3; ++i) {
    expectTolerance<XFCylinder>(cylinder, 0.001,
                                [i](XFCylinder& c) -> float& { return c.base[i]; });
  }
  expectTolerance<XFCylinder>(cylinder, 0.001, [](XFCylinder& c) -> float& { return c.top[0]; });

  XFCylinder reversed = cylinder;
  reversed.axis[2] = -1.0F;
  EXPECT_FALSE(reversed == cylinder) << "the ends have to be swapped with the axis";
  std::swap(reversed.base, reversed.top);
  EXPECT_TRUE(reversed == cylinder);
  reversed.axis[2] = -0.998F;
  EXPECT_FALSE(reversed == cylinder);
  XFCylinder swapped = cylinder;
  std::swap(swapped.base, swapped.top);
  EXPECT_FALSE(swapped == cylinder);
  swapped = cylinder;
  swapped.height = 99.0F;
  swapped.center[0] = 99.0F;
  EXPECT_TRUE(swapped == cylinder);
}

TEST(ModelRecordEquality, ConesOfOneDirection) {
  XFCone cone;
  cone.axis[1] = 1.0F;
  expectTolerance<XFCone>(cone, 0.0001, [](XFCone& c) -> float& { return c.halfAngle; });
  expectTolerance<XFCone>(cone, 0.0001, [](XFCone& c) -> float& { return c.topRadius; });
  expectTolerance<XFCone>(cone, 0.0001, [](XFCone& c) -> float& { return c.baseRadius; });
  expectTolerance<XFCone>(cone, 0.0001, [](XFCone& c) -> float& { return c.apex[2]; });
  XFCone other = cone;
  other.height = other.base[0] = other.top[0] = 9.0F;
  EXPECT_TRUE(other == cone);
  other.axis[1] = -1.0F;
  EXPECT_FALSE(other == cone);
  other.axis[1] = 0.9998F;
  EXPECT_FALSE(other == cone);
}

TEST(ModelRecords, TakeExactlyTheirOwnCountOfFloats) {
  const auto last = [](auto record, std::size_t count, auto read) {
    using Record = decltype(record);
    EXPECT_EQ(read(Record(countedFloats(count))), static_cast<float>(count));
    EXPECT_NE(read(Record(countedFloats(count + 1))), static_cast<float>(count));
    EXPECT_NE(read(Record(countedFloats(count - 1))), static_cast<float>(count - 1));
  };
  last(XFLine3D(), 6, [](const XFLine3D& r) { return r.end[2]; });
  last(XFCircle3D(), 10, [](const XFCircle3D& r) { return r.radius; });
  last(XFOvalGroove3D(), 11, [](const XFOvalGroove3D& r) { return r.radius; });
  last(XFRectangle3D(), 11, [](const XFRectangle3D& r) { return r.halfWidth; });
  last(XFRoundGroove3D(), 12, [](const XFRoundGroove3D& r) { return r.cornerRadius; });
  last(XFSphere(), 4, [](const XFSphere& r) { return r.radius; });
  last(XFCylinder(), 14, [](const XFCylinder& r) { return r.top[2]; });
  last(XFCone(), 16, [](const XFCone& r) { return r.topRadius; });
  last(XFPlane(), 27, [](const XFPlane& r) { return r.corners[11]; });
}

TEST(ModelRecords, ConvertIntoTheirTwins) {
  xgeofeature::XFPlane plane;
  XFPlane(countedFloats(27)).getPlane(plane);
  EXPECT_THAT(plane.center, ElementsAre(5, 6, 7));
  EXPECT_THAT(plane.normal, ElementsAre(8, 9, 10));
  EXPECT_THAT(plane.majorDir, ElementsAre(11, 12, 13));
  EXPECT_EQ(plane.length, 14.0F);
  EXPECT_EQ(plane.width, 15.0F);
  EXPECT_EQ(plane.a, 8.0F);
  EXPECT_EQ(plane.d, -164.0F) << "computed anew, not the record's own 4";

  xgeofeature::XFCylinder cylinder;
  XFCylinder(countedFloats(14)).getCylinder(cylinder);
  EXPECT_THAT(cylinder.center, ElementsAre(1, 2, 3));
  EXPECT_THAT(cylinder.axis, ElementsAre(4, 5, 6));
  EXPECT_EQ(cylinder.radius, 7.0F);
  EXPECT_EQ(cylinder.height, 8.0F);
  EXPECT_THAT(cylinder.base, ElementsAre(9, 10, 11));
  EXPECT_THAT(cylinder.top, ElementsAre(12, 13, 14));

  xgeofeature::XFCone cone;
  XFCone(countedFloats(16)).getCone(cone);
  EXPECT_THAT(cone.apex, ElementsAre(1, 2, 3));
  EXPECT_THAT(cone.axis, ElementsAre(4, 5, 6));
  EXPECT_EQ(cone.halfAngle, 7.0F);
  EXPECT_THAT(cone.base, ElementsAre(8, 9, 10));
  EXPECT_THAT(cone.top, ElementsAre(11, 12, 13));
  EXPECT_EQ(cone.height, 14.0F);
  EXPECT_EQ(cone.baseRadius, 15.0F);
  EXPECT_EQ(cone.topRadius, 16.0F);

  xgeofeature::XFRoundGroove3D groove;
  XFRoundGroove3D(countedFloats(12)).getRoundGroove(groove);
  EXPECT_THAT(groove.center, ElementsAre(1, 2, 3));
  EXPECT_THAT(groove.normal, ElementsAre(4, 5, 6));
  EXPECT_THAT(groove.majorDir, ElementsAre(7, 8, 9));
  EXPECT_EQ(groove.halfLength, 10.0F);
  EXPECT_EQ(groove.halfWidth, 11.0F);
  EXPECT_EQ(groove.cornerRadius, 12.0F);

  xgeofeature::XFLine3D2 line;
  XFLine3D(std::vector<float>{1, 2, 3, 1, 6, 6}).getLine(line);
  EXPECT_THAT(line.center, ElementsAre(1, 4, 4.5F));
  EXPECT_THAT(line.dir, ElementsAre(0, 0.8F, 0.6F));
  EXPECT_EQ(line.length, 5.0F);
}

TEST(ModelRecords, PlaneCornersComeFromTheSizeNotFromTheStoredCorners) {
  XFPlane plane(countedFloats(27));
  const float center[] = {1, 2, 3}, normal[] = {0, 0, 1}, major[] = {0, 1, 0};
  std::copy_n(center, 3, plane.center);
  std::copy_n(normal, 3, plane.normal);
  std::copy_n(major, 3, plane.majorDir);
  plane.length = 4.0F;
  plane.width = 2.0F;
  XFPoint p[4];
  plane.getCornerPoint(p);
  const float expected[4][3] = {{0, 4, 3}, {0, 0, 3}, {2, 0, 3}, {2, 4, 3}};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(p[i].x, expected[i][0]);
    EXPECT_EQ(p[i].y, expected[i][1]);
    EXPECT_EQ(p[i].z, expected[i][2]);
  }
}

// ---- the index --------------------------------------------------------------------------------

float spread(std::mt19937& random, float scale, float noise) {
  std::uniform_int_distribution<int> step(-2, 2);
  std::uniform_real_distribution<float> jitter(-noise, noise);
  return static_cast<float>(step(random)) * scale + jitter(random);
}

/// The index finds what the scan from the last record back finds, on records that lie about a
/// tolerance apart, some of them reversed.
template <typename Record, typename Make>
void expectIndexLikeScan(Make make) {
  std::mt19937 random(11);
  std::vector<Record> list;
  zelmo::internal::RecordIndex<Record> index(list);
  int hits = 0;
  for (int i = 0; i < 1500; ++i) {
    const Record record = make(random);
    const auto scanned = std::find_if(list.rbegin(), list.rend(),
                                      [&record](Record& known) { return known == record; });
    const Record* expected = scanned == list.rend() ? nullptr : &*scanned;
    ASSERT_EQ(index.newestEqual(record), expected);
    hits += expected != nullptr;
    if (expected == nullptr || i % 3 == 0) index.append(record);
  }
  EXPECT_GT(hits, 100);
  EXPECT_LT(hits, 1500);
}

TEST(ModelRecordIndex, FindsWhatAScanFinds) {
  const auto sign = [](std::mt19937& random) { return random() % 2 == 0 ? 1.0F : -1.0F; };
  expectIndexLikeScan<XFPlane>([&](std::mt19937& random) {
    XFPlane plane;
    plane.c = sign(random);
    plane.d = spread(random, 2e-5F, 2e-6F);
    return plane;
  });
  expectIndexLikeScan<XFSphere>([&](std::mt19937& random) {
    XFSphere sphere;
    sphere.center[0] = spread(random, 2e-5F, 2e-6F);
    return sphere;
  });
  expectIndexLikeScan<XFCylinder>([&](std::mt19937& random) {
    XFCylinder cylinder;
    cylinder.axis[0] = sign(random);
    cylinder.base[0] = spread(random, 0.01F, 0.002F);
    cylinder.top[0] = spread(random, 0.01F, 0.002F);
    if (cylinder.axis[0] < 0) std::swap(cylinder.base, cylinder.top);
    return cylinder;
  });
  expectIndexLikeScan<XFCone>([&](std::mt19937& random) {
    XFCone cone;
    cone.axis[0] = 1.0F;
    cone.apex[0] = spread(random, 0.001F, 2e-4F);
    return cone;
  });
  expectIndexLikeScan<XFLine3D>([&](std::mt19937& random) {
    XFLine3D line;
    line.start[0] = spread(random, 0.1F, 0.02F);
    line.end[0] = spread(random, 0.1F, 0.02F);
    return line;
  });
  expectIndexLikeScan<XFCircle3D>([&](std::mt19937& random) {
    XFCircle3D circle = flatOutline<XFCircle3D>();
    circle.center[0] = spread(random, 0.1F, 0.02F);
    return circle;
  });
}

}  // namespace
}  // namespace xmodelfeature
