// SPDX-FileCopyrightText: LibZelmo contributors
// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

#include <gmock/gmock.h>

#include "support/rows.h"
#include "zelmo/model/internal/record_index.h"
#include "zelmo/model/outline_records.h"
#include "zelmo/model/solid_records.h"

namespace xmodelfeature {
namespace {

using testing::ElementsAreArray;
using zelmo::test::rowOf;

/// 1, 2, 3 and so on.
std::vector<float> countedFloats(std::size_t count) {
  std::vector<float> values(count);
  std::iota(values.begin(), values.end(), 1.0F);
  return values;
}

template <typename Record>
std::vector<float*> partsOf(Record& record, float Record::*number) {
  return {&(record.*number)};
}
template <typename Record>
std::vector<float*> partsOf(Record& record, float (Record::*triple)[3]) {
  float* first = record.*triple;
  return {first, first + 1, first + 2};
}

/// Equal up to the last float that is no larger than the tolerance, unequal from the next one on; the
/// fields are 0 in \p record, so the difference carries no rounding.
template <typename Record, typename... Fields>
void expectTolerance(const Record& record, double tolerance, Fields... fields) {
  float inside = static_cast<float>(tolerance);
  if (static_cast<double>(inside) > tolerance) inside = std::nextafter(inside, 0.0F);
  const float outside = std::nextafter(inside, 1.0F), nan = std::nanf("");
  Record changed = record;
  for (const auto& parts : {partsOf(changed, fields)...}) {
    for (float* part : parts) {
      for (const float value : {inside, -inside, outside, -outside, nan}) {
        *part = value;
        EXPECT_EQ(changed == record, std::fabs(value) == inside) << "off by " << value;
      }
      *part = 0.0F;
    }
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

template <typename Outline, typename... Sizes>
void expectOutlineTolerances(bool major_direction_counts, Sizes... sizes) {
  const Outline outline = flatOutline<Outline>();
  expectTolerance(outline, 0.01, &Outline::center, sizes...);
  for (const float cosine : {-1.0F, 0.981F, -0.981F, 0.979F}) {
    Outline turned = outline;
    turned.normal[2] = cosine;
    EXPECT_EQ(turned == outline, cosine != 0.979F);
    turned = outline;
    turned.majorDir[0] = cosine;
    EXPECT_EQ(turned == outline, cosine != 0.979F || !major_direction_counts);
  }
}

TEST(ModelRecordEquality, EachToItsOwnTolerance) {
  expectOutlineTolerances<XFCircle3D>(false, &XFCircle3D::radius);
  expectOutlineTolerances<XFOvalGroove3D>(true, &XFOvalGroove3D::halfStraight,
                                          &XFOvalGroove3D::radius);
  expectOutlineTolerances<XFRectangle3D>(true, &XFRectangle3D::halfLength,
                                         &XFRectangle3D::halfWidth);
  expectOutlineTolerances<XFRoundGroove3D>(true, &XFRoundGroove3D::halfLength,
                                           &XFRoundGroove3D::halfWidth,
                                           &XFRoundGroove3D::cornerRadius);
  expectTolerance(XFSphere(), 1e-6, &XFSphere::radius, &XFSphere::center);
  XFPlane plane;
  plane.c = 1.0F;
  expectTolerance(plane, 1e-6, &XFPlane::a, &XFPlane::b, &XFPlane::d);
  XFCone cone;
  cone.axis[1] = 1.0F;
  expectTolerance(cone, 0.0001, &XFCone::apex, &XFCone::halfAngle, &XFCone::topRadius,
                  &XFCone::baseRadius);
  XFCylinder cylinder;
  cylinder.axis[2] = 1.0F;
  expectTolerance(cylinder, 0.001, &XFCylinder::radius, &XFCylinder::base, &XFCylinder::top);
}

TEST(ModelRecordEquality, WhatCountsAndWhatDoesNot) {
  const float p[3] = {0, 0, 0}, q[3] = {10, 20, 30};
  const XFLine3D line(p, q);
  expectTolerance(line, 0.01, &XFLine3D::start);
  XFLine3D moved(q, p);
  EXPECT_TRUE(moved == line) << "lines also with their ends swapped";
  for (const float y : {20.009F, 20.01F}) {  // the floats next to 20 and 20.01 lie 0.0100002 apart
    moved.start[1] = y;
    EXPECT_EQ(moved == line, y < 20.0095F);
  }

  XFPlane plane;
  plane.c = 1.0F;
  plane.d = -250.0F;
  XFPlane reversed = plane;
  reversed.c = -1.0F;
  EXPECT_FALSE(reversed == plane) << "the mirror image of a plane is another plane";
  reversed.d = 250.0F;
  reversed.center[0] = reversed.length = 1000.0F;
  EXPECT_TRUE(reversed == plane) << "neither the side nor the patch counts";

  XFCone cone;
  cone.axis[1] = 1.0F;
  XFCone other = cone;
  other.height = other.base[0] = other.top[0] = 9.0F;
  EXPECT_TRUE(other == cone);
  for (const float cosine : {-1.0F, 0.9998F}) {
    other.axis[1] = cosine;
    EXPECT_FALSE(other == cone) << "never equal to one of the opposite direction";
  }

  XFCylinder cylinder;
  cylinder.axis[2] = 1.0F;
  cylinder.top[2] = 5.0F;
  XFCylinder swapped = cylinder;
  std::swap(swapped.base, swapped.top);
  swapped.height = swapped.center[0] = 99.0F;
  for (const float cosine : {1.0F, -1.0F, -0.998F}) {
    swapped.axis[2] = cosine;
    EXPECT_EQ(swapped == cylinder, cosine == -1.0F) << "the ends have to be swapped with the axis";
  }
}

/// A record takes its own count of floats and no other, and hands all of them to its twin.
template <typename Record, typename Twin, typename ToRow>
void expectFields(std::size_t count, void (Record::*convert)(Twin&) const, ToRow to_row) {
  Twin twin;
  const std::vector<float> values = countedFloats(count);
  (Record(values).*convert)(twin);
  EXPECT_THAT(to_row(twin), ElementsAreArray(values));
  for (const std::size_t wrong : {count - 1, count + 1}) {
    (Record(countedFloats(wrong)).*convert)(twin);
    EXPECT_NE(to_row(twin)[0], 1.0F);
  }
}

TEST(ModelRecords, TakeTheirFloatsAndConvertIntoTheirTwins) {
  expectFields(10, &XFCircle3D::getCircle,
               [](const auto& r) { return rowOf(r.center, r.normal, r.majorDir, r.radius); });
  expectFields(11, &XFOvalGroove3D::getOvalGroove, [](const auto& r) {
    return rowOf(r.center, r.normal, r.majorDir, r.halfStraight, r.radius);
  });
  expectFields(11, &XFRectangle3D::getRectangle, [](const auto& r) {
    return rowOf(r.center, r.normal, r.majorDir, r.halfLength, r.halfWidth);
  });
  expectFields(12, &XFRoundGroove3D::getRoundGroove, [](const auto& r) {
    return rowOf(r.center, r.normal, r.majorDir, r.halfLength, r.halfWidth, r.cornerRadius);
  });
  expectFields(4, &XFSphere::getSphere, [](const auto& r) { return rowOf(r.center, r.radius); });
  expectFields(14, &XFCylinder::getCylinder, [](const auto& r) {
    return rowOf(r.center, r.axis, r.radius, r.height, r.base, r.top);
  });
  expectFields(16, &XFCone::getCone, [](const auto& r) {
    return rowOf(r.apex, r.axis, r.halfAngle, r.base, r.top, r.height, r.baseRadius, r.topRadius);
  });

  const XFPlane plane(countedFloats(27));
  EXPECT_THAT(rowOf(plane.a, plane.b, plane.c, plane.d, plane.center, plane.normal, plane.majorDir,
                    plane.length, plane.width, plane.corners),
              ElementsAreArray(countedFloats(27)));
  EXPECT_EQ(XFPlane(countedFloats(26)).a, 0.0F);
  xgeofeature::XFPlane twin;
  plane.getPlane(twin);
  EXPECT_THAT(rowOf(twin.center, twin.normal, twin.majorDir, twin.length, twin.width),
              ElementsAreArray(rowOf(plane.center, plane.normal, plane.majorDir, 14.0F, 15.0F)));
  EXPECT_EQ(twin.d, -164.0F) << "computed anew, not the record's own 4";

  xgeofeature::XFLine3D2 line;
  XFLine3D(std::vector<float>{1, 2, 3, 1, 6, 6}).getLine(line);
  EXPECT_THAT(rowOf(line.center, line.dir, line.length),
              ElementsAreArray({1.0F, 4.0F, 4.5F, 0.0F, 0.8F, 0.6F, 5.0F}));
  EXPECT_EQ(XFLine3D(countedFloats(7)).end[2], 0.0F);
}

TEST(ModelRecords, PlaneCornersComeFromTheSizeNotFromTheStoredCorners) {
  std::vector<float> values = countedFloats(27);  // center, normal, major direction, length, width
  std::copy_n(rowOf(1.0F, 2.0F, 3.0F, 0, 0, 1, 0, 1, 0, 4, 2).begin(), 11, values.begin() + 4);
  XFPoint p[4];
  XFPlane(values).getCornerPoint(p);
  const float expected[4][3] = {{0, 4, 3}, {0, 0, 3}, {2, 0, 3}, {2, 4, 3}};
  for (int i = 0; i < 4; ++i) {
    EXPECT_THAT(rowOf(p[i].x, p[i].y, p[i].z), ElementsAreArray(expected[i]));
  }
}

// ---- the index --------------------------------------------------------------------------------

/// The index finds what the scan from the last record back finds, on records that lie about a
/// tolerance apart, some of them far away and some of them reversed.
template <typename Record, typename Fill>
void expectIndexLikeScan(
    float scale, Fill fill, void (*reverse)(Record&) = [](Record&) {}) {
  std::mt19937 random(11);
  std::uniform_int_distribution<int> step(-2, 2);
  std::uniform_real_distribution<float> jitter(-scale / 8, scale / 8);
  const auto place = [&] { return static_cast<float>(step(random)) * scale + jitter(random); };
  std::vector<Record> list;
  zelmo::internal::RecordIndex<Record> index(list);
  int hits = 0;
  for (int i = 0; i < 1500; ++i) {
    Record record;
    fill(record, place, i % 4 == 0 ? 6e16F * scale : 0.0F);  // far enough to round the rest
    if (random() % 2 == 0) reverse(record);
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
  expectIndexLikeScan<XFPlane>(
      2e-5F,
      [](XFPlane& r, const auto& place, float far) {
        r.a = place();
        r.c = 1.0F;
        r.d = far == 0.0F ? place() : far;
      },
      [](XFPlane& r) { r.a = -r.a, r.c = -r.c, r.d = -r.d; });
  expectIndexLikeScan<XFCylinder>(
      0.01F,
      [&](XFCylinder& r, const auto& place, float far) {
        r.axis[0] = 1.0F;
        r.base[0] = place();
        r.top[0] = place();
        r.top[1] = far;
      },
      [](XFCylinder& r) { r.axis[0] = -1.0F, std::swap(r.base, r.top); });
  const auto by_center = [](auto& r, const auto& place, float far) {
    r.center[0] = place();
    r.center[2] = far;
  };
  expectIndexLikeScan<XFSphere>(2e-5F, by_center);
  expectIndexLikeScan<XFCircle3D>(0.1F, [&](XFCircle3D& r, const auto& place, float far) {
    r = flatOutline<XFCircle3D>();
    by_center(r, place, far);
  });
}

}  // namespace
}  // namespace xmodelfeature
